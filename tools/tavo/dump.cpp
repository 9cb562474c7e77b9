// tavo dump: prints the records of a text or a data file, one JSON line each, behind a line that
// says in which units.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "console.h"
#include "csv.h"
#include "files.h"
#include "findings.h"
#include "record_json.h"
#include "stored_records.h"
#include "text.h"
#include "verbs.h"

namespace tavo::tool {

namespace {

constexpr char kShape[] = "tavo-dump/1";

RecordPrinter::Values valuesOf(const DumpOptions& options) {
  return options.si ? RecordPrinter::Values::kSi : RecordPrinter::Values::kFile;
}

// Follows the units that the first records, those of the HEADER, set.
struct HeaderUnits {
  tavo_units units = *tavo_default_units();
  ColumnsRecord columns{};

  // False for a record that belongs to no HEADER.
  bool take(const tavo_record& record) {
    const tavo_schema_block* const block = tavo_schema_block_of(record.type);
    if (!isHeader(record.type)) return false;
    if (record.type == block->columns_type) std::memcpy(&columns, record.bytes, sizeof columns);
    tavo_units_follow(&units, &columns, record.type, record.bytes);
    return true;
  }
};

// Which record types are printed: all, or those that the words name by number, record name, keyword
// or path.
class Filter {
 public:
  // False, with a complaint, for a word that names none.
  bool set(const std::vector<std::string>& words) {
    for (const std::string& word : words) {
      const size_t before = wanted_.size();
      for (uint32_t type = 1; type < kTypes; ++type) {
        if (names(word, type)) wanted_.insert(type);
      }
      if (wanted_.size() > before || again(word)) continue;
      complain("'" + word + "' is no block or record type; see 'tavo schema'");
      return false;
    }
    return true;
  }
  bool wants(uint32_t type) const { return wanted_.empty() || wanted_.contains(type); }
  // Whether the record tells something about others: columns, or units.
  static bool leads(uint32_t type) {
    const tavo_schema_block* const block = tavo_schema_block_of(type);
    return type == block->columns_type || type == TVO_RECORD_UNITS || type == TVO_RECORD_OFFSETS;
  }

 private:
  static constexpr uint32_t kTypes = 256;

  static bool names(const std::string& word, uint32_t type) {
    const tavo_schema_block* const block = tavo_schema_block_of(type);
    if (block == nullptr) return false;
    if (word == std::to_string(type) || word == recordName(type)) return true;
    return type != block->columns_type && ("/" + blockPath(block)).ends_with("/" + word);
  }
  bool again(const std::string& word) const {
    return std::ranges::any_of(wanted_, [&](uint32_t type) { return names(word, type); });
  }

  std::set<uint32_t> wanted_;
};

// One table of all records that are asked for. Its columns are those that the files declare.
class CsvTable {
 public:
  explicit CsvTable(const Filter& filter) : filter_(filter) {}

  // Takes the columns of the records before any is printed.
  void prepare(const tavo_record& record) {
    const tavo_schema_block* const block = tavo_schema_block_of(record.type);
    if (record.type == block->columns_type) {
      if (block->field_count > 0 && filter_.wants(block->data_type)) {
        addColumns(block, static_cast<const char*>(record.bytes));
      }
    } else if (filter_.wants(record.type) && block->field_count == 0) {
      for (const auto& [type, name] : kFixed) {
        if (type == record.type) add(name);
      }
    }
  }

  bool printHead() const {
    std::vector<std::string> head{"file", "name"};
    head.insert(head.end(), columns_.begin(), columns_.end());
    return printed(head);
  }
  bool print(const std::string& file, const Json& record) const {
    std::vector<std::string> row{file, record["name"].get<std::string>()};
    const Json& fields = record.contains("fields") ? record["fields"] : record;
    for (const std::string& name : columns_) {
      const auto at = fields.find(name);
      row.push_back(at == fields.end() ? ""
                    : at->is_string()  ? at->get<std::string>()
                                       : oneLine(*at));
    }
    return printed(row);
  }

