// Paths in UTF-8 for the calls of Windows, which take UTF-16.
#pragma once

#ifdef _WIN32

#include <windows.h>

#include <string>

#include "platform/text_file.h"

namespace tavo::platform {

// Empty, which names no file, when the bytes are no UTF-8. std::bad_alloc, like all below.
std::wstring widePath(const char* path);
std::string utf8Path(const std::wstring& path);

// CreateFile without security attributes and template.
HANDLE openPath(const char* path, PathForm form, DWORD access, DWORD sharing, DWORD how,
                DWORD attributes);

}  // namespace tavo::platform

#endif
