// tavo verify: checks the inner order of a data file.
#include <cstdio>

#include "console.h"
#include "record_json.h"
#include "store/data_file.h"
#include "stored_records.h"
#include "text.h"
#include "verbs.h"

namespace tavo::tool {

namespace {

void printStatistics(const std::string& path, const store::DataFileStatistics& file) {
  std::printf("%s: %s, %s of which %u are in use (%s, %s)\n", path.c_str(),
              counted(file.fileSize, "byte").c_str(), counted(file.pagesInFile, "page").c_str(),
              file.pagesInUse, counted(file.leafPages, "leaf page").c_str(),
              counted(file.innerPages, "inner page").c_str());
  if (file.roomAhead > 0) {
    std::printf("  note: %s allocated ahead, still zero\n",
                counted(file.roomAhead, "byte").c_str());
  }
  if (!file.keysCompared) {
    std::printf("  note: keys are not compared with records, since not all of them can be read\n");
  }
  std::printf("  height %u, pages filled to %.1f %%\n", file.height, 100 * file.fillFactor);
  if (file.kind == store::FileKind::kComplete) std::printf("  complete: every record in order\n");
  std::printf("  %s", counted(file.records, "record").c_str());
  if (file.freeNumbers > 0) {
    std::printf(", %s free for reuse", counted(file.freeNumbers, "number").c_str());
  }
  std::printf("\n");
  for (RecordType type = 1; type <= schema::kLastRecordType; ++type) {
    if (file.recordsByType[type] == 0) continue;
    std::printf("  %10u of type %3u  %s\n", file.recordsByType[type], type,
                recordName(type).c_str());
  }
}

}  // namespace

int verify(const std::string& dataFile) {
  if (const std::string problem = storedProblem(dataFile); !problem.empty()) {
    complain(problem);
    return kFailed;
  }
  store::DataFileStatistics file;
  const auto report = [&](const store::DataFileFinding& finding) {
    std::printf("%s: %s\n", dataFile.c_str(), finding.text.c_str());
  };
  if (const int code = store::verifyDataFile(dataFile.c_str(), report, &file); code != 0) {
    complain("reading '" + dataFile + "' failed (engine code " + std::to_string(code) + ")");
    return kFailed;
  }
  printStatistics(dataFile, file);
  if (file.findings == 0) {
    std::printf("%s: sound\n", dataFile.c_str());
  } else {
    std::printf("%s: damaged, %s\n", dataFile.c_str(), counted(file.findings, "finding").c_str());
  }
  if (!flushOutput()) return kFailed;
  return file.findings == 0 ? kSound : kFindings;
}

}  // namespace tavo::tool
