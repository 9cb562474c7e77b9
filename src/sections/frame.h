// The frame that all block readers share: the loop over a block's lines and what END lines,
// keywords of sub-sections and keywords out of place mean in it.
#pragma once

#include "reader/columns.h"
#include "reader/run.h"
#include "schema/catalogue.h"
#include "sections/sections.h"

namespace tavo::sections {

using schema::EndLine;

// What became of a line.
struct Outcome {
  Step step = Step::kGoOn;
  bool closed = false;    // it was the block's END
  bool keepLine = false;  // the current line is to be handled next, without reading another
};

// Reads lines and hands each to handle, which returns an Outcome, until the block is closed
// (kGoOn), the input ends, the block is ended by a keyword, or the run ends. Overlong lines are
// passed over.
template <class Handle>
Step readLines(reader::Run& run, Handle handle) {
  Outcome outcome;
  while (!outcome.closed) {
    const Step read = outcome.keepLine ? Step::kGoOn : run.readLine();
    outcome = Outcome{read};
    if (read == Step::kGoOn) outcome = handle();
    const Step step = outcome.step;
    if (step == Step::kEndOfInput || step == Step::kEndedByKeyword || endsRun(step)) return step;
  }
  return Step::kGoOn;
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
  const EndLine end = schema::CheckEnd(run.line, block.keyword);
  if (subSections && end != EndLine::kNoKeyword) return handleKeyword(run, block);
  switch (end) {
    case EndLine::kNoKeyword:
    case EndLine::kUnknownEnd:
      break;
    case EndLine::kOtherEnd:
      return {run.reportError(reader::kUnexpectedEnd, run.line)};
    case EndLine::kForeignKeyword:
      return {Step::kEndedByKeyword};
    case EndLine::kThisEnd:
      return {Step::kGoOn, true};
  }
  return ownLine();
}

// Ends a block's reader: a missing END is reported, by whatever the block was ended.
inline Step finishBlock(reader::Run& run, const schema::BlockDef& block, Step step) {
  if (step != Step::kEndOfInput && step != Step::kEndedByKeyword) return step;
  return reader::reportOpenBlock(run, block.keyword) == Step::kStop ? Step::kStop : step;
}

// The outcome of a parsed data line that delivers nothing.
inline Outcome outcomeOf(reader::DataLine line) {
  switch (line) {
    case reader::DataLine::kLimit:
      return {Step::kStop};
    case reader::DataLine::kInputEnd:
      return {Step::kEndOfInput};
    case reader::DataLine::kBlockEnd:
      return {Step::kGoOn, true};
    default:
      return {};
  }
}

}  // namespace tavo::sections
