// The operations that both kinds of data file share.
#include "store/form_store.h"

#include <cstring>

namespace tavo::store {

namespace {

constexpr int kWriteMode = 0;  // pages stay in the cache until they are pushed out

}  // namespace

FormStore::FormStore(FileKind kind, platform::FileSystem& files, unsigned buffers)
    : cache_(buffers), file_(cache_, files), forms_(kind) {}

bool FormStore::takePath(const char* path, Path& taken) {
  if (path == nullptr) return false;
  const void* end = memchr(path, '\0', taken.size());
  if (end == nullptr) return false;
  memmove(taken.data(), path, static_cast<size_t>(static_cast<const char*>(end) - path) + 1);
  return true;
}

bool FormStore::setJournal(const char* path) {
  return takePath(path == nullptr ? "" : path, journal_);
}

// That memory ran out over an open file says nothing of its records, and stays the engine's code.
uint32_t FormStore::coded(int result, uint16_t code) {
  const bool systemFailed = result == engine::kNotFound && file_.systemFailed();
  engineCode_ = systemFailed ? int{engine::kShortRead} : result;
  const auto status = static_cast<uint32_t>(result);
  const bool opening = code == TVO_ERR_DATA_FILE;
  return result == engine::kNoMemory && !opening ? status : (status & 0xFFFF0000u) | code;
}

uint32_t FormStore::opened(int result) {
  if (result != engine::kOk) return coded(result, TVO_ERR_DATA_FILE);
  file_.setWriteMode(kWriteMode);
  return TVO_OK;
}

uint32_t FormStore::searchFailed(int result) {
  const bool none = result == engine::kNotFound && !file_.systemFailed();
  return coded(result, none ? TVO_ERR_NOT_FOUND : TVO_ERR_NO_RECORD);
}

uint32_t FormStore::insert(const RecordForm& form, RecordType type) {
  const int result = file_.insert(form.fields(), static_cast<uint8_t>(type));
  return result == engine::kWriteFailed ? coded(result, TVO_ERR_WRITE)
                                        : static_cast<uint32_t>(result);
}

uint32_t FormStore::currentForm(RecordType* type, RecordForm** form) {
  uint8_t stored = 0;
  if (const int result = file_.typeByte(&stored); result != engine::kOk) {
    return coded(result, TVO_ERR_STORE);
  }
  *type = stored;
  *form = forms_.readable(stored);
  return *form == nullptr ? uint32_t{TVO_ERR_RECORD_TYPE} : uint32_t{TVO_OK};
}

uint32_t FormStore::readInto(RecordForm& form) {
  form.clear();
  if (const int result = file_.read(form.fields()); result != engine::kOk) {
    return coded(result, TVO_ERR_NO_RECORD);
  }
  form.finishRead();
  return TVO_OK;
}

uint32_t FormStore::seek(RecordType type, const void* record, Lookup lookup) {
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
uint32_t FormStore::scan(RecordType type, Lookup lookup) {
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

}  // namespace tavo::store
