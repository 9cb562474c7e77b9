// Real numbers: rounded once and correctly on every platform, whatever the host has set.
#include <gtest/gtest.h>

#include <bit>
#include <cfloat>
#include <clocale>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <random>
#include <vector>

#include "reader/values.h"
#include "support/analysis.h"

namespace tavo::tests {
namespace {

constexpr size_t kRandomNumbers = 400 * TAVO_TEST_EFFORT;

// The x87 control word of the test's life: precision and rounding of what is computed there. Other
// processors have none and run the same numbers once.
#if defined(__x86_64__) || defined(__i386__)
class ControlWord {
 public:
  explicit ControlWord(uint16_t word) {
    __asm__ volatile("fnstcw %0" : "=m"(before_));
    __asm__ volatile("fldcw %0" : : "m"(word));
  }
  ~ControlWord() { __asm__ volatile("fldcw %0" : : "m"(before_)); }
  ControlWord(const ControlWord&) = delete;
  ControlWord& operator=(const ControlWord&) = delete;

 private:
  uint16_t before_;
};

// Of double, extended and single precision. Single precision is the processor's to show: an
// emulated x87 may round what it only loads, results of functions among them.
const std::vector<uint16_t>& controlWords() {
  static const std::vector<uint16_t> kWords = [] {
    std::vector<uint16_t> words = {0x027F, 0x037F};
    constexpr uint16_t kSingle = 0x007F;
    const ControlWord set(kSingle);
    const double tenth = 0.1;
    double loaded = 0;
    __asm__ volatile("fldl %1\n\tfstpl %0" : "=m"(loaded) : "m"(tenth));
    if (loaded == tenth) {
      words.push_back(kSingle);
    } else {
      std::puts("THIS MACHINE EMULATES THE X87 INEXACTLY: single precision is not tested");
    }
    return words;
  }();
  return kWords;
}
#else
struct ControlWord {
  explicit ControlWord(uint16_t) {}
};
std::vector<uint16_t> controlWords() { return {0}; }
#endif

// The whole text as a field; NaN when it is refused.
template <class Real>
Real read(const std::string& text) {
  reader::Run run({}, nullptr);
  reader::FieldCursor cursor(text);
  Real value = 1;
  reader::FieldResult result = reader::FieldResult::kBad;
  if constexpr (sizeof(Real) == sizeof(float)) {
    result = reader::parseFloat(run, cursor, &value);
  } else {
    result = reader::parseDouble(run, cursor, &value);
  }
  return result == reader::FieldResult::kValue ? value : std::numeric_limits<Real>::quiet_NaN();
}

template <class Real>
auto bitsOf(Real value) {
  return std::bit_cast<std::conditional_t<sizeof(Real) == 4, uint32_t, uint64_t>>(value);
}

// Texts and what they must give, bit for bit, under every control word.
template <class Real>
class Expected {
 public:
  void add(std::string text, Real value) {
    rows_.push_back({std::move(text), std::isinf(value) ? kRefused : value});
  }
  void check() const {
    for (const uint16_t word : controlWords()) {
      std::vector<Real> values;
      values.reserve(rows_.size());
      {
        const ControlWord set(word);
        for (const Row& row : rows_) values.push_back(read<Real>(row.text));
      }
      for (size_t i = 0; i < rows_.size(); ++i) {
        const bool same = std::isnan(rows_[i].value) ? std::isnan(values[i])
                                                     : bitsOf(values[i]) == bitsOf(rows_[i].value);
        ASSERT_TRUE(same) << rows_[i].text << " is " << values[i] << ", not " << rows_[i].value
                          << ", under " << word;
      }
    }
  }

