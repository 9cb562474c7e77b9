// The one shape of the tool's JSON: objects on one line that name their shape, the tool and, by its
// hash, their input. Members without a value are left out.
#pragma once

#include <cstdio>
#include <nlohmann/json.hpp>
#include <string>

namespace tavo::tool {

class DataFileInput;
class InputText;

using Json = nlohmann::ordered_json;

// {"schema": "tavo-check/1", "tool": "tavo 1.1.0"}
Json jsonOf(const char* schema);
// The same with "file" and "sha256".
Json jsonOf(const char* schema, const InputText& text);
Json jsonOf(const char* schema, const DataFileInput& file);

// On one line, with the control characters that JSON allows raw written as \u00xx, since terminals
// act on them.
std::string oneLine(const Json& value);
// Prints it as a line; false when the standard output takes no more.
bool printLine(const Json& value, std::FILE* out = stdout);

}  // namespace tavo::tool
