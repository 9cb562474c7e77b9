// The operations of the record store.
#include "store/record_store.h"

#include <cstring>

namespace tavo::store {

namespace {

using schema::WriteCheck;

constexpr char kDefaultPath[] = "C:\\TMPTVODB.DAT";

}  // namespace

RecordStore::RecordStore(platform::FileSystem& files, unsigned buffers)
    : FormStore(FileKind::kCompatible, files, buffers), files_(files), path_{} {
  memcpy(path_.data(), kDefaultPath, sizeof(kDefaultPath));
}

engine::Options RecordStore::options() const {
  engine::Options options;
  options.journal = journal();
  return options;
}

uint32_t RecordStore::createDefault() {
  if (isOpen()) close();
  engine::removeFile(path(), files_);
  return opened(file_.create(path(), kIndexes, options()));
}

uint32_t RecordStore::openExisting(platform::Access access) {
  if (isOpen()) return TVO_ERR_DATA_FILE_OPEN;
  engine::Options wanted = options();
  wanted.access = static_cast<int>(access);
  return opened(file_.open(path(), kIndexes, wanted));
}

uint32_t RecordStore::openOnDemand() { return isOpen() ? uint32_t{TVO_OK} : openExisting(); }

uint32_t RecordStore::closeDataFile() {
  close();
  return TVO_OK;
}

uint32_t RecordStore::setDataFile(const char* path) {
  if (isOpen()) return TVO_ERR_DATA_FILE_OPEN;
  if (!takePath(path, path_)) return TVO_ERR_OPEN;
  const uint32_t status = createDefault();
  return status == TVO_OK ? status : (status & 0xFFFF0000u) | TVO_ERR_OPEN;
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
  return insert(form, type);
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

uint32_t RecordStore::find(RecordType type, void* record, Lookup lookup) {
  if (record == nullptr) return static_cast<uint32_t>(engine::kBadArgument);
  if (const uint32_t status = openOnDemand(); status != TVO_OK) return status;
  const schema::RecordDef& def = schema::recordDef(type);
  if (def.check == WriteCheck::kUnknownType) return TVO_ERR_RECORD_TYPE;
  if (!def.searched) return TVO_ERR_NOT_STORABLE;
  if (const uint32_t status = seek(type, record, lookup); status != TVO_OK) return status;
  RecordForm& form = *forms_.of(type);
  if (const uint32_t status = readInto(form); status != TVO_OK) return status;
  memmove(record, form.record(), form.size());
  return TVO_OK;
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
  if (const uint32_t status = readInto(*form); status != TVO_OK) return status;
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
