// tavo repair: saves what is whole in a damaged data file into a new one.
#include <cstdio>
#include <iterator>
#include <numeric>
#include <string>
#include <utility>

#include "console.h"
#include "files.h"
#include "record_json.h"
#include "stored_records.h"
#include "text.h"
#include "verbs.h"

namespace tavo::tool {

namespace {

constexpr size_t kTypes = std::size(tavo_store_repair_report{}.found);

uint64_t sum(const uint32_t (&counts)[kTypes]) {
  return std::accumulate(std::begin(counts), std::end(counts), uint64_t{0});
}

uint64_t missing(const tavo_store_repair_report& report) {
  return sum(report.damaged) + report.untraced;
}

// One line for each record type that there is anything to tell of.
void printForPerson(std::FILE* out, const tavo_store_repair_report& report) {
  std::fprintf(out, "  %10s %10s %10s  in a %s data file\n", "found", "damaged", "twice",
               kindName(report.kind));
  for (uint32_t type = 0; type < kTypes; ++type) {
    if (report.found[type] + report.damaged[type] + report.twice[type] == 0) continue;
    std::fprintf(out, "  %10u %10u %10u  ", report.found[type], report.damaged[type],
                 report.twice[type]);
    if (type == 0) {
      std::fprintf(out, "of unknown type\n");
    } else {
      std::fprintf(out, "of type %3u  %s\n", type, recordName(type).c_str());
    }
  }
  if (report.untraced > 0) {
    std::fprintf(out, "  The file's header counts %s more, of which there is no trace.\n",
                 counted(report.untraced, "record").c_str());
  }
  const uint64_t count = missing(report);
  std::fprintf(
      out, "  %s\n",
      count == 0 ? "nothing is missing" : ("missing: " + counted(count, "record")).c_str());
}

Json typesJson(const tavo_store_repair_report& report) {
  Json types = Json::object();
  for (uint32_t type = 0; type < kTypes; ++type) {
    if (report.found[type] + report.damaged[type] + report.twice[type] == 0) continue;
    types[uniqueName(type)] = {{"found", report.found[type]},
                               {"damaged", report.damaged[type]},
                               {"twice", report.twice[type]}};
  }
  return types;
}

void collect(const tavo_store_finding* finding, void* findings) {
  static_cast<Json*>(findings)->push_back(findingJson(*finding));
}

std::string statusProblem(const std::string& name, tavo_status status) {
  return status == TVO_ERR_NO_RECORD
             ? "there is no record of a data file in '" + name + "'"
             : "repairing '" + name + "' failed: " + tavo_status_text(status);
}

}  // namespace

int repair(const RepairOptions& options) {
  DataFileInput input;
  Output file;
  std::string problem =
      targetProblem(options.dataFile, options.file, OutputKind::kDataFile, options.overwrite);
  if (problem.empty()) problem = input.open(options.file);
  if (const ReadFile readable(input.path()); problem.empty() && !readable.isOpen()) {
    problem = "cannot read " + openProblem(input.name(), readable.reason());
  }
  if (problem.empty()) problem = file.open(options.dataFile, Output::Writer::kOther);
  if (!problem.empty()) {
    complain(problem);
    return kFailed;
  }
  const bool stream = isStream(options.dataFile);
  const std::string name = stream ? "(standard output)" : options.dataFile;
  tavo_store_repair_report report = TAVO_STORE_REPAIR_INIT;
  Json findings = Json::array();
  const tavo_status status = tavo_store_repair(
      input.path().c_str(), file.path(), options.json ? &collect : nullptr, &findings, &report);
  if (status != TAVO_OK) complain(statusProblem(input.name(), status));
  if (status != TAVO_OK || !file.commit()) return kFailed;
  // Where the new file goes to the standard output nothing else does.
  std::FILE* const out = stream ? stderr : stdout;
  if (options.json) {
    Json json = jsonOf("tavo-repair/1", input);
    json["output"] = toUtf8(name);
    json["status"] = missing(report) == 0 ? "whole" : "incomplete";
    json["kind"] = kindName(report.kind);
    json["found"] = sum(report.found);
    json["damaged"] = sum(report.damaged);
    json["twice"] = sum(report.twice);
    json["untraced"] = report.untraced;
    json["recordsByType"] = typesJson(report);
    json["findings"] = std::move(findings);
    printLine(json, out);
  } else {
    std::fprintf(out, "%s: %s saved in %s\n", printable(input.name()).c_str(),
                 counted(sum(report.found), "record").c_str(), printable(name).c_str());
    printForPerson(out, report);
  }
  if (!flushOutput()) return kFailed;
  return missing(report) == 0 ? kSound : kFindings;
}

}  // namespace tavo::tool
