// Walking along a data file that may be damaged.
#include "stored_records.h"

#include "console.h"
#include "files.h"

namespace tavo::tool {

namespace {

// A record and its index entries take more bytes than this for each of the three times that a
// writer may pass it.
constexpr uint64_t kBytesPerStep = 4;

// The store puts the engine's code, for which -1 is the end of the records, into the high half.
bool isEnd(uint32_t status) {
  return TVO_CODE(status) == TVO_ERR_STORE && static_cast<int16_t>(status >> 16) == -1;
}

}  // namespace

bool StoredRecords::open(const std::string& path) {
  path_ = path;
  std::string problem = dataFileProblem(path);
  if (problem.empty() && TVO_CODE(store_.openDataFile(path.c_str())) != TVO_OK) {
    problem = "cannot open the data file '" + path + "'";
  }
  if (!problem.empty()) {
    complain(problem);
    return false;
  }
  limit_ = static_cast<uint64_t>(fileSize(path)) / kBytesPerStep;
  return true;
}

uint16_t StoredRecords::fetch(uint32_t mode, uint32_t* recordType, void** record) {
  const uint32_t onward = mode == TVO_PREVIOUS ? TVO_PREVIOUS : TVO_NEXT;
  for (; ++steps_ <= limit_; mode = onward) {
    const uint32_t status = store_.read(mode, recordType, record);
    if (TVO_CODE(status) == TVO_ERR_RECORD_TYPE) {
      missed_ = true;
      continue;
    }
    if (status != TVO_OK && !isEnd(status)) damaged_ = true;
    return TVO_CODE(status);
  }
  damaged_ = true;
  return TVO_ERR_STORE;
}

bool StoredRecords::complainAtEnd() const {
  if (damaged_) complain("'" + path_ + "' is damaged (see 'tavo verify')");
  if (missed_) complain("'" + path_ + "' keeps time-tagged codes, which it cannot give back");
  return damaged_;
}

}  // namespace tavo::tool
