// Text from files of unknown character set, made fit for a terminal or for JSON.
#pragma once

#include <string>
#include <string_view>

namespace tavo::tool {

// Valid UTF-8 stays, every other byte becomes the character that it is in ISO 8859-1. So old files
// show their umlauts and no byte is lost.
std::string toUtf8(std::string_view text);

// The same with control characters (those above 127, too) made visible as '?' and tabs as blanks,
// cut before the first character that does not fit into `limit` bytes of the text.
std::string printable(std::string_view text, size_t limit = std::string_view::npos);

// The text with those of the characters & < > " that are in `marks` as entities of HTML and XML.
std::string escaped(std::string_view text, std::string_view marks);

// Length of the text without the beginning of a UTF-8 sequence at its end, which a cut has left.
size_t lengthOfWhole(std::string_view text);

// Characters that printable() makes of the text.
size_t columnsOf(std::string_view text);

// The words in lines of at most `width` columns behind as many blanks, each ended by a line feed.
std::string wrapped(std::string_view text, size_t blanks = 0, size_t width = 79);

// "1 error", "2 errors".
std::string counted(uint64_t count, std::string_view singular);

}  // namespace tavo::tool
