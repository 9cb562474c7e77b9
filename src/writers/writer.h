// The writers of the sections. Each begins with the record that opens its section current, leaves
// the first record that it does not consume, and returns the feed's status.
#pragma once

#include <cstdint>

#include "schema/catalogue.h"
#include "schema/fields.h"
#include "writers/feed.h"
#include "writers/lines.h"

namespace tavo::writers {

struct Writer {
  Output& output;
  Feed& feed;
  OutputState state;

  bool goesOn() const { return feed.ok() && !output.failed(); }
};

uint16_t writeHeader(Writer& writer);
uint16_t writeSection(Writer& writer, schema::KeywordId section);
uint16_t writeTimeTaggedCodes(Writer& writer);
uint16_t writeOperations(Writer& writer);

// Item lines of the block with this field table, one for each listed item; values begin `column`
// characters behind the item word. Tables of the HEADER also change the writer's state.
struct ItemForm {
  const schema::FieldDef* fields;
  size_t column;
  bool markUnknown;  // an item that the block does not have gives a line that says so
};
// The column in which the values of a block's items begin.
size_t valueColumn(const schema::BlockDef& block);
void writeItems(Writer& writer, size_t indent, const ItemForm& block, const FieldList& items,
                const char* record);

}  // namespace tavo::writers
