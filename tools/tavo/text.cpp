// UTF-8 sequences and what is made of the rest.
#include "text.h"

#include <cstdint>

namespace tavo::tool {

namespace {

// Length of the valid UTF-8 sequence at the start, or 0.
size_t sequenceLength(std::string_view text) {
  const auto byte = [&](size_t i) { return static_cast<unsigned char>(text[i]); };
  const unsigned lead = byte(0);
  if (lead < 0x80) return 1;
  const size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
  if (lead < 0xC2 || lead > 0xF4 || text.size() < length) return 0;
  for (size_t i = 1; i < length; ++i) {
    if ((byte(i) & 0xC0) != 0x80) return 0;
  }
  // Overlong forms, surrogates and numbers above the last code point.
  const unsigned second = byte(1);
  if ((lead == 0xE0 && second < 0xA0) || (lead == 0xED && second > 0x9F) ||
      (lead == 0xF0 && second < 0x90) || (lead == 0xF4 && second > 0x8F)) {
    return 0;
  }
  return length;
}

}  // namespace

std::string toUtf8(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  while (!text.empty()) {
    const size_t length = sequenceLength(text);
    if (length > 0) {
      result.append(text.substr(0, length));
    } else {
      const unsigned byte = static_cast<unsigned char>(text.front());
      result += static_cast<char>(0xC0 | (byte >> 6));
      result += static_cast<char>(0x80 | (byte & 0x3F));
    }
    text.remove_prefix(length > 0 ? length : 1);
  }
  return result;
}

std::string printable(std::string_view text, size_t limit) {
  const bool cut = text.size() > limit;
  std::string result = toUtf8(text.substr(0, limit));
  for (char& c : result) {
    const auto code = static_cast<unsigned char>(c);
    if (code == '\t') c = ' ';
    if (code < ' ' || code == 0x7F) c = code == '\t' ? ' ' : '?';
  }
  return cut ? result + " ..." : result;
}

std::string counted(uint64_t count, std::string_view singular) {
  std::string result = std::to_string(count) + " " + std::string(singular);
  return count == 1 ? result : result + "s";
}

}  // namespace tavo::tool
