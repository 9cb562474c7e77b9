// Read and write transactions: the byte-range locks between processes, the change check, and the
// writes that end a change. An exclusive file locks nothing.
#include "store/engine/transaction.h"

#include <cassert>

#include "store/engine/page_cache.h"
#include "store/engine/recovery.h"
#include "store/engine/result.h"

namespace tavo::engine {
namespace {

using platform::Transfer;

// Result of a header or marker transfer.
int headerCode(Transfer transfer, int failed, int shortened) {
  switch (transfer) {
    case Transfer::kDone:
      return kOk;
    case Transfer::kSeekFailed:
      return kHeaderTransfer;
    case Transfer::kShort:
      return shortened;
    default:
      return failed;
  }
}

std::uint32_t readerByte(const ControlBlock& file) {
  return kReaderBytes + static_cast<std::uint32_t>(file.slot);
}

// Gives back the reader byte or bytes that are held.
int unlockReaders(ControlBlock& file) {
  const bool all = file.readerState == 3;
  if (file.readerState == 1) return kOk;
  file.readerState = 1;
  return file.file->unlock(all ? kReaderBytes : readerByte(file), all ? kSlots : 1)
             ? kOk
             : kNoTransaction;
}

int lockAllReaders(ControlBlock& file) {
  if (file.readerState == 3) return kOk;
  const int code = unlockReaders(file);
  if (code != kOk) return code;
  if (!file.file->lockWaiting(kReaderBytes, kSlots)) return kNoTransaction;
  file.readerState = 3;
  return kOk;
}

int lockOwnReader(ControlBlock& file) {
  if (!file.file->lockWaiting(readerByte(file), 1)) return kNoTransaction;
  file.readerState = 2;
  return kOk;
}

// Whether the change counter in the file is another than the one last seen; the new one is adopted.
int compareCounter(ControlBlock& file, bool& changed) {
  std::uint8_t bytes[4];
  if (file.file->readAt(0, bytes, sizeof bytes) != Transfer::kDone) return kHeaderTransfer;
  const std::uint32_t counter = loadU32(bytes);
  changed = counter != file.header.changeCounter;
  file.header.changeCounter = counter;
  return kOk;
}

// At the start of a transaction on a shared file, the header is read again with the change.
int checkChange(ControlBlock& file) {
  bool changed = false;
  int code = compareCounter(file, changed);
  if (code != kOk || !(changed || file.headerStale)) return code;
  file.cache->drop(file);
  file.invalidatePositions();
  file.headerStale = true;
  code = readHeader(file);
  if (code == kOk) file.headerStale = false;
  return code;
}

// Writes everything that is pending: header, pages, system buffers.
int writePending(ControlBlock& file) {
  int code = kOk;
  if (file.safe && file.cache->anyDirty(file)) code = safeWriteStep(file);
  if (code == kOk && file.headerChanged) {
    if (file.header.changeCounter == 0) file.header.changeCounter = 1;
    code = writeHeader(file);
  }
  if (code == kOk) code = file.cache->writeDirty(file);
  if (code == kOk && !file.file->flush()) code = kSystemFailed;
  return code;
}

int clearModifiedMarker(ControlBlock& file) {
  const int code = writeMarker(file, kModifiedMarker, 0);
  if (code != kOk) return code;
  file.markerWritten = file.markerHandled = false;
  return file.file->flush() ? kOk : kSystemFailed;
}

// The end of a transaction that happens as a whole or not at all; see journal.h.
int commit(ControlBlock& file) {
  Journal& journal = *file.journal;
  if (!journal.begun()) return file.headerChanged ? int{kWriteFailed} : int{kOk};
  if (file.header.changeCounter == 0) file.header.changeCounter = 1;
  std::uint8_t header[kHeaderSize];
  encodeHeader(file.header, header);
  int code = journal.saveHeader(header);
  if (code == kOk) code = journal.sync();
  if (code == kOk) code = writePending(file);
  // What was flushed in vain may never reach the medium.
  if (code == kSystemFailed) journal.fail();
  return code == kOk ? journal.finish() : code;
}

// The header as it is in the file goes to the journal.
int beginJournal(ControlBlock& file) {
  if (file.journal->begun()) return kOk;
  std::uint8_t header[kHeaderSize];
  const int code = headerCode(file.file->readAt(0, header, kHeaderSize), kSystemFailed, kShortRead);
  return code == kOk ? file.journal->begin(header) : code;
}

// A safe-write file must not be in the middle of a write, be it another opener's or an earlier one
// of ours whose end could not be written; ours is brought to its end first.
int checkModifiedMarker(ControlBlock& file) {
  if (file.markerWritten) {
    const int code = writePending(file);
    return code != kOk ? code : clearModifiedMarker(file);
  }
  std::uint8_t marker[2];
  const int code = headerCode(file.file->readAt(kModifiedMarker, marker, sizeof marker),
                              kSystemFailed, kShortRead);
  if (code != kOk) return code;
  return loadU16(marker) == kMarkerValue ? kInterrupted : kOk;
}

int lockQueue(ControlBlock& file) {
  const auto byte = [](int place) { return kGateByte + static_cast<std::uint32_t>(place); };
  while (file.queuePlace <= kQueuePlaces && !file.file->tryLock(byte(file.queuePlace), 1))
    ++file.queuePlace;
  if (file.queuePlace > kQueuePlaces) {
    file.queuePlace = 1;
    return kNoSlot;
  }
  for (; file.queuePlace > 0; --file.queuePlace) {
    if (!file.file->lockWaiting(byte(file.queuePlace - 1), 1) ||
        !file.file->unlock(byte(file.queuePlace), 1)) {
      file.queuePlace = 1;
      return kGateFailed;
    }
  }
  file.queuePlace = 1;
  return kOk;
}

// Leaves a write transaction's locks; an open read transaction gets its own byte again.
int unlockAfterWrite(ControlBlock& file) {
  int code = unlockReaders(file);
  if (file.readNest != 0 && lockOwnReader(file) != kOk) code = kNoTransaction;
  if (unlockGate(file) != kOk) code = kNoTransaction;
  return code;
}

int lockForWrite(ControlBlock& file) {
  int code = unlockReaders(file);
  if (code != kOk) return code;
  if (lockGate(file) != kOk) return kNoTransaction;
  code = recover(file);
  if (code == kOk) code = checkChange(file);
  if (code != kOk) unlockAfterWrite(file);
  return code;
}

}  // namespace

int readHeader(ControlBlock& file) {
  std::uint8_t bytes[kHeaderSize];
  const int code = headerCode(file.file->readAt(0, bytes, kHeaderSize), kSystemFailed, kShortRead);
  if (code != kOk) return code;
  if (!decodeHeader(bytes, file.header)) return kBadSignature;
  file.plans.forget();
  file.countedPages = file.header.pagesInFile;
  return kOk;
}

int writeHeader(ControlBlock& file) {
  std::uint8_t bytes[kHeaderSize];
  encodeHeader(file.header, bytes);
  const int code =
      headerCode(file.file->writeAt(0, bytes, kHeaderSize), kWriteFailed, kWriteFailed);
  if (code != kOk) return code;
  file.headerChanged = false;
  file.countedPages = file.header.pagesInFile;
  return kOk;
}

int writeMarker(ControlBlock& file, std::uint32_t position, std::uint16_t value) {
  std::uint8_t bytes[2];
  storeU16(bytes, value);
  return headerCode(file.file->writeAt(position, bytes, sizeof bytes), kWriteFailed, kWriteFailed);
}

int lockGate(ControlBlock& file) {
  if (file.queuedGate) {
    const int code = lockQueue(file);
    if (code != kOk) return code;
  } else if (!file.file->lockWaiting(kGateByte, 1)) {
    return kNoTransaction;
  }
  file.gate = 'L';
  return kOk;
}

int unlockGate(ControlBlock& file) {
  if (file.gate != 'L') return kOk;
  file.gate = 'U';
  return file.file->unlock(kGateByte, 1) ? kOk : kNoTransaction;
}

int noticeChange(ControlBlock& file) {
  if (!file.shared() || file.gate == 'L') return kOk;
  bool changed = false;
  const int code = compareCounter(file, changed);
  if (code != kOk || !changed) return code;
  file.headerStale = true;
  file.cache->drop(file);
  file.invalidatePositions();
  return kOk;
}

int safeWriteStep(ControlBlock& file) {
  if (file.markerHandled) return kOk;
  int code = file.shared() ? lockAllReaders(file) : kOk;
  if (code == kOk && !file.markerWritten) {
    code = writeMarker(file, kModifiedMarker, kMarkerValue);
    if (code == kOk) file.markerWritten = true;
    if (code == kOk && !file.file->flush()) code = kSystemFailed;
  }
  if (code == kOk) file.markerHandled = true;
  return code;
}

int enterRead(ControlBlock& file) {
  if (file.readNest == 0) file.readError = kOk;
  if (file.shared() && file.gate == 'U' && file.readerState == 1) {
    // Passing through the gate lets a waiting writer keep new readers out.
    if (lockGate(file) != kOk) return kNoTransaction;
    const int recovered = recover(file);
    if (unlockGate(file) != kOk || recovered != kOk || lockOwnReader(file) != kOk)
      return kNoTransaction;
    if (checkChange(file) != kOk) {
      unlockReaders(file);
      return kNoTransaction;
    }
  }
  ++file.readNest;
  return kOk;
}

int leaveRead(ControlBlock& file) {
  if (file.readNest == 0) {
    // The count is one byte and begins anew behind 255; what its end does not match stays locked no
    // longer.
    if (file.writeNest != 0 || file.readerState != 2) return kNoTransaction;
    return unlockReaders(file);
  }
  --file.readNest;
  if (file.readNest != 0 || file.writeNest != 0) return kOk;
  if (file.shared() && unlockReaders(file) != kOk) return kNoTransaction;
  return file.readError;
}

int enterWrite(ControlBlock& file) {
  if (file.writeNest != 0) {
    ++file.writeNest;
    return kOk;
  }
  int code = kOk;
  if (file.shared() && file.gate == 'U') code = lockForWrite(file);
  if (code != kOk) return code;
  file.safe = file.writeMode == 4 && file.journal == nullptr;
  if (file.writeMode == 4) code = checkModifiedMarker(file);
  if (code == kOk && file.shared() && !file.safe) code = lockAllReaders(file);
  if (code == kOk && file.journal != nullptr) code = beginJournal(file);
  if (code != kOk) {
    file.safe = file.markerHandled = false;
    if (file.shared()) unlockAfterWrite(file);
    return code;
  }
  assert(!file.markerHandled);
  ++file.header.changeCounter;
  file.headerChanged = true;
  file.ioError = kOk;
  file.writeNest = 1;
  return kOk;
}

int completeWrite(ControlBlock& file) {
  if (file.journal != nullptr) {
    // Beyond the change that has them, the images are in the journal alone.
    const int code = file.journal->begun() ? file.journal->save(file.images) : int{kOk};
    return code != kOk || file.writeNest > 1 ? code : commit(file);
  }
  if (file.writeNest > 1) return kOk;
  if (!file.shared() && !file.safe && !file.markerWritten)
    return file.writeMode == 0 || file.file->flush() ? kOk : kSystemFailed;
  const int code = writePending(file);
  return code == kOk && file.markerWritten ? clearModifiedMarker(file) : code;
}

int releaseWrite(ControlBlock& file) {
  if (--file.writeNest != 0) return kOk;
  file.safe = file.markerHandled = false;
  if (!file.shared()) return kOk;
  if (file.journal != nullptr && file.journal->begun()) {
    // Its end failed. Whoever takes the gate next takes the whole of it back.
    file.cache->drop(file);
    file.invalidatePositions();
    file.headerStale = true;
    file.headerChanged = file.owesWrites = false;
    file.journal->forget();
  }
  return unlockAfterWrite(file);
}

int leaveWrite(ControlBlock& file) {
  const int code = completeWrite(file);
  const int left = releaseWrite(file);
  return code != kOk ? code : left;
}

}  // namespace tavo::engine
