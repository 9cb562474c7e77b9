// The operations of the complete data file.
#include "store/complete_store.h"

#include "schema/catalogue.h"

namespace tavo::store {

namespace {

// A time-tagged code with all of its values takes more than a page.
constexpr uint32_t kWorkBuffer = 4096;
constexpr int kWriteMode = 0;  // pages stay in the cache until they are pushed out

// The engine's result with its low half replaced by a code of the library.
uint32_t coded(int result, uint16_t code) {
  return (static_cast<uint32_t>(result) & 0xFFFF0000u) | code;
}

engine::Options options(int access) {
  engine::Options options;
  options.access = access;
  options.workBufferSize = kWorkBuffer;
  return options;
}

}  // namespace

CompleteStore::CompleteStore(platform::FileSystem& files) : file_(cache_, files) {}

uint32_t CompleteStore::create(const char* path) {
  if (isOpen()) return TVO_ERR_DATA_FILE_OPEN;
  const int result = file_.create(path, kCompleteIndexes, options(2));
  if (result != engine::kOk) return coded(result, TVO_ERR_DATA_FILE);
  file_.setWriteMode(kWriteMode);
  run_ = 0;
  runKnown_ = newRun_ = true;
  return TVO_OK;
}

uint32_t CompleteStore::open(const char* path, Access access) {
  if (isOpen()) return TVO_ERR_DATA_FILE_OPEN;
  const int result =
      file_.open(path, kCompleteIndexes, options(access == Access::kReadOnly ? 1 : 2));
  if (result != engine::kOk) return coded(result, TVO_ERR_DATA_FILE);
  if (access == Access::kReadWrite) file_.setWriteMode(kWriteMode);
  runKnown_ = false;
  newRun_ = true;
  return TVO_OK;
}

int CompleteStore::close() { return file_.close(); }

void CompleteStore::load(RecordForm& form, const CompleteRecord& record, const Place& place) {
  form.load(record.type, record.bytes);
  form.setPlace(place);
  form.terminateTexts();
  place_ = place;
}

// Appending to an existing file goes on behind its last run.
uint32_t CompleteStore::findLastRun() {
  if (runKnown_) return TVO_OK;
  run_ = 0;
  const int result = file_.position(kBySortCode, engine::kLast);
  if (result == engine::kOk) {
    CompleteRecord last;
    if (const uint32_t status = deliver(&last); status != TVO_OK) return status;
    run_ = place_.run;
  } else if (result != engine::kNotFound || file_.systemFailed()) {
    return coded(result, TVO_ERR_STORE);
  }
  runKnown_ = true;
  return TVO_OK;
}

uint32_t CompleteStore::write(const CompleteRecord& record) {
  if (record.bytes == nullptr) return static_cast<uint32_t>(engine::kBadArgument);
  if (!isOpen()) return coded(engine::kNotOpen, TVO_ERR_DATA_FILE);
  RecordForm* const form = forms_.of(record.type);
  if (form == nullptr) return TVO_ERR_RECORD_TYPE;
  if (const uint32_t status = findLastRun(); status != TVO_OK) return status;
  if (newRun_ || record.block != block_) ++run_;
  newRun_ = false;
  block_ = record.block;
  load(*form, record, {run_, record.block, record.line, record.given});
  const int result = file_.insert(form->fields(), static_cast<uint8_t>(record.type));
  placed_ = result == engine::kOk ? file_.currentRecord() : 0;
  return result == engine::kWriteFailed ? coded(result, TVO_ERR_WRITE)
                                        : static_cast<uint32_t>(result);
}

// The type of the current record and the form that it can be read into.
uint32_t CompleteStore::currentForm(RecordType* type, RecordForm** form) {
  uint8_t stored = 0;
  if (const int result = file_.typeByte(&stored); result != engine::kOk) {
    return coded(result, TVO_ERR_STORE);
  }
  *type = stored;
  *form = forms_.of(stored);
  return *form == nullptr ? uint32_t{TVO_ERR_RECORD_TYPE} : uint32_t{TVO_OK};
}

uint32_t CompleteStore::deliver(CompleteRecord* record) {
  RecordType type = 0;
  RecordForm* form = nullptr;
  if (const uint32_t status = currentForm(&type, &form); status != TVO_OK) return status;
  form->clear();
  if (const int result = file_.read(form->fields()); result != engine::kOk) {
    return coded(result, TVO_ERR_NO_RECORD);
  }
  form->finishRead();
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

// A search that came to no record: there is none, or nobody knows.
uint32_t CompleteStore::searchFailed(int result) const {
  const bool none = result == engine::kNotFound && !file_.systemFailed();
  return coded(result, none ? TVO_ERR_NOT_FOUND : TVO_ERR_NO_RECORD);
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
  RecordForm* const form = forms_.of(type);
  if (form == nullptr) return TVO_ERR_RECORD_TYPE;
  if (lookup == kBySortCode) return findFirst(type, record);
  const engine::Field* const field = form->keyOf(lookup);
  if (field == nullptr) return TVO_ERR_LOOKUP;
  if (key == nullptr) return static_cast<uint32_t>(engine::kBadArgument);
  form->load(type, key);
  form->terminateTexts();
  int result =
      file_.find(lookup, field->value, static_cast<uint32_t>(field->length), engine::kEqual);
  // Several types may have the key. Equal keys are in the order of their record numbers; where they
  // are not, the index is damaged and may run in a circle.
  for (int32_t before = 0; result == engine::kOk;) {
    if (!file_.atSoughtKey(lookup)) {
      file_.setCurrentRecord(0);
      return TVO_ERR_NOT_FOUND;
    }
    if (file_.currentRecord() <= before) return coded(engine::kCorrupt, TVO_ERR_NO_RECORD);
    before = file_.currentRecord();
    uint8_t stored = 0;
    result = file_.typeByte(&stored);
    if (result != engine::kOk) return coded(result, TVO_ERR_NO_RECORD);
    if (stored == type) return deliver(record);
    result = file_.position(lookup, engine::kNext);
  }
  return searchFailed(result);
}

uint32_t CompleteStore::update(const CompleteRecord& record) {
  if (record.bytes == nullptr) return static_cast<uint32_t>(engine::kBadArgument);
  if (!isOpen()) return coded(engine::kNotOpen, TVO_ERR_DATA_FILE);
  RecordType type = 0;
  RecordForm* form = nullptr;
  if (const uint32_t status = currentForm(&type, &form); status != TVO_OK) return status;
  if (type != record.type) return TVO_ERR_RECORD_TYPE;
  if (placed_ != file_.currentRecord()) return TVO_ERR_NO_RECORD;
  load(*form, record, {place_.run, place_.block, record.line, record.given});
  return static_cast<uint32_t>(file_.replace(form->fields()));
}

uint32_t CompleteStore::remove() {
  if (!isOpen()) return coded(engine::kNotOpen, TVO_ERR_DATA_FILE);
  RecordType type = 0;
  RecordForm* form = nullptr;
  if (const uint32_t status = currentForm(&type, &form); status != TVO_OK) return status;
  form->clear();
  // The number may be given out again, so that numbers of one run would no longer ascend.
  newRun_ = true;
  return static_cast<uint32_t>(file_.remove(form->fields()));
}

}  // namespace tavo::store
