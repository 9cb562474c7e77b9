// A machine in memory: processes on it can be stopped at any transfer, and when it stops itself,
// its medium keeps of what was not flushed whatever it likes.
#pragma once

#include <algorithm>
#include <cstdint>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "platform/file.h"

namespace tavo::engine::test {

using Bytes = std::vector<std::uint8_t>;

struct Machine {
  struct Write {
    std::size_t position;
    Bytes bytes;
  };
  struct Opener {
    const void* file;
    std::shared_ptr<bool> alive;
    bool reads, writes, deniesReading, deniesWriting;
  };
  struct Lock {
    const void* file;
    std::shared_ptr<bool> alive;
    std::uint32_t begin, end;
  };
  struct Disk {
    Bytes now, flushed;
    std::vector<Write> pending;
    bool named = false;  // its name is on the medium
    std::vector<Opener> openers;
    std::vector<Lock> locks;
  };
  std::map<std::string, std::shared_ptr<Disk>> files;

  Machine() = default;
  Machine(const Machine& other) {
    for (const auto& [path, disk] : other.files) {
      files[path] = std::make_shared<Disk>();
      files[path]->now = files[path]->flushed = disk->now;
      files[path]->named = true;
    }
  }
  Machine& operator=(const Machine&) = delete;

  static void apply(Bytes& bytes, const Write& write) {
    if (bytes.size() < write.position + write.bytes.size())
      bytes.resize(write.position + write.bytes.size());
    std::copy(write.bytes.begin(), write.bytes.end(),
              bytes.begin() + static_cast<std::ptrdiff_t>(write.position));
  }
  // A piece of a write that did not get through as a whole.
  static Write torn(const Write& write, std::mt19937& random) {
    const std::size_t from = random() % write.bytes.size();
    const std::size_t to = from + random() % (write.bytes.size() - from + 1);
    return {write.position + from, Bytes(write.bytes.begin() + static_cast<std::ptrdiff_t>(from),
                                         write.bytes.begin() + static_cast<std::ptrdiff_t>(to))};
  }
  // Stops the machine and all processes: each unflushed write is there, is not there, or is there
  // in part.
  void stop(std::mt19937& random) {
    for (auto at = files.begin(); at != files.end();) {
      Disk& disk = *at->second;
      for (const Opener& opener : disk.openers) *opener.alive = false;
      for (const Write& write : disk.pending) {
        const auto fate = random() % 3;
        if (fate == 1) apply(disk.flushed, write);
        if (fate == 2 && !write.bytes.empty()) apply(disk.flushed, torn(write, random));
      }
      disk.pending.clear();
      disk.now = disk.flushed;
      at = !disk.named && random() % 2 == 0 ? files.erase(at) : std::next(at);
    }
  }
};

// The files of a machine as one process sees them.
class Process : public platform::FileSystem {
 public:
  // Is killed at its transfer number `killed`, from 0; never when negative.
  explicit Process(Machine& machine, int killed = -1, std::uint32_t seed = 1)
      : machine_(machine), left_(killed), random_(seed) {}
  bool alive() const { return *alive_; }
  bool flushes = true;  // else flushing fails

  std::unique_ptr<platform::File> create(const char* path) override {
    if (!step() || machine_.files.count(path) != 0) return nullptr;
    const auto disk = machine_.files[path] = std::make_shared<Machine::Disk>();
    return std::make_unique<Handle>(*this, disk, Opening{true, true, true});
  }
  std::unique_ptr<platform::File> open(const char* path, platform::Access access,
                                       platform::Sharing sharing) override {
    const auto at = machine_.files.find(path);
    if (!step() || at == machine_.files.end()) return nullptr;
    const Opening mine = {access == platform::Access::kReadWrite,
                          sharing == platform::Sharing::kNone,
                          sharing != platform::Sharing::kReadWrite};
    for (const Machine::Opener& other : at->second->openers) {
      if (*other.alive && (other.deniesReading || (mine.writes && other.deniesWriting) ||
                           mine.deniesReading || (mine.deniesWriting && other.writes)))
        return nullptr;
    }
    return std::make_unique<Handle>(*this, at->second, mine);
  }
  bool remove(const char* path) override { return step() && machine_.files.erase(path) != 0; }
  bool flushFolder(const char* path) override {
    if (!step()) return false;
    machine_.files[path]->named = true;
    return true;
  }

