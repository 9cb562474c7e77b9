// The harness's analysis runs and the readable forms of findings and records.
#include "support/analysis.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>
#include <sstream>

#include "schema/catalogue.h"
#include "schema/enums.h"
#include "schema/fields.h"

namespace tavo::tests {

namespace {

constexpr const char* kInput = "analysis.input";
constexpr const char* kLog = "analysis.log";

template <class... Args>
std::string format(const char* pattern, Args... args) {
  char buffer[400];
  std::snprintf(buffer, sizeof buffer, pattern, args...);
  return buffer;
}

template <class Value>
Value load(const void* bytes) {
  Value value;
  memcpy(&value, bytes, sizeof value);
  return value;
}

std::string enumText(EnumId id) {
  std::string_view name;
  schema::EnumName(id, &name);
  std::string text(name);
  // Names that several ids share are told apart.
  return name == "USER" ? text + std::to_string(id) : text;
}

std::string quoted(const char* text) { return '"' + std::string(text) + '"'; }

template <class Value>  // FreeValue, TimeTaggedEntry
std::string freeText(const Value& value) {
  if (value.kind == TVO_ENUM_TEXT) return quoted(value.text);
  if (value.kind == TVO_ENUM_REAL) return format("REAL %.10g", value.real);
  if (value.kind == TVO_ENUM_INT) return format("INT %d", value.integer);
  return format("kind %u", value.kind);
}

std::string dateText(const DateTime& date) {
  return format("%04d-%02d-%02d/%02d:%02d:%02d.%02d", date.year, date.month, date.day, date.hour,
                date.minute, date.second, date.hundredths);
}

std::string valueText(const schema::FieldDef& field, const uint8_t* value) {
  using enum schema::DataType;
  switch (field.type) {
    case kChar:
      return std::string("'") + static_cast<char>(*value) + "'";
    case kUint8:
      return std::to_string(*value);
    case kUint16:
      return std::to_string(load<uint16_t>(value));
    case kInt16:
      return std::to_string(load<int16_t>(value));
    case kUint32:
      return std::to_string(load<uint32_t>(value));
    case kFloat:
      return format("%.7g", load<float>(value));
    case kDouble:
      return format("%.10g", load<double>(value));
    case kBits:
      return field.width == 8 ? format("0x%02x", *value) : format("0x%04x", load<uint16_t>(value));
    case kDateTime:
      return dateText(load<DateTime>(value));
    case kText:
      return quoted(reinterpret_cast<const char*>(value));
    case kDefault: {
      const auto text = load<DefaultValue>(value);
      return text.kind == TVO_ENUM_TEXT ? quoted(text.text) : format("REAL %.10g", text.real);
    }
    case kEnum:
      return enumText(load<EnumId>(value));
    case kFree:
      return freeText(load<FreeValue>(value));
  }
  return "?";
}

std::string columnsText(RecordType type, const void* record) {
  const auto columns = load<ColumnsRecord>(record);
  for (const char c : columns.comment) EXPECT_EQ(c, 0) << "comment of columns record " << type;
  FieldId ids[TVO_COLUMNS_ROOM];
  memcpy(ids, reinterpret_cast<const char*>(&columns) + TVO_COMMENT_SIZE, sizeof ids);
  const schema::FieldDef* const table = schema::definitionTable(type);
  std::string text;
  size_t i = 0;
  for (; i < TVO_COLUMNS_ROOM && ids[i] != TVO_FIELD_End; ++i) {
    const schema::FieldDef* const field =
        table == nullptr ? nullptr : schema::findId(table, ids[i]);
    text += (i == 0 ? "" : " ") + (field == nullptr ? format("#%u", ids[i]) : field->name);
  }
  EXPECT_LT(i, size_t{TVO_COLUMNS_ROOM}) << "columns record without end mark";
  return "(" + text + ")";
}

std::string pointsText(const OperationPointsRecord& record) {
  std::string text;
  for (const OperationPoint& slot : record.points) {
    const auto point = load<OperationPoint>(&slot);
    if (point.PointNo == 0 && point.PointID[0] == '\0') continue;
    text += format(" %u", point.PointNo);
    if (point.PointID[0] != '\0') text += quoted(point.PointID);
  }
  return text;
}

std::string timeTaggedText(const TimeTaggedRecord& record) {
  std::string text = ' ' + quoted(record.Code) + ' ' + dateText(load<DateTime>(&record.TimeTag)) +
                     format(" %u", record.Number);
  const TimeTaggedEntry* entries = record.entries;
  for (int i = 0; i < record.EntryCount; ++i) {
    const auto entry = load<TimeTaggedEntry>(entries + i);
    text += format(" %s=", entry.name) + freeText(entry);
  }
  return text;
}

std::string membersText(const schema::RecordDef& def, const uint8_t* record) {
  std::string text;
  int last = -1;
  for (const schema::FieldDef& field : schema::rows(def.fields)) {
    if (field.offset == schema::kNotKept || field.offset == last) continue;
    const uint8_t* const value = record + field.offset;
    const size_t size = schema::storedSize(field.type, field.width);
    if (std::all_of(value, value + size, [](uint8_t byte) { return byte == 0; })) continue;
    last = field.offset;  // THEMINFO names one member three times
    text += format(" %s=", field.name[0] == '\0' ? "+" : field.name) + valueText(field, value);
  }
  return text;
}

struct Collector {
  std::string records;
  uint64_t count = 0;
  uint64_t abortAt = 0;

