// Reads a survey's definitions and finds what belongs to a record.
#include "source.h"

#include <algorithm>

#include "texts.h"

namespace tavo::gdal {

namespace {

// Place of a field in its block's table by its id; a field that only shares another's member does
// not count.
unsigned placeOf(const tavo_schema_block& block, TVO_FieldId id) {
  const tavo_schema_field* field = nullptr;
  for (unsigned place = 0; (field = tavo_schema_field_at(&block, place)) != nullptr; ++place) {
    if (field->id == id && field->hidden == 0) return place;
  }
  return UINT32_MAX;
}

}  // namespace

Member memberOf(const tavo_schema_block& block, TVO_FieldId id) {
  const unsigned place = placeOf(block, id);
  if (place == UINT32_MAX) return {};
  return {tavo_schema_field_at(&block, place)->offset, place};
}

Source::Source(Survey survey, const tavo_geometry_options& options) : survey_(std::move(survey)) {
  tavo_geometry* geometry = nullptr;
  check(tavo_geometry_create(&geometry, survey_.handle(), &options));
  geometry_.reset(geometry);

  for (size_t i = 0; i < survey_.blockCount(); ++i) {
    const tavo_block& block = survey_.block(i);
    units_[block.data_type].push_back({block.first, block.units});
    const tavo_schema_block* const schema = tavo_schema_block_of(block.data_type);
    if (schema == nullptr) continue;
    for (size_t c = 0; c < block.column_count; ++c) {
      const unsigned place = placeOf(*schema, block.columns[c]);
      if (place != UINT32_MAX) declared_[block.data_type] |= tavo_given{1} << place;
    }
  }
  for (const CodeEntry& code : survey_.codes()) {
    const std::string name = toUtf8(code.Name().value_or(""));
    if (name.empty()) continue;
    if (const auto number = code.CodeNo()) codesByNumber_.try_emplace(*number, name);
    if (const auto text = code.Code()) codesByText_.try_emplace(std::string(*text), name);
  }
  for (const tavo::Layer& layer : survey_.layers()) {
    if (const auto number = layer.LayerNo()) {
      layers_.try_emplace(*number, toUtf8(layer.Name().value_or("")));
    }
  }
}

Row Source::row(uint32_t type, size_t index) const {
  const tavo_records& all = records(type);
  Row row{type, index, recordAt(all, index), all.given[index], tavo_default_units()};
  const auto found = units_.find(type);
  if (found == units_.end()) return row;
  const auto behind = std::ranges::upper_bound(found->second, index, {}, &Stretch::first);
  if (behind != found->second.begin()) row.units = std::prev(behind)->units;
  return row;
}

tavo_given Source::shown(uint32_t type) const {
  const auto found = declared_.find(type);
  tavo_given shown = found == declared_.end() ? 0 : found->second;
  const tavo_records& all = records(type);
  for (size_t i = 0; i < all.count; ++i) shown |= all.given[i];
  return shown;
}

const std::string* Source::codeName(const Row& row, const Member& number,
                                    const Member& code) const {
  if (number.in(row)) {
    const auto found = codesByNumber_.find(load<uint16_t>(row.bytes + number.offset));
    if (found != codesByNumber_.end()) return &found->second;
  }
  if (code.in(row)) {
    const auto found =
        codesByText_.find(viewAt(row.bytes + code.offset, sizeof(TVO_CodeRecord::Code)));
    if (found != codesByText_.end()) return &found->second;
  }
  return nullptr;
}

const std::string* Source::layerName(const Row& row, const Member& number) const {
  if (!number.in(row)) return nullptr;
  const auto found = layers_.find(load<uint16_t>(row.bytes + number.offset));
  return found == layers_.end() ? nullptr : &found->second;
}

}  // namespace tavo::gdal
