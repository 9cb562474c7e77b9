// Checks a whole store file. It reads the pages itself, one at a time, and trusts nothing but the
// header's signature. What it keeps of each record is two bits; a damaged file is walked twice.
#include "store/engine/verify.h"

#include <algorithm>
#include <new>
#include <vector>

#include "store/engine/control_block.h"
#include "store/engine/key.h"
#include "store/engine/page_cache.h"
#include "store/engine/record.h"
#include "store/engine/result.h"
#include "store/engine/transaction.h"
#include "store/engine/tree.h"

namespace tavo::engine {
namespace {

using platform::Transfer;

// A key of a record as it is or should be in an index.
struct KeyRef {
  std::uint64_t key;  // hash of its bytes
  std::int32_t record;
  std::int32_t index;

  // NOLINTNEXTLINE(modernize-use-nullptr): the check takes the generated code for a null pointer.
  friend auto operator<=>(const KeyRef&, const KeyRef&) = default;
};

std::uint64_t hashBytes(const std::uint8_t* bytes, std::size_t size) {
  std::uint64_t hash = 14695981039346656037u;
  for (std::size_t i = 0; i < size; ++i) hash = (hash ^ bytes[i]) * 1099511628211u;
  return hash;
}

template <class Number>
std::string text(Number value) {
  return std::to_string(value);
}

// Where a file ends that has no more than the pages its header counts; page 0 is there in any case.
std::uint64_t countedEnd(const FileHeader& header) {
  return kPageSize + std::uint64_t{kPageSize} * std::max(1u, header.pagesInFile);
}

bool isZero(const std::uint8_t* bytes, std::size_t size) {
  return std::all_of(bytes, bytes + size, [](std::uint8_t byte) { return byte == 0; });
}

// Which record numbers there are: a bit for each that a file can have, a list of all others, which
// are findings.
class NumberSet {
 public:
  void reserve(std::uint64_t count) { bits_.resize(static_cast<std::size_t>(count)); }
  void add(std::int32_t number) {
    if (hasBit(number)) {
      bits_[static_cast<std::size_t>(number)] = true;
    } else {
      others_.push_back(number);
    }
  }
  // Behind the last one: from now on the rest may be called.
  void finish() { std::ranges::sort(others_); }
  bool contains(std::int32_t number) const {
    return hasBit(number) ? bits_[static_cast<std::size_t>(number)]
                          : std::ranges::binary_search(others_, number);
  }
  template <class Function>
  void each(Function function) const {
    for (std::size_t number = 0; number < bits_.size(); ++number) {
      if (bits_[number]) function(static_cast<std::int32_t>(number));
    }
    for (const std::int32_t number : others_) function(number);
  }

 private:
  bool hasBit(std::int32_t number) const {
    return number > 0 && static_cast<std::size_t>(number) < bits_.size();
  }

  std::vector<bool> bits_;
  std::vector<std::int32_t> others_;
};

// Keys in the indexes against those that the records make: per group of records the sum of the
// former less that of the latter. Where it is not zero, they differ.
class Balance {
 public:
  void add(const KeyRef& ref) { sum(ref.record) += mixed(ref); }
  void take(const KeyRef& ref) { sum(ref.record) -= mixed(ref); }
  bool differs(std::int32_t record) const { return sums_[group(record)] != 0; }
  bool differs() const {
    return std::ranges::any_of(sums_, [](std::uint64_t sum) { return sum != 0; });
  }

 private:
  static constexpr std::size_t kGroups = 1 << 16;

  static std::size_t group(std::int32_t record) {
    return static_cast<std::uint32_t>(record) % kGroups;
  }
  std::uint64_t& sum(std::int32_t record) { return sums_[group(record)]; }
  static std::uint64_t mixed(const KeyRef& ref) {
    std::uint64_t bits = ref.key + (std::uint64_t{static_cast<std::uint32_t>(ref.record)} << 5) +
                         static_cast<std::uint64_t>(ref.index);
    bits = (bits ^ (bits >> 30)) * 0xBF58476D1CE4E5B9u;
    bits = (bits ^ (bits >> 27)) * 0x94D049BB133111EBu;
    return bits ^ (bits >> 31);
  }

