// Files on Linux. Transfers carry their position; byte-range locks belong to the open file, as they
// do on Windows, so two openers in one process exclude each other too. The sharing rules of Windows
// are rebuilt on locks of bytes far behind any file's end.
#ifndef _WIN32

#include <fcntl.h>
#include <sched.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstring>
#include <new>
#include <utility>

#include "platform/file.h"
#include "platform/gathering_file.h"
#include "platform/sharing_posix.h"

namespace tavo::platform {
namespace {

// Moves all of the bytes, by as many calls as the system makes of them.
template <typename Call, typename Byte>
Transfer transfer(Call call, int fd, std::uint64_t position, Byte* at, std::uint32_t count) {
  while (count != 0) {
    const ssize_t n = call(fd, at, count, static_cast<off_t>(position));
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) return Transfer::kFailed;
    if (n == 0) return Transfer::kShort;
    at += n;
    position += static_cast<std::uint64_t>(n);
    count -= static_cast<std::uint32_t>(n);
  }
  return Transfer::kDone;
}

class PosixFile final : public NativeFile {
 public:
  PosixFile(int fd, bool readOnly, bool canWriteLock)
      : fd_(fd), readOnly_(readOnly), lockType_(canWriteLock ? F_WRLCK : F_RDLCK) {}
  ~PosixFile() override { close(); }

  Transfer readAt(std::uint64_t position, void* bytes, std::uint32_t count) override {
    if (position + count > kMaxPosition) return Transfer::kSeekFailed;
    return transfer(pread, fd_, position, static_cast<char*>(bytes), count);
  }

  Transfer writeAt(std::uint64_t position, const void* bytes, std::uint32_t count) override {
    if (position + count > kMaxPosition) return Transfer::kSeekFailed;
    if (readOnly_) return Transfer::kFailed;
    return transfer(pwrite, fd_, position, static_cast<const char*>(bytes), count);
  }

  bool flush() override { return fdatasync(fd_) == 0; }

  bool tryLock(std::uint32_t position, std::uint32_t count) override {
    // A descriptor that cannot be written takes only shared locks; they keep writers out but not
    // its like.
    if (lockType_ == F_RDLCK &&
        lockCommand(fd_, F_OFD_GETLK, F_WRLCK, off_t{position}, off_t{count}) != 0)
      return false;
    return lockCommand(fd_, F_OFD_SETLK, lockType_, off_t{position}, off_t{count}) == 0;
  }

  bool lockWaiting(std::uint32_t position, std::uint32_t count) override {
    return lockCommand(fd_, F_OFD_SETLKW, lockType_, off_t{position}, off_t{count}) == 0;
  }

  bool unlock(std::uint32_t position, std::uint32_t count) override {
    return lockCommand(fd_, F_OFD_SETLK, F_UNLCK, off_t{position}, off_t{count}) == 0;
  }

  bool size(std::uint64_t& bytes) override {
    struct stat now = {};
    if (fstat(fd_, &now) != 0) return false;
    bytes = static_cast<std::uint64_t>(now.st_size);
    return true;
  }

  bool extend(std::uint64_t from, std::uint64_t to) override {
    int error;
    do {
      error = posix_fallocate(fd_, static_cast<off_t>(from), static_cast<off_t>(to - from));
    } while (error == EINTR);
    return error == 0;
  }

  bool truncate(std::uint64_t size) override {
    return ftruncate(fd_, static_cast<off_t>(size)) == 0;
  }

  bool close() override {
    if (fd_ < 0) return true;
    const bool done = ::close(fd_) == 0;
    fd_ = -1;
    return done;
  }

  // Marks what this opener does and denies, and looks whether the others agree. False: they don't,
  // or the file was deleted (then `gone` is set).
  bool share(Access access, Sharing sharing, bool& gone) {
    if (lockCommand(fd_, F_OFD_SETLKW, lockType_, kOpening, 1) != 0) return false;
    struct stat now = {};
    gone = fstat(fd_, &now) != 0 || now.st_nlink == 0;
    const bool writes = access == Access::kReadWrite;
    const bool deniesReading = sharing == Sharing::kNone;
    const bool deniesWriting = sharing != Sharing::kReadWrite;
    const bool agreed = !gone && mark(kReads, true) && mark(kWrites, writes) &&
                        mark(kDeniesReading, deniesReading) &&
                        mark(kDeniesWriting, deniesWriting) && !heldByOthers(fd_, kDeniesReading) &&
                        !(writes && heldByOthers(fd_, kDeniesWriting)) &&
                        !(deniesReading && heldByOthers(fd_, kReads)) &&
                        !(deniesWriting && heldByOthers(fd_, kWrites));
    lockCommand(fd_, F_OFD_SETLK, F_UNLCK, kOpening, 1);
    return agreed;
  }

