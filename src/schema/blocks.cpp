// The rows of the block tree and their index by parent and keyword.
#include "schema/blocks.h"

#include <algorithm>
#include <array>
#include <iterator>

#include "schema/fields.h"

namespace tavo::schema {

namespace {

constexpr KeywordId kTop = kUnknownSection;
using enum BlockKind;

constexpr BlockDef kBlocks[] = {
    {kHeader, kTop, kItemLines, 1, 5},
    {kUnits, kHeader, kItemLines, 2, 6},
    {kOffsets, kHeader, kItemLines, 3, 7},
    {kProject, kHeader, kItemLines, 4, 8},

    {kDefinitions, kTop, kContainer, 0, 0},
    {kSubjects, kDefinitions, kDataLines, 9, 16},
    {kLayers, kDefinitions, kDataLines, 10, 17},
    {kSubjectLayerList, kDefinitions, kDataLines, 11, 18},
    {kChoiceList, kDefinitions, kDataLines, 12, 19},
    {kCodeList, kDefinitions, kItemLines, 13, 20},
    {kCodes, kCodeList, kDataLines, 14, 21},
    {kAttributes, kCodeList, kDataLines, 15, 22},
    {kEllipsoids, kDefinitions, kDataLines, 64, 77},
    {kMapPrjParams, kDefinitions, kContainer, 0, 0},
    {kUtm, kMapPrjParams, kDataLines, 65, 78},
    {kLambert, kMapPrjParams, kDataLines, 66, 79},
    {kLambertWithScale, kMapPrjParams, kDataLines, 98, 103},
    {kMercator, kMapPrjParams, kDataLines, 67, 80},
    {kMercator2, kMapPrjParams, kDataLines, 99, 104},
    {kObliqueMercator, kMapPrjParams, kDataLines, 68, 81},
    {kDoubleStereographic, kMapPrjParams, kDataLines, 69, 82},
    {kPolarStereographic, kMapPrjParams, kDataLines, 100, 105},
    {kRso, kMapPrjParams, kDataLines, 101, 106},
    {kCassiniSoldner, kMapPrjParams, kDataLines, 102, 107},
    {kPlane, kMapPrjParams, kDataLines, 70, 83},
    {kSpecial, kMapPrjParams, kDataLines, 71, 84},
    {kTransformParams, kDefinitions, kContainer, 0, 0},
    {kApprox1d, kTransformParams, kDataLines, 72, 85},
    {kAffin2d, kTransformParams, kDataLines, 73, 86},
    {kHelmert2d, kTransformParams, kDataLines, 74, 87},
    {kHelmert3d, kTransformParams, kDataLines, 75, 88},
    {kProjectionSets, kDefinitions, kDataLines, 76, 89},

    {kDatabase, kTop, kContainer, 0, 0},
    {kJobs, kDatabase, kDataLines, 23, 33},
    {kPoints, kDatabase, kCollected, 24, 34},
    {kPntAccuracy, kPoints, kDataLines, 25, 35},
    {kExtraInfo, kPoints, kCompletion, 0, 0},
    {kThemInfo, kPoints, kDataLines, 26, 36},
    {kAnnotations, kPoints, kDataLines, 58, 59},
    {kLines, kDatabase, kCollected, 27, 37},
    {kEdges, kLines, kDataLines, 28, 38},
    {kExtraInfo, kLines, kCompletion, 0, 0},
    {kThemInfo, kLines, kDataLines, 29, 39},
    {kAnnotations, kLines, kDataLines, 60, 62},
    {kPolygons, kDatabase, kCollected, 30, 40},
    {kEdges, kPolygons, kDataLines, 31, 41},
    {kExtraInfo, kPolygons, kCompletion, 0, 0},
    {kThemInfo, kPolygons, kDataLines, 32, 42},
    {kAnnotations, kPolygons, kDataLines, 61, 63},
    {kText, kDatabase, kContainer, 0, 0},
    {kProperties, kText, kDataLines, 92, 95},
    {kBoxes, kText, kContainer, 0, 0},
    {kBoxOnPoint, kBoxes, kDataLines, 93, 96},
    {kItems, kText, kDataLines, 94, 97},

    {kMeteo, kTop, kContainer, 0, 0},
    {kElements, kMeteo, kDataLines, 43, 44},
    {kTheodolite, kTop, kContainer, 0, 0},
    {kInstruments, kTheodolite, kDataLines, 45, 50},
    {kConfigs, kTheodolite, kDataLines, 46, 51},
    {kAprioriErrors, kTheodolite, kDataLines, 47, 52},
    {kAprioriErrors, kConfigs, kDataLines, 47, 52},
    {kSetup, kTheodolite, kItemLines, 48, 53},
    {kSlope, kTheodolite, kDataLines, 49, 54},

    {kTimeTaggedCodes, kTop, kTimeTaggedLines, 90, 91},
    {kOperations, kTop, kOperationLines, 55, 56},
};

// Position + 1 of the row for [parent][keyword], 0 where the keyword may not stand.
using Tree = std::array<std::array<uint8_t, kKeywordCount>, kKeywordCount>;
constexpr Tree tree() {
  Tree index{};
  for (size_t i = 0; i < std::size(kBlocks); ++i) {
    index[kBlocks[i].parent][kBlocks[i].keyword] = static_cast<uint8_t>(i + 1);
  }
  return index;
}
constexpr Tree kTree = tree();

// Position + 1 of the first row with the columns record type, and that type for each data type.
constexpr std::array<uint8_t, kLastRecordType + 1> rowsOfColumns() {
  std::array<uint8_t, kLastRecordType + 1> index{};
  for (size_t i = 0; i < std::size(kBlocks); ++i) {
    if (index[kBlocks[i].columns] == 0) index[kBlocks[i].columns] = static_cast<uint8_t>(i + 1);
  }
  index[0] = 0;
  return index;
}
constexpr std::array<uint8_t, kLastRecordType + 1> kRowOfColumns = rowsOfColumns();

constexpr std::array<uint8_t, kLastRecordType + 1> columnsOfData() {
  std::array<uint8_t, kLastRecordType + 1> index{};
  for (const BlockDef& block : kBlocks) index[block.data] = static_cast<uint8_t>(block.columns);
  index[TVO_RECORD_OPERATION_POINTS] = TVO_RECORD_OPERATIONS_COLUMNS;
  index[0] = 0;
  return index;
}
constexpr std::array<uint8_t, kLastRecordType + 1> kColumnsOfData = columnsOfData();

}  // namespace

const BlockDef* findBlock(uint32_t parent, uint32_t keyword) {
  if (parent >= kKeywordCount || keyword >= kKeywordCount) return nullptr;
  const uint8_t row = kTree[parent][keyword];
  return row == 0 ? nullptr : &kBlocks[row - 1];
}

bool hasSubSections(uint32_t keyword) {
  return keyword < kKeywordCount && std::ranges::any_of(kBlocks, [keyword](const BlockDef& block) {
           return block.parent == keyword;
         });
}

const BlockDef* blockOfColumns(RecordType columns) {
  const uint8_t row = columns <= kLastRecordType ? kRowOfColumns[columns] : uint8_t{0};
  return row == 0 ? nullptr : &kBlocks[row - 1];
}

RecordType columnsOf(RecordType data) {
  return data <= kLastRecordType ? kColumnsOfData[data] : RecordType{0};
}

}  // namespace tavo::schema
