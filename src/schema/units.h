// Conversion between the units that a HEADER declares and the internal ones: metres and radians.
// Readers convert with toInternal, writers undo it with fromInternal.
#pragma once

#include "schema/types.h"

namespace tavo::schema {

// Units, user factors and coordinate offsets in force; initially those of a file without HEADER.
struct Units {
  EnumId angular = TVO_ENUM_GRADS;
  EnumId linear = TVO_ENUM_METRE;
  EnumId geographic = TVO_ENUM_DMS;
  EnumId temperature = TVO_ENUM_CELSIUS;
  EnumId pressure = TVO_ENUM_HPA;
  EnumId dateOrder = TVO_ENUM_DMY;
  double angularFactor = 1, linearFactor = 1, geographicFactor = 1;  // of the user units
  double east = 0, north = 0, elevation = 0;                         // metres
};

// An item of the UNITS block: the values that it accepts, the value that stands for its user unit
// (0: it has none), what it sets, and where its record keeps a user unit's factor.
struct UnitItem {
  FieldId item;
  EnumId first, last;
  EnumId user;
  EnumId Units::*setting;
  double Units::*factor;
  uint16_t factorOffset;
};

inline constexpr UnitItem kUnitItems[] = {
    {TVO_FIELD_ANGULAR, TVO_ENUM_DMS, TVO_ENUM_RADS, TVO_ENUM_USER, &Units::angular,
     &Units::angularFactor, offsetof(UnitsRecord, angularFactor)},
    {TVO_FIELD_LINEAR, TVO_ENUM_METRE, TVO_ENUM_LINKS, TVO_ENUM_USER_LINEAR, &Units::linear,
     &Units::linearFactor, offsetof(UnitsRecord, linearFactor)},
    {TVO_FIELD_GEOCRD, TVO_ENUM_DMS, TVO_ENUM_RADS, TVO_ENUM_USER_GEOGRAPHIC, &Units::geographic,
     &Units::geographicFactor, offsetof(UnitsRecord, geographicFactor)},
    {TVO_FIELD_TEMP, TVO_ENUM_CELSIUS, TVO_ENUM_FAHRENHEIT, 0, &Units::temperature, nullptr, 0},
    {TVO_FIELD_PRESS, TVO_ENUM_MMHG, TVO_ENUM_HPA, 0, &Units::pressure, nullptr, 0},
    {TVO_FIELD_Date, TVO_ENUM_MJD, TVO_ENUM_YMD, 0, &Units::dateOrder, nullptr, 0},
};

// Whether the id is a user unit, of whichever group.
bool isUserUnit(EnumId unit);

// Whether values of the kind have another form in a file than in a record.
bool converts(const Units& units, UnitKind kind);

// Value as a file holds it -> metres or radians. An angle in DMS is packed DDD.MMSSsss with its
// sign in front. Units "UNKNOWN" and kNone leave the value as it is.
double toInternal(const Units& units, UnitKind kind, double value);

// Metres or radians -> value as a file holds it; the inverse of toInternal. A user factor of 0,
// which has no inverse, gives 0.
double fromInternal(const Units& units, UnitKind kind, double value);

// A value ready to be written with `decimals` decimals, of which only the first `significant` (0 to
// 30, never more than `decimals`) carry information; the others are to be written as zeros.
struct Written {
  double value = 0;
  int significant = 0;
};

// fromInternal for text of `decimals` (0 to 30) decimals. Rounds to the digits that survive the two
// conversions, so that the text, read and written again, stays the same; minutes and seconds of DMS
// are rounded as such and carry at 60. A value of which nothing is converted keeps all its digits.
Written toWritten(const Units& units, UnitKind kind, double value, int decimals);

}  // namespace tavo::schema
