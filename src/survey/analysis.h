// One analysis of texts that are open already: what the exported functions, the object interface
// and the survey layer share.
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>

#include "platform/text_file.h"
#include "reader/run.h"

namespace tavo::survey {

// How an analysis ended.
enum class End {
  kInput,      // with the text, or at the error limit
  kAborted,    // the sink asked to stop
  kCancelled,  // the progress observer did
  kMemory,     // memory ran out, or the sink threw: records are missing
};

struct Outcome {
  End end;
  bool inputFailed;   // a read failed, and the text counts as ended there
  bool failed;        // that, or writing the log did
  uint16_t errors;    // as the log counts them
  uint16_t warnings;  // the same, which wraps
  uint64_t lines, records, comments;
};

struct Texts {
  platform::TextInput* input;
  platform::TextOutput* log;  // closed at the end; null: no log is kept
  uint16_t maxErrors = UINT16_MAX;
  reader::FindingObserver* findings = nullptr;
  reader::ProgressObserver* progress = nullptr;
};

class Analysis {
 public:
  // std::bad_alloc, as in the functions below.
  Analysis(reader::RecordSink sink, reader::OperationColumns* columns)
      : run_(std::make_unique<reader::Run>(sink, columns)) {}

  // False when the input's first block cannot be read.
  bool open(const Texts& texts);
  // Reads the text and hands its records to the sink. An exception ends the reading as memory that
  // runs out does, with a summary of what was read so far; name stands in it.
  Outcome read(std::string_view name);

 private:
  std::unique_ptr<reader::Run> run_;
};

}  // namespace tavo::survey
