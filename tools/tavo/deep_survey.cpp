// Tables of what is defined, owners and places.
#include "deep_survey.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "text.h"
#include "topics.h"

namespace tavo::tool {

const RecordAt* Definitions::find(const tavo_schema_field& field, const void* record) const {
  if (field.type == TAVO_TYPE_TEXT) {
    const auto at = texts.find(textAt(field, record));
    return at == texts.end() ? nullptr : &at->second;
  }
  const auto at = numbers.find(wholeNumber(field, record));
  return at == numbers.end() ? nullptr : &at->second;
}

DeepSurvey::DeepSurvey(const tavo_survey* survey, const RuleSettings& settings)
    : survey_(survey), settings_(settings), geometry_(geometryOf(survey)) {
  const tavo_schema_block* block = nullptr;
  for (size_t i = 0; (block = tavo_schema_block_at(i)) != nullptr; ++i) {
    if (block->data_type == 0 || fields_.contains(block->data_type)) continue;
    std::vector<PlacedField>& fields = fields_[block->data_type];
    const tavo_schema_field* field = nullptr;
    for (size_t place = 0; (field = tavo_schema_field_at(block, place)) != nullptr; ++place) {
      const bool own = field->hidden == 0 && field->alias == 0 && field->offset != UINT32_MAX;
      if (own) fields.push_back({field, place});
    }
    if (!fields.empty() && of(block->data_type).count > 0) types_.push_back(block->data_type);
  }
  for (size_t i = 0; i < tavo_survey_block_count(survey); ++i) {
    const tavo_block* const run = tavo_survey_block(survey, i);
    blocks_[run->data_type].push_back(run);
  }
  collectDefinitions();
}

void DeepSurvey::collectDefinitions() {
  for (const auto& [type, fields] : fields_) {
    const tavo_records& records = of(type);
    for (const PlacedField& field : fields) {
      if (field.field->key == TAVO_KEY_NONE || field.field->refers != 0) continue;
      Definitions& all = definitions_[field.field->id];
      all.types.push_back(type);
      const bool text = field.field->type == TAVO_TYPE_TEXT;
      if (text) {
        all.texts.reserve(all.texts.size() + records.count);
      } else {
        all.numbers.reserve(all.numbers.size() + records.count);
      }
      for (size_t i = 0; i < records.count; ++i) {
        const RecordAt at{type, i};
        if (!given(at, field)) continue;
        const char* const record = bytes(at);
        if (const std::string_view name = textAt(*field.field, record); !name.empty()) {
          all.texts.try_emplace(name, at);
        } else if (const uint32_t number = wholeNumber(*field.field, record); number != 0) {
          all.numbers.try_emplace(number, at);
        }
      }
    }
  }
}

uint32_t DeepSurvey::severity(uint32_t rule) const {
  const auto set = settings_.find(rule);
  return set != settings_.end() ? set->second : topicOf('T', rule)->severity;
}

size_t DeepSurvey::find(uint32_t rule, RecordAt record, FieldId field, std::string detail,
                        std::optional<Position> position) {
  if (severity(rule) == kOff) return SIZE_MAX;
  drafts_.push_back({rule, record, field, std::move(detail), std::move(position)});
  return drafts_.size() - 1;
}

const tavo_block* DeepSurvey::blockOf(RecordAt at) const {
  const auto found = blocks_.find(at.type);
  if (found == blocks_.end()) return nullptr;
  const auto behind = std::ranges::upper_bound(
      found->second, at.index, {}, [](const tavo_block* block) { return block->first; });
  return behind == found->second.begin() ? nullptr : *(behind - 1);
}

const Definitions& DeepSurvey::definitions(FieldId key) const {
  static const Definitions kNone;
  const auto at = definitions_.find(key);
  return at == definitions_.end() ? kNone : at->second;
}

const RecordAt* DeepSurvey::target(FieldId number, uint32_t value, FieldId id,
                                   std::string_view text) const {
  if (value != 0) {
    const auto& numbers = definitions(number).numbers;
    const auto at = numbers.find(value);
    return at == numbers.end() ? nullptr : &at->second;
  }
  const auto& texts = definitions(id).texts;
  const auto at = texts.find(text);
  return at == texts.end() ? nullptr : &at->second;
}

Owner DeepSurvey::ownerOf(RecordAt at) const {
  Owner owner;
  const tavo_schema_block* const block = tavo_schema_block_of(at.type);
  if (block == nullptr) return owner;
  owner.block = blockPath(block);
  owner.position = positionOf(at);
  if (block->data_type != at.type) return owner;
  // Its first number that is a key or leads somewhere, and the identifier of the same thing.
  const std::vector<uint32_t>* meant = nullptr;
  for (const PlacedField& field : fields_.at(at.type)) {
    const tavo_schema_field& row = *field.field;
    if (row.key == TAVO_KEY_NONE && row.refers == 0) continue;
    const std::vector<uint32_t>& types = definitions(row.refers != 0 ? row.refers : row.id).types;
    if (meant == nullptr || owner.number == 0) meant = &types;
    if (owner.number == 0) owner.number = wholeNumber(row, bytes(at));
    if (owner.id.empty() && types == *meant) owner.id = textAt(row, bytes(at));
  }
  return owner;
}

Position DeepSurvey::position(const tavo_position& at) const {
  return {at.x, at.y, at.dimension == 3 ? at.z : std::numeric_limits<double>::quiet_NaN(),
          tavo_geometry_crs(geometry_.get(), at.crs)->name};
}

std::optional<Position> DeepSurvey::ownPosition(RecordAt at) const {
  const auto place = placeOf(geometry_.get(), at.type, at.index);
  if (!place) return std::nullopt;
  return position(*place);
}

// A record without a place of its own lies where the first thing does that it names.
std::optional<Position> DeepSurvey::positionOf(RecordAt at) const {
  if (auto own = ownPosition(at)) return own;
  const auto fields = fields_.find(at.type);
  if (fields == fields_.end()) return std::nullopt;
  for (const PlacedField& field : fields->second) {
    if (field.field->refers == 0 || !given(at, field)) continue;
    const RecordAt* const named = definitions(field.field->refers).find(*field.field, bytes(at));
    if (named == nullptr) continue;
    if (auto place = ownPosition(*named)) return place;
  }
  return std::nullopt;
}

std::string nameOf(uint32_t number, std::string_view id) {
  return number != 0 ? std::to_string(number) : "\"" + toUtf8(id) + "\"";
}

}  // namespace tavo::tool
