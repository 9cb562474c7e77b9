// The catalogue: what is computed from its rows is consistent, and the record types that hosts and
// data files know stay as they are.
#include "schema/catalogue.h"

#include <gtest/gtest.h>

#include <map>

#include "schema/fields.h"

namespace tavo::schema {
namespace {

// Every field of a record that a host sees is told apart by its number.
TEST(Catalogue, FieldTablesAreConsistent) {
  for (const BlockDef& block : blocks()) {
    if (block.layout.fields == nullptr) continue;
    for (const FieldDef& field : rows(block.layout.fields)) {
      FieldDef found;
      if (field.name[0] == '\0') continue;
      EXPECT_EQ(FindField(block.layout.fields, field.name, &found), 0);
      EXPECT_EQ(found.id, field.id) << block.columns << field.name;
      EXPECT_EQ(findId(block.layout.fields, field.id)->offset, field.offset) << field.name;
    }
  }
}

TEST(Catalogue, EveryRowIsFoundByKeywordAndByRecordType) {
  for (const BlockDef& block : blocks()) {
    EXPECT_EQ(findBlock(block.parent, block.keyword), &block);
    if (block.odd.alsoIn != kUnknownSection) {
      EXPECT_EQ(findBlock(block.odd.alsoIn, block.keyword), &block);
    }
    EXPECT_TRUE(block.parent == kUnknownSection || hasSubSections(block.parent));
    EXPECT_EQ(blockOfColumns(block.data), nullptr);
    if (block.columns == 0) continue;
    EXPECT_EQ(blockOfColumns(block.columns), &block);
    EXPECT_EQ(columnsOf(block.data), block.columns);
    EXPECT_EQ(columnsOf(block.columns), 0U);
    EXPECT_EQ(recordDef(block.data).size, block.layout.size);
    EXPECT_EQ(recordDef(block.columns).size, sizeof(ColumnsRecord));
  }
  EXPECT_EQ(columnsOf(57), 55U);
  EXPECT_EQ(findBlock(kUnknownSection, kUnknownSection), nullptr);
  EXPECT_EQ(findBlock(kKeywordCount, kJobs), nullptr);
  EXPECT_EQ(parentOf(kEdges), kLines);
  EXPECT_EQ(parentOf(kAprioriErrors), kTheodolite);
  EXPECT_EQ(parentOf(kEnd), kUnknownSection);
  // What a source opens EXTRAINFO with is no record type of readers and data files.
  for (const RecordType type : {0U, 109U, 110U, 111U, 256U, ~0U}) {
    EXPECT_EQ(recordDef(type).type, 0U) << type;
    EXPECT_EQ(blockOfColumns(type), nullptr);
    EXPECT_EQ(columnsOf(type), 0U);
  }
}

// Data files of this order exist.
TEST(Catalogue, SortCodesStayAsTheyAre) {
  const std::map<RecordType, uint16_t> codes = {
      {1, 1},      {5, 2},      {2, 21},     {6, 22},     {3, 41},     {7, 42},     {4, 61},
      {8, 62},     {9, 2001},   {16, 2002},  {10, 2021},  {17, 2022},  {11, 2041},  {18, 2042},
      {12, 2061},  {19, 2062},  {13, 2081},  {20, 2082},  {14, 2101},  {21, 2102},  {15, 2121},
      {22, 2122},  {64, 3001},  {65, 3101},  {66, 3103},  {67, 3105},  {68, 3107},  {69, 3109},
      {70, 3111},  {71, 3113},  {102, 3115}, {99, 3117},  {98, 3119},  {100, 3121}, {101, 3123},
      {72, 4001},  {73, 4021},  {74, 4041},  {75, 4061},  {76, 4501},  {23, 10001}, {33, 10002},
      {24, 10021}, {34, 10022}, {25, 10041}, {35, 10042}, {26, 10061}, {36, 10062}, {58, 10071},
      {59, 10072}, {27, 10081}, {37, 10082}, {28, 10101}, {38, 10102}, {29, 10121}, {39, 10122},
      {60, 10131}, {62, 10132}, {30, 10141}, {40, 10142}, {31, 10161}, {41, 10162}, {32, 10181},
      {42, 10182}, {61, 10191}, {63, 10192}, {43, 15001}, {44, 15002}, {45, 20001}, {50, 20002},
      {46, 20021}, {51, 20022}, {47, 20041}, {52, 20042}, {48, 20061}, {49, 20061}, {53, 20061},
      {54, 20061}, {55, 50001}, {56, 50002}, {57, 50002}, {90, 50100}, {91, 50101}};
  for (RecordType type = 1; type <= 107; ++type) {
    const auto found = codes.find(type);
    EXPECT_EQ(recordDef(type).sortCode, found == codes.end() ? 0 : found->second) << type;
    EXPECT_EQ(recordDef(type).searched, type <= 76) << type;
    EXPECT_EQ(recordDef(type).type, type);
  }
}

}  // namespace
}  // namespace tavo::schema
