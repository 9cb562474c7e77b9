// Collecting and printing of findings.
#include "findings.h"

#include <algorithm>
#include <cstdio>

#include "console.h"
#include "text.h"

namespace tavo::tool {

namespace {

// Longest part of a line or text that is shown.
constexpr size_t kShown = 160;
constexpr size_t kLongestCharacter = 4;

constexpr char kNoteColour[] = "\033[1;36m";

struct Style {
  const char* name;
  const char* colour;
};

Style styleOf(const Found& found) {
  if (found.isNote()) return {"note", kNoteColour};
  return found.isError() ? Style{"error", "\033[1;31m"} : Style{"warning", "\033[1;35m"};
}

// The beginnings of chosen lines of a file, fetched in one pass.
class SourceLines {
 public:
  SourceLines(InputText& text, std::vector<uint64_t> wanted) : wanted_(std::move(wanted)) {
    std::sort(wanted_.begin(), wanted_.end());
    wanted_.erase(std::unique(wanted_.begin(), wanted_.end()), wanted_.end());
    texts_.resize(wanted_.size());
    if (wanted_.empty()) return;
    if (platform::TextInput* const input = text.rewind()) read(*input);
    text.close();
  }

  const std::string& line(uint64_t number) const {
    const auto found = std::lower_bound(wanted_.begin(), wanted_.end(), number);
    return texts_[static_cast<size_t>(found - wanted_.begin())];
  }

 private:
  void read(platform::TextInput& input) {
    std::vector<char> block(1U << 16);
    uint64_t number = 1;
    size_t at = 0;
    for (size_t n; at < wanted_.size() && (n = input.read(block.data(), block.size())) > 0;) {
      for (size_t i = 0; i < n && at < wanted_.size(); ++i) {
        std::string& text = texts_[at];
        const bool here = number == wanted_[at];
        if (block[i] != '\n') {
          if (here && text.size() < kShown + kLongestCharacter) text += block[i];
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

  std::vector<uint64_t> wanted_;
  std::vector<std::string> texts_;
};

}  // namespace

bool Found::isNote() const { return number == reader::kNote; }
bool Found::isError() const { return number < reader::kNote; }

void FindingList::onFinding(const reader::Finding& finding) {
  Found found{finding.number, finding.line.number, std::string(finding.text), finding.message};
  // The reader keeps the beginning of such a line, up to a byte that may be amid a character.
  if (found.number == reader::kExceedsLine) found.text.resize(lengthOfWhole(found.text));
  if (found.isNote()) {
    if (!found_.empty()) found.line = found_.back().line;
  } else {
    ++(found.isError() ? errors_ : warnings_);
  }
  found_.push_back(std::move(found));
}

void FindingList::onLoss(reader::Loss loss, const reader::Finding& number) {
  Found found{reader::kNote, number.line.number, std::string(number.text), {}};
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

Analysis analyse(api::Library& library, InputText& text, reader::RecordSink sink,
                 const AnalysisOptions& options) {
  Analysis result;
  platform::NoOutput noLog;
  ProgressBar bar(text.name(), text.size());
  api::AnalysisRequest request;
  request.inputPath = text.name().c_str();
  request.input = text.rewind();
  if (request.input == nullptr) return result;
  request.log = options.log == nullptr ? &noLog : options.log;
  request.maxErrors = options.maxErrors;
  request.sink = sink;
  request.intoStore = options.intoStore;
  request.findings = &result.findings;
  request.progress = bar.observer();
  result.status = TVO_CODE(library.analyse(request, &result.counts));
  result.notes = text.oddities();
  if (result.status == TVO_OK && result.counts.records == 0 && result.findings.all().empty()) {
    if (const auto emptiness = text.emptiness()) result.notes.push_back(*emptiness);
  }
  text.close();
  return result;
}

std::string codeOf(const Found& found) {
  if (found.isNote()) return {};
  std::string code(1, found.isError() ? 'E' : 'W');
  return code += std::to_string(found.number);
}

void printFindings(std::FILE* stream, InputText& text, const Analysis& analysis, bool colour) {
  std::vector<uint64_t> wanted;
  for (const Found& found : analysis.findings.all()) {
    if (!found.isNote()) wanted.push_back(found.line);
  }
  const SourceLines source(text, std::move(wanted));
  const std::string name = printable(text.name());
  for (const Found& found : analysis.findings.all()) {
    const Style style = styleOf(found);
    std::fprintf(stream, "%s:%llu: %s%s%s", name.c_str(),
                 static_cast<unsigned long long>(found.line), colour ? style.colour : "",
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
  for (const std::string& note : analysis.notes) {
    std::fprintf(stream, "%s: %snote%s: %s\n", name.c_str(), colour ? kNoteColour : "",
                 colour ? "\033[0m" : "", note.c_str());
  }
}

void complainOfNotes(const InputText& text, const Analysis& analysis) {
  for (const std::string& note : analysis.notes) complain(text.name() + ": " + note);
}

}  // namespace tavo::tool
