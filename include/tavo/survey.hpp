// TAVO survey layer for C++20: handles that clean up after themselves, typed records, and errors as
// exceptions, header only over survey.h. A record is a view into the survey or store that it comes
// from and lives as long as that. Everything stands in namespace tavo.
//
//   tavo::Survey survey = tavo::Survey::read("survey.tvo");
//   for (const tavo::Point& point : survey.points())
//     if (auto east = point.East()) use(point.PointID().value_or(""), *east);
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <exception>
#include <functional>
#include <iterator>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "tavo/survey.h"
#include "tavo/tavo.h"

namespace tavo {

// A call that failed. code is the engine's behind a failure of a store, or 0.
class Error : public std::exception {
 public:
  explicit Error(tavo_status status, int32_t code = 0) : status_(status), code_(code) {}
  tavo_status status() const { return status_; }
  int32_t code() const { return code_; }
  const char* what() const noexcept override { return tavo_status_text(status_); }

 private:
  tavo_status status_;
  int32_t code_;
};

inline void check(tavo_status status) {
  if (status != TAVO_OK) throw Error(status);
}

inline std::string_view version() { return tavo_version(); }
inline std::string_view name(TVO_EnumId value) { return tavo_schema_value_name(value); }

// A time as the format keeps it, without a zone.
using Time = std::chrono::local_time<std::chrono::duration<int64_t, std::centi>>;

// The time of a date-time; none for an empty one and for one that no calendar has.
inline std::optional<Time> timeOf(const TVO_DateTime& date) {
  using namespace std::chrono;
  const year_month_day day{year{date.year}, month{static_cast<unsigned>(date.month)},
                           std::chrono::day{static_cast<unsigned>(date.day)}};
  const bool ok = date.year != 0 && day.ok() && date.hour >= 0 && date.hour < 24 &&
                  date.minute >= 0 && date.minute < 60 && date.second >= 0 && date.second < 60 &&
                  date.hundredths >= 0 && date.hundredths < 100;
  if (!ok) return std::nullopt;
  return Time(local_days(day) + hours(date.hour) + minutes(date.minute) + seconds(date.second)) +
         duration<int64_t, std::centi>(date.hundredths);
}

// A value that may be of several kinds.
using AnyValue = std::variant<std::string_view, double, int32_t>;

// What all records are: a packed structure, the line that it comes from (0: not known) and the
// fields that the line gave.
class Record {
 public:
  Record(const void* bytes, uint64_t line, tavo_given given)
      : bytes_(static_cast<const char*>(bytes)), line_(line), given_(given) {}

  const void* bytes() const { return bytes_; }
  uint64_t line() const { return line_; }
  tavo_given given() const { return given_; }

 protected:
  // place: of the field in its table; offset: of the member in the record.
  bool has(unsigned place) const { return (given_ >> place & 1) != 0; }
  template <class T>
  T member(size_t offset) const {
    T value;
    std::memcpy(&value, bytes_ + offset, sizeof value);
    return value;
  }
  template <class T>
  std::optional<T> number(unsigned place, size_t offset) const {
    if (!has(place)) return std::nullopt;
    return member<T>(offset);
  }
  std::string_view textAt(size_t offset, size_t width) const {
    const char* const text = bytes_ + offset;
    return {text, strnlen(text, width)};
  }
  std::optional<std::string_view> text(unsigned place, size_t offset, size_t width) const {
    if (!has(place)) return std::nullopt;
    return textAt(offset, width);
  }
  std::optional<Time> time(size_t offset) const { return timeOf(member<TVO_DateTime>(offset)); }
  // TVO_DefaultValue, TVO_FreeValue or TVO_TimeTaggedEntry at the offset.
  template <class Packed>
  std::optional<AnyValue> value(unsigned place, size_t offset) const {
    if (!has(place)) return std::nullopt;
    const auto packed = member<Packed>(offset);
    if (packed.kind == TVO_ENUM_REAL) return AnyValue(double{packed.real});
    if constexpr (requires { packed.integer; }) {
      if (packed.kind == TVO_ENUM_INT) return AnyValue(int32_t{packed.integer});
    }
    if (packed.kind != TVO_ENUM_TEXT) return std::nullopt;
    return AnyValue(textAt(offset + offsetof(Packed, text), sizeof packed.text));
  }

