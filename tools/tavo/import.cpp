// tavo import: reads a text into a new data file.
#include <array>
#include <cstdio>
#include <cstring>
#include <set>

#include "console.h"
#include "files.h"
#include "findings.h"
#include "record_json.h"
#include "schema/keywords.h"
#include "store/complete_store.h"
#include "store/record_store.h"
#include "text.h"
#include "verbs.h"

namespace tavo::tool {

namespace {

using TypeCounts = std::array<uint64_t, schema::kRecordTypes>;

// What a complete data file did with the records of an analysis: it takes all of them.
struct CompleteStoring {
  store::CompleteStore store;
  uint64_t stored = 0;
  bool failed = false;

  bool create(const std::string& path) { return store.create(path.c_str()) == TVO_OK; }
  bool close() { return store.close() == 0; }
  bool refused() const { return false; }

  uint32_t operator()(const reader::DeliveredRecord& record) {
    failed =
        store.write({record.type, record.bytes, record.line, record.given, record.block}) != TVO_OK;
    if (failed) return TVO_ERR_ABORTED;
    ++stored;
    return TVO_OK;
  }
};

// What a compatible one did, of which the exported functions must be able to build a text: they
// know one HEADER, with each item once.
struct CompatibleStoring {
  store::RecordStore store;
  uint64_t stored = 0;
  TypeCounts notStorable{};
  TypeCounts repeated{};
  bool failed = false;
  std::string refusal;  // what breaks the build
  uint64_t refusedLine = 0;

  bool create(const std::string& path) {
    return TVO_CODE(store.setDataFile(path.c_str())) == TVO_OK;
  }
  bool close() { return store.close() == 0; }
  bool refused() const { return !refusal.empty(); }

  uint32_t operator()(const reader::DeliveredRecord& record) {
    const schema::RecordDef& def = schema::recordDef(record.type);
    if (def.columns && isHeader(def)) {
      if (const std::string item = repeatedItem(record); !item.empty()) {
        return refuse(record, "has " + item + " twice");
      }
    }
    const uint16_t status = TVO_CODE(store.write(record.type, record.bytes));
    switch (status) {
      case TVO_OK:
        ++stored;
        return TVO_OK;
      case TVO_ERR_NOT_STORABLE:
        ++notStorable[record.type];
        return TVO_OK;
      case TVO_ERR_DUPLICATE:
        if (isHeader(def)) return refuse(record, "comes again");
        ++repeated[record.type];
        return TVO_OK;
      default:
        failed = true;
        return TVO_ERR_ABORTED;
    }
  }

 private:
  uint32_t refuse(const reader::DeliveredRecord& record, const std::string& why) {
    const schema::BlockDef* const block = schema::recordDef(record.type).block;
    refusal = std::string(schema::keywordName(block->keyword)) + " " + why;
    refusedLine = record.line;
    return TVO_ERR_ABORTED;
  }

  // Of the HEADER or a block in it.
  static bool isHeader(const schema::RecordDef& def) {
    return def.block != nullptr &&
           (def.block->keyword == schema::kHeader || def.block->parent == schema::kHeader);
  }

  // Name of an item that stands in the block more than once, or an empty text.
  static std::string repeatedItem(const reader::DeliveredRecord& record) {
    ColumnsRecord columns;
    std::memcpy(&columns, record.bytes, sizeof columns);
    std::set<FieldId> seen;
    for (const FieldId id : columns.fields) {
      if (id == TVO_FIELD_End) break;
      if (seen.insert(id).second) continue;
      const schema::FieldDef* const field =
          schema::findId(schema::recordDef(record.type).fields, id);
      return field == nullptr ? "an item" : field->name;
    }
    return {};
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
template <class Storing>
bool fill(InputText& text, const NewFile& file, Storing* storing, Analysis* analysis) {
  if (!storing->create(file.path())) {
    complain("cannot create the data file '" + file.path() + "'");
    return false;
  }
  api::Library library;
  *analysis = analyse(library, text, sinkOf(*storing));
  const bool closed = storing->close();
  if (storing->refused()) return true;
  if (closed && !storing->failed && analysis->readable() && analysis->status != TVO_ERR_WRITE) {
    return true;
  }
  complain("filling the data file '" + file.path() + "' failed");
  return false;
}

void printLosses(const CompleteStoring&) {}

void printLosses(const CompatibleStoring& storing) {
  printLeftOut(storing.notStorable, "since a compatible data file does not keep these records");
  printLeftOut(storing.repeated, "since the data file has these records already");
}

void complainOfRefusal(const CompleteStoring&, const InputText&) {}

void complainOfRefusal(const CompatibleStoring& storing, const InputText& text) {
  complain(printable(text.name()) + ":" + std::to_string(storing.refusedLine) + ": " +
           storing.refusal + ", which a compatible data file cannot give back; nothing is written");
}

template <class Storing>
int importAs(const ImportOptions& options, InputText& text) {
  Storing storing;
  Analysis analysis;
  NewFile file(options.dataFile);
  if (!fill(text, file, &storing, &analysis)) return kFailed;
  if (storing.refused()) {
    complainOfRefusal(storing, text);
    return kFindings;
  }
  const bool anything = storing.stored > 0;
  if (anything && !file.commit()) return kFailed;
  printFindings(stdout, text, analysis, colourWanted());
  std::printf("%s: %s, %s stored in %s\n", printable(text.name()).c_str(),
              analysis.summary().c_str(), counted(storing.stored, "record").c_str(),
              printable(options.dataFile).c_str());
  printLosses(storing);
  if (!flushOutput()) return kFailed;
  if (!anything) complain("there is no record to store; '" + options.dataFile + "' is not written");
  return analysis.findings.errors() > 0 || !anything ? kFindings : kSound;
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
  return options.compatible ? importAs<CompatibleStoring>(options, text)
                            : importAs<CompleteStoring>(options, text);
}

}  // namespace tavo::tool
