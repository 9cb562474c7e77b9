// Sound records of every type and content, drawn from a random engine or from the bytes of a
// fuzzer's input, and the reading of a text into records.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>
#include <random>
#include <span>
#include <string>
#include <vector>

#include "reader/run.h"
#include "schema/catalogue.h"
#include "schema/enums.h"
#include "sections/sections.h"
#include "support/replay.h"

namespace tavo::tests {

// Settings and units of a text.
struct TextCase {
  bool align;
  char separator, terminator;
  EnumId angular, linear, geographic, dateOrder;
  TVO_Decimals decimals;
};

// Numbers from an engine, or from bytes; zeros when these are spent.
class Dice {
 public:
  explicit Dice(uint32_t seed) : engine_(seed) {}
  explicit Dice(std::span<const uint8_t> bytes) : bytes_(bytes), scripted_(true) {}

  uint32_t next(size_t bytes = 4) {
    if (!scripted_) return static_cast<uint32_t>(engine_());
    uint32_t value = 0;
    for (; bytes > 0 && !bytes_.empty(); --bytes, bytes_ = bytes_.subspan(1)) {
      value = value << 8 | bytes_.front();
    }
    return value;
  }
  uint32_t below(uint32_t limit) { return next(limit <= 256 ? 1 : 4) % limit; }
  bool spent() const { return scripted_ && bytes_.empty(); }

 private:
  std::mt19937 engine_;
  std::span<const uint8_t> bytes_;
  bool scripted_ = false;
};

class Findings final : public reader::FindingObserver {
 public:
  void onFinding(const reader::Finding& finding) override {
    all += std::to_string(finding.number) + " line " + std::to_string(finding.line.number) + ": " +
           std::string(finding.text) + "\n";
  }
  std::string all;
};

// Collects the records of a text; the findings on it.
inline std::string analyseRecords(const std::string& text, Replay* records) {
  FILE* file = fopen("records.txt", "wb");
  if (file == nullptr) return "no file";
  fwrite(text.data(), 1, text.size(), file);
  fclose(file);
  Findings findings;
  reader::OperationColumns operations;
  reader::Run run({&Replay::collect, records}, &operations);
  const bool opened = run.diagnostics.open("records.log", 100, &findings);
  if (!opened || !run.source.open("records.txt")) return "no file";
  const bool whole = sections::readSections(run) == reader::Step::kEndOfInput;
  return whole ? findings.all : findings.all + "the run ended early\n";
}

class RecordGenerator {
  using DataType = schema::DataType;
  using FieldDef = schema::FieldDef;

 public:
  RecordGenerator(const TextCase& c, Dice& dice) : case_(c), dice_(dice) {}

  // Every block once, in the order of a file.
  Replay generate() {
    header();
    for (const schema::BlockDef& row : schema::blocks()) {
      const bool lines = row.kind == schema::BlockKind::kDataLines;
      if (lines || row.kind == schema::BlockKind::kCollected) block(row.columns);
      if (row.columns == 26 || row.columns == 29) more();
      // The items of a code list come behind its codes.
      if (row.keyword == schema::kAttributes) pair(TVO_RECORD_CODELIST_COLUMNS);
      if (row.keyword == schema::kSetup) pair(row.columns);
    }
    block(TVO_RECORD_APRIORI_ERRORS_COLUMNS);
    operations();
    timeTaggedCodes();
    return std::move(records_);
  }

  // Blocks one by one, in any order.
  void header() {
    addColumns(2, {14, 15, 16, 17, 18, 19});
    records_.add(6, UnitsRecord{case_.angular, 0.01743, case_.linear, 0.25, case_.geographic, 0.5,
                                TVO_ENUM_FAHRENHEIT, TVO_ENUM_MMHG, case_.dateOrder});
    addColumns(3, {45, 46, 47});
    records_.add(7, OffsetsRecord{real(), real(), real()});
    pair(4);
    addColumns(1, {4, 3, 1});
    HeaderRecord record = {};
    record.SEPARATOR = case_.separator;
    record.TERMINATOR = case_.terminator;
    records_.add(5, record);
  }

