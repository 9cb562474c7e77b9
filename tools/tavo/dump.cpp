// tavo dump: prints the records of a text or a data file, one JSON line each.
#include <cstdio>
#include <string>

#include "console.h"
#include "files.h"
#include "findings.h"
#include "record_json.h"
#include "store/data_file.h"
#include "stored_records.h"
#include "verbs.h"

namespace tavo::tool {

namespace {

bool printLine(const Json& line) {
  const std::string text = oneLine(line) + "\n";
  return std::fwrite(text.data(), 1, text.size(), stdout) == text.size();
}

int dumpText(const DumpOptions& options) {
  InputText text;
  if (const std::string problem = text.open(options.file); !problem.empty()) {
    complain(problem);
    return kFailed;
  }
  RecordPrinter printer(RecordPrinter::Order::kText, options.allFields);
  auto print = [&printer](RecordType type, const void* record) -> uint32_t {
    return printLine(printer.print(type, record)) ? TVO_OK : TVO_ERR_ABORTED;
  };
  api::Library library;
  const Analysis analysis = analyse(library, text, sinkOf(print));
  if (!flushOutput()) return kFailed;
  if (!analysis.readable() || analysis.status == TVO_ERR_WRITE) {
    complain("reading '" + text.name() + "' failed");
    return kFailed;
  }
  complainOfNotes(text, analysis);
  if (analysis.findings.errors() == 0 && analysis.findings.warnings() == 0) return kSound;
  complain(text.name() + ": " + analysis.summary() + " (see 'tavo check')");
  return analysis.findings.errors() > 0 ? kFindings : kSound;
}

int dumpDataFile(const DumpOptions& options) {
  StoredRecords records;
  if (const ExitStatus opened =
          records.open(options.file, StoredRecords::Use::kPrint, options.force);
      opened != kSound) {
    return opened;
  }
  RecordPrinter printer(
      records.complete() ? RecordPrinter::Order::kText : RecordPrinter::Order::kDataFile,
      options.allFields);
  uint32_t type = 0;
  void* record = nullptr;
  for (uint32_t mode = TVO_FIRST; records.fetch(mode, &type, &record) == TVO_OK; mode = TVO_NEXT) {
    if (!printLine(printer.print(type, record))) break;
  }
  if (!flushOutput()) return kFailed;
  return records.complainOfLosses() ? kFindings : kSound;
}

}  // namespace

int dump(const DumpOptions& options) {
  const bool isData =
      fileKind(options.file) == FileKind::kRegular && store::isDataFile(options.file.c_str());
  return isData ? dumpDataFile(options) : dumpText(options);
}

}  // namespace tavo::tool
