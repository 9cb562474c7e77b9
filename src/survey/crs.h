// Reference systems of a survey: what its projection sets, map projections and ellipsoids make,
// as WKT2 and as a projector. Easting comes first always, and the datum is named "unknown", since a
// survey says on which ellipsoid it computes but not how that lies in the earth.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "survey/projection.h"
#include "survey/view.h"
#include "survey/wkt.h"

namespace tavo::survey {

// From where false coordinates of a Hotine projection count: as its block has it, or always so.
enum class HotineOrigin { kOfBlock, kCentre, kNatural };

struct CrsOptions {
  bool ignoreTransformations = false;  // project although a set has a plane transformation
  HotineOrigin hotine = HotineOrigin::kOfBlock;
};

enum class SystemKind { kNone, kEngineering, kProjected };

struct System {
  SystemKind kind = SystemKind::kNone;
  std::string name, wkt;
  std::optional<Projector> projector;
};

// Of a record among PROJECTION_SETS. A zoned set has a system for each of its zones only.
struct ProjectionSet {
  uint16_t number = 0;
  size_t index = 0;
  std::string name;
  std::optional<NamedEllipsoid> ellipsoid;
  bool zoned = false;
  System system;
};

class ReferenceSystems {
 public:
  ReferenceSystems(const SurveyView& view, const CrsOptions& options, GeometryFindings& findings);

  const std::vector<ProjectionSet>& sets() const { return sets_; }
  // The set of a number, the first of several, or null.
  const ProjectionSet* find(uint16_t number) const;

 private:
  std::vector<ProjectionSet> sets_;
};

// Zones of a zoned set: of a grid point by the million digit of its easting, of a geographic one by
// its longitude in radians; -1 where there is none. The system of one.
int zoneOfEast(double east);
int zoneOfLongitude(double lon);
System zoneSystem(const ProjectionSet& set, int zone);

// Systems of coordinates that are not projected, on the set's ellipsoid, which it must have.
std::string geographicWkt(const ProjectionSet& set);
std::string geocentricWkt(const ProjectionSet& set);

}  // namespace tavo::survey
