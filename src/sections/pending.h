// The records of a POINTS, LINES or POLYGONS block that wait for their delivery. A record takes the
// bytes of its declared columns only, in memory that grows by large chunks; columns that come later
// get rows of their own beside the first ones.
#pragma once

#include <cstdint>
#include <cstring>
#include <memory>
#include <span>
#include <vector>

#include "platform/memory.h"
#include "reader/columns.h"
#include "schema/fields.h"

namespace tavo::sections {

// Rows of equal size, numbered from 0: the first ones in a small chunk, which is enough for most
// blocks, the others in large ones.
class Rows {
 public:
  // size: bytes of a row, at most schema::kRecordRoom; 0 is allowed. Rows never written are zero
  // when zeroed says so, else undefined.
  Rows(size_t size, bool zeroed);
  // Drops all rows.
  void clear();
  // Gives back memory of rows below this one, which must not be asked for any more.
  void release(size_t row);
  // The row's bytes; memory up to it is made when it is not there. Throws std::bad_alloc.
  uint8_t* make(size_t row) {
    while (row >= made_) grow();
    return at(row);
  }
  // The row's bytes, or null when it was never made.
  const uint8_t* find(size_t row) const { return row < made_ ? at(row) : nullptr; }

 private:
  void grow();
  uint8_t* at(size_t row) const {
    if (row < firstRows_) return first_.get() + row * size_;
    row -= firstRows_;
    return chunks_[row >> shift_].get() + (row & ((size_t{1} << shift_) - 1)) * size_;
  }

  size_t size_;
  bool zeroed_;
  size_t firstRows_;
  unsigned shift_;  // rows of a large chunk, as a power of two
  size_t made_ = 0;
  size_t released_ = 0;  // large chunks given back
  std::unique_ptr<uint8_t[]> first_;
  std::vector<platform::LargeChunk> chunks_;
};

class PendingList {
 public:
  // Where a member of the record is kept.
  struct Place {
    uint16_t offset;  // in the record
    uint16_t size;
    uint16_t group;
    uint16_t packed;  // in the group's row
  };

  // With origins line and fields of every record are kept, too.
  explicit PendingList(bool origins) : keepsOrigins_(origins) {}

  // Adds rows for those of the columns that have no place yet.
  void addGroup(std::span<const reader::Column> columns);
  // Place of the member at a record offset, or null.
  const Place* place(uint16_t offset) const;

  // The empty record at the end of the list, which takes the next data line: its first group's row.
  uint8_t* next() { return groups_[0].make(size_); }
  void commit(const reader::Origin& origin) {
    if (keepsOrigins_) std::memcpy(origins_.make(size_), &origin, sizeof origin);
    ++size_;
  }
  size_t size() const { return size_; }
  // Copies of the members' bytes; set and get take a record below size(). A changed value costs the
  // index over its member.
  void set(size_t record, const Place& place, const uint8_t* bytes);
  const uint8_t* get(size_t record, const Place& place) const;
  // Sets or clears fields among those that the record's lines gave.
  void give(size_t record, uint64_t fields, bool given);
  // Where the record comes from; nothing without origins.
  reader::Origin origin(size_t record) const {
    reader::Origin origin;
    if (keepsOrigins_) std::memcpy(&origin, origins_.find(record), sizeof origin);
    return origin;
  }
  // Copies the record's members to their offsets.
  void unpack(size_t record, uint8_t* target) const;
  // Gives back memory while the records are delivered: those below this one must not be asked for
  // any more, and none is looked up before the list is cleared.
  void release(size_t record);
  // Drops the records, keeps the places.
  void clear();

  // The first record whose member at offset has these bytes, or size(). Long lists are looked up by
  // hash.
  size_t find(uint16_t offset, std::span<const uint8_t> key);

 private:
  // Hash slots hold record numbers + 1; the first of equal keys stays.
  struct Index {
    uint16_t offset;
    size_t indexed;  // records in the index
    std::vector<uint32_t> slots;
  };
  // Bytes that lie side by side in the record and in the row.
  struct Piece {
    uint16_t offset, size, packed, group;
  };

  Index& indexOf(uint16_t offset);
  void extend(Index& index, const Place& place);

  std::vector<Place> places_;
  std::vector<Piece> pieces_;
  std::vector<Rows> groups_;
  std::vector<Index> indexes_;
  Rows origins_{sizeof(reader::Origin), false};
  bool keepsOrigins_;
  size_t size_ = 0;
};

}  // namespace tavo::sections
