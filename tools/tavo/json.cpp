// What all JSON of the tool begins with, and its one line.
#include "json.h"

#include <cstdio>

#include "files.h"
#include "input_text.h"
#include "tavo/survey.h"
#include "text.h"

namespace tavo::tool {

Json jsonOf(const char* schema) {
  return {{"schema", schema}, {"tool", std::string("tavo ") + tavo_version()}};
}

namespace {

Json withInput(const char* schema, const std::string& name, std::string hash) {
  Json json = jsonOf(schema);
  json["file"] = toUtf8(name);
  if (!hash.empty()) json["sha256"] = std::move(hash);
  return json;
}

}  // namespace

Json jsonOf(const char* schema, const InputText& text) {
  return withInput(schema, text.name(), text.hash());
}

Json jsonOf(const char* schema, const DataFileInput& file) {
  return withInput(schema, file.name(), InputText::hashOf(file.path()));
}

std::string oneLine(const Json& value) {
  std::string line = value.dump();
  const auto isHigh = [&](size_t at) {
    return line[at] == '\x7F' || static_cast<unsigned char>(line[at + 1]) < 0xA0;
  };
  for (size_t at = 0; (at = line.find_first_of("\x7F\xC2", at)) != line.npos; ++at) {
    if (!isHigh(at)) continue;
    const size_t length = line[at] == '\x7F' ? 1 : 2;
    const auto code = static_cast<unsigned char>(line[at + length - 1]);
    constexpr char kDigits[] = "0123456789abcdef";
    line.replace(at, length, {'\\', 'u', '0', '0', kDigits[code >> 4], kDigits[code & 15]});
  }
  return line;
}

bool printLine(const Json& value, std::FILE* out) {
  const std::string line = oneLine(value) + "\n";
  return std::fwrite(line.data(), 1, line.size(), out) == line.size();
}

}  // namespace tavo::tool
