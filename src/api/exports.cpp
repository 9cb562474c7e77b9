// The exported functions: thin shells over the library-wide instance.
#include "api/callbacks.h"
#include "api/library.h"
#include "tavo/tavo.h"

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
uint32_t callSink(void* context, uint32_t recordType, const void* record) {
  const TVO_RecordSink callback = *static_cast<const TVO_RecordSink*>(context);
  return callback == nullptr ? 0 : callback(recordType, record);
}

// Answer of the store functions when there is no memory for the library's state.
constexpr uint32_t kNoLibrary = TVO_ERR_DATA_FILE;

}  // namespace

extern "C" {

uint32_t TVO_CALL TVO_Analyse(const char* inputPath, const char* logPath, TVO_RecordSink callback,
                              uint16_t maxErrors, uint16_t* errors, uint16_t* warnings) {
  Library* const state = library();
  if (state == nullptr) return TVO_ERR_OPEN;
  tavo::api::AnalysisRequest request;
  request.inputPath = inputPath;
  request.logPath = logPath;
  request.maxErrors = maxErrors;
  request.sink = {&callSink, &callback};
  request.intoStore = isWrite(callback);
  tavo::api::AnalysisCounts counts;
  const uint32_t status = state->analyse(request, &counts);
  if (status == TVO_ERR_OPEN) return status;
  if (errors != nullptr) *errors = counts.errors;
  if (warnings != nullptr) *warnings = counts.warnings;
  return status;
}

uint16_t TVO_CALL TVO_Build(const char* outputPath, TVO_RecordSource callback) {
  Library* const state = library();
  if (state == nullptr || outputPath == nullptr || callback == nullptr) return TVO_ERR_OPEN;
  return state->build(outputPath, callback, isRead(callback));
}

uint32_t TVO_CALL TVO_SetColumns(uint8_t flag) {
  if (Library* const state = library()) state->settings.setColumns(flag != 0);
  return TVO_OK;
}

uint32_t TVO_CALL TVO_SetDecimals(const TVO_Decimals* decimals) {
  Library* const state = library();
  if (state != nullptr && decimals != nullptr) state->settings.decimals = *decimals;
  return TVO_OK;
}

uint32_t TVO_CALL TVO_GetDecimals(TVO_Decimals* decimals) {
  Library* const state = library();
  if (state != nullptr && decimals != nullptr) *decimals = state->settings.decimals;
  return TVO_OK;
}

uint32_t TVO_CALL TVO_Find(uint32_t recordType, void* record) {
  Library* const state = library();
  return state == nullptr ? kNoLibrary : state->store.find(recordType, record);
}

uint32_t TVO_CALL TVO_Update(const void* record) {
  Library* const state = library();
  return state == nullptr ? kNoLibrary : state->store.update(record);
}

uint32_t TVO_CALL TVO_Delete(void* record) {
  Library* const state = library();
  return state == nullptr ? kNoLibrary : state->store.remove(record);
}

uint16_t TVO_CALL TVO_Read(uint32_t move, uint32_t* recordType, void** record) {
  Library* const state = library();
  return TVO_CODE(state == nullptr ? kNoLibrary : state->store.read(move, recordType, record));
}

uint32_t TVO_CALL TVO_Write(uint32_t recordType, const void* record) {
  Library* const state = library();
  return state == nullptr ? kNoLibrary : state->store.write(recordType, record);
}

uint32_t TVO_CALL TVO_SetDataFile(const char* path) {
  Library* const state = library();
  return state == nullptr ? uint32_t{TVO_ERR_OPEN} : state->store.setDataFile(path);
}

uint32_t TVO_CALL TVO_OpenDataFile(const char* path) {
  Library* const state = library();
  return state == nullptr ? kNoLibrary : state->store.openDataFile(path);
}

uint32_t TVO_CALL TVO_CloseDataFile(void) {
  if (Library* const state = library()) state->store.closeDataFile();
  return TVO_OK;
}

}  // extern "C"
