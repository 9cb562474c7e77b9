// The rows of the catalogue, the checks that every row passes, and what is computed from them.
#include "schema/catalogue.h"

#include <algorithm>
#include <array>
#include <iterator>

#include "schema/field_tables.h"
#include "schema/fields.h"

namespace tavo::schema {

namespace {

constexpr KeywordId kTop = kUnknownSection;
using enum BlockKind;

constexpr Kept once(uint16_t code) { return {code, WriteCheck::kOncePerFile}; }
constexpr Kept often(uint16_t code) { return {code, WriteCheck::kNone}; }
constexpr Kept unique(uint16_t code) { return {code, WriteCheck::kUniqueKey}; }

// Whether the table's rows cover the structure without a gap and none is split. A row that is not
// kept stands for a member that stays zero.
template <size_t N>
constexpr bool covers(const FieldDef (&fields)[N], size_t size) {
  size_t covered = 0;
  for (size_t i = 0; i + 1 < N; ++i) {
    if (fields[i].offset == kNotKept) {
      covered += sizeof(EnumId);
      continue;
    }
    const size_t bytes = storedSize(fields[i].type, fields[i].width);
    if (fields[i].offset + bytes > size) return false;
    bool shared = false;
    for (size_t j = 0; j < i; ++j) shared = shared || fields[j].offset == fields[i].offset;
    if (!shared) covered += bytes;
  }
  return covered == size && fields[N - 1].id == kEndMark;
}

// Values of a record as a data file counts them.
template <size_t N>
constexpr size_t members(const FieldDef (&fields)[N]) {
  size_t count = 0;
  for (size_t i = 0; i + 1 < N; ++i) {
    count += fields[i].type == DataType::kDefault ? 3 : fields[i].type == DataType::kFree ? 4 : 1;
  }
  return count;
}

// A key is a whole member of the type that its index has; identifiers all have one width.
template <size_t N>
constexpr bool isKey(const FieldDef (&fields)[N], uint16_t offset, DataType type, size_t size) {
  return offset == kNotKept || std::ranges::any_of(fields, [=](const FieldDef& field) {
           return field.offset == offset && field.type == type &&
                  storedSize(field.type, field.width) == size;
         });
}

template <class Record, const auto& Fields>
consteval Layout layout(KeyMembers keys = {}) {
  static_assert(covers(Fields, sizeof(Record)), "a field table must cover its structure exactly");
  static_assert(sizeof(Record) <= kRecordRoom && members(Fields) <= kMaxMembers);
  if (!isKey(Fields, keys.listNo, DataType::kUint16, 2) ||
      !isKey(Fields, keys.number, DataType::kUint32, 4) ||
      !isKey(Fields, keys.identifier, DataType::kText, sizeof(PointRecord::PointID))) {
    throw "a key must have its index's type";
  }
  return {Fields, sizeof(Record), keys};
}

// Blocks of several parents share their structure, and with it its keys: an edge is found by its
// line, also in a polygon.
constexpr Layout kThemInfoLayout = layout<ThemInfoRecord, kThemInfoFields>(
    {.number = offsetof(ThemInfoRecord, OwnerNo), .identifier = offsetof(ThemInfoRecord, PointID)});
constexpr Layout kEdgeLayout =
    layout<EdgeRecord, kEdgeFields>({.number = offsetof(EdgeRecord, LineNo)});
constexpr Layout kAnnotationLayout = layout<AnnotationRecord, kAnnotationFields>(
    {.number = offsetof(AnnotationRecord, PointNo),
     .identifier = offsetof(AnnotationRecord, PointID)});

#define RECORDS(name) TVO_RECORD_##name##_COLUMNS, TVO_RECORD_##name

// Keyword, where it stands, kind, record types of its columns and of its data, layout of the data,
// how a data file keeps both, oddities.
//
// A columns record goes into a data file once, right before the data records of its block. The
// projections that came later (LAMBERT_WITH_SCALE, MERCATOR_2, POLAR_STEREOGRAPHIC, RSO,
// CASSINI_SOLDNER) and the time-tagged codes have never been looked up, so theirs may be stored
// again; hosts rely on it. The parameters of ellipsoids, projections, transformations and
// projection sets have never been stored.
// clang-format off
constexpr BlockDef kBlocks[] = {
    {kHeader, kTop, kItemLines, RECORDS(HEADER),
     layout<HeaderRecord, kHeaderFields>(), once(1), often(2), {.valuesAt = 13}},
    {kUnits, kHeader, kItemLines, RECORDS(UNITS),
     layout<UnitsRecord, kUnitsFields>(), once(21), often(22), {.valuesAt = 11}},
    {kOffsets, kHeader, kItemLines, RECORDS(OFFSETS),
     layout<OffsetsRecord, kOffsetsFields>(), once(41), often(42), {.valuesAt = 10}},
    {kProject, kHeader, kItemLines, RECORDS(PROJECT),
     layout<ProjectRecord, kProjectFields>(), once(61), often(62), {.valuesAt = 15}},

    {kDefinitions, kTop, kContainer},
    {kSubjects, kDefinitions, kDataLines, RECORDS(SUBJECTS),
     layout<SubjectRecord, kSubjectFields>({.listNo = offsetof(SubjectRecord, SubjectNo)}),
     once(2001), often(2002)},
    {kLayers, kDefinitions, kDataLines, RECORDS(LAYERS),
     layout<LayerRecord, kLayerFields>({.listNo = offsetof(LayerRecord, LayerNo)}), once(2021),
     often(2022)},
    {kSubjectLayerList, kDefinitions, kDataLines, RECORDS(SUBJECT_LAYER_LIST),
     layout<SubjectLayerRecord, kSubjectLayerFields>(), once(2041), often(2042)},
    {kChoiceList, kDefinitions, kDataLines, RECORDS(CHOICELIST),
     layout<ChoiceRecord, kChoiceFields>({.listNo = offsetof(ChoiceRecord, ListNo)}), once(2061),
     often(2062)},
    {kCodeList, kDefinitions, kItemLines, RECORDS(CODELIST),
     layout<CodeListRecord, kCodeListFields>(), once(2081), often(2082)},
    {kCodes, kCodeList, kDataLines, RECORDS(CODES),
     layout<CodeRecord, kCodeFields>({.listNo = offsetof(CodeRecord, CodeNo)}), once(2101),
     often(2102)},
    {kAttributes, kCodeList, kDataLines, RECORDS(ATTRIBUTES),
     layout<AttributeRecord, kAttributeFields>(), once(2121), often(2122)},
    {kEllipsoids, kDefinitions, kDataLines, RECORDS(ELLIPSOIDS),
     layout<EllipsoidRecord, kEllipsoidFields>(), once(3001)},
    {kMapPrjParams, kDefinitions, kContainer},
    {kUtm, kMapPrjParams, kDataLines, RECORDS(UTM), layout<UtmRecord, kUtmFields>(), once(3101)},
    {kLambert, kMapPrjParams, kDataLines, RECORDS(LAMBERT),
     layout<LambertRecord, kLambertFields>(), once(3103)},
    {kLambertWithScale, kMapPrjParams, kDataLines, RECORDS(LAMBERT_WITH_SCALE),
     layout<LambertWithScaleRecord, kLambertWithScaleFields>(), once(3119), {},
     {.searched = false}},
    {kMercator, kMapPrjParams, kDataLines, RECORDS(MERCATOR),
     layout<MercatorRecord, kMercatorFields>(), once(3105)},
    // MERCATOR_2 has always been checked against MERCATOR's columns; files rely on it.
    {kMercator2, kMapPrjParams, kDataLines, RECORDS(MERCATOR_2),
     layout<Mercator2Record, kMercator2Fields>(), once(3117), {},
     {.definition = kMercatorFields, .searched = false}},
    {kObliqueMercator, kMapPrjParams, kDataLines, RECORDS(OBLIQUE_MERCATOR),
     layout<ObliqueMercatorRecord, kObliqueMercatorFields>(), once(3107)},
    {kDoubleStereographic, kMapPrjParams, kDataLines, RECORDS(DOUBLE_STEREOGRAPHIC),
     layout<StereographicRecord, kStereographicFields>(), once(3109)},
    {kPolarStereographic, kMapPrjParams, kDataLines, RECORDS(POLAR_STEREOGRAPHIC),
     layout<StereographicRecord, kStereographicFields>(), once(3121), {}, {.searched = false}},
    {kRso, kMapPrjParams, kDataLines, RECORDS(RSO),
     layout<RsoRecord, kRsoFields>(), once(3123), {}, {.searched = false}},
    {kCassiniSoldner, kMapPrjParams, kDataLines, RECORDS(CASSINI_SOLDNER),
     layout<CassiniSoldnerRecord, kCassiniSoldnerFields>(), once(3115), {}, {.searched = false}},
    {kPlane, kMapPrjParams, kDataLines, RECORDS(PLANE),
     layout<PlaneRecord, kPlaneFields>(), once(3111)},
    {kSpecial, kMapPrjParams, kDataLines, RECORDS(SPECIAL),
     layout<SpecialRecord, kSpecialFields>(), once(3113)},
    {kTransformParams, kDefinitions, kContainer},
    {kApprox1d, kTransformParams, kDataLines, RECORDS(APPROX1D),
     layout<Approx1dRecord, kApprox1dFields>(), once(4001)},
    {kAffin2d, kTransformParams, kDataLines, RECORDS(AFFIN2D),
     layout<Affin2dRecord, kAffin2dFields>(), once(4021)},
    {kHelmert2d, kTransformParams, kDataLines, RECORDS(HELMERT2D),
     layout<Helmert2dRecord, kHelmert2dFields>(), once(4041)},
    {kHelmert3d, kTransformParams, kDataLines, RECORDS(HELMERT3D),
     layout<Helmert3dRecord, kHelmert3dFields>(), once(4061)},
    {kProjectionSets, kDefinitions, kDataLines, RECORDS(PROJECTION_SETS),
     layout<ProjectionSetRecord, kProjectionSetFields>(), once(4501)},

    {kDatabase, kTop, kContainer},
    {kJobs, kDatabase, kDataLines, RECORDS(JOBS),
     layout<JobRecord, kJobFields>({.listNo = offsetof(JobRecord, JobNo)}), once(10001),
     often(10002)},
    {kPoints, kDatabase, kCollected, RECORDS(POINTS),
     layout<PointRecord, kPointFields>(
         {.number = offsetof(PointRecord, PointNo), .identifier = offsetof(PointRecord, PointID)}),
     once(10021), unique(10022)},
    {kPntAccuracy, kPoints, kDataLines, RECORDS(PNT_ACCURACY),
     layout<PointAccuracyRecord, kPointAccuracyFields>(
         {.number = offsetof(PointAccuracyRecord, PointNo),
          .identifier = offsetof(PointAccuracyRecord, PointID)}),
     once(10041), often(10042), {.continues = true}},
    {kExtraInfo, kPoints, kCompletion, 0, 0, {}, {}, {},
     {.writtenUnder = TVO_RECORD_POINT_EXTRAINFO_COLUMNS, .unknownKey = kUnknownPoint,
      .continues = true}},
    {kThemInfo, kPoints, kDataLines, RECORDS(POINT_THEMINFO), kThemInfoLayout, once(10061),
     often(10062), {.continues = true}},
    {kAnnotations, kPoints, kDataLines, RECORDS(POINT_ANNOTATIONS), kAnnotationLayout, once(10071),
     often(10072), {.continues = true}},
    {kLines, kDatabase, kCollected, RECORDS(LINES),
     layout<LineRecord, kLineFields>(
         {.number = offsetof(LineRecord, LineNo), .identifier = offsetof(LineRecord, LineID)}),
     once(10081), often(10082)},
    {kEdges, kLines, kDataLines, RECORDS(LINE_EDGES), kEdgeLayout, once(10101), often(10102),
     {.continues = true}},
    {kExtraInfo, kLines, kCompletion, 0, 0, {}, {}, {},
     {.writtenUnder = TVO_RECORD_LINE_EXTRAINFO_COLUMNS, .unknownKey = kUnknownLine,
      .continues = true}},
    {kThemInfo, kLines, kDataLines, RECORDS(LINE_THEMINFO), kThemInfoLayout, once(10121),
     often(10122), {.continues = true}},
    {kAnnotations, kLines, kDataLines, RECORDS(LINE_ANNOTATIONS), kAnnotationLayout, once(10131),
     often(10132), {.continues = true}},
    {kPolygons, kDatabase, kCollected, RECORDS(POLYGONS),
     layout<PolygonRecord, kPolygonFields>(
         {.number = offsetof(PolygonRecord, PolygonNo),
          .identifier = offsetof(PolygonRecord, PolygonID)}),
     once(10141), often(10142)},
    {kEdges, kPolygons, kDataLines, RECORDS(POLYGON_EDGES), kEdgeLayout, once(10161), often(10162),
     {.continues = true}},
    {kExtraInfo, kPolygons, kCompletion, 0, 0, {}, {}, {},
     {.writtenUnder = TVO_RECORD_POLYGON_EXTRAINFO_COLUMNS, .unknownKey = kUnknownPolygon,
      .continues = true}},
    {kThemInfo, kPolygons, kDataLines, RECORDS(POLYGON_THEMINFO), kThemInfoLayout, once(10181),
     often(10182), {.continues = true}},
    {kAnnotations, kPolygons, kDataLines, RECORDS(POLYGON_ANNOTATIONS), kAnnotationLayout,
     once(10191), often(10192), {.continues = true}},
    // The blocks of TEXT are in no data file.
    {kText, kDatabase, kContainer},
    {kProperties, kText, kDataLines, RECORDS(PROPERTIES),
     layout<TextPropertyRecord, kTextPropertyFields>()},
    {kBoxes, kText, kContainer},
    {kBoxOnPoint, kBoxes, kDataLines, RECORDS(BOX_ON_POINT),
     layout<TextBoxRecord, kTextBoxFields>()},
    {kItems, kText, kDataLines, RECORDS(ITEMS), layout<TextItemRecord, kTextItemFields>()},

    {kMeteo, kTop, kContainer},
    {kElements, kMeteo, kDataLines, RECORDS(ELEMENTS),
     layout<ElementsRecord, kElementsFields>(
         {.number = offsetof(ElementsRecord, StnNo),
          .identifier = offsetof(ElementsRecord, StnID)}),
     once(15001), often(15002)},

    {kTheodolite, kTop, kContainer},
    {kInstruments, kTheodolite, kDataLines, RECORDS(INSTRUMENTS),
     layout<InstrumentRecord, kInstrumentFields>(), once(20001), often(20002)},
    {kConfigs, kTheodolite, kDataLines, RECORDS(CONFIGS),
     layout<ConfigRecord, kConfigFields>({.listNo = offsetof(ConfigRecord, CfgNo)}), once(20021),
     often(20022)},
    {kAprioriErrors, kTheodolite, kDataLines, RECORDS(APRIORI_ERRORS),
     layout<AprioriErrorRecord, kAprioriErrorFields>(), once(20041), often(20042),
     {.alsoIn = kConfigs, .continues = true}},
    // One sort code, so that setups and the slopes measured from them stay in the order written; so
    // their columns repeat, too.
    {kSetup, kTheodolite, kItemLines, RECORDS(SETUP),
     layout<SetupRecord, kSetupFields>(
         {.number = offsetof(SetupRecord, STN_NO), .identifier = offsetof(SetupRecord, STN_ID)}),
     often(20061), often(20061)},
    {kSlope, kTheodolite, kDataLines, RECORDS(SLOPE),
     layout<SlopeRecord, kSlopeFields>(
         {.number = offsetof(SlopeRecord, TgtNo), .identifier = offsetof(SlopeRecord, TgtID)}),
     often(20061), often(20061)},

    // The entries of a time-tagged code are not kept.
    {kTimeTaggedCodes, kTop, kTimeTaggedLines, RECORDS(TIME_TAGGED_CODES),
     {nullptr, sizeof(TimeTaggedRecord)}, once(50100), often(50101),
     {.searched = false, .readBack = false}},
    {kOperations, kTop, kOperationLines, RECORDS(OPERATIONS), {nullptr, sizeof(OperationRecord)},
     once(50001), often(50002),
     {.extraData = TVO_RECORD_OPERATION_POINTS, .extraSize = sizeof(OperationPointsRecord)}},
};
// clang-format on
#undef RECORDS

// The structures' layout is part of the interface with hosts.
static_assert(sizeof(ColumnsRecord) == 414 && sizeof(ColumnsRecord) <= kRecordRoom &&
              offsetof(ColumnsRecord, fields) == 250);
static_assert(sizeof(HeaderRecord) == 67 && sizeof(UnitsRecord) == 48);
static_assert(sizeof(OffsetsRecord) == 24 && sizeof(ProjectRecord) == 624);
static_assert(sizeof(PointRecord) == 194 && offsetof(PointRecord, JobNo) == 21 &&
              offsetof(PointRecord, SYS) == 23 && offsetof(PointRecord, CLASS) == 24 &&
              offsetof(PointRecord, East) == 28);
static_assert(sizeof(ThemInfoRecord) == 195 && offsetof(ThemInfoRecord, Value) == 52);
static_assert(sizeof(SetupRecord) == 39 && sizeof(SlopeRecord) == 138);
static_assert(sizeof(OperationRecord) == 4 && sizeof(OperationPointsRecord) == 220);
static_assert(sizeof(TimeTaggedEntry) == 78);
static_assert(offsetof(TimeTaggedRecord, entries) == 27, "the one pointer stands last");

constexpr RecordType lastRecordType() {
  RecordType last = 0;
  for (const BlockDef& block : kBlocks) {
    last = std::max({last, block.columns, block.data, block.odd.extraData});
  }
  return last;
}
static_assert(lastRecordType() < kRecordTypes);

// A type without lookups is never found, so it is never refused as a duplicate.
constexpr RecordDef recordOf(const BlockDef& block, RecordType type, size_t size, Kept kept) {
  const bool unchecked = kept.check == WriteCheck::kOncePerFile && !block.odd.searched;
  return {.type = type,
          .size = static_cast<uint16_t>(size),
          .columns = type == block.columns,
          .fields = type == block.odd.extraData ? nullptr : block.layout.fields,
          .block = &block,
          .sortCode = kept.sortCode,
          .check = unchecked ? WriteCheck::kNone : kept.check,
          .searched = kept.sortCode != 0 && block.odd.searched};
}

// By type; the first entry stands for all numbers that are not used.
constexpr std::array<RecordDef, lastRecordType() + 1> recordDefs() {
  std::array<RecordDef, lastRecordType() + 1> table{};
  for (const BlockDef& block : kBlocks) {
    if (block.columns == 0) continue;
    for (const RecordType type : {block.columns, block.data, block.odd.extraData}) {
      if (type != 0 && table[type].type != 0) throw "a record type belongs to one block";
    }
    table[block.columns] = recordOf(block, block.columns, sizeof(ColumnsRecord), block.columnsKept);
    table[block.data] = recordOf(block, block.data, block.layout.size, block.dataKept);
    if (block.odd.extraData != 0) {
      table[block.odd.extraData] =
          recordOf(block, block.odd.extraData, block.odd.extraSize, block.dataKept);
    }
  }
  for (const BlockDef& block : kBlocks) {
    const RecordType type = block.odd.writtenUnder;
    if (type != 0 && type < table.size() && table[type].columns) throw "the type is taken";
  }
  return table;
}
constexpr std::array<RecordDef, lastRecordType() + 1> kRecords = recordDefs();

// Position + 1 of the row for [parent][keyword], 0 where the keyword may not stand.
using Tree = std::array<std::array<uint8_t, kKeywordCount>, kKeywordCount>;
constexpr Tree tree() {
  static_assert(std::size(kBlocks) < 256);
  Tree index{};
  for (size_t i = 0; i < std::size(kBlocks); ++i) {
    const BlockDef& block = kBlocks[i];
    for (const KeywordId parent : {block.parent, block.odd.alsoIn}) {
      if (parent == kTop && block.parent != kTop) continue;
      index[parent][block.keyword] = static_cast<uint8_t>(i + 1);
    }
  }
  return index;
}
constexpr Tree kTree = tree();

constexpr std::array<KeywordId, kKeywordCount> parents() {
  std::array<KeywordId, kKeywordCount> table;
  table.fill(kTop);
  for (size_t i = std::size(kBlocks); i-- > 0;) table[kBlocks[i].keyword] = kBlocks[i].parent;
  return table;
}
constexpr std::array<KeywordId, kKeywordCount> kParents = parents();

constexpr size_t depthOf(KeywordId keyword) {
  size_t depth = 0;
  for (; keyword != kTop; keyword = kParents[keyword]) ++depth;
  return depth;
}
constexpr size_t depthOfTree() {
  size_t deepest = 0;
  for (const BlockDef& block : kBlocks) deepest = std::max(deepest, depthOf(block.keyword));
  return deepest;
}
static_assert(depthOfTree() == kMaxDepth, "writers have room for the blocks that are open");

// Records that are held back have keys, and a block that completes them.
constexpr bool canBeCompleted(const BlockDef& block) {
  const KeyMembers& keys = block.layout.keys;
  return keys.number != kNotKept && keys.identifier != kNotKept &&
         std::ranges::any_of(kBlocks, [&block](const BlockDef& inner) {
           return inner.keyword == kExtraInfo && inner.parent == block.keyword &&
                  inner.kind == kCompletion && inner.odd.unknownKey != 0;
         });
}
static_assert(std::ranges::all_of(kBlocks, [](const BlockDef& block) {
  return block.kind != kCollected || canBeCompleted(block);
}));

// A columns record has the code right in front of its data records', or the same; further blocks
// share it only next to each other. A lookup that meets another type therefore need not go on.
constexpr bool codesAreApart() {
  for (size_t i = 0; i < std::size(kBlocks); ++i) {
    const unsigned columns = kBlocks[i].columnsKept.sortCode, data = kBlocks[i].dataKept.sortCode;
    if (data != 0 && data != columns && data != columns + 1) return false;
    for (size_t j = i + 2; j < std::size(kBlocks); ++j) {
      const Kept others[] = {kBlocks[j].columnsKept, kBlocks[j].dataKept};
      for (const Kept& other : others) {
        const unsigned code = other.sortCode;
        if (code != 0 && (code == columns || code == data)) return false;
      }
    }
  }
  return true;
}
static_assert(codesAreApart());

}  // namespace

constinit const RecordType kLastRecordType = lastRecordType();

std::span<const BlockDef> blocks() { return kBlocks; }

const RecordDef& recordDef(RecordType type) { return kRecords[type < kRecords.size() ? type : 0]; }

const BlockDef* findBlock(uint32_t parent, uint32_t keyword) {
  if (parent >= kKeywordCount || keyword >= kKeywordCount) return nullptr;
  const uint8_t row = kTree[parent][keyword];
  return row == 0 ? nullptr : &kBlocks[row - 1];
}

bool hasSubSections(uint32_t keyword) {
  return keyword < kKeywordCount &&
         std::ranges::any_of(kTree[keyword], [](uint8_t row) { return row != 0; });
}

uint32_t parentOf(uint32_t keyword) {
  return keyword < kKeywordCount ? kParents[keyword] : uint32_t{kTop};
}

const BlockDef* blockOfColumns(RecordType columns) {
  const RecordDef& record = recordDef(columns);
  return record.columns ? record.block : nullptr;
}

const BlockDef* writtenBlock(RecordType columns) {
  if (const BlockDef* const block = blockOfColumns(columns); block != nullptr || columns == 0) {
    return block;
  }
  const BlockDef* const found = std::ranges::find_if(
      kBlocks, [columns](const BlockDef& block) { return block.odd.writtenUnder == columns; });
  return found == std::end(kBlocks) ? nullptr : found;
}

RecordType columnsOf(RecordType data) {
  const RecordDef& record = recordDef(data);
  return record.type == 0 || record.columns ? RecordType{0} : record.block->columns;
}

const FieldDef* definitionTable(RecordType columns) {
  const BlockDef* const block = blockOfColumns(columns);
  if (block == nullptr) return nullptr;
  return block->odd.definition != nullptr ? block->odd.definition : block->layout.fields;
}

int FieldTableFor(RecordType columns, std::string_view name, FieldDef* field) {
  const FieldDef* table = definitionTable(columns);
  return table == nullptr ? kNoTable : FindField(table, name, field);
}

}  // namespace tavo::schema
