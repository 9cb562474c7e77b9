// The log's line formats and message texts.
#include "reader/diagnostics.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <functional>

namespace tavo::reader {

namespace {

struct Message {
  int number;
  const char* text;
};

constexpr Message kErrors[] = {
    {kExceedsLine, "exceeds line"},
    {kExceedsDatatype, "exceeds the datatype"},
    {kMissingFormatBegin, "missing format begin"},
    {kMissingFormatEnd, "missing format end"},
    {kMissingSectionEnd, "missing section end"},
    {kMixedUpOption, "mixed up option"},
    {kFormatMismatch, "data format def. mismatch"},
    {kUnknownPoint, "unknown point No/ID"},
    {kUnknownLine, "unknown line No/ID"},
    {kUnknownOperationError, "unknown operation"},
    {kUnknownPolygon, "unknown poly No/ID"},
    {kSectionMismatch, "section/sub section mismatch"},
    {2105, "unknown section end"},
    {kUnexpectedEnd, "unexpected end"},
    {kSyntaxError, "syntax error"},
};

constexpr Message kWarnings[] = {
    {kUnknownElement, "unknown data element"},
    {kUnknownSectionWarning, "unknown section/sub section"},
    {kUnknownFormatKeyword, "unknown format keyword"},
    {7013, "unknown operation"},
    {kUnknownOption, "unknown option"},
};

template <size_t N>
const char* messageOf(const Message (&table)[N], int number, const char* unknown) {
  const Message* const found = std::find_if(
      table, table + N, [number](const Message& message) { return message.number == number; });
  return found == table + N ? unknown : found->text;
}

// The quoted form of an offending text: up to its line feed, and never longer than 20 characters.
struct Quoted {
  static constexpr size_t kLongest = 20;
  static constexpr size_t kKept = 15;
  char text[kLongest + 1];
  int length;

  explicit Quoted(std::string_view source) {
    source = source.substr(0, source.find('\n'));
    const bool cut = source.size() > kLongest;
    const size_t n = cut ? kKept : source.size();
    std::memcpy(text, source.data(), n);
    std::strcpy(text + n, cut ? " ..." : "");
    length = static_cast<int>(cut ? n + 4 : n);
  }
};

}  // namespace

uint32_t SourceLine::columnOf(std::string_view part) const {
  const std::less_equal<> before;
  if (text.data() == nullptr || !before(text.data(), part.data()) ||
      !before(part.data() + part.size(), text.data() + text.size())) {
    return 0;
  }
  return static_cast<uint32_t>(part.data() - text.data()) + 1;
}

void FindingObserver::onLoss(Loss /*loss*/, const Finding& /*number*/) {}

void Diagnostics::open(platform::TextOutput* log, uint16_t maxErrors, FindingObserver* observer) {
  if (!buffer_) buffer_ = std::make_unique<char[]>(kBuffer);
  log_ = log;
  used_ = 0;
  observer_ = observer;
  maxErrors_ = maxErrors;
  errorCount_ = warningCount_ = 0;
  ioError_ = 0;
}

bool Diagnostics::open(const char* path, uint16_t maxErrors, FindingObserver* observer) {
  close();
  const bool opened =
      path != nullptr && file_.open(path) == platform::OpenResult::kDone && file_.start();
  open(opened ? &file_ : nullptr, maxErrors, observer);
  return opened;
}

void Diagnostics::close() {
  if (log_ == nullptr) return;
  flush();
  ioError_ |= log_->close() ? 0 : 1;
  log_ = nullptr;
}

void Diagnostics::flush() {
  if (used_ > 0 && !log_->write(buffer_.get(), used_)) ioError_ |= 1;
  used_ = 0;
}

void Diagnostics::write(std::string_view text) {
  if (log_ == nullptr) return;
  if (text.size() > kBuffer - used_) flush();
  std::memcpy(buffer_.get() + used_, text.data(), text.size());
  used_ += text.size();
}

void Diagnostics::writeFinding(const char* kind, int number, const SourceLine& line,
                               std::string_view text, std::string_view message) {
  const Quoted quoted(text);
  char buffer[160];
  std::snprintf(buffer, sizeof buffer, "line %04d  : %s%4d%s: '%s'%*s : %s\n",
                static_cast<int>(static_cast<uint16_t>(line.number)), kind, number,
                kind[0] == 'e' ? "   " : " ", quoted.text, 20 - quoted.length, " ", message.data());
  write(buffer);
  if (observer_ != nullptr)
    observer_->onFinding({number, line, line.columnOf(text), text, message});
}

int Diagnostics::reportError(int number, const SourceLine& line, std::string_view text) {
  if (errorCount_ >= maxErrors_) return kStop;
  writeFinding("error E", number, line, text, messageOf(kErrors, number, "internal error"));
  ++errorCount_;
  return kGoOn;
}

int Diagnostics::reportWarning(int number, const SourceLine& line, std::string_view text) {
  if (number == kNote) {
    char margin[64];
    std::snprintf(margin, sizeof margin, "%*s: ", 52, " ");
    write(margin);
    write(text);  // whole, however long
    write("\n");
    if (observer_ != nullptr) observer_->onFinding({number, {line.number}, 0, text, {}});
    return kGoOn;
  }
  writeFinding("warning W", number, line, text, messageOf(kWarnings, number, "?"));
  ++warningCount_;
  return kGoOn;
}

void Diagnostics::summary(std::string_view inputPath) {
  // A long path goes out in pieces without line feeds between them and may leave an empty rest for
  // the line itself, which begins with a line feed of its own. Readers of logs know this shape.
  constexpr size_t kPiece = 127;
  constexpr size_t kShort = 98;
  while (inputPath.size() >= kShort) {
    const std::string_view piece = inputPath.substr(0, kPiece);
    write(piece);
    inputPath.remove_prefix(piece.size());
  }
  char buffer[kShort + 80];
  std::snprintf(buffer, sizeof buffer, "\n%.*s - %d error(s), %d warning(s)\n",
                static_cast<int>(inputPath.size()), inputPath.data(), errorCount_, warningCount_);
  write(buffer);
}

}  // namespace tavo::reader
