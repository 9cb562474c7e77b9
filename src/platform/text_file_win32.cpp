// Text files on Windows. The system's own sharing keeps texts and data files apart.
#ifdef _WIN32

#include <windows.h>

#include <array>
#include <cstring>
#include <new>

#include "platform/text_file.h"
#include "platform/text_file_native.h"
#include "platform/wide_path.h"

namespace tavo::platform {

namespace {

constexpr DWORD kShare = FILE_SHARE_READ | FILE_SHARE_WRITE;

OpenResult resultOf(DWORD error, const char* path, PathForm form) {
  switch (error) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
    case ERROR_INVALID_NAME:
    case ERROR_BAD_NETPATH:
    case ERROR_BAD_PATHNAME:
      return OpenResult::kMissing;
    case ERROR_SHARING_VIOLATION:
    case ERROR_LOCK_VIOLATION:
      return OpenResult::kHeld;
    case ERROR_ACCESS_DENIED:
      return fileInfo(path, form).kind == FileKind::kFolder ? OpenResult::kFolder
                                                            : OpenResult::kDenied;
    default:
      return OpenResult::kFailed;
  }
}

bool writeAll(HANDLE file, const char* bytes, size_t size) {
  DWORD done = 0;
  return WriteFile(file, bytes, static_cast<DWORD>(size), &done, nullptr) != 0 && done == size;
}

}  // namespace

OpenResult InputFile::open(const char* path, PathForm form) {
  close();
  file_ = openPath(path, form, GENERIC_READ, kShare, OPEN_EXISTING,
                   FILE_ATTRIBUTE_NORMAL | FILE_FLAG_SEQUENTIAL_SCAN);
  if (file_ == INVALID_HANDLE_VALUE) return resultOf(GetLastError(), path, form);
  open_ = owned_ = true;
  return OpenResult::kDone;
}

void InputFile::openStandard() {
  close();
  file_ = GetStdHandle(STD_INPUT_HANDLE);
  open_ = true;
}

void InputFile::close() {
  if (owned_) CloseHandle(file_);
  open_ = owned_ = failed_ = false;
}

size_t InputFile::read(char* bytes, size_t size) {
  size_t done = 0;
  while (done < size) {
    DWORD n = 0;
    if (!ReadFile(file_, bytes + done, static_cast<DWORD>(size - done), &n, nullptr)) {
      // A pipe whose writer has gone is at its end.
      failed_ = GetLastError() != ERROR_BROKEN_PIPE;
      break;
    }
    if (n == 0) break;
    done += n;
  }
  return done;
}

bool InputFile::seek(uint64_t place) {
  LARGE_INTEGER to;
  to.QuadPart = static_cast<LONGLONG>(place);
  return GetFileType(file_) == FILE_TYPE_DISK && SetFilePointerEx(file_, to, nullptr, FILE_BEGIN);
}

OpenResult OutputFile::open(const char* path, PathForm form) {
  abandon();
  file_ = openPath(path, form, GENERIC_WRITE, kShare, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL);
  if (file_ == INVALID_HANDLE_VALUE) return resultOf(GetLastError(), path, form);
  made_ = GetLastError() != ERROR_ALREADY_EXISTS && GetFileType(file_) == FILE_TYPE_DISK;
  path_ = path;
  form_ = form;
  open_ = true;
  started_ = false;
  return OpenResult::kDone;
}

OpenResult OutputFile::create(const char* path, const char*, PathForm form) {
  abandon();
  file_ = openPath(path, form, GENERIC_WRITE, kShare, CREATE_NEW, FILE_ATTRIBUTE_NORMAL);
  if (file_ == INVALID_HANDLE_VALUE) return resultOf(GetLastError(), path, form);
  path_ = path;
  form_ = form;
  open_ = made_ = true;
  started_ = false;
  return OpenResult::kDone;
}

bool OutputFile::start() {
  started_ = GetFileType(file_) != FILE_TYPE_DISK || SetEndOfFile(file_) != 0;
  return started_;
}

