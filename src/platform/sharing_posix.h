// The sharing rules of Windows on Linux, rebuilt on locks of bytes far behind any file's end. The
// locks belong to the open file, so two openers in one process exclude each other, too.
#pragma once

#include <fcntl.h>

#include <cerrno>

namespace tavo::platform {

// The bytes that hold the sharing state. Each opener read-locks the bytes of what it does and of
// what it denies others.
enum ShareByte : off_t {
  kShareBase = off_t{1} << 62,
  kOpening = kShareBase,  // write-locked while an opener compares the others' bytes with its own
  kReads,
  kWrites,
  kDeniesReading,
  kDeniesWriting,
};

inline int lockCommand(int fd, int command, short type, off_t position, off_t count) {
  struct flock lock = {};
  lock.l_type = type;
  lock.l_whence = SEEK_SET;
  lock.l_start = position;
  lock.l_len = count;
  int result;
  do {
    result = fcntl(fd, command, &lock);
  } while (result != 0 && errno == EINTR);
  return result == 0 && command == F_OFD_GETLK ? lock.l_type != F_UNLCK : result;
}

inline bool heldByOthers(int fd, off_t position) {
  return lockCommand(fd, F_OFD_GETLK, F_WRLCK, position, 1) != 0;
}

}  // namespace tavo::platform
