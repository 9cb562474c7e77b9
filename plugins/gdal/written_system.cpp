// What a survey can say of a reference system of GDAL's.
#include "written_system.h"

#include <cmath>
#include <numbers>

namespace tavo::gdal {

namespace {

using Form = WrittenSystem::Form;

std::string textOf(const char* text) { return text == nullptr ? "" : text; }

OGRAxisOrientation axis(const OGRSpatialReference& system, int place) {
  OGRAxisOrientation orientation = OAO_Other;
  system.GetAxis(system.IsProjected() != 0 ? "PROJCS" : "GEOGCS", place, &orientation);
  return orientation;
}

bool isNorthing(OGRAxisOrientation axis) { return axis == OAO_North || axis == OAO_South; }

// Data may come northing first, when their system's axes do and nothing turns them around.
bool comesNorthingFirst(const OGRSpatialReference& system) {
  const std::vector<int>& mapping = system.GetDataAxisToSRSAxisMapping();
  if (mapping.size() < 2 || system.IsGeocentric() != 0) return false;
  const OGRAxisOrientation x = axis(system, std::abs(mapping[0]) - 1);
  const OGRAxisOrientation y = axis(system, std::abs(mapping[1]) - 1);
  return isNorthing(x) && !isNorthing(y) && y != OAO_Other;
}

bool countsBackwards(const OGRSpatialReference& system) {
  for (int i = 0; i < 2; ++i) {
    const OGRAxisOrientation one = axis(system, i);
    if (one == OAO_South || one == OAO_West) return true;
  }
  return false;
}

void takeProjection(const OGRSpatialReference& from, double meridian, WrittenSystem& to) {
  int north = TRUE;
  const int zone = from.GetUTMZone(&north);
  if (zone != 0 && meridian == 0) {
    to.form = Form::kUtm;
    to.zone = zone;
    to.north = north != 0;
  } else if (textOf(from.GetAttrValue("PROJECTION")) == SRS_PT_TRANSVERSE_MERCATOR) {
    to.form = Form::kTransverseMercator;
    to.falseEast = from.GetNormProjParm(SRS_PP_FALSE_EASTING);
    to.falseNorth = from.GetNormProjParm(SRS_PP_FALSE_NORTHING);
    to.originLat = from.GetNormProjParm(SRS_PP_LATITUDE_OF_ORIGIN);
    to.originLong = from.GetNormProjParm(SRS_PP_CENTRAL_MERIDIAN) + meridian;
    to.scale = from.GetNormProjParm(SRS_PP_SCALE_FACTOR, 1);
  }
}

void takeEllipsoid(const OGRSpatialReference& from, WrittenSystem& to) {
  to.ellipsoid = textOf(from.GetAttrValue("SPHEROID"));
  to.semiMajor = from.GetSemiMajor();
  // GDAL gives a sphere the inverse 0, as the format has it.
  to.inverse = from.GetInvFlattening();
}

}  // namespace

WrittenSystem writtenSystem(const OGRSpatialReference* given, Frame& frame, Losses& losses) {
  WrittenSystem made;
  // What a GeoPackage calls a layer's system where it has none.
  constexpr const char* kUndefined = "Undefined ";
  if (given == nullptr || given->IsEmpty() || textOf(given->GetName()).starts_with(kUndefined)) {
    return made;
  }
  OGRSpatialReference system(*given);
  if (system.IsCompound() != 0) {
    frame.heightUnit = system.GetTargetLinearUnits("VERT_CS");
    losses.say("The vertical system of \"" + textOf(given->GetName()) + "\" is not kept");
    system.StripVertical();
    system.SetDataAxisToSRSAxisMapping(given->GetDataAxisToSRSAxisMapping());
  }
  made.name = textOf(system.GetName());
  made.form = Form::kOther;
  frame.swapped = comesNorthingFirst(system);
  // Asked of others, it is an error.
  const bool onEarth = system.IsGeographic() != 0 || system.IsProjected() != 0;
  const double meridian = onEarth ? system.GetPrimeMeridian() : 0;
  if (system.IsGeographic() != 0) {
    made.form = Form::kGeographic;
    frame.unit = system.GetAngularUnits() * 180 / std::numbers::pi;
    frame.meridian = meridian;
  } else {
    frame.unit = system.GetLinearUnits();
    if (given->IsCompound() == 0) frame.heightUnit = frame.unit;
    if (system.IsGeocentric() != 0) made.form = Form::kGeocentric;
    if (system.IsProjected() != 0 && !countsBackwards(system)) {
      takeProjection(system, meridian, made);
    }
  }
  if (made.form == Form::kOther) {
    losses.say("\"" + made.name +
               "\" is neither UTM nor transverse Mercator: it is not kept, coordinates are");
    return made;
  }
  takeEllipsoid(system, made);
  const std::string datum = textOf(system.GetAttrValue("DATUM"));
  if (!datum.empty() && !EQUAL(datum.c_str(), "unknown")) {
    losses.say("Of the datum \"" + datum + "\" the ellipsoid is kept and nothing else");
  }
  return made;
}

}  // namespace tavo::gdal
