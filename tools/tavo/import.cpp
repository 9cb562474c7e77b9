// tavo import: reads a text into a new data file.
#include <array>
#include <cstddef>
#include <cstdio>
#include <functional>
#include <set>
#include <string>

#include "console.h"
#include "files.h"
#include "findings.h"
#include "record_json.h"
#include "text.h"
#include "verbs.h"

namespace tavo::tool {

namespace {

using TypeCounts = std::array<uint64_t, 256>;

// Name of an item that a columns record lists more than once, or an empty text.
std::string repeatedItem(const tavo_record& record) {
  const auto* const fields =
      static_cast<const char*>(record.bytes) + offsetof(ColumnsRecord, fields);
  std::set<FieldId> seen;
  for (size_t i = 0; i < TVO_COLUMNS_ROOM; ++i) {
    const auto id = load<FieldId>(fields + i * sizeof(FieldId));
    if (id == TVO_FIELD_End) break;
    if (id == 0 || seen.insert(id).second) continue;
    const char* const name = tavo_schema_column_name(tavo_schema_block_of(record.type), id);
    return name == nullptr ? "an item" : name;
  }
  return {};
}

// What the store did with the records of an analysis.
struct Storing {
  tavo_store* store = nullptr;
  bool compatible = false;
  uint64_t stored = 0;
  TypeCounts notStorable{};
  TypeCounts repeated{};
  TypeCounts withoutValues{};
  tavo_status failure = TAVO_OK;
  std::string refusal;  // what would break the build from a compatible data file
  uint64_t refusedLine = 0;

  uint32_t operator()(const tavo_record& record) {
    const bool header = compatible && isHeader(record.type);
    const bool columns = tavo_schema_block_of(record.type)->columns_type == record.type;
    if (header && columns) {
      if (const std::string item = repeatedItem(record); !item.empty()) {
        return refuse(record, "has " + item + " twice");
      }
    }
    const tavo_status status = tavo_store_append(store, &record);
    switch (status) {
      case TAVO_OK:
        ++stored;
        if (compatible && record.type == TVO_RECORD_TIME_TAGGED_CODES) ++withoutValues[record.type];
        return TAVO_OK;
      case TVO_ERR_NOT_STORABLE:
        ++notStorable[record.type];
        return TAVO_OK;
      case TVO_ERR_DUPLICATE:
        if (header) return refuse(record, "comes again");
        ++repeated[record.type];
        return TAVO_OK;
      default:
        failure = status;
        return TVO_ERR_ABORTED;
    }
  }

 private:
  uint32_t refuse(const tavo_record& record, const std::string& why) {
    refusal = std::string(tavo_schema_block_of(record.type)->keyword) + " " + why;
    refusedLine = record.line;
    return TVO_ERR_ABORTED;
  }
};

// One line for all types of one kind of loss.
void printLeftOut(std::FILE* out, const TypeCounts& counts, const char* what) {
  std::string list;
  for (uint32_t type = 0; type < counts.size(); ++type) {
    if (counts[type] == 0) continue;
    list += (list.empty() ? "" : ", ") + std::to_string(counts[type]) + " " + recordName(type);
  }
  if (!list.empty()) std::fprintf(out, "note: %s: %s\n", what, list.c_str());
}

// Fills a new data file. A failure has its complaint.
bool fill(const InputText& text, const Output& file, const std::string& name, Storing* storing,
          Analysis* analysis) {
  tavo_store_options options = TAVO_STORE_OPTIONS_INIT;
  options.mode = TAVO_STORE_CREATE;
  options.kind = storing->compatible ? TAVO_STORE_COMPATIBLE : TAVO_STORE_COMPLETE;
  tavo_store* store = nullptr;
  if (tavo_store_open(&store, file.path(), &options) != TAVO_OK) {
    complain("cannot create the data file '" + name + "'");
    return false;
  }
  storing->store = store;
  *analysis = analyse(text, std::ref(*storing));
  const bool closed = tavo_store_close(store) == TAVO_OK;
  if (!storing->refusal.empty()) return true;
  if (analysis->complete() && closed && storing->failure == TAVO_OK) return true;
  const tavo_status status = storing->failure != TAVO_OK ? storing->failure
                             : closed                    ? analysis->status
                                                         : tavo_status{TVO_ERR_WRITE};
  complain("filling the data file '" + name + "' failed: " + tavo_status_text(status));
  return false;
}

void printReport(std::FILE* out, const InputText& text, const Analysis& analysis,
                 const Storing& storing, const std::string& name) {
  printFindings(out, text, analysis, out == stdout && colourWanted());
  std::fprintf(out, "%s: %s, %s stored in %s\n", printable(text.name()).c_str(),
               analysis.summary().c_str(), counted(storing.stored, "record").c_str(),
               printable(name).c_str());
  printLeftOut(out, storing.notStorable,
               "left out, since a compatible data file does not keep these records");
  printLeftOut(out, storing.repeated, "left out, since the data file has these records already");
  printLeftOut(out, storing.withoutValues,
               "not given back, since a compatible data file does not keep their values");
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
  const bool stream = isStream(options.dataFile);
  const std::string name = stream ? "(standard output)" : options.dataFile;
  Storing storing;
  storing.compatible = options.compatible;
  Analysis analysis;
  if (!fill(text, file, name, &storing, &analysis)) return kFailed;
  if (!storing.refusal.empty()) {
    complain(text.name() + ":" + std::to_string(storing.refusedLine) + ": " + storing.refusal +
             ", which a compatible data file cannot give back; nothing is written");
    return kFindings;
  }
  const bool anything = storing.stored > 0;
  if (anything && !file.commit()) return kFailed;
  printReport(stream ? stderr : stdout, text, analysis, storing, name);
  if (!flushOutput()) return kFailed;
  if (!anything) complain("there is no record to store; '" + name + "' is not written");
  return analysis.counts.errors > 0 || !anything ? kFindings : kSound;
}

}  // namespace tavo::tool