  void block(RecordType columns) {
    const std::vector<FieldId> ids = chooseFields(columns);
    addColumns(columns, ids);
    last_[columns] = ids;
    listed_[columns] = ids.size();
    alone_ = ids.size() == 1;
    for (uint32_t n = below(8); n > 0; --n) addData(dataOf(columns), ids);
    alone_ = false;
  }

  void pair(RecordType columns) {
    const std::vector<FieldId> ids = chooseFields(columns);
    addColumns(columns, ids);
    constexpr size_t kLongestItem = 11;  // DESCRIPTION
    alone_ = true;
    room_ = kLineRoom - kLongestItem;
    addData(dataOf(columns), ids);
    room_ = kLineRoom;
    alone_ = false;
  }

  // EXTRAINFO for the last data line, behind lines of POINTS, LINES or POLYGONS.
  void completion() {
    const Replay::Item& last = records_.items().back();
    const bool collected = latest_ == 24 || latest_ == 27 || latest_ == 30;
    if (!collected || last.type != dataOf(latest_)) return;
    const RecordType columns = latest_;
    const FieldDef& number = schema::recordDef(columns).fields[0];
    std::vector<FieldId> ids = chooseFields(columns);
    // The identifier is not listed among the block's columns then, and an enumeration that a line
    // does not have comes back as UNKNOWN, so neither would stay the same.
    std::erase_if(ids, [&](FieldId id) {
      const FieldDef& field = *schema::findId(schema::recordDef(columns).fields, id);
      return id == number.id || id == TVO_FIELD_PointID || id == TVO_FIELD_LineID ||
             id == TVO_FIELD_PolygonID || field.type == DataType::kEnum;
    });
    // They come back listed behind the block's own, and a definition takes no more.
    ids.resize(std::min(ids.size(), schema::kMaxColumns - listed_[columns]));
    listed_[columns] += ids.size();
    ids.insert(ids.begin(), number.id);
    addColumns(TVO_RECORD_POINT_EXTRAINFO_COLUMNS + (columns - TVO_RECORD_POINTS_COLUMNS) / 3, ids);
    addData(last.type, ids, last.bytes.data() + number.offset);
    ++completions_;
  }

  void operations() {
    addColumns(55, {TVO_FIELD_PointID, TVO_FIELD_PointNo});
    for (const uint32_t operation : {0U, 2U, 3U, 4U, 5U, 6U, 8U}) {
      records_.add(56, OperationRecord{operation});
      OperationPointsRecord points = {};
      for (size_t i = 0; i < schema::operation(operation)->points; ++i) {
        points.points[i].PointNo = static_cast<uint32_t>(dice_.next());
        const std::string id = text(17, true);
        memcpy(points.points[i].PointID, id.data(), id.size());
      }
      records_.add(57, points);
    }
  }

  void timeTaggedCodes() {
    records_.columns(90, {});
    for (const uint32_t count : {0U, 1U, 2U, 20U, below(20)}) {
      std::vector<TimeTaggedEntry> entries(count);
      for (TimeTaggedEntry& entry : entries) {
        const std::string name = text(30);
        memcpy(entry.name, name.data(), name.size());
        freeValue(&entry, name.find('\\') == std::string::npos ? 30 : 0);
        if (below(3) == 0) {
          const TimeTaggedEntry whole = {
              {}, TVO_ENUM_INT, {}, 0, static_cast<int32_t>(dice_.next())};
          memcpy(&entry.kind, &whole.kind, sizeof entry - sizeof entry.name);
        }
      }
      TimeTaggedRecord record = {{},
                                 date(case_.dateOrder != TVO_ENUM_MJD),
                                 static_cast<uint16_t>(dice_.next()),
                                 static_cast<uint16_t>(count),
                                 entries.data()};
      const std::string code = text(8);
      memcpy(record.Code, code.data(), code.size());
      records_.add(91, record);
    }
  }

  Replay& records() { return records_; }
  // Data records that complete others and do not come back as records of their own.
  size_t completions() const { return completions_; }

