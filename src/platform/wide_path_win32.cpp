// Conversion between UTF-8 and UTF-16.
#ifdef _WIN32

#include "platform/wide_path.h"

namespace tavo::platform {

std::wstring widePath(const char* path) {
  const int room = MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, path, -1, nullptr, 0);
  if (room <= 0) return {};
  std::wstring wide(static_cast<size_t>(room), L'\0');
  MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, path, -1, wide.data(), room);
  wide.pop_back();  // the end mark
  return wide;
}

std::string utf8Path(const std::wstring& path) {
  const int size = static_cast<int>(path.size());
  const int room = WideCharToMultiByte(CP_UTF8, 0, path.data(), size, nullptr, 0, nullptr, nullptr);
  std::string narrow(static_cast<size_t>(room), '\0');
  WideCharToMultiByte(CP_UTF8, 0, path.data(), size, narrow.data(), room, nullptr, nullptr);
  return narrow;
}

HANDLE openPath(const char* path, PathForm form, DWORD access, DWORD sharing, DWORD how,
                DWORD attributes) {
  if (form == PathForm::kNative) {
    return CreateFileA(path, access, sharing, nullptr, how, attributes, nullptr);
  }
  return CreateFileW(widePath(path).c_str(), access, sharing, nullptr, how, attributes, nullptr);
}

}  // namespace tavo::platform

#endif
