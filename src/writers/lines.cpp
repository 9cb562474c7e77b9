// Line building and breaking.
#include "writers/lines.h"

#include <algorithm>
#include <cstring>

#include "schema/bytes.h"
#include "schema/compiler.h"

namespace tavo::writers {

namespace {

// Characters of a comment line in front of its text: the comment character and a space.
constexpr size_t kCommentRoom = kBreak - 2;

char* putSpaces(char* out, size_t count) {
  memset(out, ' ', count);
  return out + count;
}

// Few blanks are put by one store of this many, whatever their number: the output has the room.
constexpr size_t kBlock = 32;

char* putGap(char* out, size_t count) {
  if (count > kBlock) return putSpaces(out, count);
  memset(out, ' ', kBlock);
  return out + count;
}

// Moves a text to the right and fills up in front of it.
void indentText(char* text, size_t size, size_t by) {
  if (size > kBlock || by > kBlock) {
    memmove(text + by, text, size);
    putSpaces(text, by);
    return;
  }
  char kept[kBlock];
  memcpy(kept, text, kBlock);
  memset(text, ' ', kBlock);
  memcpy(text + by, kept, kBlock);
}

constexpr size_t kNumberPadding = 2;

// Padding behind a separator, as "%*.1s" writes a blank: a negative width pads as well, and one
// blank always stands. `shown` is the field's written width; a text's counts modulo 256.
size_t paddingOf(size_t width, size_t shown, Alignment alignment) {
  if (alignment == Alignment::kLeft) return std::max(width, shown) - shown + 2;
  const int padding = static_cast<int>(width) - static_cast<uint8_t>(shown) + 2;
  return static_cast<size_t>(std::max(1, padding < 0 ? -padding : padding));
}

// Looks at whole groups: bytes behind the text may make it seem to hold one.
bool mayHoldBackslash(const char* text, size_t size) {
  uint64_t marks = 0;
  for (size_t i = 0; i < size; i += sizeof marks) {
    marks |= schema::markBytes(schema::load<uint64_t>(text + i), '\\');
  }
  return marks != 0;
}

Alignment alignmentOf(std::string_view value) {
  if (value.empty()) return Alignment::kLeft;
  return value.front() == '"' ? Alignment::kQuoted : Alignment::kRight;
}

}  // namespace

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

namespace {

// One record's line or lines, built in place: begin, put each field, end. Fields are appended with
// the separator and padding behind them, and a new line begins where the next one would not fit.
class LineBuilder {
 public:
  LineBuilder(Output& output, const OutputState& state, size_t indent)
      : output_(output), state_(state), indent_(indent) {}

  void begin();
  // Where the next field's text is to be put, kValueSize characters at most.
  char* slot() const { return at_; }
  // Takes the text of `size` characters at the slot as the next field; `width` is its column's.
  // A line without any field has its terminator alone.
  void field(size_t size, size_t width, Alignment alignment);
  void end();

 private:
  size_t used() const { return static_cast<size_t>(at_ - line_); }
  size_t indentFor(size_t shown) const;
  void makeRoom(size_t size, size_t width, size_t shown, bool fits);
  void makeQuotedRoom(size_t size, size_t width);

  Output& output_;
  const OutputState& state_;
  size_t indent_;
  char* line_ = nullptr;   // begin of the current line
  char* at_ = nullptr;     // its end so far
  char* field_ = nullptr;  // the end of its last field; at_ as long as there is none
  char* end_ = nullptr;    // a field that ends in front of this one fits without a further look
  bool inverted_ = false;  // a reader takes what stands outside quotes on this line for quoted
};

void LineBuilder::begin() {
  line_ = output_.reserve();
  at_ = field_ = putGap(line_, indent_);
  end_ = line_ + kBreak - 3;
  inverted_ = false;
}

// The indentation gives way to a text that needs the whole line.
size_t LineBuilder::indentFor(size_t shown) const {
  return std::min(indent_, kLineLimit - 1 - std::min(shown, kLineLimit - 1));
}

// Makes room for a field of `size` characters at the slot that takes `shown`, or more for its
// column: a new line, unless it fits the one that there is or is the first one on it.
TAVO_COLD void LineBuilder::makeRoom(size_t size, size_t width, size_t shown, bool fits) {
  // The first test is the rule; the other keeps lines readable where a width of 0 says too little.
  const bool full = used() + width + 3 >= kBreak || used() + shown + 1 > kLineLimit;
  const bool first = at_ == field_;
  if (fits && !full && !first) return;
  char* const from = at_;
  if (!first) line_ = from + 1;
  const size_t indent = indentFor(shown);
  at_ = line_ + indent;
  memmove(at_, from, size);
  if (!first) {
    *from = '\n';
    putSpaces(line_, indent);
  }
  end_ = line_ + kBreak - 3;
  inverted_ = false;
}

// Makes room for a text that may turn quotes around, or stands behind one: the line is cut when a
// terminator in it would be taken for the line's.
TAVO_COLD void LineBuilder::makeQuotedRoom(size_t size, size_t width) {
  const std::string_view text(at_, size);
  const bool inverts = invertsQuotes(text);
  makeRoom(size, width, size, !inverted_ || text.find(state_.terminator) == text.npos);
  inverted_ = inverted_ != inverts;
}

// In one piece, which has one caller: this is most of the work for a field.
void LineBuilder::field(size_t size, size_t width, Alignment alignment) {
  if (alignment == Alignment::kByValue) alignment = alignmentOf({at_, size});
  const bool number = alignment == Alignment::kRight;
  const size_t shown = number ? std::max(size, width) : size;
  if (alignment == Alignment::kQuoted && (inverted_ || mayHoldBackslash(at_, size))) {
    makeQuotedRoom(size, width);
  } else if (at_ + shown >= end_ || at_ + width >= end_) {
    makeRoom(size, width, shown, true);
  }
  if (shown > size) indentText(at_, size, shown - size);
  field_ = at_ + shown;
  *field_ = state_.separator;
  at_ = putGap(field_ + 1, number ? kNumberPadding : paddingOf(width, size, alignment));
  // Trailing blanks, too, make a line too long for a reader.
  if (at_ > line_ + kLineLimit) at_ = std::max(field_ + 1, line_ + kLineLimit);
}

void LineBuilder::end() {
  *field_++ = state_.terminator;
  *field_++ = '\n';
  output_.commit(field_);
}

}  // namespace

void writeDataRecord(Output& output, const OutputState& state, size_t indent,
                     const ColumnList& list, const ColumnWidths& widths, const char* record) {
  LineBuilder line(output, state, indent);
  line.begin();
  for (size_t i = 0; i < list.count; ++i) {
    const ColumnPlan& column = list.columns[i];
    size_t size = column.put(column, state, record, line.slot());
    // A line of the terminator alone would be skipped as an empty one.
    if (size == 0 && list.count == 1) size = putNothing(column, state, record, line.slot());
    line.field(size, widths[i], column.alignment);
  }
  line.end();
}

}  // namespace tavo::writers
