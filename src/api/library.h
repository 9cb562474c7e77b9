// The library-wide state behind the exported functions, and what they do with it. Everything below
// this layer gets its context as an argument, so tools and tests can have instances of their own.
#pragma once

#include <cstdint>

#include "reader/run.h"
#include "store/record_store.h"
#include "tavo/tavo.h"
#include "writers/build.h"

namespace tavo::api {

// Counts of an analysis.
struct AnalysisCounts {
  uint16_t errors = 0;
  uint16_t warnings = 0;
  uint64_t lines = 0;
  uint64_t records = 0;
  uint64_t comments = 0;    // comment lines, and comments behind other text
  bool incomplete = false;  // memory ran out, or the sink threw: records are missing
};

struct AnalysisRequest {
  const char* inputPath = nullptr;  // the log's summary names it
  const char* logPath = nullptr;
  platform::TextInput* input = nullptr;  // read instead of a file
  platform::TextOutput* log = nullptr;   // written, and closed at the end, instead of a file
  uint16_t maxErrors = UINT16_MAX;
  reader::RecordSink sink;
  bool intoStore = false;  // the sink writes to the library's store: begin with a new data file
  reader::FindingObserver* findings = nullptr;
  reader::ProgressObserver* progress = nullptr;
};

class Library {
 public:
  // Reads and checks a text and hands its records to the request's sink. The data file is closed at
  // the end, whatever happened. counts is left alone when a file cannot be opened. One file for two
  // purposes, the data file included, and files that others keep for themselves are TVO_ERR_OPEN
  // with nothing created, truncated or deleted. An exception of the sink ends the run as memory
  // that runs out does: TVO_ERR_WRITE, with a summary of what was read so far.
  uint32_t analyse(const AnalysisRequest& request, AnalysisCounts* counts);

  // Writes a text file from the records that a callback delivers. fromStore: it reads the library's
  // store, which is opened when it is closed. The data file is no place for the text: TVO_ERR_OPEN.
  // It is closed at the end, whatever happened.
  uint16_t build(const char* outputPath, TVO_RecordSource callback, bool fromStore);

  store::RecordStore store;
  // Kept between builds. One for all instances, so that setting them needs no memory.
  static inline constinit writers::BuildSettings settings;

 private:
  // Kept for the library's life, over all analyses.
  reader::OperationColumns operationColumns_;
};

// The instance behind the exported functions, made at first use. std::bad_alloc when there is no
// memory for it; the next call tries again.
Library& library();

}  // namespace tavo::api
