// Unit conversion both ways and day numbers.
#include "schema/units.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <numbers>
#include <random>
#include <string>

#include "schema/mjd.h"

namespace tavo::schema {
namespace {

constexpr double kPi = std::numbers::pi;
constexpr double kInfinity = std::numeric_limits<double>::infinity();

Units unitsOf(EnumId angular, EnumId linear) {
  Units units;
  units.angular = angular;
  units.geographic = angular;
  units.linear = linear;
  units.angularFactor = units.geographicFactor = 0.25;
  units.linearFactor = 2.5;
  return units;
}

TEST(Units, ConvertBothWays) {
  struct Case {
    UnitKind kind;
    EnumId unit;
    double file, internal;
  };
  const Case cases[] = {
      {UnitKind::kAngular, TVO_ENUM_GRADS, 100, kPi / 2},
      {UnitKind::kAngular, TVO_ENUM_DEGS, -90, -kPi / 2},
      {UnitKind::kAngular, TVO_ENUM_RADS, 1.5, 1.5},
      {UnitKind::kAngular, TVO_ENUM_USER, 8, 2},
      {UnitKind::kAngular, TVO_ENUM_UNKNOWN, 8, 8},
      {UnitKind::kGeographic, TVO_ENUM_USER_GEOGRAPHIC, 8, 2},
      {UnitKind::kLinear, TVO_ENUM_METRE, 7, 7},
      {UnitKind::kLinear, TVO_ENUM_INT_FEET, 10, 3.048},
      {UnitKind::kLinear, TVO_ENUM_US_SURVEY_FEET, 3937, 1200},
      {UnitKind::kLinear, TVO_ENUM_LINKS, 1000, 201.168},
      {UnitKind::kLinear, TVO_ENUM_USER_LINEAR, 2, 5},
      {UnitKind::kLinear, TVO_ENUM_UNKNOWN, 2, 2},
      {UnitKind::kLinear, TVO_ENUM_DMS, 2, 2},
      {UnitKind::kNone, TVO_ENUM_DMS, 2, 2},
      // Degrees, minutes and seconds; what binary rounding leaves below a minute or degree carries.
      {UnitKind::kAngular, TVO_ENUM_DMS, 12.3045, (12 + 30 / 60.0 + 45 / 3600.0) * kPi / 180},
      {UnitKind::kAngular, TVO_ENUM_DMS, 12.29, (12 + 29 / 60.0) * kPi / 180},
      {UnitKind::kAngular, TVO_ENUM_DMS, -0.003, -kPi / 180 / 120},
      {UnitKind::kGeographic, TVO_ENUM_DMS, 179.59599999, (180 - 0.01 / 3.6e5) * kPi / 180},
  };
  for (const Case& c : cases) {
    const Units units = unitsOf(c.unit, c.unit);
    EXPECT_NEAR(toInternal(units, c.kind, c.file), c.internal, 1e-12 * std::fabs(c.internal))
        << c.file << " in " << c.unit;
    EXPECT_NEAR(fromInternal(units, c.kind, c.internal), c.file, 1e-11 * std::fabs(c.file))
        << c.internal << " to " << c.unit;
  }
}

TEST(Units, DmsCarriesWhereItIsRounded) {
  const Units units = unitsOf(TVO_ENUM_DMS, TVO_ENUM_METRE);
  struct Case {
    double degrees;
    int decimals;
    double packed;
  };
  const Case cases[] = {{12.5, 4, 12.30},
                        {12 + 59 / 60.0 + 59.6 / 3600, 4, 13},
                        {12 + 59 / 60.0 + 59.6 / 3600, 5, 12.59596},
                        {12 + 29 / 60.0 + 59.96 / 3600, 5, 12.30},
                        {12 + 35 / 60.0, 2, 12.35},
                        {12 + 36 / 60.0, 1, 12.4},
                        {12.7, 0, 13},
                        {-1.0 / 3600 / 1000, 4, 0}};
  for (const Case& c : cases) {
    const Written w = toWritten(units, UnitKind::kAngular, c.degrees * kPi / 180, c.decimals);
    EXPECT_EQ(std::fabs(w.value), std::fabs(c.packed)) << c.degrees << " " << c.decimals;
    EXPECT_EQ(w.significant, c.decimals);
    EXPECT_EQ(std::signbit(w.value), std::signbit(c.degrees));
  }
}

TEST(Units, WrittenValuesComeBackAsTheSameText) {
  std::mt19937_64 random(7);
  const auto text = [](const Units& units, UnitKind kind, double value, int decimals) {
    const Written w = toWritten(units, kind, value, decimals);
    char digits[400];
    snprintf(digits, sizeof digits, "%.*f", w.significant, w.value);
    return std::string(digits);
  };
  for (const EnumId unit : {TVO_ENUM_DMS, TVO_ENUM_DEGS, TVO_ENUM_GRADS, TVO_ENUM_USER,
                            TVO_ENUM_INT_FEET, TVO_ENUM_US_SURVEY_FEET, TVO_ENUM_LINKS}) {
    const UnitKind kind = unit < TVO_ENUM_METRE ? UnitKind::kAngular : UnitKind::kLinear;
    const Units units = unitsOf(unit, unit);
    for (int i = 0; i < 20000; ++i) {
      const int decimals = static_cast<int>(random() % 31);
      const double scale = std::pow(10, static_cast<int>(random() % 9) - 3);
      const double value = static_cast<double>(random() % 2000001) / 1e6 * scale - scale;
      const std::string once = text(units, kind, value, decimals);
      const double read = toInternal(units, kind, strtod(once.c_str(), nullptr));
      ASSERT_EQ(text(units, kind, read, decimals), once) << unit << " " << value;
    }
  }
}

TEST(Units, AreTotal) {
  Units units = unitsOf(TVO_ENUM_USER, TVO_ENUM_USER_LINEAR);
  units.linearFactor = 0;
  EXPECT_EQ(fromInternal(units, UnitKind::kLinear, 5), 0);
  for (const EnumId unit : {TVO_ENUM_DMS, TVO_ENUM_GRADS}) {
    units.angular = unit;
    for (const double value : {kInfinity, -kInfinity, std::nan(""), 1e308, 5e-324}) {
      EXPECT_TRUE(std::isfinite(toWritten(units, UnitKind::kAngular, value, 30).value));
      toInternal(units, UnitKind::kAngular, value);
      fromInternal(units, UnitKind::kAngular, value);
    }
  }
}

bool equal(const DateTime& a, const DateTime& b) { return memcmp(&a, &b, sizeof a) == 0; }

TEST(Mjd, CountsDaysFrom17November1858) {
  struct Case {
    DateTime date;
    double mjd;
  };
  const Case cases[] = {
      {{1858, 11, 17, 0, 0, 0, 0}, 0},      {{2000, 1, 1, 12, 0, 0, 0}, 51544.5},
      {{1858, 11, 16, 18, 0, 0, 0}, -0.25}, {{2000, 2, 29, 0, 0, 0, 0}, 51603},
      {{1900, 3, 1, 0, 0, 0, 0}, 15079},    {{-4713, 11, 24, 12, 0, 0, 0}, -2400000.5}};
  for (const Case& c : cases) {
    DateTime date;
    EXPECT_EQ(toMjd(c.date), c.mjd);
    ASSERT_TRUE(fromMjd(c.mjd, &date));
    EXPECT_TRUE(equal(date, c.date)) << c.mjd;
  }
}

TEST(Mjd, RoundsToHundredthsWithCarry) {
  DateTime date;
  ASSERT_TRUE(fromMjd(51543.99999999999, &date));
  EXPECT_TRUE(equal(date, {2000, 1, 1, 0, 0, 0, 0}));
  ASSERT_TRUE(fromMjd(51544 + 1.126 / 86400, &date));
  EXPECT_TRUE(equal(date, {2000, 1, 1, 0, 0, 1, 13}));
  for (int32_t year = -32768; year <= 32767; year += 7) {
    const DateTime late = {static_cast<int16_t>(year), 12, 31, 23, 59, 59, 99};
    ASSERT_TRUE(fromMjd(toMjd(late), &date));
    EXPECT_TRUE(equal(date, late)) << year;
  }
}

TEST(Mjd, IsTotal) {
  DateTime date;
  for (const double mjd : {kInfinity, -kInfinity, std::nan(""), 1e300, 1.2e7, -1.3e7}) {
    EXPECT_FALSE(fromMjd(mjd, &date)) << mjd;
    EXPECT_TRUE(equal(date, {}));
  }
  EXPECT_EQ(toMjd({2000, 13, 1, 0, 0, 0, 0}), toMjd({2001, 1, 1, 0, 0, 0, 0}));
  EXPECT_EQ(toMjd({2000, 1, 0, 24, 0, 0, 0}), toMjd({2000, 1, 1, 0, 0, 0, 0}));
  const int16_t low = std::numeric_limits<int16_t>::min();
  EXPECT_LT(toMjd({low, low, low, low, low, low, low}), 0);
}

}  // namespace
}  // namespace tavo::schema
