// The records of a complete data file as a writer's input.
#pragma once

#include <cstdint>

#include "stored_records.h"
#include "writers/build.h"

namespace tavo::tool {

// Adds the columns records that begin a section and that an analysis does not deliver: those of
// TIME_TAGGED_CODES, and of OPERATIONS behind its first section. Takes out columns that the format
// does not know. It keeps its place by the record that the walk stands on and whether it is still
// in front of it, at an added one.
class CompleteSource final : public writers::RecordSource {
 public:
  explicit CompleteSource(StoredRecords& records) : records_(records) {}
  uint16_t fetch(uint32_t mode, uint32_t* recordType, void** record) override;

 private:
  struct Current {
    uint32_t type = 0;  // 0: none
    uint32_t block = 0;
    void* record = nullptr;
  };

  uint16_t move(uint32_t mode);
  RecordType missingColumns(const Current& before) const;
  uint16_t deliver(uint32_t* recordType, void** record);
  uint16_t deliverColumns(RecordType columns, uint32_t* recordType, void** record);

  StoredRecords& records_;
  Current current_;
  bool inFront_ = false;
  ColumnsRecord columns_ = {};           // the columns record last delivered
  ColumnsRecord operationColumns_ = {};  // as the file has them
  bool operationsKnown_ = false;
};

}  // namespace tavo::tool
