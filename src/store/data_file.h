// Looks at a data file from outside: recognises it by its signature, and checks that everything in
// it is in order.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

#include "platform/file.h"
#include "schema/limits.h"

namespace tavo::store {

// Whether a file that begins with these bytes carries a data file's signature words.
bool hasDataFileSignature(const void* bytes, size_t size);

// Whether the file carries a data file's signature words; false also when it can't be read.
bool isDataFile(const char* path, platform::FileSystem& files = platform::nativeFileSystem());

// What a data file is like.
struct DataFileStatistics {
  uint64_t fileSize = 0;    // bytes
  uint64_t roomAhead = 0;   // bytes of it behind the counted pages, allocated ahead and still zero
  uint32_t height = 0;      // levels of the tree, 1 for a single leaf
  uint32_t pagesInUse = 0;  // the rest of pagesInFile is held in reserve
  uint32_t pagesInFile = 0;
  uint32_t leafPages = 0;
  uint32_t innerPages = 0;
  double fillFactor = 0;        // bytes used of the room in those pages, 0 to 1
  uint32_t records = 0;         // that are there as a whole
  uint32_t recordsCounted = 0;  // that the header counts
  uint32_t freeNumbers = 0;     // record numbers waiting for reuse
  std::array<uint32_t, schema::kRecordTypes> recordsByType{};
  bool keysCompared = false;  // with the records, which needs all pages
  uint32_t findings = 0;
};

// Receives one finding as text with the page or record number that it is about.
using FindingReport = std::function<void(const std::string& finding)>;

// Checks pages, chains, counts and order, that every record is of a known type, stands under its
// type's sort code and has each of its keys exactly once, that the indexes hold nothing else, and
// that nothing but zeroes stands behind the pages that the header counts.
// 0 when the check came to its end, whatever it found; else the engine's code with which the file
// could not be read as a data file (engine::kBadSignature, a failed open or read).
int verifyDataFile(const char* path, const FindingReport& report, DataFileStatistics* statistics,
                   platform::FileSystem& files = platform::nativeFileSystem());

}  // namespace tavo::store
