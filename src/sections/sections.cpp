// The driver over the top-level sections, the dispatch by kind of block, and keyword lines inside
// blocks with sub-sections.
#include "sections/sections.h"

#include "sections/frame.h"

namespace tavo::sections {

using reader::Run;

int readBlock(Run& run, const schema::BlockDef& block) {
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
  return reader::kGoOn;
}

Outcome handleKeyword(Run& run, const schema::BlockDef& block) {
  uint32_t keyword = schema::kUnknownSection;
  schema::LineKeyword(run.line, &keyword);
  if (keyword == schema::kEnd) {
    const int end = schema::CheckEnd(run.line, block.keyword);
    if (end == schema::kOtherEnd) return {run.reportError(reader::kUnexpectedEnd, run.line)};
    return {reader::kGoOn, end == 0};
  }
  if (const schema::BlockDef* const inner = schema::findBlock(block.keyword, keyword)) {
    const int status = readBlock(run, *inner);
    if (status == reader::kEndOfInput || endsRun(status)) return {status};
    return {reader::kGoOn, false, status == reader::kEndedByKeyword};
  }
  const int status = run.SkipBlock(block.keyword);
  return {status, false, status == reader::kGoOn};
}

int readContainer(Run& run, const schema::BlockDef& block) {
  return finishBlock(run, block, readLines(run, [&] { return handleKeyword(run, block); }));
}

int readSections(Run& run) {
  // An overlong line has been reported and is looked at all the same: what was kept of it may begin
  // with a section's keyword.
  bool seen = false;
  int status = run.readLine();
  while (status != reader::kEndOfInput && !endsRun(status)) {
    bool keepLine = false;
    uint32_t keyword = schema::kUnknownSection;
    schema::LineKeyword(run.line, &keyword);
    if (const schema::BlockDef* const section =
            schema::findBlock(schema::kUnknownSection, keyword)) {
      seen = true;
      status = readBlock(run, *section);
    } else if (keyword == schema::kEnd) {
      status = run.reportError(reader::kUnexpectedEnd, run.line);
    } else if (!seen) {
      status = run.reportError(reader::kSyntaxError, run.line);
    } else {
      status = run.SkipBlock(schema::kUnknownSection);
      keepLine = status == reader::kGoOn;
    }
    if (status == reader::kEndOfInput || endsRun(status)) break;
    if (!keepLine) status = run.readLine();
  }
  return status;
}

}  // namespace tavo::sections
