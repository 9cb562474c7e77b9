// Analysis and build over the library's state.
#include "api/library.h"

#include <filesystem>
#include <memory>
#include <system_error>

#include "sections/sections.h"

namespace tavo::api {

namespace {

// Opening the log would destroy an input of the same name.
bool isSameFile(const char* input, const char* log) try {
  std::error_code error;
  return input != nullptr && log != nullptr && std::filesystem::equivalent(input, log, error);
} catch (const std::exception&) {
  return false;
}

uint32_t resultOf(int status, const reader::Diagnostics& diagnostics) {
  if (status == reader::kAborted) return TVO_ERR_ABORTED;
  if (diagnostics.ioError()) return TVO_ERR_WRITE;
  return diagnostics.errorCount() > 0 ? TVO_ERR_ERRORS_FOUND : TVO_OK;
}

// Closes the data file at the end of a run, however it ends.
class ClosingStore {
 public:
  explicit ClosingStore(store::RecordStore& store) : store_(store) {}
  ClosingStore(const ClosingStore&) = delete;
  ClosingStore& operator=(const ClosingStore&) = delete;
  ~ClosingStore() { store_.closeDataFile(); }

 private:
  store::RecordStore& store_;
};

// An exception, of the sink too, ends the reading as memory that runs out does.
int readAll(reader::Run& run) try { return sections::readSections(run); } catch (...) {
  return reader::kOutOfMemory;
}

}  // namespace

uint32_t Library::analyse(const AnalysisRequest& request, AnalysisCounts* counts) {
  const ClosingStore closing(store);
  const auto run = std::make_unique<reader::Run>(request.sink, &operationColumns_);
  if (isSameFile(request.inputPath, request.logPath)) return TVO_ERR_OPEN;
  run->source.observe(request.progress);

  bool opened = run->source.open(request.inputPath);
  opened = run->diagnostics.open(request.logPath, request.maxErrors, request.findings) && opened;
  if (request.intoStore && store.createDefault() != TVO_OK) opened = false;
  if (!opened) return TVO_ERR_OPEN;

  const int status = readAll(*run);
  // Records are missing, which must not pass for success.
  const bool incomplete = status == reader::kOutOfMemory;
  if (incomplete) run->diagnostics.raiseIoError();
  *counts = {run->diagnostics.errorCount(),
             run->diagnostics.warningCount(),
             run->lineNumber,
             run->recordCount,
             run->commentCount,
             incomplete};
  run->diagnostics.summary(request.inputPath);
  run->source.close();
  run->diagnostics.close();
  // Also a sink of the host's own may have filled it.
  if (store.isOpen() && store.close() != 0) run->diagnostics.raiseIoError();
  return resultOf(status, run->diagnostics);
}

uint16_t Library::build(const char* outputPath, TVO_RecordSource callback, bool fromStore) {
  const ClosingStore closing(store);
  if (outputPath == nullptr || callback == nullptr) return TVO_ERR_OPEN;
  if (fromStore && !store.isOpen() && TVO_CODE(store.openExisting()) == TVO_ERR_DATA_FILE) {
    return TVO_ERR_NO_DATA_FILE;
  }
  return writers::build(outputPath, callback, settings);
}

Library& library() {
  static Library instance;
  return instance;
}

}  // namespace tavo::api
