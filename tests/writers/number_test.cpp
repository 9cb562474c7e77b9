// Numbers as text against the C library's printf, and the widths that are measured over them.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <limits>
#include <random>

#include "support/replay.h"
#include "writers/number.h"

namespace tavo::tests {
namespace {

std::string fixed(double value, int decimals) {
  char out[writers::kNumberSize];
  return {out, writers::putFixed(value, decimals, decimals, out)};
}

std::string printed(const char* form, int decimals, double value) {
  char out[400];
  return {out, static_cast<size_t>(snprintf(out, sizeof out, form, decimals, value))};
}

// Doubles of every size, decimal fractions, and ones at and beside the middle of two texts.
double anyValue(std::mt19937_64& random, int decimals) {
  const auto digits = static_cast<double>(random() % 100000000);
  const double sign = random() % 2 == 0 ? 1 : -1;
  switch (random() % 4) {
    case 0:
      return std::ldexp(static_cast<double>(random()), -static_cast<int>(random() % 130));
    case 1:
      return sign * digits / 1e4;
    case 2:
      return sign * digits / static_cast<double>(1U << random() % 14);
    default:
      const double middle = sign * (digits + 0.5) / std::pow(10, decimals);
      return std::nextafter(middle, static_cast<double>(random() % 3) * middle);
  }
}

TEST(Numbers, FixedAsPrintf) {
  std::mt19937_64 random(1);
  for (int i = 0; i < 300000; ++i) {
    const int decimals = static_cast<int>(random() % 18);
    const double value = anyValue(random, decimals);
    ASSERT_EQ(fixed(value, decimals), printed("%.*f", decimals, value)) << value;
  }
  for (const double value : {0.0, 0.5, 1.5, 2.5, 0.125, 9.5, 99999999.5, 99999999.99995, 1e8, 1e15,
                             0x1p52 - 0.5, 0x1p52, 0x1p53, 9.9e29, 5e-324, 0.00005, 0.1 + 0.2}) {
    for (int decimals = 0; decimals <= writers::kMaxDecimals; ++decimals) {
      EXPECT_EQ(fixed(value, decimals), printed("%.*f", decimals, value));
      EXPECT_EQ(fixed(-value, decimals), printed("%.*f", decimals, -value));
    }
  }
  EXPECT_EQ(fixed(1e30, 4), printed("%.*e", 16, 1e30));
  EXPECT_EQ(fixed(std::numeric_limits<double>::quiet_NaN(), 2), "0.00");
  EXPECT_EQ(fixed(-std::numeric_limits<double>::infinity(), 2), "0.00");
}

TEST(Numbers, WholeAsPrintf) {
  std::mt19937_64 random(2);
  for (int i = 0; i < 300000; ++i) {
    const auto value = static_cast<uint32_t>(random() >> (32 + random() % 32));
    char out[writers::kNumberSize];
    ASSERT_EQ(std::string(out, writers::putUnsigned(value, out)), std::to_string(value));
    const auto number = static_cast<int32_t>(0 - value);
    ASSERT_EQ(std::string(out, writers::putSigned(number, out)), std::to_string(number));
  }
}

// Data lines of one column and a second, constant one behind it.
std::vector<std::string> linesOf(const std::vector<double>& values, FieldId field, bool align) {
  Replay records;
  records.columns(TVO_RECORD_SLOPE_COLUMNS, {field, TVO_FIELD_TgtID});
  for (const double value : values) {
    SlopeRecord record = {};
    record.Hz = record.SDist = value;
    record.TgtNo = std::isfinite(value) ? static_cast<uint32_t>(std::fabs(value)) : 0;
    records.add(TVO_RECORD_SLOPE, record);
  }
  TextKeeper keeper;
  writers::writeText(keeper, records, {align, {4, 4, 10}});
  std::vector<std::string> lines;
  for (size_t at = 0; (at = keeper.text.find("\n    ", at)) != std::string::npos; ++at) {
    lines.push_back(keeper.text.substr(at + 5, keeper.text.find(',', at) - at - 5));
  }
  return lines;
}

// The longest value gives the column its width, whatever came before it.
TEST(Numbers, WidthIsThatOfTheLongest) {
  std::mt19937_64 random(3);
  const double values[] = {0,      -0.0,     0.99994,  0.99995, 8.9,      9,         9.99994,
                           9.9999, 9.99996,  99.99996, 99999.9, 99999.96, 100000,    999999.99999,
                           1e14,   -9.99996, -0.5,     1e15,    2e29,     1e30,      4e9,
                           NAN,    INFINITY, 5e-324,   199.99,  3.14159,  -314159.2, 63.661977};
  for (int i = 0; i < 3000; ++i) {
    std::vector<double> some;
    for (size_t n = 1 + random() % 4; n > 0; --n)
      some.push_back(values[random() % std::size(values)]);
    for (const FieldId field : {TVO_FIELD_Hz, TVO_FIELD_SDist, TVO_FIELD_TgtNo}) {
      if (field == TVO_FIELD_TgtNo)
        std::erase_if(some, [](double v) { return !(v < 4294967296.0); });
      const auto natural = linesOf(some, field, false);
      const auto aligned = linesOf(some, field, true);
      ASSERT_EQ(natural.size(), some.size());
      ASSERT_EQ(aligned.size(), some.size());
      size_t width = 0;
      for (const std::string& text : natural) width = std::max(width, text.size());
      for (size_t k = 0; k < some.size(); ++k) {
        ASSERT_EQ(aligned[k], std::string(width - natural[k].size(), ' ') + natural[k]);
      }
    }
  }
}

}  // namespace
}  // namespace tavo::tests
