// Texts, reals and dates of records in the form in which GDAL takes them.
#pragma once

#include <cstddef>
#include <cstring>
#include <string>
#include <string_view>

#include "tavo/records.h"

namespace tavo::gdal {

// A packed value of a record.
template <class T>
T load(const char* at) {
  T value;
  std::memcpy(&value, at, sizeof value);
  return value;
}

// A text of a record up to its end mark, as the file has it.
inline std::string_view viewAt(const char* at, size_t room) { return {at, strnlen(at, room)}; }
// A text as it is where it is UTF-8, else taken for Latin-1; of a record up to its end mark.
std::string toUtf8(std::string_view text);
std::string textAt(const char* at, size_t room);

// The double that has the float's shortest decimal form: 0.1, not 0.100000001490116.
double shortest(float value);

enum class DateKind { kNone, kDate, kImpossible };
DateKind kindOf(const TVO_DateTime& date);
// "2024-02-31/07:15:00.00"
std::string dateText(const TVO_DateTime& date);

// A text in double quotes for a style string.
std::string quoted(std::string_view text);

}  // namespace tavo::gdal
