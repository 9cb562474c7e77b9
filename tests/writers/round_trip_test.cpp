// Random records of every type in every block: written, read, written and read again. Nothing may
// be reported on what was written, the second text equals the first, and values survive up to the
// decimals asked for.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>
#include <random>

#include "reader/run.h"
#include "schema/catalogue.h"
#include "schema/enums.h"
#include "sections/sections.h"
#include "support/replay.h"

namespace tavo::tests {
namespace {

using schema::DataType;
using schema::FieldDef;

// Random files of each case; one at least in the slow lanes.
constexpr uint32_t kSeeds = 1 + 20 * TAVO_TEST_EFFORT / 100;

struct Case {
  bool align;
  char separator, terminator;
  EnumId angular, linear, geographic, dateOrder;
  TVO_Decimals decimals;
};

class Findings final : public reader::FindingObserver {
 public:
  void onFinding(const reader::Finding& finding) override {
    all += std::to_string(finding.number) + " line " + std::to_string(finding.line) + ": " +
           std::string(finding.text) + "\n";
  }
  std::string all;
};

std::string analyse(const std::string& text, Replay* records) {
  FILE* file = fopen("round_trip.txt", "wb");
  fwrite(text.data(), 1, text.size(), file);
  fclose(file);
  Findings findings;
  reader::OperationColumns operations;
  reader::Run run({&Replay::collect, records}, &operations);
  EXPECT_TRUE(run.diagnostics.open("round_trip.log", 100, &findings));
  EXPECT_TRUE(run.source.open("round_trip.txt"));
  sections::readSections(run);
  return findings.all;
}

std::string write(Replay& records, const Case& c) {
  TextKeeper keeper;
  EXPECT_EQ(writers::writeText(keeper, records, {c.align, c.decimals}), TVO_OK);
  return keeper.text;
}

class Generator {
 public:
  Generator(const Case& c, uint32_t seed) : case_(c), random_(seed) {}

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

 private:
  uint32_t below(uint32_t limit) { return static_cast<uint32_t>(random_() % limit); }

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
      if (escaped && limit + ++escapes > 126) c = 'q';
      value += c;
    }
    return value;
  }

  double real() {
    const double scale = std::pow(10.0, static_cast<int>(below(10)) - 3);
    const double value = scale * (static_cast<double>(random_()) / 4294967296.0 - 0.5);
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
        return put(bytes, static_cast<uint8_t>(random_()));
      case DataType::kUint16:
        return put(bytes, static_cast<uint16_t>(random_()));
      case DataType::kUint32:
        return put(bytes, static_cast<uint32_t>(random_()));
      case DataType::kFloat:
        return put(bytes, static_cast<float>(real()));
      case DataType::kDouble:
        return put(bytes, real());
      case DataType::kBits:
        return field.width == 8 ? put(bytes, static_cast<uint8_t>(random_()))
                                : put(bytes, static_cast<uint16_t>(random_()));
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
        if (below(3) == 0) value = {TVO_ENUM_INT, {}, 0, static_cast<int32_t>(random_())};
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
    std::shuffle(ids.begin(), ids.end(), random_);
    if (below(3) == 0) ids.resize(1 + below(static_cast<uint32_t>(ids.size())));
    return ids;
  }

  void addColumns(RecordType type, const std::vector<FieldId>& ids) {
    ColumnsRecord record = {};
    FieldId list[TVO_COLUMNS_ROOM] = {};
    std::copy(ids.begin(), ids.end(), list);
    list[ids.size()] = TVO_FIELD_End;
    memcpy(reinterpret_cast<char*>(&record) + offsetof(ColumnsRecord, fields), list, sizeof list);
    records_.add(type, record);
  }

  void addData(RecordType type, const std::vector<FieldId>& ids) {
    char record[1024] = {};
    for (const FieldId id : ids) {
      const FieldDef& field = *schema::findId(schema::recordDef(type).fields, id);
      if (field.offset != schema::kNotKept) fill(field, record + field.offset);
    }
    records_.add(type, static_cast<const void*>(record));
  }

  RecordType dataOf(RecordType columns) { return schema::blockOfColumns(columns)->data; }

  void block(RecordType columns) {
    const std::vector<FieldId> ids = chooseFields(columns);
    addColumns(columns, ids);
    last_[columns] = ids;
    alone_ = ids.size() == 1;
    for (uint32_t n = below(8); n > 0; --n) addData(dataOf(columns), ids);
    alone_ = false;
  }

  // Further data lines of POINTS or LINES behind their sub-sections.
  void more() {
    const RecordType columns = records_.items().back().type < 38 && last_.count(27) == 0 ? 24 : 27;
    alone_ = last_[columns].size() == 1;
    for (uint32_t n = below(3); n > 0; --n) addData(dataOf(columns), last_[columns]);
    alone_ = false;
  }

