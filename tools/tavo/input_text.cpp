// Opening of texts, and recognition of what is no plain text.
#include "input_text.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "files.h"
#include "store/data_file.h"

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

std::string InputText::open(const std::string& path) {
  platform::InputFile file;
  const bool stream = isStream(path);
  name_ = stream ? "(standard input)" : path;
  if (stream) {
    file.openStandard();
  } else if (const auto opened = file.open(path.c_str()); opened != platform::OpenResult::kDone) {
    return "cannot read " + openProblem(path, opened);
  }
  const platform::FileInfo info = stream ? platform::FileInfo{} : platform::fileInfo(path.c_str());
  if (info.kind != FileKind::kRegular) {
    memory_ = readAll(file);
    size_ = memory_.size();
  } else {
    path_ = path;
    memory_.resize(kHead);
    memory_.resize(file.read(memory_.data(), kHead));
    size_ = info.size;
  }
  if (file.failed()) return "reading '" + name_ + "' failed";
  if (!store::hasDataFileSignature(memory_.data(), memory_.size())) return {};
  return "'" + name_ + "' is a data file, not a text (see 'tavo dump' and 'tavo build')";
}

std::string InputText::readAll(platform::InputFile& file) {
  std::string text;
  size_t used = 0;
  do {
    text.resize(std::max(2 * used, 4 * kHead));
    used += file.read(text.data() + used, text.size() - used);
  } while (used == text.size());
  text.resize(used);
  return text;
}

void InputText::take(const std::string& name, std::string text) {
  name_ = name;
  path_.clear();
  memory_ = std::move(text);
  size_ = memory_.size();
}

platform::TextInput* InputText::rewind() {
  if (path_.empty()) return &memoryInput_.emplace(memory_);
  return file_.open(path_.c_str()) == platform::OpenResult::kDone ? &file_ : nullptr;
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

std::optional<std::string> InputText::emptiness() {
  if (size_ == 0) return "the file is empty";
  platform::TextInput* const input = rewind();
  if (input == nullptr) return {};
  std::array<char, 4096> block;
  bool comment = false;
  size_t n;
  do {
    n = input->read(block.data(), block.size());
    for (const char c : std::string_view(block.data(), n)) {
      if (c == '\x1A') n = 0;
      if (n == 0) break;
      if (c == '\n') comment = false;
      if (c == ';') comment = true;
      if (!comment && static_cast<unsigned char>(c) > ' ') return {};
    }
  } while (n == block.size());
  return "there is nothing in it but comments and blank lines";
}

}  // namespace tavo::tool
