// tavo check: reads texts and shows what is wrong with them.
#include <cstdio>
#include <string_view>

#include "console.h"
#include "files.h"
#include "findings.h"
#include "record_json.h"
#include "text.h"
#include "verbs.h"

namespace tavo::tool {

namespace {

// Result of one file. A problem tells why it, or its log, could not be worked on.
struct Checked {
  std::string problem;
  InputText text;
  Analysis analysis;

  // What of it makes the file fail, in one word.
  const char* verdict(const CheckOptions& options) const {
    if (!problem.empty()) return "failed";
    if (analysis.findings.errors() > 0) return "errors";
    if (options.failOnWarning && analysis.findings.warnings() > 0) return "warnings";
    if (options.failOnEmpty && analysis.counts.records == 0) return "empty";
    return "ok";
  }
  ExitStatus status(const CheckOptions& options) const {
    if (!problem.empty()) return kFailed;
    return verdict(options) == std::string_view("ok") ? kSound : kFindings;
  }
  bool atLimit(const CheckOptions& options) const {
    return analysis.findings.errors() >= options.maxErrors;
  }
};

// Takes the place of the log's file when the analysis is over, whatever that found.
void checkText(Checked* checked, const CheckOptions& options) {
  OutputFile log;
  if (!options.log.empty()) {
    checked->problem =
        targetProblem(options.log, checked->text.name(), OutputKind::kLog, options.overwrite);
    if (checked->problem.empty()) checked->problem = log.tryOpen(options.log);
    if (!checked->problem.empty()) return;
  }
  // An instance of its own, so that no file depends on the one checked before it.
  api::Library library;
  auto ignore = [](RecordType, const void*) { return uint32_t{TVO_OK}; };
  AnalysisOptions analysis;
  if (!options.log.empty()) analysis.log = &log;
  analysis.maxErrors = options.maxErrors;
  checked->analysis = analyse(library, checked->text, sinkOf(ignore), analysis);
  const bool failed = checked->analysis.status == TVO_ERR_WRITE || !checked->analysis.readable();
  if (failed) {
    checked->problem = "reading '" + checked->text.name() + "'" +
                       (options.log.empty() ? "" : " or writing its log") + " failed";
  } else if (!options.log.empty() && !log.commit()) {
    checked->problem = "writing the log '" + options.log + "' failed";
  }
}

Json findingJson(const Found& found) {
  Json finding{{"line", found.line}};
  if (found.isNote()) {
    finding["kind"] = "note";
    finding["message"] = toUtf8(found.text);
    return finding;
  }
  finding["kind"] = found.isError() ? "error" : "warning";
  finding["code"] = codeOf(found);
  finding["message"] = found.message;
  finding["text"] = toUtf8(found.text);
  return finding;
}

void printJson(Checked& checked, const CheckOptions& options) {
  const Analysis& analysis = checked.analysis;
  Json file{{"file", toUtf8(checked.text.name())}, {"status", checked.verdict(options)}};
  if (!checked.problem.empty()) file["problem"] = toUtf8(checked.problem);
  file["errors"] = analysis.findings.errors();
  file["warnings"] = analysis.findings.warnings();
  file["changedNumbers"] = analysis.findings.changedNumbers();
  file["shortenedReals"] = analysis.findings.shortenedReals();
  file["lines"] = analysis.counts.lines;
  file["records"] = analysis.counts.records;
  file["errorLimitReached"] = checked.atLimit(options);
  Json findings = Json::array();
  for (const Found& found : analysis.findings.all()) findings.push_back(findingJson(found));
  file["findings"] = std::move(findings);
  if (!analysis.notes.empty()) file["notes"] = analysis.notes;
  std::printf("%s\n", oneLine(file).c_str());
}

void printForPerson(Checked& checked, const CheckOptions& options) {
  if (!checked.analysis.readable()) return;
  printFindings(stdout, checked.text, checked.analysis, colourWanted());
  const std::string name = printable(checked.text.name());
  std::printf("%s: %s\n", name.c_str(), checked.analysis.summary().c_str());
  if (checked.atLimit(options)) {
    std::printf("%s: the limit of %s is reached, there may be more\n", name.c_str(),
                counted(options.maxErrors, "error").c_str());
  }
}

// Why the options do not go together, or an empty text when they do.
std::string callProblem(const CheckOptions& options) {
  if (options.log.empty()) return {};
  if (options.files.size() > 1) {
    return "--log names the log of one file, but there are " +
           std::to_string(options.files.size()) + "; check them one by one";
  }
  return isStream(options.log) && options.json ? "--log - and --format json print the same stream"
                                               : "";
}

}  // namespace

int check(const CheckOptions& options) {
  if (const std::string problem = callProblem(options); !problem.empty()) {
    complain(problem);
    return kFailed;
  }
  // A log on the standard output says what would be printed there.
  const bool quiet = options.quiet || isStream(options.log);
  int status = kSound;
  std::vector<std::string> failed;
  for (const std::string& path : options.files) {
    Checked checked;
    checked.problem = checked.text.open(path);
    if (checked.problem.empty()) checkText(&checked, options);
    if (!checked.problem.empty()) complain(checked.problem);
    if (!quiet) (options.json ? printJson : printForPerson)(checked, options);
    if (isStream(options.log)) complainOfNotes(checked.text, checked.analysis);
    const ExitStatus result = checked.status(options);
    if (result != kSound) failed.push_back(checked.text.name());
    status = std::max(status, static_cast<int>(result));
  }
  if (!quiet && !options.json && options.files.size() > 1) {
    std::printf("%zu of %s failed%s\n", failed.size(),
                counted(options.files.size(), "file").c_str(), failed.empty() ? "" : ":");
    for (const std::string& name : failed) std::printf("  %s\n", printable(name).c_str());
  }
  return flushOutput() ? status : kFailed;
}

}  // namespace tavo::tool
