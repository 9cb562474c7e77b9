// The object interface: collects time-stamped records in memory and walks them in time order.
#include "tavo/itavo.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <utility>
#include <vector>

#include "api/guard.h"
#include "api/library.h"
#include "api/timeline.h"
#include "tavo/records.h"

namespace tavo::api {

namespace {

// The value entries of a time-tagged code, shared between the copies of its entry. The last holder
// to release it frees it.
class SharedEntries {
 public:
  // Made with one reference, and copies of count entries.
  static SharedEntries* make(const TimeTaggedEntry* entries, size_t count) {
    auto buffer = std::make_unique<TimeTaggedEntry[]>(count);
    if (count > 0) std::memcpy(buffer.get(), entries, count * sizeof *entries);
    return new SharedEntries(std::move(buffer));
  }

  virtual void AddRef() { ++references_; }
  virtual void Release() {
    if (references_-- == 1) delete this;
  }
  virtual TimeTaggedEntry* Buffer() { return buffer_.get(); }
  virtual TimeTaggedEntry* Entries() { return buffer_.get(); }

 private:
  explicit SharedEntries(std::unique_ptr<TimeTaggedEntry[]> buffer) : buffer_(std::move(buffer)) {}
  virtual ~SharedEntries() = default;

  std::unique_ptr<TimeTaggedEntry[]> buffer_;
  uint32_t references_ = 1;
};

// A code's fixed part with a reference to its entries.
class CodeEntry {
 public:
  CodeEntry() = default;
  explicit CodeEntry(const TimeTaggedRecord& record)
      : record_(record), entries_(SharedEntries::make(record.entries, record.EntryCount)) {
    record_.entries = entries_->Entries();
  }
  CodeEntry(const CodeEntry& other) : record_(other.record_), entries_(other.entries_) {
    if (entries_ != nullptr) entries_->AddRef();
  }
  CodeEntry& operator=(CodeEntry other) {
    std::swap(record_, other.record_);
    std::swap(entries_, other.entries_);
    return *this;
  }
  ~CodeEntry() {
    if (entries_ != nullptr) entries_->Release();
  }
  const TimeTaggedRecord& record() const { return record_; }

 private:
  TimeTaggedRecord record_ = {};
  SharedEntries* entries_ = nullptr;
};

// A SETUP or a SLOPE record; both begin at the same address.
union SetupEntry {
  SetupRecord setup;
  SlopeRecord slope;
};

// Kinds of entries, as the cursor reports them, and their arrays.
enum Kind : uint32_t { kPoint = 1, kSetup = 2, kCode = 3 };
constexpr size_t kArrays = 3;

// Entries in the order of their arrival, and their order in time once sorted.
struct Collection {
  Chunks<PointRecord> points;
  Chunks<SetupEntry> setups;
  Chunks<CodeEntry> codes;
  std::vector<TimeOrder> order[kArrays];

  // Notes the time of the entry that is appended next; false when the record has none.
  bool stamp(Kind kind, DateTime time) {
    if (time.year == 0) return false;
    std::vector<TimeOrder>& times = order[kind - 1];
    times.push_back({timeKey(time), static_cast<uint32_t>(times.size())});
    return true;
  }

  const void* record(Kind kind, int32_t index) const {
    const size_t entry = order[kind - 1][static_cast<size_t>(index)].entry;
    switch (kind) {
      case kPoint:
        return &points[entry];
      case kSetup:
        return &setups[entry];
      default:
        return &codes[entry].record();
    }
  }
};

class Cursor final : public TimeCursor {
 public:
  explicit Cursor(const Collection& collection) : collection_(collection) {
    for (uint32_t i = 0; i < kArrays; ++i) {
      walks_[i] = {static_cast<Kind>(i + 1), 0, static_cast<int32_t>(collection.order[i].size()),
                   kNone};
    }
  }

  uint32_t First() override {
    current_ = nullptr;
    return Next();
  }
  uint32_t Last() override {
    current_ = nullptr;
    return Previous();
  }
  uint32_t Next() override { return step(1); }
  uint32_t NextEntry() override { return Next(); }
  uint32_t Previous() override { return step(-1); }
  uint32_t PreviousEntry() override { return Previous(); }
  uint32_t IsValid() override { return current_ != nullptr ? 1 : 0; }
  uint32_t Get(const void** record) override {
    const bool valid = current_ != nullptr;
    if (record != nullptr) {
      *record = valid ? collection_.record(current_->kind, current_->index) : nullptr;
    }
    return valid ? current_->kind : 0U;
  }
  void Reserved() override {}

 private:
  static constexpr int32_t kNone = -1;

  struct Walk {
    Kind kind;
    int32_t index;
    int32_t count;
    int32_t key;  // negative: no entry here
  };

