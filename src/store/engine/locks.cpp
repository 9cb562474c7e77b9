// Keeps record locks as entries of index 20, so that they are seen by every opener and cleared for
// one that died.
#include "store/engine/locks.h"

#include "store/engine/tree.h"

namespace tavo::engine {
namespace {

// The key of a lock: the index whose entry is locked, behind its length.
constexpr std::uint8_t kLockKey[2] = {1, kRecords};

Probe lockProbe(std::int32_t record) {
  Probe probe;
  probe.index = kRecordLocks;
  probe.key = kLockKey;
  probe.keyLength = sizeof kLockKey;
  probe.record = record;
  return probe;
}

// The slot that an entry of the index names; -1 when it names none.
std::int32_t holder(const std::uint8_t* e) {
  const std::uint32_t data = kEntryHead + entry::keyLength(e, true);
  return entry::size(e) == data + 4 ? loadI32(e + data) : -1;
}

// A lock whose holder is gone counts as free: its slot byte is locked by nobody.
bool holderIsGone(ControlBlock& file, std::int32_t slot) {
  if (slot < 0 || slot >= kSlots) return true;
  if (slot == file.slot) return false;
  const std::uint32_t byte = kSlotBytes + static_cast<std::uint32_t>(slot);
  return file.file->tryLock(byte, 1) && file.file->unlock(byte, 1);
}

// Walks the locks under this opener's slot; `removeAll` removes them, else the first one ends the
// walk.
int walkOwnLocks(ControlBlock& file, bool removeAll, bool& any) {
  Probe first;
  first.index = kRecordLocks;
  first.edge = Edge::kFirst;
  Place at;
  std::int64_t hops = 0;
  any = false;
  int code = seek(file, first, at);
  while (code == kOk) {
    code = settleForward(file, at, hops);
    if (code != kOk || entry::index(at.entry()) != kRecordLocks) break;
    if (holder(at.entry()) != file.slot) {
      ++at.position;
      continue;
    }
    any = true;
    if (!removeAll) break;
    code = removeEntry(file, at);
  }
  code = searchCode(code);
  return code == kNotFound ? kOk : code;
}

}  // namespace

int checkRecordLock(ControlBlock& file, std::int32_t record) {
  if (!file.shared()) return kOk;
  Place at;
  const int code = searchCode(seek(file, lockProbe(record), at));
  if (code != kOk) return code == kNotFound ? int{kNotLocked} : code;
  return at.exact && holder(at.entry()) == file.slot ? kOk : kNotLocked;
}

int takeRecordLock(ControlBlock& file, std::int32_t record) {
  const Probe probe = lockProbe(record);
  Place at;
  int code = seek(file, probe, at);
  if (code != kOk) return changeCode(code);
  if (at.exact) {
    const std::int32_t slot = holder(at.entry());
    if (slot == file.slot) return kOk;
    if (!holderIsGone(file, slot)) return kNotLocked;
    code = removeEntry(file, at);
    if (code != kOk) return code;
  }
  std::uint8_t slot[4];
  storeU32(slot, static_cast<std::uint32_t>(file.slot));
  code = insertEntry(file, probe, true, slot, sizeof slot);
  return code != kOk ? code : file.ioError;
}

int releaseRecordLock(ControlBlock& file, std::int32_t record) {
  Place at;
  const int code = seek(file, lockProbe(record), at);
  if (code != kOk) return changeCode(code);
  if (!at.exact || holder(at.entry()) != file.slot) return kNotLocked;
  return removeEntry(file, at);
}

int anyRecordLock(ControlBlock& file, bool& any) { return walkOwnLocks(file, false, any); }

int releaseRecordLocks(ControlBlock& file) {
  bool any = false;
  return walkOwnLocks(file, true, any);
}

}  // namespace tavo::engine