 private:
  // Columns of records that no field table describes.
  static constexpr struct {
    uint32_t type;
    const char* name;
  } kFixed[] = {
      {TVO_RECORD_TIME_TAGGED_CODES, "Code"},   {TVO_RECORD_TIME_TAGGED_CODES, "TimeTag"},
      {TVO_RECORD_TIME_TAGGED_CODES, "Number"}, {TVO_RECORD_TIME_TAGGED_CODES, "values"},
      {TVO_RECORD_OPERATIONS, "Operation"},     {TVO_RECORD_OPERATION_POINTS, "points"},
  };

  static bool printed(const std::vector<std::string>& cells) {
    std::string line;
    appendCsvLine(cells, EdgeBlanks::kPlain, &line);
    return std::fwrite(line.data(), 1, line.size(), stdout) == line.size();
  }
  void add(const std::string& name) {
    if (std::ranges::find(columns_, name) == columns_.end()) columns_.push_back(name);
  }
  void addColumns(const tavo_schema_block* block, const char* record) {
    std::set<FieldId> declared;
    for (size_t i = 0; i < TVO_COLUMNS_ROOM; ++i) {
      const auto id = load<FieldId>(record + offsetof(ColumnsRecord, fields) + i * sizeof(FieldId));
      if (id == TVO_FIELD_End) break;
      declared.insert(id);
    }
    const tavo_schema_field* field = nullptr;
    for (size_t i = 0; (field = tavo_schema_field_at(block, i)) != nullptr; ++i) {
      const bool kept = field->offset != UINT32_MAX;
      if (kept && (field->hidden != 0 || declared.contains(field->id))) add(field->name);
    }
  }

  const Filter& filter_;
  std::vector<std::string> columns_;
};

// What all files of a call have in common. Without a table records are JSON lines.
struct Dump {
  const DumpOptions& options;
  Filter filter;
  std::optional<CsvTable> table;
};

// The head of the output, and again whenever a HEADER changes the units. A table has no place for
// them, so that only a change is told.
class UnitsLine {
 public:
  UnitsLine(Json head, const Dump& dump, const tavo_units& units)
      : dump_(dump), file_(head["file"]), said_(unitsJson(units)) {
    if (dump.table) return;
    const bool si = dump.options.si;
    head["units"] = si ? "si" : "file";
    head["in"] =
        si ? Json{{"angular", "radian"}, {"linear", "metre"}, {"geographic", "radian"}} : said_;
    printLine(head);
  }

  bool follow(const tavo_units& units) {
    Json now = unitsJson(units);
    if (dump_.options.si || now == said_) return true;
    said_ = now;
    if (!dump_.table) return printLine({{"in", std::move(now)}});
    complain(file_ + ": the units change within the file; use --units si for one table");
    return true;
  }

