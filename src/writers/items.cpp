// Item lines: an item word, a gap, its value. The HEADER section, which consists of them, sets the
// units and characters that hold for everything behind it.
#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>

#include "schema/enums.h"
#include "writers/number.h"
#include "writers/writer.h"

namespace tavo::writers {

namespace {

using schema::DataType;
using schema::FieldDef;

// The version of the format that is written here, whatever version the records come from.
constexpr double kVersion = 1.31;
constexpr std::string_view kUnknownItem = "UNKNOWN KEYWORD";
constexpr int kFactorDecimals = 8;
constexpr double kLongestFactor = 1e15;
constexpr size_t kOffsetWidth = 10;  // of an OFFSETS value, which has 3 decimals
constexpr int kOffsetDecimals = 3;

template <class T>
T load(const char* record, size_t offset) {
  T value;
  memcpy(&value, record + offset, sizeof value);
  return value;
}

size_t putText(std::string_view text, char* out) {
  memcpy(out, text.data(), text.size());
  return text.size();
}

// A user unit's own id, the place of its factor in the record, and where both are kept.
struct UnitItem {
  FieldId id;
  EnumId userUnit;
  size_t factorOffset;
  EnumId schema::Units::*unit;
  double schema::Units::*factor;
};
constexpr UnitItem kUnitItems[] = {
    {TVO_FIELD_ANGULAR, TVO_ENUM_USER, offsetof(UnitsRecord, angularFactor),
     &schema::Units::angular, &schema::Units::angularFactor},
    {TVO_FIELD_LINEAR, TVO_ENUM_USER_LINEAR, offsetof(UnitsRecord, linearFactor),
     &schema::Units::linear, &schema::Units::linearFactor},
    {TVO_FIELD_GEOCRD, TVO_ENUM_USER_GEOGRAPHIC, offsetof(UnitsRecord, geographicFactor),
     &schema::Units::geographic, &schema::Units::geographicFactor},
    {TVO_FIELD_TEMP, TVO_ENUM_UNKNOWN, 0, &schema::Units::temperature, nullptr},
    {TVO_FIELD_PRESS, TVO_ENUM_UNKNOWN, 0, &schema::Units::pressure, nullptr},
    {TVO_FIELD_Date, TVO_ENUM_UNKNOWN, 0, &schema::Units::dateOrder, nullptr},
};

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
  const auto value = load<EnumId>(record, field.offset);
  std::string_view name;
  schema::EnumName(value, &name);
  size_t n = putText(name, out);
  const UnitItem* item = std::ranges::find(kUnitItems, field.id, &UnitItem::id);
  schema::Units& units = writer.state.units;
  if (item->factor != nullptr && schema::isUserUnit(value)) {
    // Another group's user unit stands without a factor and readers drop its line.
    if (value != item->userUnit) return n;
    auto factor = load<double>(record, item->factorOffset);
    out[n++] = ' ';
    n += putFactor(&factor, out + n);
    units.*item->factor = factor;
  }
  units.*item->unit = value;
  return n;
}

size_t putOffset(Writer& writer, const FieldDef& field, const char* record, char* out) {
  const schema::Written offset = schema::toWritten(
      writer.state.units, field.unit, load<double>(record, field.offset), kOffsetDecimals);
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
  const Column column = columnOf(&field, writer.state);
  const size_t size = putValue(column, writer.state, record, out);
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
      return putValue(columnOf(&field, writer.state), writer.state, record, out);
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

// The HEADER's item blocks: columns record, data record, place of the values.
struct HeaderBlock {
  RecordType columns, data;
  size_t column;
  uint32_t keyword;
};
constexpr HeaderBlock kHeaderBlocks[] = {
    {TVO_RECORD_HEADER_COLUMNS, TVO_RECORD_HEADER, 13, schema::kHeader},
    {TVO_RECORD_UNITS_COLUMNS, TVO_RECORD_UNITS, 11, schema::kUnits},
    {TVO_RECORD_OFFSETS_COLUMNS, TVO_RECORD_OFFSETS, 10, schema::kOffsets},
    {TVO_RECORD_PROJECT_COLUMNS, TVO_RECORD_PROJECT, 15, schema::kProject},
};

// Fetches the data record and writes its items; false when another record follows.
bool writePair(Writer& writer, const HeaderBlock& block, size_t indent) {
  const FieldList items = fieldsOf(writer.feed.record());
  writer.feed.next();
  if (!writer.feed.at(block.data)) return false;
  const ItemBlock form{schema::recordDef(block.data).fields, block.column, true};
  writeItems(writer, indent, form, items, writer.feed.record());
  writer.feed.next();
  return true;
}

void writeHeaderBlock(Writer& writer, const HeaderBlock& block) {
  const std::string_view keyword = keywordName(block.keyword);
  writeComments(writer.output, writer.state, 2, writer.feed.record());
  writeKeywordLine(writer.output, 2, keyword);
  writePair(writer, block, 4);
  writeEndLine(writer.output, 2, keyword);
}

}  // namespace

void writeItems(Writer& writer, size_t indent, const ItemBlock& block, const FieldList& items,
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
    const HeaderBlock* block =
        std::ranges::find(kHeaderBlocks, writer.feed.type(), &HeaderBlock::columns);
    if (block == std::end(kHeaderBlocks)) break;
    if (block->columns != TVO_RECORD_HEADER_COLUMNS) {
      writeHeaderBlock(writer, *block);
    } else if (!writePair(writer, *block, 2)) {
      break;
    }
  }
  writeEndLine(writer.output, 0, keyword);
  return writer.feed.status();
}

}  // namespace tavo::writers
