// The operations of the complete data file.
#include "store/complete_store.h"

#include <algorithm>
#include <cstring>

#include "schema/catalogue.h"

namespace tavo::store {

CompleteStore::CompleteStore(platform::FileSystem& files, unsigned buffers)
    : FormStore(FileKind::kComplete, files, buffers) {}

engine::Options CompleteStore::options(int access) const {
  engine::Options options;
  options.access = access;
  options.workBufferSize = kCompleteRecordLimit;
  options.journal = journal();
  return options;
}

uint32_t CompleteStore::create(const char* path) {
  if (isOpen()) return TVO_ERR_DATA_FILE_OPEN;
  run_ = block_ = highestBlock_ = 0;
  lastType_ = 0;
  runKnown_ = newRun_ = true;
  return opened(file_.create(path, kCompleteIndexes, options(2)));
}

uint32_t CompleteStore::open(const char* path, Access access) {
  if (isOpen()) return TVO_ERR_DATA_FILE_OPEN;
  runKnown_ = false;
  newRun_ = true;
  highestBlock_ = 0;
  return opened(file_.open(path, kCompleteIndexes, options(access == Access::kReadOnly ? 1 : 2)));
}

void CompleteStore::load(RecordForm& form, const CompleteRecord& record, const Place& place) {
  form.load(record.type, record.bytes);
  form.setPlace(place);
  form.terminateTexts();
  place_ = place;
}

// Appending to an existing file goes on behind its last run.
uint32_t CompleteStore::findLastRun() {
  if (runKnown_) return TVO_OK;
  run_ = block_ = 0;
  lastType_ = 0;
  const int result = file_.position(kBySortCode, engine::kLast);
  if (result == engine::kOk) {
    CompleteRecord last;
    if (const uint32_t status = deliver(&last); status != TVO_OK) return status;
    run_ = place_.run;
    block_ = highestBlock_ = last.block;
    lastType_ = last.type;
  } else if (result != engine::kNotFound || file_.systemFailed()) {
    return coded(result, TVO_ERR_STORE);
  }
  runKnown_ = true;
  return TVO_OK;
}

// A block number for a record that comes without one.
uint32_t CompleteStore::blockFor(RecordType type) const {
  const schema::RecordDef& def = schema::recordDef(type);
  const bool begins = def.columns || def.block != schema::recordDef(lastType_).block;
  return begins || block_ == 0 ? highestBlock_ + 1 : block_;
}

uint32_t CompleteStore::write(const CompleteRecord& record) {
  if (record.bytes == nullptr) return static_cast<uint32_t>(engine::kBadArgument);
  if (!isOpen()) return coded(engine::kNotOpen, TVO_ERR_DATA_FILE);
  RecordForm* const form = forms_.of(record.type);
  if (form == nullptr) return TVO_ERR_RECORD_TYPE;
  if (const uint32_t status = findLastRun(); status != TVO_OK) return status;
  const uint32_t block = record.block != 0 ? record.block : blockFor(record.type);
  if (newRun_ || block != block_) ++run_;
  newRun_ = false;
  block_ = block;
  highestBlock_ = std::max(highestBlock_, block);
  lastType_ = record.type;
  load(*form, record, {run_, block, record.line, record.given});
  const uint32_t status = insert(*form, record.type);
  placed_ = status == TVO_OK ? file_.currentRecord() : 0;
  return status;
}

uint32_t CompleteStore::deliver(CompleteRecord* record) {
  RecordType type = 0;
  RecordForm* form = nullptr;
  if (const uint32_t status = currentForm(&type, &form); status != TVO_OK) return status;
  if (const uint32_t status = readInto(*form); status != TVO_OK) return status;
  place_ = form->place();
  placed_ = file_.currentRecord();
  *record = {type, form->record(), place_.line, place_.given, place_.block};
  return TVO_OK;
}

uint32_t CompleteStore::read(uint32_t move, CompleteRecord* record) {
  if (!isOpen()) return coded(engine::kNotOpen, TVO_ERR_DATA_FILE);
  if (move != TVO_CURRENT) {
    const int result = file_.position(kBySortCode, static_cast<int>(move));
    if (result != engine::kOk) return coded(result, TVO_ERR_STORE);
  }
  return deliver(record);
}

// In a damaged file the walk may run in a circle; it ends with as many steps as there are records.
uint32_t CompleteStore::findFirst(RecordType type, CompleteRecord* record) {
  int result = file_.position(kBySortCode, engine::kFirst);
  for (uint32_t steps = count(); result == engine::kOk && steps > 0; --steps) {
    uint8_t stored = 0;
    if (file_.typeByte(&stored) == engine::kOk && stored == type) return deliver(record);
    result = file_.position(kBySortCode, engine::kNext);
  }
  if (result == engine::kOk) file_.setCurrentRecord(0);
  return searchFailed(result == engine::kOk ? engine::kNotFound : result);
}

uint32_t CompleteStore::find(RecordType type, const void* key, Lookup lookup,
                             CompleteRecord* record) {
  if (!isOpen()) return coded(engine::kNotOpen, TVO_ERR_DATA_FILE);
  if (forms_.of(type) == nullptr) return TVO_ERR_RECORD_TYPE;
  if (lookup == kBySortCode) return findFirst(type, record);
  if (key == nullptr) return static_cast<uint32_t>(engine::kBadArgument);
  const uint32_t status = seek(type, key, lookup);
  return status == TVO_OK ? deliver(record) : status;
}

uint32_t CompleteStore::update(const CompleteRecord& record) {
  return change(record.bytes, record.type, record.line, record.given);
}

uint32_t CompleteStore::update(const void* bytes) {
  return change(bytes, 0, place_.line, place_.given);
}

// A type of 0 is the record's own.
uint32_t CompleteStore::change(const void* bytes, RecordType type, uint64_t line, uint64_t given) {
  if (bytes == nullptr) return static_cast<uint32_t>(engine::kBadArgument);
  if (!isOpen()) return coded(engine::kNotOpen, TVO_ERR_DATA_FILE);
  RecordType stored = 0;
  RecordForm* form = nullptr;
  if (const uint32_t status = currentForm(&stored, &form); status != TVO_OK) return status;
  if (type != 0 && type != stored) return TVO_ERR_RECORD_TYPE;
  if (placed_ != file_.currentRecord()) return TVO_ERR_NO_RECORD;
  const Place before = place_;
  load(*form, {stored, bytes, line, given, before.block}, {before.run, before.block, line, given});
  const int result = file_.replace(form->fields());
  if (result != engine::kOk) place_ = before;
  return static_cast<uint32_t>(result);
}

uint32_t CompleteStore::remove(void* bytes) {
  if (!isOpen()) return coded(engine::kNotOpen, TVO_ERR_DATA_FILE);
  RecordType type = 0;
  RecordForm* form = nullptr;
  if (const uint32_t status = currentForm(&type, &form); status != TVO_OK) return status;
  form->clear();
  // The number may be given out again, so that numbers of one run would no longer ascend.
  newRun_ = true;
  if (const int result = file_.remove(form->fields()); result != engine::kOk) {
    return static_cast<uint32_t>(result);
  }
  form->finishRead();
  if (bytes != nullptr) memmove(bytes, form->record(), schema::recordDef(type).size);
  return TVO_OK;
}

}  // namespace tavo::store
