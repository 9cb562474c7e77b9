// Compares the records of a survey with those that were read back from the text written from them.
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

// Takes both surveys record by record, in their order.
class Comparer {
 public:
  // A record and the one that came back in its place; null where there is none any more.
  void compare(const tavo_record* original, const tavo_record* written);
  const Comparison& result() const { return result_; }

 private:
  void differ(const std::string& what);
  void compareFields(const tavo_schema_block* block, const char* a, const char* b);
  bool equalValue(const tavo_schema_field& field, const char* block, const char* a, const char* b);
  bool equalTimeTagged(const char* original, const char* written);

  Comparison result_;
  uint32_t originalBlock_ = 0;  // of the latest records
  uint32_t writtenBlock_ = 0;
};

}  // namespace tavo::tool