 private:
  uint32_t below(uint32_t limit) { return dice_.below(limit); }

  std::string text(size_t limit, bool inOperation = false) {
    static constexpr std::string_view kLetters = "abcXYZ 019.,;#'\"\\\t\xe4|()END";
    std::string value;
    const size_t length = below(4) == 0 ? limit : below(static_cast<uint32_t>(limit) + 1);
    bool inverted = false;
    size_t escapes = 0;
    while (value.size() < length) {
      char c = kLetters[below(static_cast<uint32_t>(kLetters.size()))];
      const bool quote = c == '"' || c == '\'';
      const bool mark = c == case_.separator || c == case_.terminator;
      // Identifiers that define the columns of points lines must be short and plain.
      if (inOperation && (quote || c == '\\' || mark)) c = 'o';
      // No spelling carries a terminator behind a backslash and a quote.
      if (quote && !value.empty() && value.back() == '\\') inverted = true;
      if (inverted && (c == case_.terminator || c == ';')) c = 'i';
      // Nor a text that is longer, escaped, than a line.
      const bool escaped = quote || c == '\\';
      if (escaped && limit + ++escapes > room_) c = 'q';
      value += c;
    }
    return value;
  }

  double real() {
    const double scale = std::pow(10.0, static_cast<int>(below(10)) - 3);
    const double value = scale * (static_cast<double>(dice_.next()) / 4294967296.0 - 0.5);
    return below(12) == 0 ? 0 : value;
  }

  // Nothing can be written as nothing unless other columns surround it.
  DateTime date(bool mayBeEmpty) {
    if (mayBeEmpty && below(5) == 0) return DateTime{};
    const auto part = [this](uint32_t low, uint32_t high) {
      return static_cast<int16_t>(low + below(high - low + 1));
    };
    const auto tenths = static_cast<int16_t>(10 * part(0, 9));
    return {part(1, 9999), part(1, 12), part(1, 28), part(0, 23), part(0, 59), part(0, 59), tenths};
  }

  EnumId enumeration(schema::EnumGroup group) {
    std::vector<EnumId> ids;
    for (const schema::EnumEntry* e = schema::EnumTable; e->id != schema::kEndMark; ++e) {
      const bool alias = e->id == TVO_ENUM_USER_LINEAR || e->id == TVO_ENUM_USER_GEOGRAPHIC;
      if (schema::inGroup(group, e->id) && !alias) ids.push_back(e->id);
    }
    return ids[below(static_cast<uint32_t>(ids.size()))];
  }

  template <class Value>
  void freeValue(Value* value, size_t limit) {
    const std::string quoted = text(limit);
    value->kind = TVO_ENUM_TEXT + below(2);
    if (value->kind == TVO_ENUM_TEXT) memcpy(value->text, quoted.data(), quoted.size());
    if (value->kind == TVO_ENUM_REAL) value->real = real();
  }

  template <class T>
  static void put(char* bytes, T value) {
    memcpy(bytes, &value, sizeof value);
  }

  void fill(const FieldDef& field, char* bytes) {
    switch (field.type) {
      case DataType::kUint8:
        return put(bytes, static_cast<uint8_t>(dice_.next()));
      case DataType::kUint16:
        return put(bytes, static_cast<uint16_t>(dice_.next()));
      case DataType::kUint32:
        return put(bytes, static_cast<uint32_t>(dice_.next()));
      case DataType::kFloat:
        return put(bytes, static_cast<float>(real()));
      case DataType::kDouble:
        return put(bytes, real());
      case DataType::kBits:
        return field.width == 8 ? put(bytes, static_cast<uint8_t>(dice_.next()))
                                : put(bytes, static_cast<uint16_t>(dice_.next()));
      case DataType::kDateTime:
        return put(bytes, date(!alone_));
      case DataType::kText: {
        const std::string value = text(field.width - 1U);
        memcpy(bytes, value.data(), value.size());
        return;
      }
      case DataType::kEnum:
        return put(bytes, enumeration(field.group));
      case DataType::kDefault: {
        DefaultValue value = {};
        if (alone_ || below(4) != 0) freeValue(&value, sizeof value.text - 1);
        return put(bytes, value);
      }
      case DataType::kFree: {
        FreeValue value = {};
        freeValue(&value, sizeof value.text - 1);
        if (below(3) == 0) value = {TVO_ENUM_INT, {}, 0, static_cast<int32_t>(dice_.next())};
        return put(bytes, value);
      }
      default:
        return;
    }
  }

