// tavo format: writes a text anew from its records, and proves that nothing was lost on the way.
#include <algorithm>
#include <cstdio>

#include "compare_records.h"
#include "console.h"
#include "files.h"
#include "findings.h"
#include "record_json.h"
#include "record_log.h"
#include "text.h"
#include "verbs.h"

namespace tavo::tool {

namespace {

// Neither a text nor the comparison needs more of a record than its values.
constexpr AnalysisOptions kPlain{.plainRecords = true};

// Records do not carry the size of an operation, so its line cannot be written whole.
bool hasSize(const tavo_record& record) {
  if (record.type != TVO_RECORD_OPERATIONS) return false;
  const auto number = load<OperationRecord>(static_cast<const char*>(record.bytes)).Operation;
  const tavo_schema_operation* operation = nullptr;
  for (size_t n = 0; (operation = tavo_schema_operation_at(n)) != nullptr; ++n) {
    if (operation->number == number) return operation->has_size != 0;
  }
  return false;
}

// What was read, with its records where they can be walked again.
struct Original {
  InputText text;
  Analysis analysis;
  RecordLog records;
  uint64_t sizes = 0;  // of operations
};

// Whether something would be lost, with what and why.
bool complainOfLosses(const Original& original) {
  const auto& [text, analysis, records, sizes] = original;
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
  if (sizes > 0) {
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

// Reads the written text again and holds its records against the original ones, one by one.
bool proveWritten(const std::string& path, RecordLog* records) {
  InputText text;
  Analysis analysis;
  Comparer comparer;
  uint32_t move = TVO_FIRST;
  const auto next = [&](const tavo_record* written) {
    tavo_record original = {};
    const bool there = records->fetch(move, &original) == TVO_OK;
    move = TVO_NEXT;
    comparer.compare(there ? &original : nullptr, written);
  };
  if (text.open(path, {}, "(formatted text)").empty()) {
    analysis = analyse(
        text,
        [&](const tavo_record& written) {
          next(&written);
          return uint32_t{TVO_OK};
        },
        kPlain);
    next(nullptr);
  }
  const std::string& difference = comparer.result().difference;
  const bool clean = analysis.status == TAVO_OK && analysis.counts.warnings == 0;
  if (!clean || !difference.empty()) {
    printFindings(stderr, text, analysis, false);
    complain("the formatted text does not give back the same records (" +
             (difference.empty() ? analysis.summary() : difference) + "); nothing was written");
    return false;
  }
  for (const auto& [name, count] : comparer.result().rounded) {
    complain(counted(count, "value") + " of " + name + " written with other digits");
  }
  return true;
}

// Reads a text and keeps its records; a failure has its complaint.
bool readOriginal(Original* original) {
  const auto take = [original](const tavo_record& record) {
    original->sizes += hasSize(record) ? 1 : 0;
    return original->records.append(record);
  };
  original->analysis = analyse(original->text, take, kPlain);
  if (!original->records.failed()) return isWhole(original->text, original->analysis);
  complain("reading '" + original->text.name() +
           "' failed: its records cannot be kept in a temporary file");
  return false;
}

bool buildText(RecordLog* records, const tavo_build_options& options, Output* output) {
  const auto fetch = [](uint32_t move, tavo_record* record, void* user) {
    return static_cast<RecordLog*>(user)->fetch(move, record);
  };
  const tavo_target target = output->target();
  return tavo_build(&target, fetch, records, &options) == TAVO_OK;
}

}  // namespace

int format(const BuildOptions& options) {
  Original original;
  Output output;
  std::string problem = original.text.open(options.file);
  // The new text may take the place of the old one, since that has been read by then.
  if (problem.empty()) {
    problem = targetProblem(options.output, "", OutputKind::kText, options.overwrite);
  }
  if (problem.empty()) problem = output.open(options.output, Output::Writer::kHeld);
  if (!problem.empty()) {
    complain(problem);
    return kFailed;
  }
  const std::string& name = original.text.name();
  if (!original.records.open(std::string(output.path()) + ".records")) {
    complain("no temporary file can be made beside '" + std::string(output.path()) + "'");
    return kFailed;
  }
  if (!readOriginal(&original)) return kFailed;
  const bool losses = complainOfLosses(original);
  if (losses && !options.force) {
    complain("nothing was written; correct the text, or use --force to write the rest");
    return kFindings;
  }
  if (!buildText(&original.records, options.layout, &output)) {
    complain("formatting '" + name + "' failed");
    return kFailed;
  }
  if (!losses && !proveWritten(output.path(), &original.records)) return kFailed;
  if (!output.commit()) return kFailed;
  noteSilentLosses(name, original.analysis);
  return kSound;
}

}  // namespace tavo::tool
