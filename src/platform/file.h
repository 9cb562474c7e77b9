// File access and byte-range locks: the one interface between the store and the operating system.
// It is virtual so that a test can put itself between the two and let the n-th transfer fail, come
// up short or be counted.
#pragma once

#include <cstdint>
#include <memory>

namespace tavo::platform {

// How a transfer of exactly n bytes went.
enum class Transfer {
  kDone,
  kShort,       // fewer bytes than asked went or came
  kFailed,      // the call itself failed
  kSeekFailed,  // the position could not be set
};

enum class Access { kRead = 1, kReadWrite = 2 };

// What other openers may do with a file while we have it open.
enum class Sharing { kNone, kRead, kReadWrite };

// Positions reach up to this one; both platforms keep it so that files can change places.
constexpr std::uint64_t kMaxPosition = 0x7FFFFFFF;

// An open file; closed at the latest by the destructor.
class File {
 public:
  File() = default;
  File(const File&) = delete;
  File& operator=(const File&) = delete;
  virtual ~File() = default;

  virtual Transfer readAt(std::uint64_t position, void* bytes, std::uint32_t count) = 0;
  virtual Transfer writeAt(std::uint64_t position, const void* bytes, std::uint32_t count) = 0;
  // Forces what was written to the medium; false on failure.
  virtual bool flush() = 0;

  // Exclusive lock of `count` bytes without waiting; false when another opener holds one of them
  // (or on failure).
  virtual bool tryLock(std::uint32_t position, std::uint32_t count) = 0;
  // The same, waiting without limit; false only when locking itself does not work.
  virtual bool lockWaiting(std::uint32_t position, std::uint32_t count) = 0;
  // Gives back exactly a range that was locked; false on failure.
  virtual bool unlock(std::uint32_t position, std::uint32_t count) = 0;

  // False when the system reports a failure; the file counts as closed all the same.
  virtual bool close() = 0;
};

class FileSystem {
 public:
  virtual ~FileSystem() = default;

  // A new file, read-write, not shared; null when it exists already or cannot be made.
  virtual std::unique_ptr<File> create(const char* path) = 0;
  // An existing file; null when it is missing or its other openers do not agree.
  virtual std::unique_ptr<File> open(const char* path, Access access, Sharing sharing) = 0;
  // Deletes a file; false when it is missing or open anywhere.
  virtual bool remove(const char* path) = 0;
};

// The operating system's own files, by the paths of its narrow calls, and by paths in UTF-8.
FileSystem& nativeFileSystem();
FileSystem& utf8FileSystem();

}  // namespace tavo::platform
