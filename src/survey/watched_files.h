// Tells a caller how much of a file was read, and lets it end the walk over it.
#pragma once

#include <memory>
#include <utility>

#include "platform/file.h"
#include "platform/passing_file.h"
#include "tavo/survey.h"

namespace tavo::survey {

// Thrown from a reading behind which the caller wants no other.
struct Cancelled {};

struct Watch {
  tavo_progress_fn onProgress = nullptr;
  void* user = nullptr;
  uint64_t done = 0;  // bytes
};

class WatchedFile final : public platform::PassingFile {
 public:
  WatchedFile(std::unique_ptr<File> file, Watch& watch)
      : PassingFile(std::move(file)), watch_(watch) {}

  platform::Transfer readAt(uint64_t position, void* bytes, uint32_t count) override {
    watch_.done += count;
    if (watch_.onProgress(watch_.done, 0, watch_.user) != 0) throw Cancelled();
    return PassingFile::readAt(position, bytes, count);
  }

 private:
  Watch& watch_;
};

// Files by paths in UTF-8. Only those opened to be read are watched: what is being written is left
// by destructors, from which nothing may be thrown.
class WatchedFiles final : public platform::FileSystem {
 public:
  explicit WatchedFiles(Watch watch) : watch_(watch) {}

  std::unique_ptr<platform::File> create(const char* path) override { return files_.create(path); }
  std::unique_ptr<platform::File> open(const char* path, platform::Access access,
                                       platform::Sharing sharing) override {
    auto file = files_.open(path, access, sharing);
    const bool watched =
        file != nullptr && watch_.onProgress != nullptr && access == platform::Access::kRead;
    return watched ? std::make_unique<WatchedFile>(std::move(file), watch_) : std::move(file);
  }
  bool remove(const char* path) override { return files_.remove(path); }
  bool flushFolder(const char* path) override { return files_.flushFolder(path); }

 private:
  platform::FileSystem& files_ = platform::utf8FileSystem();
  Watch watch_;
};

}  // namespace tavo::survey
