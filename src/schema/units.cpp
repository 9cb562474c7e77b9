// Unit factors and the packed sexagesimal form.
#include "schema/units.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace tavo::schema {

namespace {

constexpr double kDegree = std::numbers::pi / 180;
constexpr double kGrad = std::numbers::pi / 200;
constexpr double kInternationalFoot = 0.3048;  // metres, exact (1959 agreement)
constexpr double kSurveyFoot = 1200.0 / 3937;  // metres, exact (Mendenhall Order, 1893)
constexpr double kLink = 0.201168;             // metres, 1/100 chain of 66 international feet
constexpr double kEpsilon = 0x1p-52;           // of a double, relative

// Decimal digits that survive reading, converting, converting back and writing: one rounding to the
// nearest double and two of the conversions stay below half a unit of the 15th digit. Packing and
// unpacking minutes and seconds costs one digit more.
constexpr int kSafeDigits = 15;
constexpr int kSafeDmsDigits = 14;

constexpr double kPowers[] = {1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                              1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};

EnumId unitOf(const Units& units, UnitKind kind) {
  switch (kind) {
    case UnitKind::kAngular:
      return units.angular;
    case UnitKind::kLinear:
      return units.linear;
    case UnitKind::kGeographic:
      return units.geographic;
    case UnitKind::kNone:
      break;
  }
  return TVO_ENUM_UNKNOWN;
}

bool isDms(const Units& units, UnitKind kind) {
  return kind != UnitKind::kLinear && unitOf(units, kind) == TVO_ENUM_DMS;
}

double angleFactor(EnumId unit, double userFactor) {
  if (isUserUnit(unit)) return userFactor;
  if (unit == TVO_ENUM_DEGS) return kDegree;
  return unit == TVO_ENUM_GRADS ? kGrad : 1;
}

double lengthFactor(EnumId unit, double userFactor) {
  if (isUserUnit(unit)) return userFactor;
  if (unit == TVO_ENUM_INT_FEET) return kInternationalFoot;
  if (unit == TVO_ENUM_US_SURVEY_FEET) return kSurveyFoot;
  return unit == TVO_ENUM_LINKS ? kLink : 1;
}

double factorOf(const Units& units, UnitKind kind) {
  switch (kind) {
    case UnitKind::kAngular:
      return angleFactor(units.angular, units.angularFactor);
    case UnitKind::kLinear:
      return lengthFactor(units.linear, units.linearFactor);
    case UnitKind::kGeographic:
      return angleFactor(units.geographic, units.geographicFactor);
    case UnitKind::kNone:
      break;
  }
  return 1;
}

double unpackDms(double packed) {
  const double size = std::fabs(packed);
  double degrees = std::floor(size);
  const double rest = (size - degrees) * 100;
  double minutes = std::floor(rest);
  double seconds = (rest - minutes) * 100;
  // 12.29 may be stored as 12.2899999999999991: 28 minutes and 99.99999 seconds mean 29 minutes.
  if (100 - seconds < size * kEpsilon * 2e4) {
    seconds = 0;
    minutes += 1;
    if (minutes >= 100) {
      minutes = 0;
      degrees += 1;
    }
  }
  return std::copysign((degrees + minutes / 60 + seconds / 3600) * kDegree, packed);
}

double packDms(double radians) {
  const double size = std::fabs(radians) / kDegree;
  double degrees = std::floor(size);
  const double rest = (size - degrees) * 60;
  double minutes = std::floor(rest);
  double seconds = (rest - minutes) * 60;
  if (60 - seconds < size * kEpsilon * 2 * 3600) {
    seconds = 0;
    minutes += 1;
  }
  if (minutes >= 60) {
    minutes = 0;
    degrees += 1;
  }
  return std::copysign(degrees + minutes / 100 + seconds / 10000, radians);
}

// Digits in front of the point, at least 1.
int integerDigits(double size) {
  int digits = 1;
  while (digits <= kSafeDigits && size >= kPowers[digits]) ++digits;
  return digits;
}

// Units of the last of n decimals that make one degree: a whole, 6 tens of minutes, 60 minutes, ...
double perDegree(int n) {
  constexpr double kCoarse[] = {1, 6, 60, 360};
  return n < 4 ? kCoarse[n] : 3600 * kPowers[n - 4];
}

// The packed form rounded to n decimals: whole units of the last decimal are split into degrees,
// minutes and seconds, so that the carry is exact.
double packRounded(double degrees, int n) {
  double units = std::nearbyint(degrees * perDegree(n));
  const double whole = std::floor(units / perDegree(n));
  units -= whole * perDegree(n);
  if (n < 3) return (whole * kPowers[n] + units) / kPowers[n];
  const double perMinute = perDegree(n) / 60;
  const double minutes = std::floor(units / perMinute);
  const double seconds = units - minutes * perMinute;
  return (whole * kPowers[n] + minutes * kPowers[n - 2] + seconds) / kPowers[n];
}

}  // namespace

bool isUserUnit(EnumId unit) {
  return unit == TVO_ENUM_USER || unit == TVO_ENUM_USER_LINEAR || unit == TVO_ENUM_USER_GEOGRAPHIC;
}

bool converts(const Units& units, UnitKind kind) {
  return isDms(units, kind) || factorOf(units, kind) != 1;
}

double toInternal(const Units& units, UnitKind kind, double value) {
  return isDms(units, kind) ? unpackDms(value) : value * factorOf(units, kind);
}

double fromInternal(const Units& units, UnitKind kind, double value) {
  if (isDms(units, kind)) return packDms(value);
  const double factor = factorOf(units, kind);
  return factor == 0 ? 0 : value / factor;
}

Written toWritten(const Units& units, UnitKind kind, double value, int decimals) {
  if (!converts(units, kind)) return {value, decimals};
  const bool dms = isDms(units, kind);
  const double converted = dms ? value / kDegree : fromInternal(units, kind, value);
  if (!std::isfinite(converted)) return {};
  const double size = std::fabs(converted);
  const int safe = dms ? kSafeDmsDigits : kSafeDigits;
  const int n = std::clamp(safe - integerDigits(size), 0, decimals);
  if (!dms || size >= kPowers[kSafeDmsDigits]) return {converted, n};
  return {std::copysign(packRounded(size, n), value), n};
}

}  // namespace tavo::schema
