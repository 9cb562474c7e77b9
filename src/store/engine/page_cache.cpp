// Page buffers: least-recently-used replacement over all open files, write modes, and what happens
// to pages that cannot be written.
#include "store/engine/page_cache.h"

#include <algorithm>
#include <cassert>
#include <cstring>
#include <new>
#include <utility>

#include "store/engine/result.h"
#include "store/engine/transaction.h"

namespace tavo::engine {
namespace {

int readPage(ControlBlock& file, std::int32_t number, std::uint8_t* image) {
  switch (file.file->readAt(pagePosition(number), image, kPageSize)) {
    case platform::Transfer::kDone:
      return kOk;
    case platform::Transfer::kShort:
      return kShortRead;
    default:
      return kSystemFailed;
  }
}

int writePage(ControlBlock& file, std::int32_t number, const std::uint8_t* image) {
  if (file.journal != nullptr && !file.journal->covers(number)) {
    int code = file.journal->save(file.images);
    if (code == kOk) code = file.journal->sync();
    if (code != kOk) return code;
  }
  if (file.safe) {
    const int code = safeWriteStep(file);
    if (code != kOk) return code;
  }
  // Whatever comes of it, the file may hold something else now than what the change found.
  if (PageBuffer* const old = file.images.find(number)) old->dirty = true;
  switch (file.file->writeAt(pagePosition(number), image, kPageSize)) {
    case platform::Transfer::kDone:
      return kOk;
    case platform::Transfer::kSeekFailed:
      return kSystemFailed;
    default:
      return kWriteFailed;
  }
}

constexpr std::uint8_t kNoKind = 0xFF;
constexpr std::uint64_t kNoTime = ~std::uint64_t{0};

// A page of the reserve, which is no page of the tree.
bool isBlank(const std::uint8_t* image) {
  return page::count(image) == 0 && page::freeBytes(image) == 0;
}

bool holds(const PageBuffer& b, const ControlBlock& file, std::int32_t number) {
  return b.page == number && b.owner == &file && b.openId == file.openId;
}

}  // namespace

int WorkPage::parse() {
  const int entries = page::count(bytes);
  const int pageLevel = page::level(bytes);
  if (entries < 0 || page::freeBytes(bytes) < 0 || pageLevel < 0 || pageLevel >= kMaxHeight)
    return kCorrupt;
  if (entries > kMaxEntries) return kUnreadable;
  const std::uint32_t smallest = pageLevel == 0 ? kEntryHead : kEntryHead + kChildSize;
  std::uint32_t offset = kPageHead;
  for (int i = 0; i < entries;) {
    const std::uint8_t length = bytes[offset];
    const std::uint32_t size = length + 1u;
    if (size < smallest) return kUnreadable;
    // Most entries are as long as the one before. That they are is checked beside finding the next
    // one, not before it, which makes a page of a hundred entries four times as fast to read.
    do {
      offsets[i++] = static_cast<std::uint16_t>(offset);
      offset += size;
      if (offset > kPageSize) return kUnreadable;
    } while (i < entries && bytes[offset] == length);
  }
  offsets[entries] = static_cast<std::uint16_t>(offset);
  count = entries;
  sound = page::freeBytes(bytes) == static_cast<int>(kPageSize - offset);
  return kOk;
}

PageCache::Impl::Impl(unsigned buffers) : setting_(buffers) {
  for (int i = 0; i < kSeats; ++i) {
    work_[i].seat = static_cast<std::uint8_t>(i);
    numbers_[i] = kNoPage;
    kinds_[i] = kNoKind;
    times_[0][i] = times_[1][i] = kNoTime;
  }
}

PageCache::Impl::~Impl() {
  while (spares_ != nullptr) {
    PageBuffer* const b = spares_;
    spares_ = b->next;
    pool_.give(b);
  }
}

int PageCache::Impl::prepare() {
  if (setting_ == 0 || buffers_ != nullptr) return kOk;
  buffers_.reset(new (std::nothrow) PageBuffer[setting_]);
  if (buffers_ == nullptr) return kNoMemory;
  for (unsigned i = 0; i + 1 < setting_; ++i) buffers_[i].next = &buffers_[i + 1];
  head_ = &buffers_[0];
  return kOk;
}

// Moves a buffer, found behind `before`, to the head of the list.
void PageCache::Impl::toHead(PageBuffer* before, PageBuffer* b) {
  if (before == nullptr) return;
  before->next = b->next;
  b->next = head_;
  head_ = b;
}

// The page's buffer, wherever it is; null when it has none.
PageBuffer* PageCache::Impl::look(const ControlBlock& file, std::int32_t number) const {
  for (PageBuffer* list : {head_, spares_}) {
    for (PageBuffer* b = list; b != nullptr; b = b->next) {
      if (holds(*b, file, number)) return b;
    }
  }
  return nullptr;
}

// The same; it becomes the most recently used one.
PageBuffer* PageCache::Impl::find(const ControlBlock& file, std::int32_t number) {
  PageBuffer* before = nullptr;
  for (PageBuffer* b = head_; b != nullptr; before = b, b = b->next) {
    if (!holds(*b, file, number)) continue;
    toHead(before, b);
    return b;
  }
  return spares_ == nullptr ? nullptr : look(file, number);
}

WorkPage* PageCache::Impl::held(const ControlBlock& file, std::int32_t number) {
  for (int i = 0; i < kSeats; ++i) {
    if (numbers_[i] != number) continue;
    WorkPage& w = work_[i];
    if (w.owner == &file && w.openId == file.openId) return &w;
  }
  return nullptr;
}

int PageCache::Impl::writeBack(PageBuffer& b) {
  const int code = writePage(*b.owner, b.page, b.image);
  if (code == kOk) b.dirty = false;
  return code;
}

// The least recently used buffer, free for another page and at the head. Null with an error when
// its page cannot be written.
int PageCache::Impl::takeOldest(PageBuffer*& out) {
  out = nullptr;
  PageBuffer* before = nullptr;
  PageBuffer* b = head_;
  for (; b->next != nullptr; b = b->next) before = b;
  const int code = b->dirty ? writeBack(*b) : kOk;
  if (code != kOk) return code;
  toHead(before, b);
  b->owner = nullptr;
  b->page = kNoPage;
  out = b;
  return kOk;
}

// The least recently used buffer that need not be written first, where it is; null without one.
PageBuffer* PageCache::Impl::oldestClean() {
  PageBuffer* clean = nullptr;
  for (PageBuffer* b = head_; b != nullptr; b = b->next) {
    if (!b->dirty) clean = b;
  }
  return clean;
}

int PageCache::Impl::readImage(ControlBlock& file, std::int32_t number, std::uint8_t* image) {
  if (setting_ == 0 && spares_ == nullptr) return readPage(file, number, image);
  int code = setting_ == 0 ? kOk : noticeChange(file);
  if (code != kOk) return code;
  PageBuffer* b = find(file, number);
  if (b != nullptr) {
    std::memcpy(image, b->image, kPageSize);
    return kOk;
  }
  if (setting_ == 0) return readPage(file, number, image);
  code = takeOldest(b);
  if (code == kOk) code = readPage(file, number, image);
  if (code != kOk) return code;
  std::memcpy(b->image, image, kPageSize);
  b->owner = &file;
  b->openId = file.openId;
  b->page = number;
  b->dirty = false;
  return kOk;
}

int PageCache::Impl::readReserve(ControlBlock& file, std::int32_t number, std::uint8_t* image) {
  const PageBuffer* const b = look(file, number);
  if (b == nullptr) return readPage(file, number, image);
  std::memcpy(image, b->image, kPageSize);
  return kOk;
}

bool PageCache::Impl::countsHold() const {
  int counted[2] = {};
  for (const WorkPage& w : work_) {
    if (w.owner == nullptr) continue;
    ++counted[kindOf(w.level())];
    if (numbers_[w.seat] != w.number || kinds_[w.seat] != kindOf(w.level())) return false;
  }
  return counted[0] == held_[0] && counted[1] == held_[1] && held_[0] <= kLeafPages &&
         held_[1] <= kInnerPages;
}

WorkPage& PageCache::Impl::unused() {
  assert(countsHold());
  int seat = 0;
  while (kinds_[seat] != kNoKind) ++seat;
  return work_[seat];
}

// Makes sure that there may be one more page of a kind; the one that was not asked for longest
// makes room for it.
int PageCache::Impl::makeRoom(int kind) {
  if (held_[kind] < (kind == 0 ? kLeafPages : kInnerPages)) return kOk;
  std::uint64_t first = kNoTime;
  for (const std::uint64_t time : times_[kind]) first = std::min(first, time);
  WorkPage& oldest = work_[first & 0xFF];
  // Its owner learns of a failed write. Only a page that no memory was left for stays here.
  const int code = oldest.dirty ? push(oldest) : kOk;
  if (oldest.dirty) return code;
  release(oldest);
  return kOk;
}

// Makes a page one of those worked on.
int PageCache::Impl::admit(WorkPage& w, ControlBlock& file, std::int32_t number) {
  assert(w.owner == nullptr && held(file, number) == nullptr);
  const int kind = kindOf(w.level());
  const int code = makeRoom(kind);
  if (code != kOk) return code;
  ++held_[kind];
  kinds_[w.seat] = static_cast<std::uint8_t>(kind);
  numbers_[w.seat] = w.number = number;
  w.owner = &file;
  w.openId = file.openId;
  w.dirty = false;
  w.kept = 0;
  touch(w);
  return kOk;
}

void PageCache::Impl::release(WorkPage& w) {
  if (w.owner == nullptr) return;
  --held_[kinds_[w.seat]];
  times_[kinds_[w.seat]][w.seat] = kNoTime;
  kinds_[w.seat] = kNoKind;
  numbers_[w.seat] = kNoPage;
  w.owner = nullptr;
  w.dirty = false;
}

int PageCache::Impl::setLevel(WorkPage& w, int level) {
  const int from = kindOf(w.level());
  const int to = kindOf(level);
  if (from != to) {
    const int code = makeRoom(to);
    if (code != kOk) return code;
    --held_[from];
    ++held_[to];
    kinds_[w.seat] = static_cast<std::uint8_t>(to);
    times_[to][w.seat] = std::exchange(times_[from][w.seat], kNoTime);
  }
  page::setLevel(w.bytes, level);
  assert(countsHold());
  return kOk;
}

int PageCache::Impl::claim(ControlBlock& file, std::int32_t number, int level, WorkPage*& out) {
  assert(file.images.open());
  // A page that somebody came across is no reserve: a link leads to it.
  if (held(file, number) != nullptr || file.images.find(number) != nullptr) return kCorrupt;
  WorkPage& w = unused();
  page::clear(w.bytes, level);
  w.parse();
  if (file.images.add(number, nullptr) == nullptr) return kNoMemory;
  const int code = admit(w, file, number);
  if (code != kOk) return code;
  w.kept = file.images.serial();
  out = &w;
  return kOk;
}

int PageCache::Impl::load(ControlBlock& file, std::int32_t number, WorkPage*& out) {
  if (number < 0) return kNegativePage;
  if (WorkPage* const w = held(file, number)) {
    touch(*w);
    out = w;
    return kOk;
  }
  if (static_cast<std::uint32_t>(number) > file.header.pagesInFile) return kCorrupt;
  WorkPage& w = unused();
  int code = readImage(file, number, w.bytes);
  if (code == kOk) code = w.parse();
  if (code == kOk) code = admit(w, file, number);
  if (code == kOk) out = &w;
  return code;
}

int PageCache::Impl::keepImage(ControlBlock& file, WorkPage& w) {
  // A page that was pushed out and came back has its image already.
  if (file.images.find(w.number) == nullptr && file.images.add(w.number, w.bytes) == nullptr)
    return kNoMemory;
  w.kept = file.images.serial();
  return kOk;
}

// Copies a work page to its buffer, or writes it when the write mode wants that.
int PageCache::Impl::push(WorkPage& w) {
  ControlBlock& file = *w.owner;
  int code = kOk;
  PageBuffer* b = setting_ == 0 && spares_ == nullptr ? nullptr : find(file, w.number);
  if (b == nullptr && setting_ != 0) code = takeOldest(b);
  bool dirty = true;
  if (writesThrough(file, w.level())) {
    const int written = writePage(file, w.number, w.bytes);
    dirty = written != kOk;
    if (dirty) file.owesWrites = true;
    if (code == kOk) code = written;
  }
  if (b == nullptr && dirty) {
    b = pool_.take();
    if (b == nullptr) {
      // It has no other place than this one.
      file.ioError = kNoMemory;
      return kNoMemory;
    }
    b->next = spares_;
    spares_ = b;
    file.owesWrites = true;
  }
  if (b != nullptr) {
    std::memcpy(b->image, w.bytes, kPageSize);
    b->owner = &file;
    b->openId = file.openId;
    b->page = w.number;
    b->dirty = dirty;
  }
  w.dirty = false;
  if (file.ioError == kOk) file.ioError = code;
  return code;
}

// With a journal there is nothing to be gained by writing before the end of the transaction.
bool PageCache::Impl::writesThrough(const ControlBlock& file, int level) const {
  return setting_ == 0 ||
         (file.journal == nullptr && (file.writeMode == 3 || (file.writeMode == 2 && level == 0)));
}

int PageCache::Impl::store(ControlBlock& file, WorkPage& w) {
  assert(w.kept == file.images.serial() && file.images.find(w.number) != nullptr);
  int code = kOk;
  if (page::count(w.bytes) < 0 || page::freeBytes(w.bytes) < 0) return kCorrupt;
  file.headerChanged = true;
  w.dirty = true;
  if (writesThrough(file, w.level())) code = push(w);
  if (static_cast<std::uint32_t>(w.number) > file.header.pagesInFile) code = kCorrupt;
  if (file.ioError == kOk) file.ioError = code;
  return code;
}

bool PageCache::Impl::anyDirty(const ControlBlock& file) const {
  for (const WorkPage& w : work_) {
    if (w.dirty && w.owner == &file) return true;
  }
  for (const PageBuffer* list : {head_, spares_}) {
    for (const PageBuffer* b = list; b != nullptr; b = b->next) {
      if (b->dirty && b->owner == &file) return true;
    }
  }
  return false;
}

int PageCache::Impl::writeDirty(ControlBlock& file) {
  int first = kOk;
  for (WorkPage& w : work_) {
    if (w.owner != &file || !w.dirty) continue;
    const int code = push(w);
    if (first == kOk) first = code;
  }
  for (PageBuffer* list : {head_, spares_}) {
    for (PageBuffer* b = list; b != nullptr; b = b->next) {
      if (!b->dirty || b->owner != &file) continue;
      const int code = writeBack(*b);
      if (first == kOk) first = code;
    }
  }
  return first;
}

// Writes what the write mode wants in the file by now, and the pages that found no buffer.
int PageCache::Impl::writeOwed(ControlBlock& file) {
  int first = kOk;
  for (WorkPage& w : work_) {
    if (w.owner != &file || !w.dirty || !writesThrough(file, w.level())) continue;
    const int code = push(w);
    if (first == kOk) first = code;
  }
  for (PageBuffer* list : {head_, spares_}) {
    for (PageBuffer* b = list; b != nullptr; b = b->next) {
      if (!b->dirty || b->owner != &file) continue;
      if (list == head_ && !writesThrough(file, page::level(b->image))) continue;
      const int code = writeBack(*b);
      if (first == kOk) first = code;
    }
  }
  freeSpares(file, false);
  file.owesWrites = first != kOk;
  return first;
}

// One old image. A page that the change took from the reserve and did not write is forgotten.
void PageCache::Impl::putBack(ControlBlock& file, PageBuffer* old) {
  const bool fresh = isBlank(old->image);
  WorkPage* const w = held(file, old->page);
  if (w != nullptr && !fresh && w->level() == page::level(old->image)) {
    std::memcpy(w->bytes, old->image, kPageSize);
    w->parse();
    w->dirty = true;
    return pool_.give(old);
  }
  if (w != nullptr) release(*w);
  PageBuffer* b = look(file, old->page);
  if (b == nullptr && old->dirty) b = oldestClean();
  if (b != nullptr) {
    std::memcpy(b->image, old->image, kPageSize);
    b->owner = old->dirty ? &file : nullptr;
    b->openId = file.openId;
    b->page = old->page;
    b->dirty = old->dirty;
  } else if (old->dirty) {
    // It was pushed out and no buffer is free for it without a write: it stays as it is.
    old->owner = &file;
    old->openId = file.openId;
    old->next = spares_;
    spares_ = old;
    file.owesWrites = true;
    return;
  }
  pool_.give(old);
}

void PageCache::Impl::undo(ControlBlock& file) {
  while (PageBuffer* const old = file.images.takeFirst()) putBack(file, old);
  assert(countsHold());
  // What cannot be written now is owed to the file.
  if (setting_ == 0 || file.writeMode == 2 || file.writeMode == 3) writeOwed(file);
}

void PageCache::Impl::freeSpares(const ControlBlock& file, bool dirtyToo) {
  PageBuffer** link = &spares_;
  while (*link != nullptr) {
    PageBuffer* const b = *link;
    if (b->owner == nullptr || (b->owner == &file && (dirtyToo || !b->dirty))) {
      *link = b->next;
      pool_.give(b);
    } else {
      link = &b->next;
    }
  }
}

void PageCache::Impl::drop(const ControlBlock& file) {
  for (PageBuffer* b = head_; b != nullptr; b = b->next) {
    if (b->owner != &file) continue;
    b->owner = nullptr;
    b->page = kNoPage;
    b->dirty = false;
  }
  freeSpares(file, true);
  for (WorkPage& w : work_) {
    if (w.owner == &file) release(w);
  }
}

PageCache::PageCache(unsigned buffers) : impl_(std::make_unique<Impl>(buffers)) {}
PageCache::~PageCache() = default;

}  // namespace tavo::engine
