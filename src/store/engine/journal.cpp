// Saves old images of pages in the journal file and tells what is in it.
#include "store/engine/journal.h"

#include <chrono>
#include <cstring>
#include <new>

#include "store/engine/result.h"

namespace tavo::engine {
namespace {

using platform::Access;
using platform::Sharing;
using platform::Transfer;

int writeCode(Transfer transfer) { return transfer == Transfer::kDone ? kOk : kWriteFailed; }

// Differs between runs and calls; nothing depends on its being hard to guess.
std::uint64_t scatter(std::uint64_t seed) {
  static std::uint64_t calls = 0;
  const auto now = std::chrono::system_clock::now().time_since_epoch().count();
  const auto tick = std::chrono::steady_clock::now().time_since_epoch().count();
  std::uint64_t mixed = seed ^ static_cast<std::uint64_t>(now) ^ ++calls << 56;
  mixed ^= static_cast<std::uint64_t>(tick) * 0x9E3779B97F4A7C15u;
  mixed = (mixed ^ mixed >> 30) * 0xBF58476D1CE4E5B9u;
  mixed = (mixed ^ mixed >> 27) * 0x94D049BB133111EBu;
  return mixed ^ mixed >> 31;
}

}  // namespace

SavedPages::Slot& SavedPages::slotOf(std::int32_t page) const {
  std::uint32_t at = static_cast<std::uint32_t>(page) * 0x9E3779B1u & (size_ - 1);
  while (slots_[at].round == round_ && slots_[at].page != page) at = (at + 1) & (size_ - 1);
  return slots_[at];
}

std::int64_t SavedPages::find(std::int32_t page) const {
  if (used_ == 0) return -1;
  const Slot& slot = slotOf(page);
  return slot.round == round_ ? std::int64_t{slot.place} : -1;
}

bool SavedPages::grow() {
  const std::uint32_t size = size_ == 0 ? 64 : size_ * 2;
  std::unique_ptr<Slot[]> slots(new (std::nothrow) Slot[size]());
  if (slots == nullptr) return false;
  slots_.swap(slots);
  const std::uint32_t old = size_;
  size_ = size;
  for (std::uint32_t i = 0; i < old; ++i) {
    if (slots[i].round == round_) slotOf(slots[i].page) = slots[i];
  }
  return true;
}

void SavedPages::add(std::int32_t page, std::uint32_t place) {
  if (used_ * 2 >= size_ && !grow()) return;
  slotOf(page) = {page, place, round_};
  ++used_;
}

Journal::Journal(platform::FileSystem& files, const char* path) : files_(files), path_(path) {}

void Journal::open(Access access, Sharing sharing) {
  if (file_ != nullptr) return;
  file_ = files_.open(path_, access, sharing);
  begun_ = false;
}

// Whether the file is one whose making was stopped: no longer than block 0, and where that begins
// differently than it should there is nothing.
bool Journal::isFresh() {
  std::uint8_t begin[kJournalSignatureSize] = {};
  std::uint8_t behind;
  if (file_->readAt(kPageSize, &behind, 1) != Transfer::kShort) return false;
  std::uint32_t size = sizeof begin;
  while (size != 0 && file_->readAt(0, begin, size) == Transfer::kShort) --size;
  for (std::uint32_t i = 0; i < size; ++i) {
    if (begin[i] != kJournalSignature[i] && begin[i] != 0) return false;
  }
  return true;
}

int Journal::look(JournalBlock& block) {
  std::uint8_t bytes[kPageSize];
  const Transfer transfer = file_->readAt(0, bytes, kPageSize);
  if (transfer == Transfer::kFailed || transfer == Transfer::kSeekFailed) return kSystemFailed;
  if (transfer == Transfer::kDone &&
      std::memcmp(bytes, kJournalSignature, kJournalSignatureSize) == 0) {
    if (!decodeJournalBlock(bytes, block)) block.salt = scatter(block.salt);
  } else if (isFresh()) {
    block = {};
    block.salt = scatter(0);
  } else {
    return kBadJournal;
  }
  block_ = block;
  return kOk;
}

int Journal::writeBlock() {
  std::uint8_t bytes[kPageSize];
  encodeJournalBlock(block_, bytes);
  return writeCode(file_->writeAt(0, bytes, kPageSize));
}

int Journal::make(const std::uint8_t header[kHeaderSize], Sharing sharing) {
  if (file_ != nullptr && sharing != Sharing::kNone) {
    // Only one who has it for himself can know that it is nobody else's.
    file_ = nullptr;
    file_ = files_.open(path_, Access::kReadWrite, Sharing::kNone);
    if (file_ == nullptr) return kBadJournal;
  }
  if (file_ == nullptr) file_ = files_.create(path_);
  if (file_ == nullptr) return kBadJournal;
  block_.unfinished = false;
  std::memcpy(block_.header, header, kHeaderSize);
  int code = writeBlock();
  if (code == kOk && !(file_->flush() && files_.flushFolder(path_))) code = kSystemFailed;
  if (code == kOk && sharing != Sharing::kNone) {
    file_ = nullptr;
    file_ = files_.open(path_, Access::kReadWrite, sharing);
    if (file_ == nullptr) code = kSystemFailed;
  }
  return code;
}

int Journal::readImage(std::uint32_t k, std::uint64_t salt, std::uint8_t bytes[kJournalImageSize]) {
  switch (file_->readAt(journalPosition(k), bytes, kJournalImageSize)) {
    case Transfer::kDone:
      return isJournalImage(bytes, k, salt) ? int{kOk} : int{kNotFound};
    case Transfer::kFailed:
      return kSystemFailed;
    default:
      return kNotFound;
  }
}

int Journal::begin(const std::uint8_t header[kHeaderSize]) {
  if (failed_ || file_ == nullptr) return kSystemFailed;
  if (begun_) return kOk;
  block_.unfinished = true;
  ++block_.salt;
  std::memcpy(block_.header, header, kHeaderSize);
  const int code = writeBlock();
  if (code != kOk) return code;
  saved_.clear();
  images_ = synced_ = 0;
  begun_ = true;
  return kOk;
}

int Journal::append(std::int32_t page, const std::uint8_t* image, std::uint32_t size) {
  std::uint8_t bytes[kJournalImageSize] = {};
  std::memcpy(bytes + kJournalHead, image, size);
  sealJournalImage(page, images_, block_.salt, bytes);
  const int code = writeCode(file_->writeAt(journalPosition(images_), bytes, kJournalImageSize));
  if (code != kOk) return code;
  if (page >= 0) saved_.add(page, images_);
  ++images_;
  return kOk;
}

int Journal::save(const PageImages& images) {
  for (const PageBuffer* b = images.first(); b != nullptr; b = b->next) {
    if (saved_.find(b->page) >= 0) continue;
    const int code = append(b->page, b->image, kPageSize);
    if (code != kOk) return code;
  }
  return kOk;
}

int Journal::saveHeader(const std::uint8_t header[kHeaderSize]) {
  return append(kHeaderImage, header, kHeaderSize);
}

bool Journal::covers(std::int32_t page) const {
  const std::int64_t place = saved_.find(page);
  return place >= 0 && place < std::int64_t{synced_};
}

int Journal::sync() {
  if (failed_) return kSystemFailed;
  if (synced_ == images_) return kOk;
  if (!file_->flush()) {
    failed_ = true;
    return kSystemFailed;
  }
  synced_ = images_;
  return kOk;
}

int Journal::finish() {
  if (failed_) return kSystemFailed;
  block_.unfinished = false;
  const int code = writeBlock();
  if (code != kOk) return code;
  if (!file_->flush()) {
    failed_ = true;
    return kSystemFailed;
  }
  begun_ = false;
  return kOk;
}

std::uint32_t newFileId(const char* path) {
  std::uint64_t seed = 0;
  for (const char* c = path; *c != '\0'; ++c) seed = seed * 31 + static_cast<unsigned char>(*c);
  std::uint32_t id = 0;
  while (id == 0) id = static_cast<std::uint32_t>(scatter(seed) >> 32);
  return id;
}

}  // namespace tavo::engine
