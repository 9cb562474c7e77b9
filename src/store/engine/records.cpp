// Inserts, replaces, removes and reads records: their keys, their pieces and their numbers.
#include "store/engine/records.h"

#include <algorithm>
#include <cstring>

#include "store/engine/change.h"
#include "store/engine/key.h"
#include "store/engine/locks.h"
#include "store/engine/page_cache.h"
#include "store/engine/record.h"
#include "store/engine/result.h"
#include "store/engine/transaction.h"
#include "store/engine/tree.h"

namespace tavo::engine {
namespace {

struct Packed {
  const std::uint8_t* bytes = nullptr;
  std::uint32_t size = 0;
};

Probe numberProbe(int index, std::int32_t record, int piece) {
  Probe probe;
  probe.index = index;
  probe.record = record;
  probe.piece = piece;
  return probe;
}

Probe keyProbe(int index, const Key& key, std::int32_t record) {
  Probe probe;
  probe.index = index;
  probe.key = key.bytes;
  probe.keyLength = key.length;
  probe.record = record;
  return probe;
}

// --- The pieces of a packed record

// Gathers the pieces of a record. One that has a single piece is left in its page, where it stays
// until further pages are asked for; `own` forces a copy.
int gatherRecord(ControlBlock& file, std::int32_t number, std::uint8_t* buffer, bool own,
                 Packed& record) {
  Place at;
  int code = searchCode(seek(file, numberProbe(kRecords, number, 0), at));
  if (code == kNotFound || (code == kOk && !at.exact)) return kRecordMissing;
  if (code != kOk) return code;
  record.size = 0;
  std::int64_t hops = 0;
  for (int piece = 0;; ++piece) {
    const std::uint8_t* const e = at.entry();
    if (entry::index(e) != kRecords || entry::record(e) != number || entry::piece(e) != piece)
      return kRecordMissing;
    const std::uint32_t size = entry::size(e) - kEntryHead;
    const bool last = entry::isLastPiece(e);
    record.bytes = e + kEntryHead;
    if (piece == 0 && last && !own) {
      record.size = size;
      break;
    }
    if (size > file.bufferSize - record.size) return kBufferTooSmall;
    std::memcpy(buffer + record.size, record.bytes, size);
    record.bytes = buffer;
    record.size += size;
    if (last) break;
    ++at.position;
    code = searchCode(settleForward(file, at, hops));
    if (code != kOk) return code == kNotFound ? int{kRecordMissing} : code;
  }
  return record.size < kRecordHead + 2 ? int{kCorrupt} : kOk;
}

std::uint32_t pieceCount(std::uint32_t size) { return (size + kPieceRoom - 1) / kPieceRoom; }

int insertPieces(ControlBlock& file, std::int32_t number, const Packed& record) {
  // Piece numbers have seven bits.
  if (record.size / kPieceRoom > kMaxPieces || pieceCount(record.size) > kMaxPieces)
    return kBadArgument;
  for (std::uint32_t at = 0, piece = 0; at < record.size; at += kPieceRoom, ++piece) {
    const std::uint32_t size = std::min(kPieceRoom, record.size - at);
    const int code = insertEntry(file, numberProbe(kRecords, number, static_cast<int>(piece)),
                                 at + size == record.size, record.bytes + at, size);
    if (code != kOk) return code == kNotFound ? int{kRecordMissing} : code;
  }
  return kOk;
}

// Removes the pieces of a record from `piece` on.
int removePieces(ControlBlock& file, std::int32_t number, int piece) {
  for (; piece < kMaxPieces; ++piece) {
    Place at;
    int code = seek(file, numberProbe(kRecords, number, piece), at);
    if (code == kOk && !at.exact) return kOk;
    if (code == kOk) code = removeEntry(file, at);
    if (code != kOk) return changeCode(code);
  }
  return kOk;
}

// Gives a record other pieces.
int replacePieces(ControlBlock& file, std::int32_t number, const Packed& record) {
  if (pieceCount(record.size) > kMaxPieces) return kBadArgument;
  int piece = 0;
  for (std::uint32_t at = 0; at < record.size; at += kPieceRoom, ++piece) {
    const std::uint32_t size = std::min(kPieceRoom, record.size - at);
    const bool last = at + size == record.size;
    const Probe probe = numberProbe(kRecords, number, piece);
    Place where;
    int code = seek(file, probe, where);
    if (code != kOk) return changeCode(code);
    if (where.exact && !where.page->sound) return kCorrupt;
    if (where.exact && entry::size(where.entry()) == kEntryHead + size) {
      code = file.cache->keep(file, *where.page);
      if (code != kOk) return code;
      std::uint8_t* const e = where.page->at(where.position);
      e[2] = static_cast<std::uint8_t>(piece | (last ? kLastPiece : 0));
      std::memcpy(e + kEntryHead, record.bytes + at, size);
      file.cache->store(file, *where.page);
      continue;
    }
    if (where.exact) code = removeEntry(file, where);
    if (code == kOk) code = insertEntry(file, probe, last, record.bytes + at, size);
    if (code != kOk) return code;
  }
  return removePieces(file, number, piece);
}

// --- Keys

int insertKey(ControlBlock& file, const Field& field, const Key& key, std::int32_t record) {
  if (field.index < 1 || field.index > kLastIndex) return kBadArgument;
  if (field.duplicates != 'D') {
    Place at;
    std::int64_t hops = 0;
    int code = seek(file, keyProbe(field.index, key, 0), at);
    if (code == kOk) code = settleForward(file, at, hops);
    if (code != kOk && code != kNotFound) return changeCode(code);
    const std::uint8_t* const e = code == kOk ? at.entry() : nullptr;
    if (e != nullptr && entry::index(e) == field.index &&
        compareKeys(file, field.index, entry::key(e), entry::keyLength(e, true), key.bytes,
                    key.length) == 0)
      return kNotFound;
  }
  return insertEntry(file, keyProbe(field.index, key, record), true, nullptr, 0);
}

// Removes a record's key; one that is not there is no error.
int removeKey(ControlBlock& file, int index, const Key& key, std::int32_t record) {
  if (index < 1 || index > kLastIndex) return kOk;
  Place at;
  int code = seek(file, keyProbe(index, key, record), at);
  if (code == kOk && at.exact) code = removeEntry(file, at);
  return changeCode(code);
}

bool sameBytes(const Key& a, const Key& b) {
  return a.length == b.length && std::memcmp(a.bytes, b.bytes, a.length) == 0;
}

// Equal keys need not have the same bytes: zero is equal to negative zero.
bool equalKeys(const ControlBlock& file, int index, const Key& a, const Key& b) {
  return sameBytes(a, b) || compareKeys(file, index, a.bytes, a.length, b.bytes, b.length) == 0;
}

// Gives a record's key the bytes of an equal one.
int rewriteKey(ControlBlock& file, int index, const Key& key, std::int32_t record) {
  Place at;
  int code = seek(file, keyProbe(index, key, record), at);
  if (code != kOk) return changeCode(code);
  if (!at.exact) return insertEntry(file, keyProbe(index, key, record), true, nullptr, 0);
  std::uint8_t* const e = at.page->at(at.position);
  if (entry::keyLength(e, true) != key.length) return kCorrupt;
  code = file.cache->keep(file, *at.page);
  if (code != kOk) return code;
  std::memcpy(e + kEntryHead, key.bytes, key.length);
  file.cache->store(file, *at.page);
  return kOk;
}

// Removes the keys of all fields. With `except`, keys that are equal to those values' stay.
int removeKeys(ControlBlock& file, const RecordValues& values, std::int32_t record,
               const RecordValues* except = nullptr) {
  const RecordPlan& plan = values.plan();
  for (std::uint32_t n = 0; n < plan.keys(); ++n) {
    const std::uint32_t number = plan.keyField(n);
    const int index = plan.field(number).index;
    Key key;
    int code = makeKey(file, values, number, key);
    if (code == kOk && except != nullptr) {
      Key kept;
      code = makeKey(file, *except, number, kept);
      if (code == kOk && equalKeys(file, index, key, kept)) continue;
    }
    if (code == kOk) code = removeKey(file, index, key, record);
    if (code != kOk) return code;
  }
  return kOk;
}

// Inserts the keys of all fields. With `except`, what those values have already is left as it is.
int insertKeys(ControlBlock& file, const RecordValues& values, std::int32_t record,
               const RecordValues* except = nullptr) {
  const RecordPlan& plan = values.plan();
  for (std::uint32_t n = 0; n < plan.keys(); ++n) {
    const std::uint32_t number = plan.keyField(n);
    const Field& field = plan.field(number);
    if (field.index > kLastIndex) return kBadArgument;
    Key& key = file.newKeys[field.index];
    int code = makeKey(file, values, number, key);
    if (code == kOk && except != nullptr) {
      Key old;
      code = makeKey(file, *except, number, old);
      if (code != kOk) return code;
      if (sameBytes(key, old)) continue;
      if (equalKeys(file, field.index, key, old)) {
        code = rewriteKey(file, field.index, key, record);
        if (code != kOk) return code;
        continue;
      }
    }
    if (code == kOk) code = insertKey(file, field, key, record);
    if (code == kOk) code = file.ioError;
    if (code != kOk) return code;
  }
  return kOk;
}

// --- Record numbers

int takeNumber(ControlBlock& file, std::int32_t& number) {
  FileHeader& header = file.header;
  if (file.reuseNumbers && header.freeCount != 0) {
    Probe first;
    first.index = kFreeNumbers;
    first.edge = Edge::kFirst;
    Place at;
    std::int64_t hops = 0;
    int code = seek(file, first, at);
    if (code == kOk) code = settleForward(file, at, hops);
    if (code != kOk && code != kNotFound) return changeCode(code);
    if (code == kOk && entry::index(at.entry()) == kFreeNumbers && entry::record(at.entry()) > 0) {
      number = entry::record(at.entry());
      code = removeEntry(file, at);
      if (code == kOk) --header.freeCount;
      return code;
    }
    // The count promised numbers that are not there.
    header.freeCount = 0;
  }
  if (header.nextRecord == 0 || header.nextRecord >= 0x7FFFFFFF) return kHeaderTransfer;
  number = static_cast<std::int32_t>(header.nextRecord++);
  file.headerChanged = true;
  return file.writesHeaderAhead() ? writeHeader(file) : int{kOk};
}

int keepNumber(ControlBlock& file, std::int32_t number) {
  if (!file.reuseNumbers) return kOk;
  const int code = insertEntry(file, numberProbe(kFreeNumbers, number, 0), true, nullptr, 0);
  if (code == kOk) ++file.header.freeCount;
  return code == kNotFound ? int{kOk} : code;  // it waits there already
}

// After an insert was undone: the new number that it had waits for reuse. Where that is impossible,
// it is as if it had never been taken, as is one from the free numbers in any case.
void giveBackNumber(ControlBlock& file, Change& change, std::int32_t number) {
  if (number == 0 || static_cast<std::uint32_t>(number) < file.header.nextRecord) return;
  file.header.nextRecord = static_cast<std::uint32_t>(number) + 1;
  if (keepNumber(file, number) != kOk) change.undo();
}

// --- Operations

// Reserves what the splits of one record's entries can take.
int reserveFor(ControlBlock& file, const RecordPlan& plan) {
  std::uint32_t height = 0;
  const int code = treeHeight(file, height);
  return code != kOk ? code : reservePages(file, (height + 1) * (plan.indexed() + 1));
}

// The indexes of a new record are positioned on it.
void positionOn(ControlBlock& file, const RecordPlan& plan, std::int32_t record) {
  for (std::uint32_t n = 0; n < plan.keys(); ++n) {
    const int index = plan.field(plan.keyField(n)).index;
    const Key& key = file.newKeys[index];
    Cursor& cursor = file.cursors[index];
    cursor.state = Cursor::kAt;
    cursor.stamp = 0;
    cursor.record = record;
    cursor.piece = 0;
    cursor.keyLength = key.length;
    std::memcpy(cursor.key, key.bytes, key.length);
  }
}

int insertNew(ControlBlock& file, const RecordPlan& plan, std::uint8_t typeByte,
              std::int32_t& number) {
  Packed record;
  record.bytes = file.packed.get();
  // Packed and provided for before it gets a number, so that a refusal here takes none.
  int code = packRecord(plan, typeByte, file.packed.get(), file.bufferSize, record.size);
  if (code == kOk) code = reserveFor(file, plan);
  if (code == kOk) code = takeNumber(file, number);
  if (code == kOk) code = insertKeys(file, RecordValues(plan), number);
  if (code == kOk) code = insertPieces(file, number, record);
  if (code == kOk) ++file.header.recordCount;
  return code;
}

int replaceCurrent(ControlBlock& file, const RecordPlan& plan) {
  const std::int32_t number = file.currentRecord;
  int code = checkRecordLock(file, number);
  if (code == kOk) code = reserveFor(file, plan);
  // In a tree without a readable root no record is found.
  if (code == kUnreadable) code = kRecordMissing;
  Packed before;
  if (code == kOk) code = gatherRecord(file, number, file.old.get(), true, before);
  Packed after;
  after.bytes = file.packed.get();
  if (code == kOk)
    code =
        packRecord(plan, before.bytes[kRecordType], file.packed.get(), file.bufferSize, after.size);
  if (code != kOk) return code;
  const RecordValues oldValues(plan, before.bytes, before.size);
  const RecordValues newValues(plan);
  code = insertKeys(file, newValues, number, &oldValues);
  if (code == kOk) code = replacePieces(file, number, after);
  return code == kOk ? removeKeys(file, oldValues, number, &newValues) : code;
}

int removeEntries(ControlBlock& file, const RecordValues& values, std::int32_t number) {
  int code = removeKeys(file, values, number);
  if (code == kOk) code = removePieces(file, number, 0);
  if (code == kOk && file.shared()) code = releaseRecordLock(file, number);
  if (code == kOk && file.header.recordCount != 0) --file.header.recordCount;
  return code;
}

int removeCurrent(ControlBlock& file, const RecordPlan& plan, Change& change) {
  const std::int32_t number = file.currentRecord;
  int code = checkRecordLock(file, number);
  Packed before;
  if (code == kOk) code = gatherRecord(file, number, file.old.get(), true, before);
  if (code == kOk) code = unpackRecord(plan, before.bytes, before.size);
  if (code != kOk) return code;
  const RecordValues values(plan, before.bytes, before.size);
  code = removeEntries(file, values, number);
  if (code == kOk) code = keepNumber(file, number);
  if (code != kNoRoom) return code;
  // Records can be removed from a full disk, too, at the price of their numbers.
  change.undo();
  return removeEntries(file, values, number);
}

// The plan of a caller's list, checked when the file's opener wants that.
int takeList(ControlBlock& file, const Field* fields, bool full, const RecordPlan*& plan) {
  if (fields == nullptr) return kBadFieldType;
  plan = file.planOf(fields);
  if (plan == nullptr) return kNoMemory;
  return file.checkFields ? plan->check(full) : kOk;
}

// What every change of a record requires.
int checkChange(ControlBlock& file, const Field* fields, bool full, bool current,
                const RecordPlan*& plan) {
  int code = file.checkChange();
  if (code == kOk) code = takeList(file, fields, full, plan);
  if (code == kOk && current && file.currentRecord == 0) code = kNoCurrentRecord;
  return code;
}

template <typename Use>
int useRecord(ControlBlock& file, Use&& use) {
  if (file.currentRecord == 0) return kNoCurrentRecord;
  ReadTransaction transaction(file);
  if (transaction.code() != kOk) return transaction.code();
  Packed record;
  int code = gatherRecord(file, file.currentRecord, file.packed.get(), false, record);
  if (code == kOk) code = use(record);
  return transaction.end(code);
}

}  // namespace

int insertRecord(ControlBlock& file, const Field* fields, std::uint8_t typeByte) {
  const RecordPlan* plan = nullptr;
  int code = checkChange(file, fields, true, false, plan);
  if (code != kOk) return code;
  std::int32_t number = 0;
  code = runChange(
      file, [&](Change&) { return insertNew(file, *plan, typeByte, number); },
      [&](Change& change) { giveBackNumber(file, change, number); });
  if (code == kOk) {
    file.currentRecord = number;
    positionOn(file, *plan, number);
  }
  return code;
}

int replaceRecord(ControlBlock& file, const Field* fields) {
  const RecordPlan* plan = nullptr;
  const int code = checkChange(file, fields, true, true, plan);
  if (code != kOk) return code;
  return runChange(file, [&](Change&) { return replaceCurrent(file, *plan); });
}

int removeRecord(ControlBlock& file, const Field* fields) {
  const RecordPlan* plan = nullptr;
  int code = checkChange(file, fields, false, true, plan);
  if (code != kOk) return code;
  code = runChange(file, [&](Change& change) { return removeCurrent(file, *plan, change); });
  if (code == kOk) file.currentRecord = 0;
  return code;
}

int readRecord(ControlBlock& file, const Field* fields) {
  int code = file.check();
  const RecordPlan* plan = nullptr;
  if (code == kOk) code = takeList(file, fields, false, plan);
  if (code != kOk) return code;
  return useRecord(
      file, [&](const Packed& record) { return unpackRecord(*plan, record.bytes, record.size); });
}

int readTypeByte(ControlBlock& file, std::uint8_t* type) {
  const int code = file.check();
  if (code != kOk) return code;
  return useRecord(file, [&](const Packed& record) {
    *type = record.bytes[kRecordType];
    return int{kOk};
  });
}

}  // namespace tavo::engine