  // Deletes the file if nobody else has it open.
  bool removeIfUnused(const char* path) {
    if (lockCommand(fd_, F_OFD_SETLKW, lockType_, kOpening, 1) != 0) return false;
    return !heldByOthers(fd_, kReads) && !heldByOthers(fd_, kWrites) && unlink(path) == 0;
  }

 private:
  bool mark(off_t byte, bool wanted) {
    return !wanted || lockCommand(fd_, F_OFD_SETLK, F_RDLCK, byte, 1) == 0;
  }

  int fd_;
  bool readOnly_;
  short lockType_;
};

// Exclusive locks need a descriptor that can write, so a read-only opener asks for one as well and
// refuses writes itself.
std::unique_ptr<PosixFile> openFile(const char* path, Access access) {
  constexpr int kFlags = O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
  bool writable = true;
  int fd = ::open(path, O_RDWR | kFlags);
  if (fd < 0 && access == Access::kRead) {
    writable = false;
    fd = ::open(path, O_RDONLY | kFlags);
  }
  if (fd < 0) return nullptr;
  struct stat kind = {};
  if (fstat(fd, &kind) != 0 || !S_ISREG(kind.st_mode)) {
    ::close(fd);
    return nullptr;
  }
  auto* file = new (std::nothrow) PosixFile(fd, access == Access::kRead, writable);
  if (file == nullptr) ::close(fd);
  return std::unique_ptr<PosixFile>(file);
}

class PosixFileSystem final : public FileSystem {
 public:
  std::unique_ptr<File> create(const char* path) override {
    const int fd = ::open(path, O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (fd < 0) return nullptr;
    std::unique_ptr<PosixFile> file(new (std::nothrow) PosixFile(fd, false, true));
    if (file == nullptr) {
      ::close(fd);
      return nullptr;
    }
    // Another opener may have come in between; it finds no store file and leaves at once.
    bool gone = false;
    bool ours = false;
    for (int i = 0; i < 1000 && !ours && !gone; ++i) {
      if (i > 0) sched_yield();
      ours = file->share(Access::kReadWrite, Sharing::kNone, gone);
    }
    if (!ours) file.reset();
    return makeGatheringFile(std::move(file), Access::kReadWrite);
  }

  std::unique_ptr<File> open(const char* path, Access access, Sharing sharing) override {
    for (;;) {
      std::unique_ptr<PosixFile> file = openFile(path, access);
      bool gone = false;
      if (file == nullptr) return nullptr;
      if (file->share(access, sharing, gone)) {
        if (sharing != Sharing::kNone) return file;
        return makeGatheringFile(std::move(file), access);
      }
      if (!gone) return nullptr;
    }
  }

  bool remove(const char* path) override {
    const std::unique_ptr<PosixFile> file = openFile(path, Access::kRead);
    return file != nullptr && file->removeIfUnused(path);
  }

  bool flushFolder(const char* path) override {
    const char* const slash = std::strrchr(path, '/');
    char folder[PATH_MAX] = ".";
    const auto length = slash == nullptr ? 0 : static_cast<std::size_t>(slash - path) + 1;
    if (length >= sizeof folder) return false;
    if (length != 0) {
      std::memcpy(folder, path, length);
      folder[length] = '\0';
    }
    const int fd = ::open(folder, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    // A folder that may not be read cannot be asked for it, and some systems of files refuse it.
    if (fd < 0) return errno == EACCES;
    const bool done = fsync(fd) == 0 || errno == EINVAL;
    ::close(fd);
    return done;
  }
};

}  // namespace

FileSystem& nativeFileSystem() {
  static PosixFileSystem system;
  return system;
}

FileSystem& utf8FileSystem() { return nativeFileSystem(); }

}  // namespace tavo::platform

#endif
