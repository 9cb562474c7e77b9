// Lookups in the format's tables, what END lines mean, conversions of units and day numbers.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <numbers>
#include <string>

#include "schema/blocks.h"
#include "schema/enums.h"
#include "schema/fields.h"
#include "schema/keywords.h"
#include "schema/mjd.h"
#include "schema/units.h"

namespace tavo::schema {
namespace {

TEST(Keywords, FoundByTheirWholeNameAlone) {
  for (uint32_t id = 0; id <= kEnd; ++id) {
    std::string_view name;
    EXPECT_EQ(KeywordName(id, &name), 0);
    uint32_t found = 0;
    EXPECT_EQ(FindKeyword(name, &found), 0);
    EXPECT_EQ(found, id);
  }
  for (const std::string_view word : {"", "points", "POINT", "POINTSS", "POINTS ", " POINTS"}) {
    uint32_t found = 0;
    EXPECT_EQ(FindKeyword(word, &found), kNotFound) << word;
    EXPECT_EQ(found, kUnknownSection);
  }
  for (const uint32_t id : {59U, 1000U, 65535U, ~0U}) {
    std::string_view name;
    EXPECT_EQ(KeywordName(id, &name), 2570);
    EXPECT_EQ(name, "UNKNOWN");
  }
}

TEST(Keywords, BeginLinesUpToABlankOrABracket) {
  const struct {
    const char* line;
    int status;
    uint32_t keyword;
  } rows[] = {{"DATABASE(1)", 0, kDatabase},
              {" \t\x01"
               "DATABASE x",
               0, kDatabase},
              {"DATABASE", 0, kDatabase},
              {"DATABASE;", 11, kUnknownSection},
              {"database", 11, kUnknownSection},
              {"", 11, kUnknownSection},
              {"  ", 11, kUnknownSection},
              {"(DATABASE)", 11, kUnknownSection}};
  for (const auto& row : rows) {
    uint32_t keyword = 0;
    EXPECT_EQ(LineKeyword(row.line, &keyword), row.status) << row.line;
    EXPECT_EQ(keyword, row.keyword) << row.line;
  }
}

TEST(Keywords, EndLines) {
  const struct {
    const char* line;
    int result;
  } rows[] = {{"END JOBS", 0},
              {" END \t JOBS(x) ; y", 0},
              {"END POINTS", kOtherEnd},
              {"END END", kOtherEnd},
              {"END", kUnknownEnd},
              {"END ;", kUnknownEnd},
              {"END JOBS;", kUnknownEnd},
              {"END jobs", kUnknownEnd},
              {"END(JOBS)", kUnknownEnd},
              {"END(JOBS) JOBS", 0},
              {"JOBS (JobNo)", kForeignKeyword},
              {"POINTS", kForeignKeyword},
              {"ENDJOBS", kNoKeyword},
              {"end JOBS", kNoKeyword},
              {"1,2;", kNoKeyword},
              {"", kNoKeyword}};
  for (const auto& row : rows) EXPECT_EQ(CheckEnd(row.line, kJobs), row.result) << row.line;
  EXPECT_EQ(CheckEnd("END UNKNOWN SECTION", kUnknownSection), kUnknownEnd);
}

TEST(Fields, FoundInTheTableOfTheirBlock) {
  FieldDef field;
  EXPECT_EQ(FieldTableFor(TVO_RECORD_PROPERTIES_COLUMNS, "Color", &field), 0);
  EXPECT_EQ(field.type, DataType::kUint16);
  EXPECT_EQ(FieldTableFor(TVO_RECORD_POINTS_COLUMNS, "Color", &field), 0);
  EXPECT_EQ(field.type, DataType::kUint32);
  EXPECT_EQ(FieldTableFor(TVO_RECORD_ITEMS_COLUMNS, "LineNo", &field), 0);
  EXPECT_EQ(field.type, DataType::kUint16);
  EXPECT_EQ(FieldTableFor(TVO_RECORD_SLOPE_COLUMNS, "CfgNo", &field), 0);
  EXPECT_EQ(field.id, FieldId{123});
  EXPECT_EQ(FieldTableFor(TVO_RECORD_CONFIGS_COLUMNS, "CfgNo", &field), 0);
  EXPECT_EQ(field.id, FieldId{107});
  EXPECT_EQ(FieldTableFor(TVO_RECORD_MERCATOR_2_COLUMNS, "Scale", &field), 0);
  EXPECT_EQ(FieldTableFor(TVO_RECORD_SUBJECTS_COLUMNS, "name", &field), kNotFound);
  EXPECT_EQ(field.id, FieldId{0});
  EXPECT_STREQ(field.name, "name");
  EXPECT_EQ(field.type, DataType::kFree);
  EXPECT_EQ(FieldTableFor(TVO_RECORD_UNITS_COLUMNS, "", &field), kNotFound);
  EXPECT_EQ(FieldTableFor(TVO_RECORD_UNITS_COLUMNS, std::string(200, 'x'), &field), kNotFound);
  for (const RecordType type : {0U, 34U, 55U, 90U, 108U, ~0U}) {
    EXPECT_EQ(FieldTableFor(type, "PointNo", &field), kNoTable) << type;
  }
}

// Every field of a record that a host sees is told apart by its number.
TEST(Fields, TablesAreConsistent) {
  int tables = 0;
  for (RecordType type = 1; type <= kLastRecordType; ++type) {
    const RecordDef& def = recordDef(type);
    if (!def.columns || def.fields == nullptr) continue;
    ++tables;
    ASSERT_NE(blockOfColumns(type), nullptr);
    EXPECT_EQ(columnsOf(blockOfColumns(type)->data), type);
    for (const FieldDef& field : rows(def.fields)) {
      FieldDef found;
      if (field.name[0] == '\0') continue;
      EXPECT_EQ(FindField(def.fields, field.name, &found), 0);
      EXPECT_EQ(found.id, field.id) << type << field.name;
      EXPECT_EQ(findId(def.fields, field.id)->offset, field.offset) << type << field.name;
    }
  }
  EXPECT_EQ(tables, 51);
}

TEST(Enums, Lookups) {
  EnumId id = 0;
  EXPECT_EQ(FindEnum("USER", &id), 0);
  EXPECT_EQ(id, EnumId{4});
  EXPECT_EQ(FindEnum("UNKNOWN", &id), 0);
  EXPECT_EQ(id, EnumId{1009});
  EXPECT_EQ(FindEnum("fix", &id), kNotFound);
  EXPECT_EQ(id, EnumId{1009});
  std::string_view name;
  EXPECT_EQ(EnumName(20, &name), 0);
  EXPECT_EQ(name, "USER");
  EXPECT_EQ(EnumName(5, &name), 2570);
  EXPECT_EQ(name, "UNKNOWN");
  uint32_t operation = 0;
  EXPECT_EQ(FindOperation("UKNOWN", &operation), 0);
  EXPECT_EQ(operation, 12U);
  EXPECT_EQ(FindOperation("UNKNOWN", &operation), kNotFound);
  EXPECT_EQ(operation, 12U);
  EXPECT_EQ(OperationName(12, &name), 0);
  EXPECT_EQ(name, "UKNOWN");
  EXPECT_EQ(OperationName(9, &name), 2570);
  EXPECT_EQ(name, "UNKNOWN");
}

TEST(Units, ConversionToMetresAndRadians) {
  constexpr double kDegree = std::numbers::pi / 180;
  const auto angle = [](EnumId unit, double value) {
    Units units;
    units.angular = unit;
    units.angularFactor = 0.25;
    return toInternal(units, UnitKind::kAngular, value);
  };
  EXPECT_DOUBLE_EQ(angle(TVO_ENUM_GRADS, 100), 90 * kDegree);
  EXPECT_DOUBLE_EQ(angle(TVO_ENUM_DEGS, -90), -90 * kDegree);
  EXPECT_DOUBLE_EQ(angle(TVO_ENUM_RADS, 1.25), 1.25);
  EXPECT_DOUBLE_EQ(angle(TVO_ENUM_USER, 8), 2);
  EXPECT_DOUBLE_EQ(angle(TVO_ENUM_UNKNOWN, 8), 8);
  EXPECT_DOUBLE_EQ(angle(TVO_ENUM_DMS, 12.3045), (12 + 30 / 60.0 + 45 / 3600.0) * kDegree);
  EXPECT_DOUBLE_EQ(angle(TVO_ENUM_DMS, -0.30), -0.5 * kDegree);
  EXPECT_DOUBLE_EQ(angle(TVO_ENUM_DMS, 0), 0);
  EXPECT_NEAR(angle(TVO_ENUM_DMS, 7.2930123), (7 + 29 / 60.0 + 30.123 / 3600) * kDegree, 1e-14);
  // Whole minutes that binary fractions cannot hold.
  for (int minute = 0; minute < 60; ++minute) {
    for (const int degree : {0, 12, 179, 359}) {
      EXPECT_NEAR(angle(TVO_ENUM_DMS, degree + minute / 100.0), (degree + minute / 60.0) * kDegree,
                  1e-13);
    }
  }
  const auto length = [](EnumId unit) {
    Units units;
    units.linear = unit;
    units.linearFactor = 7;
    return toInternal(units, UnitKind::kLinear, 2);
  };
  EXPECT_DOUBLE_EQ(length(TVO_ENUM_METRE), 2);
  EXPECT_DOUBLE_EQ(length(TVO_ENUM_INT_FEET), 0.6096);
  EXPECT_DOUBLE_EQ(length(TVO_ENUM_US_SURVEY_FEET), 2400.0 / 3937);
  EXPECT_DOUBLE_EQ(length(TVO_ENUM_LINKS), 0.402336);
  EXPECT_DOUBLE_EQ(length(TVO_ENUM_USER_LINEAR), 14);
  EXPECT_DOUBLE_EQ(length(TVO_ENUM_UNKNOWN), 2);
}

TEST(DayNumbers, AgreeWithTheCalendarDayByDay) {
  constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  DateTime expected = {1858, 11, 17, 0, 0, 0, 0};
  for (int mjd = 0; mjd < 200000; ++mjd) {
    DateTime date;
    ASSERT_TRUE(fromMjd(mjd, &date));
    ASSERT_EQ(memcmp(&date, &expected, sizeof date), 0) << mjd;
    ASSERT_EQ(toMjd(date), mjd);
    const bool leap =
        expected.year % 4 == 0 && (expected.year % 100 != 0 || expected.year % 400 == 0);
    const int length = kDays[expected.month - 1] + (leap && expected.month == 2 ? 1 : 0);
    expected.day = static_cast<int16_t>(expected.day % length + 1);
    if (expected.day == 1) expected.month = static_cast<int16_t>(expected.month % 12 + 1);
    if (expected.day == 1 && expected.month == 1) ++expected.year;
  }
  DateTime date;
  for (const double bad : {std::nan(""), HUGE_VAL, -HUGE_VAL, 1e9, 2e7}) {
    EXPECT_FALSE(fromMjd(bad, &date)) << bad;
    EXPECT_EQ(int{date.year}, 0);
  }
}

}  // namespace
}  // namespace tavo::schema
