// A change of a file that happens as a whole or not at all: what it needs to be taken back, and the
// write transaction around it.
#pragma once

#include <cassert>
#include <cstdint>

#include "store/engine/control_block.h"
#include "store/engine/transaction.h"

namespace tavo::engine {

// While one is open, every page of the file is kept as it was before it is first touched. Unless it
// is undone, what was done stays when the change goes out of scope.
class Change {
 public:
  // Does what earlier failed writes left to do first; see code().
  explicit Change(ControlBlock& file);
  ~Change() { file_.images.end(); }
  Change(const Change&) = delete;
  Change& operator=(const Change&) = delete;

  // kOk, or why the change cannot begin.
  int code() const { return code_; }
  // Makes pages, record count, record numbers and pages in use what they were at the start, without
  // reading and whatever writes failed. Pages that were added to the reserve stay there. In the
  // file itself, pages that had been written are old again when the write mode writes them next; a
  // mode that writes at once does so here, or before the next change if that fails now. The change
  // is then open for something else.
  void undo();

 private:
  ControlBlock& file_;
  int code_;
  std::uint32_t pagesInUse_, nextRecord_, freeCount_, recordCount_;
};

// Runs `body(change)` as a change in a write transaction. When it fails, or the writes that end the
// transaction do, it is undone and `recover(change)` may do something in its place.
template <typename Body, typename Recover>
int runChange(ControlBlock& file, Body&& body, Recover&& recover) {
  int code = enterWrite(file);
  if (code != kOk) return code;
  {
    Change change(file);
    code = change.code();
    const bool begun = code == kOk;
    if (begun) code = body(change);
    if (code == kOk) code = file.ioError;
    if (code == kOk) code = completeWrite(file);
    if (code != kOk) {
      if (begun) {
        change.undo();
        recover(change);
      }
      const int completed = completeWrite(file);
      if (completed != kOk) code = completed;
    }
  }
  const int left = releaseWrite(file);
  return left != kOk ? left : code;
}

template <typename Body>
int runChange(ControlBlock& file, Body&& body) {
  return runChange(file, body, [](Change&) {});
}

}  // namespace tavo::engine