  std::vector<FieldId> chooseFields(RecordType columns) {
    std::vector<FieldId> ids;
    for (const FieldDef& field : schema::rows(schema::recordDef(columns).fields)) {
      // Of the three names of a theme's owner one is used at a time.
      const bool owner = columns == 26 || columns == 29 || columns == 32;
      const bool number = field.id == TVO_FIELD_LineNo || field.id == TVO_FIELD_PolygonNo;
      if (field.name[0] != '\0' && !(owner && number)) ids.push_back(field.id);
    }
    for (size_t i = ids.size(); i > 1; --i) {
      std::swap(ids[i - 1], ids[below(static_cast<uint32_t>(i))]);
    }
    if (below(3) == 0) ids.resize(1 + below(static_cast<uint32_t>(ids.size())));
    return ids;
  }

  void addColumns(RecordType type, std::vector<FieldId> ids) {
    latest_ = type;
    ids.push_back(TVO_FIELD_End);
    ColumnsRecord record = {};
    FieldId list[TVO_COLUMNS_ROOM] = {};
    std::copy(ids.begin(), ids.end(), list);
    memcpy(reinterpret_cast<char*>(&record) + offsetof(ColumnsRecord, fields), list, sizeof list);
    records_.add(type, record);
  }

  // number: the key of the record that this one completes.
  void addData(RecordType type, const std::vector<FieldId>& ids, const char* number = nullptr) {
    char record[1024] = {};
    for (const FieldId id : ids) {
      const FieldDef& field = *schema::findId(schema::recordDef(type).fields, id);
      if (field.offset != schema::kNotKept) fill(field, record + field.offset);
    }
    if (number != nullptr) memcpy(record, number, sizeof(uint32_t));
    records_.add(type, static_cast<const void*>(record));
  }

  RecordType dataOf(RecordType columns) { return schema::blockOfColumns(columns)->data; }

  // Further data lines of POINTS or LINES behind their sub-sections.
  void more() {
    const RecordType columns = records_.items().back().type < 38 && last_.count(27) == 0 ? 24 : 27;
    alone_ = last_[columns].size() == 1;
    for (uint32_t n = below(3); n > 0; --n) addData(dataOf(columns), last_[columns]);
    alone_ = false;
  }

  const TextCase& case_;
  Dice& dice_;
  Replay records_;
  // Characters of a text, escapes included, that a line takes.
  static constexpr size_t kLineRoom = 126;
  size_t room_ = kLineRoom;
  bool alone_ = false;  // the fields to be filled stand on lines of their own
  size_t completions_ = 0;
  RecordType latest_ = 0;                // columns record
  std::map<RecordType, size_t> listed_;  // columns of the latest block of a type
  std::map<RecordType, std::vector<FieldId>> last_;
};

// A text of every block, in other units and delimiters for every part.
inline std::string generatedText(uint32_t seed, int parts) {
  const TextCase cases[] = {
      {false, ',', ';', TVO_ENUM_GRADS, TVO_ENUM_METRE, TVO_ENUM_DEGS, TVO_ENUM_DMY, {8, 8, 12}},
      {true, '|', '#', TVO_ENUM_DMS, TVO_ENUM_LINKS, TVO_ENUM_RADS, TVO_ENUM_MJD, {9, 7, 10}},
  };
  std::string text;
  for (int part = 0; part < parts; ++part) {
    Dice dice(seed + static_cast<uint32_t>(part));
    Replay records = RecordGenerator(cases[part % 2], dice).generate();
    TextKeeper keeper;
    writers::writeText(keeper, records, {cases[part % 2].align, cases[part % 2].decimals});
    text += keeper.text;
  }
  return text;
}

}  // namespace tavo::tests
