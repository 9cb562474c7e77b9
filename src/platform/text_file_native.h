// What text files ask of each system beyond opening, reading and writing.
#pragma once

#include <string>

#include "platform/text_file.h"

namespace tavo::platform::native {

unsigned long processId();
// The path of the file behind a link; the path itself when it is no link.
std::string linkTarget(const char* path);
// Puts a closed file in another one's place; false when somebody has that one open.
bool replace(const char* from, const char* to, PathForm form);

// A path in two parts.
struct Name {
  std::string folder;  // "." where the path has none
  std::string file;
};
Name nameOf(const char* path, PathForm form);
bool sameName(const char* a, const char* b, PathForm form);

}  // namespace tavo::platform::native
