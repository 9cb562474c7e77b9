// Repair of data files of both kinds: what can be saved of a damaged one goes into a new one.
#pragma once

#include <array>
#include <cstdint>

#include "platform/file.h"
#include "schema/limits.h"
#include "store/data_file.h"

namespace tavo::store {

struct RepairReport {
  using Counts = std::array<uint32_t, schema::kRecordTypes>;

  FileKind kind = FileKind::kCompatible;
  // By record type; type 0 stands for one that is not known any more.
  Counts found{};    // and written
  Counts damaged{};  // were there and are not sound
  Counts twice{};    // found again under the same number; written only if they differ
  // Records that the file's header counts and nothing else tells of. The header may be wrong.
  uint32_t untraced = 0;
  bool read = false;  // there is something to save; what fails then is the new file

  uint32_t total(const Counts& counts) const;
  bool complete() const { return total(damaged) == 0 && untraced == 0; }
};

// Makes a new data file of all records of another one whose packed form is sound, with keys and
// counts of their own, in the order in which they stood; nothing else of the old file needs to be
// sound, its header neither. Of equal copies of one record one is taken.
// 0 when the new file is written, whatever is missing in it; else the engine's code: the old file
// cannot be read or holds no record at all (engine::kBadSignature), or the new one, where there
// must be none, cannot be written (then it may be there in part). std::bad_alloc gives
// engine::kNoMemory. Each damaged record and each that was found twice is reported.
int repairDataFile(const char* from, const char* to, const FindingReport& report,
                   RepairReport* counts,
                   platform::FileSystem& files = platform::nativeFileSystem());

}  // namespace tavo::store
