// Data files in the public form: one record store per handle.
#include <array>
#include <cstring>
#include <memory>
#include <string>

#include "platform/text_file.h"
#include "schema/catalogue.h"
#include "store/data_file.h"
#include "store/record_store.h"
#include "survey/guard.h"
#include "tavo/survey.h"
#include "tavo/tavo.h"

namespace platform = tavo::platform;
namespace schema = tavo::schema;
namespace store = tavo::store;

struct tavo_store {
  store::RecordStore records;
  bool readOnly = false;
  int32_t engineCode = 0;

  explicit tavo_store(unsigned buffers) : records(platform::utf8FileSystem(), buffers) {}

  // A store's result has a code of the library in its low half, or is the engine's as it stands.
  tavo_status answer(uint32_t result) {
    constexpr uint32_t kNegative = 0xFFFF0000;
    engineCode = 0;
    if ((result & kNegative) == 0) return result;
    const uint16_t code = TVO_CODE(result);
    const bool known = code >= TVO_ERR_STORE && code <= TVO_ERR_ABORTED;
    engineCode = known ? records.engineCode() : static_cast<int32_t>(result);
    return known ? code : tavo_status{TVO_ERR_STORE};
  }
};

namespace {

constexpr uint32_t kMaxCachePages = 1U << 20;  // 1 GiB

tavo_status openStore(tavo_store& handle, const char* path, uint32_t mode) {
  handle.readOnly = mode == TAVO_STORE_READ_ONLY;
  if (mode == TAVO_STORE_CREATE) {
    if (platform::fileInfo(path, platform::PathForm::kUtf8).kind != platform::FileKind::kMissing) {
      return TVO_ERR_DATA_FILE;
    }
    const tavo_status created = handle.answer(handle.records.setDataFile(path));
    return created == TVO_ERR_OPEN ? tavo_status{TVO_ERR_DATA_FILE} : created;
  }
  return handle.answer(handle.records.openDataFile(
      path, handle.readOnly ? platform::Access::kRead : platform::Access::kReadWrite));
}

// Changes of a file opened to be read are refused before the engine is asked.
tavo_status change(tavo_store* handle, auto work) {
  if (handle == nullptr) return TAVO_ERR_ARGUMENT;
  if (handle->readOnly) return TVO_ERR_STORE;
  return tavo::survey::guarded(tavo_status{TAVO_ERR_MEMORY},
                               [&] { return handle->answer(work(handle->records)); });
}

void copyStatistics(const store::DataFileStatistics& from, tavo_store_statistics* to) {
  to->height = from.height;
  to->file_size = from.fileSize;
  to->pages_in_use = from.pagesInUse;
  to->pages_in_file = from.pagesInFile;
  to->leaf_pages = from.leafPages;
  to->inner_pages = from.innerPages;
  to->fill_factor = from.fillFactor;
  to->records = from.records;
  to->records_counted = from.recordsCounted;
  to->free_numbers = from.freeNumbers;
  to->room_ahead = from.roomAhead;
  to->keys_compared = from.keysCompared;
  to->findings = from.findings;
  for (size_t type = 0; type < std::size(to->records_by_type); ++type) {
    to->records_by_type[type] = from.recordsByType[type];
  }
}

}  // namespace