 private:
  const char* bytes_;
  uint64_t line_;
  tavo_given given_;
};

// A construction operation; the points that it uses are the record of equal place among
// OperationPoints.
class Operation : public Record {
 public:
  static constexpr uint32_t kType = TVO_RECORD_OPERATIONS;
  using Record::Record;
  uint32_t number() const { return member<uint32_t>(offsetof(TVO_OperationRecord, Operation)); }
};

class OperationPoints : public Record {
 public:
  static constexpr uint32_t kType = TVO_RECORD_OPERATION_POINTS;
  using Record::Record;
  struct Point {
    uint32_t number;
    std::string_view id;
  };
  // The n-th of ten; those that are not used have number 0 and no identifier.
  Point point(size_t n) const {
    const size_t at = n * sizeof(TVO_OperationPoint);
    return {
        member<uint32_t>(at + offsetof(TVO_OperationPoint, PointNo)),
        textAt(at + offsetof(TVO_OperationPoint, PointID), sizeof(TVO_OperationPoint::PointID))};
  }
};

class TimeTaggedCode : public Record {
 public:
  static constexpr uint32_t kType = TVO_RECORD_TIME_TAGGED_CODES;
  using Record::Record;
  std::string_view code() const {
    return textAt(offsetof(TVO_TimeTaggedRecord, Code), sizeof(TVO_TimeTaggedRecord::Code));
  }
  std::optional<Time> time() const { return Record::time(offsetof(TVO_TimeTaggedRecord, TimeTag)); }
  uint16_t number() const { return member<uint16_t>(offsetof(TVO_TimeTaggedRecord, Number)); }
  size_t size() const { return member<uint16_t>(offsetof(TVO_TimeTaggedRecord, EntryCount)); }
  std::string_view name(size_t entry) const { return view(entry).textAt(0, 31); }
  std::optional<AnyValue> value(size_t entry) const {
    return view(entry).Record::value<TVO_TimeTaggedEntry>(0, 0);
  }

 private:
  TimeTaggedCode view(size_t entry) const {
    const auto* const entries =
        member<const TVO_TimeTaggedEntry*>(offsetof(TVO_TimeTaggedRecord, entries));
    return {entries + entry, line(), TAVO_GIVEN_UNKNOWN};
  }
};

}  // namespace tavo

#include "tavo/survey_records.hpp"

namespace tavo {

// All records of a type, in file order.
template <class R>
class Records {
 public:
  class iterator {
   public:
    using value_type = R;
    using difference_type = std::ptrdiff_t;
    using iterator_category = std::input_iterator_tag;
    iterator() = default;
    iterator(const tavo_records* records, size_t at) : records_(records), at_(at) {}
    R operator*() const { return Records(records_)[at_]; }
    iterator& operator++() {
      ++at_;
      return *this;
    }
    iterator operator++(int) {
      iterator before = *this;
      ++at_;
      return before;
    }
    bool operator==(const iterator&) const = default;

   private:
    const tavo_records* records_ = nullptr;
    size_t at_ = 0;
  };

  explicit Records(const tavo_records* records) : records_(records) {}
  size_t size() const { return records_->count; }
  bool empty() const { return size() == 0; }
  R operator[](size_t i) const {
    return R(static_cast<const char*>(records_->bytes) + i * records_->size, records_->lines[i],
             records_->given[i]);
  }
  iterator begin() const { return {records_, 0}; }
  iterator end() const { return {records_, size()}; }
  // The packed structures side by side.
  std::span<const std::byte> bytes() const {
    return {static_cast<const std::byte*>(records_->bytes), size() * records_->size};
  }
  std::span<const uint64_t> lines() const { return {records_->lines, size()}; }
  std::span<const tavo_given> given() const { return {records_->given, size()}; }

 private:
  const tavo_records* records_;
};

// A text to read: a path or bytes. What it names must live until the call ends.
struct Input {
  tavo_input input = TAVO_INPUT_INIT;

  Input(const char* path) { input.path = path; }           // NOLINT(google-explicit-constructor)
  Input(const std::string& path) : Input(path.c_str()) {}  // NOLINT(google-explicit-constructor)
  static Input memory(std::string_view text, const char* name = "") {
    Input made(name);
    made.input.path = nullptr;
    made.input.bytes = text.data();
    made.input.size = text.size();
    made.input.name = name;
    return made;
  }
};

// What an analysis does beside reading. Functions may throw: the run then ends, and the call throws
// the same again.
struct AnalysisOptions {
  uint16_t maxErrors = UINT16_MAX;
  std::string log;  // path of a log; empty: none
  std::function<void(const tavo_record&)> onRecord;
  std::function<void(const tavo_finding&)> onFinding;
  // Bytes done of all (0: not known); false cancels.
  std::function<bool(uint64_t done, uint64_t total)> onProgress;
};

namespace detail {

// Carries options and an exception of a function through the C interface.
class Run {
 public:
  explicit Run(const AnalysisOptions& wanted) : wanted_(wanted) {
    options_.max_errors = wanted.maxErrors;
    if (!wanted.log.empty()) options_.log.path = wanted.log.c_str();
    if (wanted.onRecord) options_.on_record = &Run::record;
    if (wanted.onFinding) options_.on_finding = &Run::finding;
    options_.on_progress = &Run::progress;
    options_.record_user = options_.finding_user = options_.progress_user = this;
  }
  Run(const Run&) = delete;
  Run& operator=(const Run&) = delete;

