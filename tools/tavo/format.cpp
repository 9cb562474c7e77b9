// tavo format: writes a text anew from its records, and proves that nothing was lost on the way.
#include <cstdio>
#include <memory>

#include "compare_records.h"
#include "console.h"
#include "files.h"
#include "findings.h"
#include "text.h"
#include "verbs.h"

namespace tavo::tool {

namespace {

// Records do not carry the size of an operation, so its line cannot be written whole.
uint64_t operationsWithSize(const tavo_survey* survey) {
  const tavo_records* const records = tavo_survey_records(survey, TVO_RECORD_OPERATIONS);
  const auto* const operations = static_cast<const OperationRecord*>(records->bytes);
  uint64_t count = 0;
  const tavo_schema_operation* operation = nullptr;
  for (size_t n = 0; (operation = tavo_schema_operation_at(n)) != nullptr; ++n) {
    if (operation->has_size == 0) continue;
    for (size_t i = 0; i < records->count; ++i) {
      if (operations[i].Operation == operation->number) ++count;
    }
  }
  return count;
}

// Whether something would be lost, with what and why.
bool complainOfLosses(const InputText& text, const Analysis& analysis, const tavo_survey* survey) {
  bool losses = false;
  const uint64_t changed = analysis.counts.wrapped_integers;
  const bool findings = analysis.counts.errors + analysis.counts.warnings > 0;
  if (findings || changed > 0) {
    printFindings(stderr, text, analysis, false);
    losses = true;
  } else {
    complainOfNotes(text, analysis);
  }
  if (findings) {
    complain(text.name() + ": " + analysis.summary() +
             "; what the findings are about would be lost");
  }
  if (changed > 0) {
    complain(text.name() + ": " + counted(changed, "number") +
             (changed == 1 ? " does not fit its field and would be written as another one"
                           : " do not fit their fields and would be written as other ones"));
  }
  if (const uint64_t sizes = operationsWithSize(survey); sizes > 0) {
    complain(text.name() + ": the size of " + counted(sizes, "operation") +
             " (CIRCLE_RADIUS, RECTANGLE) would be lost, since records do not carry it");
    losses = true;
  }
  return losses;
}

// What is not kept although nothing is wrong with it.
void noteSilentLosses(const std::string& path, const Analysis& analysis) {
  if (const uint64_t comments = analysis.counts.comments; comments > 0) {
    complain(path + ": " + counted(comments, "comment") + " left out");
  }
  if (analysis.counts.rounded_reals == 0) return;
  const auto first =
      std::ranges::find(analysis.findings, uint32_t{TAVO_NOTE_ROUNDED}, &Found::number);
  std::string note = path + ": " + counted(analysis.counts.rounded_reals, "real number") +
                     " with more digits than are kept";
  if (first != analysis.findings.end()) {
    note +=
        ", the first on line " + std::to_string(first->line) + ": " + printable(first->text, 40);
  }
  complain(note);
}

// Reads the written text again and holds its records against the original ones.
bool proveWritten(const std::string& written, const tavo_survey* survey) {
  InputText text;
  text.take("(formatted text)", written);
  Analysis analysis;
  const Survey again = readSurvey(text, &analysis);
  Comparison comparison;
  if (again != nullptr) comparison = compareSurveys(survey, again.get());
  const bool clean = analysis.status == TAVO_OK && analysis.counts.warnings == 0;
  if (!clean || !comparison.difference.empty()) {
    printFindings(stderr, text, analysis, false);
    complain("the formatted text does not give back the same records (" +
             (comparison.difference.empty() ? analysis.summary() : comparison.difference) +
             "); nothing was written");
    return false;
  }
  for (const auto& [name, count] : comparison.rounded) {
    complain(counted(count, "value") + " of " + name + " written with other digits");
  }
  return true;
}

bool buildText(const tavo_survey* survey, const tavo_build_options& options, std::string* text) {
  tavo_target target = TAVO_TARGET_INIT;
  target.user = text;
  target.write = [](const void* bytes, size_t size, void* user) {
    try {
      static_cast<std::string*>(user)->append(static_cast<const char*>(bytes), size);
    } catch (const std::bad_alloc&) {
      return 1;
    }
    return interrupted() ? 1 : 0;
  };
  return tavo_survey_build(survey, &target, &options) == TAVO_OK;
}

}  // namespace

int format(const BuildOptions& options) {
  InputText text;
  std::string problem = text.open(options.file);
  // The new text may take the place of the old one, since that has been read by then.
  if (problem.empty()) {
    problem = targetProblem(options.output, "", OutputKind::kText, options.overwrite);
  }
  if (!problem.empty()) {
    complain(problem);
    return kFailed;
  }
  Analysis analysis;
  const Survey survey = readSurvey(text, &analysis);
  if (survey == nullptr) {
    complain("reading '" + text.name() + "' failed: " + tavo_status_text(analysis.status));
    return kFailed;
  }
  const bool losses = complainOfLosses(text, analysis, survey.get());
  if (losses && !options.force) {
    complain("nothing was written; correct the text, or use --force to write the rest");
    return kFindings;
  }
  std::string written;
  if (!buildText(survey.get(), options.layout, &written)) {
    complain("formatting '" + text.name() + "' failed");
    return kFailed;
  }
  if (!losses && !proveWritten(written, survey.get())) return kFailed;
  Output output;
  if (problem = output.open(options.output); !problem.empty()) {
    complain(problem);
    return kFailed;
  }
  if (!output.write(written.data(), written.size())) {
    complain("writing '" + options.output + "' failed");
    return kFailed;
  }
  if (!output.commit()) return kFailed;
  noteSilentLosses(text.name(), analysis);
  return kSound;
}

}  // namespace tavo::tool
