// Item lines: an item word, a gap, its value. The HEADER section, which consists of them, sets the
// units and characters that hold for everything behind it.
#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>

#include "schema/bytes.h"
#include "schema/enums.h"
#include "writers/number.h"
#include "writers/writer.h"

namespace tavo::writers {

namespace {

using schema::DataType;
using schema::FieldDef;
using schema::load;

// The version of the format that is written here, whatever version the records come from.
constexpr double kVersion = 1.31;
constexpr std::string_view kUnknownItem = "UNKNOWN KEYWORD";
constexpr int kFactorDecimals = 8;
constexpr double kLongestFactor = 1e15;
constexpr size_t kOffsetWidth = 10;  // of an OFFSETS value, which has 3 decimals
constexpr int kOffsetDecimals = 3;

// "%10.8lf", unless the factor vanishes or becomes too long in that form. *factor becomes the value
// that a reader will find, so that what follows is converted with that one.
size_t putFactor(double* factor, char* out) {
  if (!std::isfinite(*factor)) *factor = 0;
  size_t size = putFixed(*factor, kFactorDecimals, kFactorDecimals, out);
  double written = 0;
  std::from_chars(out, out + size, written);
  if ((written == 0 && *factor != 0) || std::fabs(*factor) >= kLongestFactor) {
    return putExponent(*factor, 16, out);
  }
  *factor = written;
  return size;
}

size_t putUnit(Writer& writer, const FieldDef& field, const char* record, char* out) {
  const auto value = load<EnumId>(record + field.offset);
  std::string_view name;
  schema::EnumName(value, &name);
  size_t n = putText(name, out);
  const schema::UnitItem* item =
      std::ranges::find(schema::kUnitItems, field.id, &schema::UnitItem::item);
  schema::Units& units = writer.state.units;
  if (item->factor != nullptr && schema::isUserUnit(value)) {
    // Another group's user unit stands without a factor and readers drop its line.
    if (value != item->user) return n;
    auto factor = load<double>(record + item->factorOffset);
    out[n++] = ' ';
    n += putFactor(&factor, out + n);
    units.*item->factor = factor;
  }
  units.*item->setting = value;
  return n;
}

size_t putOffset(Writer& writer, const FieldDef& field, const char* record, char* out) {
  const schema::Written offset = schema::toWritten(
      writer.state.units, field.unit, load<double>(record + field.offset), kOffsetDecimals);
  char digits[kNumberSize];
  const size_t size = putFixed(offset.value, offset.significant, kOffsetDecimals, digits);
  const size_t blanks = kOffsetWidth - std::min(kOffsetWidth, size);
  memset(out, ' ', blanks);
  memcpy(out + blanks, digits, size);
  return blanks + size;
}

// SEPARATOR and TERMINATOR hold from the next line on. A character that would end the line or the
// text cannot be one.
size_t putCharacter(Writer& writer, const FieldDef& field, const char* record, char* out) {
  const char value = record[field.offset];
  if (value == '\0' || value == '\n' || value == '\r' || value == '\x1a') return 0;
  char OutputState::*place =
      field.id == TVO_FIELD_SEPARATOR ? &OutputState::separator : &OutputState::terminator;
  writer.state.*place = value;
  out[0] = out[2] = '\'';
  out[1] = value;
  return 3;
}

// The item's value with room for `room` characters; 0 when its line is left out.
size_t putItem(Writer& writer, const FieldDef& field, const char* record, size_t room, char* out) {
  if (field.type == DataType::kText) {
    return putQuoted(record + field.offset, field.width - 1U, room, out);
  }
  const ColumnPlan column = planOf(&field, writer.state);
  const size_t size = column.put(column, writer.state, record, out);
  // An empty date is a value like any other; in an unknown date order there is none.
  const bool empty = size == 0 && field.type == DataType::kDateTime;
  const bool known = writer.state.units.dateOrder != TVO_ENUM_UNKNOWN;
  return empty && known ? putNothing(column, writer.state, record, out) : size;
}

// Unlike other items a date of the HEADER is left out when it is empty.
size_t putHeaderItem(Writer& writer, const FieldDef& field, const char* record, size_t room,
                     char* out) {
  switch (field.type) {
    case DataType::kFloat:
      return putFixed(kVersion, 2, 2, out);
    case DataType::kEnum:
      return putUnit(writer, field, record, out);
    case DataType::kDouble:
      return putOffset(writer, field, record, out);
    case DataType::kChar:
      return putCharacter(writer, field, record, out);
    case DataType::kDateTime:
      return putDate(load<DateTime>(record + field.offset), writer.state.units.dateOrder, out);
    default:
      return putItem(writer, field, record, room, out);
  }
}

// The line of an item whose value has been put at `value`, behind the line's own place. A value
// that would reach beyond what a reader takes gives up the gap, then the indentation.
void placeItem(Output& output, size_t indent, size_t column, std::string_view name, char* line,
               const char* value, size_t size) {
  if (indent + column + size > kLineLimit) column = name.size() + 1;
  indent = std::min(indent, kLineLimit - std::min(kLineLimit, column + size));
  memset(line, ' ', indent + column);
  putText(name, line + indent);
  char* const end = line + indent + column;
  memmove(end, value, size);
  end[size] = '\n';
  output.commit(end + size + 1);
}

// Fetches the data record and writes its items; false when another record follows.
bool writePair(Writer& writer, const schema::BlockDef& block, size_t indent) {
  const FieldList items = fieldsOf(writer.feed.record());
  writer.feed.next();
  if (!writer.feed.at(block.data)) return false;
  const ItemForm form{block.layout.fields, valueColumn(block), true};
  writeItems(writer, indent, form, items, writer.feed.record());
  writer.feed.next();
  return true;
}

void writeHeaderBlock(Writer& writer, const schema::BlockDef& block) {
  const std::string_view keyword = keywordName(block.keyword);
  writeComments(writer.output, writer.state, 2, writer.feed.record());
  writeKeywordLine(writer.output, 2, keyword);
  writePair(writer, block, 4);
  writeEndLine(writer.output, 2, keyword);
}

}  // namespace

size_t valueColumn(const schema::BlockDef& block) {
  if (block.odd.valuesAt != 0) return block.odd.valuesAt;
  size_t longest = 0;
  for (const FieldDef& field : schema::rows(block.layout.fields)) {
    longest = std::max(longest, std::string_view(field.name).size());
  }
  return longest + 2;
}

void writeItems(Writer& writer, size_t indent, const ItemForm& block, const FieldList& items,
                const char* record) {
  for (size_t i = 0; i < items.count; ++i) {
    const FieldDef* field = schema::findId(block.fields, items.ids[i]);
    if (field == nullptr) {
      if (block.markUnknown) writeKeywordLine(writer.output, indent, kUnknownItem);
      continue;
    }
    const std::string_view name(field->name);
    char* const line = writer.output.reserve();
    char* const value = line + kLineLimit;
    const size_t room = kLineLimit - name.size() - 1;
    const size_t size = block.markUnknown ? putHeaderItem(writer, *field, record, room, value)
                                          : putItem(writer, *field, record, room, value);
    if (size > 0) placeItem(writer.output, indent, block.column, name, line, value, size);
  }
}

uint16_t writeHeader(Writer& writer) {
  const std::string_view keyword = keywordName(schema::kHeader);
  // Of the blocks inside, the comments stand in front of their own lines.
  if (writer.feed.type() == TVO_RECORD_HEADER_COLUMNS) {
    writeComments(writer.output, writer.state, 0, writer.feed.record());
  }
  writeKeywordLine(writer.output, 0, keyword);
  while (writer.goesOn()) {
    const schema::BlockDef* block = schema::blockOfColumns(writer.feed.type());
    if (block == nullptr) break;
    if (block->parent == schema::kHeader) {
      writeHeaderBlock(writer, *block);
    } else if (block->keyword != schema::kHeader || !writePair(writer, *block, 2)) {
      break;
    }
  }
  writeEndLine(writer.output, 0, keyword);
  return writer.feed.status();
}

}  // namespace tavo::writers
