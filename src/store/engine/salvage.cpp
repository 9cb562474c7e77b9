// Nothing of the file is trusted: a page counts as one when its entries, its count and its free
// bytes agree; of any other every place is tried where an entry could stand.
#include "store/engine/salvage.h"

#include <algorithm>
#include <compare>
#include <cstring>
#include <memory>
#include <new>
#include <vector>

#include "store/engine/engine.h"
#include "store/engine/format.h"
#include "store/engine/record.h"
#include "store/engine/verify.h"

namespace tavo::engine {
namespace {

using platform::Transfer;

// Where a piece was found; what the chain has is believed before what stands elsewhere.
enum Rank : std::uint8_t { kInChain, kBesideChain, kInRubble };

struct Piece {
  std::int32_t record;
  std::uint8_t piece;
  Rank rank;
  std::uint16_t offset;
  std::uint32_t page;

  friend auto operator<=>(const Piece&, const Piece&) = default;
};

// A sound record: its pieces stand together, one behind the other.
struct Found {
  std::uint32_t order;
  std::int32_t record;
  std::size_t first;

  friend auto operator<=>(const Found&, const Found&) = default;
};

// Copies of pieces may be many; so many of their combinations are tried.
constexpr int kMaxTries = 256;

class Salvager {
 public:
  Salvager(const SalvageHooks& hooks, SalvageReport& report) : hooks_(hooks), report_(report) {}

  int run(const char* path, platform::FileSystem& files);

 private:
  using Bytes = std::vector<std::uint8_t>;

  bool readPage(std::uint32_t number);
  bool holds(std::uint32_t offset) const;
  bool isSound() const;
  bool isLeaf() const;
  void readHeader();
  void walkChain();
  void collectSound(std::uint32_t number, Rank rank);
  void collectRubble(std::uint32_t number);
  void mention(std::int32_t number);
  bool assemble(std::size_t begin, std::size_t end, std::size_t first);
  bool choose(std::size_t end, std::size_t from, int piece);
  void append(const Piece& piece);
  void settleGroup(std::size_t begin, std::size_t end);
  int deliver();
  void loseGroups();
  void loseMentioned();

  const std::uint8_t* at(std::uint32_t offset) const { return page_ + offset; }

  const SalvageHooks& hooks_;
  SalvageReport& report_;
  std::unique_ptr<platform::File> file_;
  std::uint32_t pages_ = 0;  // of the file, the last one perhaps not whole
  std::uint32_t loaded_ = UINT32_MAX;
  std::uint8_t page_[kPageSize];
  std::vector<bool> inChain_;
  std::vector<Piece> pieces_;
  std::vector<bool> mentioned_;  // record numbers that pages speak of
  std::vector<bool> found_;
  std::vector<Found> records_;

