// A whole survey in memory: one contiguous array per record type with the records' lines and
// presence, the blocks in file order, the findings, and the records' order in time.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <span>
#include <string>
#include <vector>

#include "platform/growing.h"
#include "reader/run.h"
#include "schema/catalogue.h"
#include "tavo/survey.h"

namespace tavo::survey {

class SurveyData {
 public:
  SurveyData();

  // While an analysis runs: takes a record or a finding. std::bad_alloc when memory runs out.
  void append(const reader::DeliveredRecord& record);
  void append(const tavo_finding& finding);
  // Behind the last one: from now on the views below hold.
  void finish();

  const tavo_records& records(RecordType type) const {
    return views_[type < schema::kRecordTypes ? type : 0];
  }
  std::span<const tavo_records> types() const { return views_; }  // by record type
  std::span<const tavo_block> blocks() const { return blocks_; }
  std::span<const tavo_finding> findings() const { return findings_; }
  // Sorted at the first call. std::bad_alloc.
  std::span<const tavo_moment> timeline();

 private:
  struct Records {
    platform::GrowingMemory bytes, lines, given;
    size_t count = 0;
  };
  // What the views of a finding point to.
  struct FindingTexts {
    std::string text, source;
  };
  // What a block is beside its public form.
  struct BlockOrigin {
    uint32_t block;  // number of the block in the file
    size_t columns;  // place of its columns record among those of its type, or kNone
  };
  static constexpr size_t kNone = SIZE_MAX;

  void store(const reader::DeliveredRecord& record);
  void keepEntries(const uint8_t* bytes);
  void beginBlock(const reader::DeliveredRecord& record, bool columns);
  const tavo_units* inForce(const schema::Units& units);
  void listColumns(tavo_block& block, size_t columns);
  void pointToEntries();
  void addMoments(RecordType type, size_t offset);

  std::array<Records, schema::kRecordTypes> records_;  // by type
  platform::GrowingMemory entries_;                    // of the time-tagged codes
  std::array<tavo_records, schema::kRecordTypes> views_{};
  std::vector<tavo_block> blocks_;
  std::vector<BlockOrigin> origins_;  // of each of them
  std::deque<tavo_units> units_;      // as they were in force, one after the other
  // The lists of the blocks' columns records, which a packed record does not keep aligned.
  std::deque<std::vector<FieldId>> columnLists_;
  std::vector<tavo_finding> findings_;
  std::deque<FindingTexts> findingTexts_;
  std::vector<tavo_moment> timeline_;
  bool sorted_ = false;
};

}  // namespace tavo::survey
