// A reference system as a survey states it: an ellipsoid, and where there is one a map projection.
#pragma once

#include <string>

#include <ogr_spatialref.h>

#include "losses.h"

namespace tavo::gdal {

struct WrittenSystem {
  enum class Form { kNone, kOther, kUtm, kTransverseMercator, kGeographic, kGeocentric };

  Form form = Form::kNone;
  std::string name;
  // Except of kNone and kOther; inverse 0: a sphere.
  std::string ellipsoid;
  double semiMajor = 0, inverse = 0;
  int zone = 0;
  bool north = true;
  // Metres and degrees.
  double falseEast = 0, falseNorth = 0, originLat = 0, originLong = 0, scale = 1;

  bool operator==(const WrittenSystem&) const = default;
};

// How coordinates of a layer become those of its system: metres, or degrees from Greenwich, easting
// or longitude first.
struct Frame {
  size_t system = 0;  // place among the systems of the survey
  double unit = 1, heightUnit = 1;
  double meridian = 0;  // degrees
  bool swapped = false;
};

// Null: no system. What a survey cannot keep of it is said.
WrittenSystem writtenSystem(const OGRSpatialReference* given, Frame& frame, Losses& losses);

}  // namespace tavo::gdal
