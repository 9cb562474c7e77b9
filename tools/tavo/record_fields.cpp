// Reading members of packed records, which need not be aligned.
#include "record_fields.h"

namespace tavo::tool {

namespace {

const char* memberOf(const tavo_schema_field& field, const void* record) {
  return static_cast<const char*>(record) + field.offset;
}

}  // namespace

PlacedField fieldOf(const tavo_schema_block* block, FieldId id) {
  const tavo_schema_field* field = nullptr;
  for (size_t i = 0; (field = tavo_schema_field_at(block, i)) != nullptr; ++i) {
    if (field->id == id && field->offset != UINT32_MAX) return {field, i};
  }
  return {};
}

PlacedField fieldOf(uint32_t type, FieldId id) { return fieldOf(tavo_schema_block_of(type), id); }

uint32_t wholeNumber(const tavo_schema_field& field, const void* record) {
  const char* const at = memberOf(field, record);
  switch (field.type) {
    case TAVO_TYPE_UINT8:
      return load<uint8_t>(at);
    case TAVO_TYPE_UINT16:
      return load<uint16_t>(at);
    case TAVO_TYPE_UINT32:
      return load<uint32_t>(at);
    default:
      return 0;
  }
}

std::string_view textAt(const tavo_schema_field& field, const void* record) {
  if (field.type != TAVO_TYPE_TEXT) return {};
  return textOf(memberOf(field, record), field.width);
}

double offsetOf(const tavo_schema_field& field, const tavo_units& units) {
  // The items of OFFSETS have the same names, but are lengths that are converted already.
  if (field.unit != TAVO_UNIT_LINEAR || field.converted != 0) return 0;
  switch (field.id) {
    case TVO_FIELD_East:
      return units.offset_east;
    case TVO_FIELD_North:
      return units.offset_north;
    case TVO_FIELD_Elevation:
      return units.offset_elevation;
    default:
      return 0;
  }
}

std::optional<double> realAt(const tavo_schema_field& field, const void* record) {
  const char* const at = memberOf(field, record);
  if (field.type == TAVO_TYPE_DOUBLE) return load<double>(at);
  if (field.type == TAVO_TYPE_FLOAT) return shortest(load<float>(at));
  return std::nullopt;
}

}  // namespace tavo::tool
