// Quotes and separators of comma-separated values.
#include "csv.h"

#include <algorithm>

namespace tavo::tool {

void appendCsvLine(const std::vector<std::string>& cells, EdgeBlanks blanks, std::string* text) {
  bool first = true;
  for (const std::string& cell : cells) {
    if (!first) *text += ',';
    first = false;
    const bool edge =
        blanks == EdgeBlanks::kQuoted && (cell.starts_with(' ') || cell.ends_with(' '));
    if (!edge && cell.find_first_of(",\"\r\n") == cell.npos) {
      *text += cell;
      continue;
    }
    *text += '"';
    for (const char c : cell) text->append(c == '"' ? 2 : 1, c);
    *text += '"';
  }
  *text += '\n';
}

bool takeCsvLine(std::string_view* text, std::vector<std::string>* cells) {
  cells->clear();
  if (text->empty()) return false;
  std::string* cell = &cells->emplace_back();
  bool quoted = false;
  size_t i = 0;
  for (; i < text->size(); ++i) {
    const char c = (*text)[i];
    if (c == '"') {
      const bool doubled = quoted && i + 1 < text->size() && (*text)[i + 1] == '"';
      if (doubled) *cell += (*text)[++i];
      if (!doubled) quoted = !quoted;
    } else if (quoted) {
      *cell += c;
    } else if (c == ',') {
      cell = &cells->emplace_back();
    } else if (c == '\n') {
      break;
    } else if (c != '\r') {
      *cell += c;
    }
  }
  text->remove_prefix(std::min(i + 1, text->size()));
  return true;
}

}  // namespace tavo::tool
