// Copies of records in large chunks, and their replay.
#include "memory_records.h"

#include <algorithm>
#include <cstring>

#include "schema/bytes.h"
#include "schema/catalogue.h"

namespace tavo::tool {

void dropNeedlessColumns(char* bytes) {
  const auto record = schema::load<ColumnsRecord>(bytes);
  std::vector<FieldId> kept;
  for (size_t i = 0; i + 1 < TVO_COLUMNS_ROOM && record.fields[i] != TVO_FIELD_End; ++i) {
    const FieldId id = record.fields[i];
    if (id != 0 && std::ranges::find(kept, id) == kept.end()) kept.push_back(id);
  }
  if (kept.empty()) return;
  const ColumnsRecord rest = schema::columnsRecord(kept);
  std::memcpy(bytes + offsetof(ColumnsRecord, fields), rest.fields, sizeof rest.fields);
}

char* MemoryRecords::allocate(size_t size) {
  if (kChunk - used_ < size) {
    chunks_.push_back(std::make_unique_for_overwrite<char[]>(kChunk));
    used_ = 0;
  }
  char* const bytes = chunks_.back().get() + used_;
  used_ += size;
  return bytes;
}

MemoryRecords::Entry MemoryRecords::copy(RecordType type, const void* record) {
  const size_t size = schema::recordDef(type).size;
  char* const bytes = allocate(size);
  std::memcpy(bytes, record, size);
  if (type == TVO_RECORD_TIME_TAGGED_CODES) {
    auto codes = schema::load<TimeTaggedRecord>(bytes);
    const size_t entriesSize = codes.EntryCount * sizeof(TimeTaggedEntry);
    char* const entries = allocate(entriesSize);
    if (entriesSize > 0) std::memcpy(entries, codes.entries, entriesSize);
    codes.entries = reinterpret_cast<const TimeTaggedEntry*>(entries);
    std::memcpy(bytes, &codes, sizeof codes);
  }
  return {type, bytes};
}

void MemoryRecords::append(RecordType type, const void* record) {
  records_.push_back(copy(type, record));
}

void MemoryRecords::prepareForWriting() {
  std::vector<Entry> completed;
  completed.reserve(records_.size());
  ColumnsRecord timeTagged{};
  timeTagged.fields[0] = TVO_FIELD_End;
  const char* operationColumns = nullptr;
  for (size_t i = 0; i < records_.size(); ++i) {
    const Entry& entry = records_[i];
    if (schema::recordDef(entry.type).columns) dropNeedlessColumns(entry.bytes);
    const RecordType before = completed.empty() ? RecordType{0} : completed.back().type;
    if (entry.type == TVO_RECORD_OPERATIONS_COLUMNS) {
      operationColumns = entry.bytes;
      const bool followed =
          i + 1 < records_.size() && records_[i + 1].type == TVO_RECORD_OPERATIONS;
      if (!followed) continue;
    }
    if (entry.type == TVO_RECORD_TIME_TAGGED_CODES && before != TVO_RECORD_TIME_TAGGED_CODES) {
      completed.push_back(copy(TVO_RECORD_TIME_TAGGED_CODES_COLUMNS, &timeTagged));
    }
    if (entry.type == TVO_RECORD_OPERATIONS && operationColumns != nullptr &&
        before != TVO_RECORD_OPERATIONS_COLUMNS && before != TVO_RECORD_OPERATION_POINTS) {
      completed.push_back(copy(TVO_RECORD_OPERATIONS_COLUMNS, operationColumns));
    }
    completed.push_back(entry);
  }
  records_ = std::move(completed);
}

uint16_t MemorySource::fetch(uint32_t mode, uint32_t* recordType, void** record) {
  size_t at = 0;  // position + 1 of the wanted record
  if (mode == TVO_FIRST) at = 1;
  if (mode == TVO_NEXT) at = next_ + 1;
  if (mode == TVO_PREVIOUS) at = next_ > 0 ? next_ - 1 : 0;
  // Behind the last record a step back leads to it.
  next_ = at > records_.size() ? records_.size() + 1 : at;
  if (at == 0 || at > records_.size()) return TVO_ERR_STORE;
  *recordType = records_.type(at - 1);
  *record = const_cast<void*>(records_.record(at - 1));
  return TVO_OK;
}

}  // namespace tavo::tool
