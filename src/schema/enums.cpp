// The enumeration and operation tables and their lookups.
#include "schema/enums.h"

#include <array>
#include <iterator>

#include "schema/name_index.h"

namespace tavo::schema {

constexpr EnumEntry EnumTable[] = {
    {TVO_ENUM_DMS, "DMS"},
    {TVO_ENUM_DEGS, "DEGS"},
    {TVO_ENUM_GRADS, "GRADS"},
    {TVO_ENUM_RADS, "RADS"},
    {TVO_ENUM_USER, "USER"},
    {TVO_ENUM_METRE, "METRE"},
    {TVO_ENUM_INT_FEET, "INT_FEET"},
    {TVO_ENUM_US_SURVEY_FEET, "US_SURVEY_FEET"},
    {TVO_ENUM_LINKS, "LINKS"},
    {TVO_ENUM_USER_LINEAR, "USER"},
    {TVO_ENUM_USER_GEOGRAPHIC, "USER"},
    {TVO_ENUM_CELSIUS, "CELSIUS"},
    {TVO_ENUM_FAHRENHEIT, "FAHRENHEIT"},
    {TVO_ENUM_MMHG, "MMHG"},
    {TVO_ENUM_INHG, "INHG"},
    {TVO_ENUM_HPA, "HPA"},
    {TVO_ENUM_MJD, "MJD"},
    {TVO_ENUM_DMY, "DMY"},
    {TVO_ENUM_MDY, "MDY"},
    {TVO_ENUM_YMD, "YMD"},
    {TVO_ENUM_TEXT, "TEXT"},
    {TVO_ENUM_REAL, "REAL"},
    {TVO_ENUM_INT, "INT"},
    {TVO_ENUM_POINT, "POINT"},
    {TVO_ENUM_POLYGON, "POLYGON"},
    {TVO_ENUM_LINE, "LINE"},
    {TVO_ENUM_TIME, "TIME"},
    {TVO_ENUM_EST, "EST"},
    {TVO_ENUM_NAV, "NAV"},
    {TVO_ENUM_SPP, "SPP"},
    {TVO_ENUM_MEAS, "MEAS"},
    {TVO_ENUM_AVG, "AVG"},
    {TVO_ENUM_REF, "REF"},
    {TVO_ENUM_ADJ, "ADJ"},
    {TVO_ENUM_FIX, "FIX"},
    {TVO_ENUM_YES, "YES"},
    {TVO_ENUM_NO, "NO"},
    {TVO_ENUM_NOTE1, "NOTE1"},
    {TVO_ENUM_NOTE2, "NOTE2"},
    {TVO_ENUM_NOTE3, "NOTE3"},
    {TVO_ENUM_NOTE4, "NOTE4"},
    {TVO_ENUM_NORTH, "NORTH"},
    {TVO_ENUM_SOUTH, "SOUTH"},
    {TVO_ENUM_STANDARD, "STANDARD"},
    {TVO_ENUM_NAD27, "NAD27"},
    {TVO_ENUM_BW, "BW"},
    {TVO_ENUM_MB, "MB"},
    {TVO_ENUM_STRICT, "STRICT"},
    {TVO_ENUM_ONESTEP, "ONESTEP"},
    {TVO_ENUM_GAMMA_0, "GAMMA_0"},
    {TVO_ENUM_ALPHA_C, "ALPHA_C"},
    {TVO_ENUM_STRAIGHT, "STRAIGHT"},
    {TVO_ENUM_ARC_CENT, "ARC_CENT"},
    {TVO_ENUM_CIRCLE_CENT, "CIRCLE_CENT"},
    {TVO_ENUM_CURVE_3RD, "CURVE_3RD"},
    {TVO_ENUM_CURVE_4RD, "CURVE_4RD"},
    {TVO_ENUM_ELLIPSE, "ELLIPSE"},
    {TVO_ENUM_SPIRAL, "SPIRAL"},
    {TVO_ENUM_SPLAY, "SPLAY"},
    {TVO_ENUM_RADIATION, "RADIATION"},
    {TVO_ENUM_OFFSET, "OFFSET"},
    {TVO_ENUM_SWISS_MILITARY, "SWISS_MILITARY"},
    {TVO_ENUM_SWISS_CIVILIAN, "SWISS_CIVILIAN"},
    {TVO_ENUM_NEWZEALAND_GRID, "NEWZEALAND_GRID"},
    {TVO_ENUM_MALAYAN_RSO, "MALAYAN_RSO"},
    {TVO_ENUM_HUNGARIAN, "HUNGARIAN"},
    {TVO_ENUM_SOLDNER_BERLIN, "SOLDNER_BERLIN"},
    {TVO_ENUM_DUTCH, "DUTCH"},
    {TVO_ENUM_FINNISH_KKJ, "FINNISH_KKJ"},
    {TVO_ENUM_SWISS95, "SWISS95"},
    {TVO_ENUM_UNKNOWN, "UNKNOWN"},
    {kEndMark, ""},
};

constexpr Operation OperationTable[] = {
    {0, "ARC_3PTS", 3, false},
    {1, "CIRCLE_RADIUS", 1, true},
    {2, "CIRCLE_DIAM", 2, false},
    {3, "CIRCLE_CENT", 2, false},
    {4, "CIRCLE_3PTS", 3, false},
    {5, "SQUARE_LEFT", 2, false},
    {6, "SQUARE_RIGHT", 2, false},
    {7, "RECTANGLE", 2, true},
    {8, "PARALLELOGRAM", 3, false},
    {kUnknownOperation, "UKNOWN", 0, false},  // spelled so in every file of this format
    {kEndMark, "", 0, false},
};

namespace {

constexpr size_t kEnumCount = std::size(EnumTable) - 1;
constexpr size_t kOperationCount = std::size(OperationTable) - 1;
constexpr NameIndex<kEnumCount + 1> kEnumIndex(EnumTable);
constexpr NameIndex<kOperationCount + 1> kOperationIndex(OperationTable);

// Row of each id and length of its name; kEnumCount where there is none.
struct EnumRow {
  uint8_t row, length;
};
constexpr auto kEnumRows = [] {
  std::array<EnumRow, TVO_ENUM_UNKNOWN + 1> rows{};
  rows.fill({kEnumCount, 0});
  for (size_t i = kEnumCount; i-- > 0;) {
    rows[EnumTable[i].id] = {static_cast<uint8_t>(i),
                             static_cast<uint8_t>(std::string_view(EnumTable[i].name).size())};
  }
  return rows;
}();
static_assert(kEnumCount < 256);

struct Range {
  EnumId first, last;
};

// By EnumGroup.
constexpr Range kGroups[] = {
    {0, kEndMark},
    {TVO_ENUM_TEXT, TVO_ENUM_INT},
    {TVO_ENUM_POINT, TVO_ENUM_TIME},
    {TVO_ENUM_EST, TVO_ENUM_FIX},
    {TVO_ENUM_YES, TVO_ENUM_NO},
    {TVO_ENUM_NOTE1, TVO_ENUM_NOTE4},
    {TVO_ENUM_NORTH, TVO_ENUM_SOUTH},
    {TVO_ENUM_BW, TVO_ENUM_MB},
    {TVO_ENUM_STRICT, TVO_ENUM_ONESTEP},
    {TVO_ENUM_GAMMA_0, TVO_ENUM_ALPHA_C},
    {TVO_ENUM_STRAIGHT, TVO_ENUM_OFFSET},
    {TVO_ENUM_SWISS_MILITARY, TVO_ENUM_SWISS95},
};
static_assert(std::size(kGroups) == static_cast<size_t>(EnumGroup::kSpecialProjection) + 1);

template <class Entry, size_t N>
int nameOf(const Entry (&table)[N], uint32_t id, std::string_view* name) {
  for (size_t i = 0; i + 1 < N; ++i) {
    if (table[i].id == id) {
      *name = table[i].name;
      return kFound;
    }
  }
  *name = "UNKNOWN";
  return kUnknownNumber;
}

}  // namespace

int FindEnum(std::string_view name, EnumId* id) {
  const size_t i = kEnumIndex.find(EnumTable, name);
  *id = i < kEnumCount ? EnumTable[i].id : EnumId{TVO_ENUM_UNKNOWN};
  return i < kEnumCount ? kFound : kNotFound;
}

int EnumName(EnumId id, std::string_view* name) {
  const EnumRow row = id < std::size(kEnumRows) ? kEnumRows[id] : EnumRow{kEnumCount, 0};
  const bool found = row.row < kEnumCount;
  *name = found ? std::string_view(EnumTable[row.row].name, row.length) : "UNKNOWN";
  return found ? kFound : kUnknownNumber;
}

bool inGroup(EnumGroup group, EnumId value) {
  const Range range = kGroups[static_cast<size_t>(group)];
  return value == TVO_ENUM_UNKNOWN || (value >= range.first && value <= range.last);
}

int FindOperation(std::string_view name, uint32_t* operation) {
  const size_t i = kOperationIndex.find(OperationTable, name);
  *operation = i < kOperationCount ? OperationTable[i].id : kUnknownOperation;
  return i < kOperationCount ? kFound : kNotFound;
}

const Operation* operation(uint32_t number) {
  for (size_t i = 0; i < kOperationCount; ++i) {
    if (OperationTable[i].id == number) return &OperationTable[i];
  }
  return nullptr;
}

int OperationName(uint32_t operation, std::string_view* name) {
  return nameOf(OperationTable, operation, name);
}

}  // namespace tavo::schema
