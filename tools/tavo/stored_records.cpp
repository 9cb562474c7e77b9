// Walking along a data file that may be damaged.
#include "stored_records.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "console.h"
#include "files.h"
#include "text.h"

namespace tavo::tool {

namespace {

// A record and its index entries take more bytes than this for each of the three times that a
// writer may pass it.
constexpr uint64_t kBytesPerStep = 4;

bool isTextByte(unsigned char byte) {
  return byte >= ' ' || std::strchr("\t\n\f\r\x1A", byte) != nullptr;
}

// The first bytes of a file.
std::string headOf(const ReadFile& file) {
  std::string head(512, '\0');
  const int64_t read = file.isOpen() ? file.read(head.data(), head.size()) : 0;
  head.resize(static_cast<size_t>(std::max<int64_t>(read, 0)));
  return head;
}

}  // namespace

bool isDataFile(const std::string& path) {
  if (isStream(path) || tavo_path_kind(path.c_str(), nullptr) != TAVO_PATH_FILE) return false;
  const std::string head = headOf(ReadFile(path));
  return tavo_is_data_file(head.data(), head.size()) != 0;
}

std::string storedProblem(const std::string& path) {
  if (isStream(path)) return "a data file is no stream, it needs a name";
  const ReadFile file(path);
  if (!file.isOpen()) {
    return file.reason() == TAVO_REASON_HELD
               ? "another program holds the data file '" + path + "' open"
               : "cannot read " + file.problem();
  }
  const std::string head = headOf(file);
  if (head.empty()) return "'" + path + "' is empty, not a data file";
  if (tavo_is_data_file(head.data(), head.size()) != 0) return {};
  const bool text = std::all_of(head.begin(), head.end(),
                                [](char c) { return isTextByte(static_cast<unsigned char>(c)); });
  return "'" + path + "' is " + (text ? "a text, " : "") + "not a data file" +
         (text ? " (see 'tavo check')" : "");
}

ExitStatus StoredRecords::open(const std::string& path, Use use, bool force) {
  path_ = path;
  std::string problem = storedProblem(path);
  if (problem.empty() && tavo_store_verify(path.c_str(), nullptr, nullptr, &verified_) != TAVO_OK) {
    problem = "reading '" + path + "' failed";
  }
  if (!problem.empty()) {
    complain(problem);
    return kFailed;
  }
  needsColumns_ = use == Use::kText && verified_.findings > 0;
  limit_ = verified_.file_size / kBytesPerStep;
  tavo_store_options options = TAVO_STORE_OPTIONS_INIT;
  options.mode = TAVO_STORE_READ_ONLY;
  tavo_store* store = nullptr;
  const bool opened = tavo_store_open(&store, path.c_str(), &options) == TAVO_OK;
  store_.reset(store);
  if (opened && (force || verified_.findings == 0)) return kSound;

  tavo_record record{};
  for (uint32_t move = TVO_FIRST; opened && fetch(move, &record) == TAVO_OK;) move = TVO_NEXT;
  complainOfLosses();
  if (delivered_ > 0) complain("nothing was written; use --force to write these records");
  return kFindings;
}

tavo_status StoredRecords::fetch(uint32_t move, tavo_record* record) {
  const bool back = move == TVO_PREVIOUS;
  if (move == TVO_FIRST) place_ = 0;
  for (; ++steps_ <= limit_; move = back ? TVO_PREVIOUS : TVO_NEXT) {
    const tavo_status status = tavo_store_read(store_.get(), move, record);
    if (status != TAVO_OK && tavo_store_on_record(store_.get()) == 0) {
      // Where a walk ended, the way back begins at the record that it passed last.
      place_ = back ? 0 : furthest_ + 1;
      return status;
    }
    const bool good = status == TAVO_OK && usable(record->type);
    place_ = back ? place_ - 1 : place_ + 1;
    if (place_ > furthest_) {
      furthest_ = place_;
      delivered_ += good ? 1 : 0;
    }
    if (good) return status;
  }
  return TVO_ERR_STORE;
}

bool StoredRecords::usable(uint32_t type) {
  delivers_[type] = true;
  const tavo_schema_block* const block = tavo_schema_block_of(type);
  return !needsColumns_ || block->columns_type == type || delivers_[block->columns_type];
}

uint64_t StoredRecords::total() const {
  return std::max(verified_.records, verified_.records_counted);
}

uint64_t StoredRecords::notReturnable() const {
  return verified_.records_by_type[TVO_RECORD_TIME_TAGGED_CODES];
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