 private:
  const Dump& dump_;
  std::string file_;
  Json said_;
};

// Prints a record that is wanted, and lets the printer know of others.
bool printRecord(const Dump& dump, const std::string& file, const tavo_record& record,
                 RecordPrinter* printer) {
  const bool wanted = dump.filter.wants(record.type);
  if (!wanted && !Filter::leads(record.type)) return true;
  const Json line = printer->print(record.type, record.bytes);
  if (!wanted) return true;
  if (!dump.table) return printLine(line);
  const bool columns = record.type == tavo_schema_block_of(record.type)->columns_type;
  return columns || dump.table->print(file, line);
}

// Calls take with each record of a text as long as it returns true.
template <class Function>
Analysis eachRecord(const InputText& text, Function take, bool progress) {
  AnalysisOptions options;
  options.progress = progress;
  return analyse(
      text,
      [&take](const tavo_record& record) -> uint32_t {
        return take(record) ? uint32_t{TAVO_OK} : uint32_t{TVO_ERR_ABORTED};
      },
      options);
}

ExitStatus dumpText(const Dump& dump, const InputText& text) {
  HeaderUnits first;
  eachRecord(
      text, [&first](const tavo_record& record) { return first.take(record); }, false);
  UnitsLine head(jsonOf(kShape, text), dump, first.units);
  RecordPrinter printer(RecordPrinter::Order::kText, valuesOf(dump.options),
                        dump.options.allFields);
  const std::string name = toUtf8(text.name());
  const auto print = [&](const tavo_record& record) {
    const bool printed = printRecord(dump, name, record, &printer);
    // What the first HEADER sets stands in the head.
    return printed && (record.type != TVO_RECORD_UNITS || head.follow(printer.units()));
  };
  const Analysis analysis = eachRecord(text, print, true);
  if (!flushOutput()) return kFailed;
  if (!isWhole(text, analysis)) return kFailed;
  complainOfNotes(text, analysis);
  return complainOfFindings(text, analysis, true);
}

ExitStatus dumpDataFile(const Dump& dump, const std::string& path, const std::string& streamed) {
  DataFileInput file;
  if (const std::string problem = file.open(path, streamed); !problem.empty()) {
    complain(problem);
    return kFailed;
  }
  // Before the file is open, since nobody else reads it then.
  Json head = jsonOf(kShape, file);
  StoredRecords records;
  if (const ExitStatus opened = records.open(file, StoredRecords::Use::kPrint, dump.options.force);
      opened != kSound) {
    return opened;
  }
  // A compatible one keeps one HEADER, in front of everything else.
  const auto order =
      records.complete() ? RecordPrinter::Order::kText : RecordPrinter::Order::kDataFile;
  RecordPrinter printer(order, valuesOf(dump.options), dump.options.allFields);
  tavo_record record{};
  HeaderUnits first;
  uint32_t move = TVO_FIRST;
  while (records.fetch(move, &record) == TAVO_OK && first.take(record)) move = TVO_NEXT;
  UnitsLine units(std::move(head), dump, first.units);
  const std::string name = toUtf8(path);
  for (move = TVO_FIRST; records.fetch(move, &record) == TAVO_OK; move = TVO_NEXT) {
    if (!printRecord(dump, name, record, &printer)) break;
    if (record.type == TVO_RECORD_UNITS && !units.follow(printer.units())) break;
    if (interrupted()) return kFailed;
  }
  if (!flushOutput()) return kFailed;
  return records.complainOfLosses() ? kFindings : kSound;
}

// The columns of a table, out of all files, before anything of it is printed. Whatever is wrong
// with a file is told when it is printed.
void prepareTable(Dump* dump) {
  const auto take = [dump](const tavo_record& record) {
    dump->table->prepare(record);
    return true;
  };
  for (const std::string& path : dump->options.files) {
    if (!isDataFile(path)) {
      InputText text;
      if (text.open(path).empty()) eachRecord(text, take, false);
      continue;
    }
    DataFileInput file;
    StoredRecords records;
    if (!file.open(path).empty()) continue;
    if (records.open(file, StoredRecords::Use::kPrint, dump->options.force) != kSound) continue;
    tavo_record record{};
    for (uint32_t move = TVO_FIRST; records.fetch(move, &record) == TAVO_OK; move = TVO_NEXT) {
      take(record);
    }
  }
  dump->table->printHead();
}

}  // namespace

int dump(const DumpOptions& options) {
  Dump dump{options, {}, {}};
  if (!dump.filter.set(options.types)) return kFailed;
  if (options.form == Form::kCsv) {
    if (options.types.empty()) {
      complain("a table needs --type, the blocks that are in it");
      return kFailed;
    }
    if (std::ranges::find(options.files, "-") != options.files.end()) {
      complain("a table is made in two readings, which the standard input does not allow");
      return kFailed;
    }
    dump.table.emplace(dump.filter);
    prepareTable(&dump);
  }
  int status = kSound;
  for (const std::string& path : options.files) {
    ExitStatus result = kFailed;
    const InputKind kind = inputKind(path);
    if (kind.stored) {
      result = dumpDataFile(dump, path, kind.head);
    } else {
      InputText text;
      if (const std::string problem = text.open(path, kind.head); !problem.empty()) {
        complain(problem);
      } else {
        result = dumpText(dump, text);
      }
    }
    status = std::max(status, static_cast<int>(result));
  }
  return status;
}

}  // namespace tavo::tool
