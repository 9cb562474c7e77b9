// tavo import: reads a text into a new data file.
#include <array>
#include <cstdio>

#include "console.h"
#include "files.h"
#include "findings.h"
#include "record_json.h"
#include "stored_records.h"
#include "text.h"
#include "verbs.h"

namespace tavo::tool {

namespace {

using TypeCounts = std::array<uint64_t, 256>;

// What the store did with the records of an analysis.
struct Storing {
  tavo_store* store = nullptr;
  uint64_t stored = 0;
  TypeCounts notStorable{};
  TypeCounts repeated{};
  tavo_status failure = TAVO_OK;

  uint32_t operator()(const tavo_record& record) {
    const tavo_status status = tavo_store_write(store, record.type, record.bytes);
    switch (status) {
      case TAVO_OK:
        ++stored;
        return TAVO_OK;
      case TVO_ERR_NOT_STORABLE:
        ++notStorable[record.type];
        return TAVO_OK;
      case TVO_ERR_DUPLICATE:
        ++repeated[record.type];
        return TAVO_OK;
      default:
        failure = status;
        return TVO_ERR_ABORTED;
    }
  }
};

// One line for all types of one kind of loss.
void printLeftOut(const TypeCounts& counts, const char* why) {
  std::string list;
  for (uint32_t type = 0; type < counts.size(); ++type) {
    if (counts[type] == 0) continue;
    list += (list.empty() ? "" : ", ") + std::to_string(counts[type]) + " " + recordName(type);
  }
  if (!list.empty()) std::printf("note: left out, %s: %s\n", why, list.c_str());
}

// Fills a new data file. A failure has its complaint.
bool fill(const InputText& text, const char* path, Storing* storing, Analysis* analysis) {
  tavo_store_options options = TAVO_STORE_OPTIONS_INIT;
  options.mode = TAVO_STORE_CREATE;
  tavo_store* store = nullptr;
  if (tavo_store_open(&store, path, &options) != TAVO_OK) {
    complain("cannot create the data file '" + std::string(path) + "'");
    return false;
  }
  storing->store = store;
  *analysis = analyse(text, std::ref(*storing));
  const bool closed = tavo_store_close(store) == TAVO_OK;
  if (analysis->complete() && closed && storing->failure == TAVO_OK) return true;
  const tavo_status status = storing->failure != TAVO_OK ? storing->failure
                             : closed                    ? analysis->status
                                                         : tavo_status{TVO_ERR_WRITE};
  complain("filling the data file '" + std::string(path) + "' failed: " + tavo_status_text(status));
  return false;
}

}  // namespace

int import(const ImportOptions& options) {
  InputText text;
  Output file;
  std::string problem = text.open(options.file);
  if (problem.empty()) {
    problem =
        targetProblem(options.dataFile, options.file, OutputKind::kDataFile, options.overwrite);
  }
  if (problem.empty()) problem = file.open(options.dataFile, Output::Writer::kOther);
  if (!problem.empty()) {
    complain(problem);
    return kFailed;
  }
  Storing storing;
  Analysis analysis;
  if (!fill(text, file.path(), &storing, &analysis)) return kFailed;
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
  return analysis.counts.errors > 0 || !anything ? kFindings : kSound;
}

}  // namespace tavo::tool
