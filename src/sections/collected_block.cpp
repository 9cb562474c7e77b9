// POINTS, LINES and POLYGONS: their records are held back, completed by EXTRAINFO blocks, and
// delivered at the first other sub-section or at the END.
#include <algorithm>
#include <cstring>
#include <new>
#include <vector>

#include "schema/fields.h"
#include "sections/frame.h"
#include "sections/pending.h"

namespace tavo::sections {

namespace {

using reader::Column;
using reader::DataLine;
using reader::Run;

// What differs between the blocks: the fields of their keys, number and identifier, and the error
// for a key that no record has.
struct Kind {
  FieldId number, identifier;
  int unknownKey;
};

Kind kindOf(const schema::BlockDef& block) {
  const auto field = [&block](uint16_t offset) {
    return schema::findOffset(block.layout.fields, offset)->id;
  };
  return {field(block.layout.keys.number), field(block.layout.keys.identifier),
          schema::findBlock(block.keyword, schema::kExtraInfo)->odd.unknownKey};
}

// Records between two looks at what can be given back while they are delivered.
constexpr size_t kReleased = 4096;

class CollectedBlock {
 public:
  CollectedBlock(Run& run, const schema::BlockDef& block)
      : run_(run),
        block_(block),
        kind_(kindOf(block)),
        pending_(run.wantsOrigins()),
        declared_{run.lineNumber} {}

  int read() {
    int status = reader::parseColumns(run_, block_.keyword, block_.columns, block_.data, &columns_);
    if (status != reader::kGoOn) return finishBlock(run_, block_, status);
    pending_.addGroup(columns_.span());
    for (Column& column : columns_.span()) {
      list(column);
      if (column.offset != schema::kNotKept) column.offset = pending_.place(column.offset)->packed;
    }
    status = readLines(run_, [this] { return handle(); });
    return finish(block_, status);
  }

 private:
  Outcome handle() {
    if (schema::CheckEnd(run_.line, block_.keyword) == schema::kNoKeyword) return dataLine();
    uint32_t keyword = schema::kUnknownSection;
    schema::LineKeyword(run_.line, &keyword);
    if (keyword == schema::kExtraInfo) {
      const int status = extraInfo();
      if (status == reader::kEndOfInput || endsRun(status)) return {status};
      return {reader::kGoOn, false, status == reader::kEndedByKeyword};
    }
    const int status = flush();
    return status != reader::kGoOn ? Outcome{status} : handleKeyword(run_, block_);
  }

  Outcome dataLine() {
    reader::Origin origin;
    const DataLine line =
        reader::parseDataLine(run_, block_.keyword, columns_.span(), pending_.next(), &origin);
    if (line == DataLine::kGood) pending_.commit(origin);
    Outcome outcome = outcomeOf(line);
    // An END that stood where a continuation was due delivers what is pending like any other.
    if (outcome.closed) outcome.status = flush();
    return outcome;
  }

  // Ends the reader of the block or of an EXTRAINFO inside it. The end of the input delivers what
  // is pending before it is reported, the error limit does not.
  int finish(const schema::BlockDef& block, int status) {
    if (status == reader::kEndOfInput && flush() == reader::kAborted) return reader::kAborted;
    return finishBlock(run_, block, status);
  }

  // The columns record goes out once, at the first flush.
  int flush() {
    if (!columnsDelivered_) {
      columnsDelivered_ = true;
      const ColumnsRecord declared = schema::columnsRecord({listed_, listedCount_});
      const int status = run_.deliver(block_.columns, &declared, declared_);
      if (status == reader::kAborted) return status;
    }
    uint8_t record[schema::kRecordRoom] = {};
    int status = reader::kGoOn;
    for (size_t i = 0; i < pending_.size() && status == reader::kGoOn; ++i) {
      if (i % kReleased == 0) pending_.release(i);
      pending_.unpack(i, record);
      status = run_.deliver(block_.data, record, pending_.origin(i));
    }
    pending_.clear();
    return status;
  }

  // Adds a field to the columns that the block declares, while there is room. One that an EXTRAINFO
  // declares again is listed again, on purpose.
  void list(const Column& column) {
    if (listedCount_ == schema::kMaxListed) return;
    listed_[listedCount_++] = column.id;
    declared_.given |= column.bit;
  }

  int extraInfo() {
    if (pending_.size() == 0) return run_.fail(reader::kSyntaxError, run_.line);
    const schema::BlockDef& block = *schema::findBlock(block_.keyword, schema::kExtraInfo);
    reader::Columns columns;
    const int status =
        reader::parseColumns(run_, schema::kExtraInfo, block_.columns, block_.data, &columns);
    if (status != reader::kGoOn) return finish(block, status);
    const FieldId key = columns.span()[0].id;
    if (key != kind_.number && key != kind_.identifier) {
      return run_.fail(reader::kSyntaxError, run_.line);
    }
    // The key says which record is meant and is not written; the other key field may be.
    std::vector<Column> written;
    for (const Column& column : columns.span()) {
      if (column.id != kind_.number && column.id != kind_.identifier) list(column);
      if (column.id != key && column.offset != schema::kNotKept) written.push_back(column);
    }
    pending_.addGroup(written);
    return finish(block, readLines(run_, [&] { return extraLine(columns, written); }));
  }

  // Unlike in plain data blocks END of an unknown word is an error here.
  Outcome extraLine(const reader::Columns& columns, const std::vector<Column>& written) {
    switch (schema::CheckEnd(run_.line, schema::kExtraInfo)) {
      case schema::kNoKeyword:
        return completeRecord(columns, written);
      case schema::kForeignKeyword:
        return {reader::kEndedByKeyword};
      case 0:
        return {reader::kGoOn, true};
      default:
        return {run_.reportError(reader::kUnexpectedEnd, run_.line)};
    }
  }

  Outcome completeRecord(const reader::Columns& columns, const std::vector<Column>& written) {
    uint8_t values[schema::kRecordRoom];
    reader::Origin origin;
    const DataLine line =
        reader::parseDataLine(run_, schema::kExtraInfo, columns.span(), values, &origin);
    if (line != DataLine::kGood) return outcomeOf(line);
    const Column& key = columns.span()[0];
    const size_t record =
        pending_.find(key.offset, {values + key.offset, schema::storedSize(key.type, key.width)});
    if (record == pending_.size()) return {run_.reportError(kind_.unknownKey, run_.line)};
    for (const Column& column : written) {
      pending_.give(record, column.bit, (origin.given & column.bit) != 0);
      pending_.set(record, *pending_.place(column.offset), values + column.offset);
    }
    return {};
  }

  Run& run_;
  const schema::BlockDef& block_;
  const Kind kind_;
  reader::Columns columns_;  // offsets are those of the pending list's rows
  PendingList pending_;
  reader::Origin declared_;  // of the columns record
  FieldId listed_[schema::kMaxListed];
  size_t listedCount_ = 0;
  bool columnsDelivered_ = false;
};

}  // namespace

int readCollected(Run& run, const schema::BlockDef& block) try {
  return CollectedBlock(run, block).read();
} catch (const std::bad_alloc&) {
  return reader::kOutOfMemory;
}

}  // namespace tavo::sections
