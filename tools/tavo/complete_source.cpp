// Walking along a complete data file with the records that a writer needs besides.
#include "complete_source.h"

#include <cstring>

#include "memory_records.h"
#include "schema/catalogue.h"

namespace tavo::tool {

uint16_t CompleteSource::move(uint32_t mode) {
  current_ = {};
  const uint16_t status = records_.fetch(mode, &current_.type, &current_.record);
  if (status != TVO_OK) {
    current_ = {};
    return status;
  }
  current_.block = records_.block();
  return status;
}

// The columns record type that is missing between two neighbours, or 0.
RecordType CompleteSource::missingColumns(const Current& before) const {
  const bool sameBlock = before.type != 0 && before.block == current_.block;
  if (current_.type == TVO_RECORD_TIME_TAGGED_CODES && !sameBlock) {
    return TVO_RECORD_TIME_TAGGED_CODES_COLUMNS;
  }
  if (current_.type == TVO_RECORD_OPERATIONS && !sameBlock && operationsKnown_) {
    return TVO_RECORD_OPERATIONS_COLUMNS;
  }
  return 0;
}

uint16_t CompleteSource::deliver(uint32_t* recordType, void** record) {
  *recordType = current_.type;
  *record = current_.record;
  if (!schema::recordDef(current_.type).columns) return TVO_OK;
  std::memcpy(&columns_, current_.record, sizeof columns_);
  if (current_.type == TVO_RECORD_OPERATIONS_COLUMNS) {
    operationColumns_ = columns_;
    operationsKnown_ = true;
  }
  dropNeedlessColumns(reinterpret_cast<char*>(&columns_));
  *record = &columns_;
  return TVO_OK;
}

uint16_t CompleteSource::deliverColumns(RecordType columns, uint32_t* recordType, void** record) {
  inFront_ = true;
  columns_ = {};
  columns_.fields[0] = TVO_FIELD_End;
  if (columns == TVO_RECORD_OPERATIONS_COLUMNS) columns_ = operationColumns_;
  *recordType = columns;
  *record = &columns_;
  return TVO_OK;
}

uint16_t CompleteSource::fetch(uint32_t mode, uint32_t* recordType, void** record) {
  const bool wasInFront = inFront_;
  inFront_ = false;
  if (wasInFront && mode == TVO_NEXT) return deliver(recordType, record);
  const Current from = current_;
  const uint16_t status = move(mode);
  if (mode != TVO_PREVIOUS) {
    if (status != TVO_OK) return status;
    const RecordType columns = missingColumns(mode == TVO_NEXT ? from : Current());
    return columns != 0 ? deliverColumns(columns, recordType, record) : deliver(recordType, record);
  }
  // The way back leads over what is missing in front of the record that it left.
  const Current before = current_;
  current_ = from;
  const RecordType columns = wasInFront ? RecordType{0} : missingColumns(before);
  current_ = before;
  if (columns == 0) return status == TVO_OK ? deliver(recordType, record) : status;
  const uint16_t back = move(TVO_NEXT);
  return back == TVO_OK ? deliverColumns(columns, recordType, record) : back;
}

}  // namespace tavo::tool
