// Diagnostics of an analysis: writes each finding as one line to the log, counts errors
// against their limit, and closes the log with a summary.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

#include "platform/text_file.h"
#include "schema/types.h"

namespace tavo::reader {

// Internal statuses between line reader, section readers and driver. Any error number (2000 and up)
// that a reader returns after logging it counts as go on.
inline constexpr int kGoOn = 0;
inline constexpr int kStop = 3;  // the error limit is reached
inline constexpr int kEndOfInput = 4;
inline constexpr int kOutOfMemory = 10;
inline constexpr int kAborted = 12;           // the callback asked to stop
inline constexpr int kEndedByKeyword = 2012;  // the current line waits for the enclosing reader

// Error and warning numbers; those about unknown points, lines and polygons are the catalogue's.
using schema::kUnknownLine;
using schema::kUnknownPoint;
using schema::kUnknownPolygon;
inline constexpr int kExceedsLine = 2000;
inline constexpr int kExceedsDatatype = 2001;
inline constexpr int kMissingFormatBegin = 2010;
inline constexpr int kMissingFormatEnd = 2011;
inline constexpr int kMissingSectionEnd = 2012;
inline constexpr int kMixedUpOption = 2050;
inline constexpr int kFormatMismatch = 2051;
inline constexpr int kUnknownOperationError = 2102;
inline constexpr int kSectionMismatch = 2104;
inline constexpr int kUnexpectedEnd = 2150;
inline constexpr int kSyntaxError = 2500;
inline constexpr int kNote = 7000;  // an information line, not counted
inline constexpr int kUnknownElement = 7010;
inline constexpr int kUnknownSectionWarning = 7011;
inline constexpr int kUnknownFormatKeyword = 7012;
inline constexpr int kUnknownOption = 7014;

// A line of the file: its number, from 1 and never wrapped, and its bytes without the line feed, of
// an overlong line the first ones. No data where they are not known.
struct SourceLine {
  uint64_t number = 0;
  std::string_view text{};

  // First byte of a part of the line, from 1; 0 when the text stands elsewhere.
  uint32_t columnOf(std::string_view part) const;
};

// One finding as an observer sees it.
struct Finding {
  int number;  // 2000 to 2500 an error, 7000 a note, else a warning
  SourceLine line;
  uint32_t column;           // first byte of the text in its line, from 1; 0: it is not in the line
  std::string_view text;     // the offending text, whole; of a note the message
  std::string_view message;  // empty for a note
};

// What a record may not keep of a number although nothing is wrong with its text.
enum class Loss {
  kNumber,  // a whole number that its type cannot hold: another number is kept
  kDigits,  // a real number with more digits than its type holds
};

// Receives every finding that is logged, for tools that show more than the log does, and what is
// lost in silence, which is neither logged nor counted.
class FindingObserver {
 public:
  virtual ~FindingObserver() = default;
  virtual void onFinding(const Finding& finding) = 0;
  // A note whose text is the number as the file has it.
  virtual void onLoss(Loss loss, const Finding& number);
};

class Diagnostics {
 public:
  Diagnostics() = default;
  Diagnostics(const Diagnostics&) = delete;
  Diagnostics& operator=(const Diagnostics&) = delete;
  ~Diagnostics() { close(); }

  // Begins a run whose log goes to an output that must outlive it; without one no log is kept.
  void open(platform::TextOutput* log, uint16_t maxErrors, FindingObserver* observer);
  // The same with a file of its own, made or emptied; false when that fails.
  bool open(const char* path, uint16_t maxErrors, FindingObserver* observer);
  // Hands over what is still to be written and closes the log; a failure raises ioError.
  void close();

  // 0, or kStop when the error limit had been reached, in which case nothing is written.
  int reportError(int number, const SourceLine& line, std::string_view text);
  // Always 0. kNote writes the text as it stands and counts nothing.
  int reportWarning(int number, const SourceLine& line, std::string_view text);
  // To be told of losses only when somebody listens, since finding them costs time.
  bool observed() const { return observer_ != nullptr; }
  void noteLoss(Loss loss, const SourceLine& line, std::string_view text) {
    if (observer_ != nullptr) observer_->onLoss(loss, {kNote, line, line.columnOf(text), text, {}});
  }
  // The closing line with the input path and the counts.
  void summary(std::string_view inputPath);
  // A failure of the run's files that is no finding.
  void raiseIoError() { ioError_ |= 1; }

  uint16_t errorCount() const { return errorCount_; }
  uint16_t warningCount() const { return warningCount_; }
  bool ioError() const { return ioError_ != 0; }

 private:
  void writeFinding(const char* kind, int number, const SourceLine& line, std::string_view text,
                    std::string_view message);
  void write(std::string_view text);
  void flush();

  static constexpr size_t kBuffer = 1U << 14;

  platform::OutputFile file_;
  platform::TextOutput* log_ = nullptr;
  std::unique_ptr<char[]> buffer_;
  size_t used_ = 0;
  FindingObserver* observer_ = nullptr;
  uint16_t maxErrors_ = 0;
  uint16_t errorCount_ = 0;
  uint16_t warningCount_ = 0;  // wraps, like the line numbers of the log
  int ioError_ = 0;            // OR of the results of all writes and of closing
};

}  // namespace tavo::reader
