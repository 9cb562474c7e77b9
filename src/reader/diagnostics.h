// Diagnostics of an analysis: writes each finding as one line to the log file, counts errors
// against their limit, and closes the log with a summary.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string_view>

namespace tavo::reader {

// Internal statuses between line reader, section readers and driver. Any error number (2000 and up)
// that a reader returns after logging it counts as go on.
inline constexpr int kGoOn = 0;
inline constexpr int kStop = 3;  // the error limit is reached
inline constexpr int kEndOfInput = 4;
inline constexpr int kOutOfMemory = 10;
inline constexpr int kAborted = 12;           // the callback asked to stop
inline constexpr int kEndedByKeyword = 2012;  // the current line waits for the enclosing reader

// Error and warning numbers.
inline constexpr int kExceedsLine = 2000;
inline constexpr int kExceedsDatatype = 2001;
inline constexpr int kMissingFormatBegin = 2010;
inline constexpr int kMissingFormatEnd = 2011;
inline constexpr int kMissingSectionEnd = 2012;
inline constexpr int kMixedUpOption = 2050;
inline constexpr int kFormatMismatch = 2051;
inline constexpr int kUnknownPoint = 2100;
inline constexpr int kUnknownLine = 2101;
inline constexpr int kUnknownOperationError = 2102;
inline constexpr int kUnknownPolygon = 2103;
inline constexpr int kSectionMismatch = 2104;
inline constexpr int kUnexpectedEnd = 2150;
inline constexpr int kSyntaxError = 2500;
inline constexpr int kNote = 7000;  // an information line, not counted
inline constexpr int kUnknownElement = 7010;
inline constexpr int kUnknownSectionWarning = 7011;
inline constexpr int kUnknownFormatKeyword = 7012;
inline constexpr int kUnknownOption = 7014;

// One finding as an observer sees it.
struct Finding {
  int number;                // 2000 to 2500 an error, 7000 a note, else a warning
  uint32_t line;             // of the file, from 1, not wrapped
  std::string_view text;     // the offending text, whole; of a note the message
  std::string_view message;  // empty for a note
};

// Receives every finding that is logged, for tools that show more than the log does.
class FindingObserver {
 public:
  virtual ~FindingObserver() = default;
  virtual void onFinding(const Finding& finding) = 0;
};

class Diagnostics {
 public:
  Diagnostics() = default;
  Diagnostics(const Diagnostics&) = delete;
  Diagnostics& operator=(const Diagnostics&) = delete;
  ~Diagnostics() { close(); }

  // Creates or truncates the log, in the platform's text mode; false when that fails.
  bool open(const char* path, uint16_t maxErrors, FindingObserver* observer);
  // Closes the log; a failure raises ioError.
  void close();

  // 0, or kStop when the error limit had been reached, in which case nothing is written.
  int reportError(int number, uint32_t line, std::string_view text);
  // Always 0. kNote writes the text as it stands and counts nothing.
  int reportWarning(int number, uint32_t line, std::string_view text);
  // The closing line with the input path and the counts.
  void summary(std::string_view inputPath);
  // A failure of the run's files that is no finding.
  void raiseIoError() { ioError_ |= 1; }

  uint16_t errorCount() const { return errorCount_; }
  uint16_t warningCount() const { return warningCount_; }
  bool ioError() const { return ioError_ != 0; }

 private:
  void writeFinding(const char* kind, int number, uint32_t line, std::string_view text,
                    std::string_view message);
  void write(std::string_view text);

  std::FILE* log_ = nullptr;
  FindingObserver* observer_ = nullptr;
  uint16_t maxErrors_ = 0;
  uint16_t errorCount_ = 0;
  uint16_t warningCount_ = 0;  // wraps, like the line numbers of the log
  int ioError_ = 0;            // OR of the results of all writes and of closing
};

}  // namespace tavo::reader
