// The public operations: each asks the control block whether it may, and hands on to the part that
// does it.
#include "store/engine/engine.h"

#include <algorithm>
#include <cstring>

#include "store/engine/change.h"
#include "store/engine/key.h"
#include "store/engine/locks.h"
#include "store/engine/open.h"
#include "store/engine/page_cache.h"
#include "store/engine/record.h"
#include "store/engine/records.h"
#include "store/engine/result.h"
#include "store/engine/search.h"
#include "store/engine/transaction.h"

namespace tavo::engine {
namespace {

// What find() requires of its arguments.
int checkFind(ControlBlock& file, int index, int mode) {
  const int code = file.check();
  if (code != kOk) return code;
  file.currentRecord = 0;
  if (index < 1 || index > kLastIndex) return kBadKeyRole;
  return mode < kEqual || mode > kLessOrEqual ? int{kBadArgument} : kOk;
}

// Locks or unlocks the current record of a shared file; an exclusive one needs no locks.
int changeLock(ControlBlock& file, int (*change)(ControlBlock& file, std::int32_t record)) {
  int code = file.checkChange();
  if (code == kOk && file.currentRecord == 0) code = kNoCurrentRecord;
  if (code != kOk || !file.shared()) return code;
  return runChange(file, [&](Change&) { return change(file, file.currentRecord); });
}

}  // namespace

Store::Store(PageCache& cache, platform::FileSystem& files)
    : cache_(cache), block_(std::make_unique<ControlBlock>(&cache.impl(), files)) {}

Store::~Store() {
  if (isOpen())
    close();
  else if (block_ != nullptr && !block_->guarded())
    cache_.impl().drop(*block_);  // its pages must not outlive it
}

int Store::answer(int code) {
  systemFailed_ = code == kSystemFailed;
  return publicCode(code);
}

int Store::create(const char* path, const IndexDef* indexes, const Options& options) {
  return block_ == nullptr ? int{kNoMemory} : answer(createFile(*block_, path, indexes, options));
}

int Store::open(const char* path, const IndexDef* indexes, const Options& options) {
  return block_ == nullptr ? int{kNoMemory} : answer(openFile(*block_, path, indexes, options));
}

int Store::close() { return block_ == nullptr ? int{kNotOpen} : answer(closeFile(*block_)); }

bool Store::isOpen() const { return block_ != nullptr && block_->check() == kOk; }

int Store::setWriteMode(int mode) {
  const int code = block_ == nullptr ? kNotOpen : block_->check();
  if (code != kOk) return code;
  if (mode < 0 || mode > 4) return answer(kNotFound);
  const int set = block_->shared() && (mode == 2 || mode == 3) ? 1 : mode;
  // Only mode 0 without a journal leaves open when something gets to the file.
  const bool open = set == 0 && !block_->shared() && block_->journal == nullptr;
  if (!block_->file->gather(open)) return answer(kWriteFailed);
  block_->writeMode = set;
  return kOk;
}

int Store::writeMode() const { return block_ == nullptr ? 0 : block_->writeMode; }

int Store::insert(const Field* fields, std::uint8_t type) {
  return block_ == nullptr ? int{kNotOpen} : answer(insertRecord(*block_, fields, type));
}

int Store::replace(const Field* fields) {
  return block_ == nullptr ? int{kNotOpen} : answer(replaceRecord(*block_, fields));
}

int Store::remove(const Field* fields) {
  return block_ == nullptr ? int{kNotOpen} : answer(removeRecord(*block_, fields));
}

int Store::read(const Field* fields) {
  return block_ == nullptr ? int{kNotOpen} : answer(readRecord(*block_, fields));
}

int Store::typeByte(std::uint8_t* type) {
  return block_ == nullptr ? int{kNotOpen} : answer(readTypeByte(*block_, type));
}

int Store::find(int index, const void* value, std::uint32_t length, int mode) {
  if (block_ == nullptr) return kNotOpen;
  int code = checkFind(*block_, index, mode);
  Key key;
  if (code == kOk) code = makeKey(*block_, index, value, length, key);
  return answer(code == kOk ? findKey(*block_, index, key, mode) : code);
}

int Store::find(int index, const Field* fields, int mode) {
  if (block_ == nullptr) return kNotOpen;
  int code = checkFind(*block_, index, mode);
  if (code == kOk && fields == nullptr) code = kBadFieldType;
  const RecordPlan* const plan = code == kOk ? block_->planOf(fields) : nullptr;
  if (code == kOk && plan == nullptr) code = kNoMemory;
  if (code == kOk && block_->checkFields) code = plan->check(false);
  if (code != kOk) return code;
  for (std::uint32_t n = 0; n < plan->keys(); ++n) {
    if (plan->field(plan->keyField(n)).index != index) continue;
    Key key;
    code = makeKey(*block_, RecordValues(*plan), plan->keyField(n), key);
    return answer(code == kOk ? findKey(*block_, index, key, mode) : code);
  }
  return kBadKeyRole;
}

int Store::position(int index, int how) {
  if (block_ == nullptr) return kNotOpen;
  ControlBlock& file = *block_;
  int code = file.check();
  if (code != kOk) return code;
  if (index < 1 || index > kLastIndex || how < kNext || how > kLast) {
    file.currentRecord = 0;
    return kBadArgument;
  }
  ReadTransaction transaction(file);
  code = transaction.code();
  if (code == kOk) code = transaction.end(moveAlong(file, index, how));
  if (code != kOk) file.currentRecord = 0;
  return answer(code);
}

bool Store::atSoughtKey(int index) {
  if (block_ == nullptr || block_->check() != kOk) return false;
  return index >= 1 && index <= kLastIndex && engine::atSoughtKey(*block_, index);
}

std::int32_t Store::currentRecord() const { return block_ == nullptr ? 0 : block_->currentRecord; }

int Store::setCurrentRecord(std::int32_t number) {
  const int code = block_ == nullptr ? kNotOpen : block_->check();
  if (code == kOk) block_->currentRecord = number;
  return code;
}

int Store::beginRead() {
  const int code = block_ == nullptr ? kNotOpen : block_->check();
  return answer(code == kOk ? enterRead(*block_) : code);
}

int Store::endRead() {
  const int code = block_ == nullptr ? kNotOpen : block_->check();
  return answer(code == kOk ? leaveRead(*block_) : code);
}

int Store::beginWrite() {
  const int code = block_ == nullptr ? int{kNotOpen} : block_->checkChange();
  return answer(code == kOk ? enterWrite(*block_) : code);
}

int Store::endWrite() {
  const int code = block_ == nullptr ? kNotOpen : block_->check();
  if (code != kOk) return code;
  return answer(block_->writeNest == 0 ? int{kNoTransaction} : leaveWrite(*block_));
}

std::uint32_t Store::recordCount() const { return isOpen() ? block_->header.recordCount : 0; }

std::uint32_t Store::userArea(void* bytes, std::uint32_t room) const {
  if (!isOpen()) return 0;
  const std::uint32_t length = std::min(room, block_->header.userLength);
  if (length != 0) std::memcpy(bytes, block_->header.user, length);
  return block_->header.userLength;
}

int Store::lockRecord() {
  return block_ == nullptr ? int{kNotOpen} : answer(changeLock(*block_, &takeRecordLock));
}

int Store::unlockRecord() {
  return block_ == nullptr ? int{kNotOpen} : answer(changeLock(*block_, &releaseRecordLock));
}

int Store::setUserArea(const void* bytes, std::uint32_t length) {
  if (block_ == nullptr) return kNotOpen;
  ControlBlock& file = *block_;
  int code = file.checkChange();
  if (code == kOk && length > sizeof file.header.user) code = kBadArgument;
  if (code != kOk) return code;
  const FileHeader before = file.header;
  const auto set = [&file](const void* area, std::uint32_t size) {
    std::memset(file.header.user, 0, sizeof file.header.user);
    if (size != 0) std::memcpy(file.header.user, area, size);
    file.header.userLength = size;
    return int{kOk};
  };
  return answer(runChange(
      file, [&](Change&) { return set(bytes, length); },
      [&](Change&) { set(before.user, before.userLength); }));
}

bool removeFile(const char* path, platform::FileSystem& files) { return files.remove(path); }

}  // namespace tavo::engine
