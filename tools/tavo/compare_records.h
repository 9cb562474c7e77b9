// Compares the records of a text with those of a text that was written from them.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <map>
#include <string>

#include "memory_records.h"
#include "schema/types.h"

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

// Takes the records of the written text one by one.
class RecordComparison {
 public:
  explicit RecordComparison(const MemoryRecords& originals) : originals_(originals) {}

  void take(RecordType type, const void* record);
  // Told after the last record.
  void finish();

  // The first difference other than a rounded value, or an empty text.
  const std::string& difference() const { return difference_; }
  // "POINTS East" and how many of its values came out rounded.
  const std::map<std::string, uint64_t>& rounded() const { return rounded_; }

 private:
  const char* nextOriginal(RecordType* type);
  void compareFields(RecordType type, const char* original, const char* written);
  void compareTimeTagged(const char* original, const char* written);
  // Whether a value is the same or, which is noted, a rounded one.
  bool equalField(RecordType type, const schema::FieldDef& field, const char* a, const char* b);
  template <class Real>
  bool equalReal(const std::string& name, Real a, Real b);
  void differ(const std::string& what);

  const MemoryRecords& originals_;
  size_t next_ = 0;
  bool operationColumns_ = false;
  std::map<std::string, uint64_t> rounded_;
  std::string difference_;
};

}  // namespace tavo::tool
