// Data files of both kinds in the public form: one store per handle, checks, and repair.
#include <algorithm>
#include <cstring>
#include <iterator>
#include <memory>
#include <string>
#include <variant>

#include "platform/text_file.h"
#include "schema/catalogue.h"
#include "store/complete_store.h"
#include "store/data_file.h"
#include "store/engine/engine.h"
#include "store/record_store.h"
#include "store/repair.h"
#include "survey/guard.h"
#include "survey/watched_files.h"
#include "tavo/survey.h"
#include "tavo/tavo.h"

namespace platform = tavo::platform;
namespace schema = tavo::schema;
namespace store = tavo::store;

struct tavo_store {
  std::variant<store::RecordStore, store::CompleteStore> file;
  bool readOnly = false;
  int32_t engineCode = 0;

  tavo_store(store::FileKind kind, unsigned buffers) {
    platform::FileSystem& files = platform::utf8FileSystem();
    if (kind == store::FileKind::kComplete) {
      file.emplace<store::CompleteStore>(files, buffers);
    } else {
      file.emplace<store::RecordStore>(files, buffers);
    }
  }

  bool isComplete() const { return std::holds_alternative<store::CompleteStore>(file); }
  store::FormStore& common() {
    return std::visit([](auto& records) -> store::FormStore& { return records; }, file);
  }
  const store::FormStore& common() const { return const_cast<tavo_store*>(this)->common(); }

  // A store's result has a code of the library in its low half, or is the engine's as it stands.
  tavo_status answer(uint32_t result) {
    constexpr uint32_t kNegative = 0xFFFF0000;
    engineCode = 0;
    if ((result & kNegative) == 0) return result;
    const uint16_t code = TVO_CODE(result);
    const bool known = code >= TVO_ERR_STORE && code <= TVO_ERR_ABORTED;
    engineCode = known ? common().engineCode() : static_cast<int32_t>(result);
    return known ? code : tavo_status{TVO_ERR_STORE};
  }
};

