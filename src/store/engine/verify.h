// Walks a whole store file with a reader of its own and reports everything that does not hold.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

#include "platform/file.h"
#include "store/engine/engine.h"

namespace tavo::engine {

struct VerifyReport {
  // What the file is like. Height counts levels, 1 for a single leaf.
  std::uint64_t fileSize = 0;  // bytes, of those that a store can reach
  std::uint32_t height = 0;
  std::uint32_t pagesInUse = 0;    // by the header
  std::uint32_t pagesInFile = 0;   // by the header
  std::uint32_t leafPages = 0;     // reached from the root
  std::uint32_t innerPages = 0;    // reached from the root
  std::uint64_t bytesUsed = 0;     // entry bytes in those pages
  std::uint32_t records = 0;       // complete records
  std::uint32_t recordCount = 0;   // by the header
  std::uint32_t freeNumbers = 0;   // record numbers waiting for reuse
  std::uint64_t entries[21] = {};  // leaf entries by index number
  std::uint64_t roomAhead = 0;     // bytes behind the counted pages, all of them zero: no finding
  bool keysCompared = false;       // with the records; not where some of either are missing
  std::uint32_t findings = 0;

  // Bytes used of the room that the pages in use have, 0 to 1.
  double fillFactor() const;
};

// One violated invariant.
struct VerifyFinding {
  std::int32_t page = -1;   // -1 when it is no single page's
  std::int32_t record = 0;  // the record that it is about, of a page its first; 0: none
  std::uint8_t type = 0;    // of that record, 0 where it is not known
  std::uint32_t label = 0;  // the caller's, of that record
  std::string what;
};

struct VerifyHooks {
  // Called at the end of the walk, when all records are known.
  std::function<void(const VerifyFinding& finding)> finding;
  // A number of the caller's by which findings name a record that fits its field list. Optional.
  std::function<std::uint32_t(std::uint8_t type, const std::uint8_t* packed, std::size_t size)>
      label;
  // A complete record: its number, type byte and packed form. Optional.
  std::function<void(std::int32_t number, std::uint8_t type, const std::uint8_t* packed,
                     std::size_t size)>
      record;
  // The field list of a record type (values may be null), or null when unknown. When given, every
  // record must have each of its keys exactly once, and the indexes no others. This is compared
  // when every page in use can be read.
  std::function<const Field*(std::uint8_t type)> fields;
};

// Bytes of a file, of those that a store can reach.
std::uint64_t measure(platform::File& file);

// 0 when the walk came to its end, whatever it found; else the Code with which the file could not
// be read as a store file. The index list is needed when an index has key type 8.
int verify(const char* path, VerifyReport& report, const VerifyHooks& hooks,
           const IndexDef* indexes = nullptr,
           platform::FileSystem& files = platform::nativeFileSystem());

}  // namespace tavo::engine
