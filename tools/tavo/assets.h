// The files that a page is made of, built into the program.
#pragma once

#include <string_view>

namespace tavo::tool {

// The content of a file of tools/report or of a library, "page.js" for one; empty where this build
// has none.
std::string_view asset(std::string_view name);

}  // namespace tavo::tool
