// The records of a data file in stored order, for printing and for building a text.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>

#include "tavo/survey.h"
#include "tavo/tavo.h"
#include "verbs.h"

namespace tavo::tool {

struct CloseStore {
  void operator()(tavo_store* store) const { tavo_store_close(store); }
};
using Store = std::unique_ptr<tavo_store, CloseStore>;

// Whether the path leads to a data file.
bool isDataFile(const std::string& path);
// Why a file cannot be used as a data file, with what it is instead; an empty text when it can.
std::string storedProblem(const std::string& path);

// Passes over records that cannot be read and over those that a data file keeps but cannot give
// back, and counts what it delivers.
class StoredRecords {
 public:
  // A text cannot show data records whose columns record is lost, so for it they are passed over.
  enum class Use { kPrint, kText };

  // Verifies the data file and opens it. kFailed, with a complaint, when it is none; kFindings,
  // with a complaint that says how much of it can be read, when it is damaged and `force` not set.
  ExitStatus open(const std::string& path, Use use, bool force);
  // As a tavo_source_fn.
  tavo_status fetch(uint32_t move, tavo_record* record);

  // For the end of a walk: whether records were missed, with a complaint that says how many.
  bool complainOfLosses() const;
  // Whether some of them were missed, or may be wrong, because the file is damaged.
  bool damaged() const;

 private:
  bool usable(uint32_t type);
  uint64_t total() const;
  uint64_t notReturnable() const;

  std::string path_;
  Store store_;
  tavo_store_statistics verified_ = TAVO_STORE_STATISTICS_INIT;
  bool needsColumns_ = false;         // of a damaged file
  std::array<bool, 256> delivers_{};  // record types so far
  uint64_t steps_ = 0;
  uint64_t limit_ = 0;      // steps that a sound file of this size can need
  uint64_t place_ = 0;      // of the record last moved to, 1 for the first
  uint64_t furthest_ = 0;   // place up to which records are counted
  uint64_t delivered_ = 0;  // different records
};

}  // namespace tavo::tool
