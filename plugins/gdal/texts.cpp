// Conversions of texts, reals and dates.
#include "texts.h"

#include <charconv>
#include <cstdio>

#include <cpl_string.h>

#include "tavo/survey.hpp"

namespace tavo::gdal {

std::string toUtf8(std::string_view text) {
  if (CPLIsUTF8(text.data(), static_cast<int>(text.size()))) return std::string(text);
  std::string out;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x80) {
      out += c;
    } else {
      out += static_cast<char>(0xC0 | byte >> 6);
      out += static_cast<char>(0x80 | (byte & 0x3F));
    }
  }
  return out;
}

std::string textAt(const char* at, size_t room) { return toUtf8(viewAt(at, room)); }

double shortest(float value) {
  char digits[32];
  const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
  double result = static_cast<double>(value);
  std::from_chars(digits, end, result);
  return result;
}

DateKind kindOf(const TVO_DateTime& date) {
  constexpr TVO_DateTime kEmpty{};
  if (std::memcmp(&date, &kEmpty, sizeof date) == 0) return DateKind::kNone;
  return timeOf(date) ? DateKind::kDate : DateKind::kImpossible;
}

std::string dateText(const TVO_DateTime& date) {
  char text[64];
  std::snprintf(text, sizeof text, "%04d-%02d-%02d/%02d:%02d:%02d.%02d", date.year, date.month,
                date.day, date.hour, date.minute, date.second, date.hundredths);
  return text;
}

std::string quoted(std::string_view text) {
  std::string out = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') out += '\\';
    out += c;
  }
  return out + '"';
}

}  // namespace tavo::gdal
