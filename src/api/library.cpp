// Analysis and build over the library's state.
#include "api/library.h"

#include "platform/text_file.h"

namespace tavo::api {

namespace {

platform::OpenResult open(auto& file, const char* path) {
  return path == nullptr ? platform::OpenResult::kFailed : file.open(path);
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

// The texts of an analysis: those that the request brings along, or files of our own.
struct RequestedTexts {
  explicit RequestedTexts(const AnalysisRequest& request) : input(request.input), log(request.log) {
    if (input == nullptr) inputResult = open(inputFile, request.inputPath);
    if (log == nullptr) logResult = open(logFile, request.logPath);
    if (input == nullptr) input = &inputFile;
    if (log == nullptr) log = &logFile;
  }

  // One of the files belongs to somebody who does not share it.
  bool held() const {
    return inputResult == platform::OpenResult::kHeld || logResult == platform::OpenResult::kHeld;
  }
  // Empties the log's file.
  bool start(const AnalysisRequest& request) {
    const bool started =
        request.log != nullptr || (logResult == platform::OpenResult::kDone && logFile.start());
    return inputResult == platform::OpenResult::kDone && started;
  }

  platform::InputFile inputFile;
  platform::OutputFile logFile;
  platform::TextInput* input;
  platform::TextOutput* log;
  platform::OpenResult inputResult = platform::OpenResult::kDone;
  platform::OpenResult logResult = platform::OpenResult::kDone;
};

// Whether one file would serve two purposes of a run. No text may be the data file, open or closed.
bool clash(const AnalysisRequest& request, const char* dataFile) {
  const char* const input = request.input == nullptr ? request.inputPath : nullptr;
  const char* const log = request.log == nullptr ? request.logPath : nullptr;
  return platform::sameFile(input, log) || platform::sameFile(input, dataFile) ||
         platform::sameFile(log, dataFile);
}

}  // namespace

uint32_t Library::analyse(const AnalysisRequest& request, AnalysisCounts* counts) {
  const ClosingStore closing(store);
  if (clash(request, store.path())) return TVO_ERR_OPEN;
  // Nothing that was there is touched before it is known that every file is ours.
  RequestedTexts texts(request);
  survey::Analysis analysis(request.sink, &operationColumns_);
  if (texts.held()) return TVO_ERR_OPEN;
  if (request.intoStore && store.createDefault() != TVO_OK) return TVO_ERR_OPEN;
  if (!texts.start(request)) return TVO_ERR_OPEN;
  if (!analysis.open(
          {texts.input, texts.log, request.maxErrors, request.findings, request.progress})) {
    return TVO_ERR_OPEN;
  }

  const survey::Outcome outcome = analysis.read(request.inputPath);
  // Records are missing, which must not pass for success.
  const bool incomplete = outcome.end == survey::End::kMemory;
  *counts = {outcome.errors,  outcome.warnings, outcome.lines,
             outcome.records, outcome.comments, incomplete};
  // Also a sink of the host's own may have filled the store.
  const bool stored = !store.isOpen() || store.close() == 0;
  if (outcome.end == survey::End::kAborted) return TVO_ERR_ABORTED;
  if (outcome.failed || incomplete || !stored) return TVO_ERR_WRITE;
  return outcome.errors > 0 ? TVO_ERR_ERRORS_FOUND : TVO_OK;
}

uint16_t Library::build(const char* outputPath, TVO_RecordSource callback, bool fromStore) {
  const ClosingStore closing(store);
  if (outputPath == nullptr || callback == nullptr) return TVO_ERR_OPEN;
  if (fromStore && !store.isOpen() && TVO_CODE(store.openExisting()) == TVO_ERR_DATA_FILE) {
    return TVO_ERR_NO_DATA_FILE;
  }
  if (platform::sameFile(outputPath, store.path())) return TVO_ERR_OPEN;
  return writers::build(outputPath, callback, settings);
}

Library& library() {
  static Library instance;
  return instance;
}

}  // namespace tavo::api
