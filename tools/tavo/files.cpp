// What paths name, what an existing file begins like, and output beside its target.
#include "files.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <string_view>

#include "console.h"
#include "schema/keywords.h"
#include "store/data_file.h"

namespace tavo::tool {

namespace {

using platform::OpenResult;

constexpr const char* kNoStream = "a data file is no stream, it needs a name";

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
    word = schema::firstToken(schema::skipBlanks(line));
    return !word.empty() && word.front() != ';';
  });
  static constexpr uint32_t kSections[] = {
      schema::kHeader,     schema::kDefinitions, schema::kDatabase,       schema::kMeteo,
      schema::kTheodolite, schema::kOperations,  schema::kTimeTaggedCodes};
  uint32_t keyword = schema::kUnknownSection;
  schema::FindKeyword(word, &keyword);
  return std::find(std::begin(kSections), std::end(kSections), keyword) != std::end(kSections);
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
  return store::hasDataFileSignature(head.data(), head.size());
}

struct KindTraits {
  const char* name;
  bool (*matches)(std::string_view head);
};

const KindTraits& traitsOf(OutputKind kind) {
  static constexpr KindTraits kTraits[] = {
      {"TAVO text", &beginsLikeText},
      {"log of an analysis", &beginsLikeLog},
      {"data file", &beginsLikeDataFile},
  };
  return kTraits[static_cast<size_t>(kind)];
}

}  // namespace

FileKind fileKind(const std::string& path) { return platform::fileInfo(path.c_str()).kind; }

int64_t fileSize(const std::string& path) {
  const platform::FileInfo info = platform::fileInfo(path.c_str());
  return info.kind == FileKind::kRegular ? static_cast<int64_t>(info.size) : -1;
}

std::string openProblem(const std::string& path, OpenResult result) {
  static constexpr const char* kReasons[] = {
      "",
      "no such file or folder",
      "it is a folder",
      "permission denied",
      "another program holds it open",
      "the system refuses it",
  };
  return "'" + path + "': " + kReasons[static_cast<size_t>(result)];
}

std::string dataFileProblem(const std::string& path) {
  if (isStream(path)) return kNoStream;
  platform::InputFile file;
  const OpenResult opened = file.open(path.c_str());
  // The store's own open tells what is held and what is damaged.
  if (opened != OpenResult::kDone && opened != OpenResult::kHeld) {
    return "cannot read " + openProblem(path, opened);
  }
  file.close();
  if (store::isDataFile(path.c_str())) return {};
  return "'" + path + "' is not a data file, or another program holds it open";
}

std::string targetProblem(const std::string& target, const std::string& input, OutputKind kind,
                          bool overwrite) {
  if (isStream(target)) return kind == OutputKind::kDataFile ? kNoStream : "";
  if (!input.empty() && platform::sameFile(target.c_str(), input.c_str())) {
    return "'" + target + "' is the input itself; it is not overwritten";
  }
  const platform::FileInfo info = platform::fileInfo(target.c_str());
  if (info.kind == FileKind::kMissing) return {};
  if (info.kind != FileKind::kRegular) return "'" + target + "' is not a regular file";
  platform::InputFile file;
  if (const OpenResult opened = file.open(target.c_str()); opened != OpenResult::kDone) {
    return "cannot replace " + openProblem(target, opened);
  }
  std::string head(1U << 16, '\0');
  head.resize(file.read(head.data(), head.size()));
  const KindTraits& traits = traitsOf(kind);
  if (overwrite || head.empty() || traits.matches(head)) return {};
  return "'" + target + "' is there and is no " + traits.name + "; use --overwrite to replace it";
}

bool NewFile::commit() {
  if (interrupted()) return false;
  if (place_.commit()) return true;
  complain("cannot replace '" + place_.target() + "'; another program may hold it open");
  return false;
}

bool OutputFile::open(const std::string& target) {
  const std::string problem = tryOpen(target);
  if (!problem.empty()) complain(problem);
  return problem.empty();
}

std::string OutputFile::tryOpen(const std::string& target) {
  if (isStream(target)) return {};
  auto place = std::make_unique<NewFile>(target);
  const OpenResult made = file_.create(place->path().c_str(), target.c_str());
  if (made != OpenResult::kDone || !file_.start()) {
    return "cannot write " + openProblem(target, made);
  }
  place_ = std::move(place);
  return {};
}

bool OutputFile::write(const char* bytes, size_t size) {
  if (interrupted()) return false;
  return place_ == nullptr ? std::fwrite(bytes, 1, size, stdout) == size : file_.write(bytes, size);
}

bool OutputFile::close() { return place_ == nullptr || file_.close(); }

bool OutputFile::commit() { return place_ == nullptr ? flushOutput() : place_->commit(); }

}  // namespace tavo::tool
