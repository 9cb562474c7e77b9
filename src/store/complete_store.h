// The complete data file: keeps every record that a text delivers, in the order of the file, with
// its block, its line and the fields that it gave, and hands it out again the same way.
#pragma once

#include <cstdint>

#include "platform/file.h"
#include "store/form_store.h"
#include "tavo/records.h"
#include "tavo/tavo.h"

namespace tavo::store {

// A record as an analysis delivers it.
struct CompleteRecord {
  RecordType type;
  const void* bytes;     // the packed structure; of a time-tagged code with its entries
  uint64_t line, given;  // first physical line, and the fields given, a bit for each place in the
                         //   field table of the block
  uint32_t block;        // running number of its block in the file; 0 for write(): that of the
                         //   record before, or, where this begins a block, the next one
};

// One complete data file. Nothing is refused as a duplicate: what a text delivers twice is there
// twice.
//
// The current record is the one last written, found or moved to; remove() leaves none.
class CompleteStore : public FormStore {
 public:
  enum class Access { kReadWrite, kReadOnly };

  explicit CompleteStore(platform::FileSystem& files = platform::nativeFileSystem(),
                         unsigned buffers = engine::PageCache::kDefaultBuffers);

  // Makes a new, empty file and leaves it open. 0, 2564 (also when one is there), 2565 (one is
  // open).
  uint32_t create(const char* path);
  // 0, 2564 (also for a compatible data file), 2565.
  uint32_t open(const char* path, Access access = Access::kReadWrite);
  uint32_t count() const { return isOpen() ? file_.recordCount() : 0; }

  // Appends a record; it becomes the current one. Records of one block may come in several runs,
  // with those of blocks inside it in between. 0, 2561 (type unknown), 2572, or the engine's code.
  uint32_t write(const CompleteRecord& record);

  // Moves (TVO_CURRENT to TVO_LAST) along the file's order and delivers the record, whose bytes the
  // next operation overwrites. 0, 2560 (no record there), 2561, 2564 (not open), 2567 (unreadable).
  uint32_t read(uint32_t move, CompleteRecord* record);

  // Makes the first record of the type that has the key of `key`, a record of the type, the current
  // one and delivers it: by list number, number or identifier in the order in which they were
  // written, by sort code the first of the type in the file, which takes a walk. 0, 2561, 2562 (the
  // type has no such key), 2564, 2567, 2570 (none).
  uint32_t find(RecordType type, const void* key, Lookup lookup, CompleteRecord* record);

  // Gives the current record these values, line and fields given; its place stays. The type must be
  // its own (2561). 0, 2560, 2561, 2564, 2567 (it could not be read), or the engine's code.
  uint32_t update(const CompleteRecord& record);
  // Gives it values of its type; line and fields given stay, too.
  uint32_t update(const void* bytes);

  // Deletes the current record and copies it to `bytes`, which may be null. 0, 2560, 2564, or the
  // engine's code.
  uint32_t remove(void* bytes = nullptr);

 private:
  uint32_t findLastRun();
  uint32_t blockFor(RecordType type) const;
  uint32_t findFirst(RecordType type, CompleteRecord* record);
  uint32_t deliver(CompleteRecord* record);
  engine::Options options(int access) const;
  uint32_t change(const void* bytes, RecordType type, uint64_t line, uint64_t given);
  void load(RecordForm& form, const CompleteRecord& record, const Place& place);

  uint32_t run_ = 0, block_ = 0;  // of the record last appended
  RecordType lastType_ = 0;       // its type
  uint32_t highestBlock_ = 0;     // of those appended
  bool runKnown_ = false;
  bool newRun_ = true;  // the next one begins a run, whatever its block
  Place place_;         // of the current record, if that has the number `placed_`
  int32_t placed_ = 0;
};

}  // namespace tavo::store
