// The comparison of reals with which `tavo format` proves that a text keeps its values.
#include "tools/tavo/compare_records.h"

#include <gtest/gtest.h>

namespace tavo::tool {
namespace {

template <class Real>
void expectMatches() {
  using Limits = std::numeric_limits<Real>;
  constexpr Real kInfinity = Limits::infinity();
  constexpr Real kNone = Limits::quiet_NaN();
  constexpr Real kLargest = Limits::max();
  constexpr Real kStep = Limits::epsilon();
  const struct {
    Real original, written;
    Match match;
  } cases[] = {
      {1, 1 + 4 * kStep, Match::kSame},
      {1, 1 + 16 * kStep, Match::kRounded},
      {Real(1e-9), Real(1e-9) * (1 + 16 * kStep), Match::kRounded},
      {Real(0.25), 0, Match::kRounded},
      {kLargest, -kLargest, Match::kRounded},
      {0, 0, Match::kSame},
      {Real(-0.0), 0, Match::kRounded},
      {Real(-0.0), Real(-0.0), Match::kSame},
      {kInfinity, kInfinity, Match::kSame},
      {kInfinity, -kInfinity, Match::kOther},
      {kInfinity, 0, Match::kOther},
      {kLargest, kInfinity, Match::kOther},
      {kNone, kNone, Match::kSame},
      {kNone, 0, Match::kOther},
      {1, kNone, Match::kOther},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(matchReals(c.original, c.written), c.match) << c.original << " " << c.written;
  }
}

TEST(Comparison, KnowsInfinityNanAndNegativeZero) {
  expectMatches<double>();
  expectMatches<float>();
}

}  // namespace
}  // namespace tavo::tool
