// Files on Windows, by the system's own calls.
#ifdef _WIN32

#include <windows.h>

#include <new>

#include "platform/file.h"
#include "platform/wide_path.h"

namespace tavo::platform {
namespace {

constexpr DWORD kAttributes = FILE_ATTRIBUTE_NORMAL | FILE_FLAG_RANDOM_ACCESS;

class Win32File final : public File {
 public:
  explicit Win32File(HANDLE handle) : handle_(handle) {}
  ~Win32File() override { close(); }

  Transfer readAt(std::uint64_t position, void* bytes, std::uint32_t count) override {
    if (!seek(position, count)) return Transfer::kSeekFailed;
    DWORD done = 0;
    if (!ReadFile(handle_, bytes, count, &done, nullptr)) return Transfer::kFailed;
    return done == count ? Transfer::kDone : Transfer::kShort;
  }

  Transfer writeAt(std::uint64_t position, const void* bytes, std::uint32_t count) override {
    if (!seek(position, count)) return Transfer::kSeekFailed;
    DWORD done = 0;
    if (!WriteFile(handle_, bytes, count, &done, nullptr)) return Transfer::kFailed;
    return done == count ? Transfer::kDone : Transfer::kShort;
  }

  bool flush() override { return FlushFileBuffers(handle_) != 0; }

  bool tryLock(std::uint32_t position, std::uint32_t count) override {
    return LockFile(handle_, position, 0, count, 0) != 0;
  }

  bool lockWaiting(std::uint32_t position, std::uint32_t count) override {
    while (!LockFile(handle_, position, 0, count, 0)) {
      const DWORD error = GetLastError();
      if (error != ERROR_LOCK_VIOLATION && error != ERROR_IO_PENDING) return false;
      Sleep(0);
    }
    return true;
  }

  bool unlock(std::uint32_t position, std::uint32_t count) override {
    return UnlockFile(handle_, position, 0, count, 0) != 0;
  }

  bool close() override {
    if (handle_ == INVALID_HANDLE_VALUE) return true;
    const bool done = CloseHandle(handle_) != 0;
    handle_ = INVALID_HANDLE_VALUE;
    return done;
  }

 private:
  bool seek(std::uint64_t position, std::uint32_t count) {
    if (position + count > kMaxPosition) return false;
    return SetFilePointer(handle_, static_cast<LONG>(position), nullptr, FILE_BEGIN) !=
           INVALID_SET_FILE_POINTER;
  }

  HANDLE handle_;
};

std::unique_ptr<File> openHandle(const char* path, PathForm form, DWORD access, DWORD sharing,
                                 DWORD how) {
  const HANDLE handle = openPath(path, form, access, sharing, how, kAttributes);
  if (handle == INVALID_HANDLE_VALUE) return nullptr;
  auto* file = new (std::nothrow) Win32File(handle);
  if (file == nullptr) CloseHandle(handle);
  return std::unique_ptr<File>(file);
}

class Win32FileSystem final : public FileSystem {
 public:
  explicit Win32FileSystem(PathForm form) : form_(form) {}

  std::unique_ptr<File> create(const char* path) override {
    return openHandle(path, form_, GENERIC_READ | GENERIC_WRITE, 0, CREATE_NEW);
  }

  std::unique_ptr<File> open(const char* path, Access access, Sharing sharing) override {
    DWORD share = 0;
    if (sharing != Sharing::kNone) share |= FILE_SHARE_READ;
    if (sharing == Sharing::kReadWrite) share |= FILE_SHARE_WRITE;
    const DWORD wanted =
        access == Access::kReadWrite ? GENERIC_READ | GENERIC_WRITE : DWORD{GENERIC_READ};
    return openHandle(path, form_, wanted, share, OPEN_EXISTING);
  }

  bool remove(const char* path) override { return removeFile(path, form_); }

 private:
  PathForm form_;
};

}  // namespace

FileSystem& nativeFileSystem() {
  static Win32FileSystem system(PathForm::kNative);
  return system;
}

FileSystem& utf8FileSystem() {
  static Win32FileSystem system(PathForm::kUtf8);
  return system;
}

}  // namespace tavo::platform

#endif
