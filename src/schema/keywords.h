// Section and sub-section keywords: the keyword table, its lookups, and the two questions that
// every reader asks of a line: which keyword begins it, and does it end the block.
#pragma once

#include <cstdint>
#include <string_view>

#include "schema/types.h"

namespace tavo::schema {

// Numbers of the keywords, equal to their positions in KeywordTable.
enum KeywordId : uint32_t {
  kHeader,
  kUnits,
  kOffsets,
  kProject,
  kDefinitions,
  kSubjects,
  kLayers,
  kSubjectLayerList,
  kChoiceList,
  kCodeList,
  kCodes,
  kAttributes,
  kEllipsoids,
  kMapPrjParams,
  kUtm,
  kLambert,
  kLambertWithScale,
  kMercator,
  kMercator2,
  kObliqueMercator,
  kDoubleStereographic,
  kPolarStereographic,
  kRso,
  kCassiniSoldner,
  kPlane,
  kSpecial,
  kTransformParams,
  kApprox1d,
  kAffin2d,
  kHelmert2d,
  kHelmert3d,
  kProjectionSets,
  kDatabase,
  kJobs,
  kPoints,
  kPntAccuracy,
  kLines,
  kPolygons,
  kEdges,
  kExtraInfo,
  kThemInfo,
  kAnnotations,
  kText,
  kProperties,
  kBoxes,
  kBoxOnPoint,
  kItems,
  kMeteo,
  kElements,
  kTheodolite,
  kInstruments,
  kConfigs,
  kAprioriErrors,
  kSetup,
  kSlope,
  kTimeTaggedCodes,
  kOperations,
  kEnd,
  kUnknownSection,  // result of a failed lookup; as a block's parent it stands for the top level
};
inline constexpr size_t kKeywordCount = kUnknownSection + 1;

struct Keyword {
  uint32_t id;
  char name[kNameSize];
};
extern const Keyword KeywordTable[kKeywordCount + 1];

// Statuses of CheckEnd besides 0, this block's END.
inline constexpr int kOtherEnd = 7;           // END of another block
inline constexpr int kNoKeyword = 11;         // the line begins with no keyword
inline constexpr int kForeignKeyword = 2012;  // a keyword other than END
inline constexpr int kUnknownEnd = 2105;      // END and a word that is no keyword

// Exact, case-significant lookup. Not found: status 11 and keyword 58.
int FindKeyword(std::string_view token, uint32_t* keyword);

// Name of a keyword number; an unknown number gives "UNKNOWN" and status 2570.
int KeywordName(uint32_t keyword, std::string_view* name);

// The name alone.
inline std::string_view keywordName(uint32_t keyword) {
  std::string_view name;
  KeywordName(keyword, &name);
  return name;
}

// First word of a text that begins with a non-blank: up to a character below 33 or '('.
std::string_view firstToken(std::string_view text);

// The same up to a character below 33 alone.
std::string_view firstWord(std::string_view text);

// Text behind its leading blanks (characters 1 to 32).
inline std::string_view skipBlanks(std::string_view text) {
  const char* p = text.data();
  const char* const end = p + text.size();
  while (p != end && *p >= 1 && *p <= 32) ++p;
  return {p, static_cast<size_t>(end - p)};
}

// Keyword that begins the line, behind its blanks. A blank line gives status 11.
int LineKeyword(std::string_view line, uint32_t* keyword);

// What the line means to the open block: 0, kOtherEnd, kNoKeyword, kForeignKeyword, kUnknownEnd.
int CheckEnd(std::string_view line, uint32_t keyword);

}  // namespace tavo::schema
