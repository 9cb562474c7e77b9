// Compares a survey with what was read back from the text that was written from it.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <map>
#include <string>

#include "tavo/survey.h"

namespace tavo::tool {

// How a real number came back.
enum class Match : uint8_t { kSame, kRounded, kOther };

// Conversion from and to the units of the text may change the last digits. An infinity and a value
// that is no number come back as themselves or as something else, never rounded; a zero that
// changed its sign is a rounded value.
template <class Real>
Match matchReals(Real original, Real written) {
  if (!std::isfinite(original) || !std::isfinite(written)) {
    const bool neither = std::isnan(original) && std::isnan(written);
    return neither || original == written ? Match::kSame : Match::kOther;
  }
  // Halves, since the sum of the sizes of two huge values is no number of the type.
  const Real larger = std::max(std::abs(original), std::abs(written));
  const Real apart = std::abs(original / 2 - written / 2);
  const bool close = apart <= 4 * std::numeric_limits<Real>::epsilon() * larger;
  const bool sameSign = std::signbit(original) == std::signbit(written);
  return close && sameSign ? Match::kSame : Match::kRounded;
}

struct Comparison {
  // The first difference other than a rounded value, or an empty text.
  std::string difference;
  // "POINTS East" and how many of its values came out rounded.
  std::map<std::string, uint64_t> rounded;
};

Comparison compareSurveys(const tavo_survey* original, const tavo_survey* written);

}  // namespace tavo::tool
