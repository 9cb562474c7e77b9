// tavo import: reads a text into a new data file.
#include <array>
#include <cstdio>

#include "console.h"
#include "files.h"
#include "findings.h"
#include "record_json.h"
#include "store/data_file.h"
#include "text.h"
#include "verbs.h"

namespace tavo::tool {

namespace {

using TypeCounts = std::array<uint64_t, schema::kRecordTypes>;

// What the store did with the records of an analysis.
struct Storing {
  store::RecordStore& store;
  uint64_t stored = 0;
  TypeCounts notStorable{};
  TypeCounts repeated{};
  uint16_t failure = TVO_OK;

  uint32_t operator()(RecordType type, const void* record) {
    const uint16_t status = TVO_CODE(store.write(type, record));
    switch (status) {
      case TVO_OK:
        ++stored;
        return TVO_OK;
      case TVO_ERR_NOT_STORABLE:
        ++notStorable[type];
        return TVO_OK;
      case TVO_ERR_DUPLICATE:
        ++repeated[type];
        return TVO_OK;
      default:
        failure = status;
        return TVO_ERR_ABORTED;
    }
  }
};

std::string importProblem(const ImportOptions& options) {
  std::string problem = textProblem(options.file);
  if (problem.empty()) problem = targetProblem(options.dataFile, options.file);
  if (problem.empty() && fileSize(options.dataFile) > 0 &&
      !store::isDataFile(options.dataFile.c_str())) {
    problem = "'" + options.dataFile + "' is there and no data file; it is not overwritten";
  }
  return problem;
}

// One line for all types of one kind of loss.
void printLeftOut(const TypeCounts& counts, const char* why) {
  std::string list;
  for (RecordType type = 1; type <= schema::kLastRecordType; ++type) {
    if (counts[type] == 0) continue;
    list += (list.empty() ? "" : ", ") + std::to_string(counts[type]) + " " + recordName(type);
  }
  if (!list.empty()) std::printf("note: left out, %s: %s\n", why, list.c_str());
}

}  // namespace

int import(const ImportOptions& options) {
  if (const std::string problem = importProblem(options); !problem.empty()) {
    complain(problem);
    return kFailed;
  }
  api::Library library;
  if (TVO_CODE(library.store.setDataFile(options.dataFile.c_str())) != TVO_OK) {
    complain("cannot create the data file '" + options.dataFile + "'");
    return kFailed;
  }
  library.store.closeDataFile();
  Storing storing{library.store};
  AnalysisOptions analysisOptions;
  analysisOptions.intoStore = true;
  const Analysis analysis = analyse(library, options.file, sinkOf(storing), analysisOptions);
  if (!analysis.readable() || analysis.status == TVO_ERR_WRITE || storing.failure != TVO_OK) {
    complain("filling the data file '" + options.dataFile + "' failed");
    return kFailed;
  }
  printFindings(stdout, options.file, analysis.findings, colourWanted());
  std::printf("%s: %s, %s stored in %s\n", options.file.c_str(), analysis.summary().c_str(),
              counted(storing.stored, "record").c_str(), options.dataFile.c_str());
  printLeftOut(storing.notStorable, "since a data file does not keep these records");
  printLeftOut(storing.repeated, "since the data file has these records already");
  if (!flushOutput()) return kFailed;
  return analysis.findings.errors() > 0 ? kFindings : kSound;
}

}  // namespace tavo::tool
