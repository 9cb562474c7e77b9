// tavo dump: prints the records of a text or a data file, one JSON line each, behind a line that
// says in which units.
#include <cstdio>
#include <string>

#include "console.h"
#include "files.h"
#include "findings.h"
#include "record_json.h"
#include "stored_records.h"
#include "verbs.h"

namespace tavo::tool {

namespace {

constexpr char kShape[] = "tavo-dump/1";

RecordPrinter::Values valuesOf(const DumpOptions& options) {
  return options.si ? RecordPrinter::Values::kSi : RecordPrinter::Values::kFile;
}

// The units in force behind the first HEADER: lines that follow name those that change.
tavo_units firstUnits(const InputText& text) {
  struct Look {
    tavo_units units = *tavo_default_units();
    ColumnsRecord columns{};
  } look;
  const auto take = [&look](const tavo_record& record) -> uint32_t {
    const tavo_schema_block* const block = tavo_schema_block_of(record.type);
    const bool header =
        std::string_view(block->parent) == "HEADER" || std::string_view(block->keyword) == "HEADER";
    if (!header) return TVO_ERR_ABORTED;
    if (record.type == block->columns_type)
      std::memcpy(&look.columns, record.bytes, sizeof look.columns);
    tavo_units_follow(&look.units, &look.columns, record.type, record.bytes);
    return TAVO_OK;
  };
  analyse(text, take, {.progress = false});
  return look.units;
}

// The head of the output, and again whenever a HEADER changes the units.
class UnitsLine {
 public:
  UnitsLine(Json head, const DumpOptions& options, const tavo_units& units)
      : si_(options.si), said_(units) {
    head["units"] = options.si ? "si" : "file";
    head["in"] = si_ ? Json{{"angular", "radian"}, {"linear", "metre"}, {"geographic", "radian"}}
                     : unitsJson(units);
    printLine(head);
  }

  bool follow(const tavo_units& units) {
    if (si_ || std::memcmp(&units, &said_, sizeof units) == 0) return true;
    said_ = units;
    return printLine({{"in", unitsJson(units)}});
  }

 private:
  bool si_;
  tavo_units said_;
};

int dumpText(const DumpOptions& options) {
  InputText text;
  if (const std::string problem = text.open(options.file); !problem.empty()) {
    complain(problem);
    return kFailed;
  }
  const tavo_units first = firstUnits(text);
  UnitsLine head(jsonOf(kShape, text), options, first);
  RecordPrinter printer(RecordPrinter::Order::kText, valuesOf(options), options.allFields);
  const auto print = [&](const tavo_record& record) -> uint32_t {
    const bool printed = printLine(printer.print(record.type, record.bytes));
    // What the first HEADER sets stands in the head.
    const bool later = record.type == TVO_RECORD_UNITS && head.follow(printer.units());
    return printed || later ? TAVO_OK : TVO_ERR_ABORTED;
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

}  // namespace

int dump(const DumpOptions& options) {
  return isDataFile(options.file) ? dumpDataFile(options) : dumpText(options);
}

}  // namespace tavo::tool
