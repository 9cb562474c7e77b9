// Reads a text in large blocks and hands out pieces of lines in place: at most 129 characters,
// CR LF turned into LF, input ended by a byte 26, the same on every platform.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

#include "platform/text_file.h"
#include "schema/limits.h"

namespace tavo::reader {

// Longest line that is read whole, without its line feed.
using schema::kMaxLine;

// Shows how far the reading of a long file is.
class ProgressObserver {
 public:
  virtual void onProgress(uint64_t bytesRead) = 0;

 protected:
  ~ProgressObserver() = default;
};

class LineSource {
 public:
  LineSource() = default;
  LineSource(const LineSource&) = delete;
  LineSource& operator=(const LineSource&) = delete;
  ~LineSource() { close(); }

  // Begins with an input that must outlive the reading; false when its first block fails.
  bool open(platform::TextInput& input);
  // The same with a file of its own; false when the path is no readable file.
  bool open(const char* path);
  void close();

  // The next piece, without its line feed and cut at its first zero byte. complete says whether a
  // line feed ended it. False at the end of the input. The view is valid until the next call.
  bool next(std::string_view* piece, bool* complete);

  // The piece that next handed out last; still there when next has found the end of the input.
  std::string_view piece() const { return piece_; }

  // To be told of every block that is read; null for none.
  void observe(ProgressObserver* progress) { progress_ = progress; }
  // A read failed; the input ends there.
  bool failed() const { return failed_; }

 private:
  static constexpr size_t kBlock = 1U << 16;  // stays in the processor's cache
  // What one piece can span: its characters, CR and LF.
  static constexpr size_t kSpan = kMaxLine + 2;

  void fill();

  platform::InputFile file_;
  platform::TextInput* input_ = nullptr;
  std::unique_ptr<char[]> buffer_;
  const char* at_ = nullptr;
  const char* end_ = nullptr;
  std::string_view piece_;
  ProgressObserver* progress_ = nullptr;
  uint64_t filled_ = 0;  // bytes read so far
  bool atEnd_ = false;   // nothing more to read from the input
  bool zeros_ = false;   // the buffer may hold zero bytes
  bool failed_ = false;
};

}  // namespace tavo::reader
