// The journal of a data file: keeps the old images of the pages that a transaction changes until
// its end, so that one that did not come to its end can be taken back.
//
// What makes a transaction happen as a whole or not at all, wherever it is stopped and whatever of
// the transfers since the last flush reached the medium:
//
//   1. At its begin the header of the data file goes into the journal's block 0.
//   2. Every page that it changes is appended as it was before. Nothing of the data file is
//      overwritten before these images are flushed; the new header is appended before its own.
//   3. At its end header and pages are written and flushed.
//   4. Block 0 then says that there is nothing to take back, and is flushed.
//
// Block 0 is written only while nothing has to be taken back by it, or when nothing has to be any
// more: one that is not whole means that the data file is whole.
#pragma once

#include <cstdint>
#include <memory>

#include "platform/file.h"
#include "store/engine/engine.h"
#include "store/engine/images.h"
#include "store/engine/journal_format.h"

namespace tavo::engine {

// The pages whose images a transaction has saved, each with the image's place.
class SavedPages {
 public:
  void clear() {
    ++round_;
    used_ = 0;
  }
  // -1 when the page is not among them.
  std::int64_t find(std::int32_t page) const;
  // Without memory the page is not remembered: its image is saved again then, which does no harm.
  void add(std::int32_t page, std::uint32_t place);

 private:
  struct Slot {
    std::int32_t page;
    std::uint32_t place;
    std::uint64_t round;  // a slot of an earlier round is empty
  };
  bool grow();
  Slot& slotOf(std::int32_t page) const;

  std::unique_ptr<Slot[]> slots_;
  std::uint32_t size_ = 0;  // a power of two, or none
  std::uint32_t used_ = 0;
  std::uint64_t round_ = 1;
};

// One opener's journal. Operations return a Code or one of the inside results.
class Journal {
 public:
  Journal(platform::FileSystem& files, const char* path);

  bool isOpen() const { return file_ != nullptr; }
  // Opens the journal if it is there and is not open yet. Whether it is there is asked by isOpen().
  void open(platform::Access access, platform::Sharing sharing);
  void close() { file_.reset(); }
  // Reads block 0 of an open journal; kBadJournal when the file is no journal.
  int look(JournalBlock& block);
  // Makes a journal that holds nothing for the data file with this header, in place of one that
  // holds nothing for this file. Nobody else may have it open.
  int make(const std::uint8_t header[kHeaderSize], platform::Sharing sharing);

  // Reads an image of the transaction that block 0 speaks of; kNotFound behind the last one.
  int readImage(std::uint32_t k, std::uint64_t salt, std::uint8_t bytes[kJournalImageSize]);

  // --- A transaction. One that could not be brought to its end goes on with the next one.
  bool begun() const { return begun_; }
  int begin(const std::uint8_t header[kHeaderSize]);
  // Saves the images of the pages that the transaction did not change before.
  int save(const PageImages& images);
  int saveHeader(const std::uint8_t header[kHeaderSize]);
  // Whether the image of a page is on the medium.
  bool covers(std::int32_t page) const;
  // Brings all images to the medium. What a failed flush leaves behind cannot be trusted whatever
  // a later one says: nothing is begun or ended any more.
  int sync();
  bool failed() const { return failed_; }
  // The same for the data file.
  void fail() { failed_ = true; }
  // Nothing has to be taken back any more.
  int finish();
  // The same by the words of another opener.
  void forget() { begun_ = false; }

 private:
  int writeBlock();
  int append(std::int32_t page, const std::uint8_t* image, std::uint32_t size);
  bool isFresh();

  platform::FileSystem& files_;
  const char* path_;
  std::unique_ptr<platform::File> file_;
  JournalBlock block_;
  SavedPages saved_;
  std::uint32_t images_ = 0;
  std::uint32_t synced_ = 0;  // images known to be on the medium
  bool begun_ = false;
  bool failed_ = false;
};

// A number that hardly any other file has; never 0.
std::uint32_t newFileId(const char* path);

}  // namespace tavo::engine
