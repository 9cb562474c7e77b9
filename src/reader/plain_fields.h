// The fast way through a data line: fields in their plain form, as nearly all are, are taken one
// after the other without leaving the loop. The first that is not plain is left to the field
// parsers, which alone know about errors. Characters are looked at eight at a time, up to
// kScanSlack bytes behind the line's end.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <span>

#include "reader/columns.h"
#include "reader/run.h"
#include "reader/scan.h"
#include "schema/bytes.h"
#include "schema/enums.h"
#include "schema/units.h"

namespace tavo::reader {

namespace plain {

// The digits at p, eight at most, as a number; how many there are. Looks at eight characters,
// whatever stands there: what is taken may reach beyond the text's end, which the loop over the
// fields finds out.
inline size_t scanEight(const char* p, uint32_t* value) {
  uint64_t digits = schema::load<uint64_t>(p) ^ 0x3030303030303030U;
  const size_t count =
      schema::firstMarked(((digits + 0x7676767676767676U) | digits) & schema::kEveryMark);
  *value = 0;
  if (count == 0) return 0;
  *value = eightDigits(digits << 8 * (8 - count));
  return count;
}

// Numbers of which the record may lose something are left to the parsers when somebody wants to
// know: whole numbers that are too large, and reals so long that not all digits are safe.
template <class Value, bool kObserved>
inline const char* takeUnsigned(const char* p, const char* end, uint8_t* target) {
  constexpr std::ptrdiff_t kSafeDigits = std::numeric_limits<Value>::digits10;
  constexpr std::ptrdiff_t kCountedDigits = std::numeric_limits<uint64_t>::digits10;
  uint32_t low = 0;
  const char* behind = p + scanEight(p, &low);
  uint64_t number = low;
  if (behind == p + 8 && behind < end) behind = scanDigits(behind, end, &number);
  const Value value = static_cast<Value>(number);
  std::memcpy(target, &value, sizeof value);
  if (kObserved && behind - p > kSafeDigits && (value != number || behind - p > kCountedDigits)) {
    return nullptr;
  }
  return behind == p ? nullptr : behind;
}

// Up to seven digits on each side of the point make an exact whole number and an exact power of
// ten, so that their quotient is rounded once; longer numbers go the longer way.
template <class Real, bool kObserved>
inline const char* scanPlainReal(const char* p, const char* end, Real* value) {
  constexpr uint64_t kSafe = sizeof(Real) == sizeof(double) ? 999'999'999'999'999 : 999'999;
  constexpr uint64_t kMost = kObserved ? kSafe : Exact<Real>::kLargest;
  uint32_t whole = 0;
  uint32_t fraction = 0;
  size_t decimals = 0;
  const char* behind = p + scanEight(p, &whole);
  const bool digit = behind != p;
  if (behind < end && *behind == '.') {
    decimals = scanEight(++behind, &fraction);
    behind += decimals;
  }
  const uint64_t mantissa = whole * kPowersOfTen[decimals] + fraction;
  const bool isShort = whole < 10'000'000 && decimals < 8 && (digit || decimals > 0);
  if (!isShort || mantissa > kMost) return scanShortReal<Real, kMost>(p, end, value);
  *value = static_cast<Real>(static_cast<int64_t>(mantissa)) / Exact<Real>::kPowers[decimals];
  return behind;
}

// What the conversion makes too large is left to the parsers.
template <class Real, bool kObserved>
inline const char* takeReal(const char* p, const char* end, const Settings& settings,
                            schema::UnitKind unit, uint8_t* target) {
  const bool negative = *p == '-';
  Real value = 0;
  p = scanPlainReal<Real, kObserved>(p + (negative ? 1 : 0), end, &value);
  if (negative) value = -value;
  if (unit != schema::UnitKind::kNone) {
    value = static_cast<Real>(schema::toInternal(settings.units, unit, static_cast<double>(value)));
    if (!std::isfinite(value)) return nullptr;
  }
  std::memcpy(target, &value, sizeof value);
  return p;
}

// Stores a text of less than eight characters, which are the lower bytes of the group, in a field
// of at least eight, zeros behind it. The last store may overlap the one before.
inline void storeShort(uint64_t group, uint8_t* target, size_t width) {
  constexpr size_t kGroup = sizeof group;
  constexpr uint64_t kNothing = 0;
  std::memcpy(target, &group, kGroup);
  for (size_t i = kGroup; i + kGroup < width; i += kGroup)
    std::memcpy(target + i, &kNothing, kGroup);
  const size_t last = width - kGroup;
  group = last < kGroup ? group >> 8 * last : 0;
  std::memcpy(target + last, &group, kGroup);
}

// A quoted text without escapes that fits.
inline const char* takeText(const char* p, const char* end, uint8_t* target, size_t width) {
  constexpr size_t kGroup = sizeof(uint64_t);
  if (*p++ != '"') return nullptr;
  const auto group = schema::load<uint64_t>(p);
  const uint64_t quotes = schema::markBytes(group, '"');
  if (quotes != 0 && schema::markBytes(group, '\\') == 0 && width >= kGroup) {
    const size_t length = schema::firstMarked(quotes);
    storeShort(group & ((uint64_t{1} << 8 * length) - 1), target, width);
    return p + length + 1;
  }
  const char* const stop = static_cast<size_t>(end - p) < width ? end : p + width;
  uint8_t* const behind = target + width;
  for (; p != stop && *p != '"'; ++p) {
    if (*p == '\\') return nullptr;
    *target++ = static_cast<uint8_t>(*p);
  }
  if (p == stop) return nullptr;
  std::memset(target, 0, static_cast<size_t>(behind - target));
  return p + 1;
}

// Two digits; what is none makes *wrong true.
inline int twoDigits(const char* p, bool* wrong) {
  const auto high = static_cast<uint8_t>(p[0] - '0');
  const auto low = static_cast<uint8_t>(p[1] - '0');
  *wrong = *wrong || high > 9 || low > 9;
  return high * 10 + low;
}

// Date and time with all their digits: DD-MM-YYYY/hh:mm:ss.f, the day or the month first, or
// YYYY-MM-DD/hh:mm:ss.f. A second digit of the fraction counts only with the day first, else it
// is an error, as anything else behind the fraction is.
inline const char* takeDate(const char* p, const char* end, const Settings& settings,
                            uint8_t* target) {
  constexpr std::ptrdiff_t kLength = 21;
  const EnumId order = settings.units.dateOrder;
  const auto delimits = [&settings](char c) {
    return c == settings.separator || c == settings.terminator;
  };
  if (end - p <= kLength || order < TVO_ENUM_DMY || order > TVO_ENUM_YMD || delimits('/') ||
      delimits(':')) {
    return nullptr;
  }
  const bool yearFirst = order == TVO_ENUM_YMD;
  const char* const year = yearFirst ? p : p + 6;
  const char* const first = yearFirst ? p + 5 : p;
  bool wrong = first[2] != (yearFirst ? '/' : '-') || p[yearFirst ? 4 : 5] != '-' ||
               p[yearFirst ? 7 : 10] != (yearFirst ? '-' : '/') || p[13] != ':' || p[16] != ':' ||
               p[19] != '.';
  const int one = twoDigits(first, &wrong);
  const int two = twoDigits(first + 3, &wrong);
  const bool dayFirst = order == TVO_ENUM_DMY;
  DateTime date;
  date.year = static_cast<int16_t>(100 * twoDigits(year, &wrong) + twoDigits(year + 2, &wrong));
  date.month = static_cast<int16_t>(dayFirst ? two : one);
  date.day = static_cast<int16_t>(dayFirst ? one : two);
  date.hour = static_cast<int16_t>(twoDigits(p + 11, &wrong));
  date.minute = static_cast<int16_t>(twoDigits(p + 14, &wrong));
  date.second = static_cast<int16_t>(twoDigits(p + 17, &wrong));
  const auto tenths = static_cast<uint8_t>(p[20] - '0');
  const auto hundredths = static_cast<uint8_t>(p[21] - '0');
  const bool both = dayFirst && hundredths <= 9;
  date.hundredths = static_cast<int16_t>(10 * tenths + (both ? hundredths : 0));
  if (wrong || tenths > 9) return nullptr;
  std::memcpy(target, &date, sizeof date);
  return p + kLength + (both ? 1 : 0);
}

// A word of the column's group, which then needs no check.
inline const char* takeEnum(const char* p, const char* end, const Settings& settings,
                            schema::EnumGroup group, uint8_t* target) {
  const char* const word = p;
  while (p != end && *p != settings.separator && *p != settings.terminator) ++p;
  EnumId value = 0;
  const bool found =
      schema::FindEnum({word, static_cast<size_t>(p - word)}, &value) == schema::kFound;
  std::memcpy(target, &value, sizeof value);
  return found && schema::inGroup(group, value) ? p : nullptr;
}

}  // namespace plain

// Takes fields from *at on while they are plain and the delimiter that is due follows directly: the
// separator with more behind it, or the terminator behind the last column. Returns how many were
// taken and moves *at to the next field, or to the terminator. kObserved: see Diagnostics.
template <bool kObserved>
inline size_t takePlainFields(const Settings& settings, std::span<const Column> columns,
                              const char** at, const char* end, uint8_t* target) {
  if (settings.delimitersInValues) return 0;
  const char* p = *at;
  size_t taken = 0;
  for (const Column& column : columns) {
    if (!column.plain || p == end) break;
    uint8_t* const value = target + column.offset;
    const char* behind = nullptr;
    switch (column.type) {
      case schema::DataType::kUint16:
        behind = plain::takeUnsigned<uint16_t, kObserved>(p, end, value);
        break;
      case schema::DataType::kUint32:
        behind = plain::takeUnsigned<uint32_t, kObserved>(p, end, value);
        break;
      case schema::DataType::kFloat:
        behind = plain::takeReal<float, kObserved>(p, end, settings, column.unit, value);
        break;
      case schema::DataType::kDouble:
        behind = plain::takeReal<double, kObserved>(p, end, settings, column.unit, value);
        break;
      case schema::DataType::kDateTime:
        behind = plain::takeDate(p, end, settings, value);
        break;
      case schema::DataType::kText:
        behind = plain::takeText(p, end, value, column.width);
        break;
      case schema::DataType::kEnum:
        behind = plain::takeEnum(p, end, settings, column.group, value);
        break;
      default:
        break;
    }
    if (behind == nullptr || behind >= end) break;
    const bool last = taken + 1 == columns.size();
    if (*behind != (last ? settings.terminator : settings.separator)) break;
    if (!last) {
      do {
        ++behind;
      } while (behind != end && *behind >= 1 && *behind <= 32);
      if (behind == end) break;  // the line is continued, which is not plain
    }
    ++taken;
    *at = p = behind;
  }
  return taken;
}

}  // namespace tavo::reader
