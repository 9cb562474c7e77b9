// The records of an analysis in a temporary file, where a survey of any size is walked forward and
// backward in little memory.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "files.h"
#include "tavo/survey.h"

namespace tavo::tool {

class RecordLog {
 public:
  // Makes the file beside that path; false when that is not possible. It is gone with the object.
  bool open(const std::string& path);
  // Puts a record behind the others, without its line and presence. As a tavo_record_fn: aborts
  // when the file cannot be written.
  uint32_t append(const tavo_record& record);
  // As a tavo_source_fn, once all records are there: aborts when the file cannot be read.
  uint32_t fetch(uint32_t move, tavo_record* record);
  // Whether the file could not be written or read.
  bool failed() const { return failed_; }

 private:
  // In front of each record's bytes, of which words of zeros are left out.
  struct Head {
    uint32_t before;  // stored bytes of the record in front, with its head; 0: this is the first
    uint32_t stored;  // the same of this one
    uint32_t size;    // bytes that it has
    uint32_t type;
    uint32_t block;
  };
  struct Abandon {
    void operator()(tavo_output* output) const { tavo_output_abandon(output); }
  };

  bool flush();
  // The bytes of the file from a place on, as many as the largest record has; null on failure.
  const char* at(uint64_t place);
  bool step(uint32_t move);
  void unpack(const char* stored);

  std::unique_ptr<tavo_output, Abandon> output_;
  std::optional<ReadFile> input_;  // closed before the file is removed
  std::string piece_;  // that waits to be written, then the one of the file from pieceAt_ on
  uint64_t pieceAt_ = 0;
  uint64_t end_ = 0;             // bytes of all records
  uint64_t place_ = 0;           // of the current record; end_: behind the last one
  Head head_ = {};               // of the current record; while there is none, of the last one
  std::vector<uint64_t> words_;  // of the current record
  bool failed_ = false;
};

}  // namespace tavo::tool
