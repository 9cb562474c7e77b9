// Text from files of unknown character set, made fit for a terminal or for JSON.
#pragma once

#include <string>
#include <string_view>

namespace tavo::tool {

// Valid UTF-8 stays, every other byte becomes the character that it is in ISO 8859-1. So old files
// show their umlauts and no byte is lost.
std::string toUtf8(std::string_view text);

// The same with control characters made visible as '?' and tabs as blanks, cut to `limit` bytes.
std::string printable(std::string_view text, size_t limit);

// "1 error", "2 errors".
std::string counted(uint64_t count, std::string_view singular);

}  // namespace tavo::tool
