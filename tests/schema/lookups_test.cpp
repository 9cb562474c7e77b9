// Lookups in the format's tables, what END lines mean, day numbers.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "schema/catalogue.h"
#include "schema/enums.h"
#include "schema/fields.h"
#include "schema/keywords.h"
#include "schema/mjd.h"

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
  using enum EndLine;
  const struct {
    const char* line;
    EndLine result;
  } rows[] = {{"END JOBS", kThisEnd},
              {" END \t JOBS(x) ; y", kThisEnd},
              {"END POINTS", kOtherEnd},
              {"END END", kOtherEnd},
              {"END", kUnknownEnd},
              {"END ;", kUnknownEnd},
              {"END JOBS;", kUnknownEnd},
              {"END jobs", kUnknownEnd},
              {"END(JOBS)", kUnknownEnd},
              {"END(JOBS) JOBS", kThisEnd},
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
}

}  // namespace
}  // namespace tavo::schema
