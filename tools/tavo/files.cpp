// What paths name, what an existing file begins like, and output beside its target.
#include "files.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <random>
#include <utility>

#include "console.h"

namespace tavo::tool {

namespace {

constexpr size_t kBlock = 1U << 16;

// Calls a function with each line of a text until that returns true; whether it did.
template <class Function>
bool anyLine(std::string_view text, Function function) {
  while (!text.empty()) {
    const size_t end = std::min(text.find('\n'), text.size());
    std::string_view line = text.substr(0, end);
    if (line.ends_with('\r')) line.remove_suffix(1);
    if (function(line)) return true;
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return false;
}

// A section's keyword is the first word that is no comment.
bool beginsLikeText(std::string_view head) {
  std::string_view word;
  anyLine(head, [&](std::string_view line) {
    constexpr std::string_view kBlanks = " \t\v\f\r";
    line.remove_prefix(std::min(line.find_first_not_of(kBlanks), line.size()));
    word = line.substr(0, line.find_first_of(" \t\v\f\r("));
    return !word.empty() && word.front() != ';';
  });
  const tavo_schema_block* block = nullptr;
  for (size_t i = 0; (block = tavo_schema_block_at(i)) != nullptr; ++i) {
    if (*block->parent == '\0' && word == block->keyword) return true;
  }
  return false;
}

// Its first line is a finding or, perhaps behind the path, the summary.
bool beginsLikeLog(std::string_view head) {
  return anyLine(head, [first = true](std::string_view line) mutable {
    if (line.empty()) return false;
    const bool finding = first && line.starts_with("line ") &&
                         (line.find("  : error E") < 16 || line.find("  : warning W") < 16);
    first = false;
    return finding || (line.ends_with(" warning(s)") && line.find(" error(s), ") != line.npos);
  });
}

bool beginsLikeDataFile(std::string_view head) {
  return tavo_is_data_file(head.data(), head.size()) != 0;
}

// The head of every table that we export.
bool beginsLikeCsv(std::string_view head) { return head.starts_with("survey,"); }

bool beginsLikePage(std::string_view head) {
  return head.substr(0, 200).find("<!-- Report made by tavo report -->") != head.npos;
}

bool beginsLikePicture(std::string_view head) {
  return head.substr(0, 200).find("<!-- Map drawn by tavo plot -->") != head.npos;
}

struct KindTraits {
  const char* name;
  bool (*matches)(std::string_view head);
};

const KindTraits& traitsOf(OutputKind kind) {
  static constexpr KindTraits kTraits[] = {
      {"TAVO text", &beginsLikeText},           {"log of an analysis", &beginsLikeLog},
      {"data file", &beginsLikeDataFile},       {"csv export", &beginsLikeCsv},
      {"page of tavo report", &beginsLikePage}, {"picture of tavo plot", &beginsLikePicture},
  };
  return kTraits[static_cast<size_t>(kind)];
}

}  // namespace

std::string openProblem(const std::string& path, uint32_t reason) {
  static constexpr const char* kReasons[] = {
      "",
      "no such file or folder",
      "it is a folder",
      "permission denied",
      "another program holds it open",
      "the system refuses it",
  };
  return "'" + path +
         "': " + kReasons[reason < std::size(kReasons) ? reason : std::size(kReasons) - 1];
}

std::string targetProblem(const std::string& target, const std::string& input, OutputKind kind,
                          bool overwrite) {
  if (isStream(target)) return {};
  if (!input.empty() && tavo_same_file(target.c_str(), input.c_str()) != 0) {
    return "'" + target + "' is the input itself; it is not overwritten";
  }
  const uint32_t found = tavo_path_kind(target.c_str(), nullptr);
  if (found == TAVO_PATH_MISSING) return {};
  if (found != TAVO_PATH_FILE) return "'" + target + "' is not a regular file";
  const ReadFile file(target);
  if (!file.isOpen()) return "cannot replace " + file.problem();
  std::string head(kBlock, '\0');
  head.resize(static_cast<size_t>(std::max<int64_t>(file.read(head.data(), head.size()), 0)));
  const KindTraits& traits = traitsOf(kind);
  if (overwrite || head.empty() || traits.matches(head)) return {};
  return "'" + target + "' is there and is no " + traits.name + "; use --overwrite to replace it";
}

// The output never takes the place whose name it is made from.
bool TemporaryFile::make() {
  const std::string name = "tavo-" + std::to_string(std::random_device()()) + ".dat";
  return tavo_output_create(&file_, (temporaryFolder() + name).c_str()) == TAVO_OK;
}

std::string streamHead() {
  std::string head(kBlock, '\0');
  head.resize(std::fread(head.data(), 1, head.size(), stdin));
  return head;
}

std::string DataFileInput::open(const std::string& path, std::string_view head) {
  path_ = name_ = path;
  if (!isStream(path)) return {};
  name_ = "(standard input)";
  stream_.emplace();
  bool kept = stream_->make() && stream_->write(head);
  std::string block(kBlock, '\0');
  for (size_t read = 1; kept && read > 0 && !interrupted();) {
    read = std::fread(block.data(), 1, block.size(), stdin);
    kept = stream_->write(std::string_view(block).substr(0, read));
  }
  kept = kept && stream_->close() && std::ferror(stdin) == 0 && !interrupted();
  if (!kept) return "keeping the standard input in a temporary file failed";
  path_ = stream_->path();
  return {};
}

std::string Output::open(const std::string& target, Writer writer) {
  target_ = target;
  std::string path = target;
  if (isStream(target)) {
    if (writer == Writer::kTool) return {};
    if (!stream_.emplace().make()) return "a temporary file for the standard output cannot be made";
    if (writer == Writer::kOther) return {};
    path = stream_->path();
  }
  const size_t slash = path.find_last_of("/\\");
  const std::string folder = slash == path.npos ? "." : path.substr(0, slash + 1);
  if (tavo_path_kind(folder.c_str(), nullptr) == TAVO_PATH_MISSING) {
    return "cannot write " + openProblem(path, TAVO_REASON_MISSING);
  }
  // The first write, of nothing here, makes the file.
  const bool made = tavo_output_create(&output_, path.c_str()) == TAVO_OK &&
                    (writer == Writer::kOther || tavo_output_write(output_, "", 0) == TAVO_OK);
  return made ? "" : "cannot write " + openProblem(path, TAVO_REASON_DENIED);
}

bool Output::write(const void* bytes, size_t size) {
  if (interrupted()) return false;
  if (output_ == nullptr) return std::fwrite(bytes, 1, size, stdout) == size;
  const auto* const text = static_cast<const char*>(bytes);
  return (isStream(target_) ? tavo_output_write(output_, text, size)
                            : tavo_output_write_text(output_, text, size)) == TAVO_OK;
}

tavo_target Output::target() {
  tavo_target target = TAVO_TARGET_INIT;
  target.user = this;
  target.write = [](const void* bytes, size_t size, void* user) {
    return static_cast<Output*>(user)->write(bytes, size) ? 0 : 1;
  };
  return target;
}

bool Output::copyStream() {
  const ReadFile file(stream_->path());
  std::string block(kBlock, '\0');
  int64_t read = file.isOpen() ? 1 : -1;
  while (read > 0 && !interrupted()) {
    read = file.read(block.data(), block.size());
    const auto size = static_cast<size_t>(std::max<int64_t>(read, 0));
    if (std::fwrite(block.data(), 1, size, stdout) != size) break;
  }
  if (read < 0) complain("reading a temporary file failed");
  return read >= 0 && !interrupted();
}

bool Output::commit() {
  if (interrupted()) return false;
  if (output_ != nullptr && tavo_output_commit(std::exchange(output_, nullptr)) != TAVO_OK) {
    complain("cannot replace '" + target_ +
             "'; another program may hold it open, or the disk is full");
    return false;
  }
  if (stream_ && !copyStream()) return false;
  return !isStream(target_) || flushOutput();
}

}  // namespace tavo::tool
