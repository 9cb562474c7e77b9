// One analysis run: its input, diagnostics, settings and record sink, and the line reader that all
// section readers share. Every reader works on run.line, the current line.
#pragma once

#include <cstdint>
#include <string_view>

#include "reader/diagnostics.h"
#include "reader/line_source.h"
#include "schema/keywords.h"
#include "schema/units.h"
#include "tavo/records.h"

namespace tavo::reader {

// What a HEADER may change for the lines behind it. Reset at the start of every run.
struct Settings {
  char separator = ',';
  char terminator = ';';  // also the character that may follow an item's value
  schema::Units units;

  // Separator or terminator is a character that numbers are written with or texts begin with.
  bool delimitersInValues = false;

  void setSeparator(char c);
  void setTerminator(char c);
};

// Receives the run's records.
struct RecordSink {
  uint32_t (*deliver)(void* context, RecordType type, const void* record) = nullptr;
  void* context = nullptr;
};

// The point columns of OPERATIONS, defined by the first points line that a library instance ever
// reads: ids 41 and 42 in the order found, ended by TVO_FIELD_End.
struct OperationColumns {
  bool defined = false;
  FieldId fields[3] = {TVO_FIELD_End, TVO_FIELD_End, TVO_FIELD_End};
};

class Run {
 public:
  Run(RecordSink recordSink, OperationColumns* columns)
      : operationColumns(columns), sink_(recordSink) {}

  Settings settings;
  Diagnostics diagnostics;
  LineSource source;
  // The current line, from its first non-blank character to its terminator or end, without line
  // feed. Valid until the next readLine.
  std::string_view line;
  // Number of the current line in the file.
  uint32_t lineNumber = 0;
  OperationColumns* operationColumns;
  uint64_t recordCount = 0;
  uint64_t commentCount = 0;  // comment lines, and comments behind other text

  // Reads the next line that holds data into line. kGoOn, kEndOfInput, or the status of the report
  // on an overlong line (kExceedsLine, or kStop at the error limit), of which line then holds the
  // beginning. With keepTerminatorLine a line of the terminator alone is delivered, too.
  int readLine(bool keepTerminatorLine = false);

  // Report on the current line's number. An error gives kGoOn, or kStop at the error limit.
  int reportError(int number, std::string_view text) {
    return diagnostics.reportError(number, lineNumber, text);
  }
  int reportWarning(int number, std::string_view text) {
    return diagnostics.reportWarning(number, lineNumber, text);
  }
  // Reports and answers with the error number itself as status, or kStop at the error limit.
  int fail(int number, std::string_view text) {
    return reportError(number, text) == kStop ? kStop : number;
  }

  // Hands a record to the sink: kGoOn, or kAborted when the sink asked to stop.
  int deliver(RecordType type, const void* record);

  // Skips a block that may not stand here, up to a keyword line other than END or the END of
  // closing, and reports it. The line on which it stopped is the current line. kGoOn, kStop or
  // kEndOfInput, in which case nothing is reported.
  int SkipBlock(uint32_t closing);

 private:
  void trim(bool keepTerminatorLine);
  void countComment(std::string_view behind);
  int readOverlong();
  int endInput();

  RecordSink sink_;
  char overlong_[kMaxLine];  // what is kept of a line that is too long
};

}  // namespace tavo::reader
