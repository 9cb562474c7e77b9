// One balanced tree of 1024-byte pages holds the entries of all indexes. Page 0 is its root for
// ever.
#include "store/engine/tree.h"

#include <algorithm>
#include <cassert>

#include "store/engine/key.h"
#include "store/engine/transaction.h"

namespace tavo::engine {
namespace {

struct Path {
  int height = 0;
  std::int32_t pages[kMaxHeight];  // by level
};

struct Entry {
  std::uint32_t size = 0;
  std::uint8_t bytes[kMaxEntrySize];
};

// First entry of a page that is not before what is sought. The last entry is probed first, so that
// appending in ascending order costs one comparison.
int searchPage(const ControlBlock& file, const WorkPage& w, const Probe& probe, bool& exact,
               int low = 0) {
  const bool leaf = w.level() == 0;
  int high = w.count - 1;
  int at = high;
  exact = false;
  while (low <= high) {
    const int c = compareEntry(file, w.at(at), leaf, probe);
    if (c == 0) {
      exact = true;
      return at;
    }
    if (c < 0) {
      if (at == high) return at + 1;
      low = at + 1;
    } else {
      if (at == low) return at;
      high = at - 1;
    }
    at = (low + high) / 2;
  }
  return low;
}

// The entry that leads to a page which begins with `first`; returns its size.
std::uint32_t makeSeparator(const std::uint8_t* first, bool leaf, std::int32_t right,
                            std::uint8_t* separator) {
  const std::uint32_t keep = kEntryHead + entry::keyLength(first, leaf);
  std::memcpy(separator, first, keep);
  storeU32(separator + keep, static_cast<std::uint32_t>(right));
  separator[0] = static_cast<std::uint8_t>(keep + kChildSize - 1);
  return keep + kChildSize;
}

Probe probeOf(const std::uint8_t* e, bool leaf) {
  Probe probe;
  probe.index = entry::index(e);
  probe.key = entry::key(e);
  probe.keyLength = entry::keyLength(e, leaf);
  probe.record = entry::record(e);
  probe.piece = entry::piece(e);
  return probe;
}

// From the root to the leaf where the sought belongs. Levels must fall by one at each step, which
// also bounds the way in a damaged file. `hint` receives the leaf and its bound, `path` the pages.
int descend(ControlBlock& file, const Probe& probe, WorkPage*& leaf, Hint& hint, Path* path) {
  std::int32_t number = 0;
  int expected = -1;
  hint.page = kNoPage;
  hint.bounded = false;
  for (;;) {
    WorkPage* w = nullptr;
    const int code = file.cache->load(file, number, w);
    if (code != kOk) return code;
    const int level = w->level();
    if (expected >= 0 && level != expected) return kCorrupt;
    if (path != nullptr) {
      if (expected < 0) path->height = level + 1;
      path->pages[level] = number;
    }
    if (level == 0) {
      leaf = w;
      hint.page = number;
      hint.work = w;
      return kOk;
    }
    bool exact = false;
    const int position = searchPage(file, *w, probe, exact);
    const int chosen = exact ? position : position - 1;
    if (chosen + 1 < w->count) {
      const std::uint8_t* const bound = w->at(chosen + 1);
      std::memcpy(hint.bound, bound, entry::size(bound));
      hint.bounded = true;
    }
    number = static_cast<std::int32_t>(chosen < 0 ? page::firstChild(w->bytes)
                                                  : entry::child(w->at(chosen)));
    expected = level - 1;
  }
}

bool belowBound(const ControlBlock& file, const Hint& hint, const Probe& probe) {
  return !hint.bounded || compareEntry(file, hint.bound, false, probe) > 0;
}

// Takes the leaf behind the hint's when it begins with the sought, as it does when records are read
// one after the other.
bool seekNextLeaf(ControlBlock& file, const Probe& probe, Hint& hint, Place& place) {
  const std::int32_t next = place.page->next();
  WorkPage* w = nullptr;
  if (next == kNoPage || file.cache->load(file, next, w) != kOk) return false;
  if (w->level() != 0 || w->count == 0 || compareEntry(file, w->at(0), true, probe) != 0)
    return false;
  // Its last entry is a bound on the safe side.
  const std::uint8_t* const last = w->at(w->count - 1);
  makeSeparator(last, true, kNoPage, hint.bound);
  hint.bounded = true;
  hint.page = next;
  hint.work = w;
  hint.position = 0;
  place = {w, 0, true};
  return true;
}

// Looks in the leaf of the hint, first around the position that was used last. False when the
// sought may be elsewhere.
bool seekNearby(ControlBlock& file, const Probe& probe, Hint& hint, Place& place) {
  if (file.cache->reload(file, hint.page, hint.work) != kOk) return false;
  WorkPage* const w = hint.work;
  if (w->level() != 0 || w->count == 0) return false;
  int low = hint.position < w->count ? hint.position : 0;
  int c = compareEntry(file, w->at(low), true, probe);
  if (c > 0 && low > 0) {
    low = 0;
    c = compareEntry(file, w->at(0), true, probe);
  }
  if (c > 0) return false;
  place = {w, low, c == 0};
  if (c < 0) {
    ++low;
    const int next = low < w->count ? compareEntry(file, w->at(low), true, probe) : 1;
    place.position = low;
    place.exact = next == 0;
    if (next < 0) place.position = searchPage(file, *w, probe, place.exact, low + 1);
    if (place.position == w->count && !belowBound(file, hint, probe))
      return seekNextLeaf(file, probe, hint, place);
  }
  hint.position = place.position;
  return true;
}

// Puts an entry into a page, which may then hold one too many.
void place(WorkPage& w, int position, const Entry& e) {
  std::uint8_t* const at = w.at(position);
  std::memmove(at + e.size, at, w.offsets[w.count] - w.offsets[position]);
  std::memcpy(at, e.bytes, e.size);
  ++w.count;
  for (int i = w.count; i > position; --i)
    w.offsets[i] = static_cast<std::uint16_t>(w.offsets[i - 1] + e.size);
  page::setCount(w.bytes, w.count);
  page::setFreeBytes(w.bytes, page::freeBytes(w.bytes) - static_cast<int>(e.size));
}

// Takes an entry out of a page.
void displace(WorkPage& w, int position) {
  const std::uint32_t size = entry::size(w.at(position));
  const std::uint32_t end = w.offsets[w.count];
  std::memmove(w.at(position), w.at(position + 1), end - w.offsets[position + 1]);
  std::memset(w.bytes + end - size, 0, size);
  for (int i = position + 1; i < w.count; ++i)
    w.offsets[i] = static_cast<std::uint16_t>(w.offsets[i + 1] - size);
  --w.count;
  page::setCount(w.bytes, w.count);
  page::setFreeBytes(w.bytes, page::freeBytes(w.bytes) + static_cast<int>(size));
}

// Makes the page one of the first `kept` entries.
void truncate(WorkPage& w, int kept) {
  const std::uint32_t end = w.offsets[kept];
  w.count = kept;
  page::setCount(w.bytes, kept);
  page::setFreeBytes(w.bytes, static_cast<int>(kPageSize - end));
  std::memset(w.bytes + end, 0, sizeof w.bytes - end);
}

void copyPage(const WorkPage& from, WorkPage& to) {
  std::memcpy(to.bytes, from.bytes, sizeof to.bytes);
  std::memcpy(to.offsets, from.offsets, sizeof to.offsets);
  to.count = from.count;
  to.sound = from.sound;
}

bool isZeroPage(const std::uint8_t* image) {
  return image[0] == 0 && std::memcmp(image, image + 1, kPageSize - 1) == 0;
}

// kOk for a reserve page, kNotFound for one that holds something, kCorrupt for one that is missing.
int checkReserve(ControlBlock& file, std::uint32_t number) {
  if (number >= file.knownZero) return kOk;
  std::uint8_t image[kPageSize];
  const int code = file.cache->readReserve(file, static_cast<std::int32_t>(number), image);
  if (code == kOk) return isZeroPage(image) ? kOk : kNotFound;
  return code == kShortRead ? int{kCorrupt} : code;
}

// Before the file is extended: what stands behind its last page must not be a page that a crash
// kept out of the header, for that would be overwritten.
int checkEnd(ControlBlock& file) {
  if (file.endKnown) return kOk;
  const std::uint32_t end = file.header.pagesInFile;
  std::uint8_t image[kPageSize];
  const auto transfer =
      file.file->readAt(pagePosition(static_cast<std::int32_t>(end)), image, kPageSize);
  if (transfer == platform::Transfer::kDone) return isZeroPage(image) ? kOk : kCorrupt;
  if (transfer != platform::Transfer::kShort) return kSystemFailed;
  // Only an exclusive opener knows that nobody else extends the file.
  file.endKnown = !file.shared();
  return kOk;
}

// The number of a page from the reserve. A page that is not zero is no reserve whatever the header
// says (its count is behind after a crash) and is passed over.
int takePage(ControlBlock& file, std::int32_t& number) {
  FileHeader& header = file.header;
  while (header.pagesInUse < header.pagesInFile) {
    int code = checkReserve(file, header.pagesInUse);
    // Pages that the header counts but the file has not would be passed over by the million.
    if (code != kOk && code != kNotFound) return code;
    const std::uint32_t taken = header.pagesInUse++;
    file.headerChanged = true;
    if (code != kOk) continue;
    // Should this opener of a shared file die, the next one must not find a page of the tree behind
    // the counted ones.
    if (file.shared() && !file.safe && file.journal == nullptr && taken >= file.countedPages)
      code = writeHeader(file);
    number = static_cast<std::int32_t>(taken);
    return code;
  }
  return kNoReserve;
}

// Entries that stay in a page when it splits. The rightmost page of a level is cut at its very end,
// so that ascending loads leave full pages behind; any other page in half.
int splitPoint(const WorkPage& w) {
  const int threshold = w.next() == kNoPage ? kPageRoom : kSplitHalf;
  int kept = 0;
  while (kept < w.count && w.offsets[kept + 1] - static_cast<int>(kPageHead) < threshold) ++kept;
  return kept;
}

// Splits an overfull page that is not the root.
int splitPage(ControlBlock& file, WorkPage& w, Entry& separator) {
  WorkPage* neighbour = nullptr;
  const std::int32_t oldNext = w.next();
  int code = oldNext == kNoPage ? kOk : file.cache->load(file, oldNext, neighbour);
  if (code == kOk && neighbour != nullptr && neighbour->level() != w.level()) code = kCorrupt;
  if (code == kOk && neighbour != nullptr) code = file.cache->keep(file, *neighbour);
  std::int32_t number = kNoPage;
  if (code == kOk) code = takePage(file, number);
  WorkPage* claimed = nullptr;
  if (code == kOk) code = file.cache->claim(file, number, w.level(), claimed);
  if (code != kOk) return code;

  const bool leaf = w.level() == 0;
  const int kept = splitPoint(w);
  const int moved = leaf ? kept : kept + 1;
  WorkPage& right = *claimed;
  separator.size = makeSeparator(w.at(kept), leaf, number, separator.bytes);
  if (!leaf) page::setFirstChild(right.bytes, entry::child(w.at(kept)));
  std::memcpy(right.bytes + kPageHead, w.at(moved), w.offsets[w.count] - w.offsets[moved]);
  page::setCount(right.bytes, w.count - moved);
  page::setFreeBytes(right.bytes, kPageRoom - (w.offsets[w.count] - w.offsets[moved]));
  page::setPrevious(right.bytes, w.number);
  page::setNext(right.bytes, oldNext);
  right.parse();

  truncate(w, kept);
  page::setNext(w.bytes, number);
  for (Hint& hint : file.hints) {
    if (hint.page == w.number) hint.page = kNoPage;
  }
  file.cache->store(file, right);
  file.cache->store(file, w);
  if (neighbour != nullptr) {
    page::setPrevious(neighbour->bytes, number);
    file.cache->store(file, *neighbour);
  }
  return kOk;
}

// Moves the root's entries to a new page and makes the root its parent. Nothing is stored yet, so
// that in the file the old root is whole until both halves are there.
int growRoot(ControlBlock& file, WorkPage& root, WorkPage*& child) {
  const int level = root.level();
  if (level + 1 >= kMaxHeight || root.next() != kNoPage) return kCorrupt;
  std::int32_t number = kNoPage;
  int code = takePage(file, number);
  if (code == kOk) code = file.cache->claim(file, number, level, child);
  if (code != kOk) return code;
  copyPage(root, *child);
  page::setPrevious(child->bytes, kNoPage);
  code = file.cache->setLevel(root, level + 1);
  if (code != kOk) return code;
  page::clear(root.bytes, level + 1);
  page::setFirstChild(root.bytes, static_cast<std::uint32_t>(number));
  root.parse();
  for (Hint& hint : file.hints) {
    if (hint.page == root.number) hint.page = kNoPage;
  }
  return kOk;
}

// Puts an entry into a page that has no room for it and splits the page, the root after its entries
// moved down.
int placeAndSplit(ControlBlock& file, WorkPage& w, int position, const Entry& e, Entry& separator) {
  place(w, position, e);
  WorkPage* child = &w;
  const int code = w.number == 0 ? growRoot(file, w, child) : kOk;
  return code == kOk ? splitPage(file, *child, separator) : code;
}

// Inserts an entry into the first page of the path and carries separators up until one fits.
int insertUpward(ControlBlock& file, const Path& path, const Entry& first) {
  Entry e = first;
  for (int level = 0; level < path.height; ++level) {
    WorkPage* w = nullptr;
    int code = file.cache->load(file, path.pages[level], w);
    if (code == kOk && !w->sound) code = kCorrupt;
    if (code == kOk) code = file.cache->keep(file, *w);
    if (code != kOk) return code;
    bool exact = false;
    const int position = searchPage(file, *w, probeOf(e.bytes, level == 0), exact);
    if (w->freeBytes() >= static_cast<int>(e.size)) {
      place(*w, position, e);
      file.cache->store(file, *w);
      return kOk;
    }
    Entry separator;
    code = placeAndSplit(file, *w, position, e, separator);
    if (code != kOk) return code;
    e = separator;
  }
  // The root was split: it is now the parent of its own halves.
  WorkPage* root = nullptr;
  int code = file.cache->load(file, 0, root);
  if (code == kOk) code = file.cache->keep(file, *root);
  if (code != kOk) return code;
  assert(root->count == 0 && root->level() == path.height);
  place(*root, 0, e);
  file.cache->store(file, *root);
  return kOk;
}

int insertWithSplit(ControlBlock& file, const Probe& probe, const Entry& e) {
  Path path;
  WorkPage* leaf = nullptr;
  std::uint32_t height = 0;
  int code = treeHeight(file, height);
  // The pages reserved for the record can only run short when it has many pieces.
  if (code == kOk) code = reservePages(file, height + 1);
  if (code == kOk) code = descend(file, probe, leaf, file.hints[probe.index], &path);
  return code == kOk ? insertUpward(file, path, e) : code;
}

// A neighbouring leaf.
int loadLeaf(ControlBlock& file, std::int32_t number, WorkPage*& w) {
  const int code = file.cache->load(file, number, w);
  return code == kOk && w->level() != 0 ? kCorrupt : code;
}

// Empty leaves that form a circle must not hold a walk for as long as a damaged header counts
// pages.
std::int64_t mostHops(const ControlBlock& file) {
  return std::int64_t{std::min(file.header.pagesInFile, kMaxPages)} + 1;
}

}  // namespace

int compareEntry(const ControlBlock& file, const std::uint8_t* e, bool leaf, const Probe& probe) {
  const int index = entry::index(e);
  if (index != probe.index) return index < probe.index ? -1 : 1;
  if (probe.edge != Edge::kNone) return probe.edge == Edge::kFirst ? 1 : -1;
  const std::uint32_t length = entry::keyLength(e, leaf);
  if ((length | probe.keyLength) != 0) {
    const int c = compareKeys(file, index, entry::key(e), length, probe.key, probe.keyLength);
    if (c != 0) return c;
  }
  const std::int32_t record = entry::record(e);
  if (record != probe.record) return record < probe.record ? -1 : 1;
  const int piece = entry::piece(e);
  return piece == probe.piece ? 0 : piece < probe.piece ? -1 : 1;
}

int seek(ControlBlock& file, const Probe& probe, Place& place) {
  Hint& hint = file.hints[probe.index];
  if (hint.page != kNoPage && probe.edge == Edge::kNone && seekNearby(file, probe, hint, place))
    return kOk;
  const int code = descend(file, probe, place.page, hint, nullptr);
  if (code != kOk) return code;
  place.position = searchPage(file, *place.page, probe, place.exact);
  hint.position = place.position;
  return kOk;
}

int settleForward(ControlBlock& file, Place& place, std::int64_t& hops) {
  while (place.position >= place.page->count) {
    const std::int32_t next = place.page->next();
    if (next == kNoPage) return kNotFound;
    if (++hops > mostHops(file)) return kCorrupt;
    const int code = loadLeaf(file, next, place.page);
    if (code != kOk) return code;
    place.position = 0;
  }
  return kOk;
}

int stepBack(ControlBlock& file, Place& place, std::int64_t& hops) {
  while (place.position <= 0) {
    const std::int32_t previous = place.page->previous();
    if (previous == kNoPage) return kNotFound;
    if (--hops < -mostHops(file)) return kCorrupt;
    const int code = loadLeaf(file, previous, place.page);
    if (code != kOk) return code;
    place.position = place.page->count;
  }
  --place.position;
  return kOk;
}

int insertEntry(ControlBlock& file, const Probe& probe, bool lastPiece, const std::uint8_t* data,
                std::uint32_t size) {
  Place where;
  int code = seek(file, probe, where);
  if (code != kOk) return changeCode(code);
  if (where.exact) return kNotFound;
  if (!where.page->sound) return kCorrupt;
  Entry e;
  e.size = kEntryHead + probe.keyLength + size;
  e.bytes[0] = static_cast<std::uint8_t>(e.size - 1);
  e.bytes[1] = static_cast<std::uint8_t>(probe.index);
  e.bytes[2] = static_cast<std::uint8_t>(probe.piece | (lastPiece ? kLastPiece : 0));
  storeU32(e.bytes + 3, static_cast<std::uint32_t>(probe.record));
  if (probe.keyLength != 0) std::memcpy(e.bytes + kEntryHead, probe.key, probe.keyLength);
  if (size != 0) std::memcpy(e.bytes + kEntryHead + probe.keyLength, data, size);
  ++file.stamp;
  if (where.page->freeBytes() < static_cast<int>(e.size))
    return changeCode(insertWithSplit(file, probe, e));
  code = file.cache->keep(file, *where.page);
  if (code != kOk) return code;
  place(*where.page, where.position, e);
  file.cache->store(file, *where.page);
  return kOk;
}

int removeEntry(ControlBlock& file, const Place& place) {
  WorkPage& w = *place.page;
  if (!w.sound) return kCorrupt;
  const int code = file.cache->keep(file, w);
  if (code != kOk) return code;
  ++file.stamp;
  displace(w, place.position);
  file.cache->store(file, w);
  return kOk;
}

int reservePages(ControlBlock& file, std::uint32_t pages) {
  FileHeader& header = file.header;
  int code = kOk;
  // A new file counts page 0 as in use but not as in the file.
  if (header.pagesInFile == 0 && header.pagesInUse == 1) header.pagesInFile = 1;
  if (header.pagesInUse > header.pagesInFile) return kCorrupt;
  static constexpr std::uint8_t kZero[kPageSize] = {};
  bool extended = false;
  while (header.pagesInFile - header.pagesInUse < pages) {
    code = header.pagesInFile < kMaxPages ? checkEnd(file) : kNoRoom;
    if (code != kOk) break;
    if (file.file->writeAt(pagePosition(static_cast<std::int32_t>(header.pagesInFile)), kZero,
                           kPageSize) != platform::Transfer::kDone) {
      code = kNoRoom;
      break;
    }
    ++header.pagesInFile;
    extended = true;
  }
  if (!extended) return code;
  file.headerChanged = true;
  if (!file.shared() && file.writesHeaderAhead()) {
    file.file->flush();
    const int written = writeHeader(file);
    if (code == kOk) code = written;
  }
  return code;
}

int treeHeight(ControlBlock& file, std::uint32_t& height) {
  WorkPage* root = nullptr;
  const int code = file.cache->load(file, 0, root);
  if (code == kOk) height = static_cast<std::uint32_t>(root->level()) + 1;
  return code;
}

}  // namespace tavo::engine
