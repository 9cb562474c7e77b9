// Opening of texts, and recognition of what is no plain text.
#include "input_text.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <string_view>

#include "files.h"
#include "sha256.h"

namespace tavo::tool {

namespace {

using namespace std::string_view_literals;

constexpr size_t kHead = 1U << 16;

// Beginnings that tell what a file is.
struct Signature {
  std::string_view bytes;
  const char* what;
};
constexpr char kUtf16[] = "it is UTF-16 text; save it as UTF-8 without a byte-order mark";
constexpr Signature kSignatures[] = {
    {"\xEF\xBB\xBF"sv, "it begins with a byte-order mark, which hides its first word"},
    {"\xFF\xFE"sv, kUtf16},
    {"\xFE\xFF"sv, kUtf16},
    {"\x1F\x8B"sv, "it is compressed (gzip); unpack it first"},
    {"PK\x03\x04"sv, "it is a ZIP archive; unpack it first"},
    {"BZh"sv, "it is compressed (bzip2); unpack it first"},
    {"\xFD"
     "7zXZ"sv,
     "it is compressed (xz); unpack it first"},
    {"\x28\xB5\x2F\xFD"sv, "it is compressed (zstd); unpack it first"},
    {"%PDF-"sv, "it is a PDF document, not a survey"},
};

bool isControl(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return byte < ' ' && "\t\n\f\r\x1A"sv.find(c) == std::string_view::npos;
}

// Characters of two bytes, of which one is zero nearly everywhere.
bool isWide(std::string_view head) {
  size_t zeros[2] = {};
  for (size_t i = 0; i < head.size(); ++i) zeros[i % 2] += head[i] == '\0' ? 1U : 0U;
  return 4 * std::max(zeros[0], zeros[1]) > head.size() &&
         16 * std::min(zeros[0], zeros[1]) < head.size();
}

// Shares of control characters that no text reaches.
bool isBinary(std::string_view head) {
  const auto controls = std::count_if(head.begin(), head.end(), isControl);
  return 20 * static_cast<size_t>(controls) > head.size();
}

}  // namespace

std::string InputText::open(const std::string& path, std::string head, const std::string& name) {
  const bool stream = isStream(path);
  name_ = !name.empty() ? name : stream ? "(standard input)" : path;
  memory_ = std::move(head);
  if (stream) return readStream();
  const ReadFile file(path);
  if (!file.isOpen()) return "cannot read " + file.problem();
  uint64_t size = 0;
  const bool regular = tavo_path_kind(path.c_str(), &size) == TAVO_PATH_FILE;
  memory_.resize(kHead);
  int64_t read = file.read(memory_.data(), memory_.size());
  if (regular) {
    path_ = path;
    size_ = size;
  }
  memory_.resize(static_cast<size_t>(std::max<int64_t>(read, 0)));
  // A pipe is read once, so all of it is kept.
  while (!regular && read > 0) {
    const size_t used = memory_.size();
    memory_.resize(used + kHead);
    read = file.read(memory_.data() + used, kHead);
    memory_.resize(used + static_cast<size_t>(std::max<int64_t>(read, 0)));
  }
  if (!regular) size_ = memory_.size();
  return read < 0 ? "reading '" + name_ + "' failed" : contentProblem();
}

std::string InputText::readStream() {
  size_t read = 0;
  do {
    const size_t used = memory_.size();
    memory_.resize(used + kHead);
    read = std::fread(memory_.data() + used, 1, kHead, stdin);
    memory_.resize(used + read);
  } while (read == kHead);
  size_ = memory_.size();
  return std::ferror(stdin) != 0 ? "reading '" + name_ + "' failed" : contentProblem();
}

std::string InputText::contentProblem() const {
  if (tavo_is_data_file(memory_.data(), memory_.size()) == 0) return {};
  return "'" + name_ + "' is a data file, not a text (see 'tavo dump' and 'tavo build')";
}

tavo_input InputText::input() const {
  tavo_input input = TAVO_INPUT_INIT;
  input.name = name_.c_str();
  if (path_.empty()) {
    input.bytes = memory_.data();
    input.size = memory_.size();
  } else {
    input.path = path_.c_str();
  }
  return input;
}

std::vector<std::string> InputText::oddities() const {
  const std::string_view head = std::string_view(memory_).substr(0, kHead);
  for (const Signature& signature : kSignatures) {
    if (head.starts_with(signature.bytes)) return {signature.what};
  }
  if (head.empty()) return {};
  if (isWide(head)) return {kUtf16};
  if (isBinary(head)) return {"it is binary data, not a text"};
  const bool lone = head.find('\r') != head.npos && head.find('\n') == head.npos;
  if (lone) return {"its lines end in carriage returns alone; save it with line feeds"};
  return {};
}

template <class Function>
bool InputText::eachBlock(Function function) const {
  if (path_.empty()) {
    function(std::string_view(memory_));
    return true;
  }
  const ReadFile file(path_);
  std::string block(kHead, '\0');
  int64_t read = file.isOpen() ? 1 : -1;
  while (read > 0) {
    read = file.read(block.data(), block.size());
    if (read > 0 && !function(std::string_view(block).substr(0, static_cast<size_t>(read)))) {
      return true;
    }
  }
  return read == 0;
}

std::optional<std::string> InputText::emptiness() const {
  if (size_ == 0) return "the file is empty";
  bool comment = false;
  bool empty = true;
  const bool read = eachBlock([&](std::string_view block) {
    for (const char c : block) {
      if (c == '\x1A') return false;
      if (c == '\n') comment = false;
      if (c == ';') comment = true;
      if (!comment && static_cast<unsigned char>(c) > ' ') empty = false;
    }
    return empty;
  });
  if (!read || !empty) return {};
  return "there is nothing in it but comments and blank lines";
}

std::string InputText::hash() const {
  Sha256 hash;
  const bool read = eachBlock([&hash](std::string_view block) {
    hash.add(block);
    return true;
  });
  return read ? hash.digits() : std::string();
}

std::string InputText::hashOf(const std::string& path) {
  InputText file;
  file.path_ = path;
  return file.hash();
}

}  // namespace tavo::tool
