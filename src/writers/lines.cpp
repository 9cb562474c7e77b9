// Line building and breaking.
#include "writers/lines.h"

#include <algorithm>
#include <cstring>

namespace tavo::writers {

namespace {

// Characters of a comment line in front of its text: the comment character and a space.
constexpr size_t kCommentRoom = kBreak - 2;

char* putSpaces(char* out, size_t count) {
  memset(out, ' ', count);
  return out + count;
}

// Padding behind a separator, as "%*.1s" writes a blank: a negative width pads as well, and one
// blank always stands. `shown` is the field's written width; a text's counts modulo 256.
size_t paddingOf(size_t width, size_t shown, Alignment alignment) {
  if (alignment == Alignment::kRight) return 2;
  if (alignment == Alignment::kLeft) return std::max(width, shown) - shown + 2;
  const int padding = static_cast<int>(width) - static_cast<uint8_t>(shown) + 2;
  return static_cast<size_t>(std::max(1, padding < 0 ? -padding : padding));
}

Alignment alignmentOf(std::string_view value) {
  if (value.empty()) return Alignment::kLeft;
  return value.front() == '"' ? Alignment::kQuoted : Alignment::kRight;
}

}  // namespace

// Begins a line for a field of `size` characters at the slot that takes `shown`. The indentation
// gives way to a text that needs the whole line.
void DataLine::startLine(size_t size, size_t shown) {
  const size_t indent = std::min(indent_, kLineLimit - 1 - std::min(shown, kLineLimit - 1));
  char* begin = at_;
  const size_t shift = indent + (fresh_ ? 0 : 1);
  memmove(begin + shift, begin, size);
  if (!fresh_) *begin++ = '\n';
  line_ = begin;
  at_ = putSpaces(begin, indent);
  fresh_ = false;
  inverted_ = false;
}

void DataLine::pad(size_t count) {
  const size_t room = kLineLimit - std::min(kLineLimit, used());
  at_ = putSpaces(at_, std::min(count, room));
}

void DataLine::field(size_t size, size_t width, Alignment alignment, bool last) {
  if (alignment == Alignment::kByValue) alignment = alignmentOf({at_, size});
  const size_t shown = alignment == Alignment::kRight ? std::max(size, width) : size;
  const std::string_view text(at_, size);
  const bool quoted = size > 0 && text.front() == '"';
  // The first test is the rule; the others keep lines readable where a width of 0 says too little.
  const bool full = used() + width + 3 >= kBreak || used() + shown + 1 > kLineLimit ||
                    (inverted_ && quoted && text.find(state_.terminator) != text.npos);
  const bool inverts = quoted && invertsQuotes(text);
  if (fresh_ || full) startLine(size, shown);
  if (inverts) inverted_ = !inverted_;
  if (shown > size) {
    memmove(at_ + shown - size, at_, size);
    putSpaces(at_, shown - size);
  }
  at_ += shown;
  *at_++ = last ? state_.terminator : state_.separator;
  if (!last) pad(paddingOf(width, shown, alignment));
}

void DataLine::end() {
  *at_++ = '\n';
  output_.commit(at_);
}

bool invertsQuotes(std::string_view quoted) {
  if (memchr(quoted.data(), '\\', quoted.size()) == nullptr) return false;
  bool inverts = false;
  for (size_t i = 2; i + 1 < quoted.size(); ++i) {
    const bool quote = quoted[i] == '"' || quoted[i] == '\'';
    if (quote && quoted[i - 1] == '\\' && quoted[i - 2] == '\\') inverts = !inverts;
  }
  return inverts;
}

void writeBlankLine(Output& output) {
  char* p = output.reserve();
  *p = '\n';
  output.commit(p + 1);
}

void writeKeywordLine(Output& output, size_t indent, std::string_view keyword) {
  char* p = putSpaces(output.reserve(), indent);
  p += putText(keyword, p);
  *p++ = '\n';
  output.commit(p);
}

void writeEndLine(Output& output, size_t indent, std::string_view keyword) {
  char* p = putSpaces(output.reserve(), indent);
  p += putText("END ", p);
  p += putText(keyword, p);
  *p++ = '\n';
  output.commit(p);
}

void writeComments(Output& output, const OutputState& state, size_t indent,
                   const char* columnsRecord) {
  const size_t length = strnlen(columnsRecord, TVO_COMMENT_SIZE);
  std::string_view text(columnsRecord, length);
  const size_t limit = kCommentRoom - indent;
  char* p = output.reserve();
  while (!text.empty()) {
    std::string_view piece = text.substr(0, text.find('\n'));
    size_t taken = piece.size() + 1;  // the line feed goes with it
    if (piece.size() > limit) {
      piece = piece.substr(0, limit);
      taken = limit;
      for (size_t i = limit - 1; i > 0; --i) {
        if (piece[i] == ' ' && piece[i - 1] != ' ') {
          piece = piece.substr(0, i);
          taken = i + 1;
          break;
        }
      }
    }
    p = putSpaces(p, indent);
    *p++ = state.comment;
    *p++ = ' ';
    char* begin = p;
    p += putText(piece, p);
    // Neither may stand inside a line.
    std::replace_if(
        begin, p, [](char c) { return c == '\r' || c == '\x1a'; }, ' ');
    *p++ = '\n';
    text.remove_prefix(std::min(taken, text.size()));
  }
  output.commit(p);
}

void writeDefinition(Output& output, const OutputState& state, size_t indent,
                     std::string_view keyword, const ColumnList& list) {
  char* line = output.reserve();
  char* p = putSpaces(line, indent);
  p += putText(keyword, p);
  *p++ = ' ';
  *p++ = '(';
  for (size_t i = 0; i < list.count; ++i) {
    const std::string_view name(list.columns[i].name);
    if (i > 0) *p++ = state.separator;
    if (static_cast<size_t>(p - line) + name.size() >= kBreak) {
      *p++ = '\n';
      line = p;
      p = putSpaces(p, indent + keyword.size() + 2);
    }
    p += putText(name, p);
  }
  *p++ = ')';
  *p++ = '\n';
  output.commit(p);
}

void writeDataRecord(Output& output, const OutputState& state, size_t indent,
                     const ColumnList& list, const ColumnWidths& widths, const char* record) {
  DataLine line(output, state, indent);
  line.begin();
  for (size_t i = 0; i < list.count; ++i) {
    const ColumnPlan& column = list.columns[i];
    size_t size = putValue(column, state, record, line.slot());
    // A line of the terminator alone would be skipped as an empty one.
    if (size == 0 && list.count == 1) size = putNothing(column, state, record, line.slot());
    line.field(size, widths[i], column.alignment, i + 1 == list.count);
  }
  if (list.count == 0) line.field(0, 0, Alignment::kLeft, true);
  line.end();
}

}  // namespace tavo::writers
