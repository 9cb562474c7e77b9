// What data files of both kinds do alike: one store file with the forms of its records, searching
// by key, and the library's codes for what the engine says.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "platform/file.h"
#include "store/engine/engine.h"
#include "store/record_form.h"
#include "tavo/records.h"
#include "tavo/tavo.h"

namespace tavo::store {

// Statuses are 32 bits wide with the code in the low half; where a code stands for a result of the
// store engine, the high half is the engine's. One thread at a time. The buffers are allocated here
// (std::bad_alloc); no operation throws.
class FormStore {
 public:
  // Longest path of a data file of the exports and of a journal, without its end mark.
  static constexpr size_t kMaxPath = 1023;

  // Names the journal of the data file that is created or opened next: with one, every change is
  // durable when it returns, and one that was cut off is taken back by the next opener. Null or
  // empty for none, as at first. False, and nothing changed, when the path is too long.
  bool setJournal(const char* path);

  bool isOpen() const { return file_.isOpen(); }
  // Whether there is a current record, be it one that cannot be read.
  bool onRecord() const { return file_.currentRecord() != 0; }
  // The engine's result behind the code that the last failed operation gave. kNotFound is a sound
  // "none": where a call of the system failed, kShortRead stands for it.
  int engineCode() const { return engineCode_; }
  // Closes the file and tells how that went: 0, or the engine's code when what was still to be
  // written could not be.
  int close() { return file_.close(); }

 protected:
  FormStore(FileKind kind, platform::FileSystem& files, unsigned buffers);
  ~FormStore() = default;

  using Path = std::array<char, kMaxPath + 1>;
  // False, and the path as it was, when the new one has no room.
  static bool takePath(const char* path, Path& taken);
  // Null: none.
  const char* journal() const { return journal_[0] == '\0' ? nullptr : journal_.data(); }

  // The library's code for an engine's result that is none of success.
  uint32_t coded(int result, uint16_t code);
  // The status of a create or open of the file; the write mode of one that is open is set.
  uint32_t opened(int result);
  // Of a search that came to no record: there is none, or nobody knows.
  uint32_t searchFailed(int result);

  // Stores what the form holds as the current record.
  uint32_t insert(const RecordForm& form, RecordType type);
  // The type of the current record and the form that it can be read into.
  uint32_t currentForm(RecordType* type, RecordForm** form);
  // Reads the current record into the form of its type.
  uint32_t readInto(RecordForm& form);
  // Makes the first record of the type with the key that `record` has the current one. 0, or 2562
  // (no such key), 2567, 2570.
  uint32_t seek(RecordType type, const void* record, Lookup lookup);

  engine::PageCache cache_;
  engine::Store file_;
  RecordForms forms_;

 private:
  uint32_t scan(RecordType type, Lookup lookup);

  int engineCode_ = 0;
  Path journal_{};  // empty: none
};

}  // namespace tavo::store
