// Block reading and the cutting of pieces.
#include "reader/line_source.h"

#include <algorithm>
#include <cstring>

#include "reader/scan.h"

namespace tavo::reader {

bool LineSource::open(const char* path) {
  close();
  file_ = path == nullptr ? nullptr : std::fopen(path, "rb");
  if (file_ == nullptr) return false;
  std::setvbuf(file_, nullptr, _IONBF, 0);
  if (!buffer_) buffer_ = std::make_unique<char[]>(kSpan + kBlock + kScanSlack);
  at_ = end_ = buffer_.get();
  filled_ = 0;
  atEnd_ = zeros_ = failed_ = false;
  fill();  // a directory opens on some systems, but cannot be read
  if (failed_) close();
  return file_ != nullptr;
}

void LineSource::close() {
  if (file_ != nullptr) std::fclose(file_);
  file_ = nullptr;
  at_ = end_ = nullptr;
  atEnd_ = true;
}

// Moves what is left, less than a piece, to the front and reads a block behind it.
void LineSource::fill() {
  const size_t rest = static_cast<size_t>(end_ - at_);
  char* const front = buffer_.get();
  std::memmove(front, at_, rest);
  size_t n = std::fread(front + rest, 1, kBlock, file_);
  if (n < kBlock) {
    atEnd_ = true;
    failed_ = std::ferror(file_) != 0;
  }
  if (const void* mark = std::memchr(front + rest, 26, n); mark != nullptr) {
    n = static_cast<size_t>(static_cast<const char*>(mark) - (front + rest));
    atEnd_ = true;
  }
  zeros_ = std::memchr(front, 0, rest + n) != nullptr;
  at_ = front;
  end_ = front + rest + n;
  filled_ += n;
  if (progress_ != nullptr) progress_->onProgress(filled_);
}

bool LineSource::next(std::string_view* piece, bool* complete) {
  if (static_cast<size_t>(end_ - at_) < kSpan && !atEnd_) fill();
  const size_t available = static_cast<size_t>(end_ - at_);
  if (available == 0) return false;
  const size_t span = std::min(available, kSpan);
  const char* const start = at_;
  const char* const feed = static_cast<const char*>(std::memchr(start, '\n', span));
  size_t length = feed == nullptr ? span : static_cast<size_t>(feed - start);
  if (feed != nullptr && length > 0 && start[length - 1] == '\r') --length;
  *complete = feed != nullptr && length <= kMaxLine;
  length = std::min(length, kMaxLine);
  at_ = *complete ? feed + 1 : start + length;
  *piece = {start, length};
  if (zeros_) *piece = piece->substr(0, piece->find('\0'));
  return true;
}

}  // namespace tavo::reader
