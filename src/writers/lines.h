// The shapes of lines: keyword lines, END lines, comments, column definitions and data lines, each
// indented, kept short and broken where it must be.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "schema/keywords.h"
#include "writers/output.h"
#include "writers/value.h"
#include "writers/widths.h"

namespace tavo::writers {

using schema::keywordName;

// A line is broken before it reaches this many characters.
inline constexpr size_t kBreak = schema::kLineBreak;

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
