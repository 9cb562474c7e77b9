// The words for each kind of loss.
#include "losses.h"

#include <algorithm>

#include <cpl_error.h>

namespace tavo::gdal {

namespace {

// In the order of Loss.
constexpr std::array<const char*, static_cast<unsigned>(Loss::kCount)> kWords = {
    "multi points became a point for each part",
    "multi lines became a line for each part",
    "geometry collections became a record for each kind and part",
    "surfaces became polygons",
    "curves became chains of straight edges",
    "geometries lost their M values",
    "geometries with coordinates that are no numbers were left out",
    "vertices that repeat the one before them were left out",
    "lines without length have no edges",
    "rings without area were left out",
    "features without a geometry were left out",
    "numbers that are given twice, or that no number of the format can be, were given anew",
    "coordinates in columns were replaced by those of the geometry",
    "texts were cut to the length that their field holds",
    "texts had characters that the format cannot hold",
    "whole numbers beyond 32 bits were written as text",
    "values that are not finite were left empty",
    "real numbers were rounded to the decimals that are written",
    "binary values were left out",
    "lists were written as text",
    "dates and times of attributes were written as text",
    "dates lost their time zone",
    "values that their column of the format cannot hold were left empty",
    "coded values of choice lists lost their descriptions",
};

}  // namespace

void Losses::say(const std::string& sentence) {
  if (std::ranges::find(sentences_, sentence) == sentences_.end()) sentences_.push_back(sentence);
}

void Losses::tell(const std::string& name) const {
  for (const std::string& sentence : sentences_) {
    CPLError(CE_Warning, CPLE_AppDefined, "%s: %s", name.c_str(), sentence.c_str());
  }
  if (!layers_.empty()) {
    CPLError(CE_Warning, CPLE_AppDefined,
             "%s: Layers left out, which are no points, lines or polygons or say again what these "
             "say: %s",
             name.c_str(), layers_.c_str());
  }
  for (size_t i = 0; i < counts_.size(); ++i) {
    if (counts_[i] == 0) continue;
    CPLError(CE_Warning, CPLE_AppDefined, "%s: %zu %s", name.c_str(), counts_[i], kWords[i]);
  }
}

}  // namespace tavo::gdal
