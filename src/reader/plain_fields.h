// The fast way through a data line: fields in their plain form, as nearly all are, are taken one
// after the other without leaving the loop. The first that is not plain is left to the field
// parsers, which alone know about errors.
#pragma once

#include <cstdint>
#include <cstring>
#include <limits>
#include <span>

#include "reader/columns.h"
#include "reader/run.h"
#include "reader/scan.h"
#include "schema/enums.h"

namespace tavo::reader {

namespace plain {

// Numbers of which the record may lose something are left to the parsers when somebody wants to
// know: whole numbers that are too large, and reals so long that not all digits are safe.
template <class Value, bool kObserved>
inline const char* takeUnsigned(const char* p, const char* end, uint8_t* target) {
  constexpr std::ptrdiff_t kSafeDigits = std::numeric_limits<Value>::digits10;
  constexpr std::ptrdiff_t kCountedDigits = std::numeric_limits<uint64_t>::digits10;
  uint64_t number = 0;
  const char* const behind = scanDigits(p, end, &number);
  const Value value = static_cast<Value>(number);
  std::memcpy(target, &value, sizeof value);
  if (kObserved && behind - p > kSafeDigits && (value != number || behind - p > kCountedDigits)) {
    return nullptr;
  }
  return behind == p ? nullptr : behind;
}

template <class Real, bool kObserved>
inline const char* takeReal(const char* p, const char* end, uint8_t* target) {
  constexpr uint64_t kSafe = sizeof(Real) == sizeof(double) ? 999'999'999'999'999 : 999'999;
  const bool negative = *p == '-';
  Real value = 0;
  p = scanShortReal < Real,
  kObserved ? kSafe : Exact<Real>::kLargest > (p + (negative ? 1 : 0), end, &value);
  if (negative) value = -value;
  std::memcpy(target, &value, sizeof value);
  return p;
}

// A quoted text without escapes that fits.
inline const char* takeText(const char* p, const char* end, uint8_t* target, size_t width) {
  if (*p != '"') return nullptr;
  const char* const stop = static_cast<size_t>(end - ++p) < width ? end : p + width;
  uint8_t* const behind = target + width;
  for (; p != stop && *p != '"'; ++p) {
    if (*p == '\\') return nullptr;
    *target++ = static_cast<uint8_t>(*p);
  }
  if (p == stop) return nullptr;
  std::memset(target, 0, static_cast<size_t>(behind - target));
  return p + 1;
}

inline const char* takeEnum(const char* p, const char* end, const Settings& settings,
                            uint8_t* target) {
  const char* const word = p;
  while (p != end && *p != settings.separator && *p != settings.terminator) ++p;
  EnumId value = 0;
  const bool found =
      schema::FindEnum({word, static_cast<size_t>(p - word)}, &value) == schema::kFound;
  std::memcpy(target, &value, sizeof value);
  return found ? p : nullptr;
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
        behind = plain::takeReal<float, kObserved>(p, end, value);
        break;
      case schema::DataType::kDouble:
        behind = plain::takeReal<double, kObserved>(p, end, value);
        break;
      case schema::DataType::kText:
        behind = plain::takeText(p, end, value, column.width);
        break;
      case schema::DataType::kEnum:
        behind = plain::takeEnum(p, end, settings, value);
        break;
      default:
        break;
    }
    if (behind == nullptr || behind == end) break;
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
