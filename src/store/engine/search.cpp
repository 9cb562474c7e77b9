// Searches and moves, and the positions that they leave the indexes in.
#include "store/engine/search.h"

#include <cstring>

#include "store/engine/key.h"
#include "store/engine/page_cache.h"
#include "store/engine/transaction.h"
#include "store/engine/tree.h"

namespace tavo::engine {
namespace {

Probe probeOf(int index, const Cursor& cursor) {
  Probe probe;
  probe.index = index;
  probe.key = cursor.key;
  probe.keyLength = cursor.keyLength;
  probe.record = cursor.record;
  probe.piece = cursor.piece;
  return probe;
}

// Positions an index on an entry.
void setCursor(ControlBlock& file, Cursor& cursor, const Place& at) {
  const std::uint8_t* const e = at.entry();
  cursor.state = Cursor::kAt;
  cursor.page = at.page->number;
  cursor.work = at.page;
  cursor.position = at.position;
  cursor.stamp = file.stamp;
  cursor.record = entry::record(e);
  cursor.piece = static_cast<std::uint8_t>(entry::piece(e));
  cursor.keyLength = entry::keyLength(e, true);
  std::memcpy(cursor.key, entry::key(e), cursor.keyLength);
}

// Where the index is positioned: its entry, or the first one behind where it was.
int locate(ControlBlock& file, int index, Place& at) {
  Cursor& cursor = file.cursors[index];
  if (cursor.stamp == file.stamp) {
    at.position = cursor.position;
    at.exact = true;
    const int code = file.cache->reload(file, cursor.page, cursor.work);
    at.page = cursor.work;
    return code;
  }
  cursor.hops = 0;
  return seek(file, probeOf(index, cursor), at);
}

int seekEdge(ControlBlock& file, int index, Edge edge, Place& at) {
  Probe probe;
  probe.index = index;
  probe.edge = edge;
  file.cursors[index].hops = 0;
  return seek(file, probe, at);
}

int moveForward(ControlBlock& file, int index, bool first, Place& at) {
  Cursor& cursor = file.cursors[index];
  int code;
  if (first || cursor.state == Cursor::kNone || cursor.state == Cursor::kBeforeFirst) {
    code = seekEdge(file, index, Edge::kFirst, at);
  } else {
    code = locate(file, index, at);
    if (code == kOk && at.exact) ++at.position;
  }
  if (code == kOk) code = settleForward(file, at, cursor.hops);
  return code;
}

int moveBack(ControlBlock& file, int index, bool last, Place& at) {
  Cursor& cursor = file.cursors[index];
  const bool fromEnd = last || cursor.state == Cursor::kNone || cursor.state == Cursor::kAfterLast;
  const int code = fromEnd ? seekEdge(file, index, Edge::kLast, at) : locate(file, index, at);
  return code == kOk ? stepBack(file, at, cursor.hops) : code;
}

bool hasKey(const ControlBlock& file, const std::uint8_t* e, int index, const Key& key) {
  return entry::index(e) == index &&
         compareKeys(file, index, entry::key(e), entry::keyLength(e, true), key.bytes,
                     key.length) == 0;
}

// The search itself; `at` becomes the entry found.
int search(ControlBlock& file, int index, const Key& key, int mode, Place& at) {
  Probe probe;
  probe.index = index;
  probe.key = key.bytes;
  probe.keyLength = key.length;
  if (mode == kGreater) {
    probe.record = 0x7FFFFFFF;
    probe.piece = kMaxPieces - 1;
  }
  std::int64_t& hops = file.cursors[index].hops;
  hops = 0;
  int code = seek(file, probe, at);
  if (code != kOk) return code;
  const bool backward = mode == kLess || mode == kLessOrEqual;
  Place forward = at;
  if (mode != kLess) {
    code = settleForward(file, forward, hops);
    if (code != kOk && !(backward && code == kNotFound)) return code;
    if (code == kOk && entry::index(forward.entry()) == index) {
      at = forward;
      const bool equal = mode != kGreater && hasKey(file, at.entry(), index, key);
      if (equal || mode == kGreater) return kOk;
      if (mode == kGreaterOrEqual) return kFoundGreater;
    }
  }
  if (!backward) return kNotFound;
  code = stepBack(file, at, hops);
  if (code == kOk && entry::index(at.entry()) != index) code = kNotFound;
  return code == kOk && mode == kLessOrEqual ? int{kFoundLess} : code;
}

}  // namespace

int moveAlong(ControlBlock& file, int index, int how) {
  Cursor& cursor = file.cursors[index];
  const bool forward = how == kNext || how == kFirst;
  Place at;
  int code = forward ? moveForward(file, index, how == kFirst, at)
                     : moveBack(file, index, how == kLast, at);
  if (code == kOk && entry::index(at.entry()) != index) code = kNotFound;
  if (code == kOk) {
    setCursor(file, cursor, at);
    file.currentRecord = cursor.record;
    return kOk;
  }
  code = searchCode(code);
  if (how == kFirst || how == kLast) {
    cursor.state = Cursor::kNone;
  } else if (code == kNotFound && cursor.state != Cursor::kNone) {
    cursor.state = forward ? Cursor::kAfterLast : Cursor::kBeforeFirst;
  }
  return code;
}

int findKey(ControlBlock& file, int index, const Key& key, int mode) {
  file.currentRecord = 0;
  file.soughtIndex = index;
  file.soughtLength = key.length;
  std::memcpy(file.sought, key.bytes, key.length);
  ReadTransaction transaction(file);
  if (transaction.code() != kOk) return transaction.code();
  Place at;
  Cursor& cursor = file.cursors[index];
  const int code = searchCode(search(file, index, key, mode, at));
  if (code >= kOk) {
    setCursor(file, cursor, at);
    file.currentRecord = cursor.record;
  } else {
    // The index is then positioned between the entries around the key.
    cursor.state = Cursor::kAt;
    cursor.stamp = 0;
    cursor.record = mode == kGreater ? 0x7FFFFFFF : 0;
    cursor.piece = mode == kGreater ? kMaxPieces - 1 : 0;
    cursor.keyLength = key.length;
    std::memcpy(cursor.key, key.bytes, key.length);
  }
  const int ended = transaction.end(code);
  if (ended < kOk) file.currentRecord = 0;
  return ended;
}

bool atSoughtKey(const ControlBlock& file, int index) {
  if (index != file.soughtIndex) return false;
  const Cursor& cursor = file.cursors[index];
  return cursor.state == Cursor::kAt && compareKeys(file, index, cursor.key, cursor.keyLength,
                                                    file.sought, file.soughtLength) == 0;
}

}  // namespace tavo::engine