extern "C" {

tavo_status tavo_store_open(tavo_store** out, const char* path, const tavo_store_options* options) {
  if (out == nullptr) return TAVO_ERR_ARGUMENT;
  *out = nullptr;
  const tavo_store_options defaults = TAVO_STORE_OPTIONS_INIT;
  const tavo_store_options& wanted = options == nullptr ? defaults : *options;
  if (path == nullptr || wanted.version != 1 || wanted.mode > TAVO_STORE_CREATE ||
      wanted.cache_pages > kMaxCachePages) {
    return TAVO_ERR_ARGUMENT;
  }
  return tavo::survey::guarded(tavo_status{TAVO_ERR_MEMORY}, [&]() -> tavo_status {
    auto handle = std::make_unique<tavo_store>(wanted.cache_pages);
    if (!handle->records.setJournal(wanted.journal)) return TAVO_ERR_ARGUMENT;
    const tavo_status status = openStore(*handle, path, wanted.mode);
    if (status == TAVO_OK) *out = handle.release();
    return status;
  });
}

tavo_status tavo_store_close(tavo_store* handle) {
  if (handle == nullptr) return TAVO_OK;
  const std::unique_ptr<tavo_store> owned(handle);
  return owned->records.close() == 0 ? tavo_status{TAVO_OK} : tavo_status{TVO_ERR_WRITE};
}

int32_t tavo_store_engine_code(const tavo_store* handle) {
  return handle == nullptr ? 0 : handle->engineCode;
}

tavo_status tavo_store_write(tavo_store* handle, uint32_t type, const void* record) {
  if (record == nullptr) return TAVO_ERR_ARGUMENT;
  return change(handle, [&](auto& records) { return records.write(type, record); });
}

tavo_status tavo_store_read(tavo_store* handle, uint32_t move, tavo_record* record) {
  if (handle == nullptr || record == nullptr || move > TVO_LAST) return TAVO_ERR_ARGUMENT;
  RecordType type = 0;
  void* bytes = nullptr;
  const tavo_status status = handle->answer(handle->records.read(move, &type, &bytes));
  if (status == TAVO_OK)
    *record = {type, schema::recordDef(type).size, bytes, 0, TAVO_GIVEN_UNKNOWN};
  return status;
}

tavo_status tavo_store_find(tavo_store* handle, uint32_t type, uint32_t lookup, void* record) {
  if (handle == nullptr || record == nullptr) return TAVO_ERR_ARGUMENT;
  if (lookup < TAVO_BY_TYPE || lookup > TAVO_BY_ID) return TAVO_ERR_ARGUMENT;
  return handle->answer(handle->records.find(type, record, static_cast<store::Lookup>(lookup)));
}

tavo_status tavo_store_update(tavo_store* handle, const void* record) {
  if (record == nullptr) return TAVO_ERR_ARGUMENT;
  return change(handle, [&](auto& records) { return records.update(record); });
}

tavo_status tavo_store_delete(tavo_store* handle, void* record) {
  return change(handle, [&](auto& records) { return records.remove(record); });
}

uint64_t tavo_store_count(const tavo_store* handle) {
  return handle == nullptr ? 0 : handle->records.count();
}

int tavo_store_on_record(const tavo_store* handle) {
  return handle != nullptr && handle->records.onRecord() ? 1 : 0;
}

int tavo_is_data_file(const void* bytes, size_t size) {
  return bytes != nullptr && store::hasDataFileSignature(bytes, size) ? 1 : 0;
}

tavo_status tavo_store_verify(const char* path, tavo_store_finding_fn on_finding, void* user,
                              tavo_store_statistics* statistics) {
  if (path == nullptr || (statistics != nullptr && statistics->version != 1)) {
    return TAVO_ERR_ARGUMENT;
  }
  return tavo::survey::guarded(tavo_status{TAVO_ERR_MEMORY}, [&]() -> tavo_status {
    const auto report = [&](const store::DataFileFinding& found) {
      const tavo_store_finding finding = {TAVO_ERROR, found.page,
                                          static_cast<uint32_t>(found.record), found.type,
                                          found.text.c_str()};
      if (on_finding != nullptr) on_finding(&finding, user);
    };
    store::DataFileStatistics found;
    const int code = store::verifyDataFile(path, report, &found, platform::utf8FileSystem());
    if (statistics != nullptr) copyStatistics(found, statistics);
    return code == 0 ? tavo_status{TAVO_OK} : tavo_status{TVO_ERR_DATA_FILE};
  });
}

}  // extern "C"
