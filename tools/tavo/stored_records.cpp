// Walking along a data file that may be damaged.
#include "stored_records.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "console.h"
#include "files.h"
#include "schema/catalogue.h"
#include "text.h"

namespace tavo::tool {

namespace {

// A record and its index entries take more bytes than this for each of the three times that a
// writer may pass it.
constexpr uint64_t kBytesPerStep = 4;

bool isTextByte(unsigned char byte) {
  return byte >= ' ' || std::strchr("\t\n\f\r\x1A", byte) != nullptr;
}

}  // namespace

std::string storedProblem(const std::string& path) {
  std::string problem = dataFileProblem(path);
  if (problem.empty() || fileKind(path) != FileKind::kRegular) return problem;
  std::FILE* const file = std::fopen(path.c_str(), "rb");
  if (file == nullptr) return problem;
  unsigned char bytes[512];
  const size_t size = std::fread(bytes, 1, sizeof bytes, file);
  std::fclose(file);
  if (size == 0) return "'" + path + "' is empty, not a data file";
  if (store::hasDataFileSignature(bytes, size)) {
    return "another program holds the data file '" + path + "' open";
  }
  const bool text = std::all_of(bytes, bytes + size, isTextByte);
  return "'" + path + "' is " + (text ? "a text, " : "") + "not a data file" +
         (text ? " (see 'tavo check')" : "");
}

ExitStatus StoredRecords::open(const std::string& path, Use use, bool force) {
  path_ = path;
  std::string problem = storedProblem(path);
  if (problem.empty()) {
    if (const int code = store::verifyDataFile(path.c_str(), nullptr, &verified_); code != 0) {
      problem = "reading '" + path + "' failed (engine code " + std::to_string(code) + ")";
    }
  }
  if (!problem.empty()) {
    complain(problem);
    return kFailed;
  }
  needsColumns_ = use == Use::kText && verified_.findings > 0;
  limit_ = verified_.fileSize / kBytesPerStep;
  const bool opened = openStore();
  if (opened && (force || verified_.findings == 0)) return kSound;

  uint32_t type = 0;
  void* record = nullptr;
  for (uint32_t mode = TVO_FIRST; opened && fetch(mode, &type, &record) == TVO_OK;) mode = TVO_NEXT;
  complainOfLosses();
  if (delivered_ > 0) complain("nothing was written; use --force to write these records");
  return kFindings;
}

bool StoredRecords::openStore() {
  const uint32_t status =
      complete() ? completeStore_.open(path_.c_str(), store::CompleteStore::Access::kReadOnly)
                 : store_.openDataFile(path_.c_str());
  return TVO_CODE(status) == TVO_OK;
}

uint16_t StoredRecords::move(uint32_t mode, uint32_t* recordType, void** record) {
  if (!complete()) return TVO_CODE(store_.read(mode, recordType, record));
  store::CompleteRecord found = {};
  const uint16_t code = TVO_CODE(completeStore_.read(mode, &found));
  *recordType = found.type;
  *record = const_cast<void*>(found.bytes);
  block_ = found.block;
  return code;
}

bool StoredRecords::onRecord() const {
  return complete() ? completeStore_.onRecord() : store_.onRecord();
}

uint16_t StoredRecords::fetch(uint32_t mode, uint32_t* recordType, void** record) {
  const bool back = mode == TVO_PREVIOUS;
  if (mode == TVO_FIRST) place_ = 0;
  for (; ++steps_ <= limit_; mode = back ? TVO_PREVIOUS : TVO_NEXT) {
    const uint16_t code = move(mode, recordType, record);
    if (code != TVO_OK && !onRecord()) {
      // Where a walk ended, the way back begins at the record that it passed last.
      place_ = back ? 0 : furthest_ + 1;
      return code;
    }
    const bool good = code == TVO_OK && usable(*recordType);
    place_ = back ? place_ - 1 : place_ + 1;
    if (place_ > furthest_) {
      furthest_ = place_;
      delivered_ += good ? 1 : 0;
    }
    if (good) return code;
  }
  return TVO_ERR_STORE;
}

bool StoredRecords::usable(RecordType type) {
  delivers_[type] = true;
  return !needsColumns_ || schema::recordDef(type).columns || delivers_[schema::columnsOf(type)];
}

uint64_t StoredRecords::total() const {
  return std::max(verified_.records, verified_.recordsCounted);
}

uint64_t StoredRecords::notReturnable() const {
  return complete() ? 0 : verified_.recordsByType[TVO_RECORD_TIME_TAGGED_CODES];
}

bool StoredRecords::damaged() const {
  return verified_.findings > 0 || delivered_ + notReturnable() != total();
}

bool StoredRecords::complainOfLosses() const {
  const std::string count = std::to_string(delivered_) + " of " + counted(total(), "record");
  if (verified_.findings > 0) {
    complain("'" + path_ + "' is damaged (" + counted(verified_.findings, "finding") +
             ", see 'tavo verify'): " + count + " can be read");
  } else if (damaged()) {
    complain("reading '" + path_ + "' failed: " + count + " were read");
  } else if (notReturnable() > 0) {
    complain("'" + path_ + "': " + count + "; a data file cannot give back the others, which are " +
             "time-tagged codes");
  }
  return damaged() || notReturnable() > 0;
}

}  // namespace tavo::tool
