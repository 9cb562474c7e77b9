// tavo dump: prints the records of a text or a data file, one JSON line each, behind a line that
// says in which units.
#include <cstdio>
#include <cstring>
#include <string>

#include "console.h"
#include "files.h"
#include "findings.h"
#include "record_json.h"
#include "stored_records.h"
#include "text.h"
#include "verbs.h"

namespace tavo::tool {

namespace {

constexpr char kShape[] = "tavo-dump/1";

RecordPrinter::Values valuesOf(const DumpOptions& options) {
  return options.si ? RecordPrinter::Values::kSi : RecordPrinter::Values::kFile;
}

// Follows the units that the first records, those of the HEADER, set.
struct HeaderUnits {
  tavo_units units = *tavo_default_units();
  ColumnsRecord columns{};

  // False for a record that belongs to no HEADER.
  bool take(const tavo_record& record) {
    const tavo_schema_block* const block = tavo_schema_block_of(record.type);
    if (!isHeader(record.type)) return false;
    if (record.type == block->columns_type) std::memcpy(&columns, record.bytes, sizeof columns);
    tavo_units_follow(&units, &columns, record.type, record.bytes);
    return true;
  }
};

// Those that stand behind the first HEADER of a text: a later one is told of where it comes.
tavo_units firstUnits(const InputText& text) {
  HeaderUnits first;
  const auto take = [&first](const tavo_record& record) -> uint32_t {
    return first.take(record) ? uint32_t{TAVO_OK} : uint32_t{TVO_ERR_ABORTED};
  };
  AnalysisOptions options;
  options.progress = false;
  analyse(text, take, options);
  return first.units;
}

// The head of the output, and again whenever a HEADER changes the units.
class UnitsLine {
 public:
  UnitsLine(Json head, const DumpOptions& options, const tavo_units& units)
      : si_(options.si), said_(unitsJson(units)) {
    head["units"] = options.si ? "si" : "file";
    head["in"] =
        si_ ? Json{{"angular", "radian"}, {"linear", "metre"}, {"geographic", "radian"}} : said_;
    printLine(head);
  }

  bool follow(const tavo_units& units) {
    Json now = unitsJson(units);
    if (si_ || now == said_) return true;
    said_ = now;
    return printLine({{"in", std::move(now)}});
  }

 private:
  bool si_;
  Json said_;
};

// head: what was read of the standard input already.
int dumpText(const DumpOptions& options, const std::string& head) {
  InputText text;
  if (const std::string problem = text.open(options.file, head); !problem.empty()) {
    complain(problem);
    return kFailed;
  }
  const tavo_units first = firstUnits(text);
  UnitsLine units(jsonOf(kShape, text), options, first);
  RecordPrinter printer(RecordPrinter::Order::kText, valuesOf(options), options.allFields);
  const auto print = [&](const tavo_record& record) -> uint32_t {
    const bool printed = printLine(printer.print(record.type, record.bytes));
    // What the first HEADER sets stands in the head.
    const bool later = record.type == TVO_RECORD_UNITS && units.follow(printer.units());
    return printed || later ? uint32_t{TAVO_OK} : uint32_t{TVO_ERR_ABORTED};
  };
  const Analysis analysis = analyse(text, print);
  if (!flushOutput()) return kFailed;
  if (!analysis.complete()) {
    complain("reading '" + text.name() + "' failed: " + tavo_status_text(analysis.status));
    return kFailed;
  }
  complainOfNotes(text, analysis);
  if (analysis.counts.errors == 0 && analysis.counts.warnings == 0) return kSound;
  complain(text.name() + ": " + analysis.summary() + " (see 'tavo check')");
  return analysis.counts.errors > 0 ? kFindings : kSound;
}

int dumpDataFile(const DumpOptions& options, const std::string& streamed) {
  DataFileInput file;
  if (const std::string problem = file.open(options.file, streamed); !problem.empty()) {
    complain(problem);
    return kFailed;
  }
  // Before the file is open, since nobody else reads it then.
  Json head = jsonOf(kShape, file);
  StoredRecords records;
  if (const ExitStatus opened = records.open(file, StoredRecords::Use::kPrint, options.force);
      opened != kSound) {
    return opened;
  }
  // A compatible one keeps one HEADER, in front of everything else.
  const auto order =
      records.complete() ? RecordPrinter::Order::kText : RecordPrinter::Order::kDataFile;
  RecordPrinter printer(order, valuesOf(options), options.allFields);
  tavo_record record{};
  HeaderUnits first;
  uint32_t move = TVO_FIRST;
  while (records.fetch(move, &record) == TAVO_OK && first.take(record)) move = TVO_NEXT;
  UnitsLine units(std::move(head), options, first.units);
  for (move = TVO_FIRST; records.fetch(move, &record) == TAVO_OK; move = TVO_NEXT) {
    if (!printLine(printer.print(record.type, record.bytes))) break;
    if (record.type == TVO_RECORD_UNITS && !units.follow(printer.units())) break;
    if (interrupted()) return kFailed;
  }
  if (!flushOutput()) return kFailed;
  return records.complainOfLosses() ? kFindings : kSound;
}

}  // namespace

int dump(const DumpOptions& options) {
  const std::string head = isStream(options.file) ? streamHead() : std::string();
  const bool stored = isDataFile(options.file) || tavo_is_data_file(head.data(), head.size()) != 0;
  return stored ? dumpDataFile(options, head) : dumpText(options, head);
}

}  // namespace tavo::tool
