// Single values of packed records, by the format's tables.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "record_json.h"
#include "tavo/survey.h"

namespace tavo::tool {

// A field of a block with its place in the block's table, which is its bit in a presence.
struct PlacedField {
  const tavo_schema_field* field = nullptr;  // null: the block has no such field
  size_t place = 0;

  bool given(tavo_given given) const { return field != nullptr && (given >> place & 1) != 0; }
};

// The block's own field of that number.
PlacedField fieldOf(const tavo_schema_block* block, FieldId id);
PlacedField fieldOf(uint32_t type, FieldId id);

// The value of a field of whole numbers; 0 for fields of other types.
uint32_t wholeNumber(const tavo_schema_field& field, const void* record);
// The value of a text field up to its end mark; "" for fields of other types.
std::string_view textAt(const tavo_schema_field& field, const void* record);
// The offset of the HEADER that belongs to a coordinate as its file has it; 0 for all other fields.
double offsetOf(const tavo_schema_field& field, const tavo_units& units);
// The value of a real; nothing for fields of other types.
std::optional<double> realAt(const tavo_schema_field& field, const void* record);

}  // namespace tavo::tool