 private:
  struct Opening {
    bool writes, deniesReading, deniesWriting;
  };

  class Handle : public platform::File {
   public:
    Handle(Process& process, std::shared_ptr<Machine::Disk> disk, const Opening& how)
        : process_(process), disk_(std::move(disk)), writes_(how.writes) {
      disk_->openers.push_back(
          {this, process.alive_, true, how.writes, how.deniesReading, how.deniesWriting});
    }
    ~Handle() override { close(); }
    platform::Transfer readAt(std::uint64_t position, void* bytes, std::uint32_t count) override {
      if (!process_.step()) return platform::Transfer::kFailed;
      const Bytes& now = disk_->now;
      if (position + count > now.size()) return platform::Transfer::kShort;
      std::copy_n(now.begin() + static_cast<std::ptrdiff_t>(position), count,
                  static_cast<std::uint8_t*>(bytes));
      return platform::Transfer::kDone;
    }
    platform::Transfer writeAt(std::uint64_t position, const void* bytes,
                               std::uint32_t count) override {
      if (!writes_ || !process_.alive()) return platform::Transfer::kFailed;
      const auto* const from = static_cast<const std::uint8_t*>(bytes);
      Machine::Write write = {static_cast<std::size_t>(position), Bytes(from, from + count)};
      const bool whole = process_.step();
      if (!whole) write = Machine::torn(write, process_.random_);
      Machine::apply(disk_->now, write);
      disk_->pending.push_back(std::move(write));
      return whole ? platform::Transfer::kDone : platform::Transfer::kFailed;
    }
    bool flush() override {
      if (!process_.step() || !process_.flushes) return false;
      for (const Machine::Write& write : disk_->pending) Machine::apply(disk_->flushed, write);
      disk_->pending.clear();
      return true;
    }
    bool tryLock(std::uint32_t position, std::uint32_t count) override {
      for (const Machine::Lock& lock : disk_->locks) {
        if (lock.file != this && *lock.alive && lock.begin < position + count &&
            position < lock.end)
          return false;
      }
      disk_->locks.push_back({this, process_.alive_, position, position + count});
      return true;
    }
    // Nobody on this machine waits for long: what is locked stays so.
    bool lockWaiting(std::uint32_t position, std::uint32_t count) override {
      return tryLock(position, count);
    }
    bool unlock(std::uint32_t position, std::uint32_t) override {
      const auto held = [&](const Machine::Lock& l) {
        return l.file == this && l.begin == position;
      };
      const auto at = std::find_if(disk_->locks.begin(), disk_->locks.end(), held);
      if (at == disk_->locks.end()) return false;
      disk_->locks.erase(at);
      return true;
    }
    bool close() override {
      const auto mine = [this](const auto& entry) { return entry.file == this; };
      auto& openers = disk_->openers;
      auto& locks = disk_->locks;
      openers.erase(std::remove_if(openers.begin(), openers.end(), mine), openers.end());
      locks.erase(std::remove_if(locks.begin(), locks.end(), mine), locks.end());
      return true;
    }

   private:
    Process& process_;
    std::shared_ptr<Machine::Disk> disk_;
    bool writes_;
  };

  // One transfer; false when the process does not live to see it done.
  bool step() {
    if (*alive_ && left_ >= 0 && left_-- == 0) *alive_ = false;
    return *alive_;
  }

  Machine& machine_;
  int left_;
  std::mt19937 random_;
  std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

}  // namespace tavo::engine::test
