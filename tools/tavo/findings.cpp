// Collecting and printing of findings.
#include "findings.h"

#include <algorithm>

#include "console.h"
#include "text.h"

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
constexpr char kPlain[] = "\033[0m";

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
               std::string(marked - 1, '~').c_str(), colour ? kPlain : "");
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

std::string Found::code() const { return kStyles[kind].letter + std::to_string(number); }

std::string Found::message() const {
  if (number == kLogNote) return text;
  const tavo_schema_message* const row = tavo_schema_message_of(number);
  return row == nullptr ? "?" : row->text;
}

std::string Analysis::summary() const {
  return counted(counts.errors, "error") + ", " + counted(counts.warnings, "warning") + "; " +
         counted(counts.lines, "line") + " and " + counted(counts.records, "record") + " read";
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

Survey readSurvey(const InputText& text, Analysis* analysis) {
  *analysis = {};
  ProgressBar bar(text.name(), text.size());
  Observer observer{analysis, &bar, nullptr, nullptr};
  const tavo_analysis_options options = observer.options({});
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
  if (survey == nullptr) {
    complain("reading '" + text->name() + "' failed: " + tavo_status_text(analysis->status));
  }
  return survey;
}

void printFindings(std::FILE* stream, const InputText& text, const Analysis& analysis,
                   bool colour) {
  const std::string name = printable(text.name());
  for (const Found& found : analysis.findings) {
    const Style& style = kStyles[found.kind];
    std::fprintf(stream, "%s:%llu:", name.c_str(), static_cast<unsigned long long>(found.line));
    if (found.column > 0) std::fprintf(stream, "%u:", found.column);
    std::fprintf(stream, " %s%s%s", colour ? style.colour : "", style.name, colour ? kPlain : "");
    if (found.kind != TAVO_NOTE) std::fprintf(stream, " %s", found.code().c_str());
    const std::string message = printable(found.message(), kShown);
    const std::string quoted = printable(found.text, kShown);
    if (found.number == kLogNote) {
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
                 colour ? kPlain : "", note.c_str());
  }
}

void complainOfNotes(const InputText& text, const Analysis& analysis) {
  for (const std::string& note : analysis.notes) complain(text.name() + ": " + note);
}

Json findingJson(const Found& found) {
  Json json{{"code", found.code()}, {"kind", kStyles[found.kind].name}, {"line", found.line}};
  if (found.column > 0) json["column"] = found.column;
  if (found.column > 0) json["length"] = found.length;
  json["message"] = toUtf8(found.message());
  if (found.number != kLogNote) json["text"] = toUtf8(found.text);
  if (!found.source.empty()) json["source"] = toUtf8(found.source);
  return json;
}

}  // namespace tavo::tool