  const tavo_analysis_options* options() const { return &options_; }
  void finish(tavo_status status) const {
    if (thrown_) std::rethrow_exception(thrown_);
    if (status != TVO_ERR_ERRORS_FOUND) check(status);
  }

 private:
  template <class Call>
  void guarded(Call call) {
    if (thrown_) return;
    try {
      call();
    } catch (...) {
      thrown_ = std::current_exception();
    }
  }
  static uint32_t record(const tavo_record* record, void* user) {
    Run& self = *static_cast<Run*>(user);
    self.guarded([&] { self.wanted_.onRecord(*record); });
    return self.thrown_ ? uint32_t{TVO_ERR_ABORTED} : uint32_t{TAVO_OK};
  }
  static void finding(const tavo_finding* finding, void* user) {
    Run& self = *static_cast<Run*>(user);
    self.guarded([&] { self.wanted_.onFinding(*finding); });
  }
  static int progress(uint64_t done, uint64_t total, void* user) {
    Run& self = *static_cast<Run*>(user);
    bool goOn = true;
    if (self.wanted_.onProgress) self.guarded([&] { goOn = self.wanted_.onProgress(done, total); });
    return goOn && !self.thrown_ ? 0 : 1;
  }

  const AnalysisOptions& wanted_;
  tavo_analysis_options options_ = TAVO_ANALYSIS_OPTIONS_INIT;
  std::exception_ptr thrown_;
};

}  // namespace detail

// Reads and checks a text; errors in it are no failure of the call.
inline tavo_analysis_counts analyse(const Input& input, const AnalysisOptions& options = {}) {
  detail::Run run(options);
  tavo_analysis_counts counts = TAVO_ANALYSIS_COUNTS_INIT;
  run.finish(tavo_analyse(&input.input, run.options(), &counts));
  return counts;
}

struct BuildOptions {
  bool align = true;
  uint8_t angularDecimals = 4, linearDecimals = 4, geographicDecimals = 10;

  tavo_build_options options() const {
    tavo_build_options made = TAVO_BUILD_OPTIONS_INIT;
    made.align = align ? 1 : 0;
    made.angular_decimals = angularDecimals;
    made.linear_decimals = linearDecimals;
    made.geographic_decimals = geographicDecimals;
    return made;
  }
};

// A whole survey in memory.
class Survey : public SurveyRecords<Survey, Records> {
 public:
  // Errors in the text are no failure: they stand among the findings.
  static Survey read(const Input& input, const AnalysisOptions& options = {}) {
    detail::Run run(options);
    tavo_survey* survey = nullptr;
    const tavo_status status = tavo_survey_read(&survey, &input.input, run.options());
    Survey made(survey);
    run.finish(status);
    return made;
  }

  template <class R>
  Records<R> records() const {
    return Records<R>(tavo_survey_records(handle_.get(), R::kType));
  }
  Records<Operation> operations() const { return records<Operation>(); }
  Records<OperationPoints> operationPoints() const { return records<OperationPoints>(); }
  Records<TimeTaggedCode> timeTaggedCodes() const { return records<TimeTaggedCode>(); }

  const tavo_analysis_counts& counts() const { return *tavo_survey_counts(handle_.get()); }
  size_t blockCount() const { return tavo_survey_block_count(handle_.get()); }
  const tavo_block& block(size_t i) const { return *tavo_survey_block(handle_.get(), i); }
  size_t findingCount() const { return tavo_survey_finding_count(handle_.get()); }
  const tavo_finding& finding(size_t i) const { return *tavo_survey_finding(handle_.get(), i); }
  // Points, setups, slopes and codes in the order of their time.
  std::span<const tavo_moment> timeline() {
    size_t count = 0;
    const tavo_moment* const moments = tavo_survey_timeline(handle_.get(), &count);
    return {moments, count};
  }

