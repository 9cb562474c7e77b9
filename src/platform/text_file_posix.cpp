// Text files on Linux. The bytes that record how the store's files are shared are minded and marked
// here, too, so that a text and a data file exclude each other as they do on Windows.
#ifndef _WIN32

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "platform/sharing_posix.h"
#include "platform/text_file.h"
#include "platform/text_file_native.h"

namespace tavo::platform {

namespace {

constexpr int kFlags = O_CLOEXEC | O_NOCTTY;

OpenResult resultOf(int error) {
  switch (error) {
    case ENOENT:
    case ENOTDIR:
      return OpenResult::kMissing;
    case EISDIR:
      return OpenResult::kFolder;
    case EACCES:
    case EPERM:
    case EROFS:
      return OpenResult::kDenied;
    default:
      return OpenResult::kFailed;
  }
}

// A file system without such locks shares everything.
bool heldHere(int fd, off_t byte) { return lockCommand(fd, F_OFD_GETLK, F_WRLCK, byte, 1) > 0; }

// Marks what this opener does, then looks whether an opener denies it; in this order, so that of
// two that come at once at least one sees the other. A file without permission to read takes no
// mark.
OpenResult share(int fd, off_t does, off_t denied) {
  struct stat info = {};
  if (fstat(fd, &info) != 0) return OpenResult::kFailed;
  if (S_ISDIR(info.st_mode)) return OpenResult::kFolder;
  if (!S_ISREG(info.st_mode)) return OpenResult::kDone;
  lockCommand(fd, F_OFD_SETLK, F_RDLCK, does, 1);
  return heldHere(fd, denied) ? OpenResult::kHeld : OpenResult::kDone;
}

}  // namespace

OpenResult InputFile::open(const char* path, PathForm /*form*/) {
  close();
  file_ = ::open(path, O_RDONLY | kFlags);
  if (file_ < 0) return resultOf(errno);
  open_ = owned_ = true;
  const OpenResult result = share(file_, kReads, kDeniesReading);
  if (result != OpenResult::kDone) close();
  return result;
}

void InputFile::openStandard() {
  close();
  file_ = STDIN_FILENO;
  open_ = true;
}

void InputFile::close() {
  if (owned_) ::close(file_);
  open_ = owned_ = failed_ = false;
}

size_t InputFile::read(char* bytes, size_t size) {
  size_t done = 0;
  while (done < size) {
    const ssize_t n = ::read(file_, bytes + done, size - done);
    if (n < 0 && errno == EINTR) continue;
    failed_ = n < 0;
    if (n <= 0) break;
    done += static_cast<size_t>(n);
  }
  return done;
}

bool InputFile::seek(uint64_t place) {
  return place <= INT64_MAX && ::lseek(file_, static_cast<off_t>(place), SEEK_SET) >= 0;
}

OpenResult OutputFile::open(const char* path, PathForm form) {
  abandon();
  // Marks need a descriptor that can read as well. A pipe must not be opened that way: it would not
  // wait for its reader.
  const FileKind before = fileInfo(path).kind;
  const int wanted = before == FileKind::kOther ? O_WRONLY : O_RDWR;
  file_ =
      before == FileKind::kMissing ? ::open(path, O_RDWR | O_CREAT | O_EXCL | kFlags, 0666) : -1;
  made_ = file_ >= 0;
  if (!made_) file_ = ::open(path, wanted | O_CREAT | kFlags, 0666);
  if (file_ < 0 && errno == EACCES) file_ = ::open(path, O_WRONLY | kFlags);
  if (file_ < 0) return resultOf(errno);
  path_ = path;
  form_ = form;
  open_ = true;
  started_ = false;
  const OpenResult result = share(file_, kWrites, kDeniesWriting);
  if (result != OpenResult::kDone) abandon();
  return result;
}

OpenResult OutputFile::create(const char* path, const char* like, PathForm form) {
  abandon();
  file_ = ::open(path, O_RDWR | O_CREAT | O_EXCL | kFlags, 0666);
  if (file_ < 0) return resultOf(errno);
  path_ = path;
  form_ = form;
  open_ = made_ = true;
  started_ = false;
  struct stat old = {};
  // Where permissions cannot be set, those of a new file have to do.
  if (stat(like, &old) == 0 && fchmod(file_, old.st_mode & 07777) != 0) errno = 0;
  return share(file_, kWrites, kDeniesWriting);
}

bool OutputFile::start() {
  struct stat info = {};
  started_ = fstat(file_, &info) == 0 && (!S_ISREG(info.st_mode) || ftruncate(file_, 0) == 0);
  return started_;
}

bool OutputFile::write(const char* bytes, size_t size) {
  while (size > 0) {
    const ssize_t n = ::write(file_, bytes, size);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    bytes += n;
    size -= static_cast<size_t>(n);
  }
  return true;
}

bool OutputFile::writeBytes(const char* bytes, size_t size) { return write(bytes, size); }

bool OutputFile::close() {
  if (!open_) return true;
  open_ = false;
  return ::close(file_) == 0;
}

FileInfo fileInfo(const char* path, PathForm /*form*/) {
  struct stat found = {};
  if (stat(path, &found) != 0) return {};
  FileInfo info;
  info.kind = S_ISREG(found.st_mode)   ? FileKind::kRegular
              : S_ISDIR(found.st_mode) ? FileKind::kFolder
                                       : FileKind::kOther;
  info.size = info.kind == FileKind::kRegular ? static_cast<uint64_t>(found.st_size) : 0;
  info.volume = found.st_dev;
  info.index = found.st_ino;
  return info;
}

bool removeFile(const char* path, PathForm /*form*/) { return unlink(path) == 0; }

namespace native {

unsigned long processId() { return static_cast<unsigned long>(getpid()); }

std::string linkTarget(const char* path) {
  char* const real = realpath(path, nullptr);
  if (real == nullptr) return path;
  std::string result(real);
  std::free(real);
  return result;
}

bool replace(const char* from, const char* to, PathForm /*form*/) {
  const int fd = ::open(to, O_RDONLY | O_NONBLOCK | kFlags);
  const bool used = fd >= 0 && (heldHere(fd, kReads) || heldHere(fd, kWrites));
  if (fd >= 0) ::close(fd);
  return !used && std::rename(from, to) == 0;
}

Name nameOf(const char* path, PathForm /*form*/) {
  const char* const slash = std::strrchr(path, '/');
  if (slash == nullptr) return {".", path};
  return {std::string(path, slash + 1), slash + 1};
}

bool sameName(const char* a, const char* b, PathForm /*form*/) { return std::strcmp(a, b) == 0; }

}  // namespace native

}  // namespace tavo::platform

#endif
