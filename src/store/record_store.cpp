// The operations of the record store.
#include "store/record_store.h"

#include <cstring>

namespace tavo::store {

namespace {

using schema::WriteCheck;

constexpr char kDefaultPath[] = "C:\\TMPTVODB.DAT";
constexpr int kWriteMode = 0;  // pages stay in the cache until they are pushed out

// A status with its low half replaced by a code of the library.
uint32_t withCode(uint32_t status, uint16_t code) { return (status & 0xFFFF0000u) | code; }

}  // namespace

RecordStore::RecordStore(platform::FileSystem& files, unsigned buffers)
    : files_(files), cache_(buffers), file_(cache_, files), path_{}, journal_{} {
  memcpy(path_.data(), kDefaultPath, sizeof(kDefaultPath));
}

// A code of the library for the engine's result. That memory ran out over an open file says nothing
// of its records, and stays the engine's code.
uint32_t RecordStore::coded(int result, uint16_t code) {
  const bool systemFailed = result == engine::kNotFound && file_.systemFailed();
  engineCode_ = systemFailed ? int{engine::kShortRead} : result;
  const bool opening = code == TVO_ERR_DATA_FILE || code == TVO_ERR_OPEN;
  const auto status = static_cast<uint32_t>(result);
  return result == engine::kNoMemory && !opening ? status : withCode(status, code);
}

engine::Options RecordStore::options() const {
  engine::Options options;
  if (journal_[0] != '\0') options.journal = journal_.data();
  return options;
}

uint32_t RecordStore::createDefault() {
  if (isOpen()) close();
  engine::removeFile(path(), files_);
  if (const int result = file_.create(path(), kIndexes, options()); result != engine::kOk) {
    return coded(result, TVO_ERR_DATA_FILE);
  }
  file_.setWriteMode(kWriteMode);
  return TVO_OK;
}

uint32_t RecordStore::openExisting(platform::Access access) {
  if (isOpen()) return TVO_ERR_DATA_FILE_OPEN;
  engine::Options wanted = options();
  wanted.access = static_cast<int>(access);
  if (const int result = file_.open(path(), kIndexes, wanted); result != engine::kOk) {
    return coded(result, TVO_ERR_DATA_FILE);
  }
  file_.setWriteMode(kWriteMode);
  return TVO_OK;
}

uint32_t RecordStore::openOnDemand() { return isOpen() ? uint32_t{TVO_OK} : openExisting(); }

int RecordStore::close() { return file_.close(); }

uint32_t RecordStore::closeDataFile() {
  close();
  return TVO_OK;
}

// False, and the path as it was, when the new one has no room.
bool RecordStore::takePath(const char* path, Path& taken) {
  if (path == nullptr) return false;
  const void* end = memchr(path, '\0', taken.size());
  if (end == nullptr) return false;
  memmove(taken.data(), path, static_cast<size_t>(static_cast<const char*>(end) - path) + 1);
  return true;
}

bool RecordStore::setJournal(const char* path) {
  return takePath(path == nullptr ? "" : path, journal_);
}

uint32_t RecordStore::setDataFile(const char* path) {
  if (isOpen()) return TVO_ERR_DATA_FILE_OPEN;
  if (!takePath(path, path_)) return TVO_ERR_OPEN;
  const uint32_t status = createDefault();
  return status == TVO_OK ? status : withCode(status, TVO_ERR_OPEN);
}

uint32_t RecordStore::openDataFile(const char* path, platform::Access access) {
  if (path == nullptr) return TVO_ERR_DATA_FILE;
  if (isOpen() && strncmp(path, path_.data(), path_.size()) == 0) return TVO_OK;
  if (memchr(path, '\0', path_.size()) == nullptr) return TVO_ERR_DATA_FILE;
  closeDataFile();
  takePath(path, path_);
  return openExisting(access);
}

uint32_t RecordStore::write(RecordType type, const void* record) {
  if (record == nullptr) return static_cast<uint32_t>(engine::kBadArgument);
  if (!isOpen()) {
    if (const uint32_t status = createDefault(); status != TVO_OK) return status;
  }
  if (const uint32_t status = checkWrite(type, record); status != TVO_OK) return status;
  RecordForm& form = *forms_.of(type);
  form.load(type, record);
  form.terminateTexts();
  const int result = file_.insert(form.fields(), static_cast<uint8_t>(type));
  return result == engine::kWriteFailed ? coded(result, TVO_ERR_WRITE)
                                        : static_cast<uint32_t>(result);
}

uint32_t RecordStore::checkWrite(RecordType type, const void* record) {
  Lookup lookup = kBySortCode;
  const schema::RecordDef& def = schema::recordDef(type);
  switch (def.check) {
    case WriteCheck::kUnknownType:
      return TVO_ERR_RECORD_TYPE;
    case WriteCheck::kNotStorable:
      return TVO_ERR_NOT_STORABLE;
    case WriteCheck::kNone:
      return TVO_OK;
    case WriteCheck::kOncePerFile:
      break;
    case WriteCheck::kUniqueKey: {
      uint32_t number;
      const auto* bytes = static_cast<const unsigned char*>(record);
      memcpy(&number, bytes + def.block->layout.keys.number, sizeof(number));
      lookup = number != 0 ? kByNumber : kById;
      break;
    }
  }
  const uint32_t status = seek(type, record, lookup);
  if (status == TVO_OK) return TVO_ERR_DUPLICATE;
  return TVO_CODE(status) == TVO_ERR_NOT_FOUND ? uint32_t{TVO_OK} : status;
}

// A search that came to no record: there is none, or nobody knows.
uint32_t RecordStore::searchFailed(int result) {
  const bool none = result == engine::kNotFound && !file_.systemFailed();
  return coded(result, none ? TVO_ERR_NOT_FOUND : TVO_ERR_NO_RECORD);
}

// Looks for a record of the type with the key that `record` has, and makes it the current one.
uint32_t RecordStore::seek(RecordType type, const void* record, Lookup lookup) {
  RecordForm& form = *forms_.of(type);
  const engine::Field* key = form.keyOf(lookup);
  if (key == nullptr) return TVO_ERR_LOOKUP;
  form.load(type, record);
  // Stored texts end inside their members, so the sought one must too.
  form.terminateTexts();
  const int result =
      file_.find(lookup, key->value, static_cast<uint32_t>(key->length), engine::kEqual);
  return result == engine::kOk ? scan(type, lookup) : searchFailed(result);
}

// Several types may have the key that the index is positioned on: goes on to the first record of
// the type. Equal keys are in the order of their record numbers; where they are not, the index is
// damaged and may run in a circle.
uint32_t RecordStore::scan(RecordType type, Lookup lookup) {
  for (;;) {
    uint8_t stored = 0;
    if (const int result = file_.typeByte(&stored); result != engine::kOk) {
      return coded(result, TVO_ERR_NO_RECORD);
    }
    if (stored == type) return TVO_OK;
    const int32_t number = file_.currentRecord();
    int result = file_.position(lookup, engine::kNext);
    if (result == engine::kOk && !file_.atSoughtKey(lookup)) {
      // A sort code is shared by neighbouring types only, so nothing behind it can match: go to the
      // end of the index, where going on would lead.
      if (lookup != kBySortCode) {
        file_.setCurrentRecord(0);
        return TVO_ERR_NOT_FOUND;
      }
      result = file_.position(lookup, engine::kLast);
      if (result == engine::kOk) result = file_.position(lookup, engine::kNext);
    } else if (result == engine::kOk && file_.currentRecord() <= number) {
      return coded(engine::kCorrupt, TVO_ERR_NO_RECORD);
    }
    if (result != engine::kOk) return searchFailed(result);
  }
}

uint32_t RecordStore::find(RecordType type, void* record, Lookup lookup) {
  if (record == nullptr) return static_cast<uint32_t>(engine::kBadArgument);
  if (const uint32_t status = openOnDemand(); status != TVO_OK) return status;
  const schema::RecordDef& def = schema::recordDef(type);
  if (def.check == WriteCheck::kUnknownType) return TVO_ERR_RECORD_TYPE;
  if (!def.searched) return TVO_ERR_NOT_STORABLE;
  if (const uint32_t status = seek(type, record, lookup); status != TVO_OK) return status;
  RecordForm& form = *forms_.of(type);
  form.clear();
  if (const int result = file_.read(form.fields()); result != engine::kOk) {
    return coded(result, TVO_ERR_NO_RECORD);
  }
  form.finishRead();
  memmove(record, form.record(), form.size());
  return TVO_OK;
}

// The type of the current record and the form that it can be read into.
uint32_t RecordStore::currentForm(RecordType* type, RecordForm** form) {
  uint8_t stored = 0;
  if (const int result = file_.typeByte(&stored); result != engine::kOk) {
    return coded(result, TVO_ERR_STORE);
  }
  *type = stored;
  *form = forms_.readable(stored);
  return *form == nullptr ? uint32_t{TVO_ERR_RECORD_TYPE} : uint32_t{TVO_OK};
}

uint32_t RecordStore::read(uint32_t move, RecordType* type, void** record) {
  if (const uint32_t status = openOnDemand(); status != TVO_OK) return status;
  if (move != TVO_CURRENT) {
    const int result = file_.position(kBySortCode, static_cast<int>(move));
    if (result != engine::kOk) return coded(result, TVO_ERR_STORE);
  }
  RecordType stored = 0;
  RecordForm* form = nullptr;
  if (const uint32_t status = currentForm(&stored, &form); status != TVO_OK) return status;
  form->clear();
  if (const int result = file_.read(form->fields()); result != engine::kOk) {
    return coded(result, TVO_ERR_NO_RECORD);
  }
  form->finishRead();
  if (type != nullptr) *type = stored;
  if (record != nullptr) *record = form->record();
  return TVO_OK;
}

uint32_t RecordStore::update(const void* record) {
  if (record == nullptr) return static_cast<uint32_t>(engine::kBadArgument);
  if (const uint32_t status = openOnDemand(); status != TVO_OK) return status;
  RecordType type = 0;
  RecordForm* form = nullptr;
  if (const uint32_t status = currentForm(&type, &form); status != TVO_OK) return status;
  // Unlike a written record's, texts without end mark are refused by the engine.
  form->load(type, record);
  return static_cast<uint32_t>(file_.replace(form->fields()));
}

uint32_t RecordStore::remove(void* record) {
  if (const uint32_t status = openOnDemand(); status != TVO_OK) return status;
  RecordType type = 0;
  RecordForm* form = nullptr;
  if (const uint32_t status = currentForm(&type, &form); status != TVO_OK) return status;
  form->clear();
  if (const int result = file_.remove(form->fields()); result != engine::kOk) {
    return static_cast<uint32_t>(result);
  }
  form->finishRead();
  if (record != nullptr) memmove(record, form->record(), form->size());
  return TVO_OK;
}

}  // namespace tavo::store