  std::vector<std::uint64_t> sums_ = std::vector<std::uint64_t>(kGroups);
};

// A record that is there as a whole.
struct RecordRef {
  std::int32_t number;
  std::uint32_t label;
  std::uint8_t type;
};

class Verifier {
 public:
  Verifier(VerifyReport& report, const VerifyHooks& hooks, platform::FileSystem& files)
      : report_(report), hooks_(hooks), file_(nullptr, files) {}

  int run(const char* path, const IndexDef* indexes);

 private:
  using Bytes = std::vector<std::uint8_t>;
  // What the walk knows of a level: the page left of the next one.
  struct Level {
    std::int32_t last = kNoPage;
    std::int32_t next = kNoPage;
    bool cut = false;  // pages right of `last` could not be looked at
  };

  void find(std::int32_t page, std::int32_t record, std::string what) {
    if (again_) return;
    ++report_.findings;
    if (hooks_.finding) findings_.push_back({page, record, 0, 0, std::move(what)});
  }
  void find(std::int32_t page, std::string what) { find(page, 0, std::move(what)); }
  // Of a page that could be read: it is named with its first record.
  void find(const WorkPage& w, std::string what) {
    find(w.number, w.count > 0 ? entry::record(w.at(0)) : 0, std::move(what));
  }
  // A finding in the tree's structure, behind which records and keys are missing.
  void lose(std::int32_t page, std::int32_t record, std::string what) {
    complete_ = false;
    find(page, record, std::move(what));
  }
  void lose(std::int32_t page, std::string what) { lose(page, 0, std::move(what)); }
  bool readPage(std::int32_t number, WorkPage& w);
  void checkHeader(const IndexDef* indexes);
  bool enter(std::int32_t number, int expected, WorkPage& w);
  void walk(std::int32_t number, int expected, const Bytes& low, const Bytes& high);
  void checkChain(const WorkPage& w);
  void checkOrder(const WorkPage& w, const Bytes& low, const Bytes& high);
  void walkChildren(const WorkPage& w, const Bytes& low, const Bytes& high);
  void visitLeaf(const WorkPage& w);
  void visitPiece(std::int32_t page, const std::uint8_t* e);
  void endRecord(std::int32_t page);
  void checkRecord(std::int32_t page, RecordRef& record);
  void walkAgain();
  bool isWanted(std::int32_t record) const;
  void checkKeys();
  void checkNumbers();
  void checkLevels();
  void checkReached();
  void checkReserve();
  void checkBehind();
  void reportFindings();
  int order(const std::uint8_t* a, const Bytes& b, bool aLeaf, bool bLeaf) const;

  VerifyReport& report_;
  const VerifyHooks& hooks_;
  ControlBlock file_;
  std::vector<bool> reached_;
  Level levels_[kMaxHeight];
  Bytes lastEntry_;  // of the leaves so far
  NumberSet free_, found_;
  std::vector<VerifyFinding> findings_;
  Balance balance_;
  // What a second walk is for: types and labels of the records that findings name, and the keys of
  // which some differ.
  bool again_ = false;
  std::vector<std::int32_t> named_;
  std::vector<RecordRef> records_;
  std::vector<KeyRef> present_;
  std::vector<KeyRef> expected_;
  bool complete_ = true;  // every page in use was read, every record's field list was to be had