  void pair(RecordType columns) {
    const std::vector<FieldId> ids = chooseFields(columns);
    addColumns(columns, ids);
    alone_ = true;
    addData(dataOf(columns), ids);
    alone_ = false;
  }

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

  void operations() {
    addColumns(55, {TVO_FIELD_PointID, TVO_FIELD_PointNo});
    for (const uint32_t operation : {0, 2, 3, 4, 5, 6, 8}) {
      records_.add(56, OperationRecord{operation});
      OperationPointsRecord points = {};
      for (size_t i = 0; i < schema::operation(operation)->points; ++i) {
        points.points[i].PointNo = static_cast<uint32_t>(random_());
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
          const TimeTaggedEntry whole = {{}, TVO_ENUM_INT, {}, 0, static_cast<int32_t>(random_())};
          memcpy(&entry.kind, &whole.kind, sizeof entry - sizeof entry.name);
        }
      }
      TimeTaggedRecord record = {{},
                                 date(case_.dateOrder != TVO_ENUM_MJD),
                                 static_cast<uint16_t>(random_()),
                                 static_cast<uint16_t>(count),
                                 entries.data()};
      const std::string code = text(8);
      memcpy(record.Code, code.data(), code.size());
      records_.add(91, record);
    }
  }

  const Case& case_;
  std::mt19937 random_;
  Replay records_;
  bool alone_ = false;  // the fields to be filled stand on lines of their own
  std::map<RecordType, std::vector<FieldId>> last_;
};

// What a record is expected to come back as: member by member, reals up to a tolerance.
double tolerance(const FieldDef& field, const Case& c, double value) {
  const auto step = [](int decimals) { return std::pow(10.0, -std::min(decimals, 12)); };
  const double relative = field.type == DataType::kFloat ? 5e-7 : 1e-12;
  double absolute = 0.051;
  if (field.decimals == schema::DecimalKind::kAngular) absolute = step(c.decimals.angular);
  if (field.decimals == schema::DecimalKind::kLinear) absolute = step(c.decimals.linear);
  if (field.decimals == schema::DecimalKind::kGeographic) absolute = step(c.decimals.geographic);
  if (field.decimals == schema::DecimalKind::kGeneral && value >= 99999) return 0.051 * value;
  // No unit is larger than a radian or a metre; a unit of packed minutes or seconds is smaller.
  if (field.unit != schema::UnitKind::kNone) absolute *= 1.1;
  return absolute + relative * std::fabs(value);
}

template <class T>
T load(const char* bytes) {
  T value;
  memcpy(&value, bytes, sizeof value);
  return value;
}

bool sameFree(const char* a, const char* b, const Case& c) {
  const auto x = load<FreeValue>(a);
  const auto y = load<FreeValue>(b);
  const double step = std::pow(10.0, -std::clamp<int>(c.decimals.geographic, 1, 12));
  return x.kind == y.kind && strcmp(x.text, y.text) == 0 && x.integer == y.integer &&
         std::fabs(x.real - y.real) <= step + 1e-12 * std::fabs(x.real);
}

bool sameDefault(const char* a, const char* b, const Case& c) {
  const auto x = load<DefaultValue>(a);
  const auto y = load<DefaultValue>(b);
  const double step = std::pow(10.0, -std::clamp<int>(c.decimals.geographic, 1, 12));
  return x.kind == y.kind && strcmp(x.text, y.text) == 0 &&
         std::fabs(x.real - y.real) <= step + 1e-12 * std::fabs(x.real);
}

bool sameValue(const FieldDef& field, const char* a, const char* b, const Case& c) {
  switch (field.type) {
    case DataType::kFloat: {
      const double value = load<float>(a);
      return std::fabs(value - load<float>(b)) <= tolerance(field, c, value);
    }
    case DataType::kDouble: {
      const auto value = load<double>(a);
      return std::fabs(value - load<double>(b)) <= tolerance(field, c, value);
    }
    case DataType::kFree:
      return sameFree(a, b, c);
    case DataType::kDefault:
      return sameDefault(a, b, c);
    default:
      return memcmp(a, b, schema::storedSize(field.type, field.width)) == 0;
  }
}

void expectSame(const Replay::Item& a, const Replay::Item& b, const Case& c) {
  ASSERT_EQ(a.type, b.type);
  const schema::RecordDef& def = schema::recordDef(a.type);
  if (def.columns || def.fields == nullptr) {
    // The bytes of a TimeTaggedRecord end with a pointer.
    const size_t compared = a.bytes.size() - (a.type == 91 ? sizeof(void*) : 0);
    EXPECT_EQ(memcmp(a.bytes.data(), b.bytes.data(), compared), 0) << a.type;
    return;
  }
  for (const FieldDef& field : schema::rows(def.fields)) {
    const bool version = a.type == 5 && field.id == TVO_FIELD_VERSION;
    if (field.offset == schema::kNotKept || version || a.type == 6 || a.type == 7) continue;
    EXPECT_TRUE(sameValue(field, a.bytes.data() + field.offset, b.bytes.data() + field.offset, c))
        << "type " << a.type << " " << field.name;
  }
}

