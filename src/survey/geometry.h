// All geometry of a survey: points, lines, polygons, labels, observations, and what was found on
// the way.
#pragma once

#include <map>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "survey/crs.h"
#include "survey/points.h"
#include "survey/shapes.h"
#include "survey/view.h"

namespace tavo::survey {

class Geometry {
 public:
  // Works it out at once. std::bad_alloc when memory runs out. What the view shows must outlive it.
  Geometry(const SurveyView& view, const CrsOptions& options);
  Geometry(const Geometry&) = delete;
  Geometry& operator=(const Geometry&) = delete;

  const ReferenceSystems& referenceSystems() const { return systems_; }
  std::span<const tavo_crs> crs() const { return points_.systems(); }
  std::optional<Geographic> geographic(uint32_t crs, double x, double y) const {
    return crs < this->crs().size() ? points_.geographic(crs, x, y) : std::nullopt;
  }
  // One for each record of the type; none for a type without places.
  std::span<const tavo_position> positions(RecordType type) const;
  // Null for a type without shapes.
  const Shapes* shapes(RecordType type) const;
  std::span<const tavo_observation> observations() const { return observations_; }
  std::span<const tavo_geometry_finding> findings() const { return published_; }

 private:
  void placeAnnotations();
  void placeShapeAnnotations(RecordType type, const ShapeKind& kind);
  void placeBoxes();
  void observe();
  tavo_observation observation(const SlopeRecord& slope, tavo_given given, size_t setup,
                               const schema::Units& units) const;
  void publish();

  // In the presence of SLOPE, the last one in that of SETUP.
  struct Bits {
    tavo_given hz, vz, ori, distance, targetHeight, instrumentHeight;
  };

  SurveyView view_;
  Bits bits_;
  GeometryFindings findings_;
  ReferenceSystems systems_;
  Points points_;
  std::map<RecordType, std::vector<tavo_position>> positions_;
  std::map<RecordType, Shapes> shapes_;
  std::vector<tavo_observation> observations_;
  std::vector<tavo_geometry_finding> published_;
};

}  // namespace tavo::survey
