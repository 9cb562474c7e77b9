// Rows of comma-separated values (RFC 4180).
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tavo::tool {

// Whether a cell that begins or ends with a blank has quotes, too, so that no program strips it.
enum class EdgeBlanks { kPlain, kQuoted };

// Appends a row with a line feed; what needs quotes gets them.
void appendCsvLine(const std::vector<std::string>& cells, EdgeBlanks blanks, std::string* text);

// Takes the first row off the text; false when there is none.
bool takeCsvLine(std::string_view* text, std::vector<std::string>* cells);

}  // namespace tavo::tool
