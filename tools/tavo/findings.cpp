// Collecting and printing of findings.
#include "findings.h"

#include <algorithm>
#include <cstdio>

#include "console.h"
#include "files.h"
#include "text.h"

namespace tavo::tool {

namespace {

// Longest part of a line or text that is shown.
constexpr size_t kShown = 160;

struct Style {
  const char* name;
  const char* colour;
};

Style styleOf(const Found& found) {
  if (found.isNote()) return {"note", "\033[1;36m"};
  return found.isError() ? Style{"error", "\033[1;31m"} : Style{"warning", "\033[1;35m"};
}

// The beginnings of chosen lines of a file, fetched in one pass.
class SourceLines {
 public:
  SourceLines(const std::string& path, std::vector<uint32_t> wanted) : wanted_(std::move(wanted)) {
    std::sort(wanted_.begin(), wanted_.end());
    wanted_.erase(std::unique(wanted_.begin(), wanted_.end()), wanted_.end());
    texts_.resize(wanted_.size());
    // A pipe can be read once only, and that was done.
    if (wanted_.empty() || fileKind(path) != FileKind::kRegular) return;
    if (std::FILE* const file = std::fopen(path.c_str(), "rb")) {
      read(file);
      std::fclose(file);
    }
  }

  const std::string& line(uint32_t number) const {
    const auto found = std::lower_bound(wanted_.begin(), wanted_.end(), number);
    return texts_[static_cast<size_t>(found - wanted_.begin())];
  }

 private:
  void read(std::FILE* file) {
    std::vector<char> block(1U << 16);
    uint32_t number = 1;
    size_t at = 0;
    for (size_t n;
         at < wanted_.size() && (n = std::fread(block.data(), 1, block.size(), file)) > 0;) {
      for (size_t i = 0; i < n && at < wanted_.size(); ++i) {
        std::string& text = texts_[at];
        const bool here = number == wanted_[at];
        if (block[i] != '\n') {
          if (here && text.size() <= kShown) text += block[i];
          continue;
        }
        if (here) ++at;
        ++number;
      }
    }
    for (std::string& text : texts_) {
      if (!text.empty() && text.back() == '\r') text.pop_back();
    }
  }

  std::vector<uint32_t> wanted_;
  std::vector<std::string> texts_;
};

}  // namespace

bool Found::isNote() const { return number == reader::kNote; }
bool Found::isError() const { return number < reader::kNote; }

void FindingList::onFinding(const reader::Finding& finding) {
  Found found{finding.number, finding.line, std::string(finding.text), finding.message};
  if (found.isNote()) {
    if (!found_.empty()) found.line = found_.back().line;
  } else {
    ++(found.isError() ? errors_ : warnings_);
  }
  found_.push_back(std::move(found));
}

void FindingList::onLoss(reader::Loss loss, uint32_t line, std::string_view text) {
  Found found{reader::kNote, line, std::string(text), {}};
  if (loss == reader::Loss::kDigits) {
    if (shortenedReals_++ == 0) firstShortened_ = std::move(found);
    return;
  }
  found.text = "'" + found.text + "' does not fit its field and is read as another number";
  ++changedNumbers_;
  found_.push_back(std::move(found));
}

std::string Analysis::summary() const {
  return counted(findings.errors(), "error") + ", " + counted(findings.warnings(), "warning") +
         "; " + counted(counts.lines, "line") + " and " + counted(counts.records, "record") +
         " read";
}

Analysis analyse(api::Library& library, const std::string& path, reader::RecordSink sink,
                 const AnalysisOptions& options) {
  Analysis result;
  ProgressBar bar(path);
  api::AnalysisRequest request;
  request.inputPath = path.c_str();
  request.logPath = options.log.empty() ? nullDevice() : options.log.c_str();
  request.maxErrors = options.maxErrors;
  request.sink = sink;
  request.intoStore = options.intoStore;
  request.findings = &result.findings;
  request.progress = bar.observer();
  result.status = TVO_CODE(library.analyse(request, &result.counts));
  return result;
}

std::string codeOf(const Found& found) {
  if (found.isNote()) return {};
  std::string code(1, found.isError() ? 'E' : 'W');
  return code += std::to_string(found.number);
}

void printFindings(std::FILE* stream, const std::string& path, const FindingList& findings,
                   bool colour) {
  std::vector<uint32_t> wanted;
  for (const Found& found : findings.all()) {
    if (!found.isNote()) wanted.push_back(found.line);
  }
  const SourceLines source(path, std::move(wanted));
  for (const Found& found : findings.all()) {
    const Style style = styleOf(found);
    std::fprintf(stream, "%s:%u: %s%s%s", path.c_str(), found.line, colour ? style.colour : "",
                 style.name, colour ? "\033[0m" : "");
    if (found.isNote()) {
      std::fprintf(stream, ": %s\n", printable(found.text, kShown).c_str());
      continue;
    }
    std::fprintf(stream, " %s: %.*s: '%s'\n", codeOf(found).c_str(),
                 static_cast<int>(found.message.size()), found.message.data(),
                 printable(found.text, kShown).c_str());
    const std::string& line = source.line(found.line);
    if (!line.empty()) std::fprintf(stream, "    %s\n", printable(line, kShown).c_str());
  }
}

}  // namespace tavo::tool
