// Rows, places and key indexes of the pending records.
#include "sections/pending.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace tavo::sections {

namespace {

constexpr size_t kFirstChunk = size_t{1} << 14;
// Up to this length a list is searched from its start.
constexpr size_t kShortList = 32;

size_t hashOf(const uint8_t* bytes, size_t size) {
  uint64_t hash = 1469598103934665603U;
  for (size_t i = 0; i < size; ++i) hash = (hash ^ bytes[i]) * 1099511628211U;
  return static_cast<size_t>(hash ^ (hash >> 32));
}

constexpr uint8_t kZeros[schema::kRecordRoom] = {};

}  // namespace

Rows::Rows(size_t size, bool zeroed)
    : size_(size),
      zeroed_(zeroed),
      firstRows_(kFirstChunk / std::max<size_t>(size, 1)),
      shift_(static_cast<unsigned>(
          std::bit_width(platform::kLargeChunk / std::max<size_t>(size, 1)) - 1)) {}

void Rows::clear() {
  made_ = released_ = 0;
  first_.reset();
  chunks_.clear();
}

void Rows::release(size_t row) {
  if (row < firstRows_) return;
  const size_t end = std::min((row - firstRows_) >> shift_, chunks_.size());
  for (; released_ < end; ++released_) chunks_[released_].reset();
}

void Rows::grow() {
  if (made_ == 0) {
    first_ = zeroed_ ? std::make_unique<uint8_t[]>(kFirstChunk)
                     : std::make_unique_for_overwrite<uint8_t[]>(kFirstChunk);
    made_ = firstRows_;
    return;
  }
  chunks_.push_back(platform::makeLargeChunk());
  if (zeroed_) std::memset(chunks_.back().get(), 0, platform::kLargeChunk);
  made_ += size_t{1} << shift_;
}

void PendingList::addGroup(std::span<const reader::Column> columns) {
  const size_t first = places_.size();
  const auto group = static_cast<uint16_t>(groups_.size());
  for (const reader::Column& column : columns) {
    if (column.offset == schema::kNotKept || place(column.offset) != nullptr) continue;
    places_.push_back({column.offset,
                       static_cast<uint16_t>(schema::storedSize(column.type, column.width)), group,
                       0});
  }
  // In the order of the record, so that neighbours are copied in one piece.
  std::sort(places_.begin() + static_cast<std::ptrdiff_t>(first), places_.end(),
            [](const Place& a, const Place& b) { return a.offset < b.offset; });
  uint16_t packed = 0;
  for (size_t i = first; i < places_.size(); ++i) {
    Place& added = places_[i];
    added.packed = packed;
    packed = static_cast<uint16_t>(packed + added.size);
    Piece* const before = i == first ? nullptr : &pieces_.back();
    if (before != nullptr && before->offset + before->size == added.offset) {
      before->size = static_cast<uint16_t>(before->size + added.size);
    } else {
      pieces_.push_back({added.offset, added.size, added.packed, group});
    }
  }
  // A data line sets all of the first group's columns; later ones are set for some records only.
  if (group == 0 || packed > 0) groups_.emplace_back(packed, group != 0);
}

const PendingList::Place* PendingList::place(uint16_t offset) const {
  const auto found = std::ranges::find(places_, offset, &Place::offset);
  return found == places_.end() ? nullptr : &*found;
}

void PendingList::set(size_t record, const Place& place, const uint8_t* bytes) {
  uint8_t* const member = groups_[place.group].make(record) + place.packed;
  if (std::memcmp(member, bytes, place.size) == 0) return;
  std::memcpy(member, bytes, place.size);
  std::erase_if(indexes_, [&](const Index& index) { return index.offset == place.offset; });
}

const uint8_t* PendingList::get(size_t record, const Place& place) const {
  const uint8_t* const row = groups_[place.group].find(record);
  return row == nullptr ? kZeros : row + place.packed;
}

void PendingList::unpack(size_t record, uint8_t* target) const {
  for (const Piece& piece : pieces_) {
    const uint8_t* const row = groups_[piece.group].find(record);
    if (row == nullptr) {
      std::memset(target + piece.offset, 0, piece.size);
    } else {
      std::memcpy(target + piece.offset, row + piece.packed, piece.size);
    }
  }
}

void PendingList::give(size_t record, uint64_t fields, bool given) {
  if (!keepsOrigins_) return;
  reader::Origin now = origin(record);
  now.given = given ? now.given | fields : now.given & ~fields;
  std::memcpy(origins_.make(record), &now, sizeof now);
}

void PendingList::release(size_t record) {
  for (Rows& rows : groups_) rows.release(record);
  origins_.release(record);
  indexes_.clear();
}

void PendingList::clear() {
  for (Rows& rows : groups_) rows.clear();
  origins_.clear();
  indexes_.clear();
  size_ = 0;
}

size_t PendingList::find(uint16_t offset, std::span<const uint8_t> key) {
  const Place* const member = place(offset);
  if (member == nullptr) {  // no column gave it: it is zero in every record
    return std::ranges::all_of(key, [](uint8_t byte) { return byte == 0; }) ? 0 : size_;
  }
  const auto matches = [&](size_t record) {
    return std::memcmp(get(record, *member), key.data(), key.size()) == 0;
  };
  if (size_ <= kShortList) {
    size_t record = 0;
    while (record < size_ && !matches(record)) ++record;
    return record;
  }
  Index& index = indexOf(offset);
  extend(index, *member);
  const size_t mask = index.slots.size() - 1;
  for (size_t slot = hashOf(key.data(), key.size()) & mask; index.slots[slot] != 0;
       slot = (slot + 1) & mask) {
    if (matches(index.slots[slot] - 1U)) return index.slots[slot] - 1U;
  }
  return size_;
}

PendingList::Index& PendingList::indexOf(uint16_t offset) {
  const auto found = std::ranges::find(indexes_, offset, &Index::offset);
  return found != indexes_.end() ? *found : indexes_.emplace_back(Index{offset, 0, {}});
}

void PendingList::extend(Index& index, const Place& place) {
  if (index.slots.size() < 2 * size_) {
    index.slots.assign(std::bit_ceil(4 * size_), 0);
    index.indexed = 0;
  }
  const size_t mask = index.slots.size() - 1;
  for (; index.indexed < size_; ++index.indexed) {
    const uint8_t* const key = get(index.indexed, place);
    size_t slot = hashOf(key, place.size) & mask;
    while (index.slots[slot] != 0 &&
           std::memcmp(get(index.slots[slot] - 1U, place), key, place.size) != 0) {
      slot = (slot + 1) & mask;
    }
    if (index.slots[slot] == 0) index.slots[slot] = static_cast<uint32_t>(index.indexed + 1);
  }
}

}  // namespace tavo::sections