// Line feeds become CR LF, by way of a small buffer.
bool OutputFile::write(const char* bytes, size_t size) {
  std::array<char, 8192> buffer;
  size_t used = 0;
  for (const char* const end = bytes + size; bytes != end; ++bytes) {
    if (used + 2 > buffer.size()) {
      if (!writeAll(file_, buffer.data(), used)) return false;
      used = 0;
    }
    if (*bytes == '\n') buffer[used++] = '\r';
    buffer[used++] = *bytes;
  }
  return used == 0 || writeAll(file_, buffer.data(), used);
}

bool OutputFile::writeBytes(const char* bytes, size_t size) {
  return size == 0 || writeAll(file_, bytes, size);
}

bool OutputFile::close() {
  if (!open_) return true;
  open_ = false;
  return CloseHandle(file_) != 0;
}

FileInfo fileInfo(const char* path, PathForm form) {
  // Asking for no access opens what others keep for themselves, too.
  const HANDLE file = openPath(path, form, 0, kShare | FILE_SHARE_DELETE, OPEN_EXISTING,
                               FILE_FLAG_BACKUP_SEMANTICS);
  if (file == INVALID_HANDLE_VALUE) return {};
  FileInfo info;
  info.kind = FileKind::kOther;
  BY_HANDLE_FILE_INFORMATION found;
  if (GetFileType(file) == FILE_TYPE_DISK && GetFileInformationByHandle(file, &found) != 0) {
    const bool folder = (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    info.kind = folder ? FileKind::kFolder : FileKind::kRegular;
    if (!folder) info.size = uint64_t{found.nFileSizeHigh} << 32 | found.nFileSizeLow;
    info.volume = found.dwVolumeSerialNumber;
    info.index = uint64_t{found.nFileIndexHigh} << 32 | found.nFileIndexLow;
  }
  CloseHandle(file);
  return info;
}

// Destructors come here, too.
bool removeFile(const char* path, PathForm form) try {
  return (form == PathForm::kNative ? DeleteFileA(path) : DeleteFileW(widePath(path).c_str())) != 0;
} catch (const std::bad_alloc&) {
  return false;
}

namespace native {

unsigned long processId() { return GetCurrentProcessId(); }

std::string linkTarget(const char* path) { return path; }

bool replace(const char* from, const char* to, PathForm form) {
  constexpr DWORD kHow = MOVEFILE_REPLACE_EXISTING;
  return (form == PathForm::kNative
              ? MoveFileExA(from, to, kHow)
              : MoveFileExW(widePath(from).c_str(), widePath(to).c_str(), kHow)) != 0;
}

static Name utf8NameOf(const char* path) {
  const std::wstring given = widePath(path);
  std::wstring whole(GetFullPathNameW(given.c_str(), 0, nullptr, nullptr), L'\0');
  wchar_t* file = nullptr;
  const DWORD length =
      GetFullPathNameW(given.c_str(), static_cast<DWORD>(whole.size()), whole.data(), &file);
  if (length == 0 || length >= whole.size() || file == nullptr) return {".", path};
  return {utf8Path(std::wstring(whole.data(), file)), utf8Path(file)};
}

Name nameOf(const char* path, PathForm form) {
  if (form == PathForm::kUtf8) return utf8NameOf(path);
  char whole[MAX_PATH];
  char* file = nullptr;
  const DWORD length = GetFullPathNameA(path, MAX_PATH, whole, &file);
  if (length == 0 || length >= MAX_PATH || file == nullptr) return {".", path};
  return {std::string(whole, file), file};
}

bool sameName(const char* a, const char* b, PathForm form) {
  return (form == PathForm::kNative ? lstrcmpiA(a, b)
                                    : lstrcmpiW(widePath(a).c_str(), widePath(b).c_str())) == 0;
}

}  // namespace native

}  // namespace tavo::platform

#endif
