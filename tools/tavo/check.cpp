// tavo check: reads texts, side by side where there are several, and shows what is wrong with them.
#include <algorithm>
#include <condition_variable>
#include <cstdio>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string_view>
#include <thread>

#include "console.h"
#include "deep.h"
#include "exchange.h"
#include "files.h"
#include "findings.h"
#include "json.h"
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
    if (analysis.counts.errors + analysis.deep(TAVO_ERROR) > 0) return "errors";
    const uint64_t warnings = analysis.counts.warnings + analysis.deep(TAVO_WARNING);
    if (options.failOnWarning && warnings > 0) return "warnings";
    if (options.failOnEmpty && analysis.counts.records == 0) return "empty";
    return "ok";
  }
  ExitStatus status(const CheckOptions& options) const {
    if (!problem.empty()) return kFailed;
    return verdict(options) == std::string_view("ok") ? kSound : kFindings;
  }
  bool atLimit(const CheckOptions& options) const {
    return problem.empty() && analysis.counts.errors >= options.maxErrors;
  }
};

// The log takes its place when the analysis is over, whatever that found.
void checkText(Checked* checked, const CheckOptions& options) {
  Output log;
  AnalysisOptions wanted;
  wanted.maxErrors = options.maxErrors;
  wanted.progress = options.files.size() == 1;
  if (!options.log.empty()) {
    checked->problem =
        targetProblem(options.log, checked->text.name(), OutputKind::kLog, options.overwrite);
    if (checked->problem.empty()) checked->problem = log.open(options.log);
    if (!checked->problem.empty()) return;
    wanted.log = log.target();
  }
  if (options.deep) {
    const Survey survey = readSurvey(checked->text, &checked->analysis, wanted);
    if (survey != nullptr) {
      checkDeep(checked->text, survey.get(), options.rules, &checked->analysis);
    }
  } else {
    checked->analysis = analyseWith(checked->text, nullptr, nullptr, wanted);
  }
  if (!checked->analysis.complete()) {
    checked->problem = "reading '" + checked->text.name() + "'" +
                       (options.log.empty() ? "" : " or writing its log") +
                       " failed: " + tavo_status_text(checked->analysis.status);
  } else if (!options.log.empty() && !log.commit()) {
    checked->problem = "writing the log '" + options.log + "' failed";
  }
}

std::unique_ptr<Checked> checkFile(const std::string& path, const CheckOptions& options) {
  auto checked = std::make_unique<Checked>();
  try {
    checked->problem = checked->text.open(path);
    if (checked->problem.empty()) checkText(checked.get(), options);
  } catch (const std::bad_alloc&) {
    checked->problem = "'" + path + "': out of memory";
  }
  return checked;
}

// Checks the files in threads of its own and hands the results out in the order of the files.
class Checks {
 public:
  Checks(const CheckOptions& options, size_t threads) : options_(options) {
    for (size_t i = 0; i < std::min(threads, options.files.size()); ++i) {
      threads_.emplace_back([this] { work(); });
    }
  }
  ~Checks() {
    for (std::thread& thread : threads_) thread.join();
  }

  std::unique_ptr<Checked> next() {
    std::unique_lock lock(mutex_);
    wake_.wait(lock, [this] { return done_[taken_] != nullptr; });
    auto checked = std::move(done_[taken_]);
    done_.erase(taken_++);
    wake_.notify_all();
    return checked;
  }

 private:
  // A thread that is far ahead waits, so that no more results are kept than are useful.
  static constexpr size_t kAhead = 64;

  void work() {
    for (;;) {
      size_t file = 0;
      {
        std::unique_lock lock(mutex_);
        wake_.wait(lock, [this] { return started_ < taken_ + kAhead; });
        if (started_ == options_.files.size()) return;
        file = started_++;
      }
      auto checked = checkFile(options_.files[file], options_);
      const std::lock_guard lock(mutex_);
      done_[file] = std::move(checked);
      wake_.notify_all();
    }
  }

  const CheckOptions& options_;
  std::mutex mutex_;
  std::condition_variable wake_;
  std::map<size_t, std::unique_ptr<Checked>> done_;  // by place among the files
  size_t started_ = 0;
  size_t taken_ = 0;
  std::vector<std::thread> threads_;
};