  // Writes a text, which takes its place when it is complete.
  void build(const std::string& path, const BuildOptions& options = {}) const {
    tavo_target target = TAVO_TARGET_INIT;
    target.path = path.c_str();
    const tavo_build_options layout = options.options();
    check(tavo_survey_build(handle_.get(), &target, &layout));
  }
  std::string build(const BuildOptions& options = {}) const {
    char* text = nullptr;
    size_t size = 0;
    tavo_target target = TAVO_TARGET_INIT;
    target.memory = &text;
    target.memory_size = &size;
    const tavo_build_options layout = options.options();
    check(tavo_survey_build(handle_.get(), &target, &layout));
    const std::unique_ptr<char, decltype(&tavo_free)> owned(text, &tavo_free);
    return {text, size};
  }

  tavo_survey* handle() const { return handle_.get(); }

 private:
  struct Free {
    void operator()(tavo_survey* survey) const { tavo_survey_free(survey); }
  };
  explicit Survey(tavo_survey* survey) : handle_(survey) {}
  std::unique_ptr<tavo_survey, Free> handle_;
};

// Saves what is whole in a damaged data file into a new one.
inline tavo_store_repair_report repair(const std::string& path, const std::string& target) {
  tavo_store_repair_report report = TAVO_STORE_REPAIR_INIT;
  check(tavo_store_repair(path.c_str(), target.c_str(), nullptr, nullptr, &report));
  return report;
}

// Records in a data file. Closed at the latest by the destructor, which cannot tell of a failure.
class Store {
 public:
  enum class Mode {
    kOpen = TAVO_STORE_OPEN,
    kReadOnly = TAVO_STORE_READ_ONLY,
    kCreate = TAVO_STORE_CREATE
  };
  enum class Kind {
    kCompatible = TAVO_STORE_COMPATIBLE,
    kComplete = TAVO_STORE_COMPLETE,
  };
  enum class Lookup {
    kType = TAVO_BY_TYPE,
    kList = TAVO_BY_LIST,
    kNumber = TAVO_BY_NUMBER,
    kId = TAVO_BY_ID
  };

  // journal: its path, see tavo_store_options; empty: none. newKind: of a new file.
  explicit Store(const std::string& path, Mode mode = Mode::kOpen, uint32_t cachePages = 10,
                 const std::string& journal = {}, Kind newKind = Kind::kCompatible) {
    tavo_store_options options = TAVO_STORE_OPTIONS_INIT;
    options.kind = static_cast<uint32_t>(newKind);
    options.mode = static_cast<uint32_t>(mode);
    options.cache_pages = cachePages;
    if (!journal.empty()) options.journal = journal.c_str();
    tavo_store* store = nullptr;
    check(tavo_store_open(&store, path.c_str(), &options));
    handle_.reset(store);
  }
  void close() { check(tavo_store_close(handle_.release())); }

  Kind kind() const { return static_cast<Kind>(tavo_store_kind(handle_.get())); }

  void append(const tavo_record& record) { must(tavo_store_append(handle_.get(), &record)); }
  void write(uint32_t type, const void* record) {
    must(tavo_store_write(handle_.get(), type, record));
  }
  // The record that a move (TVO_FIRST, TVO_NEXT ...) leads to, valid until the next call; none at
  // the end.
  std::optional<tavo_record> read(uint32_t move) {
    tavo_record record{};
    const tavo_status status = tavo_store_read(handle_.get(), move, &record);
    if (status == TVO_ERR_STORE && tavo_store_engine_code(handle_.get()) == TAVO_ENGINE_NONE) {
      return std::nullopt;
    }
    must(status);
    return record;
  }
  // Whether there is a record of the type with the key of `record`, which then receives it.
  bool find(uint32_t type, Lookup lookup, void* record) {
    const tavo_status status =
        tavo_store_find(handle_.get(), type, static_cast<uint32_t>(lookup), record);
    if (status == TVO_ERR_NOT_FOUND) return false;
    must(status);
    return true;
  }
  void replace(const tavo_record& record) { must(tavo_store_replace(handle_.get(), &record)); }
  void update(const void* record) { must(tavo_store_update(handle_.get(), record)); }
  void remove(void* record = nullptr) { must(tavo_store_delete(handle_.get(), record)); }
  uint64_t size() const { return tavo_store_count(handle_.get()); }
  tavo_store* handle() const { return handle_.get(); }

 private:
  struct Close {
    void operator()(tavo_store* store) const { tavo_store_close(store); }
  };
  void must(tavo_status status) const {
    if (status != TAVO_OK) throw Error(status, tavo_store_engine_code(handle_.get()));
  }
  std::unique_ptr<tavo_store, Close> handle_;
};

}  // namespace tavo
