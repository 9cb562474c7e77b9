// The store engine: records kept under several keys in one file of 1024-byte pages. It knows
// nothing of what the records mean; a caller describes a record by a field list and gets it back
// into the same list.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "platform/file.h"

namespace tavo::engine {

// Results. 0 is success; find() also returns 2 and 3.
enum Code : int {
  kOk = 0,
  kFoundGreater = 2,  // find(): positioned on the next greater key
  kFoundLess = 3,     // find(): positioned on the next smaller key
  kBadBlock = 73,     // the control block's guard bytes are damaged
  kNotFound = -1,     // no such entry, end of index, unique key exists; also a failed system call
  kBadArgument = -2,  // index number, mode or path out of range, data or key too long
  kNotOpen = -3,      // the file is not open
  kHeaderTransfer =
      -4,  // header or marker not transferred, no record number left, close could not write
  kBadSignature = -5,      // not a store file
  kWriteFailed = -8,       // a write failed or came up short
  kShortRead = -9,         // a read came up short
  kNoCurrentRecord = -16,  // no current record
  kRecordMissing = -18,    // the record's own entries are missing
  kBadFieldType = -22,
  kBadKeyRole = -23,     // key role does not match the index; index not searchable
  kBadDuplicates = -24,  // duplicates rule is none of 'D', 'U', 'N'
  kBadFieldLength = -25,
  kTooLong = -26,         // text longer than its field, key longer than 241 bytes
  kBadIndexNumber = -27,  // index number above 15 in a field or definition list
  kBufferTooSmall = -28,  // packed record larger than the work buffer
  kCorrupt = -30,         // page or link that cannot be right
  kNoReserve = -31,       // no reserved page left for a split
  kBadOrderMode = -32,    // create: order mode not 1, 2 or 3
  kReadOnly = -33,        // change of a file opened read only
  kNoMemory = -34,        // buffers could not be allocated
  kBadKeyType = -35,      // key type above 23 or not the one the file has
  kBadSegments = -37,     // bad key segment list
  kInterrupted = -40,     // safe-write mode: the file was left in the middle of a write
  kNegativePage = -43,    // a negative page number was asked for
  kBadJournal = -44,      // no journal, or that of another file or of another state of this one
  kOpenFailed = -101,     // a shared open could not fall back to an exclusive one
  kNoTransaction = -102,  // a lock of a transaction failed
  kNotLocked = -107,      // shared file: the record is not locked by this opener
  kNoSlot = -109,         // all opener slots or queue places are taken
  kGateFailed = -110,     // the writer queue broke
};

// One field of a record. A field list ends with an entry whose type is 'E'.
//
// type   value                                             size in memory
// S      text with end mark                                length (end mark counted)
// C, N   text of exactly `length` characters               length; empty when all blanks
// B, M   16-bit count and as many bytes                    2 + length
// H      8-bit number                                      1
// I, U   16-bit number, signed, unsigned                   2
// L      32-bit number                                     4
// F, D   32-bit, 64-bit real                               4, 8
// P, X   six bytes, eight bytes                            6, 8
//
// Values need no alignment. Fields that are no key and hold nothing (B of count 0, blank C or N,
// empty S, D of zero) take no room in the file and read back as nothing.
struct Field {
  char type;
  // 'N': no key. Else the key type of the index below ('S' for key type 0, 'E' for any): 8 makes
  // the key of that index's segments, 2 and 16 to 23 put a length byte before the value, all others
  // use the value as it stands.
  std::uint8_t keyRole;
  char duplicates;      // 'D': equal keys allowed; 'U' and 'N': unique
  std::int16_t length;  // 0 to 31232
  std::uint8_t index;   // 0 to 15; 0 names no index
  void* value;
};

// One segment of a key of type 8. A list ends with an entry whose type is 31.
struct KeySegment {
  std::uint8_t type;       // key type of the segment, 0 to 23
  std::uint32_t field;     // place of the field in the field list, from 0
  std::uint8_t maxLength;  // 0 means 242
};

// One index of a file. A list ends with an entry whose index number is 0.
//
// Key types: 0, 1 text; 2, 16 to 20 bytes behind a length byte; 3, 6, 23 signed 32-bit; 5 unsigned
// 32-bit; 4 signed and 10 unsigned 16-bit; 7 64-bit real; 9 six bytes, most significant last; 21
// unsigned and 22 signed byte; 8 segments.
struct IndexDef {
  std::uint8_t index;    // 1 to 15
  std::uint8_t keyType;  // 0 to 23
  const KeySegment* segments;
};

// Index numbers with a meaning of their own.
constexpr int kFreeNumbers = 18;  // record numbers waiting for reuse
constexpr int kRecords = 19;      // the packed records
constexpr int kRecordLocks = 20;  // records locked by openers of a shared file

enum SearchMode : int {
  kEqual = 1,
  kGreater = 2,
  kGreaterOrEqual = 3,
  kLess = 4,
  kLessOrEqual = 5
};
enum Position : int { kNext = 1, kPrevious = 2, kFirst = 3, kLast = 4 };

// The page buffers, one object for all files that one owner has open. It must outlive its stores.
// One thread at a time may use it and them.
class PageCache {
 public:
  static constexpr unsigned kDefaultBuffers = 10;