  // Entries of negative keys, which the order puts first, are absent: a walk forwards begins behind
  // them, one backwards ends before them.
  void updateKey(Walk& walk) {
    const bool inside = walk.index >= 0 && walk.index < walk.count;
    const std::vector<TimeOrder>& order = collection_.order[walk.kind - 1];
    walk.key = inside ? order[static_cast<size_t>(walk.index)].key : kNone;
  }

  int32_t firstIndex(const Walk& walk) const {
    const TimeOrder* const order = collection_.order[walk.kind - 1].data();
    const auto absent = [](const TimeOrder& entry) { return entry.key < 0; };
    return static_cast<int32_t>(std::partition_point(order, order + walk.count, absent) - order);
  }

  // Moves the current walk, or puts all on their first or last entry, and stands on the walk whose
  // key comes next in the direction; on equal keys on the earlier walk.
  uint32_t step(int32_t direction) {
    if (current_ == nullptr) {
      for (Walk& walk : walks_) {
        walk.index = direction > 0 ? firstIndex(walk) : walk.count - 1;
        updateKey(walk);
      }
    } else {
      current_->index += direction;
      updateKey(*current_);
    }
    current_ = nullptr;
    for (Walk& walk : walks_) {
      if (walk.key < 0) continue;
      const bool better = current_ == nullptr ||
                          (direction > 0 ? walk.key < current_->key : walk.key > current_->key);
      if (better) current_ = &walk;
    }
    return IsValid();
  }

  const Collection& collection_;
  Walk walks_[kArrays];
  Walk* current_ = nullptr;
};

// There is no way to tell a host that records are missing, so a collection that memory does not
// suffice for ends the program as the language run-time's own failure would.
[[noreturn]] void outOfMemory() {
  std::fputs("out of memory\n", stderr);
  std::abort();
}

class Tavo final : public ITavo {
 public:
  uint16_t Analyse(const char* inputPath, const char* logPath, uint32_t flags, uint16_t* errors,
                   uint16_t* warnings) override try {
    AnalysisRequest request;
    request.inputPath = inputPath;
    request.logPath = logPath;
    request.maxErrors = static_cast<uint16_t>(flags);
    run(request, errors, warnings);
    return 0;
  } catch (...) {
    outOfMemory();
  }

  void run(AnalysisRequest& request, uint16_t* errors, uint16_t* warnings) {
    request.sink = {&Tavo::collect, &collection_};
    AnalysisCounts counts;
    if (library().analyse(request, &counts) != TVO_ERR_OPEN) {
      if (errors != nullptr) *errors = counts.errors;
      if (warnings != nullptr) *warnings = counts.warnings;
    }
    if (counts.incomplete) outOfMemory();
    Sort();
  }

  TimeCursor* CreateCursor() override {
    return guarded(nullptr, [this]() -> TimeCursor* {
      cursors_.push_back(std::make_unique<Cursor>(collection_));
      return cursors_.back().get();
    });
  }

  void Delete() override { delete this; }

  void Sort() override {
    for (std::vector<TimeOrder>& order : collection_.order) sortByTime(order);
  }

 private:
  // Keeps copies of the records that have a time stamp; one of year 0 has none.
  static uint32_t collect(void* context, const reader::DeliveredRecord& record) try {
    Collection& collection = *static_cast<Collection*>(context);
    switch (record.type) {
      case TVO_RECORD_POINTS: {
        const auto& point = *static_cast<const PointRecord*>(record.bytes);
        if (collection.stamp(kPoint, point.Date)) collection.points.append() = point;
        break;
      }
      case TVO_RECORD_SETUP: {
        const auto& setup = *static_cast<const SetupRecord*>(record.bytes);
        if (collection.stamp(kSetup, setup.Date)) collection.setups.append().setup = setup;
        break;
      }
      case TVO_RECORD_SLOPE: {
        const auto& slope = *static_cast<const SlopeRecord*>(record.bytes);
        if (collection.stamp(kSetup, slope.Date)) collection.setups.append().slope = slope;
        break;
      }
      case TVO_RECORD_TIME_TAGGED_CODES: {
        const auto& code = *static_cast<const TimeTaggedRecord*>(record.bytes);
        if (collection.stamp(kCode, code.TimeTag)) collection.codes.append() = CodeEntry(code);
        break;
      }
      default:
        break;
    }
    return 0;
  } catch (...) {
    outOfMemory();
  }

  Collection collection_;
  std::vector<std::unique_ptr<Cursor>> cursors_;
};

}  // namespace

void analyseInput(ITavo& timeline, platform::TextInput& input) {
  platform::NoOutput log;
  AnalysisRequest request;
  request.inputPath = "";
  request.input = &input;
  request.log = &log;
  static_cast<Tavo&>(timeline).run(request, nullptr, nullptr);
}

}  // namespace tavo::api

extern "C" ITavo* TVO_CALL GetITavo() {
  return tavo::api::guarded(nullptr, []() -> ITavo* { return new tavo::api::Tavo; });
}
