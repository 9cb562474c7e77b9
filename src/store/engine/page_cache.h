// The page buffers that all files of an owner share, and the pages being worked on above them.
#pragma once

#include <cassert>
#include <cstdint>
#include <memory>

#include "store/engine/control_block.h"
#include "store/engine/engine.h"
#include "store/engine/format.h"
#include "store/engine/images.h"

namespace tavo::engine {

// A page being worked on. Its entries are found through the offsets, which follow every change.
struct WorkPage {
  ControlBlock* owner = nullptr;
  std::uint32_t openId = 0;
  std::int32_t number = kNoPage;
  bool sound = false;  // the page's free bytes agree with its entries
  bool dirty = false;  // changed, and not yet in its buffer
  int count = 0;
  std::uint8_t seat = 0;   // its place among the cache's work pages
  std::uint64_t kept = 0;  // the change that has its old image
  std::uint16_t offsets[kMaxEntries + 3] = {};
  std::uint8_t bytes[kPageSize + 275] = {};  // with room for one entry too many

  std::uint8_t* at(int position) { return bytes + offsets[position]; }
  const std::uint8_t* at(int position) const { return bytes + offsets[position]; }
  int level() const { return page::level(bytes); }
  int freeBytes() const { return page::freeBytes(bytes); }
  std::int32_t next() const { return page::next(bytes); }
  std::int32_t previous() const { return page::previous(bytes); }
  // Finds the entries; kCorrupt or kUnreadable when the page cannot be right.
  int parse();
};

// The buffers form a list in most-recently-used order. Above them a few work pages hold the pages
// being worked on: a page is in at most one of them. Unless the write mode wants it written at
// once, what is changed there goes to its buffer when the work page is needed for another page.
// When a write fails, the page stays in memory (in a spare buffer if need be), so the tree in
// memory is whole even when the file cannot follow.
struct PageCache::Impl {
  // Leaves and inner pages do not push each other out: a leaf per index in use, the way from the
  // root to them. The pages asked for last stay where they are while fewer others of their kind are
  // asked for.
  static constexpr int kLeafPages = 8;
  static constexpr int kInnerPages = 14;

  explicit Impl(unsigned buffers);
  ~Impl();

  // Allocates the buffers at the first open; kNoMemory on failure.
  int prepare();
  // The page in a work page, read through the buffers if it is not there yet.
  int load(ControlBlock& file, std::int32_t number, WorkPage*& out);
  // A work page for a page from the reserve, empty and without neighbours.
  int claim(ControlBlock& file, std::int32_t number, int level, WorkPage*& out);
  // Before a page is changed: keeps its old image for the change that is open.
  int keep(ControlBlock& file, WorkPage& w);
  // Makes it a page of another level; leaves and inner pages are counted by it.
  int setLevel(WorkPage& w, int level);
  // Takes the changes of a work page, whose old image is kept. Whatever the result, memory holds
  // the page from now on; errors are also kept in ioError.
  int store(ControlBlock& file, WorkPage& w);
  void touch(const WorkPage& w) { times_[kinds_[w.seat]][w.seat] = ++tick_ << 8 | w.seat; }
  // The same when the page was last seen in `w`, which is corrected if it is elsewhere now.
  int reload(ControlBlock& file, std::int32_t number, WorkPage*& w);
  // A page as the file has it or will have it, without making it one worked on.
  int readReserve(ControlBlock& file, std::int32_t number, std::uint8_t* image);

  bool anyDirty(const ControlBlock& file) const;
  int writeDirty(ControlBlock& file);
  // Retries the writes that the file is owed; no change may start before they are done.
  int settle(ControlBlock& file);
  // Puts the old images of the open change back, without reading.
  void undo(ControlBlock& file);
  // Frees everything of a file without writing.
  void drop(const ControlBlock& file);

  BufferPool& pool() { return pool_; }

 private:
  static int kindOf(int level) { return level == 0 ? 0 : 1; }
  PageBuffer* look(const ControlBlock& file, std::int32_t number) const;
  PageBuffer* find(const ControlBlock& file, std::int32_t number);
  WorkPage* held(const ControlBlock& file, std::int32_t number);
  int takeOldest(PageBuffer*& out);
  PageBuffer* oldestClean();
  void toHead(PageBuffer* before, PageBuffer* b);
  void freeSpares(const ControlBlock& file, bool dirtyToo);
  WorkPage& unused();
  bool countsHold() const;
  int makeRoom(int kind);
  int admit(WorkPage& w, ControlBlock& file, std::int32_t number);
  void release(WorkPage& w);
  int keepImage(ControlBlock& file, WorkPage& w);
  void putBack(ControlBlock& file, PageBuffer* old);
  bool writesThrough(const ControlBlock& file, int level) const;
  int push(WorkPage& w);
  int readImage(ControlBlock& file, std::int32_t number, std::uint8_t* image);
  int writeBack(PageBuffer& b);
  int writeOwed(ControlBlock& file);

  const unsigned setting_;  // buffers in the list
  BufferPool pool_;
  static constexpr int kSeats = kLeafPages + kInnerPages + 1;  // one is free for the next page
  WorkPage work_[kSeats];
  // What searches for a page or for the oldest one look at, by seat and side by side: going from
  // work page to work page, branching at each, took an eighth of the time of random reads. Page
  // numbers (kNoPage: free), kinds, and for each kind when a seat's page was asked for last, with
  // the seat in the low byte (kNoTime: none of the kind).
  std::int32_t numbers_[kSeats];
  std::uint8_t kinds_[kSeats];
  std::uint64_t times_[2][kSeats];
  int held_[2] = {};  // leaves and inner pages among them
  std::unique_ptr<PageBuffer[]> buffers_;
  PageBuffer* head_ = nullptr;
  PageBuffer* spares_ = nullptr;  // pages that found no buffer
  std::uint64_t tick_ = 0;
};

inline int PageCache::Impl::reload(ControlBlock& file, std::int32_t number, WorkPage*& w) {
  if (w->number != number || w->owner != &file || w->openId != file.openId)
    return load(file, number, w);
  touch(*w);
  return kOk;
}

inline int PageCache::Impl::keep(ControlBlock& file, WorkPage& w) {
  assert(file.images.open() && w.owner == &file);
  return w.kept == file.images.serial() ? int{kOk} : keepImage(file, w);
}

inline int PageCache::Impl::settle(ControlBlock& file) {
  return file.owesWrites ? writeOwed(file) : int{kOk};
}

}  // namespace tavo::engine
