// tavo import: reads a text into a new data file.
#include <array>
#include <cstdio>

#include "console.h"
#include "files.h"
#include "findings.h"
#include "record_json.h"
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

// One line for all types of one kind of loss.
void printLeftOut(const TypeCounts& counts, const char* why) {
  std::string list;
  for (RecordType type = 1; type <= schema::kLastRecordType; ++type) {
    if (counts[type] == 0) continue;
    list += (list.empty() ? "" : ", ") + std::to_string(counts[type]) + " " + recordName(type);
  }
  if (!list.empty()) std::printf("note: left out, %s: %s\n", why, list.c_str());
}

// Fills a new data file. A failure has its complaint.
bool fill(api::Library& library, InputText& text, const NewFile& file, Storing* storing,
          Analysis* analysis) {
  if (TVO_CODE(library.store.setDataFile(file.path().c_str())) != TVO_OK) {
    complain("cannot create the data file '" + file.path() + "'");
    return false;
  }
  library.store.closeDataFile();
  AnalysisOptions options;
  options.intoStore = true;
  *analysis = analyse(library, text, sinkOf(*storing), options);
  if (analysis->readable() && analysis->status != TVO_ERR_WRITE && storing->failure == TVO_OK) {
    return true;
  }
  complain("filling the data file '" + file.path() + "' failed");
  return false;
}

}  // namespace

int import(const ImportOptions& options) {
  InputText text;
  std::string problem = text.open(options.file);
  if (problem.empty()) {
    problem =
        targetProblem(options.dataFile, options.file, OutputKind::kDataFile, options.overwrite);
  }
  if (!problem.empty()) {
    complain(problem);
    return kFailed;
  }
  api::Library library;
  Storing storing{library.store};
  Analysis analysis;
  NewFile file(options.dataFile);
  if (!fill(library, text, file, &storing, &analysis)) return kFailed;
  const bool anything = storing.stored > 0;
  if (anything && !file.commit()) return kFailed;
  printFindings(stdout, text, analysis, colourWanted());
  std::printf("%s: %s, %s stored in %s\n", printable(text.name()).c_str(),
              analysis.summary().c_str(), counted(storing.stored, "record").c_str(),
              printable(options.dataFile).c_str());
  printLeftOut(storing.notStorable, "since a data file does not keep these records");
  printLeftOut(storing.repeated, "since the data file has these records already");
  if (!flushOutput()) return kFailed;
  if (!anything) complain("there is no record to store; '" + options.dataFile + "' is not written");
  return analysis.findings.errors() > 0 || !anything ? kFindings : kSound;
}

}  // namespace tavo::tool
