// The driver over the top-level sections, the dispatch by kind of block, and keyword lines inside
// blocks with sub-sections.
#include "sections/sections.h"

#include "sections/frame.h"

namespace tavo::sections {

using reader::Run;

Step readBlock(Run& run, const schema::BlockDef& block) {
  const Run::BlockScope scope(run);
  switch (block.kind) {
    case schema::BlockKind::kContainer:
      return readContainer(run, block);
    case schema::BlockKind::kItemLines:
      return readItems(run, block);
    case schema::BlockKind::kDataLines:
      return readData(run, block);
    case schema::BlockKind::kCollected:
      return readCollected(run, block);
    case schema::BlockKind::kTimeTaggedLines:
      return readTimeTaggedCodes(run, block);
    case schema::BlockKind::kOperationLines:
      return readOperations(run, block);
    case schema::BlockKind::kCompletion:
      break;  // read by the block whose records it completes
  }
  return Step::kGoOn;
}

Outcome handleKeyword(Run& run, const schema::BlockDef& block) {
  uint32_t keyword = schema::kUnknownSection;
  schema::LineKeyword(run.line, &keyword);
  if (keyword == schema::kEnd) {
    const EndLine end = schema::CheckEnd(run.line, block.keyword);
    if (end == EndLine::kOtherEnd) return {run.reportError(reader::kUnexpectedEnd, run.line)};
    return {Step::kGoOn, end == EndLine::kThisEnd};
  }
  if (const schema::BlockDef* const inner = schema::findBlock(block.keyword, keyword)) {
    const Step step = readBlock(run, *inner);
    if (step == Step::kEndOfInput || endsRun(step)) return {step};
    return {Step::kGoOn, false, step == Step::kEndedByKeyword};
  }
  const Step step = run.SkipBlock(block.keyword);
  return {step, false, step == Step::kGoOn};
}

Step readContainer(Run& run, const schema::BlockDef& block) {
  return finishBlock(run, block, readLines(run, [&] { return handleKeyword(run, block); }));
}

Step readSections(Run& run) {
  // An overlong line has been reported and is looked at all the same: what was kept of it may begin
  // with a section's keyword.
  bool seen = false;
  Step step = run.readLine();
  while (step != Step::kEndOfInput && !endsRun(step)) {
    bool keepLine = false;
    uint32_t keyword = schema::kUnknownSection;
    schema::LineKeyword(run.line, &keyword);
    if (const schema::BlockDef* const section =
            schema::findBlock(schema::kUnknownSection, keyword)) {
      seen = true;
      step = readBlock(run, *section);
    } else if (keyword == schema::kEnd) {
      step = run.reportError(reader::kUnexpectedEnd, run.line);
    } else if (!seen) {
      step = run.reportError(reader::kSyntaxError, run.line);
    } else {
      step = run.SkipBlock(schema::kUnknownSection);
      keepLine = step == Step::kGoOn;
    }
    if (step == Step::kEndOfInput || endsRun(step)) break;
    if (!keepLine) step = run.readLine();
  }
  return step;
}

}  // namespace tavo::sections
