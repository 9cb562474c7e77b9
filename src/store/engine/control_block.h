// The control block: everything that is known of one open file.
#pragma once

#include <cstdint>
#include <memory>

#include "platform/file.h"
#include "store/engine/engine.h"
#include "store/engine/format.h"
#include "store/engine/images.h"
#include "store/engine/journal.h"
#include "store/engine/record_plan.h"

namespace tavo::engine {

using ControlBlock = Store::ControlBlock;
struct WorkPage;

constexpr std::size_t kMaxPath = 1023;

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
  RecordPlans plans;
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
  char journalPath[kMaxPath + 1] = {};
  std::unique_ptr<Journal> journal;  // null: none is named

  ControlBlock(PageCache::Impl* pages, platform::FileSystem& system);
  bool shared() const { return sharing != 'E'; }
  // Whether the header goes to the file when it changes, and not at the end of the transaction.
  bool writesHeaderAhead() const { return writeMode >= 1 && writeMode <= 3 && journal == nullptr; }
  bool guarded() const {
    return guard0 == 'V' && guard1 == 'A' && guard2 == 'L' && guard3 == 'I' && guard4 == 'D' &&
           guard5 == 'A' && guard6 == 'T' && guard7 == 'E' && (state == 'O' || state == 'C');
  }
  // kOk for an open file, else what every operation returns.
  int check() const { return !guarded() ? kBadBlock : state == 'O' ? kOk : kNotOpen; }
  // The same for changes.
  int checkChange() const {
    const int code = check();
    return code == kOk && access != 2 ? int{kReadOnly} : code;
  }
  void invalidatePositions();
  // The plan of a caller's field list; null when memory is short.
  const RecordPlan* planOf(const Field* fields) { return plans.of(fields, header.keyType); }
};

// Keeps copies of the segment lists of an index list; kNoMemory on failure.
int keepSegments(ControlBlock& file, const IndexDef* indexes);

}  // namespace tavo::engine
