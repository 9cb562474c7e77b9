// The keyword table and its lookups.
#include "schema/keywords.h"

#include "schema/name_index.h"

namespace tavo::schema {

constexpr Keyword KeywordTable[kKeywordCount + 1] = {
    {kHeader, "HEADER"},
    {kUnits, "UNITS"},
    {kOffsets, "OFFSETS"},
    {kProject, "PROJECT"},
    {kDefinitions, "DEFINITIONS"},
    {kSubjects, "SUBJECTS"},
    {kLayers, "LAYERS"},
    {kSubjectLayerList, "SUBJECT_LAYER_LIST"},
    {kChoiceList, "CHOICELIST"},
    {kCodeList, "CODELIST"},
    {kCodes, "CODES"},
    {kAttributes, "ATTRIBUTES"},
    {kEllipsoids, "ELLIPSOIDS"},
    {kMapPrjParams, "MAPPRJ_PARAMS"},
    {kUtm, "UTM"},
    {kLambert, "LAMBERT"},
    {kLambertWithScale, "LAMBERT_WITH_SCALE"},
    {kMercator, "MERCATOR"},
    {kMercator2, "MERCATOR_2"},
    {kObliqueMercator, "OBLIQUE_MERCATOR"},
    {kDoubleStereographic, "DOUBLE_STEREOGRAPHIC"},
    {kPolarStereographic, "POLAR_STEREOGRAPHIC"},
    {kRso, "RSO"},
    {kCassiniSoldner, "CASSINI_SOLDNER"},
    {kPlane, "PLANE"},
    {kSpecial, "SPECIAL"},
    {kTransformParams, "TRANSFORM_PARAMS"},
    {kApprox1d, "APPROX1D"},
    {kAffin2d, "AFFIN2D"},
    {kHelmert2d, "HELMERT2D"},
    {kHelmert3d, "HELMERT3D"},
    {kProjectionSets, "PROJECTION_SETS"},
    {kDatabase, "DATABASE"},
    {kJobs, "JOBS"},
    {kPoints, "POINTS"},
    {kPntAccuracy, "PNT_ACCURACY"},
    {kLines, "LINES"},
    {kPolygons, "POLYGONS"},
    {kEdges, "EDGES"},
    {kExtraInfo, "EXTRAINFO"},
    {kThemInfo, "THEMINFO"},
    {kAnnotations, "ANNOTATIONS"},
    {kText, "TEXT"},
    {kProperties, "PROPERTIES"},
    {kBoxes, "BOXES"},
    {kBoxOnPoint, "BOX_ON_POINT"},
    {kItems, "ITEMS"},
    {kMeteo, "METEO"},
    {kElements, "ELEMENTS"},
    {kTheodolite, "THEODOLITE"},
    {kInstruments, "INSTRUMENTS"},
    {kConfigs, "CONFIGS"},
    {kAprioriErrors, "APRIORI_ERRORS"},
    {kSetup, "SETUP"},
    {kSlope, "SLOPE"},
    {kTimeTaggedCodes, "TIME_TAGGED_CODES"},
    {kOperations, "OPERATIONS"},
    {kEnd, "END"},
    {kUnknownSection, "UNKNOWN SECTION"},
    {kEndMark, ""},
};

namespace {

constexpr NameIndex<kKeywordCount + 1> kIndex(KeywordTable);

constexpr bool numbersEqualPositions() {
  for (size_t i = 0; i < kKeywordCount; ++i) {
    if (KeywordTable[i].id != i) return false;
  }
  return true;
}
static_assert(numbersEqualPositions());

}  // namespace

int FindKeyword(std::string_view token, uint32_t* keyword) {
  const size_t i = kIndex.find(KeywordTable, token);
  *keyword = i < kKeywordCount ? KeywordTable[i].id : uint32_t{kUnknownSection};
  return i < kKeywordCount ? kFound : kNotFound;
}

int KeywordName(uint32_t keyword, std::string_view* name) {
  const bool known = keyword < kKeywordCount;
  *name = known ? std::string_view(KeywordTable[keyword].name) : std::string_view("UNKNOWN");
  return known ? kFound : kUnknownNumber;
}

std::string_view firstToken(std::string_view text) {
  size_t n = 0;
  while (n < text.size() && static_cast<unsigned char>(text[n]) > 32 && text[n] != '(') ++n;
  return text.substr(0, n);
}

std::string_view firstWord(std::string_view text) {
  size_t n = 0;
  while (n < text.size() && static_cast<unsigned char>(text[n]) > 32) ++n;
  return text.substr(0, n);
}

int LineKeyword(std::string_view line, uint32_t* keyword) {
  const std::string_view text = skipBlanks(line);
  // Data lines, the most of a file, begin with a digit or a quote and are told apart at once.
  if (text.empty() || !kIndex.begins(text.front())) {
    *keyword = kUnknownSection;
    return kNotFound;
  }
  return FindKeyword(firstToken(text), keyword);
}

int CheckEnd(std::string_view line, uint32_t keyword) {
  const std::string_view text = skipBlanks(line);
  uint32_t found = kUnknownSection;
  if (LineKeyword(text, &found) != kFound) return kNoKeyword;
  if (found != kEnd) return kForeignKeyword;
  // The END word itself ends at a blank only: END(JOBS) closes nothing.
  if (LineKeyword(text.substr(firstWord(text).size()), &found) != kFound) return kUnknownEnd;
  return found == keyword ? 0 : kOtherEnd;
}

}  // namespace tavo::schema
