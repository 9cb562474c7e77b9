// Creating, opening and closing of store files.
#include "store/engine/open.h"

#include <cstring>
#include <new>

#include "store/engine/change.h"
#include "store/engine/key.h"
#include "store/engine/locks.h"
#include "store/engine/page_cache.h"
#include "store/engine/recovery.h"
#include "store/engine/result.h"
#include "store/engine/transaction.h"

namespace tavo::engine {
namespace {

using platform::Access;
using platform::Sharing;
using platform::Transfer;

constexpr int kMarkerWaits = 5000;

int checkIndexes(const IndexDef* indexes) {
  for (const IndexDef* def = indexes; def != nullptr && def->index != 0; ++def) {
    if (def->index > kUserIndexes) return kBadIndexNumber;
    if (def->keyType > kMaxKeyType) return kBadKeyType;
    std::uint32_t count = 0;
    if (def->segments == nullptr ? def->keyType == kSegmentKey
                                 : checkSegments(def->segments, count) != kOk)
      return kBadSegments;
  }
  return kOk;
}

// The definitions must be those that the file was made with.
int matchIndexes(const ControlBlock& file, const IndexDef* indexes) {
  if (indexes == nullptr) {
    for (int i = 0; i < kUserIndexes; ++i) {
      if (file.header.keyType[i] != 0) return kBadKeyType;
    }
    return kOk;
  }
  for (const IndexDef* def = indexes; def->index != 0; ++def) {
    if (file.header.keyType[def->index] != def->keyType) return kBadKeyType;
  }
  return kOk;
}

int prepareJournal(ControlBlock& file, const char* path) {
  file.journal.reset();
  if (path == nullptr) return kOk;
  const std::size_t length = strnlen(path, kMaxPath + 1);
  if (length == 0 || length > kMaxPath) return kBadArgument;
  std::memcpy(file.journalPath, path, length + 1);
  file.journal.reset(new (std::nothrow) Journal(file.files, file.journalPath));
  return file.journal == nullptr ? int{kNoMemory} : int{kOk};
}

// Everything of the control block that an open file starts with.
int prepare(ControlBlock& file, const char* path, const IndexDef* indexes, const Options& options) {
  const std::size_t length = path == nullptr ? 0 : strnlen(path, kMaxPath + 1);
  if (length == 0 || length > kMaxPath) return kBadArgument;
  int code = checkIndexes(indexes);
  if (code == kOk) code = file.cache == nullptr ? kNoMemory : file.cache->prepare();
  if (code == kOk) code = keepSegments(file, indexes);
  if (code == kOk) code = prepareJournal(file, options.journal);
  if (code != kOk) return code;
  file.packed.reset(new (std::nothrow) std::uint8_t[options.workBufferSize]);
  file.old.reset(new (std::nothrow) std::uint8_t[options.workBufferSize]);
  if (file.packed == nullptr || file.old == nullptr) return kNoMemory;
  file.bufferSize = options.workBufferSize;
  std::memcpy(file.path, path, length + 1);
  file.sharing = options.sharing;
  file.access = options.access;
  file.checkFields = options.checkFields;
  file.queuedGate = options.queuedGate;
  file.reuseNumbers = true;
  file.gate = 'U';
  file.readerState = 1;
  file.readNest = 0;
  file.writeNest = 0;
  file.slot = -1;
  file.queuePlace = 1;
  file.headerChanged = file.headerStale = file.owesWrites = false;
  file.safe = file.markerWritten = file.markerHandled = false;
  file.readError = file.ioError = kOk;
  file.endKnown = false;
  ++file.openId;
  file.currentRecord = 0;
  file.soughtIndex = 0;
  for (Cursor& cursor : file.cursors) cursor.state = Cursor::kNone;
  file.plans.forget();
  file.invalidatePositions();
  return kOk;
}

std::unique_ptr<platform::File> openExclusive(ControlBlock& file) {
  return file.files.open(file.path, file.access == 2 ? Access::kReadWrite : Access::kRead,
                         Sharing::kNone);
}

std::unique_ptr<platform::File> openShared(ControlBlock& file) {
  const bool writes = file.access == 2;
  return file.files.open(file.path, writes ? Access::kReadWrite : Access::kRead,
                         writes && file.sharing == 'D' ? Sharing::kRead : Sharing::kReadWrite);
}

// Opens the file as asked, shared with the gate taken; a file that cannot be shared is opened
// exclusively.
int openHandle(ControlBlock& file) {
  if (!file.shared()) {
    file.file = openExclusive(file);
    return file.file != nullptr ? kOk : kSystemFailed;
  }
  file.file = openShared(file);
  if (file.file == nullptr) {
    file.file = openExclusive(file);
    if (file.file == nullptr) return kSystemFailed;
    file.sharing = 'E';
    return kOk;
  }
  const int code = lockGate(file);
  if (code == kOk) return kOk;
  file.file.reset();
  if (code == kGateFailed) return code;
  file.sharing = 'E';
  file.file = openExclusive(file);
  return file.file != nullptr ? kOk : kOpenFailed;
}

// Lets a creating opener finish; one that does not is taken for dead and its marker cleared, which
// an opener that only reads leaves to others.
int awaitCreator(ControlBlock& file) {
  for (int i = 0; i < kMarkerWaits; ++i) {
    std::uint8_t marker[4];
    if (file.file->readAt(kOpenMarker, marker, sizeof marker) != Transfer::kDone ||
        loadU32(marker) != kMarkerValue)
      return kOk;
  }
  return file.access == 2 ? writeMarker(file, kOpenMarker, 0) : kOk;
}

int claimSlot(ControlBlock& file) {
  for (int s = 0; s < kSlots; ++s) {
    if (!file.file->tryLock(kSlotBytes + static_cast<std::uint32_t>(s), 1)) continue;
    file.slot = s;
    return kOk;
  }
  return kNoSlot;
}

// Clears the record locks that the slot's previous holder left when it died.
int clearStaleLocks(ControlBlock& file) {
  if (!file.shared() || file.access != 2) return kOk;
  bool any = false;
  int code = anyRecordLock(file, any);
  if (code != kOk || !any) return code;
  return runChange(file, [&](Change&) { return releaseRecordLocks(file); });
}

// The open file's header, slot and locks, after its handle is had.
int enterFile(ControlBlock& file, const IndexDef* indexes) {
  int code = file.shared() ? awaitCreator(file) : kOk;
  if (code == kOk) code = recover(file);
  if (code == kOk) code = readHeader(file);
  if (code == kOk) file.headerStale = false;
  if (code == kOk && file.shared()) code = claimSlot(file);
  if (code == kOk) code = matchIndexes(file, indexes);
  if (code == kOk) code = provideJournal(file);
  if (code != kOk) return code;
  file.writeMode = file.shared() ? 1 : 3;
  // Another opener of a shared file may extend it, so only an exclusive one knows its reserve to be
  // zero.
  file.knownZero = file.shared() ? 0xFFFFFFFF : file.header.pagesInFile;
  // A damaged lock index does not keep anybody from reading the rest.
  code = clearStaleLocks(file);
  return code == kCorrupt || code == kInterrupted ? kOk : code;
}

int enterOpened(ControlBlock& file, const IndexDef* indexes) {
  int code = openHandle(file);
  if (code == kOk) code = enterFile(file, indexes);
  if (code == kOk && file.shared()) code = unlockGate(file);
  if (code == kOk) {
    file.state = 'O';
    return kOk;
  }
  if (file.file != nullptr) file.cache->drop(file);
  file.file.reset();
  file.journal.reset();
  return code;
}

// Writes a new file's header block and page 0. While it is set up for sharing, the open marker
// holds others off.
int writeFreshFile(ControlBlock& file, const IndexDef* indexes, int orderMode) {
  file.header = freshHeader(orderMode);
  for (const IndexDef* def = indexes; def != nullptr && def->index != 0; ++def)
    file.header.keyType[def->index] = def->keyType;
  std::uint8_t block[kPageSize] = {};
  if (file.shared()) storeU32(block + kOpenMarker, kMarkerValue);
  if (file.file->writeAt(0, block, kPageSize) != Transfer::kDone) return kWriteFailed;
  const int code = writeHeader(file);
  if (code != kOk) return code;
  page::clear(block, 0);
  if (file.file->writeAt(pagePosition(0), block, kPageSize) != Transfer::kDone) return kWriteFailed;
  return file.shared() ? writeMarker(file, kOpenMarker, 0) : kOk;
}

int releaseFile(ControlBlock& file) {
  int code = kOk;
  if (file.access == 2) {
    if (file.shared()) code = runChange(file, [&](Change&) { return releaseRecordLocks(file); });
    if (file.journal != nullptr) return completeWrite(file) == kOk ? code : int{kHeaderTransfer};
    if (file.safe && file.cache->anyDirty(file) && safeWriteStep(file) != kOk)
      code = kHeaderTransfer;
    if (file.headerChanged && writeHeader(file) != kOk) code = kHeaderTransfer;
    if (file.cache->writeDirty(file) != kOk || !file.file->flush()) code = kHeaderTransfer;
  }
  return code;
}

}  // namespace

std::unique_ptr<platform::File> openHandleAgain(ControlBlock& file) { return openExclusive(file); }

int createFile(ControlBlock& file, const char* path, const IndexDef* indexes,
               const Options& options) {
  if (!file.guarded()) return kBadBlock;
  if (file.state == 'O') return kBadArgument;
  if (options.orderMode < 1 || options.orderMode > 3) return kBadOrderMode;
  Options wanted = options;
  wanted.access = 2;
  int code = prepare(file, path, indexes, wanted);
  if (code != kOk) return code;
  file.file = file.files.create(file.path);
  if (file.file == nullptr) return kSystemFailed;
  code = writeFreshFile(file, indexes, options.orderMode);
  if (code == kOk && !file.shared()) code = recover(file);
  if (code == kOk && !file.shared()) code = provideJournal(file);
  if (code == kOk && file.shared()) {
    file.file.reset();
    return enterOpened(file, indexes);
  }
  if (code != kOk) {
    // What could not be set up is no store file and would only be in the way.
    file.file.reset();
    file.journal.reset();
    file.files.remove(file.path);
    return code;
  }
  file.writeMode = 3;
  file.knownZero = 0;
  file.state = 'O';
  return kOk;
}

int openFile(ControlBlock& file, const char* path, const IndexDef* indexes,
             const Options& options) {
  if (!file.guarded()) return kBadBlock;
  if (file.state == 'O') return kBadArgument;
  if (options.access != 1 && options.access != 2) return kBadArgument;
  const int code = prepare(file, path, indexes, options);
  return code != kOk ? code : enterOpened(file, indexes);
}

int closeFile(ControlBlock& file) {
  int code = file.check();
  if (code != kOk) return code;
  // Brackets that were left open end here.
  while (file.writeNest != 0) leaveWrite(file);
  while (file.readNest != 0) leaveRead(file);
  const bool writes = file.access == 2;
  code = writes ? enterWrite(file) : enterRead(file);
  const bool begun = code == kOk;
  // A file that another opener left in the middle of a write can be read and closed; nothing of
  // ours is pending.
  if (code == kInterrupted && !file.headerChanged) code = kOk;
  if (begun || !file.shared()) {
    const int released = releaseFile(file);
    if (code == kOk) code = released;
  }
  if (begun) {
    const int ended = writes ? leaveWrite(file) : leaveRead(file);
    if (code == kOk) code = ended;
  }
  file.cache->drop(file);
  if (file.shared() && file.slot >= 0)
    file.file->unlock(kSlotBytes + static_cast<std::uint32_t>(file.slot), 1);
  if (!file.file->close() && code == kOk) code = kSystemFailed;
  file.file.reset();
  file.state = 'C';
  file.journal.reset();
  file.packed.reset();
  file.old.reset();
  for (auto& kept : file.segments) kept.reset();
  file.currentRecord = 0;
  return code;
}

}  // namespace tavo::engine
