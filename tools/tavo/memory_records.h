// Records of an analysis kept in memory, and their replay to a writer.
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "tavo/records.h"
#include "writers/build.h"

namespace tavo::tool {

// Drops columns without a name, and repeated ones, from a columns record: EXTRAINFO blocks may list
// a column more often than a definition has room for. A list of nothing else stays, since a block
// has at least one column.
void dropNeedlessColumns(char* bytes);

class MemoryRecords {
 public:
  // Keeps a copy, with the values of a time-tagged code. std::bad_alloc when memory runs out.
  void append(RecordType type, const void* record);

  size_t size() const { return records_.size(); }
  RecordType type(size_t i) const { return records_[i].type; }
  const void* record(size_t i) const { return records_[i].bytes; }

  // Makes the records of an analysis a writer's input: adds the columns records that begin a
  // section and that an analysis does not deliver (those of TIME_TAGGED_CODES, and of OPERATIONS
  // after its first appearance), and takes out columns that the format does not know, which have no
  // values.
  void prepareForWriting();

 private:
  static constexpr size_t kChunk = 1U << 20;

  struct Entry {
    RecordType type;
    char* bytes;
  };

  char* allocate(size_t size);
  Entry copy(RecordType type, const void* record);

  std::vector<std::unique_ptr<char[]>> chunks_;
  size_t used_ = kChunk;
  std::vector<Entry> records_;
};

// Delivers the records in their order, forward and backward.
class MemorySource final : public writers::RecordSource {
 public:
  explicit MemorySource(const MemoryRecords& records) : records_(records) {}
  uint16_t fetch(uint32_t mode, uint32_t* recordType, void** record) override;

 private:
  const MemoryRecords& records_;
  size_t next_ = 0;  // position behind the current record; 0: before the first one
};

}  // namespace tavo::tool
