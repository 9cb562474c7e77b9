// Collecting and printing of findings.
#include "findings.h"

#include <algorithm>
#include <cmath>

#include "console.h"
#include "text.h"
#include "topics.h"

namespace tavo::tool {

namespace {

// The log's own note, whose text is a sentence.
constexpr uint32_t kLogNote = 7000;
// A line that is longer than the format allows.
constexpr uint32_t kExceedsLine = 2000;

// Longest part of a line or text that is shown.
constexpr size_t kShown = 160;
// Longest part of a line that is shown in front of the marked text.
constexpr size_t kLead = 100;

struct Style {
  const char* name;
  const char* colour;
  char letter;
};
constexpr Style kStyles[] = {
    {"note", "\033[1;36m", 'N'}, {"warning", "\033[1;35m", 'W'}, {"error", "\033[1;31m", 'E'}};
constexpr char kMark[] = "\033[1;32m";
constexpr char kNoColour[] = "\033[0m";

// A run's observers. Nothing may be thrown into the library, so a lack of memory is only noted.
struct Observer {
  Analysis* analysis;
  ProgressBar* bar;
  tavo_record_fn take;
  void* user;
  bool full = false;

  static uint32_t record(const tavo_record* record, void* self) {
    auto* const observer = static_cast<Observer*>(self);
    return observer->take(record, observer->user);
  }
  static void finding(const tavo_finding* finding, void* self) {
    auto* const observer = static_cast<Observer*>(self);
    try {
      observer->analysis->findings.emplace_back(*finding);
    } catch (const std::bad_alloc&) {
      observer->full = true;
    }
  }
  static int progress(uint64_t done, uint64_t, void* self) {
    auto* const observer = static_cast<Observer*>(self);
    if (observer->bar != nullptr) observer->bar->show(done);
    return interrupted() || observer->full ? 1 : 0;
  }

