// Field value parsers: each takes one field of a line, checks its text, reports what is wrong with
// it and leaves the cursor on the separator, terminator or line end behind the field.
#pragma once

#include <cstdint>
#include <string_view>

#include "reader/run.h"
#include "schema/types.h"

namespace tavo::reader {

// Statuses of the parsers besides 0 and the error numbers.
inline constexpr int kWrongWidth = 5;
inline constexpr int kEmptyField = 6;
inline constexpr int kNotQuoted = 7;
inline constexpr int kNoFormat = 11;

// A place in the current line.
struct Cursor {
  const char* at;
  const char* end;

  explicit Cursor(std::string_view text) : at(text.data()), end(at + text.size()) {}
  bool atEnd() const { return at == end; }
  void skipBlanks() {
    while (at != end && *at >= 1 && *at <= 32) ++at;
  }
  bool atDelimiter(const Settings& settings) const {
    return at == end || *at == settings.separator || *at == settings.terminator;
  }
  std::string_view rest() const { return {at, static_cast<size_t>(end - at)}; }
};

// Each parser returns 0, kEmptyField for a blank field (the value is then zero or empty), or an
// error number after reporting it (kStop at the error limit). The value is then zero; of a text
// that is too long or not closed the part that fits is kept.
int parseChar(Run& run, Cursor& cursor, char* value);
int parseUint8(Run& run, Cursor& cursor, uint8_t* value);
int parseUint16(Run& run, Cursor& cursor, uint16_t* value);
int parseInt16(Run& run, Cursor& cursor, int16_t* value);
int parseUint32(Run& run, Cursor& cursor, uint32_t* value);
int parseFloat(Run& run, Cursor& cursor, float* value);
int parseDouble(Run& run, Cursor& cursor, double* value);
// width is 8 or 16, else kWrongWidth.
int parseBits(Run& run, Cursor& cursor, uint8_t width, uint16_t* value);
// order is a date order's EnumId, else kNoFormat without a report.
int parseDateTime(Run& run, Cursor& cursor, EnumId order, DateTime* value);
// Fills all width bytes: the text's first width - 1 characters, then zeros.
int parseText(Run& run, Cursor& cursor, char* value, size_t width);
// parseText, but kNotQuoted without a report when the field does not begin with a quote.
int parseQuotedText(Run& run, Cursor& cursor, char* value, size_t width);
// An unknown word is a warning and gives TVO_ENUM_UNKNOWN, and so does an empty field.
int parseEnum(Run& run, Cursor& cursor, EnumId* value);
int parseFreeValue(Run& run, Cursor& cursor, FreeValue* value);
int parseDefaultValue(Run& run, Cursor& cursor, DefaultValue* value);

// Converts a text that is exactly one real number; false when it is none or not finite.
bool toDouble(std::string_view text, double* value);

// Parses a field by its type and stores it at value, storedSize(type, width) bytes, in the units in
// which records are delivered.
int parseField(Run& run, Cursor& cursor, schema::DataType type, uint8_t width,
               schema::UnitKind unit, uint8_t* value);

// The whole number nearest to value within 32 bits, fraction dropped. When that is another number
// than its text, a loss is noted.
int32_t toInt32(Run& run, std::string_view text, double value);

}  // namespace tavo::reader