void expectSame(const Replay& a, const Replay& b, const Case& c) {
  ASSERT_EQ(a.items().size(), b.items().size());
  for (size_t i = 0; i < a.items().size() && !testing::Test::HasFailure(); ++i) {
    expectSame(a.items()[i], b.items()[i], c);
    ASSERT_EQ(a.items()[i].entries.size(), b.items()[i].entries.size());
    for (size_t n = 0; n < a.items()[i].entries.size(); ++n) {
      const TimeTaggedEntry& x = a.items()[i].entries[n];
      const TimeTaggedEntry& y = b.items()[i].entries[n];
      EXPECT_TRUE(strcmp(x.name, y.name) == 0 && x.kind == y.kind && strcmp(x.text, y.text) == 0);
      EXPECT_EQ(EnumId{x.kind} == TVO_ENUM_INT ? int32_t{x.integer} : 0, int32_t{y.integer});
    }
  }
}

// The reader delivers no columns record for TIME_TAGGED_CODES; a build needs one.
Replay withTimeTaggedColumns(const Replay& records) {
  Replay result;
  bool open = false;
  for (const Replay::Item& item : records.items()) {
    if (item.type == 91 && !open) result.columns(90, {});
    open = item.type == 91;
    result.add(item.type, static_cast<const void*>(item.bytes.data()));
  }
  return result;
}

class RoundTrip : public testing::TestWithParam<Case> {};

TEST_P(RoundTrip, KeepsRecordsAndText) {
  const Case& c = GetParam();
  for (uint32_t seed = 1; seed <= kSeeds && !HasFailure(); ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    Replay first = Generator(c, seed).generate();
    const std::string text = write(first, c);
    Replay read;
    ASSERT_EQ(analyse(text, &read), "") << text;
    Replay second = withTimeTaggedColumns(read);
    expectSame(first, second, c);
    const std::string again = write(second, c);
    EXPECT_EQ(text, again);
    Replay readAgain;
    ASSERT_EQ(analyse(again, &readAgain), "");
    const Replay third = withTimeTaggedColumns(readAgain);
    ASSERT_EQ(second.items().size(), third.items().size());
    for (size_t i = 0; i < second.items().size(); ++i) {
      if (second.items()[i].type == 91) continue;
      ASSERT_EQ(second.items()[i].bytes, third.items()[i].bytes) << second.items()[i].type;
    }
  }
}

constexpr TVO_Decimals kUsual{4, 4, 10};
INSTANTIATE_TEST_SUITE_P(
    Writers, RoundTrip,
    testing::Values(
        Case{true, ',', ';', TVO_ENUM_GRADS, TVO_ENUM_METRE, TVO_ENUM_DMS, TVO_ENUM_DMY, kUsual},
        Case{false, ',', ';', TVO_ENUM_DMS, TVO_ENUM_INT_FEET, TVO_ENUM_DEGS, TVO_ENUM_MDY, kUsual},
        Case{true,
             '|',
             '#',
             TVO_ENUM_DEGS,
             TVO_ENUM_US_SURVEY_FEET,
             TVO_ENUM_GRADS,
             TVO_ENUM_YMD,
             {0, 0, 0}},
        Case{
            false, ';', '#', TVO_ENUM_RADS, TVO_ENUM_LINKS, TVO_ENUM_RADS, TVO_ENUM_MJD, {3, 1, 2}},
        Case{false,
             '|',
             ';',
             TVO_ENUM_USER,
             TVO_ENUM_USER_LINEAR,
             TVO_ENUM_USER_GEOGRAPHIC,
             TVO_ENUM_DMY,
             {8, 8, 8}},
        Case{true,
             ',',
             ';',
             TVO_ENUM_DMS,
             TVO_ENUM_USER_LINEAR,
             TVO_ENUM_DMS,
             TVO_ENUM_YMD,
             {255, 255, 255}},
        Case{false,
             ',',
             ';',
             TVO_ENUM_DEGS,
             TVO_ENUM_LINKS,
             TVO_ENUM_DMS,
             TVO_ENUM_MJD,
             {255, 255, 255}},
        Case{false,
             ',',
             ';',
             TVO_ENUM_UNKNOWN,
             TVO_ENUM_UNKNOWN,
             TVO_ENUM_UNKNOWN,
             TVO_ENUM_DMY,
             {12, 15, 18}}));

}  // namespace
}  // namespace tavo::tests
