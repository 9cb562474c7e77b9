// Takes the features of surveys over into the output.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <gdal_priv.h>

#include "drawing.h"
#include "plan.h"
#include "target.h"

namespace tavo::tool {

class Copy {
 public:
  Copy(const Plan& plan, const GdalFormat& format, Target* target, GdalMessages* messages);

  // Called now and then with the rows done; false stops.
  using Progress = std::function<bool(uint64_t rows)>;
  // Copies a survey, or what of it goes into one of the layers. Why that failed, or an empty text,
  // also when it was stopped.
  std::string add(GDALDataset& survey, const std::string& name, std::optional<size_t> only,
                  const Progress& progress);

  // Rows left out, since the format has none without a place.
  uint64_t withoutPlace() const { return withoutPlace_; }
  // What GDAL said of values that it changed.
  const std::vector<std::string>& warnings() const { return warnings_; }
  // Places that got height 0 beside others that have one.
  uint64_t zeroHeights() const { return zeroHeights_; }

 private:
  // A survey's columns in an output's layer.
  struct Columns {
    std::vector<int> places;                 // of each; -1: it has none
    std::vector<std::pair<int, int>> dates;  // that become texts, and their places
  };
  static Columns columnsOf(OGRFeatureDefn& from, const PlannedLayer& planned,
                           const TargetLayer& into);
  std::string addLayer(OGRLayer& layer, TargetLayer* into, const PlannedLayer& planned,
                       const std::string& survey, const Progress& progress);
  std::string addFeature(OGRFeature& feature, const std::string& kind, const Columns& columns,
                         TargetLayer* into, const std::string& survey);

  const Plan& plan_;
  const GdalFormat& format_;
  Target& target_;
  GdalMessages& messages_;
  std::optional<Drawing> drawing_;
  std::vector<std::string> warnings_;
  uint64_t rows_ = 0;
  uint64_t withoutPlace_ = 0;
  uint64_t zeroHeights_ = 0;
};

}  // namespace tavo::tool
