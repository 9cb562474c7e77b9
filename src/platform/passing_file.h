// A file that hands every call to another one: the base of those that step in at some of them.
#pragma once

#include <cstdint>
#include <memory>
#include <utility>

#include "platform/file.h"

namespace tavo::platform {

class PassingFile : public File {
 public:
  explicit PassingFile(std::unique_ptr<File> file) : file_(std::move(file)) {}

  Transfer readAt(std::uint64_t position, void* bytes, std::uint32_t count) override {
    return file_->readAt(position, bytes, count);
  }
  Transfer writeAt(std::uint64_t position, const void* bytes, std::uint32_t count) override {
    return file_->writeAt(position, bytes, count);
  }
  bool flush() override { return file_->flush(); }
  bool tryLock(std::uint32_t position, std::uint32_t count) override {
    return file_->tryLock(position, count);
  }
  bool lockWaiting(std::uint32_t position, std::uint32_t count) override {
    return file_->lockWaiting(position, count);
  }
  bool unlock(std::uint32_t position, std::uint32_t count) override {
    return file_->unlock(position, count);
  }
  bool gather(bool wanted) override { return file_->gather(wanted); }
  bool close() override { return file_->close(); }

 private:
  std::unique_ptr<File> file_;
};

}  // namespace tavo::platform