  // The record being put together.
  Bytes packed_;
  std::vector<std::size_t> chosen_;
  int tries_ = 0;
  std::uint32_t order_ = 0;
};

// What the file lacks of a page reads as zeroes.
bool Salvager::readPage(std::uint32_t number) {
  if (number == loaded_) return true;
  loaded_ = number;
  const std::uint64_t start = pagePosition(static_cast<std::int32_t>(number));
  if (file_->readAt(start, page_, kPageSize) == Transfer::kDone) return true;
  // Cut off at the end of the file, or a sector that cannot be read: what can be had of it.
  std::memset(page_, 0, kPageSize);
  bool any = false;
  for (std::uint32_t i = 0; i < kPageSize; ++i) {
    any = file_->readAt(start + i, page_ + i, 1) == Transfer::kDone || any;
  }
  return any;
}

// Whether an entry could stand here.
bool Salvager::holds(std::uint32_t offset) const {
  if (offset + kEntryHead > kPageSize) return false;
  const std::uint8_t* const e = at(offset);
  return entry::size(e) >= kEntryHead && offset + entry::size(e) <= kPageSize &&
         entry::index(e) >= 1 && entry::index(e) <= kLastIndex && entry::record(e) > 0;
}

bool Salvager::isSound() const {
  std::uint32_t offset = kPageHead;
  const int count = page::count(page_);
  if (count < 0 || count > kMaxEntries) return false;
  for (int i = 0; i < count; ++i) {
    if (!holds(offset)) return false;
    offset += entry::size(at(offset));
  }
  return page::freeBytes(page_) == static_cast<int>(kPageSize - offset);
}

// Page 0 is the root and so nobody's child.
bool Salvager::isLeaf() const {
  return page::level(page_) == 0 || page::firstChild(page_) == 0 ||
         page::firstChild(page_) >= pages_;
}

void Salvager::readHeader() {
  std::uint8_t bytes[kHeaderSize];
  FileHeader header;
  if (file_->readAt(0, bytes, sizeof bytes) == Transfer::kDone && decodeHeader(bytes, header)) {
    report_.recordCount = header.recordCount;
  }
}

// Down the left edge, then along the leaves.
void Salvager::walkChain() {
  std::uint32_t number = 0;
  for (int height = 0; height < 32 && readPage(number) && isSound() && !isLeaf(); ++height) {
    number = page::firstChild(page_);
  }
  std::int32_t previous = kNoPage;
  while (number < pages_ && !inChain_[number] && readPage(number) && isSound() &&
         page::level(page_) == 0 && page::previous(page_) == previous) {
    inChain_[number] = true;
    collectSound(number, kInChain);
    previous = static_cast<std::int32_t>(number);
    if (page::next(page_) == kNoPage) {
      report_.whole = true;
      return;
    }
    number = static_cast<std::uint32_t>(page::next(page_));
  }
}

void Salvager::mention(std::int32_t number) {
  const auto index = static_cast<std::size_t>(number);
  if (index < mentioned_.size()) mentioned_[index] = true;
}

void Salvager::collectSound(std::uint32_t number, Rank rank) {
  std::uint32_t offset = kPageHead;
  for (int i = 0; i < page::count(page_); ++i, offset += entry::size(at(offset))) {
    const std::uint8_t* const e = at(offset);
    if (entry::index(e) == kRecords) {
      pieces_.push_back({entry::record(e), static_cast<std::uint8_t>(entry::piece(e)), rank,
                         static_cast<std::uint16_t>(offset), number});
    }
    if (entry::index(e) == kRecords || entry::index(e) <= kUserIndexes) mention(entry::record(e));
  }
}

void Salvager::collectRubble(std::uint32_t number) {
  for (std::uint32_t offset = kPageHead; offset + kEntryHead < kPageSize; ++offset) {
    const std::uint8_t* const e = at(offset);
    if (!holds(offset) || entry::index(e) != kRecords || entry::size(e) == kEntryHead) continue;
    pieces_.push_back({entry::record(e), static_cast<std::uint8_t>(entry::piece(e)), kInRubble,
                       static_cast<std::uint16_t>(offset), number});
  }
}

void Salvager::append(const Piece& piece) {
  if (!readPage(piece.page)) return;
  const std::uint8_t* const e = at(piece.offset);
  packed_.insert(packed_.end(), e + kEntryHead, e + entry::size(e));
}

// Chooses a piece of this number, and those behind it, from the copies that there are.
bool Salvager::choose(std::size_t end, std::size_t from, int piece) {
  for (std::size_t i = from; i < end && pieces_[i].piece <= piece; ++i) {
    if (pieces_[i].piece < piece) continue;
    if (++tries_ > kMaxTries) return false;
    const std::size_t size = packed_.size();
    append(pieces_[i]);
    chosen_.push_back(i);
    // The page of the piece is the one that was read last.
    const bool last = entry::isLastPiece(at(pieces_[i].offset));
    if (last ? hooks_.sound(packed_.data(), packed_.size(), &order_)
             : choose(end, i + 1, piece + 1)) {
      return true;
    }
    chosen_.pop_back();
    packed_.resize(size);
  }
  return false;
}

// A record that begins with this first piece.
bool Salvager::assemble(std::size_t begin, std::size_t end, std::size_t first) {
  packed_.clear();
  chosen_.clear();
  tries_ = 0;
  // Only this one is looked at among the first pieces.
  append(pieces_[first]);
  chosen_.push_back(first);
  if (entry::isLastPiece(at(pieces_[first].offset))) {
    return hooks_.sound(packed_.data(), packed_.size(), &order_);
  }
  return choose(end, begin, 1);
}

// All pieces of one record number: every sound record that they make, once. Two that differ are
// two: a damaged number may have become that of another record.
void Salvager::settleGroup(std::size_t begin, std::size_t end) {
  std::vector<Bytes> taken;
  for (std::size_t first = begin; first < end && pieces_[first].piece == 0; ++first) {
    if (!assemble(begin, end, first)) continue;
    if (!taken.empty() && hooks_.twice) hooks_.twice(pieces_[first].record, packed_[kRecordType]);
    if (std::ranges::find(taken, packed_) != taken.end()) continue;
    taken.push_back(packed_);
    // Behind all pieces, so that those of the group stay what they are.
    records_.push_back({order_, pieces_[first].record, pieces_.size()});
    for (const std::size_t i : chosen_) pieces_.emplace_back(pieces_[i]);
    const auto number = static_cast<std::size_t>(pieces_[first].record);
    if (number < found_.size()) found_[number] = true;
  }
}

int Salvager::deliver() {
  std::ranges::sort(records_);
  for (const Found& record : records_) {
    packed_.clear();
    for (std::size_t i = record.first;; ++i) {
      append(pieces_[i]);
      if (entry::isLastPiece(at(pieces_[i].offset))) break;
    }
    ++report_.records;
    const int code = hooks_.record(record.record, packed_.data(), packed_.size());
    if (code != kOk) return code;
  }
  return kOk;
}

// Pieces of pages that make no record. What looks like one in rubble need not be one.
void Salvager::loseGroups() {
  for (const Piece& piece : pieces_) {
    const auto number = static_cast<std::size_t>(piece.record);
    if (number >= found_.size() || found_[number] || !mentioned_[number]) continue;
    if (piece.piece != 0 || !readPage(piece.page)) continue;
    const std::uint8_t* const e = at(piece.offset);
    found_[number] = true;
    ++report_.lost;
    if (hooks_.lost)
      hooks_.lost(piece.record, e + kEntryHead, entry::size(e) - kEntryHead, nullptr, 0);
  }
}

// Records of which only keys or later pieces are left.
void Salvager::loseMentioned() {
  for (std::uint32_t number = 0; number < pages_; ++number) {
    if (!readPage(number) || !isSound() || !isLeaf()) continue;
    std::uint32_t offset = kPageHead;
    for (int i = 0; i < page::count(page_); ++i, offset += entry::size(at(offset))) {
      const std::uint8_t* const e = at(offset);
      const auto record = static_cast<std::size_t>(entry::record(e));
      if (entry::index(e) != 1 || record >= found_.size() || found_[record]) continue;
      found_[record] = true;
      ++report_.lost;
      if (hooks_.lost)
        hooks_.lost(entry::record(e), nullptr, 0, entry::key(e), entry::keyLength(e, true));
    }
  }
  for (std::size_t record = 0; record < found_.size(); ++record) {
    if (found_[record] || !mentioned_[record]) continue;
    ++report_.lost;
    if (hooks_.lost) hooks_.lost(static_cast<std::int32_t>(record), nullptr, 0, nullptr, 0);
  }
}

int Salvager::run(const char* path, platform::FileSystem& files) {
  file_ = files.open(path, platform::Access::kRead, platform::Sharing::kNone);
  if (file_ == nullptr) return kNotFound;
  const std::uint64_t size = measure(*file_);
  if (size <= kPageSize) return kBadSignature;
  pages_ = static_cast<std::uint32_t>(std::min<std::uint64_t>((size - 1) / kPageSize, kMaxPages));
  readHeader();
  inChain_.resize(pages_);
  mentioned_.resize(static_cast<std::size_t>(size / kBytesPerRecord + 1));
  found_.resize(mentioned_.size());
  walkChain();
  for (std::uint32_t number = 0; number < pages_; ++number) {
    if (inChain_[number] || !readPage(number)) continue;
    if (!isSound()) {
      report_.whole = false;
      collectRubble(number);
    } else if (isLeaf() && page::count(page_) > 0) {
      report_.whole = false;
      collectSound(number, kBesideChain);
    }
  }
  std::ranges::sort(pieces_);
  const std::size_t collected = pieces_.size();
  for (std::size_t begin = 0, end = 0; begin < collected; begin = end) {
    while (end < collected && pieces_[end].record == pieces_[begin].record) ++end;
    settleGroup(begin, end);
  }
  const int code = deliver();
  if (code != kOk) return code;
  loseGroups();
  loseMentioned();
  return kOk;
}

}  // namespace

int salvage(const char* path, const SalvageHooks& hooks, SalvageReport& report,
            platform::FileSystem& files) {
  try {
    return Salvager(hooks, report).run(path, files);
  } catch (const std::bad_alloc&) {
    return kNoMemory;
  }
}

}  // namespace tavo::engine
