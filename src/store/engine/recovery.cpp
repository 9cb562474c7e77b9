// Plays a journal back into its data file.
#include "store/engine/recovery.h"

#include <cstring>

#include "store/engine/journal.h"
#include "store/engine/open.h"
#include "store/engine/page_cache.h"
#include "store/engine/result.h"
#include "store/engine/transaction.h"

namespace tavo::engine {
namespace {

using platform::Access;
using platform::File;
using platform::Sharing;
using platform::Transfer;

Sharing sharingOf(const ControlBlock& file) {
  return file.shared() ? Sharing::kReadWrite : Sharing::kNone;
}

// Compares the header that a file has with those that it may have: the one before the transaction
// and every one that the transaction was about to write. Of a write that did not get through, some
// bytes are old and some new.
class HeaderCheck {
 public:
  int read(File& data) {
    return data.readAt(0, found_, kHeaderSize) == Transfer::kDone ? kOk : kHeaderTransfer;
  }
  void allow(const std::uint8_t* header) {
    for (std::uint32_t i = 0; i < kHeaderSize; ++i) explained_[i] |= found_[i] == header[i];
  }
  bool passed() const {
    for (const bool explained : explained_) {
      if (!explained) return false;
    }
    return true;
  }

 private:
  std::uint8_t found_[kHeaderSize] = {};
  bool explained_[kHeaderSize] = {};
};

// Counts the images of the unfinished transaction and makes sure that the file is the one, in the
// state, that they belong to.
int examine(File& data, Journal& journal, const JournalBlock& block, std::uint32_t& images) {
  HeaderCheck header;
  int code = header.read(data);
  header.allow(block.header);
  std::uint8_t bytes[kJournalImageSize];
  for (images = 0; code == kOk; ++images) {
    code = journal.readImage(images, block.salt, bytes);
    if (code != kOk) break;
    const std::int32_t page = loadI32(bytes);
    if (page < kHeaderImage || page > static_cast<std::int32_t>(kMaxPages)) return kBadJournal;
    if (page == kHeaderImage) header.allow(bytes + kJournalHead);
  }
  if (code != kNotFound) return code;
  return header.passed() ? int{kOk} : int{kBadJournal};
}

// Backwards, so that the first image of a page is the one that stays. Stopped on the way, it can be
// done again.
int playBack(File& data, Journal& journal, const JournalBlock& block) {
  std::uint32_t images = 0;
  int code = examine(data, journal, block, images);
  std::uint8_t bytes[kJournalImageSize];
  while (code == kOk && images-- > 0) {
    code = journal.readImage(images, block.salt, bytes);
    if (code == kNotFound) return kSystemFailed;
    const std::int32_t page = loadI32(bytes);
    if (code != kOk || page == kHeaderImage) continue;
    if (data.writeAt(pagePosition(page), bytes + kJournalHead, kPageSize) != Transfer::kDone)
      code = kWriteFailed;
  }
  if (code == kOk && data.writeAt(0, block.header, kHeaderSize) != Transfer::kDone)
    code = kWriteFailed;
  if (code == kOk && !data.flush()) code = kSystemFailed;
  return code == kOk ? journal.finish() : code;
}

// An opener that only reads needs handles that write for as long as it takes.
int playBackForReader(ControlBlock& file, const JournalBlock& block) {
  const Sharing sharing = sharingOf(file);
  Journal& journal = *file.journal;
  if (!file.shared()) file.file.reset();
  journal.close();
  std::unique_ptr<File> data = file.files.open(file.path, Access::kReadWrite, sharing);
  journal.open(Access::kReadWrite, sharing);
  int code = kInterrupted;
  if (data != nullptr && journal.isOpen()) code = playBack(*data, journal, block);
  data.reset();
  if (!file.shared()) file.file = openHandleAgain(file);
  return file.file == nullptr ? int{kSystemFailed} : code;
}

}  // namespace

int recover(ControlBlock& file) {
  if (file.journal == nullptr) return kOk;
  Journal& journal = *file.journal;
  journal.open(file.access == 2 ? Access::kReadWrite : Access::kRead, sharingOf(file));
  if (!journal.isOpen()) return kOk;
  JournalBlock block;
  int code = journal.look(block);
  if (code != kOk || !block.unfinished) return code;
  code = file.access == 2 ? playBack(*file.file, journal, block) : playBackForReader(file, block);
  // Another opener's pages and ours are old ones again.
  journal.forget();
  file.cache->drop(file);
  file.invalidatePositions();
  file.headerChanged = file.owesWrites = false;
  file.headerStale = true;
  return code;
}

int provideJournal(ControlBlock& file) {
  if (file.journal == nullptr || file.access != 2) return kOk;
  Journal& journal = *file.journal;
  JournalBlock block;
  int code = journal.isOpen() ? journal.look(block) : kOk;
  if (code != kOk) return code;
  FileHeader& header = file.header;
  if (header.fileId != 0 && header.fileId == block.fileId()) return kOk;
  if (header.fileId == 0) {
    header.fileId = newFileId(file.path);
    std::uint8_t id[4];
    storeU32(id, header.fileId);
    if (file.file->writeAt(kFileIdOffset, id, sizeof id) != Transfer::kDone) return kWriteFailed;
  }
  // What the file holds now is what its first transaction starts from.
  if (!file.file->flush() || !file.files.flushFolder(file.path)) return kSystemFailed;
  std::uint8_t bytes[kHeaderSize];
  encodeHeader(header, bytes);
  return journal.make(bytes, sharingOf(file));
}

}  // namespace tavo::engine
