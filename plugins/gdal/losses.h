// What a survey cannot hold of what it is given: counted by kind, told once for each at the end.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <vector>

namespace tavo::gdal {

enum class Loss : unsigned {
  kMultiPoint,
  kMultiLine,
  kCollection,
  kSurface,
  kCurve,
  kMeasure,
  kNotFinitePlace,
  kRepeatedVertex,
  kNoLength,
  kNoArea,
  kNoPlace,
  kNumber,
  kMovedColumn,
  kTextCut,
  kCharacter,
  kBigInteger,
  kNotFiniteValue,
  kRounded,
  kBinary,
  kList,
  kDate,
  kTimeZone,
  kMember,
  kDescription,
  kCount
};

class Losses {
 public:
  void add(Loss loss, size_t count = 1) { counts_[static_cast<unsigned>(loss)] += count; }
  // A whole sentence; the same one again changes nothing.
  void say(const std::string& sentence);
  void leaveOut(const std::string& layer) { layers_ += (layers_.empty() ? "" : ", ") + layer; }
  // A warning for each kind that occurred, `name` in front.
  void tell(const std::string& name) const;

 private:
  std::array<size_t, static_cast<unsigned>(Loss::kCount)> counts_{};
  std::vector<std::string> sentences_;
  std::string layers_;
};

}  // namespace tavo::gdal
