// The records of a data file in stored order, for printing and for building a text.
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "store/complete_store.h"
#include "store/data_file.h"
#include "store/record_store.h"
#include "verbs.h"
#include "writers/build.h"

namespace tavo::tool {

// Why a file cannot be used as a data file, with what it is instead; an empty text when it can.
std::string storedProblem(const std::string& path);

// Passes over records that cannot be read and over those that a data file keeps but cannot give
// back, and counts what it delivers.
class StoredRecords final : public writers::RecordSource {
 public:
  // A text cannot show data records whose columns record is lost, so for it they are passed over.
  enum class Use { kPrint, kText };

  // Verifies the data file and opens it. kFailed, with a complaint, when it is none; kFindings,
  // with a complaint that says how much of it can be read, when it is damaged and `force` not set.
  ExitStatus open(const std::string& path, Use use, bool force);
  uint16_t fetch(uint32_t mode, uint32_t* recordType, void** record) override;
  // Whether the data file keeps every record in the order of its text.
  bool complete() const { return verified_.kind == store::FileKind::kComplete; }
  // Of a complete one, the running number of the block of the record last delivered.
  uint32_t block() const { return block_; }

  // For the end of a walk: whether records were missed, with a complaint that says how many.
  bool complainOfLosses() const;
  // Whether some of them were missed, or may be wrong, because the file is damaged.
  bool damaged() const;

 private:
  bool openStore();
  uint16_t move(uint32_t mode, uint32_t* recordType, void** record);
  bool onRecord() const;
  bool usable(RecordType type);
  uint64_t total() const;
  uint64_t notReturnable() const;

  std::string path_;
  store::RecordStore store_;  // a data file is open in one of the two
  store::CompleteStore completeStore_;
  uint32_t block_ = 0;
  store::DataFileStatistics verified_;
  bool needsColumns_ = false;                          // of a damaged file
  std::array<bool, schema::kRecordTypes> delivers_{};  // record types so far
  uint64_t steps_ = 0;
  uint64_t limit_ = 0;      // steps that a sound file of this size can need
  uint64_t place_ = 0;      // of the record last moved to, 1 for the first
  uint64_t furthest_ = 0;   // place up to which records are counted
  uint64_t delivered_ = 0;  // different records
};

}  // namespace tavo::tool
