// The exported functions: thin shells over the library-wide instance.
#include "api/callbacks.h"
#include "api/guard.h"
#include "api/library.h"
#include "tavo/tavo.h"

using tavo::api::guarded;
using tavo::api::Library;
using tavo::api::library;

#if !defined(_WIN32)
// The address of an export inside this library. The plain name may stand for another one, that of a
// host that is not position-independent.
extern "C" {
__attribute__((visibility("hidden"), alias("TVO_Write"))) uint32_t localWrite(uint32_t recordType,
                                                                              const void* record);
__attribute__((visibility("hidden"), alias("TVO_Read"))) uint16_t localRead(uint32_t move,
                                                                            uint32_t* recordType,
                                                                            void** record);
}
#else
constexpr TVO_RecordSink localWrite = &TVO_Write;
constexpr TVO_RecordSource localRead = &TVO_Read;
#endif

namespace {

bool isWrite(TVO_RecordSink callback) {
  return tavo::api::isExport(reinterpret_cast<const void*>(callback),
                             reinterpret_cast<const void*>(localWrite),
                             reinterpret_cast<const void*>(&TVO_Write));
}

bool isRead(TVO_RecordSource callback) {
  return tavo::api::isExport(reinterpret_cast<const void*>(callback),
                             reinterpret_cast<const void*>(localRead),
                             reinterpret_cast<const void*>(&TVO_Read));
}

// A host's record callback as a sink; without one the records go nowhere.
uint32_t callSink(void* context, const tavo::reader::DeliveredRecord& record) {
  const TVO_RecordSink callback = *static_cast<const TVO_RecordSink*>(context);
  return callback == nullptr ? 0 : callback(record.type, record.bytes);
}

// An operation of the library's store.
template <class Operation>
uint32_t onStore(uint32_t failure, Operation operation) {
  return guarded(failure, [&] { return operation(library().store); });
}

using Store = tavo::store::RecordStore;

}  // namespace

extern "C" {

uint32_t TVO_CALL TVO_Analyse(const char* inputPath, const char* logPath, TVO_RecordSink callback,
                              uint16_t maxErrors, uint16_t* errors, uint16_t* warnings) {
  return guarded(TVO_ERR_WRITE, [&] {
    tavo::api::AnalysisRequest request;
    request.inputPath = inputPath;
    request.logPath = logPath;
    request.maxErrors = maxErrors;
    request.sink = {&callSink, &callback};
    request.intoStore = isWrite(callback);
    tavo::api::AnalysisCounts counts;
    const uint32_t status = library().analyse(request, &counts);
    if (status == TVO_ERR_OPEN) return status;
    if (errors != nullptr) *errors = counts.errors;
    if (warnings != nullptr) *warnings = counts.warnings;
    return status;
  });
}

uint16_t TVO_CALL TVO_Build(const char* outputPath, TVO_RecordSource callback) {
  return guarded(TVO_ERR_WRITE,
                 [&] { return library().build(outputPath, callback, isRead(callback)); });
}

uint32_t TVO_CALL TVO_SetColumns(uint8_t flag) {
  Library::settings.setColumns(flag != 0);
  return TVO_OK;
}

uint32_t TVO_CALL TVO_SetDecimals(const TVO_Decimals* decimals) {
  if (decimals != nullptr) Library::settings.decimals = *decimals;
  return TVO_OK;
}

uint32_t TVO_CALL TVO_GetDecimals(TVO_Decimals* decimals) {
  if (decimals != nullptr) *decimals = Library::settings.decimals;
  return TVO_OK;
}

uint32_t TVO_CALL TVO_Find(uint32_t recordType, void* record) {
  return onStore(TVO_ERR_DATA_FILE, [&](Store& store) { return store.find(recordType, record); });
}

uint32_t TVO_CALL TVO_Update(const void* record) {
  return onStore(TVO_ERR_DATA_FILE, [&](Store& store) { return store.update(record); });
}

uint32_t TVO_CALL TVO_Delete(void* record) {
  return onStore(TVO_ERR_DATA_FILE, [&](Store& store) { return store.remove(record); });
}

uint16_t TVO_CALL TVO_Read(uint32_t move, uint32_t* recordType, void** record) {
  return TVO_CODE(onStore(TVO_ERR_DATA_FILE,
                          [&](Store& store) { return store.read(move, recordType, record); }));
}

uint32_t TVO_CALL TVO_Write(uint32_t recordType, const void* record) {
  return onStore(TVO_ERR_DATA_FILE, [&](Store& store) { return store.write(recordType, record); });
}

uint32_t TVO_CALL TVO_SetDataFile(const char* path) {
  return onStore(TVO_ERR_OPEN, [&](Store& store) { return store.setDataFile(path); });
}

uint32_t TVO_CALL TVO_OpenDataFile(const char* path) {
  return onStore(TVO_ERR_DATA_FILE, [&](Store& store) { return store.openDataFile(path); });
}

uint32_t TVO_CALL TVO_CloseDataFile(void) {
  return onStore(TVO_OK, [](Store& store) { return store.closeDataFile(); });
}

}  // extern "C"
