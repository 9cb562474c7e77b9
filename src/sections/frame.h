// The frame that all block readers share: the loop over a block's lines and what END lines,
// keywords of sub-sections and keywords out of place mean in it.
#pragma once

#include "reader/columns.h"
#include "reader/run.h"
#include "schema/catalogue.h"
#include "sections/sections.h"

namespace tavo::sections {

// What became of a line.
struct Outcome {
  int status = reader::kGoOn;
  bool closed = false;    // it was the block's END
  bool keepLine = false;  // the current line is to be handled next, without reading another
};

// The statuses that end every reader at once.
inline bool endsRun(int status) {
  return status == reader::kStop || status == reader::kAborted || status == reader::kOutOfMemory;
}

// Reads lines and hands each to handle, which returns an Outcome, until the block is closed
// (kGoOn), the input ends, the block is ended by a keyword, or the run ends. Overlong lines are
// passed over.
template <class Handle>
int readLines(reader::Run& run, Handle handle) {
  Outcome outcome;
  while (!outcome.closed) {
    const int read = outcome.keepLine ? reader::kGoOn : run.readLine();
    outcome = Outcome{read};
    if (read == reader::kGoOn) outcome = handle();
    const int status = outcome.status;
    if (status == reader::kEndOfInput || status == reader::kEndedByKeyword || endsRun(status)) {
      return status;
    }
  }
  return reader::kGoOn;
}

// Handles a keyword line in a block with sub-sections: a sub-section is read; its END closes the
// block; END of another block is an error, END of an unknown word is passed over; other keywords
// and words are skipped with what follows them.
Outcome handleKeyword(reader::Run& run, const schema::BlockDef& block);

// Handles any line of a block whose own lines are handled by ownLine. A block without sub-sections
// takes END of an unknown word for a line of its own, on purpose, and is ended by foreign keywords.
template <class OwnLine>
Outcome handleLine(reader::Run& run, const schema::BlockDef& block, bool subSections,
                   OwnLine ownLine) {
  const int end = schema::CheckEnd(run.line, block.keyword);
  if (end == schema::kNoKeyword) return ownLine();
  if (subSections) return handleKeyword(run, block);
  switch (end) {
    case schema::kUnknownEnd:
      return ownLine();
    case schema::kOtherEnd:
      return {run.reportError(reader::kUnexpectedEnd, run.line)};
    case schema::kForeignKeyword:
      return {reader::kEndedByKeyword};
    default:
      return {reader::kGoOn, true};
  }
}

// Ends a block's reader: a missing END is reported, by whatever the block was ended.
inline int finishBlock(reader::Run& run, const schema::BlockDef& block, int status) {
  if (status != reader::kEndOfInput && status != reader::kEndedByKeyword) return status;
  return reader::reportOpenBlock(run, block.keyword) == reader::kStop ? reader::kStop : status;
}

// The outcome of a parsed data line that delivers nothing.
inline Outcome outcomeOf(reader::DataLine line) {
  switch (line) {
    case reader::DataLine::kLimit:
      return {reader::kStop};
    case reader::DataLine::kInputEnd:
      return {reader::kEndOfInput};
    case reader::DataLine::kBlockEnd:
      return {reader::kGoOn, true};
    default:
      return {};
  }
}

}  // namespace tavo::sections
