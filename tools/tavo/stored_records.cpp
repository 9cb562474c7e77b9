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

const char* kindName(uint32_t kind) {
  return kind == TAVO_STORE_COMPLETE ? "complete" : "compatible";
}

bool isDataFile(const std::string& path) {
  if (isStream(path) || tavo_path_kind(path.c_str(), nullptr) != TAVO_PATH_FILE) return false;
  const std::string head = headOf(ReadFile(path));
  return tavo_is_data_file(head.data(), head.size()) != 0;
}

InputKind inputKind(const std::string& path) {
  InputKind kind{isStream(path) ? streamHead() : std::string(), false};
  kind.stored = isDataFile(path) || tavo_is_data_file(kind.head.data(), kind.head.size()) != 0;
  return kind;
}

std::string storedProblem(const DataFileInput& input) {
  const std::string& name = input.name();
  const ReadFile file(input.path());
  if (!file.isOpen()) {
    return file.reason() == TAVO_REASON_HELD
               ? "another program holds the data file '" + name + "' open"
               : "cannot read " + openProblem(name, file.reason());
  }
  const std::string head = headOf(file);
  if (head.empty()) return "'" + name + "' is empty, not a data file";
  if (tavo_is_data_file(head.data(), head.size()) != 0) return {};
  const bool text = std::all_of(head.begin(), head.end(),
                                [](char c) { return isTextByte(static_cast<unsigned char>(c)); });
  return "'" + name + "' is " + (text ? "a text, " : "") + "not a data file" +
         (text ? " (see 'tavo check')" : "");
}

ExitStatus StoredRecords::open(const DataFileInput& file, Use use, bool force) {
  name_ = file.name();
  const char* const path = file.path().c_str();
  std::string problem = storedProblem(file);
  if (problem.empty() && tavo_store_verify(path, nullptr, nullptr, &verified_) != TAVO_OK) {
    problem = "reading '" + name_ + "' failed";
  }
  if (!problem.empty()) {
    complain(problem);
    return kFailed;
  }
  needsColumns_ = use == Use::kText && (force || verified_.findings > 0);
  limit_ = verified_.file_size / kBytesPerStep;
  tavo_store_options options = TAVO_STORE_OPTIONS_INIT;
  options.mode = TAVO_STORE_READ_ONLY;
  tavo_store* store = nullptr;
  const bool opened = tavo_store_open(&store, path, &options) == TAVO_OK;
  store_.reset(store);
  if (opened && verified_.findings == 0) return kSound;

  tavo_record record{};
  for (uint32_t move = TVO_FIRST; opened && fetch(move, &record) == TAVO_OK;) move = TVO_NEXT;
  counted_ = true;
  steps_ = 0;
  if (opened && force) return kSound;
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
    const bool good = status == TAVO_OK && usable(*record);
    place_ = back ? place_ - 1 : place_ + 1;
    if (place_ > furthest_) {
      furthest_ = place_;
      delivered_ += good && !counted_ ? 1 : 0;
    }
    if (good) return status;
  }
  return TVO_ERR_STORE;
}

// A writer adds the columns records of OPERATIONS and TIME_TAGGED_CODES of a complete file.
bool StoredRecords::usable(const tavo_record& record) {
  if (!needsColumns_) return true;
  const tavo_schema_block* const block = tavo_schema_block_of(record.type);
  const std::pair columns(block->columns_type, record.block);
  if (block->columns_type == record.type) columns_.insert(columns);
  const bool added =
      complete() && (block->kind == TAVO_BLOCK_OPERATIONS || block->kind == TAVO_BLOCK_TIME_TAGGED);
  return added || columns_.contains(columns);
}

uint64_t StoredRecords::total() const {
  return std::max(verified_.records, verified_.records_counted);
}

uint64_t StoredRecords::notReturnable() const {
  return complete() ? 0 : verified_.records_by_type[TVO_RECORD_TIME_TAGGED_CODES];
}

bool StoredRecords::damaged() const {
  return verified_.findings > 0 || delivered_ + notReturnable() != total();
}

bool StoredRecords::complainOfLosses() const {
  const std::string count = std::to_string(delivered_) + " of " + counted(total(), "record");
  if (verified_.findings > 0) {
    complain("'" + name_ + "' is damaged (" + counted(verified_.findings, "finding") +
             ", see 'tavo verify'): " + count + " can be read");
  } else if (damaged()) {
    complain("reading '" + name_ + "' failed: " + count + " were read");
  } else if (notReturnable() > 0) {
    complain("'" + name_ + "': " + count + "; a data file cannot give back the others, which are " +
             "time-tagged codes");
  }
  return damaged() || notReturnable() > 0;
}

}  // namespace tavo::tool
