// Plain data blocks: a column definition, then one record per data line.
#include "schema/fields.h"
#include "sections/frame.h"

namespace tavo::sections {

int readData(reader::Run& run, const schema::BlockDef& block) {
  reader::Columns columns;
  reader::Origin origin{run.lineNumber};
  int status = reader::parseColumns(run, block.keyword, block.columns, block.data, &columns);
  if (status != reader::kGoOn) return finishBlock(run, block, status);
  const ColumnsRecord declared = columns.record();
  origin.given = columns.declared();
  status = run.deliver(block.columns, &declared, origin);
  if (status != reader::kGoOn) return status;

  // Every line sets all declared members, so the others stay zero.
  uint8_t record[schema::kRecordRoom] = {};
  const auto dataLine = [&]() -> Outcome {
    const reader::DataLine line =
        reader::parseDataLine(run, block.keyword, columns.span(), record, &origin);
    if (line == reader::DataLine::kGood) return {run.deliver(block.data, record, origin)};
    return outcomeOf(line);
  };
  const bool subSections = schema::hasSubSections(block.keyword);
  return finishBlock(run, block,
                     readLines(run, [&] { return handleLine(run, block, subSections, dataLine); }));
}

}  // namespace tavo::sections