  tavo_analysis_options options(const AnalysisOptions& wanted) {
    tavo_analysis_options options = TAVO_ANALYSIS_OPTIONS_INIT;
    options.max_errors = wanted.maxErrors;
    options.log = wanted.log;
    options.plain_records = wanted.plainRecords ? 1 : 0;
    if (take != nullptr) options.on_record = &Observer::record;
    options.on_finding = &Observer::finding;
    options.on_progress = &Observer::progress;
    options.record_user = options.finding_user = options.progress_user = this;
    return options;
  }
};

void finish(const InputText& text, bool full, Analysis* result) {
  if (full) result->status = TAVO_ERR_MEMORY;
  // A note of the log explains the finding in front of it.
  for (size_t i = 1; i < result->findings.size(); ++i) {
    Found& found = result->findings[i];
    if (found.number == kLogNote) found.line = result->findings[i - 1].line;
  }
  result->notes = text.oddities();
  if (result->status == TAVO_OK && result->counts.records == 0 && result->findings.empty()) {
    if (const auto emptiness = text.emptiness()) result->notes.push_back(*emptiness);
  }
}

// The line with its offending text marked under it: "    1,ABC;" and "      ^~~".
void printSource(std::FILE* stream, const Found& found, bool colour) {
  std::string_view line = found.source;
  if (line.empty()) return;
  size_t at = found.column > 0 ? found.column - 1 : 0;
  const char* lead = "";
  if (at > kLead) {
    // Long lines show what stands around the text.
    const size_t cut = at - kLead / 2;
    line.remove_prefix(cut);
    while (!line.empty() && (static_cast<unsigned char>(line.front()) & 0xC0) == 0x80) {
      line.remove_prefix(1);
    }
    at -= found.source.size() - line.size();
    lead = "... ";
  }
  const bool cut = found.number == kExceedsLine;
  std::fprintf(stream, "    %s%s%s\n", lead, printable(line, kShown).c_str(), cut ? " ..." : "");
  if (found.column == 0 || at >= std::min(line.size(), kShown)) return;
  const size_t length = std::min<size_t>(std::max<uint32_t>(found.length, 1), kShown - at);
  const size_t before = columnsOf(line.substr(0, at)) + std::string_view(lead).size();
  const size_t marked = std::max<size_t>(columnsOf(line.substr(at, length)), 1);
  std::fprintf(stream, "    %*s%s^%s%s\n", static_cast<int>(before), "", colour ? kMark : "",
               std::string(marked - 1, '~').c_str(), colour ? kNoColour : "");
}

}  // namespace

Found::Found(const tavo_finding& finding)
    : number(finding.number),
      kind(finding.kind),
      line(finding.line),
      column(finding.column),
      length(finding.length),
      text(finding.text, finding.text_size) {
  if (finding.source != nullptr) source.assign(finding.source, finding.source_size);
  while (source.ends_with('\r') || source.ends_with('\n')) source.pop_back();
  // The reader keeps the beginning of such a line, up to a byte that may be amid a character.
  if (number == kExceedsLine) {
    text.resize(lengthOfWhole(text));
    source.resize(lengthOfWhole(source));
  }
}

const char* findingKind(uint32_t kind) { return kStyles[kind].name; }

std::string Found::code() const {
  return (deep ? 'T' : kStyles[kind].letter) + std::to_string(number);
}

std::string Found::message() const {
  if (deep) return topicOf('T', number)->name;
  if (number == kLogNote) return text;
  const tavo_schema_message* const row = tavo_schema_message_of(number);
  return row == nullptr ? "?" : row->text;
}

std::string Analysis::summary() const {
  return counted(counts.errors + deep(TAVO_ERROR), "error") + ", " +
         counted(counts.warnings + deep(TAVO_WARNING), "warning") + "; " +
         counted(counts.lines, "line") + " and " + counted(counts.records, "record") + " read";
}

uint64_t Analysis::deep(uint32_t kind) const {
  return static_cast<uint64_t>(std::ranges::count_if(
      findings, [kind](const Found& found) { return found.deep && found.kind == kind; }));
}

std::map<std::string, uint64_t> Analysis::byCode() const {
  std::map<std::string, uint64_t> numbers;
  for (const Found& found : findings) ++numbers[found.code()];
  return numbers;
}

Analysis analyseWith(const InputText& text, tavo_record_fn take, void* user,
                     const AnalysisOptions& wanted) {
  Analysis result;
  ProgressBar bar(text.name(), wanted.progress ? text.size() : 0);
  Observer observer{&result, &bar, take, user};
  const tavo_analysis_options options = observer.options(wanted);
  const tavo_input input = text.input();
  result.status = tavo_analyse(&input, &options, &result.counts);
  finish(text, observer.full, &result);
  return result;
}

Survey readSurvey(const InputText& text, Analysis* analysis, const AnalysisOptions& wanted) {
  *analysis = {};
  ProgressBar bar(text.name(), wanted.progress ? text.size() : 0);
  Observer observer{analysis, &bar, nullptr, nullptr};
  const tavo_analysis_options options = observer.options(wanted);
  const tavo_input input = text.input();
  tavo_survey* survey = nullptr;
  analysis->status = tavo_survey_read(&survey, &input, &options);
  if (survey != nullptr) analysis->counts = *tavo_survey_counts(survey);
  finish(text, observer.full, analysis);
  return Survey(survey);
}

Survey openSurvey(const std::string& path, InputText* text, Analysis* analysis) {
  if (const std::string problem = text->open(path); !problem.empty()) {
    complain(problem);
    return nullptr;
  }
  Survey survey = readSurvey(*text, analysis);
  return isWhole(*text, *analysis) ? std::move(survey) : nullptr;
}

void printFindings(std::FILE* stream, const InputText& text, const Analysis& analysis,
                   bool colour) {
  const std::string name = printable(text.name());
  for (const Found& found : analysis.findings) {
    const Style& style = kStyles[found.kind];
    std::fprintf(stream, "%s:", name.c_str());
    if (found.line > 0) std::fprintf(stream, "%llu:", static_cast<unsigned long long>(found.line));
    if (found.column > 0) std::fprintf(stream, "%u:", found.column);
    std::fprintf(stream, " %s%s%s", colour ? style.colour : "", style.name,
                 colour ? kNoColour : "");
    if (found.kind != TAVO_NOTE || found.deep) {
      std::fprintf(stream, " %s", found.code().c_str());
    }
    const std::string message = printable(found.message(), kShown);
    const std::string quoted = printable(found.text, kShown);
    if (found.deep) {
      std::fprintf(stream, ": %s: %s\n", message.c_str(), printable(found.detail, kShown).c_str());
    } else if (found.number == kLogNote) {
      std::fprintf(stream, ": %s\n", message.c_str());
    } else if (found.kind == TAVO_NOTE) {
      std::fprintf(stream, ": '%s' %s\n", quoted.c_str(), message.c_str());
    } else {
      std::fprintf(stream, ": %s: '%s'\n", message.c_str(), quoted.c_str());
    }
    printSource(stream, found, colour);
  }
  for (const std::string& note : analysis.notes) {
    std::fprintf(stream, "%s: %snote%s: %s\n", name.c_str(), colour ? kStyles[0].colour : "",
                 colour ? kNoColour : "", note.c_str());
  }
}

void printCounts(std::FILE* stream, const Analysis& analysis) {
  const std::map<std::string, uint64_t> counts = analysis.byCode();
  for (const auto& [code, count] : counts) {
    std::fprintf(stream, "%8llu  %-5s  %s\n", static_cast<unsigned long long>(count), code.c_str(),
                 findTopic(code)->name);
  }
}

void complainOfNotes(const InputText& text, const Analysis& analysis) {
  for (const std::string& note : analysis.notes) complain(text.name() + ": " + note);
}

bool isWhole(const InputText& text, const Analysis& analysis) {
  if (analysis.complete()) return true;
  complain("reading '" + text.name() + "' failed: " + tavo_status_text(analysis.status));
  return false;
}

ExitStatus complainOfFindings(const InputText& text, const Analysis& analysis, bool warnings) {
  const bool errors = analysis.counts.errors > 0;
  if (errors || (warnings && analysis.counts.warnings > 0)) {
    complain(text.name() + ": " + analysis.summary() + " (see 'tavo check')");
  }
  return errors ? kFindings : kSound;
}

Json findingJson(const Found& found) {
  Json json{{"code", found.code()}, {"kind", findingKind(found.kind)}};
  if (found.line > 0) json["line"] = found.line;
  if (found.column > 0) json["column"] = found.column;
  if (found.column > 0) json["length"] = found.length;
  json["message"] = toUtf8(found.message());
  if (found.deep) json["detail"] = toUtf8(found.detail);
  if (found.number != kLogNote && !(found.deep && found.text.empty())) {
    json["text"] = toUtf8(found.text);
  }
  if (!found.source.empty()) json["source"] = toUtf8(found.source);
  if (found.owner.block.empty()) return json;
  Json owner{{"block", found.owner.block}};
  if (found.owner.number != 0) owner["number"] = found.owner.number;
  if (!found.owner.id.empty()) owner["id"] = toUtf8(found.owner.id);
  if (const auto& at = found.owner.position) {
    owner["x"] = at->x;
    owner["y"] = at->y;
    if (std::isfinite(at->z)) owner["z"] = at->z;
    if (!at->crs.empty()) owner["crs"] = toUtf8(at->crs);
  }
  json["owner"] = std::move(owner);
  return json;
}

}  // namespace tavo::tool
