// Block reading and the cutting of pieces.
#include "reader/line_source.h"

#include <algorithm>
#include <cstring>

#include "reader/scan.h"

namespace tavo::reader {

bool LineSource::open(const char* path) {
  close();
  if (path == nullptr || file_.open(path) != platform::OpenResult::kDone) return false;
  return open(file_);
}

bool LineSource::open(platform::TextInput& input) {
  if (!buffer_) buffer_ = std::make_unique<char[]>(2 * kSpan + kBlock + kScanSlack);
  input_ = &input;
  at_ = end_ = buffer_.get();
  piece_ = std::string_view(at_, end_);
  filled_ = 0;
  atEnd_ = zeros_ = failed_ = cancelled_ = false;
  fill();
  if (failed_) close();
  return input_ != nullptr;
}

void LineSource::close() {
  file_.close();
  input_ = nullptr;
  at_ = end_ = nullptr;
  piece_ = {};
  atEnd_ = true;
}

// Moves the last piece and what is left behind it, less than a piece, to the front and reads a
// block behind them.
void LineSource::fill() {
  const char* const kept = piece_.data();
  const size_t rest = static_cast<size_t>(end_ - kept);
  char* const front = buffer_.get();
  std::memmove(front, kept, rest);
  size_t n = input_->read(front + rest, kBlock);
  if (n < kBlock) {
    atEnd_ = true;
    failed_ = input_->failed();
  }
  if (const void* mark = std::memchr(front + rest, 26, n); mark != nullptr) {
    n = static_cast<size_t>(static_cast<const char*>(mark) - (front + rest));
    atEnd_ = true;
  }
  zeros_ = std::memchr(front, 0, rest + n) != nullptr;
  at_ = front + (at_ - kept);
  end_ = front + rest + n;
  piece_ = {front, piece_.size()};
  filled_ += n;
  cancelled_ = progress_ != nullptr && !progress_->onProgress(filled_);
  if (cancelled_) {
    end_ = at_;
    atEnd_ = true;
  }
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
  piece_ = *piece;
  return true;
}

}  // namespace tavo::reader
