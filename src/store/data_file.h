// Looks at a data file from outside: recognises it by its signature, and checks that everything in
// it is in order.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "platform/file.h"
#include "schema/limits.h"
#include "store/record_form.h"

namespace tavo::engine {
struct VerifyFinding;
}

namespace tavo::store {

// Whether a file that begins with these bytes carries a data file's signature words.
bool hasDataFileSignature(const void* bytes, size_t size);

// Whether the file carries a data file's signature words; false also when it can't be read.
bool isDataFile(const char* path, platform::FileSystem& files = platform::nativeFileSystem());

// Its kind, by the key type of its index 1; none when it is no data file.
std::optional<FileKind> dataFileKind(const char* path,
                                     platform::FileSystem& files = platform::nativeFileSystem());

// What a data file is like.
struct DataFileStatistics {
  FileKind kind = FileKind::kCompatible;
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

// Something that is wrong in a data file, and where.
struct DataFileFinding {
  int32_t page;       // -1: no single page's
  int32_t record;     // number of the record, of a page's finding its first one; 0: none
  RecordType type;    // of that record; 0: not known
  uint32_t block;     // of that record, in a complete data file; 0: not known
  std::string text;   // one sentence that names all of these
  bool note = false;  // nothing is wrong
};
DataFileFinding findingOf(const engine::VerifyFinding& found);
using FindingReport = std::function<void(const DataFileFinding& finding)>;

// Checks pages, chains, counts and order, that every record is of a known type, stands under its
// type's sort code and has each of its keys exactly once, that the indexes hold nothing else, and
// that nothing but zeroes stands behind the pages that the header counts.
// 0 when the check came to its end, whatever it found; else the engine's code with which the file
// could not be read as a data file (engine::kBadSignature, a failed open or read).
int verifyDataFile(const char* path, const FindingReport& report, DataFileStatistics* statistics,
                   platform::FileSystem& files = platform::nativeFileSystem());

}  // namespace tavo::store
