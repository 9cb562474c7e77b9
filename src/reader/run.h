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

// Where a record comes from: the first physical line that it was read from, counted from 1, and the
// fields that its lines gave, a bit for each place in the block's field table (an empty field has
// not been given). Of a columns record the line is that of the block's keyword, and the fields
// those that it declares. Lines of a fixed layout have no table. TIME_TAGGED_CODES: bit 0 the code,
// 1 the time tag, 2 the number, then one for each value; OPERATIONS: bit 0 the operation, and of
// its points bit 0 the number and bit 1 the identifier.
struct Origin {
  uint64_t line = 0;
  uint64_t given = 0;
};

struct DeliveredRecord {
  RecordType type;
  const void* bytes;  // the packed structure
  uint64_t line, given;
  uint32_t block;  // running number in the file of the block that the record stands in
};

// Receives the run's records.
struct RecordSink {
  uint32_t (*deliver)(void* context, const DeliveredRecord& record) = nullptr;
  void* context = nullptr;
  // Whether line and given are wanted of records that are held back, too; without it those are 0.
  bool wantsOrigins = false;
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
  uint64_t lineNumber = 0;
  OperationColumns* operationColumns;
  uint64_t recordCount = 0;
  uint64_t commentCount = 0;  // comment lines, and comments behind other text

  // Reads the next line that holds data into line. kGoOn, kEndOfInput, or the status of the report
  // on an overlong line (kExceedsLine, or kStop at the error limit), of which line then holds the
  // beginning. With keepTerminatorLine a line of the terminator alone is delivered, too.
  int readLine(bool keepTerminatorLine = false);

  // The current line as it is in the file.
  SourceLine sourceLine() const;

  // Report on the current line's number. An error gives kGoOn, or kStop at the error limit.
  int reportError(int number, std::string_view text) {
    return diagnostics.reportError(number, sourceLine(), text);
  }
  int reportWarning(int number, std::string_view text) {
    return diagnostics.reportWarning(number, sourceLine(), text);
  }
  void noteLoss(Loss loss, std::string_view text) {
    if (diagnostics.observed()) diagnostics.noteLoss(loss, sourceLine(), text);
  }
  // Reports and answers with the error number itself as status, or kStop at the error limit.
  int fail(int number, std::string_view text) {
    return reportError(number, text) == kStop ? kStop : number;
  }

  // Hands a record to the sink: kGoOn, or kAborted when the sink asked to stop.
  int deliver(RecordType type, const void* record, const Origin& origin);
  bool wantsOrigins() const { return sink_.wantsOrigins; }

  // Skips a block that may not stand here, up to a keyword line other than END or the END of
  // closing, and reports it. The line on which it stopped is the current line. kGoOn, kStop or
  // kEndOfInput, in which case nothing is reported.
  int SkipBlock(uint32_t closing);

  // While it lives, records belong to a block of a number of its own, then to the one around it
  // again.
  class BlockScope {
   public:
    explicit BlockScope(Run& run) : run_(run), outer_(run.block_) { run.block_ = ++run.blocks_; }
    BlockScope(const BlockScope&) = delete;
    BlockScope& operator=(const BlockScope&) = delete;
    ~BlockScope() { run_.block_ = outer_; }

   private:
    Run& run_;
    uint32_t outer_;
  };

 private:
  void trim(bool keepTerminatorLine);
  void countComment(std::string_view behind);
  int readOverlong();
  int endInput();

  RecordSink sink_;
  uint32_t block_ = 0;       // number of the block whose lines are read
  uint32_t blocks_ = 0;      // blocks begun so far
  char overlong_[kMaxLine];  // what is kept of a line that is too long
  size_t overlongSize_ = 0;
};

}  // namespace tavo::reader