  static uint32_t deliver(void* context, const reader::DeliveredRecord& record) {
    auto* const self = static_cast<Collector*>(context);
    self->records += recordText(record.type, record.bytes) + '\n';
    // Only the low 16 bits of the answer count; other answers than "aborted" are ignored.
    return ++self->count == self->abortAt ? 0xABCD0000U | TVO_ERR_ABORTED : 0xABCD0000U | 2572;
  }
};

// "12 E2500 ABC" for a line of the log whose bytes are what they must be.
std::string findingText(const std::string& line) {
  if (line.find_first_not_of(' ') == 52 && line.compare(52, 2, ": ") == 0) {
    return "note " + line.substr(54);
  }
  int number = 0;
  int code = 0;
  char kind = 0;
  const size_t begin = line.find(": '");
  const size_t end = line.rfind("' ");
  if (begin == std::string::npos || end == std::string::npos || end < begin + 3 ||
      sscanf(line.c_str(), "line %d : %*s %c%d", &number, &kind, &code) != 3) {
    return "? " + line;
  }
  const std::string text = line.substr(begin + 3, end - begin - 3);
  const std::string message = line.substr(line.rfind(" : ") + 3);
  std::string demanded = std::to_string(number);
  demanded.insert(0, demanded.size() < 4 ? 4 - demanded.size() : 0, '0');
  demanded = "line " + demanded + (kind == 'E' ? "  : error E" : "  : warning W") +
             std::to_string(code) + (kind == 'E' ? "   : '" : " : '") + text + "'" +
             std::string(text.size() < 20 ? 20 - text.size() : 1, ' ') + " : " + message;
  if (line != demanded) return "? " + line;
  return format("%d %c%d ", number, kind, code) + text;
}

struct Losses final : reader::FindingObserver {
  void onFinding(const reader::Finding&) override {}
  void onLoss(reader::Loss loss, const reader::Finding& number) override {
    text += std::to_string(number.line.number) +
            (loss == reader::Loss::kNumber ? " number " : " digits ") + std::string(number.text) +
            '\n';
  }
  std::string text;
};

}  // namespace

std::string recordText(RecordType type, const void* record) {
  const schema::RecordDef& def = schema::recordDef(type);
  const std::string number = std::to_string(type);
  if (def.columns) return number + columnsText(type, record);
  if (type == TVO_RECORD_OPERATION_POINTS) {
    return number + pointsText(load<OperationPointsRecord>(record));
  }
  if (type == TVO_RECORD_TIME_TAGGED_CODES) {
    return number + timeTaggedText(load<TimeTaggedRecord>(record));
  }
  if (type == TVO_RECORD_OPERATIONS) {
    std::string_view name;
    schema::OperationName(load<OperationRecord>(record).Operation, &name);
    return number + ' ' + std::string(name);
  }
  return number + membersText(def, static_cast<const uint8_t*>(record));
}

void writeFile(const char* path, std::string_view bytes) {
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  ASSERT_TRUE(file.good()) << path;
}

std::string readFile(const char* path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::string repeated(std::string_view text, size_t count) {
  std::string result;
  while (count-- > 0) result += text;
  return result;
}

std::string inBlock(std::string_view section, std::string_view definition, std::string_view lines) {
  const std::string name(section);
  const std::string word(definition.substr(0, definition.find_first_of(" (")));
  return name + "\n" + std::string(definition) + "\n" + std::string(lines) + "END " + word +
         "\nEND " + name + "\n";
}

Analysed analyse(std::string_view text, const Conditions& conditions) {
  writeFile(kInput, text);
  Analysed result;
  Collector collector{{}, 0, conditions.abortAt};
  const auto own = std::make_unique<api::Library>();
  api::Library& library = conditions.library == nullptr ? *own : *conditions.library;
  api::AnalysisRequest request;
  request.inputPath = kInput;
  request.logPath = kLog;
  request.maxErrors = conditions.maxErrors;
  request.sink = {&Collector::deliver, &collector};
  Losses losses;
  if (conditions.observed) request.findings = &losses;
  result.status = library.analyse(request, &result.counts);
  result.records = collector.records;
  result.losses = losses.text;
  EXPECT_EQ(result.counts.records, collector.count);

  result.log = readFile(kLog);
  std::erase(result.log, '\r');
  const std::string summary = "\n" + std::string(kInput) + " - " +
                              std::to_string(result.counts.errors) + " error(s), " +
                              std::to_string(result.counts.warnings) + " warning(s)\n";
  const size_t end = result.log.size() - std::min(result.log.size(), summary.size());
  EXPECT_EQ(result.log.substr(end), summary);
  std::istringstream lines(result.log.substr(0, end));
  for (std::string line; std::getline(lines, line);) result.findings += findingText(line) + '\n';
  return result;
}

void expectAnalysis(const char* where, std::string_view text, std::string_view findings,
                    std::string_view records, const Conditions& conditions) {
  SCOPED_TRACE(where);
  const Analysed result = analyse(text, conditions);
  EXPECT_EQ(result.findings, findings);
  EXPECT_EQ(result.records, records);
  EXPECT_EQ(result.counts.errors != 0, result.status == TVO_ERR_ERRORS_FOUND);
}

}  // namespace tavo::tests
