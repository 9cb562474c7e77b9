// The shapes of lines: keyword lines, END lines, comments, column definitions and data lines, each
// indented, kept short and broken where it must be.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "schema/keywords.h"
#include "writers/output.h"
#include "writers/value.h"

namespace tavo::writers {

using schema::keywordName;

// A line is broken before it reaches this many characters.
inline constexpr size_t kBreak = schema::kLineBreak;

// Widths of the data lines' columns; columns beyond the last entry have width 0.
class ColumnWidths {
 public:
  static constexpr size_t kMeasured = schema::kMaxListed;

  void clear() { widths_.fill(0); }
  void raise(size_t column, size_t width) {
    const auto narrow = static_cast<uint8_t>(width);
    if (narrow > widths_[column]) widths_[column] = narrow;
  }
  size_t operator[](size_t column) const { return widths_[column]; }

 private:
  std::array<uint8_t, kMeasured + 1> widths_{};
};

// One record's line or lines, built in place: begin, put each field, end. Fields are appended with
// the separator and padding behind them, and a new line begins where the next one would not fit.
class LineBuilder {
 public:
  LineBuilder(Output& output, const OutputState& state, size_t indent)
      : output_(output), state_(state), indent_(indent) {}

  void begin() {
    at_ = line_ = output_.reserve();
    fresh_ = true;
    inverted_ = false;
  }
  // Where the next field's text is to be put, kValueSize characters at most.
  char* slot() const { return at_; }
  // Takes the text of `size` characters at the slot as the next field; `width` is its column's.
  void field(size_t size, size_t width, Alignment alignment, bool last);
  void end();

 private:
  size_t used() const { return static_cast<size_t>(at_ - line_); }
  void startLine(size_t size, size_t shown);
  void pad(size_t count);

  Output& output_;
  const OutputState& state_;
  size_t indent_;
  char* line_ = nullptr;   // begin of the current line
  char* at_ = nullptr;     // its end so far
  bool fresh_ = true;      // nothing has been put since begin
  bool inverted_ = false;  // a reader takes what stands outside quotes on this line for quoted
};

// Whether a written text turns inside and outside of quotes around for the rest of its line: the
// line reader takes a quote behind two backslashes for a real one, although the first of them is
// the text's own character and the second one escapes the quote.
bool invertsQuotes(std::string_view quoted);

void writeBlankLine(Output& output);
void writeKeywordLine(Output& output, size_t indent, std::string_view keyword);
void writeEndLine(Output& output, size_t indent, std::string_view keyword);

// The comment text at the start of a columns record, cut at its line feeds and at spaces.
void writeComments(Output& output, const OutputState& state, size_t indent,
                   const char* columnsRecord);

// Keyword and column names; a list that is too long goes on under its first name.
void writeDefinition(Output& output, const OutputState& state, size_t indent,
                     std::string_view keyword, const ColumnList& list);

// One data record under its block's columns.
void writeDataRecord(Output& output, const OutputState& state, size_t indent,
                     const ColumnList& list, const ColumnWidths& widths, const char* record);

}  // namespace tavo::writers
