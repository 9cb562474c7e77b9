// Field value parsers: each takes one field of a line, checks its text, reports what is wrong with
// it and leaves the cursor on the separator, terminator or line end behind the field.
#pragma once

#include <cstdint>
#include <string_view>

#include "reader/answers.h"
#include "reader/run.h"
#include "schema/types.h"

namespace tavo::reader {

// A place in the current line.
struct FieldCursor {
  const char* at;
  const char* end;

  explicit FieldCursor(std::string_view text) : at(text.data()), end(at + text.size()) {}
  bool atEnd() const { return at == end; }
  void skipBlanks() {
    while (at != end && *at >= 1 && *at <= 32) ++at;
  }
  bool atDelimiter(const Settings& settings) const {
    return at == end || *at == settings.separator || *at == settings.terminator;
  }
  std::string_view rest() const { return {at, static_cast<size_t>(end - at)}; }
};

// The value is zero unless the parser answers kValue; of a text that is too long or not closed the
// part that fits is kept.
FieldResult parseChar(Run& run, FieldCursor& cursor, char* value);
FieldResult parseUint8(Run& run, FieldCursor& cursor, uint8_t* value);
FieldResult parseUint16(Run& run, FieldCursor& cursor, uint16_t* value);
FieldResult parseInt16(Run& run, FieldCursor& cursor, int16_t* value);
FieldResult parseUint32(Run& run, FieldCursor& cursor, uint32_t* value);
FieldResult parseFloat(Run& run, FieldCursor& cursor, float* value);
FieldResult parseDouble(Run& run, FieldCursor& cursor, double* value);
// width is 8 or 16, else kNoFormat.
FieldResult parseBits(Run& run, FieldCursor& cursor, uint8_t width, uint16_t* value);
// order is a date order's EnumId, else kNoFormat.
FieldResult parseDateTime(Run& run, FieldCursor& cursor, EnumId order, DateTime* value);
// Fills all width bytes: the text's first width - 1 characters, then zeros.
FieldResult parseText(Run& run, FieldCursor& cursor, char* value, size_t width);
// parseText, but kNotQuoted when the field does not begin with a quote.
FieldResult parseQuotedText(Run& run, FieldCursor& cursor, char* value, size_t width);
// An unknown word is a warning and gives TVO_ENUM_UNKNOWN, and so does an empty field.
FieldResult parseEnum(Run& run, FieldCursor& cursor, EnumId* value);
FieldResult parseFreeValue(Run& run, FieldCursor& cursor, FreeValue* value);
FieldResult parseDefaultValue(Run& run, FieldCursor& cursor, DefaultValue* value);

// Converts a text that is exactly one real number; false when it is none or not finite.
bool toDouble(std::string_view text, double* value);

// Parses a field by its type and stores it at value, storedSize(type, width) bytes, in the units in
// which records are delivered.
FieldResult parseField(Run& run, FieldCursor& cursor, schema::DataType type, uint8_t width,
                       schema::UnitKind unit, uint8_t* value);

// The whole number nearest to value within 32 bits, fraction dropped. When that is another number
// than its text, a loss is noted.
int32_t toInt32(Run& run, std::string_view text, double value);

}  // namespace tavo::reader
