// Item lines: an item word followed by its value.
#pragma once

#include <cstdint>

#include "reader/run.h"
#include "schema/types.h"

namespace tavo::reader {

// Room for the largest value of an item.
inline constexpr size_t kItemValueSize = 127;

// Parses the current line as an item of the table. kGoOn: *field is the item's row and value holds
// its value as a record stores it. kPassOver: the line gives no item. kStop at the error limit.
// Text behind a value is reported and does no harm to the item.
Step parseItemLine(Run& run, const schema::FieldDef* table, schema::FieldDef* field,
                   uint8_t (&value)[kItemValueSize]);

}  // namespace tavo::reader
