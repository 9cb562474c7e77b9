// The record store: keeps the library's records in one data file, each under its record type, and
// hands them out again section by section.
#pragma once

#include <cstdint>

#include "platform/file.h"
#include "store/form_store.h"
#include "tavo/records.h"
#include "tavo/tavo.h"

namespace tavo::store {

// One data file with its path, page cache and value buffers.
//
// The current record is the one last written, found or moved to; remove() leaves none.
class RecordStore : public FormStore {
 public:
  // Page buffers are those of the engine; more of them make a larger file faster.
  explicit RecordStore(platform::FileSystem& files = platform::nativeFileSystem(),
                       unsigned buffers = engine::PageCache::kDefaultBuffers);

  // Stores a record as the current one; starts a new, empty data file when none is open.
  // 0, 5 (type not storable), 2561, 2564, 2569 (already stored), 2572, or the engine's code.
  uint32_t write(RecordType type, const void* record);

  // Moves (TVO_CURRENT to TVO_LAST) along the sort codes and delivers the record's type and the
  // value buffer of its structure, which the next operation overwrites. Either place may be null.
  // 0, 2560 (no record there), 2561 (type unknown), 2564, 2567 (unreadable).
  uint32_t read(uint32_t move, RecordType* type, void** record);

  // Makes the first record with the key that `record` has in the lookup's index the current one
  // and copies it to `record`. 0, 5, 2561, 2562 (lookup not offered), 2564, 2567, 2570 (none).
  uint32_t find(RecordType type, void* record, Lookup lookup = kBySortCode);

  // Replaces the current record by `record`, of the stored type. 0, 2560, 2561, 2564, or the
  // engine's code.
  uint32_t update(const void* record);

  // Deletes the current record and copies it to `record`, which may be null. 0, 2560, 2561, 2564,
  // or the engine's code.
  uint32_t remove(void* record);

  // Takes the path and creates a new, empty data file there. 0, 2565 (a file is open), 2571.
  uint32_t setDataFile(const char* path);

  // Takes the path and opens the data file there, after closing one of another path. 0, 2564.
  uint32_t openDataFile(const char* path, platform::Access access = platform::Access::kReadWrite);

  // Always 0.
  uint32_t closeDataFile();

  // Creates a new, empty data file at the path, in place of the one there. 0, 2564.
  uint32_t createDefault();

  // Opens the data file at the path. 0, 2564, 2565 (open already).
  uint32_t openExisting(platform::Access access = platform::Access::kReadWrite);

  // Number of stored records, 0 without an open file.
  uint32_t count() const { return isOpen() ? file_.recordCount() : 0; }

  const char* path() const { return path_.data(); }

 private:
  uint32_t openOnDemand();
  uint32_t checkWrite(RecordType type, const void* record);
  engine::Options options() const;

  platform::FileSystem& files_;
  Path path_;
};

}  // namespace tavo::store
