// Item lines: an item word followed by its value.
#pragma once

#include <cstdint>

#include "reader/run.h"
#include "schema/types.h"

namespace tavo::reader {

// Room for the largest value of an item.
inline constexpr size_t kItemValueSize = 127;

// Parses the current line as an item of the table. Status 0: *field is the item's row and value
// holds its value as a record stores it. kStop at the error limit; any other status: the line gives
// no item. Text behind a value is reported and does no harm to the item.
int parseItemLine(Run& run, const schema::FieldDef* table, schema::FieldDef* field,
                  uint8_t (&value)[kItemValueSize]);

}  // namespace tavo::reader
