// Page buffers: least-recently-used replacement over all open files, write modes, and what happens
// to pages that cannot be written.
#include <new>

#include "store/engine/block.h"

namespace tavo::engine {
namespace {

int readPage(ControlBlock& file, std::int32_t number, std::uint8_t* image) {
  switch (file.file->readAt(pagePosition(number), image, kPageSize)) {
    case platform::Transfer::kDone:
      return kOk;
    case platform::Transfer::kShort:
      return kShortRead;
    default:
      return kNotFound;
  }
}

int writePage(ControlBlock& file, std::int32_t number, const std::uint8_t* image) {
  if (file.writeMode == 4) {
    const int code = safeWriteStep(file);
    if (code != kOk) return code;
  }
  switch (file.file->writeAt(pagePosition(number), image, kPageSize)) {
    case platform::Transfer::kDone:
      return kOk;
    case platform::Transfer::kSeekFailed:
      return kNotFound;
    default:
      return kWriteFailed;
  }
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
  for (int i = 0; i < entries; ++i) {
    offsets[i] = static_cast<std::uint16_t>(offset);
    const std::uint32_t size = entry::size(bytes + offset);
    offset += size;
    if (size < smallest || offset > kPageSize) return kUnreadable;
  }
  offsets[entries] = static_cast<std::uint16_t>(offset);
  count = entries;
  sound = page::freeBytes(bytes) == static_cast<int>(kPageSize - offset);
  return kOk;
}

PageCache::Impl::~Impl() {
  while (spares_ != nullptr) {
    PageBuffer* const b = spares_;
    spares_ = b->next;
    delete b;
  }
}

int PageCache::Impl::prepare() {
  if (setting == 0 || buffers_ != nullptr) return kOk;
  buffers_.reset(new (std::nothrow) PageBuffer[setting]);
  if (buffers_ == nullptr) return kNoMemory;
  for (unsigned i = 0; i + 1 < setting; ++i) buffers_[i].next = &buffers_[i + 1];
  head_ = &buffers_[0];
  return kOk;
}

bool PageCache::Impl::holds(const PageBuffer& b, const ControlBlock& file,
                            std::int32_t number) const {
  return b.page == number && b.owner == &file && b.openId == file.openId;
}

// Moves a buffer, found behind `before`, to the head of the list.
void PageCache::Impl::toHead(PageBuffer* before, PageBuffer* b) {
  if (before == nullptr) return;
  before->next = b->next;
  b->next = head_;
  head_ = b;
}

// The page's buffer, which becomes the most recently used one; null when it has none.
PageBuffer* PageCache::Impl::find(const ControlBlock& file, std::int32_t number) {
  PageBuffer* before = nullptr;
  for (PageBuffer* b = head_; b != nullptr; before = b, b = b->next) {
    if (!holds(*b, file, number)) continue;
    toHead(before, b);
    return b;
  }
  for (PageBuffer* b = spares_; b != nullptr; b = b->next) {
    if (holds(*b, file, number)) return b;
  }
  return nullptr;
}

int PageCache::Impl::writeBack(PageBuffer& b) {
  const int code = writePage(*b.owner, b.page, b.image);
  if (code == kOk) b.dirty = false;
  return code;
}

// The least recently used buffer, free for another page and at the head. Null with an error when
// its page cannot be written; a rescue then takes any clean buffer, or none without an error.
int PageCache::Impl::takeOldest(PageBuffer*& out) {
  PageBuffer* before = nullptr;
  PageBuffer* b = head_;
  for (; b->next != nullptr; b = b->next) before = b;
  int code = kOk;
  if (b->dirty) code = writeBack(*b);
  if (code != kOk) {
    out = nullptr;
    if (!rescue) return code;
    PageBuffer* previous = nullptr;
    b = nullptr;
    for (PageBuffer* c = head_; c != nullptr; previous = c, c = c->next) {
      if (!c->dirty) {
        before = previous;
        b = c;
      }
    }
    if (b == nullptr) return kOk;
  }
  toHead(before, b);
  b->owner = nullptr;
  b->page = kNoPage;
  out = b;
  return kOk;
}

// A buffer beside the list for a page that must not be lost.
PageBuffer* PageCache::Impl::spare() {
  PageBuffer* const b = new (std::nothrow) PageBuffer;
  if (b == nullptr) return nullptr;
  b->next = spares_;
  spares_ = b;
  return b;
}

int PageCache::Impl::readImage(ControlBlock& file, std::int32_t number, std::uint8_t* image) {
  if (setting == 0 && spares_ == nullptr) return readPage(file, number, image);
  int code = setting == 0 ? kOk : noticeChange(file);
  if (code != kOk) return code;
  PageBuffer* b = find(file, number);
  if (b != nullptr) {
    std::memcpy(image, b->image, kPageSize);
    return kOk;
  }
  if (setting == 0) return readPage(file, number, image);
  code = takeOldest(b);
  if (code != kOk) return code;
  code = readPage(file, number, image);
  if (code != kOk || b == nullptr) return code;
  std::memcpy(b->image, image, kPageSize);
  b->owner = &file;
  b->openId = file.openId;
  b->page = number;
  b->dirty = false;
  return kOk;
}

WorkPage& PageCache::Impl::unused() {
  WorkPage* w = work_;
  while (w->owner != nullptr) ++w;
  return *w;
}

// Makes a page one of those worked on; the one of its kind that was not asked for longest makes
// room for it.
void PageCache::Impl::admit(WorkPage& w) {
  const bool leaf = w.level() == 0;
  int held = 0;
  WorkPage* oldest = nullptr;
  for (WorkPage& other : work_) {
    if (other.owner == nullptr || (other.level() == 0) != leaf) continue;
    ++held;
    if (oldest == nullptr || other.used < oldest->used) oldest = &other;
  }
  if (held >= (leaf ? kLeafPages : kInnerPages)) {
    if (oldest->dirty) push(*oldest);
    oldest->owner = nullptr;
  }
  w.used = ++tick_;
}

WorkPage& PageCache::Impl::claim(ControlBlock& file, std::int32_t number, int level) {
  WorkPage& w = unused();
  page::clear(w.bytes, level);
  w.parse();
  admit(w);
  w.owner = &file;
  w.openId = file.openId;
  w.number = number;
  w.dirty = false;
  return w;
}

int PageCache::Impl::load(ControlBlock& file, std::int32_t number, WorkPage*& out) {
  if (number < 0) return kNegativePage;
  for (WorkPage& w : work_) {
    if (w.number == number && w.owner == &file && w.openId == file.openId) {
      w.used = ++tick_;
      out = &w;
      return kOk;
    }
  }
  if (static_cast<std::uint32_t>(number) > file.header.pagesInFile) return kCorrupt;
  WorkPage& w = unused();
  int code = readImage(file, number, w.bytes);
  if (code == kOk) code = w.parse();
  if (code != kOk) return code;
  admit(w);
  w.owner = &file;
  w.openId = file.openId;
  w.number = number;
  w.dirty = false;
  out = &w;
  return kOk;
}

// Copies a work page to its buffer, or writes it when the write mode wants that.
int PageCache::Impl::push(WorkPage& w) {
  ControlBlock& file = *w.owner;
  int code = kOk;
  PageBuffer* b = setting == 0 && spares_ == nullptr ? nullptr : find(file, w.number);
  if (b == nullptr && setting != 0) code = takeOldest(b);
  bool dirty = true;
  if (writesThrough(file, w)) {
    const int written = writePage(file, w.number, w.bytes);
    dirty = written != kOk;
    if (code == kOk) code = written;
  }
  if (b == nullptr && dirty && (b = spare()) == nullptr) code = kNoMemory;
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

bool PageCache::Impl::writesThrough(const ControlBlock& file, const WorkPage& w) const {
  return setting == 0 || file.writeMode == 3 || (file.writeMode == 2 && w.level() == 0);
}

int PageCache::Impl::store(ControlBlock& file, WorkPage& w) {
  int code = kOk;
  if (page::count(w.bytes) < 0 || page::freeBytes(w.bytes) < 0) return kCorrupt;
  file.headerChanged = true;
  w.dirty = true;
  if (writesThrough(file, w)) code = push(w);
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

int PageCache::Impl::settle() {
  while (spares_ != nullptr) {
    PageBuffer* const b = spares_;
    const int code = b->dirty ? writeBack(*b) : kOk;
    if (code != kOk) return code;
    spares_ = b->next;
    delete b;
  }
  return kOk;
}

void PageCache::Impl::drop(ControlBlock& file) {
  for (PageBuffer* b = head_; b != nullptr; b = b->next) {
    if (b->owner != &file) continue;
    b->owner = nullptr;
    b->page = kNoPage;
    b->dirty = false;
  }
  PageBuffer** link = &spares_;
  while (*link != nullptr) {
    PageBuffer* const b = *link;
    if (b->owner == &file) {
      *link = b->next;
      delete b;
    } else {
      link = &b->next;
    }
  }
  for (WorkPage& w : work_) {
    if (w.owner == &file) w.owner = nullptr;
  }
}

}  // namespace tavo::engine
