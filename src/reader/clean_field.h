// The fast way through a data line: fields in their plain form, which nearly all fields have, are
// taken without leaving the caller's registers. Whatever is not plain is left to the field parsers,
// which alone know about errors.
#pragma once

#include <cstdint>
#include <cstring>

#include "reader/columns.h"
#include "reader/run.h"
#include "reader/scan.h"
#include "schema/enums.h"

namespace tavo::reader {

namespace clean {

template <class Value>
inline const char* storeUnsigned(const char* p, const char* end, uint8_t* target) {
  uint64_t number = 0;
  const char* const behind = scanDigits(p, end, &number);
  const Value value = static_cast<Value>(number);
  std::memcpy(target, &value, sizeof value);
  return behind == p ? nullptr : behind;
}

template <class Real>
inline const char* storeReal(const char* p, const char* end, uint8_t* target) {
  const bool negative = *p == '-';
  Real value = 0;
  p = scanShortReal(p + (negative ? 1 : 0), end, &value);
  if (negative) value = -value;
  std::memcpy(target, &value, sizeof value);
  return p;
}

// A quoted text without escapes that fits.
inline const char* storeText(const char* p, const char* end, uint8_t* target, size_t width) {
  if (*p++ != '"') return nullptr;
  const size_t room = static_cast<size_t>(end - p);
  const size_t most = room < width ? room : width;
  size_t n = 0;
  for (; n < most && p[n] != '"'; ++n) {
    if (p[n] == '\\') return nullptr;
    target[n] = static_cast<uint8_t>(p[n]);
  }
  if (n == most) return nullptr;
  std::memset(target + n, 0, width - n);
  return p + n + 1;
}

inline const char* storeEnum(const char* p, const char* end, char separator, char terminator,
                             uint8_t* target) {
  const char* const word = p;
  while (p != end && *p != separator && *p != terminator) ++p;
  EnumId value = 0;
  if (schema::FindEnum({word, static_cast<size_t>(p - word)}, &value) != schema::kFound) {
    return nullptr;
  }
  std::memcpy(target, &value, sizeof value);
  return p;
}

}  // namespace clean

// Takes the field at p when its text is plain and a delimiter follows directly, and returns the
// delimiter's place. Null otherwise; the bytes at target are then undefined.
inline const char* takeCleanField(const Settings& settings, const Column& column, const char* p,
                                  const char* end, uint8_t* target) {
  while (p != end && *p == ' ') ++p;
  if (p == end || settings.numericDelimiters || column.unit != schema::UnitKind::kNone) {
    return nullptr;
  }
  switch (column.type) {
    case schema::DataType::kUint16:
      p = clean::storeUnsigned<uint16_t>(p, end, target);
      break;
    case schema::DataType::kUint32:
      p = clean::storeUnsigned<uint32_t>(p, end, target);
      break;
    case schema::DataType::kFloat:
      p = clean::storeReal<float>(p, end, target);
      break;
    case schema::DataType::kDouble:
      p = clean::storeReal<double>(p, end, target);
      break;
    case schema::DataType::kText:
      p = clean::storeText(p, end, target, column.width);
      break;
    case schema::DataType::kEnum:
      p = clean::storeEnum(p, end, settings.separator, settings.terminator, target);
      break;
    default:
      return nullptr;
  }
  const bool delimited =
      p != nullptr && p != end && (*p == settings.separator || *p == settings.terminator);
  return delimited ? p : nullptr;
}

}  // namespace tavo::reader
