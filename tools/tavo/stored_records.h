// The records of a data file in stored order, for printing and for building a text.
#pragma once

#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <utility>

#include "files.h"
#include "tavo/survey.h"
#include "tavo/tavo.h"
#include "verbs.h"

namespace tavo::tool {

struct CloseStore {
  void operator()(tavo_store* store) const { tavo_store_close(store); }
};
using Store = std::unique_ptr<tavo_store, CloseStore>;

// "complete" or "compatible".
const char* kindName(uint32_t kind);
// Whether the path leads to a data file.
bool isDataFile(const std::string& path);
// What a path or the standard input leads to; `head` was read of the latter already.
struct InputKind {
  std::string head;
  bool stored;
};
InputKind inputKind(const std::string& path);
// Why a file cannot be used as a data file, with what it is instead; an empty text when it can.
std::string storedProblem(const DataFileInput& input);

// Passes over records that cannot be read and over those that a data file keeps but cannot give
// back, and counts what it delivers.
class StoredRecords {
 public:
  // A text cannot show data records whose columns record is lost; of a damaged file, and by force,
  // they are passed over for it.
  enum class Use { kPrint, kText };

  // Verifies the data file and opens it. kFailed, with a complaint, when it is none; kFindings,
  // with a complaint that says how much of it can be read, when it is damaged and `force` not set.
  // The file must live as long as this.
  ExitStatus open(const DataFileInput& file, Use use, bool force);
  // Whether it is a complete one.
  bool complete() const { return verified_.kind == TAVO_STORE_COMPLETE; }
  // As a tavo_source_fn.
  tavo_status fetch(uint32_t move, tavo_record* record);

  // For the end of a walk: whether records were missed, with a complaint that says how many.
  bool complainOfLosses() const;
  // Whether some of them were missed, or may be wrong, because the file is damaged.
  bool damaged() const;

 private:
  bool usable(const tavo_record& record);
  uint64_t total() const;
  uint64_t notReturnable() const;

  std::string name_;
  Store store_;
  tavo_store_statistics verified_ = TAVO_STORE_STATISTICS_INIT;
  bool needsColumns_ = false;
  // Columns records so far: type and, in a complete file, block.
  std::set<std::pair<uint32_t, uint32_t>> columns_;
  uint64_t steps_ = 0;
  uint64_t limit_ = 0;      // steps that a sound file of this size can need
  uint64_t place_ = 0;      // of the record last moved to, 1 for the first
  uint64_t furthest_ = 0;   // place up to which records are counted
  uint64_t delivered_ = 0;  // different records
  // Of a damaged file they are counted beforehand, since a step back need not lead to the record
  // that was passed last.
  bool counted_ = false;
};

}  // namespace tavo::tool
