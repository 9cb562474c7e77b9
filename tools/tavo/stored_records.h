// The records of a data file in stored order, for printing and for building a text.
#pragma once

#include <cstdint>
#include <string>

#include "store/record_store.h"
#include "writers/build.h"

namespace tavo::tool {

// Passes over records that a data file keeps but cannot give back.
class StoredRecords final : public writers::RecordSource {
 public:
  // False, with a complaint, when it is no data file that can be opened.
  bool open(const std::string& path);
  uint16_t fetch(uint32_t mode, uint32_t* recordType, void** record) override;

  // Complains when records were missed; true when that is because the file is damaged.
  bool complainAtEnd() const;

 private:
  std::string path_;
  store::RecordStore store_;
  uint64_t steps_ = 0;
  uint64_t limit_ = 0;  // steps that a sound file of this size can need
  bool missed_ = false;
  bool damaged_ = false;
};

}  // namespace tavo::tool