 private:
  struct Row {
    std::string text;
    Real value;
  };
  static constexpr Real kRefused = std::numeric_limits<Real>::quiet_NaN();
  std::vector<Row> rows_;
};

// The compiler's own conversion is the judge of these.
TEST(Reals, EdgesOfTheTypes) {
#define ROW(number) \
  { #number, number, number##F }
  const struct {
    const char* text;
    double value;
    float narrow;
  } rows[] = {
      ROW(4333799315518760e7),
      ROW(9007199254740993.0),
      ROW(9007199254740993.00000000000000000001),
      ROW(1e22),
      ROW(1e23),
      ROW(16777217.0),
      ROW(16777217.0000000000000000000001),
      ROW(16777219.0),
      ROW(0.1),
      ROW(00000000000000000000000000000000000000.1),
      ROW(1.00000017881393432617187499),
      ROW(1.000000178813934326171875),
      ROW(1.00000017881393432617187501),
      ROW(1.1754943508222875e-38),
      ROW(1.17549429e-38),
      ROW(3.40282356e38),
      ROW(5.e0),
      ROW(.5E-01),
  };
#undef ROW
  Expected<double> doubles;
  Expected<float> floats;
  for (const auto& row : rows) {
    doubles.add(row.text, row.value);
    floats.add(row.text, row.narrow);
    doubles.add("-" + std::string(row.text), -row.value);
  }
  doubles.add("4.9406564584124654e-324", 0x1p-1074);
  doubles.add("2.4703282292062327e-324", 0);
  doubles.add("2.4703282292062328e-324", 0x1p-1074);
  doubles.add("2.2250738585072011e-308", 0x0.fffffffffffffp-1022);
  doubles.add("2.2250738585072012e-308", DBL_MIN);
  doubles.add("1.7976931348623158e308", DBL_MAX);
  doubles.add("1.7976931348623159e308", HUGE_VAL);
  doubles.add("1" + std::string(100, '0') + "e-99999999999999999999", 0);
  doubles.add("0." + std::string(100, '0') + "1e99999999999999999999", HUGE_VAL);
  doubles.add("0e99999999999999999999", 0);
  doubles.add("-0", -0.0);
  floats.add("3.4028236e38", HUGE_VALF);
  floats.add("7.0064923216240853546186479164495e-46", 0);
  floats.add("7.0064923216240853546186479164496e-46", 0x1p-149F);
  doubles.check();
  floats.check();
}

// Every second number is near the others' digits and exponents of survey files.
TEST(Reals, RandomNumbersAsTheStandardLibraryReadsThem) {
  std::mt19937_64 random(1);
  const auto below = [&](size_t limit) { return static_cast<size_t>(random() % limit); };
  Expected<double> doubles;
  Expected<float> floats;
  for (size_t i = 0; i < kRandomNumbers; ++i) {
    const size_t digits = 1 + below(i % 2 == 0 ? 20 : 120);
    std::string text;
    for (size_t n = 0; n < digits; ++n) text += static_cast<char>('0' + below(10));
    if (below(4) != 0) text.insert(below(digits + 1), ".");
    const int range = i % 4 == 0 ? 350 : i % 4 == 1 ? 50 : 25;
    if (i % 8 != 7) {
      text += (below(2) == 0 ? "e" : "E") +
              std::to_string(static_cast<int>(below(2 * static_cast<size_t>(range))) - range);
    }
    doubles.add(text, std::strtod(text.c_str(), nullptr));
    floats.add(text, std::strtof(text.c_str(), nullptr));
  }
  doubles.check();
  floats.check();
}

// The decimal text of a number that a long double holds, all its digits.
std::string exactText(long double value) {
  char text[1300];
  const int length = std::snprintf(text, sizeof text, "%.1140Lf", value);
  std::string whole(text, static_cast<size_t>(length));
  return whole.substr(0, whole.find_last_not_of('0') + 1);
}

template <class Real>
void addMidpoints(Expected<Real>& rows, Real low) {
  const Real high = std::nextafter(low, std::numeric_limits<Real>::infinity());
  const std::string text = exactText((static_cast<long double>(low) + high) / 2);
  rows.add(text, (bitsOf(low) & 1) == 0 ? low : high);
  rows.add(text + std::string(40, '0') + "1", high);
  std::string below = text;
  below.back() = static_cast<char>(below.back() - 1);  // the last digit is 5
  rows.add(below + "9", low);
}

TEST(Reals, MidpointsGoToTheEvenNeighbour) {
  std::mt19937_64 random(2);
  Expected<double> doubles;
  Expected<float> floats;
  const auto mantissa = [&] { return static_cast<double>(random() >> 11) * 0x1p-53; };
  for (size_t i = 0; i < kRandomNumbers / 10; ++i) {
    const int exponent = static_cast<int>(random() % 140) - 70;
    addMidpoints(doubles, std::ldexp(1 + mantissa(), exponent % 50));
    addMidpoints(floats, static_cast<float>(std::ldexp(1 + mantissa(), exponent % 20)));
  }
  // Denormal ones and those around them have the longest texts.
  for (size_t i = 0; i < kRandomNumbers / 100; ++i) {
    addMidpoints(doubles, std::ldexp(mantissa(), -1022 - static_cast<int>(i % 40)));
    addMidpoints(floats,
                 static_cast<float>(std::ldexp(mantissa(), -126 - static_cast<int>(i % 20))));
  }
  doubles.check();
  floats.check();
}

// Whatever a file makes of its numbers: units, packed angles, day numbers.
TEST(Reals, RecordsAreTheSameUnderEveryControlWord) {
  std::mt19937_64 random(3);
  const auto number = [&](uint64_t range, const char* behind) {
    return std::to_string(random() % range) + behind;
  };
  std::string text =
      "HEADER\nUNITS\nANGULAR DMS\nLINEAR US_SURVEY_FEET\nTIME MJD\nEND UNITS\nEND HEADER\n"
      "THEODOLITE\nSLOPE (Hz,SDist,RefHt,Date)\n";
  for (size_t i = 0; i < kRandomNumbers; ++i) {
    text += number(400, ".") + number(6, "") + number(10, "") + number(60000000000000, ",") +
            number(1000000, ".") + number(100000000000000, ",") + number(10, ".") +
            number(10000000000, ",") + number(60000, ".") + number(10000000000000, ";\n");
    // Half-way between two hundredths of a second, as near as it can be given.
    char half[40];
    std::snprintf(half, sizeof half, "%.17g;\n", (static_cast<double>(i) * 7 + 0.5) / 8640000);
    text += ",,," + std::string(half);
  }
  text += "END SLOPE\nEND THEODOLITE\n";
  writeFile("reals.tvo", text);
  const auto records = [] {
    api::Library library;
    std::string bytes;
    api::AnalysisRequest request;
    request.inputPath = "reals.tvo";
    request.logPath = "reals.log";
    request.maxErrors = 1;
    request.sink = {[](void* context, const reader::DeliveredRecord& record) {
                      if (record.type != TVO_RECORD_SLOPE) return uint32_t{TVO_OK};
                      static_cast<std::string*>(context)->append(
                          static_cast<const char*>(record.bytes), sizeof(SlopeRecord));
                      return uint32_t{TVO_OK};
                    },
                    &bytes};
    api::AnalysisCounts counts;
    library.analyse(request, &counts);
    return counts.errors == 0 ? bytes : "";
  };
  const std::string expected = records();
  EXPECT_EQ(expected.size(), 2 * kRandomNumbers * sizeof(SlopeRecord));
  for (const uint16_t word : controlWords()) {
    std::string bytes;
    {
      const ControlWord set(word);
      bytes = records();
    }
    EXPECT_TRUE(bytes == expected) << word;
  }
}

TEST(Reals, NoLocaleMatters) {
  const char* found = nullptr;
  for (const char* name :
       {"de_DE.UTF-8", "de_DE", "fr_FR.UTF-8", "German_Germany.1252", "German"}) {
    if (found == nullptr) found = std::setlocale(LC_ALL, name);
  }
  if (found == nullptr || *std::localeconv()->decimal_point != ',') {
    GTEST_SKIP() << "no locale with a decimal comma is installed";
  }
  const std::string long_ = "0.1000000000000000055511151231257827021181583404541015625";
  const double values[] = {read<double>("1.5"), read<double>(long_), read<float>("2.5e3")};
  const bool refused = std::isnan(read<double>("1:5"));
  const Analysed analysed = analyse(inBlock("DATABASE", "POINTS (East)", "1.5;\n1,5;\n"));
  std::setlocale(LC_ALL, "C");
  EXPECT_EQ(values[0], 1.5);
  EXPECT_EQ(values[1], 0.1);
  EXPECT_EQ(values[2], 2500);
  EXPECT_TRUE(refused);
  EXPECT_EQ(analysed.findings, "4 E2051 1,5;\n");
}

}  // namespace
}  // namespace tavo::tests
