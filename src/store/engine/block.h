// The state behind the public header: the control block of an open file, the page buffers that all
// files of an owner share, and the transfers and transactions that connect the two.
#pragma once

#include <cassert>
#include <cstdint>
#include <memory>

#include "platform/file.h"
#include "store/engine/engine.h"
#include "store/engine/format.h"
#include "store/engine/images.h"

namespace tavo::engine {

using ControlBlock = Store::ControlBlock;

constexpr std::size_t kMaxPath = 1023;
constexpr int kMaxHeight = 32;
// A page that claims too many entries or whose entries do not fit it: nothing can be found in it.
constexpr int kUnreadable = -1000;
// A read, a flush or another call of the system failed outright. Nothing was found out by it, so it
// must not be taken for kNotFound.
constexpr int kSystemFailed = -1001;
// The file cannot be extended.
constexpr int kNoRoom = -1002;

// What an operation returns for a result from inside.
inline int publicCode(int code) {
  switch (code) {
    case kSystemFailed:
      return kNotFound;
    case kUnreadable:
      return kCorrupt;
    case kNoRoom:
      return kWriteFailed;
    default:
      return code;
  }
}

// A page being worked on. Its entries are found through the offsets, which follow every change.
struct WorkPage {
  ControlBlock* owner = nullptr;
  std::uint32_t openId = 0;
  std::int32_t number = kNoPage;
  bool sound = false;  // the page's free bytes agree with its entries
  bool dirty = false;  // changed, and not yet in its buffer
  int count = 0;
  std::uint64_t used = 0;  // when it was last asked for
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

  explicit Impl(unsigned buffers) : setting(buffers) {}
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
  void touch(WorkPage& w) { w.used = ++tick_; }
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

  unsigned setting;
  BufferPool pool;

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

  WorkPage work_[kLeafPages + kInnerPages + 1];  // one is free for the next page
  int held_[2] = {};                             // leaves and inner pages among them
  std::unique_ptr<PageBuffer[]> buffers_;
  PageBuffer* head_ = nullptr;
  PageBuffer* spares_ = nullptr;  // pages that found no buffer
  std::uint64_t tick_ = 0;
};

// Where an index is positioned. The entry itself is kept, so the place is found again after
// changes.
struct Cursor {
  enum State : std::uint8_t { kNone, kAt, kBeforeFirst, kAfterLast };
  State state = kNone;
  std::uint8_t piece = 0;
  std::int32_t record = 0;
  std::uint32_t keyLength = 0;
  std::int32_t page = kNoPage;
  WorkPage* work = nullptr;  // where the page was last seen
  int position = 0;
  std::uint64_t stamp = 0;  // the tree's state for which page and position hold
  std::int64_t hops = 0;    // pages moved right less pages moved left since the last search
  std::uint8_t key[kMaxEntrySize];
};

// The leaf where an index was last worked on, with the first entry that belongs to the leaf behind
// it. It saves the way from the root as long as what is sought lies in the same leaf.
struct Hint {
  std::int32_t page = kNoPage;  // kNoPage: none
  WorkPage* work = nullptr;     // where it was last seen
  int position = 0;
  bool bounded = false;
  std::uint8_t bound[kMaxEntrySize];
};

struct Key {
  std::uint32_t length = 0;
  std::uint8_t bytes[kMaxEntrySize];
};

// The guard bytes stand between the members, so that whatever runs over one of these changes a
// guard too. NOLINTNEXTLINE(clang-analyzer-optin.performance.Padding)
struct Store::ControlBlock {
  std::uint8_t guard0 = 'V';
  char state = 'C';
  char path[kMaxPath + 1] = {};
  std::uint8_t guard1 = 'A';
  std::unique_ptr<platform::File> file;
  platform::FileSystem& files;
  PageCache::Impl* cache;
  std::uint32_t openId = 0;
  std::uint8_t guard2 = 'L';

  char sharing = 'E';
  int access = 2;
  char gate = 'U';
  std::uint8_t readerState = 1;  // 1 none, 2 own reader byte, 3 all reader bytes held
  std::uint8_t readNest = 0;
  std::uint32_t writeNest = 0;
  int slot = -1;
  int queuePlace = 1;
  bool queuedGate = false;
  int writeMode = 0;
  std::uint8_t guard3 = 'I';