  // With 0 buffers every page goes straight to and from the file. The buffers are not allocated
  // before the first open. std::bad_alloc when there is no memory for the object itself.
  explicit PageCache(unsigned buffers = kDefaultBuffers);
  ~PageCache();
  PageCache(const PageCache&) = delete;
  PageCache& operator=(const PageCache&) = delete;

  struct Impl;
  Impl& impl() { return *impl_; }

 private:
  std::unique_ptr<Impl> impl_;
};

struct Options {
  char sharing = 'E';  // 'E' exclusive; 'D' shared, others only read; any other: shared
  int access = 2;      // 1 read only, 2 read and write (create: always 2)
  int orderMode = 1;   // create only: 1 or 3 native, 2 byte-swapped keys
  std::uint32_t workBufferSize = 1024;  // largest packed record
  bool checkFields = true;              // check field lists before they are used
  bool queuedGate = false;              // writers of a shared file take turns in order
  // The file's journal, at most 1023 characters; null for none. With it every transaction happens
  // as a whole or not at all and is on the medium when its end returns, in every write mode. It is
  // made when it is not there. All openers of a file must name the same one. The text is copied.
  const char* journal = nullptr;
};

// One data file. Every operation returns a Code; none throws. A store that is still open when it is
// destroyed is closed first.
class Store {
 public:
  // std::bad_alloc when there is no memory for the object itself.
  explicit Store(PageCache& cache, platform::FileSystem& files = platform::nativeFileSystem());
  ~Store();
  Store(const Store&) = delete;
  Store& operator=(const Store&) = delete;

  // Makes a new file (-1 when one is there already) and leaves it open in write mode 1 (shared) or
  // 3 (exclusive). Paths have at most 1023 characters, a longer one gives -2.
  int create(const char* path, const IndexDef* indexes, const Options& options = {});
  // Opens an existing file. Without an index list the file must define none (-35).
  int open(const char* path, const IndexDef* indexes, const Options& options = {});
  // Writes everything that is pending and closes. The store is closed afterwards whatever the
  // result.
  int close();
  bool isOpen() const;

  // 0 writes pages when their buffers are needed and at close; 1 also flushes after each change; 2
  // writes leaf pages at once; 3 all pages; 4 sets a marker in the file for as long as a change is
  // incomplete. Others: -1. On a shared file 2 and 3 become 1.
  int setWriteMode(int mode);
  int writeMode() const;

  // --- Records. The current record is the one last inserted, found or positioned on.

  // Each of these changes happens as a whole or not at all: after a failure, be it of a transfer
  // halfway or of the writes that end it, the record, its keys and the record count are what they
  // were. Only a lock that cannot be given back (-102) is reported behind a change that stays.

  // Stores a record with a byte of the caller's (its type); it becomes the current one. A unique
  // key that exists refuses it with -1; the number of a refused record waits for reuse.
  int insert(const Field* fields, std::uint8_t typeByte);
  // Gives the current record the values of the list; its type byte stays.
  int replace(const Field* fields);
  // Reads the current record into the list, deletes it and leaves no current record. Its number is
  // lost when the file has no room to keep it for reuse.
  int remove(const Field* fields);
  // Reads the current record into the list.
  int read(const Field* fields);
  // The type byte of the current record (-16 without one, -18 when the record is missing).
  int typeByte(std::uint8_t* type);

  // Looks a key up and makes its (first) record the current one: 0 found, 2 and 3 as named above,
  // -1 none. Any result but 0, 2 and 3 clears the current record. The value is the field's as it
  // stands in memory: a number in native order, a text with its end mark (of a text longer than
  // `length` the first `length` characters), bytes without a length byte.
  int find(int index, const void* value, std::uint32_t length, int mode);
  // The same with the key that a record of these values would have in the index.
  int find(int index, const Field* fields, int mode);
  // Moves along an index (Position); success makes that record the current one, failure clears it.
  // Next without any position before is first, previous is last; having run over an end (-1), the
  // opposite move gives the entry at that end. Behind a removed record the moves go to its
  // neighbours.
  int position(int index, int how);
  // True when the entry that the index is positioned on has the key of the last find() in it.
  bool atSoughtKey(int index);

  // Whether the last operation's kNotFound stands for a call of the system that failed, so that
  // nothing is known of what was sought.
  bool systemFailed() const { return systemFailed_; }

  // Number of the current record; 0 when there is none.
  std::int32_t currentRecord() const;
  // Makes any number the current one; it is looked up when it is used.
  int setCurrentRecord(std::int32_t number);

  // --- Shared files

  // Brackets around several operations; they nest. Every operation has its own, so they are needed
  // only to keep others out in between.
  int beginRead();
  int endRead();
  int beginWrite();
  int endWrite();
  // Locks and unlocks the current record for replace and remove (-107 when another opener has it).
  // An exclusive file needs no locks and grants them all.
  int lockRecord();
  int unlockRecord();

  // --- About the file

  std::uint32_t recordCount() const;
  // Up to 100 bytes that the file keeps for the caller; returns their number.
  std::uint32_t userArea(void* bytes, std::uint32_t room) const;
  int setUserArea(const void* bytes, std::uint32_t length);

  struct ControlBlock;
  ControlBlock& block() { return *block_; }

 private:
  int answer(int code);

  PageCache& cache_;
  bool systemFailed_ = false;
  std::unique_ptr<ControlBlock> block_;
};

// Deletes a store file; false when it is missing or open anywhere.
bool removeFile(const char* path, platform::FileSystem& files = platform::nativeFileSystem());

}  // namespace tavo::engine
