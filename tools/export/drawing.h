// A survey as a CAD drawing: entities on CAD layers, with the numbers and heights of points beside
// them.
#pragma once

#include <string>

#include <ogrsf_frmts.h>

namespace tavo::tool {

// What a person calls a feature: its identifier or text, else its number; empty: it has neither.
std::string labelOf(const OGRFeature& feature);

class Drawing {
 public:
  // degrees: sizes of texts are meant for those, else for metres.
  Drawing(OGRLayer* layer, bool degrees) : layer_(*layer), size_(degrees ? 1e-5 : 1.0) {}

  // Draws a feature of a survey's layer of some kind; false when that fails.
  bool add(const OGRFeature& feature, const std::string& kind);

 private:
  bool addShape(const OGRGeometry& geometry, const std::string& layer, const std::string& style);

  OGRLayer& layer_;
  double size_;
};

}  // namespace tavo::tool
