// The field value parsers.
#include "reader/values.h"

#include <fast_float/fast_float.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <system_error>

#include "reader/scan.h"
#include "schema/enums.h"
#include "schema/mjd.h"

namespace tavo::reader {

namespace {

bool isDigit(char c) { return c >= '0' && c <= '9'; }

bool isDelimiter(const Settings& settings, char c) {
  return c == settings.separator || c == settings.terminator;
}

const char* fieldEnd(const Settings& settings, const FieldCursor& cursor) {
  const char* p = cursor.at;
  while (p != cursor.end && !isDelimiter(settings, *p)) ++p;
  return p;
}

std::string_view cutTrailing(const char* begin, const char* end) {
  return schema::cutTrailing({begin, static_cast<size_t>(end - begin)});
}

FieldResult report(Run& run, int number, std::string_view text) {
  return run.reportError(number, text) == Step::kStop ? FieldResult::kLimit : FieldResult::kBad;
}

// Reports on the field that begins at the cursor, and moves behind it.
FieldResult rejectField(Run& run, FieldCursor& cursor, int number) {
  const char* const end = fieldEnd(run.settings, cursor);
  const std::string_view text = cutTrailing(cursor.at, end);
  cursor.at = end;
  return report(run, number, text);
}

// How far a number may reach: the whole line, unless a delimiter could be taken for a part of it.
const char* numberLimit(const Settings& settings, const FieldCursor& cursor) {
  return settings.delimitersInValues ? fieldEnd(settings, cursor) : cursor.end;
}

// Accepts the number that ends at p when only blanks follow it in its field.
bool finishField(const Settings& settings, FieldCursor& cursor, const char* p) {
  while (p != cursor.end && !isDelimiter(settings, *p) && static_cast<unsigned char>(*p) <= 32) ++p;
  if (p != cursor.end && !isDelimiter(settings, *p)) return false;
  cursor.at = p;
  return true;
}

// The unsigned number at p; a value too large for 64 bits keeps its low ones. Null when there is no
// digit.
const char* scanUnsigned(const char* p, const char* end, uint64_t* value) {
  if (p != end && *p == '+') ++p;
  *value = 0;
  const char* const behind = scanDigits(p, end, value);
  return behind == p ? nullptr : behind;
}

FieldResult parseUnsigned(Run& run, FieldCursor& cursor, uint64_t* value) {
  *value = 0;
  cursor.skipBlanks();
  if (cursor.atDelimiter(run.settings)) return FieldResult::kEmpty;
  const char* const p = scanUnsigned(cursor.at, numberLimit(run.settings, cursor), value);
  if (p != nullptr && finishField(run.settings, cursor, p)) return FieldResult::kValue;
  *value = 0;
  return rejectField(run, cursor, kSyntaxError);
}

// Any decimal number, rounded once to the nearest value of its type. The conversion is compiled as
// our own code is: that of the 32-bit run-time library multiplies on the x87, where the result
// depends on the host's control word. Null when there is none, or when it is too large for the
// type; one too small is zero.
template <class Real>
const char* scanAnyReal(const char* p, const char* end, Real* value) {
  // No "inf" and no "nan", which the conversion would take.
  if (p == end || !(isDigit(*p) || *p == '.')) return nullptr;
  const fast_float::from_chars_result result = fast_float::from_chars(p, end, *value);
  if (result.ec != std::errc::invalid_argument && std::isfinite(*value)) return result.ptr;
  *value = 0;
  return nullptr;
}

// The real number at p: sign, digits with a point, exponent.
template <class Real>
const char* scanReal(const char* p, const char* end, Real* value) {
  const bool negative = p != end && *p == '-';
  if (p != end && (*p == '-' || *p == '+')) ++p;
  const char* behind = scanShortReal(p, end, value);
  if (behind == nullptr) behind = scanAnyReal(p, end, value);
  if (negative) *value = -*value;
  return behind;
}

// The first significant digit to the last one, without the point.
size_t significantDigits(std::string_view text, char (&digits)[kMaxLine]) {
  size_t count = 0;
  for (const char c : text) {
    if (c == 'e' || c == 'E') break;
    if (isDigit(c) && (count > 0 || c != '0')) digits[count++] = c;
  }
  while (count > 0 && digits[count - 1] == '0') --count;
  return count;
}

// Whether the digits of a number's text do not survive: written with as many, the value is another
// number.
template <class Real>
bool losesDigits(std::string_view text, Real value) {
  char digits[kMaxLine];
  const size_t count = significantDigits(text, digits);
  if (count == 0) return false;
  char written[kMaxLine + 16];
  const auto end = std::to_chars(written, written + sizeof written, std::abs(value),
                                 std::chars_format::scientific, static_cast<int>(count) - 1);
  char kept[kMaxLine];
  const size_t left = significantDigits({written, static_cast<size_t>(end.ptr - written)}, kept);
  return left != count || std::memcmp(digits, kept, count) != 0;
}

// A short number keeps its digits, unless it is too small for the type.
template <class Real>
void noteLostDigits(Run& run, std::string_view text, Real value) {
  using Limits = std::numeric_limits<Real>;
  if (!run.diagnostics.observed()) return;
  if (text.size() <= Limits::digits10 && std::abs(value) >= Limits::min()) return;
  if (losesDigits(text, value)) run.noteLoss(Loss::kDigits, text);
}

template <class Real>
FieldResult parseReal(Run& run, FieldCursor& cursor, Real* value) {
  *value = 0;
  cursor.skipBlanks();
  if (cursor.atDelimiter(run.settings)) return FieldResult::kEmpty;
  const char* const start = cursor.at;
  const char* const p = scanReal(start, numberLimit(run.settings, cursor), value);
  if (p != nullptr && finishField(run.settings, cursor, p)) {
    noteLostDigits(run, {start, static_cast<size_t>(p - start)}, *value);
    return FieldResult::kValue;
  }
  *value = 0;
  return rejectField(run, cursor, kSyntaxError);
}

// A real in the units in which records are delivered. What the conversion makes too large for the
// type is refused like what is too large as it is read.
template <class Real>
FieldResult parseConverted(Run& run, FieldCursor& cursor, schema::UnitKind unit, Real* value) {
  const char* const start = cursor.at;
  const FieldResult result = parseReal(run, cursor, value);
  if (result != FieldResult::kValue || unit == schema::UnitKind::kNone) return result;
  *value = static_cast<Real>(schema::toInternal(run.settings.units, unit, *value));
  if (std::isfinite(*value)) return FieldResult::kValue;
  *value = 0;
  cursor.at = start;
  cursor.skipBlanks();
  return rejectField(run, cursor, kSyntaxError);
}

// One number of a date: white space, other control characters not, then at most width characters of
// sign and digits.
const char* scanDatePart(const char* p, const char* end, int width, int* value, int* digits) {
  while (p != end && (*p == ' ' || (*p >= '\t' && *p <= '\r'))) ++p;
  const bool negative = p != end && *p == '-';
  if (p != end && (*p == '-' || *p == '+')) {
    ++p;
    --width;
  }
  *digits = 0;
  *value = 0;
  for (; width > 0 && p != end && isDigit(*p); --width, ++p, ++*digits) {
    *value = *value * 10 + (*p - '0');
  }
  if (negative) *value = -*value;
  return *digits == 0 ? nullptr : p;
}

// Layout of a date order: for each number of the text its width, the character behind it and the
// member of the date-time that it fills.
struct DatePart {
  int width;
  char behind;
  int member;
};
constexpr int kDateParts = 7;
constexpr int kFraction = 6;
struct DateLayout {
  EnumId order;
  DatePart parts[kDateParts];
};
constexpr DateLayout kDateLayouts[] = {
    {TVO_ENUM_DMY,
     {{2, '-', 2}, {2, '-', 1}, {4, '/', 0}, {2, ':', 3}, {2, ':', 4}, {2, '.', 5}, {2, 0, 6}}},
    {TVO_ENUM_MDY,
     {{2, '-', 1}, {2, '-', 2}, {4, '/', 0}, {2, ':', 3}, {2, ':', 4}, {2, '.', 5}, {1, 0, 6}}},
    {TVO_ENUM_YMD,
     {{4, '-', 0}, {2, '-', 1}, {2, '/', 2}, {2, ':', 3}, {2, ':', 4}, {2, '.', 5}, {1, 0, 6}}},
};

// No ranges of day, month or time are checked. The fraction is stored in hundredths: a single digit
// counts tenths.
bool scanDate(std::string_view text, const DateLayout& layout, DateTime* value) {
  const char* p = text.data();
  const char* const end = p + text.size();
  int16_t members[kDateParts] = {};
  for (const DatePart& part : layout.parts) {
    int number = 0;
    int digits = 0;
    p = scanDatePart(p, end, part.width, &number, &digits);
    if (p == nullptr) return false;
    if (part.behind != 0) {
      if (p == end || *p != part.behind) return false;
      ++p;
    }
    if (part.member == kFraction && digits == 1) number *= 10;
    members[part.member] = static_cast<int16_t>(number);
  }
  if (p != end) return false;
  std::memcpy(value, members, sizeof members);
  return true;
}

bool scanDateTime(std::string_view text, EnumId order, DateTime* value) {
  if (order == TVO_ENUM_MJD) {
    double day = 0;
    return toDouble(text, &day) && schema::fromMjd(day, value);
  }
  for (const DateLayout& layout : kDateLayouts) {
    if (layout.order == order) return scanDate(text, layout, value);
  }
  return false;
}

// Takes the characters of a text up to its closing quote, of which p points behind the opening one,
// and keeps the first width - 1. Returns the place behind the closing quote, or null without one.
const char* scanText(const char* p, const char* end, char* value, size_t width, size_t* length) {
  size_t n = 0;
  const size_t room = width - 1;
  for (; p != end && *p != '"' && *p != '\\' && n < room; ++p) value[n++] = *p;
  for (; p != end && *p != '"'; ++p, ++n) {
    if (*p == '\\' && ++p == end) break;
    if (n < room) value[n] = *p;
  }
  *length = n;
  return p == end ? nullptr : p + 1;
}

// Checks what follows a text: after blanks only a delimiter or the line's end. whole is the start
// of the field, which the report quotes up to its end.
FieldResult finishText(Run& run, FieldCursor& cursor, const char* start, FieldResult result) {
  cursor.skipBlanks();
  const bool clean = cursor.atDelimiter(run.settings);
  const char* const end = fieldEnd(run.settings, cursor);
  cursor.at = end;
  if (clean) return result;
  const FieldResult second = report(run, kSyntaxError, cutTrailing(start, end));
  return result == FieldResult::kLimit ? result : second;
}

void noteUnsafeNumber(Run& run, std::string_view text, uint64_t number, uint64_t largest) {
  const size_t leading = std::min(text.find_first_not_of("+-0"), text.size());
  if (number > largest || text.size() - leading > std::numeric_limits<uint64_t>::digits10) {
    run.noteLoss(Loss::kNumber, text);
  }
}

// Notes a whole number, behind which the cursor stands, that is larger than its type's largest, so
// that its low bits alone are kept. So long a number may have lost some already.
inline void noteLostBits(Run& run, const char* start, const FieldCursor& cursor, uint64_t number,
                         uint64_t largest) {
  if (number > largest || cursor.at - start > std::numeric_limits<uint64_t>::digits10) {
    noteUnsafeNumber(run, cutTrailing(start, cursor.at), number, largest);
  }
}

template <class Unsigned>
FieldResult parseNarrow(Run& run, FieldCursor& cursor, Unsigned* value) {
  uint64_t number = 0;
  cursor.skipBlanks();
  const char* const start = cursor.at;
  const FieldResult result = parseUnsigned(run, cursor, &number);
  *value = static_cast<Unsigned>(number);
  if (result == FieldResult::kValue) {
    noteLostBits(run, start, cursor, number, std::numeric_limits<Unsigned>::max());
  }
  return result;
}

template <class Value, class Parser>
FieldResult store(uint8_t* target, Parser parse) {
  Value value{};
  const FieldResult result = parse(&value);
  std::memcpy(target, &value, sizeof value);
  return result;
}

}  // namespace

bool toDouble(std::string_view text, double* value) {
  const char* const end = text.data() + text.size();
  return scanReal(text.data(), end, value) == end && !text.empty();
}

int32_t toInt32(Run& run, std::string_view text, double value) {
  constexpr double kLow = std::numeric_limits<int32_t>::min();
  constexpr double kHigh = std::numeric_limits<int32_t>::max();
  const auto kept = static_cast<int32_t>(value < kLow ? kLow : value > kHigh ? kHigh : value);
  if (kept != value) run.noteLoss(Loss::kNumber, text);
  return kept;
}

FieldResult parseUint16(Run& run, FieldCursor& cursor, uint16_t* value) {
  return parseNarrow(run, cursor, value);
}

FieldResult parseUint32(Run& run, FieldCursor& cursor, uint32_t* value) {
  return parseNarrow(run, cursor, value);
}

FieldResult parseUint8(Run& run, FieldCursor& cursor, uint8_t* value) {
  *value = 0;
  uint64_t number = 0;
  cursor.skipBlanks();
  const FieldCursor start = cursor;
  const FieldResult result = parseUnsigned(run, cursor, &number);
  if (result != FieldResult::kValue) return result;
  // The range check looks at the low 16 bits as a signed number, so 32768 and more pass it.
  if (static_cast<int16_t>(static_cast<uint16_t>(number)) > 255) {
    cursor = start;
    return rejectField(run, cursor, kExceedsDatatype);
  }
  *value = static_cast<uint8_t>(number);
  noteLostBits(run, start.at, cursor, number, UINT8_MAX);
  return FieldResult::kValue;
}

FieldResult parseInt16(Run& run, FieldCursor& cursor, int16_t* value) {
  *value = 0;
  cursor.skipBlanks();
  if (cursor.atDelimiter(run.settings)) return FieldResult::kEmpty;
  const char* const limit = numberLimit(run.settings, cursor);
  const bool negative = *cursor.at == '-';
  uint64_t number = 0;
  const char* const start = cursor.at;
  const char* p = start + (negative ? 1 : 0);
  p = negative && p != limit && *p == '+' ? nullptr : scanUnsigned(p, limit, &number);
  if (p == nullptr || !finishField(run.settings, cursor, p)) {
    return rejectField(run, cursor, kSyntaxError);
  }
  *value = static_cast<int16_t>(static_cast<uint16_t>(negative ? 0 - number : number));
  noteLostBits(run, start, cursor, number, INT16_MAX + (negative ? 1U : 0U));
  return FieldResult::kValue;
}

FieldResult parseFloat(Run& run, FieldCursor& cursor, float* value) {
  return parseReal(run, cursor, value);
}

FieldResult parseDouble(Run& run, FieldCursor& cursor, double* value) {
  return parseReal(run, cursor, value);
}

FieldResult parseChar(Run& run, FieldCursor& cursor, char* value) {
  *value = 0;
  cursor.skipBlanks();
  if (cursor.atEnd()) return FieldResult::kEmpty;
  // In quotes the character may be a delimiter.
  const char quote = *cursor.at;
  if ((quote == '"' || quote == '\'') && cursor.end - cursor.at >= 3 && cursor.at[2] == quote) {
    const char quoted = cursor.at[1];
    if (finishField(run.settings, cursor, cursor.at + 3)) {
      *value = quoted;
      return FieldResult::kValue;
    }
    return rejectField(run, cursor, kSyntaxError);
  }
  if (cursor.atDelimiter(run.settings)) return FieldResult::kEmpty;
  const char plain = *cursor.at;
  if (!finishField(run.settings, cursor, cursor.at + 1)) {
    return rejectField(run, cursor, kSyntaxError);
  }
  *value = plain;
  return FieldResult::kValue;
}

FieldResult parseBits(Run& run, FieldCursor& cursor, uint8_t width, uint16_t* value) {
  *value = 0;
  if (width != 8 && width != 16) return FieldResult::kNoFormat;
  cursor.skipBlanks();
  if (cursor.atDelimiter(run.settings)) return FieldResult::kEmpty;
  const char* const end = fieldEnd(run.settings, cursor);
  unsigned bits = 0;
  int digits = 0;
  bool good = true;
  for (const char* p = cursor.at; p != end && good; ++p) {
    if (static_cast<unsigned char>(*p) <= 32) continue;
    good = (*p == '0' || *p == '1') && ++digits <= width;
    bits = bits << 1 | (*p == '1' ? 1U : 0U);
  }
  if (!good || digits != width) return rejectField(run, cursor, kSyntaxError);
  *value = static_cast<uint16_t>(bits);
  cursor.at = end;
  return FieldResult::kValue;
}

FieldResult parseDateTime(Run& run, FieldCursor& cursor, EnumId order, DateTime* value) {
  *value = DateTime{};
  cursor.skipBlanks();
  if (cursor.atDelimiter(run.settings)) return FieldResult::kEmpty;
  const char* const end = fieldEnd(run.settings, cursor);
  if (order < TVO_ENUM_MJD || order > TVO_ENUM_YMD) {
    cursor.at = end;
    return FieldResult::kNoFormat;
  }
  if (!scanDateTime(cutTrailing(cursor.at, end), order, value)) {
    return rejectField(run, cursor, kSyntaxError);
  }
  cursor.at = end;
  return FieldResult::kValue;
}

FieldResult parseText(Run& run, FieldCursor& cursor, char* value, size_t width) {
  std::memset(value, 0, width);
  cursor.skipBlanks();
  if (cursor.atDelimiter(run.settings)) return FieldResult::kEmpty;
  const char* const start = cursor.at;
  int error = 0;
  if (*start != '"') {
    ++cursor.at;
    error = kSyntaxError;
  } else {
    size_t length = 0;
    const char* const behind = scanText(start + 1, cursor.end, value, width, &length);
    cursor.at = behind == nullptr ? cursor.end : behind;
    error = behind == nullptr ? kSyntaxError : length >= width ? kExceedsDatatype : 0;
  }
  FieldResult result = FieldResult::kValue;
  if (error != 0) {
    result = report(run, error, cutTrailing(start, fieldEnd(run.settings, cursor)));
  }
  return finishText(run, cursor, start, result);
}

FieldResult parseQuotedText(Run& run, FieldCursor& cursor, char* value, size_t width) {
  cursor.skipBlanks();
  if (!cursor.atDelimiter(run.settings) && *cursor.at != '"') return FieldResult::kNotQuoted;
  return parseText(run, cursor, value, width);
}

FieldResult parseEnum(Run& run, FieldCursor& cursor, EnumId* value) {
  *value = TVO_ENUM_UNKNOWN;
  cursor.skipBlanks();
  if (cursor.atDelimiter(run.settings)) return FieldResult::kEmpty;
  const char* const end = fieldEnd(run.settings, cursor);
  const std::string_view word =
      schema::firstWord({cursor.at, static_cast<size_t>(end - cursor.at)});
  cursor.at = end;
  if (schema::FindEnum(word, value) != schema::kFound) run.reportWarning(kUnknownOption, word);
  return FieldResult::kValue;
}

// A value of several kinds as far as it is a text; what is not quoted is left to be a number.
template <class Value>
FieldResult parseTextKind(Run& run, FieldCursor& cursor, Value* value) {
  *value = Value{};
  const FieldResult result = parseQuotedText(run, cursor, value->text, sizeof value->text);
  if (result == FieldResult::kValue) value->kind = TVO_ENUM_TEXT;
  return result;
}

FieldResult parseFreeValue(Run& run, FieldCursor& cursor, FreeValue* value) {
  FieldResult result = parseTextKind(run, cursor, value);
  if (result != FieldResult::kNotQuoted) return result;
  const char* const start = cursor.at;
  double number = 0;
  result = parseDouble(run, cursor, &number);
  if (result != FieldResult::kValue) return result;
  if (std::memchr(start, '.', static_cast<size_t>(cursor.at - start)) != nullptr) {
    value->kind = TVO_ENUM_REAL;
    value->real = number;
  } else {
    value->kind = TVO_ENUM_INT;
    value->integer = toInt32(run, cutTrailing(start, cursor.at), number);
  }
  return FieldResult::kValue;
}

FieldResult parseDefaultValue(Run& run, FieldCursor& cursor, DefaultValue* value) {
  FieldResult result = parseTextKind(run, cursor, value);
  if (result != FieldResult::kNotQuoted) return result;
  double number = 0;
  result = parseDouble(run, cursor, &number);
  if (result == FieldResult::kValue) {
    value->kind = TVO_ENUM_REAL;
    value->real = number;
  }
  return result;
}

FieldResult parseField(Run& run, FieldCursor& cursor, schema::DataType type, uint8_t width,
                       schema::UnitKind unit, uint8_t* value) {
  using schema::DataType;
  switch (type) {
    case DataType::kChar:
      return parseChar(run, cursor, reinterpret_cast<char*>(value));
    case DataType::kUint8:
      return parseUint8(run, cursor, value);
    case DataType::kUint16:
      return store<uint16_t>(value, [&](uint16_t* v) { return parseUint16(run, cursor, v); });
    case DataType::kInt16:
      return store<int16_t>(value, [&](int16_t* v) { return parseInt16(run, cursor, v); });
    case DataType::kUint32:
      return store<uint32_t>(value, [&](uint32_t* v) { return parseUint32(run, cursor, v); });
    case DataType::kFloat:
      return store<float>(value, [&](float* v) { return parseConverted(run, cursor, unit, v); });
    case DataType::kDouble:
      return store<double>(value, [&](double* v) { return parseConverted(run, cursor, unit, v); });
    case DataType::kBits: {
      uint16_t bits = 0;
      const FieldResult result = parseBits(run, cursor, width, &bits);
      if (width == 8) {
        *value = static_cast<uint8_t>(bits);
      } else {
        std::memcpy(value, &bits, sizeof bits);
      }
      return result;
    }
    case DataType::kDateTime:
      return store<DateTime>(value, [&](DateTime* v) {
        return parseDateTime(run, cursor, run.settings.units.dateOrder, v);
      });
    case DataType::kText:
      return parseText(run, cursor, reinterpret_cast<char*>(value), width);
    case DataType::kDefault:
      return store<DefaultValue>(
          value, [&](DefaultValue* v) { return parseDefaultValue(run, cursor, v); });
    case DataType::kEnum:
      return store<EnumId>(value, [&](EnumId* v) { return parseEnum(run, cursor, v); });
    case DataType::kFree:
      return store<FreeValue>(value, [&](FreeValue* v) { return parseFreeValue(run, cursor, v); });
  }
  return FieldResult::kNoFormat;
}

}  // namespace tavo::reader