namespace {

using store::CompleteStore;
using store::FileKind;
using store::RecordStore;

constexpr uint32_t kMaxCachePages = 1U << 20;  // 1 GiB

// The operations of both kinds of data file in one form.

uint32_t create(RecordStore& file, const char* path) {
  const uint32_t created = file.setDataFile(path);
  return TVO_CODE(created) == TVO_ERR_OPEN ? uint32_t{TVO_ERR_DATA_FILE} : created;
}
uint32_t create(CompleteStore& file, const char* path) { return file.create(path); }

uint32_t open(RecordStore& file, const char* path, bool readOnly) {
  return file.openDataFile(path, readOnly ? platform::Access::kRead : platform::Access::kReadWrite);
}
uint32_t open(CompleteStore& file, const char* path, bool readOnly) {
  using Access = CompleteStore::Access;
  return file.open(path, readOnly ? Access::kReadOnly : Access::kReadWrite);
}

uint32_t append(RecordStore& file, const tavo_record& record) {
  return file.write(record.type, record.bytes);
}
uint32_t append(CompleteStore& file, const tavo_record& record) {
  return file.write({record.type, record.bytes, record.line, record.given, record.block});
}

uint32_t read(RecordStore& file, uint32_t move, tavo_record* record) {
  RecordType type = 0;
  void* bytes = nullptr;
  const uint32_t status = file.read(move, &type, &bytes);
  if (status == TVO_OK) {
    *record = {type, schema::recordDef(type).size, bytes, 0, TAVO_GIVEN_UNKNOWN, 0};
  }
  return status;
}
uint32_t read(CompleteStore& file, uint32_t move, tavo_record* record) {
  store::CompleteRecord found = {};
  const uint32_t status = file.read(move, &found);
  if (status == TVO_OK) {
    *record = {found.type, schema::recordDef(found.type).size, found.bytes, found.line, found.given,
               found.block};
  }
  return status;
}

uint32_t find(RecordStore& file, uint32_t type, store::Lookup lookup, void* record) {
  return file.find(type, record, lookup);
}
uint32_t find(CompleteStore& file, uint32_t type, store::Lookup lookup, void* record) {
  store::CompleteRecord found = {};
  const uint32_t status = file.find(type, record, lookup, &found);
  if (status == TVO_OK) std::memcpy(record, found.bytes, schema::recordDef(type).size);
  return status;
}

uint32_t replace(RecordStore& file, const tavo_record& record) {
  RecordType type = 0;
  if (const uint32_t status = file.read(TVO_CURRENT, &type, nullptr); status != TVO_OK) {
    return status;
  }
  return type == record.type ? file.update(record.bytes) : uint32_t{TVO_ERR_RECORD_TYPE};
}
uint32_t replace(CompleteStore& file, const tavo_record& record) {
  return file.update({record.type, record.bytes, record.line, record.given, record.block});
}

tavo_status openStore(tavo_store& handle, const char* path, uint32_t mode) {
  handle.readOnly = mode == TAVO_STORE_READ_ONLY;
  const bool making = mode == TAVO_STORE_CREATE;
  if (making &&
      platform::fileInfo(path, platform::PathForm::kUtf8).kind != platform::FileKind::kMissing) {
    return TVO_ERR_DATA_FILE;
  }
  return handle.answer(std::visit(
      [&](auto& file) { return making ? create(file, path) : open(file, path, handle.readOnly); },
      handle.file));
}

// The kind of the file that a call is about. One that cannot be read fails when it is opened.
FileKind kindOf(const char* path, const tavo_store_options& wanted) {
  if (wanted.mode == TAVO_STORE_CREATE) {
    const bool complete = wanted.version > 1 && wanted.kind == TAVO_STORE_COMPLETE;
    return complete ? FileKind::kComplete : FileKind::kCompatible;
  }
  return store::dataFileKind(path, platform::utf8FileSystem()).value_or(FileKind::kCompatible);
}

bool isValid(const tavo_store_options& wanted) {
  return (wanted.version == 1 || (wanted.version == 2 && wanted.kind <= TAVO_STORE_COMPLETE)) &&
         wanted.mode <= TAVO_STORE_CREATE && wanted.cache_pages <= kMaxCachePages;
}

uint32_t viewOf(FileKind kind) {
  return kind == FileKind::kComplete ? TAVO_STORE_COMPLETE : TAVO_STORE_COMPATIBLE;
}

// Changes of a file opened to be read are refused before the engine is asked.
tavo_status change(tavo_store* handle, auto work) {
  if (handle == nullptr) return TAVO_ERR_ARGUMENT;
  if (handle->readOnly) return TVO_ERR_STORE;
  return tavo::survey::guarded(tavo_status{TAVO_ERR_MEMORY},
                               [&] { return handle->answer(std::visit(work, handle->file)); });
}

// Hands findings to the caller.
store::FindingReport reportTo(tavo_store_finding_fn on_finding, void* user) {
  if (on_finding == nullptr) return nullptr;
  return [=](const store::DataFileFinding& found) {
    const tavo_store_finding finding = {found.note ? uint32_t{TAVO_NOTE} : uint32_t{TAVO_ERROR},
                                        found.page,
                                        static_cast<uint32_t>(found.record),
                                        found.type,
                                        found.text.c_str(),
                                        found.block};
    on_finding(&finding, user);
  };
}

// By record type: there are fewer types than the public arrays have room for.
void copyCounts(const store::RepairReport::Counts& from, uint32_t (&to)[128]) {
  std::copy_n(from.begin(), std::size(to), to);
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
  copyCounts(from.recordsByType, to->records_by_type);
  if (to->version > 1) to->kind = viewOf(from.kind);
}

void copyReport(const store::RepairReport& from, tavo_store_repair_report* to) {
  to->kind = viewOf(from.kind);
  copyCounts(from.found, to->found);
  copyCounts(from.damaged, to->damaged);
  copyCounts(from.twice, to->twice);
  to->untraced = from.untraced;
}

// Whether a report, which may be null, is of a version up to the newest.
template <class Report>
bool isKnown(const Report* report, uint32_t newest) {
  return report == nullptr || (report->version >= 1 && report->version <= newest);
}

// A check or repair of a closed file, guarded. `report` may be null, or of a version before
// `watchable`, which has no callback yet.
template <class Report, class Work>
tavo_status walk(const Report* report, uint32_t watchable, const Work& work) {
  tavo::survey::Watch watch;
  if (report != nullptr && report->version >= watchable) {
    watch = {report->on_progress, report->progress_user};
  }
  return tavo::survey::guarded(tavo_status{TAVO_ERR_MEMORY}, [&]() -> tavo_status {
    tavo::survey::WatchedFiles files(watch);
    try {
      return work(files);
    } catch (const tavo::survey::Cancelled&) {
      return TAVO_ERR_CANCELLED;
    }
  });
}

tavo_status failedRepair(int code, bool read) {
  if (code == tavo::engine::kNoMemory) return TAVO_ERR_MEMORY;
  if (read) return TVO_ERR_WRITE;
  return code == tavo::engine::kBadSignature ? TVO_ERR_NO_RECORD : TVO_ERR_DATA_FILE;
}

}  // namespace

