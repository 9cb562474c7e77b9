// Analysis and build over the library's state.
#include "api/library.h"

#include <filesystem>
#include <memory>
#include <new>
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

}  // namespace

uint32_t Library::analyse(const AnalysisRequest& request, AnalysisCounts* counts) {
  const auto run = std::unique_ptr<reader::Run>(new (std::nothrow)
                                                    reader::Run(request.sink, &operationColumns_));
  if (run == nullptr || isSameFile(request.inputPath, request.logPath)) return TVO_ERR_OPEN;
  run->source.observe(request.progress);

  bool opened = run->source.open(request.inputPath);
  opened = run->diagnostics.open(request.logPath, request.maxErrors, request.findings) && opened;
  if (request.intoStore && store.createDefault() != TVO_OK) opened = false;
  if (!opened) {
    store.closeDataFile();
    return TVO_ERR_OPEN;
  }

  const int status = sections::readSections(*run);
  // Out of memory in the middle of a block: records are missing, which must not pass for success.
  if (status == reader::kOutOfMemory) run->diagnostics.raiseIoError();
  *counts = {run->diagnostics.errorCount(), run->diagnostics.warningCount(), run->lineNumber,
             run->recordCount};
  run->diagnostics.summary(request.inputPath);
  run->source.close();
  run->diagnostics.close();
  if (store.close() != 0 && request.intoStore) run->diagnostics.raiseIoError();
  return resultOf(status, run->diagnostics);
}

uint16_t Library::build(const char* outputPath, TVO_RecordSource callback, bool fromStore) {
  if (fromStore && !store.isOpen() && TVO_CODE(store.openExisting()) == TVO_ERR_DATA_FILE) {
    return TVO_ERR_NO_DATA_FILE;
  }
  const uint16_t status = writers::build(outputPath, callback, settings);
  store.closeDataFile();
  return status;
}

Library* library() {
  static const std::unique_ptr<Library> instance(new (std::nothrow) Library);
  return instance.get();
}

}  // namespace tavo::api
