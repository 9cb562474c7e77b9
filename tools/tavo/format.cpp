// tavo format: writes a text anew from its records, and proves that nothing was lost on the way.
#include <cstdio>
#include <new>

#include "compare_records.h"
#include "console.h"
#include "files.h"
#include "findings.h"
#include "memory_records.h"
#include "schema/enums.h"
#include "text.h"
#include "verbs.h"

namespace tavo::tool {

namespace {

// Records do not carry the size of an operation, so its line cannot be written whole.
uint64_t operationsWithSize(const MemoryRecords& records) {
  uint64_t count = 0;
  for (size_t i = 0; i < records.size(); ++i) {
    if (records.type(i) != TVO_RECORD_OPERATIONS) continue;
    const auto* const record = static_cast<const OperationRecord*>(records.record(i));
    const schema::Operation* const operation = schema::operation(record->Operation);
    if (operation != nullptr && operation->hasParameter) ++count;
  }
  return count;
}

bool collect(InputText& text, MemoryRecords* records, Analysis* analysis) {
  bool full = false;
  auto keep = [&](RecordType type, const void* record) -> uint32_t {
    try {
      records->append(type, record);
      return TVO_OK;
    } catch (const std::bad_alloc&) {
      full = true;
      return TVO_ERR_ABORTED;
    }
  };
  api::Library library;
  *analysis = analyse(library, text, sinkOf(keep));
  if (full) complain("'" + text.name() + "' does not fit into memory");
  if (full) return false;
  if (analysis->readable() && analysis->status != TVO_ERR_WRITE) return true;
  complain("reading '" + text.name() + "' failed");
  return false;
}

// Whether something would be lost, with what and why.
bool complainOfLosses(InputText& text, const Analysis& analysis, const MemoryRecords& records) {
  bool losses = false;
  if (analysis.findings.errors() + analysis.findings.warnings() > 0) {
    printFindings(stderr, text, analysis, false);
    complain(text.name() + ": " + analysis.summary() +
             "; what the findings are about would be lost");
    losses = true;
  } else {
    complainOfNotes(text, analysis);
  }
  if (const size_t changed = analysis.findings.changedNumbers(); changed > 0) {
    if (!losses) printFindings(stderr, text, analysis, false);
    complain(text.name() + ": " + counted(changed, "number") +
             (changed == 1 ? " does not fit its field and would be written as another one"
                           : " do not fit their fields and would be written as other ones"));
    losses = true;
  }
  if (const uint64_t sizes = operationsWithSize(records); sizes > 0) {
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
  const FindingList& findings = analysis.findings;
  if (const size_t count = findings.shortenedReals(); count > 0) {
    const Found& first = findings.firstShortened();
    complain(path + ": " + counted(count, "real number") +
             " with more digits than are kept, the first on line " + std::to_string(first.line) +
             ": " + printable(first.text, 40));
  }
}

// Reads the written text again and holds its records against the original ones.
bool proveWritten(const std::string& written, const MemoryRecords& records) {
  InputText text;
  text.take("(formatted text)", written);
  RecordComparison comparison(records);
  auto take = [&](RecordType type, const void* record) -> uint32_t {
    comparison.take(type, record);
    return TVO_OK;
  };
  api::Library library;
  const Analysis analysis = analyse(library, text, sinkOf(take));
  comparison.finish();
  if (analysis.status != TVO_OK || analysis.findings.warnings() > 0 ||
      !comparison.difference().empty()) {
    printFindings(stderr, text, analysis, false);
    complain("the formatted text does not give back the same records (" +
             (comparison.difference().empty() ? analysis.summary() : comparison.difference()) +
             "); nothing was written");
    return false;
  }
  for (const auto& [name, count] : comparison.rounded()) {
    complain(counted(count, "value") + " of " + name + " written with other digits");
  }
  return true;
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
  MemoryRecords records;
  Analysis analysis;
  if (!collect(text, &records, &analysis)) return kFailed;
  const bool losses = complainOfLosses(text, analysis, records);
  if (losses && !options.force) {
    complain("nothing was written; correct the text, or use --force to write the rest");
    return kFindings;
  }
  records.prepareForWriting();
  platform::MemoryOutput written;
  MemorySource source(records);
  if (writers::writeText(written, source, options.settings) != TVO_OK) {
    complain("formatting '" + text.name() + "' failed");
    return kFailed;
  }
  if (!losses && !proveWritten(written.text, records)) return kFailed;
  OutputFile output;
  if (!output.open(options.output)) return kFailed;
  if (!output.write(written.text.data(), written.text.size()) || !output.close()) {
    complain("writing '" + options.output + "' failed");
    return kFailed;
  }
  if (!output.commit()) return kFailed;
  noteSilentLosses(text.name(), analysis);
  return kSound;
}

}  // namespace tavo::tool
