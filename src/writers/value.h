// Field values as text, and the column plan that says how each column of a block is written.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "schema/types.h"
#include "schema/units.h"
#include "writers/build.h"

namespace tavo::writers {

// A reader refuses longer lines (without their line feed).
inline constexpr size_t kLineLimit = schema::kMaxLine;
// Room that any value needs.
inline constexpr size_t kValueSize = 320;

// The caller's settings and what the HEADER written so far has put in force.
struct OutputState {
  const BuildSettings& settings;
  char comment = ';';  // no HEADER line changes it
  char terminator = ';';
  char separator = ',';
  schema::Units units{};
};

// How a value stands in an aligned column.
enum class Alignment : uint8_t {
  kRight,    // numbers
  kQuoted,   // texts
  kLeft,     // the rest
  kByValue,  // as the value's own kind, number or text
};

struct ColumnPlan;
// Puts the column's value of a record at `out` (room kValueSize); returns its length.
using Putter = size_t (*)(const ColumnPlan& column, const OutputState& state, const char* record,
                          char* out);
// Of a column without values.
size_t putNone(const ColumnPlan& column, const OutputState& state, const char* record, char* out);

struct ColumnPlan {
  const char* name = "UNKNOWN";
  schema::DataType type = schema::DataType::kFree;
  uint8_t width = 0;
  uint16_t offset = schema::kNotKept;
  schema::EnumGroup group = schema::EnumGroup::kAny;
  schema::UnitKind unit = schema::UnitKind::kNone;  // kNone also where the unit changes nothing
  // kGeneral: one decimal, exponent form from 100000.0 on.
  schema::DecimalKind precision = schema::DecimalKind::kGeneral;
  uint8_t decimals = 0;
  Alignment alignment = Alignment::kLeft;
  Putter put = putNone;
};

// The column of a field of a record table; null for a column that the table does not have, which is
// named "UNKNOWN" and written empty.
ColumnPlan planOf(const schema::FieldDef* field, const OutputState& state);

// The columns that a columns record lists: at most 41, whether or not the list is ended.
struct ColumnList {
  std::array<ColumnPlan, TVO_COLUMNS_ROOM> columns;
  size_t count = 0;
};
struct FieldList {
  std::array<FieldId, TVO_COLUMNS_ROOM> ids;
  size_t count = 0;
};
FieldList fieldsOf(const char* columnsRecord);
ColumnList plansOf(RecordType columnsType, RecordType dataType, const FieldList& fields,
                   const OutputState& state);
// Takes over decimals that have changed since.
void followDecimals(const OutputState& state, ColumnList* list);

// What stands for a value that is put empty where an empty field cannot stand.
size_t putNothing(const ColumnPlan& column, const OutputState& state, const char* record,
                  char* out);

// Length that the column's value counts for the width of its column.
size_t measure(const ColumnPlan& column, const OutputState& state, const char* record);

// Puts the text as it stands; returns its length.
inline size_t putText(std::string_view text, char* out) {
  std::memcpy(out, text.data(), text.size());
  return text.size();
}

// Puts a text of at most `limit` characters in double quotes, quotes and backslashes escaped. What
// a line cannot hold is written as blanks, and what does not fit in `room` characters is left out.
size_t putQuoted(const char* text, size_t limit, size_t room, char* out);

// Date and time in the date order; an empty one, one that the order cannot express, and any in an
// unknown order give nothing.
size_t putDate(const DateTime& date, EnumId order, char* out);
// The same for places that must not be empty: an empty date, too, and one of zeros in place of
// those that cannot be expressed.
size_t putRequiredDate(const DateTime& date, EnumId order, char* out);

// A real whose written form always shows that it is one.
size_t putFreeReal(double value, const OutputState& state, char* out);

}  // namespace tavo::writers
