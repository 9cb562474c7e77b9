// Columns of numbers and texts in the compact form in which a page carries them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "json.h"

namespace tavo::tool {

std::string base64(std::string_view bytes);

// Numbers to so many decimals: {"rows", "decimals", "type", "data"} with data in base64, little
// endian. Type f64 holds them as they are; i8, i16, i32, where the range allows, whole steps of
// 10^-decimals from "offset" on, the lowest number of the type standing for a missing one (NaN).
Json numbersJson(const std::vector<double>& values, int decimals);

// Texts: {"rows", "texts"}, and where they repeat each once, with "data" (a column of numbers) that
// says which one a row has.
Json textsJson(const std::vector<std::string>& values);

// As the content of a script element of a page: nothing in it ends the element or begins another.
std::string scriptText(const Json& value);

}  // namespace tavo::tool