extern "C" {

tavo_status tavo_store_open(tavo_store** out, const char* path, const tavo_store_options* options) {
  if (out == nullptr) return TAVO_ERR_ARGUMENT;
  *out = nullptr;
  const tavo_store_options defaults = TAVO_STORE_OPTIONS_INIT;
  const tavo_store_options& wanted = options == nullptr ? defaults : *options;
  if (path == nullptr || !isValid(wanted)) return TAVO_ERR_ARGUMENT;
  return tavo::survey::guarded(tavo_status{TAVO_ERR_MEMORY}, [&]() -> tavo_status {
    auto handle = std::make_unique<tavo_store>(kindOf(path, wanted), wanted.cache_pages);
    if (!handle->common().setJournal(wanted.journal)) return TAVO_ERR_ARGUMENT;
    const tavo_status status = openStore(*handle, path, wanted.mode);
    if (status == TAVO_OK) *out = handle.release();
    return status;
  });
}

tavo_status tavo_store_close(tavo_store* handle) {
  if (handle == nullptr) return TAVO_OK;
  const std::unique_ptr<tavo_store> owned(handle);
  return owned->common().close() == 0 ? tavo_status{TAVO_OK} : tavo_status{TVO_ERR_WRITE};
}

int32_t tavo_store_engine_code(const tavo_store* handle) {
  return handle == nullptr ? 0 : handle->engineCode;
}

uint32_t tavo_store_kind(const tavo_store* handle) {
  return handle != nullptr && handle->isComplete() ? TAVO_STORE_COMPLETE : TAVO_STORE_COMPATIBLE;
}

tavo_status tavo_store_write(tavo_store* handle, uint32_t type, const void* record) {
  const tavo_record whole = {type, 0, record, 0, TAVO_GIVEN_UNKNOWN, 0};
  return tavo_store_append(handle, &whole);
}

tavo_status tavo_store_append(tavo_store* handle, const tavo_record* record) {
  if (record == nullptr || record->bytes == nullptr) return TAVO_ERR_ARGUMENT;
  return change(handle, [&](auto& file) { return append(file, *record); });
}

tavo_status tavo_store_read(tavo_store* handle, uint32_t move, tavo_record* record) {
  if (handle == nullptr || record == nullptr || move > TVO_LAST) return TAVO_ERR_ARGUMENT;
  return handle->answer(
      std::visit([&](auto& file) { return read(file, move, record); }, handle->file));
}

tavo_status tavo_store_find(tavo_store* handle, uint32_t type, uint32_t lookup, void* record) {
  if (handle == nullptr || record == nullptr) return TAVO_ERR_ARGUMENT;
  if (lookup < TAVO_BY_TYPE || lookup > TAVO_BY_ID) return TAVO_ERR_ARGUMENT;
  const auto by = static_cast<store::Lookup>(lookup);
  return handle->answer(
      std::visit([&](auto& file) { return find(file, type, by, record); }, handle->file));
}

tavo_status tavo_store_update(tavo_store* handle, const void* record) {
  if (record == nullptr) return TAVO_ERR_ARGUMENT;
  return change(handle, [&](auto& file) { return file.update(record); });
}

tavo_status tavo_store_replace(tavo_store* handle, const tavo_record* record) {
  if (record == nullptr || record->bytes == nullptr) return TAVO_ERR_ARGUMENT;
  return change(handle, [&](auto& file) { return replace(file, *record); });
}

tavo_status tavo_store_delete(tavo_store* handle, void* record) {
  return change(handle, [&](auto& file) { return file.remove(record); });
}

uint64_t tavo_store_count(const tavo_store* handle) {
  if (handle == nullptr) return 0;
  return std::visit([](const auto& file) { return file.count(); }, handle->file);
}

int tavo_store_on_record(const tavo_store* handle) {
  return handle != nullptr && handle->common().onRecord() ? 1 : 0;
}

int tavo_is_data_file(const void* bytes, size_t size) {
  return bytes != nullptr && store::hasDataFileSignature(bytes, size) ? 1 : 0;
}

tavo_status tavo_store_verify(const char* path, tavo_store_finding_fn on_finding, void* user,
                              tavo_store_statistics* statistics) {
  constexpr uint32_t kWatchable = 3;
  if (path == nullptr || !isKnown(statistics, kWatchable)) return TAVO_ERR_ARGUMENT;
  return walk(statistics, kWatchable, [&](platform::FileSystem& files) -> tavo_status {
    store::DataFileStatistics found;
    const int code = store::verifyDataFile(path, reportTo(on_finding, user), &found, files);
    if (statistics != nullptr) copyStatistics(found, statistics);
    return code == 0 ? tavo_status{TAVO_OK} : tavo_status{TVO_ERR_DATA_FILE};
  });
}

tavo_status tavo_store_repair(const char* path, const char* target,
                              tavo_store_finding_fn on_finding, void* user,
                              tavo_store_repair_report* report) {
  constexpr uint32_t kWatchable = 2;
  if (path == nullptr || target == nullptr || !isKnown(report, kWatchable)) {
    return TAVO_ERR_ARGUMENT;
  }
  if (platform::sameFile(path, target, platform::PathForm::kUtf8)) return TVO_ERR_OPEN;
  return walk(report, kWatchable, [&](platform::FileSystem& files) -> tavo_status {
    platform::Replacement output;
    output.prepare(target, platform::PathForm::kUtf8);
    store::RepairReport counts;
    const int code = store::repairDataFile(path, output.path().c_str(), reportTo(on_finding, user),
                                           &counts, files);
    if (report != nullptr) copyReport(counts, report);
    if (code != tavo::engine::kOk) return failedRepair(code, counts.read);
    return output.commit() ? tavo_status{TAVO_OK} : tavo_status{TVO_ERR_WRITE};
  });
}

}  // extern "C"