bool printJson(const Checked& checked, const CheckOptions& options) {
  const Analysis& analysis = checked.analysis;
  if (!checked.problem.empty()) {
    Json json = jsonOf("tavo-check/1");
    json["file"] = toUtf8(checked.text.name());
    json["status"] = checked.verdict(options);
    json["problem"] = toUtf8(checked.problem);
    return printLine(json);
  }
  Json json = jsonOf("tavo-check/1", checked.text);
  json["status"] = checked.verdict(options);
  json["lines"] = analysis.counts.lines;
  json["records"] = analysis.counts.records;
  json["errors"] = analysis.counts.errors + analysis.deep(TAVO_ERROR);
  json["warnings"] = analysis.counts.warnings + analysis.deep(TAVO_WARNING);
  json["comments"] = analysis.counts.comments;
  json["wrappedNumbers"] = analysis.counts.wrapped_integers;
  json["roundedReals"] = analysis.counts.rounded_reals;
  json["errorLimitReached"] = checked.atLimit(options);
  json["deep"] = options.deep;
  json["counts"] = Json::object();
  for (const auto& [code, count] : analysis.byCode()) json["counts"][code] = count;
  Json findings = Json::array();
  for (const Found& found : analysis.findings) findings.push_back(findingJson(found));
  json["findings"] = std::move(findings);
  if (!analysis.notes.empty()) json["notes"] = analysis.notes;
  return printLine(json);
}

void printForPerson(const Checked& checked, const CheckOptions& options) {
  if (!checked.problem.empty()) return;
  printFindings(stdout, checked.text, checked.analysis, colourWanted());
  const std::string name = printable(checked.text.name());
  std::printf("%s: %s\n", name.c_str(), checked.analysis.summary().c_str());
  if (checked.atLimit(options)) {
    std::printf("%s: the limit of %s is reached, there may be more\n", name.c_str(),
                counted(options.maxErrors, "error").c_str());
  }
  printCounts(stdout, checked.analysis);
}

// Prints the files in their order, in the form that is asked for.
class Printer {
 public:
  explicit Printer(const CheckOptions& options) : options_(options) {
    if (options.form == Form::kCsv) std::fputs(csvHead().c_str(), stdout);
  }

  void print(const Checked& checked) {
    switch (options_.form) {
      case Form::kJson:
        printJson(checked, options_);
        break;
      case Form::kCsv:
        std::fputs(csvLines(checked.text, checked.analysis).c_str(), stdout);
        break;
      case Form::kSarif:
        if (checked.problem.empty()) {
          sarif_.add(checked.text, checked.analysis);
        } else {
          sarif_.addProblem(checked.problem);
        }
        break;
      default:
        printForPerson(checked, options_);
    }
  }

  void finish(const std::vector<std::string>& failed) const {
    if (options_.form == Form::kSarif) sarif_.print();
    if (options_.form != Form::kText || options_.files.size() < 2) return;
    std::printf("%zu of %s failed%s\n", failed.size(),
                counted(options_.files.size(), "file").c_str(), failed.empty() ? "" : ":");
    for (const std::string& name : failed) std::printf("  %s\n", printable(name).c_str());
  }

 private:
  const CheckOptions& options_;
  SarifRun sarif_;
};

// Why the options do not go together, or an empty text when they do.
std::string callProblem(const CheckOptions& options) {
  if (std::ranges::count(options.files, "-") > 1) return "the standard input can be read only once";
  if (options.log.empty()) return {};
  if (options.files.size() > 1) {
    return "--log names the log of one file, but there are " +
           std::to_string(options.files.size()) + "; check them one by one";
  }
  const bool same = isStream(options.log) && options.form != Form::kText;
  return same ? "--log - and --format print the same stream" : "";
}

}  // namespace

int check(const CheckOptions& options) {
  if (const std::string problem = callProblem(options); !problem.empty()) {
    complain(problem);
    return kFailed;
  }
  // A log on the standard output says what would be printed there.
  const bool quiet = options.quiet || isStream(options.log);
  const size_t cores = std::max(1U, std::thread::hardware_concurrency());
  Checks checks(options, options.jobs > 0 ? options.jobs : cores);
  int status = kSound;
  std::vector<std::string> failed;
  std::optional<Printer> printer;
  if (!quiet) printer.emplace(options);
  for (size_t i = 0; i < options.files.size(); ++i) {
    const auto checked = checks.next();
    if (!checked->problem.empty()) complain(checked->problem);
    if (printer) printer->print(*checked);
    if (isStream(options.log)) complainOfNotes(checked->text, checked->analysis);
    const ExitStatus result = checked->status(options);
    if (result != kSound) failed.push_back(checked->text.name());
    status = std::max(status, static_cast<int>(result));
  }
  if (printer) printer->finish(failed);
  return flushOutput() ? status : kFailed;
}

}  // namespace tavo::tool
