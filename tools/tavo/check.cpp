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

Checked checkFile(const std::string& path, const CheckOptions& options) {
  Checked result;
  result.problem = textProblem(path);
  if (!result.problem.empty()) return result;
  if (!options.log.empty() && sameFile(options.log, path)) {
    result.problem = "the log '" + options.log + "' is the input itself";
    return result;
  }
  // An instance of its own, so that no file depends on the one checked before it.
  api::Library library;
  auto ignore = [](RecordType, const void*) { return uint32_t{TVO_OK}; };
  AnalysisOptions analysis;
  analysis.log = options.log;
  analysis.maxErrors = options.maxErrors;
  result.analysis = analyse(library, path, sinkOf(ignore), analysis);
  if (!result.analysis.readable()) {
    result.problem = options.log.empty() ? "cannot read '" + path + "'"
                                         : "cannot write the log '" + options.log + "'";
  } else if (result.analysis.status == TVO_ERR_WRITE) {
    result.problem = options.log.empty() ? "reading '" + path + "' failed"
                                         : "writing the log '" + options.log + "' failed";
  }
  return result;
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

void printJson(const std::string& path, const Checked& checked, const CheckOptions& options) {
  const Analysis& analysis = checked.analysis;
  Json file{{"file", toUtf8(path)}, {"status", checked.verdict(options)}};
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
  std::printf("%s\n", file.dump().c_str());
}

void printForPerson(const std::string& path, const Checked& checked, const CheckOptions& options) {
  if (!checked.analysis.readable()) return;
  printFindings(stdout, path, checked.analysis.findings, colourWanted());
  std::printf("%s: %s\n", path.c_str(), checked.analysis.summary().c_str());
  if (checked.atLimit(options)) {
    std::printf("%s: the limit of %s is reached, there may be more\n", path.c_str(),
                counted(options.maxErrors, "error").c_str());
  }
}

}  // namespace

int check(const CheckOptions& options) {
  if (!options.log.empty() && options.files.size() > 1) {
    complain("--log names the log of one file, but there are " +
             std::to_string(options.files.size()) + "; check them one by one");
    return kFailed;
  }
  int status = kSound;
  std::vector<std::string> failed;
  for (const std::string& path : options.files) {
    const Checked checked = checkFile(path, options);
    if (!checked.problem.empty()) complain(checked.problem);
    if (!options.quiet) {
      (options.json ? printJson : printForPerson)(path, checked, options);
    }
    const ExitStatus result = checked.status(options);
    if (result != kSound) failed.push_back(path);
    status = std::max(status, static_cast<int>(result));
  }
  if (!options.quiet && !options.json && options.files.size() > 1) {
    std::printf("%zu of %s failed%s\n", failed.size(),
                counted(options.files.size(), "file").c_str(), failed.empty() ? "" : ":");
    for (const std::string& path : failed) std::printf("  %s\n", path.c_str());
  }
  return flushOutput() ? status : kFailed;
}

}  // namespace tavo::tool
