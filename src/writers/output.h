// Where the text goes: a sink that takes blocks of bytes, and the buffer in front of it in which
// the writers build their lines.
#pragma once

#include <array>
#include <cstddef>

#include "writers/build.h"

namespace tavo::writers {

class Output {
 public:
  // A line is built in place; no single call may write more than this.
  static constexpr size_t kReserve = 16384;

  explicit Output(TextSink& sink) : sink_(sink) {}

  // Where the next bytes belong, with room for kReserve of them; they count once `end` has been
  // given to commit.
  char* reserve() {
    if (buffer_.size() - used_ < kReserve) flush();
    return buffer_.data() + used_;
  }
  void commit(const char* end) { used_ = static_cast<size_t>(end - buffer_.data()); }

  void flush() {
    if (used_ > 0 && !failed_) failed_ = !sink_.write(buffer_.data(), used_);
    used_ = 0;
  }
  // Hands over what is left and closes the sink.
  void close() {
    flush();
    failed_ = !sink_.close() || failed_;
  }

  // Set by the first failure, never cleared. The text behind a failure is thrown away.
  bool failed() const { return failed_; }

 private:
  TextSink& sink_;
  size_t used_ = 0;
  bool failed_ = false;
  std::array<char, 8 * kReserve> buffer_;
};

}  // namespace tavo::writers
