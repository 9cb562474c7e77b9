// tavo repair: saves what is whole in a damaged data file into a new one.
#include "store/repair.h"

#include <cstdio>

#include "console.h"
#include "files.h"
#include "record_json.h"
#include "text.h"
#include "verbs.h"

namespace tavo::tool {

namespace {

// One line for each record type that there is anything to tell of.
void printReport(const store::RepairReport& report) {
  std::printf("  %10s %10s %10s\n", "found", "damaged", "twice");
  for (RecordType type = 0; type < schema::kRecordTypes; ++type) {
    const uint32_t found = report.found[type];
    const uint32_t damaged = report.damaged[type];
    const uint32_t twice = report.twice[type];
    if (found + damaged + twice == 0) continue;
    std::printf("  %10u %10u %10u  ", found, damaged, twice);
    if (type == 0) {
      std::printf("of unknown type\n");
    } else {
      std::printf("of type %3u  %s\n", type, recordName(type).c_str());
    }
  }
  if (report.untraced > 0) {
    std::printf("  The file's header counts %s more, of which there is no trace.\n",
                counted(report.untraced, "record").c_str());
  }
}

std::string sourceProblem(const std::string& path) {
  switch (fileKind(path)) {
    case FileKind::kMissing:
      return "cannot read '" + path + "'";
    case FileKind::kRegular:
      return {};
    default:
      return "'" + path + "' is not a regular file";
  }
}

}  // namespace

int repair(const RepairOptions& options) {
  std::string problem = sourceProblem(options.file);
  if (problem.empty()) {
    problem =
        targetProblem(options.dataFile, options.file, OutputKind::kDataFile, options.overwrite);
  }
  if (!problem.empty()) {
    complain(problem);
    return kFailed;
  }
  NewFile file(options.dataFile);
  store::RepairReport report;
  const int code = store::repairDataFile(options.file.c_str(), file.path().c_str(), &report);
  if (code == engine::kBadSignature) {
    complain("there is no record of a data file in '" + options.file + "'");
    return kFailed;
  }
  if (code != engine::kOk) {
    complain("repairing '" + options.file + "' failed (engine code " + std::to_string(code) + ")");
    return kFailed;
  }
  if (!file.commit()) return kFailed;
  std::printf("%s: %s saved in %s\n", printable(options.file).c_str(),
              counted(report.total(report.found), "record").c_str(),
              printable(options.dataFile).c_str());
  printReport(report);
  const uint64_t missing = uint64_t{report.total(report.damaged)} + report.untraced;
  std::printf("%s\n", missing == 0 ? "  nothing is missing"
                                   : ("  missing: " + counted(missing, "record")).c_str());
  if (!flushOutput()) return kFailed;
  return report.complete() ? kSound : kFindings;
}

}  // namespace tavo::tool
