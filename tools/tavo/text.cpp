// UTF-8 sequences and what is made of the rest.
#include "text.h"

#include <algorithm>
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

// Appends the first character of the text as UTF-8 and returns how many bytes it takes there.
size_t appendCharacter(std::string_view text, std::string* result) {
  const size_t length = sequenceLength(text);
  if (length > 0) {
    result->append(text.substr(0, length));
    return length;
  }
  const unsigned byte = static_cast<unsigned char>(text.front());
  *result += static_cast<char>(0xC0 | (byte >> 6));
  *result += static_cast<char>(0x80 | (byte & 0x3F));
  return 1;
}

}  // namespace

std::string toUtf8(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  while (!text.empty()) {
    const size_t length = appendCharacter(text, &result);
    text.remove_prefix(length);
  }
  return result;
}

std::string printable(std::string_view text, size_t limit) {
  std::string result;
  result.reserve(std::min(text.size(), limit) + 4);
  size_t shown = 0;
  while (shown < text.size()) {
    const size_t start = result.size();
    const size_t length = appendCharacter(text.substr(shown), &result);
    shown += length;
    if (shown > limit) return result.replace(start, std::string::npos, " ...");
    const auto byte = [&](size_t i) { return static_cast<unsigned char>(result[start + i]); };
    const bool high = byte(0) == 0xC2 && byte(1) < 0xA0;
    if (byte(0) < ' ' || byte(0) == 0x7F || high) {
      result.replace(start, std::string::npos, byte(0) == '\t' ? " " : "?");
    }
  }
  return result;
}

std::string escaped(std::string_view text, std::string_view marks) {
  std::string result;
  for (const char c : text) {
    if (marks.find(c) == marks.npos) {
      result += c;
    } else {
      result += c == '&' ? "&amp;" : c == '<' ? "&lt;" : c == '>' ? "&gt;" : "&quot;";
    }
  }
  return result;
}

size_t lengthOfWhole(std::string_view text) {
  for (size_t n = 1; n <= std::min<size_t>(3, text.size()); ++n) {
    const auto byte = static_cast<unsigned char>(text[text.size() - n]);
    if ((byte & 0xC0) == 0x80) continue;
    const size_t wanted = byte >= 0xF0 ? 4 : byte >= 0xE0 ? 3 : byte >= 0xC2 ? 2 : 1;
    return wanted > n ? text.size() - n : text.size();
  }
  return text.size();
}

size_t columnsOf(std::string_view text) {
  size_t columns = 0;
  while (!text.empty()) {
    text.remove_prefix(std::max<size_t>(sequenceLength(text), 1));
    ++columns;
  }
  return columns;
}

std::string wrapped(std::string_view text, size_t blanks, size_t width) {
  const std::string indent(blanks, ' ');
  std::string result, line;
  while (!text.empty()) {
    const size_t end = std::min(text.find(' '), text.size());
    const std::string_view word = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    if (!line.empty() && columnsOf(line) + 1 + columnsOf(word) > width - blanks) {
      result += indent + line + '\n';
      line.clear();
    }
    if (!line.empty()) line += ' ';
    line += word;
  }
  return line.empty() ? result : result + indent + line + '\n';
}

std::string counted(uint64_t count, std::string_view singular) {
  std::string result = std::to_string(count) + " " + std::string(singular);
  return count == 1 ? result : result + "s";
}

}  // namespace tavo::tool