  bool headerChanged = false;
  bool headerStale = false;        // the file changed but the header was not read again yet
  bool safe = false;               // the write transaction is one of write mode 4
  bool markerWritten = false;      // the modified marker in the file is ours
  bool markerHandled = false;      // by this transaction
  bool owesWrites = false;         // a page that should be in the file by now could not be written
  int readError = 0;               // error of the read transaction, reported at its end
  int ioError = 0;                 // first failed page write of the change
  std::uint32_t countedPages = 0;  // pages in the file by the header in the file
  FileHeader header = {};
  std::uint8_t guard4 = 'D';

  std::uint64_t stamp =
      1;  // counts changes of the tree; positions of another stamp need a fresh search
  std::uint32_t knownZero = 0;  // reserve pages from here on were zeroed by this opener
  bool endKnown = false;        // nothing stands behind the pages that the header counts
  Cursor cursors[kLastIndex + 1];
  Hint hints[kLastIndex + 1];
  std::uint8_t guard5 = 'A';

  bool checkFields = true;
  bool reuseNumbers = true;
  std::unique_ptr<KeySegment[]> segments[kUserIndexes + 1];
  std::int32_t currentRecord = 0;
  Key newKeys[kLastIndex + 1];  // of the record being stored
  int soughtIndex = 0;
  std::uint32_t soughtLength = 0;
  std::uint8_t sought[kMaxEntrySize];
  std::uint8_t guard6 = 'T';

  std::uint32_t bufferSize = 0;
  std::unique_ptr<std::uint8_t[]> packed;  // the record being written or read
  std::unique_ptr<std::uint8_t[]> old;     // the stored record while it is replaced or removed
  std::uint8_t guard7 = 'E';

  PageImages images;  // of the change being made

  ControlBlock(PageCache::Impl* pages, platform::FileSystem& system)
      : files(system), cache(pages), images(pages == nullptr ? nullptr : &pages->pool) {}
  bool shared() const { return sharing != 'E'; }
  bool guarded() const {
    return guard0 == 'V' && guard1 == 'A' && guard2 == 'L' && guard3 == 'I' && guard4 == 'D' &&
           guard5 == 'A' && guard6 == 'T' && guard7 == 'E' && (state == 'O' || state == 'C');
  }
  // kOk for an open file, else what every operation returns.
  int check() const { return !guarded() ? kBadBlock : state == 'O' ? kOk : kNotOpen; }
  void invalidatePositions();
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

// Keeps copies of the segment lists of an index list; kNoMemory on failure.
int keepSegments(ControlBlock& file, const IndexDef* indexes);

// --- Transfers of header and markers
int readHeader(ControlBlock& file);
int writeHeader(ControlBlock& file);
int writeMarker(ControlBlock& file, std::uint32_t position, std::uint16_t value);

// --- Transactions. Each returns a Code; they nest.
int lockGate(ControlBlock& file);
int unlockGate(ControlBlock& file);
int enterRead(ControlBlock& file);
int leaveRead(ControlBlock& file);
int enterWrite(ControlBlock& file);
// The writes that end a transaction; only the outermost one has any.
int completeWrite(ControlBlock& file);
// Ends it behind them.
int releaseWrite(ControlBlock& file);
// Both; the locks are given back whatever the result.
int leaveWrite(ControlBlock& file);
// Before a page is read: drops what is known of a shared file that another opener changed.
int noticeChange(ControlBlock& file);
// Before a page of a safe write is written: sets the marker, once per transaction.
int safeWriteStep(ControlBlock& file);

// Keeps a read or write transaction until its end.
class ReadTransaction {
 public:
  explicit ReadTransaction(ControlBlock& file) : file_(file), code_(enterRead(file)) {}
  int code() const { return code_; }
  // Ends it; its error replaces the result.
  int end(int result) {
    const int code = leaveRead(file_);
    return code != kOk ? code : result;
  }

 private:
  ControlBlock& file_;
  int code_;
};

}  // namespace tavo::engine
