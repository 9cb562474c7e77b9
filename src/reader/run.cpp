// The line reader and the skip routine.
#include "reader/run.h"

#include <cstdio>
#include <cstring>
#include <functional>

#include "reader/scan.h"
#include "tavo/tavo.h"

namespace tavo::reader {

namespace {

bool writesValues(char c) {
  return (c >= '0' && c <= '9') || std::string_view("+-.eE\"").find(c) != std::string_view::npos;
}

}  // namespace

void Settings::setSeparator(char c) {
  separator = c;
  delimitersInValues = writesValues(separator) || writesValues(terminator);
}

void Settings::setTerminator(char c) {
  terminator = c;
  delimitersInValues = writesValues(separator) || writesValues(terminator);
}

// What stands behind a terminator is a comment.
void Run::countComment(std::string_view behind) {
  if (!schema::skipBlanks(behind).empty()) ++commentCount;
}

// Cuts leading blanks and what follows the terminator.
void Run::trim(bool keepTerminatorLine) {
  line = schema::skipBlanks(line);
  const char* const begin = line.data();
  const char* const end = begin + line.size();
  // A first terminator at the line's end needs no look at quotes: the line stays whole either way.
  const auto* cut = static_cast<const char*>(std::memchr(begin, settings.terminator, line.size()));
  if (cut != nullptr && cut + 1 != end) cut = findTerminator(begin, end, settings.terminator);
  if (cut != nullptr && cut + 1 != end) countComment({cut + 1, end});
  if (cut == begin && !keepTerminatorLine) {
    line = {};
  } else if (cut != nullptr) {
    line = {begin, static_cast<size_t>(cut - begin) + 1};
  }
}

Step Run::readLine(bool keepTerminatorLine) {
  for (;;) {
    bool complete = false;
    if (!source.next(&line, &complete)) return endInput();
    ++lineNumber;
    if (!complete) return readOverlong();
    trim(keepTerminatorLine);
    if (!line.empty()) return Step::kGoOn;
  }
}

Step Run::endInput() {
  line = {};
  if (source.failed()) diagnostics.raiseIoError();
  // As at the error limit nothing more is said: what is open is not known to have no END.
  return source.cancelled() ? Step::kStop : Step::kEndOfInput;
}

// The current piece has no line feed. Either the line is too long, or the input ends without one,
// and then its last piece is the line just as it was read.
Step Run::readOverlong() {
  std::memcpy(overlong_, line.data(), line.size());
  overlongSize_ = line.size();
  std::string_view piece;
  bool complete = false;
  while (!complete && source.next(&piece, &complete)) line = piece;
  if (!complete) {
    if (line.empty()) {
      --lineNumber;  // what a zero byte has emptied is no line
      return endInput();
    }
    const char* const end = line.data() + line.size();
    const char* const cut = findTerminator(line.data(), end, settings.terminator);
    if (cut != nullptr) countComment({cut + 1, end});
    return Step::kGoOn;
  }
  line = schema::skipBlanks({overlong_, overlongSize_});
  return fail(kExceedsLine, line);
}

SourceLine Run::sourceLine() const {
  const std::less_equal<> before;
  const bool overlong =
      before(overlong_, line.data()) && before(line.data(), overlong_ + sizeof overlong_);
  return {lineNumber, overlong ? std::string_view(overlong_, overlongSize_) : source.piece()};
}

Step Run::deliver(RecordType type, const void* record, const Origin& origin) {
  ++recordCount;
  const uint32_t status = sink_.deliver(
      sink_.context, {type, record, origin.line, origin.given, block_, &settings.units});
  return TVO_CODE(status) == TVO_ERR_ABORTED ? Step::kAborted : Step::kGoOn;
}

Step Run::SkipBlock(uint32_t closing) {
  SourceLine first = sourceLine();
  char kept[kMaxLine];
  std::string_view token = schema::firstToken(schema::skipBlanks(line));
  std::memcpy(kept, first.text.data(), first.text.size());
  token = {kept + (token.data() - first.text.data()), token.size()};
  first.text = {kept, first.text.size()};

  for (;;) {
    const Step read = readLine();
    if (read == Step::kEndOfInput || read == Step::kStop) return read;
    if (read == Step::kPassOver) continue;
    const schema::EndLine end = schema::CheckEnd(line, closing);
    if (end == schema::EndLine::kForeignKeyword || end == schema::EndLine::kThisEnd) break;
  }

  uint32_t keyword = schema::kUnknownSection;
  Step step = Step::kGoOn;
  if (schema::FindKeyword(token, &keyword) == schema::kFound) {
    step = diagnostics.reportError(kSectionMismatch, first, token);
  } else {
    diagnostics.reportWarning(kUnknownSectionWarning, first, token);
  }
  // Numbers of the log are 16 bits wide and wrap.
  const int from = static_cast<uint16_t>(first.number);
  const int to = static_cast<uint16_t>(lineNumber - 1);
  char note[64];
  if (from == to) {
    std::snprintf(note, sizeof note, "line %d will be ignored", from);
  } else {
    std::snprintf(note, sizeof note, "lines %d - %d will be ignored", from, to);
  }
  reportWarning(kNote, note);
  return step;
}

}  // namespace tavo::reader