  // The record whose pieces are being read.
  std::int32_t record_ = 0;
  int pieces_ = 0;
  bool open_ = false;
  Bytes packed_;
};

// Order of an entry against a kept one.
int Verifier::order(const std::uint8_t* a, const Bytes& b, bool aLeaf, bool bLeaf) const {
  Probe probe;
  probe.index = entry::index(b.data());
  probe.key = entry::key(b.data());
  probe.keyLength = entry::keyLength(b.data(), bLeaf);
  probe.record = entry::record(b.data());
  probe.piece = entry::piece(b.data());
  // Without an index there is no order; the entries are findings already.
  if (probe.index > kLastIndex && probe.index == entry::index(a)) return 1;
  return compareEntry(file_, a, aLeaf, probe);
}

bool Verifier::readPage(std::int32_t number, WorkPage& w) {
  w.number = number;
  if (file_.file->readAt(pagePosition(number), w.bytes, kPageSize) == Transfer::kDone) return true;
  lose(number, pagePosition(number) + kPageSize > report_.fileSize
                   ? "page is behind the end of the file"
                   : "page cannot be read");
  return false;
}

void Verifier::checkHeader(const IndexDef* indexes) {
  const FileHeader& h = file_.header;
  const std::uint64_t end = countedEnd(h);
  if (report_.fileSize < end)
    find(-1, "the file has " + text(report_.fileSize) + " bytes, with the pages that the header " +
                 "counts it would have " + text(end));
  for (const IndexDef* def = indexes; def != nullptr && def->index != 0; ++def) {
    if (h.keyType[def->index] != def->keyType)
      find(-1, "index " + text(def->index) + " has key type " + text(h.keyType[def->index]) +
                   " instead of " + text(def->keyType));
  }
  for (int i = 0; i < kIndexNumbers; ++i) {
    if (h.keyType[i] > kMaxKeyType)
      find(-1, "index " + text(i) + " has key type " + text(h.keyType[i]));
  }
  const bool fresh = h.pagesInUse == 1 && h.pagesInFile == 0;
  if (!fresh && (h.pagesInUse == 0 || h.pagesInUse > h.pagesInFile || h.pagesInFile > kMaxPages))
    find(-1, "header counts " + text(h.pagesInUse) + " pages in use of " + text(h.pagesInFile));
  std::uint8_t marker[4];
  if (file_.file->readAt(kModifiedMarker, marker, 2) == Transfer::kDone &&
      loadU16(marker) == kMarkerValue)
    find(-1, "the file was left in the middle of a write");
  if (file_.file->readAt(kOpenMarker, marker, 4) == Transfer::kDone &&
      loadU32(marker) == kMarkerValue)
    find(-1, "the file was left while it was being created");
}

// Reads a page that a link leads to. `expected` is the level that belongs there, -1 for the root.
bool Verifier::enter(std::int32_t number, int expected, WorkPage& w) {
  const auto index = static_cast<std::uint32_t>(number);
  if (number < 0 || index >= reached_.size()) {
    lose(number, "link to a page that is not in use");
    return false;
  }
  if (reached_[index]) {
    lose(number, "page is reached more than once");
    return false;
  }
  reached_[index] = true;
  if (!readPage(number, w)) return false;
  if (w.parse() != kOk) {
    lose(number, "entries do not fit the page");
    return false;
  }
  if (expected < 0 || w.level() == expected) return true;
  lose(number, w.count > 0 ? entry::record(w.at(0)) : 0,
       "level " + text(w.level()) + " where " + text(expected) + " belongs");
  return false;
}

// Visits the subtree of a page. `low` and `high` are the separators around it, empty at the edges
// of the tree.
void Verifier::walk(std::int32_t number, int expected, const Bytes& low, const Bytes& high) {
  WorkPage w;
  if (!enter(number, expected, w)) {
    for (int level = 0; level <= expected; ++level) levels_[level].cut = true;
    return;
  }
  const int level = w.level();
  if (number == 0) report_.height = static_cast<std::uint32_t>(level) + 1;
  report_.bytesUsed += w.offsets[w.count] - kPageHead;
  ++(level == 0 ? report_.leafPages : report_.innerPages);
  if (!w.sound)
    find(w, "free bytes are " + text(w.freeBytes()) + ", not " +
                text(static_cast<long long>(kPageSize) - w.offsets[w.count]));
  checkChain(w);
  checkOrder(w, low, high);
  if (level == 0)
    visitLeaf(w);
  else
    walkChildren(w, low, high);
}

void Verifier::checkChain(const WorkPage& w) {
  Level& level = levels_[w.level()];
  if (!level.cut && w.previous() != level.last)
    find(w, "previous page is " + text(w.previous()) + ", not " + text(level.last));
  if (!level.cut && level.last != kNoPage && level.next != w.number)
    find(level.last, "next page is " + text(level.next) + ", not " + text(w.number));
  level = {w.number, w.next(), false};
}

void Verifier::checkOrder(const WorkPage& w, const Bytes& low, const Bytes& high) {
  const bool leaf = w.level() == 0;
  for (int i = 0; i < w.count; ++i) {
    const std::uint8_t* const e = w.at(i);
    const std::string name = "entry " + text(i);
    if (entry::index(e) < 1 || entry::index(e) > kLastIndex)
      find(w.number, entry::record(e), name + " is of index " + text(entry::index(e)));
    if (i > 0) {
      const std::uint8_t* const before = w.at(i - 1);
      if (order(e, Bytes(before, before + entry::size(before)), leaf, leaf) <= 0)
        find(w.number, entry::record(e), name + " is not behind the one before");
    }
    // A leaf may begin with its separator; an inner page keeps it above.
    if (!low.empty() && order(e, low, leaf, false) < (leaf ? 0 : 1))
      find(w.number, entry::record(e), name + " is before the page's separator");
    if (!high.empty() && order(e, high, leaf, false) >= 0)
      find(w.number, entry::record(e), name + " is behind the next page's separator");
  }
  if (leaf && w.count > 0) {
    if (!lastEntry_.empty() && order(w.at(0), lastEntry_, true, true) <= 0)
      find(w, "first entry is not behind the page before");
    const std::uint8_t* const last = w.at(w.count - 1);
    lastEntry_.assign(last, last + entry::size(last));
  }
}

void Verifier::walkChildren(const WorkPage& w, const Bytes& low, const Bytes& high) {
  Bytes left = low;
  for (int i = -1; i < w.count; ++i) {
    const std::uint32_t child = i < 0 ? page::firstChild(w.bytes) : entry::child(w.at(i));
    if (i >= 0) left.assign(w.at(i), w.at(i) + entry::size(w.at(i)));
    Bytes right = high;
    if (i + 1 < w.count) right.assign(w.at(i + 1), w.at(i + 1) + entry::size(w.at(i + 1)));
    walk(static_cast<std::int32_t>(child), w.level() - 1, left, right);
  }
}

void Verifier::visitLeaf(const WorkPage& w) {
  for (int i = 0; i < w.count; ++i) {
    const std::uint8_t* const e = w.at(i);
    const int index = entry::index(e);
    if (index <= kLastIndex) ++report_.entries[index];
    if (index == kRecords) {
      visitPiece(w.number, e);
      continue;
    }
    if (e[2] != kLastPiece)
      find(w.number, entry::record(e), "entry " + text(i) + " is a piece of an entry without data");
    if (index == kFreeNumbers && !again_) {
      free_.add(entry::record(e));
      ++report_.freeNumbers;
    }
    if (index >= kFreeNumbers) continue;
    const KeyRef ref = {hashBytes(entry::key(e), entry::keyLength(e, true)), entry::record(e),
                        index};
    if (!again_) balance_.add(ref);
    if (again_ && isWanted(ref.record)) present_.push_back(ref);
  }
}

void Verifier::visitPiece(std::int32_t page, const std::uint8_t* e) {
  const std::int32_t number = entry::record(e);
  if (open_ && (number != record_ || entry::piece(e) != pieces_)) {
    lose(page, record_, "lacks piece " + text(pieces_));
    open_ = false;
  }
  if (!open_) {
    if (entry::piece(e) != 0) {
      lose(page, number, "piece " + text(entry::piece(e)) + " follows nothing");
      return;
    }
    record_ = number;
    pieces_ = 0;
    packed_.clear();
    open_ = true;
  }
  packed_.insert(packed_.end(), e + kEntryHead, e + entry::size(e));
  ++pieces_;
  if (!entry::isLastPiece(e)) return;
  open_ = false;
  endRecord(page);
}

void Verifier::endRecord(std::int32_t page) {
  RecordRef record = {record_, 0, 0};
  checkRecord(page, record);
  if (!again_) {
    ++report_.records;
    found_.add(record_);
  } else if (isWanted(record_) || std::ranges::binary_search(named_, record_)) {
    records_.push_back(record);
  }
}

void Verifier::checkRecord(std::int32_t page, RecordRef& record) {
  const auto size = static_cast<std::uint32_t>(packed_.size());
  if (size < kRecordHead + 2) return lose(page, record_, "is too short");
  record.type = packed_[kRecordType];
  if (hooks_.record && !again_) hooks_.record(record_, record.type, packed_.data(), packed_.size());
  if (!hooks_.fields) return;
  const Field* const fields = hooks_.fields(record.type);
  const RecordPlan* const plan = fields == nullptr ? nullptr : file_.planOf(fields);
  if (plan == nullptr || checkPacked(*plan, packed_.data(), size) != kOk) {
    return lose(page, record_, "does not fit the field list of type " + text(record.type));
  }
  if (again_ && hooks_.label)
    record.label = hooks_.label(record.type, packed_.data(), packed_.size());
  const RecordValues values(*plan, packed_.data(), size);
  for (std::uint32_t n = 0; n < plan->keys(); ++n) {
    const std::uint32_t field = plan->keyField(n);
    Key key;
    if (makeKey(file_, values, field, key) != kOk) continue;
    const KeyRef ref = {hashBytes(key.bytes, key.length), record_, plan->field(field).index};
    if (!again_) balance_.take(ref);
    if (again_ && isWanted(record_)) expected_.push_back(ref);
  }
}

// Whether the keys of a record are looked at one by one.
bool Verifier::isWanted(std::int32_t record) const {
  if (!complete_) return false;
  return hooks_.fields ? balance_.differs(record) : !found_.contains(record);
}

void Verifier::walkAgain() {
  for (const VerifyFinding& finding : findings_) named_.push_back(finding.record);
  std::ranges::sort(named_);
  again_ = true;
  reached_.assign(reached_.size(), false);
  std::ranges::fill(levels_, Level());
  lastEntry_.clear();
  open_ = false;
  const VerifyReport kept = report_;
  walk(0, -1, {}, {});
  report_ = kept;
  again_ = false;
}

// The keys that are there against those that the records make. Where some are missing for a known
// reason, the rest of them would only repeat it.
void Verifier::checkKeys() {
  if (!complete_) return;
  report_.keysCompared = static_cast<bool>(hooks_.fields);
  std::sort(present_.begin(), present_.end());
  std::sort(expected_.begin(), expected_.end());
  const auto report = [this](const KeyRef& ref, const char* what) {
    if (!found_.contains(ref.record)) what = "is missing, but has a key in index ";
    find(-1, ref.record, what + text(ref.index));
  };
  std::size_t p = 0;
  std::size_t e = 0;
  while (p < present_.size() || e < expected_.size()) {
    if (e == expected_.size() || (p < present_.size() && present_[p] < expected_[e])) {
      report(present_[p++], "has a key that is not its own in index ");
    } else if (p == present_.size() || expected_[e] < present_[p]) {
      report(expected_[e++], "lacks its key in index ");
    } else {
      ++p;
      ++e;
    }
  }
}

void Verifier::checkNumbers() {
  const FileHeader& h = file_.header;
  if (report_.records != h.recordCount)
    find(-1,
         "header counts " + text(h.recordCount) + " records, there are " + text(report_.records));
  if (report_.freeNumbers != h.freeCount)
    find(-1, "header counts " + text(h.freeCount) + " free numbers, there are " +
                 text(report_.freeNumbers));
  const auto checkGiven = [&](std::int32_t number) {
    if (number < 1 || static_cast<std::uint32_t>(number) >= h.nextRecord)
      find(-1, number, "record number " + text(number) + " was never given out");
  };
  found_.each(checkGiven);
  free_.each([&](std::int32_t number) {
    if (found_.contains(number)) find(-1, number, "is stored under a free number");
    checkGiven(number);
  });
}

void Verifier::reportFindings() {
  if (!hooks_.finding) return;
  std::ranges::sort(records_, {}, &RecordRef::number);
  for (VerifyFinding& finding : findings_) {
    const auto found = std::ranges::lower_bound(records_, finding.record, {}, &RecordRef::number);
    if (found != records_.end() && found->number == finding.record) {
      finding.type = found->type;
      finding.label = found->label;
    }
    hooks_.finding(finding);
  }
}

void Verifier::checkLevels() {
  for (const Level& level : levels_) {
    if (!level.cut && level.last != kNoPage && level.next != kNoPage)
      find(level.last, "next page is " + text(level.next) + " at the end of the level");
  }
}

// A run of pages is one finding: a damaged count alone can make millions of them.
void Verifier::checkReached() {
  WorkPage w;
  for (std::size_t i = 0; i < reached_.size(); ++i) {
    if (reached_[i]) continue;
    const auto first = static_cast<std::int32_t>(i);
    while (i + 1 < reached_.size() && !reached_[i + 1]) ++i;
    const auto last = static_cast<std::int32_t>(i);
    const bool readable =
        file_.file->readAt(pagePosition(first), w.bytes, kPageSize) == Transfer::kDone &&
        w.parse() == kOk && w.count > 0;
    lose(first, readable ? entry::record(w.at(0)) : 0,
         first == last ? "page is in use but not reached"
                       : "pages up to " + text(last) + " are in use but not reached");
  }
}

void Verifier::checkReserve() {
  WorkPage w;
  const std::uint64_t end = std::min(countedEnd(file_.header), report_.fileSize);
  for (auto number = static_cast<std::int32_t>(reached_.size());
       pagePosition(number) + kPageSize <= end; ++number) {
    if (!readPage(number, w)) return;
    if (!isZero(w.bytes, kPageSize)) find(number, "reserve page is not empty");
  }
}

// Behind the counted pages may stand room that was allocated ahead. Anything but zeroes there was
// written by somebody whose header never came.
void Verifier::checkBehind() {
  WorkPage w;
  std::int32_t first = kNoPage;
  std::int32_t last = kNoPage;
  const std::uint64_t begin = countedEnd(file_.header);
  for (std::uint64_t at = begin; at < report_.fileSize; at += kPageSize) {
    const auto size =
        static_cast<std::uint32_t>(std::min<std::uint64_t>(kPageSize, report_.fileSize - at));
    const auto number = static_cast<std::int32_t>(at / kPageSize - 1);
    if (file_.file->readAt(at, w.bytes, size) != Transfer::kDone)
      return find(number, "page cannot be read");
    if (isZero(w.bytes, size)) continue;
    if (first == kNoPage) first = number;
    last = number;
  }
  if (first == kNoPage) {
    report_.roomAhead = report_.fileSize - std::min(begin, report_.fileSize);
  } else {
    find(first, first == last
                    ? "page stands behind those that the header counts"
                    : "pages up to " + text(last) + " stand behind those that the header counts");
  }
}

int Verifier::run(const char* path, const IndexDef* indexes) {
  file_.file = file_.files.open(path, platform::Access::kRead, platform::Sharing::kNone);
  if (file_.file == nullptr) return kNotFound;
  int code = readHeader(file_);
  if (code == kOk) code = keepSegments(file_, indexes);
  if (code != kOk) return code;
  const FileHeader& h = file_.header;
  report_.pagesInUse = h.pagesInUse;
  report_.pagesInFile = h.pagesInFile;
  report_.recordCount = h.recordCount;
  report_.fileSize = measure(*file_.file);
  checkHeader(indexes);
  reached_.resize(std::clamp<std::uint32_t>(h.pagesInUse, 1, kMaxPages));
  const std::uint64_t numbers =
      std::min<std::uint64_t>(h.nextRecord, report_.fileSize / kBytesPerRecord);
  free_.reserve(numbers);
  found_.reserve(numbers);
  walk(0, -1, {}, {});
  if (open_) lose(-1, record_, "lacks piece " + text(pieces_));
  checkLevels();
  checkReached();
  checkReserve();
  checkBehind();
  found_.finish();
  free_.finish();
  checkNumbers();
  const bool keysDiffer = complete_ && (!hooks_.fields || balance_.differs());
  if (keysDiffer || !findings_.empty()) walkAgain();
  checkKeys();
  reportFindings();
  return kOk;
}

}  // namespace

// A byte can be read exactly where there is one.
std::uint64_t measure(platform::File& file) {
  std::uint64_t size = 0;
  for (std::uint64_t end = platform::kMaxPosition; size < end;) {
    const std::uint64_t middle = size + (end - size) / 2;
    std::uint8_t byte = 0;
    if (file.readAt(middle, &byte, 1) == Transfer::kDone)
      size = middle + 1;
    else
      end = middle;
  }
  return size;
}

double VerifyReport::fillFactor() const {
  const double pages = static_cast<double>(leafPages) + static_cast<double>(innerPages);
  return pages == 0 ? 0 : static_cast<double>(bytesUsed) / (pages * kPageRoom);
}

int verify(const char* path, VerifyReport& report, const VerifyHooks& hooks,
           const IndexDef* indexes, platform::FileSystem& files) {
  try {
    Verifier verifier(report, hooks, files);
    return publicCode(verifier.run(path, indexes));
  } catch (const std::bad_alloc&) {
    return kNoMemory;
  }
}

}  // namespace tavo::engine
