// tavo verify: checks the inner order of a data file.
#include <cstdio>

#include "console.h"
#include "input_text.h"
#include "record_json.h"
#include "stored_records.h"
#include "text.h"
#include "verbs.h"

namespace tavo::tool {

namespace {

// The findings in one of the two forms.
struct Report {
  const VerifyOptions& options;
  std::string name;
  Json findings = Json::array();

  static void take(const tavo_store_finding* finding, void* user) {
    auto* const report = static_cast<Report*>(user);
    if (report->options.json) {
      report->findings.push_back(findingJson(*finding));
    } else {
      std::printf("%s: %s\n", report->name.c_str(), printable(finding->text).c_str());
    }
  }
};

void printForPerson(const std::string& path, const tavo_store_statistics& file) {
  std::printf("%s: %s, %s of which %u are in use (%s, %s)\n", path.c_str(),
              counted(file.file_size, "byte").c_str(), counted(file.pages_in_file, "page").c_str(),
              file.pages_in_use, counted(file.leaf_pages, "leaf page").c_str(),
              counted(file.inner_pages, "inner page").c_str());
  if (file.room_ahead > 0) {
    std::printf("  note: %s allocated ahead, still zero\n",
                counted(file.room_ahead, "byte").c_str());
  }
  if (file.keys_compared == 0) {
    std::printf("  note: keys are not compared with records, since not all of them can be read\n");
  }
  std::printf("  %s data file%s\n", kindName(file.kind),
              file.kind == TAVO_STORE_COMPLETE ? ", which keeps every record in its order"
                                               : ", which the TVO functions use");
  std::printf("  height %u, pages filled to %.1f %%\n", file.height, 100 * file.fill_factor);
  std::printf("  %s", counted(file.records, "record").c_str());
  if (file.free_numbers > 0) {
    std::printf(", %s free for reuse", counted(file.free_numbers, "number").c_str());
  }
  std::printf("\n");
  for (uint32_t type = 0; type < std::size(file.records_by_type); ++type) {
    if (file.records_by_type[type] == 0) continue;
    std::printf("  %10u of type %3u  %s\n", file.records_by_type[type], type,
                recordName(type).c_str());
  }
  if (file.findings == 0) {
    std::printf("%s: sound\n", path.c_str());
  } else {
    std::printf("%s: damaged, %s\n", path.c_str(), counted(file.findings, "finding").c_str());
  }
}

void printJson(const DataFileInput& input, const tavo_store_statistics& file, Json findings) {
  Json json = jsonOf("tavo-verify/1", input);
  json["status"] = file.findings == 0 ? "sound" : "damaged";
  json["kind"] = kindName(file.kind);
  json["fileSize"] = file.file_size;
  json["height"] = file.height;
  json["pagesInUse"] = file.pages_in_use;
  json["pagesInFile"] = file.pages_in_file;
  json["leafPages"] = file.leaf_pages;
  json["innerPages"] = file.inner_pages;
  json["fillFactor"] = file.fill_factor;
  json["records"] = file.records;
  json["freeNumbers"] = file.free_numbers;
  Json byType = Json::object();
  for (uint32_t type = 0; type < std::size(file.records_by_type); ++type) {
    if (file.records_by_type[type] > 0) byType[uniqueName(type)] = file.records_by_type[type];
  }
  json["recordsByType"] = std::move(byType);
  json["findings"] = std::move(findings);
  printLine(json);
}

}  // namespace

int verify(const VerifyOptions& options) {
  DataFileInput input;
  std::string problem = input.open(options.dataFile);
  if (problem.empty()) problem = storedProblem(input);
  if (!problem.empty()) {
    complain(problem);
    return kFailed;
  }
  Report report{options, printable(input.name())};
  tavo_store_statistics file = TAVO_STORE_STATISTICS_INIT;
  const tavo_status status = tavo_store_verify(input.path().c_str(), &Report::take, &report, &file);
  if (interrupted()) return kFailed;
  if (status != TAVO_OK) {
    complain("reading '" + input.name() + "' failed: " + tavo_status_text(status));
    return kFailed;
  }
  if (options.json) {
    printJson(input, file, std::move(report.findings));
  } else {
    printForPerson(report.name, file);
  }
  if (!flushOutput()) return kFailed;
  return file.findings == 0 ? kSound : kFindings;
}

}  // namespace tavo::tool
