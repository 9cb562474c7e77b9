// The native files, or others, with a count of every transfer, and with the faults that a test asks
// for.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "platform/file.h"
#include "platform/passing_file.h"

namespace tavo::tests {

class TestFiles : public platform::FileSystem {
 public:
  explicit TestFiles(platform::FileSystem& system = platform::nativeFileSystem())
      : system_(system) {}

  struct Operation {
    char kind;  // 'r' read, 'w' write, 'f' flush
    std::uint64_t position;
  };
  std::vector<Operation> log;
  bool logging = false;
  int writesUntilFault = -1;  // the write that finds 0 fails; -1: none does
  int readsUntilFault = -1;
  bool lasting = false;        // later ones fail too
  bool shortened = false;      // half of the bytes go, instead of none
  std::uint64_t full = ~0ull;  // writes that would extend the file beyond this position fail

  std::function<void()> onTransfer;  // before each one
  bool gathers = false;              // as the native files do when they are told to

  int count(char kind) const {
    int n = 0;
    for (const Operation& operation : log) n += operation.kind == kind ? 1 : 0;
    return n;
  }

  std::unique_ptr<platform::File> create(const char* path) override {
    return wrap(system_.create(path));
  }
  std::unique_ptr<platform::File> open(const char* path, platform::Access access,
                                       platform::Sharing sharing) override {
    return wrap(system_.open(path, access, sharing));
  }
  bool remove(const char* path) override { return system_.remove(path); }

 private:
  class TestFile : public platform::PassingFile {
   public:
    TestFile(TestFiles& owner, std::unique_ptr<platform::File> file)
        : PassingFile(std::move(file)), owner_(owner) {}
    platform::Transfer readAt(std::uint64_t position, void* bytes, std::uint32_t count) override {
      owner_.note('r', position);
      if (owner_.faulty(owner_.readsUntilFault)) return fault();
      return PassingFile::readAt(position, bytes, count);
    }
    platform::Transfer writeAt(std::uint64_t position, const void* bytes,
                               std::uint32_t count) override {
      owner_.note('w', position);
      const bool room = position + count <= owner_.full;
      if (room && !owner_.faulty(owner_.writesUntilFault))
        return PassingFile::writeAt(position, bytes, count);
      if (owner_.shortened) PassingFile::writeAt(position, bytes, count / 2);
      return fault();
    }
    bool flush() override {
      owner_.note('f', 0);
      return true;
    }
    bool gather(bool wanted) override { return !owner_.gathers || PassingFile::gather(wanted); }

   private:
    platform::Transfer fault() const {
      return owner_.shortened ? platform::Transfer::kShort : platform::Transfer::kFailed;
    }
    TestFiles& owner_;
  };

  std::unique_ptr<platform::File> wrap(std::unique_ptr<platform::File> file) {
    if (file == nullptr) return nullptr;
    return std::make_unique<TestFile>(*this, std::move(file));
  }
  void note(char kind, std::uint64_t position) {
    if (onTransfer) onTransfer();
    if (logging) log.push_back({kind, position});
  }
  bool faulty(int& countdown) const {
    if (countdown < 0) return false;
    if (countdown > 0) {
      --countdown;
      return false;
    }
    if (!lasting) countdown = -1;
    return true;
  }

  platform::FileSystem& system_;
};

}  // namespace tavo::tests
