// Projection sets to reference systems. What each block of projections means is a row of kKinds,
// what the national ones are a row of kNational; the rest is checking and writing.
#include "survey/crs.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <map>

namespace tavo::survey {
namespace {

using schema::FieldDef;

constexpr double kSameAngle = 1e-12;

// --- Records ------------------------------------------------------------------------------------

// One record and what its line gave, by field.
class Fields {
 public:
  Fields(const SurveyView& view, RecordType type, size_t index)
      : table_(schema::recordDef(type).fields),
        bytes_(static_cast<const uint8_t*>(view.of(type).bytes) + index * view.of(type).size),
        given_(view.of(type).given[index]) {}

  // The value of a numeric member or enumeration; 0 where the record has no place for it.
  double value(FieldId id) const {
    const FieldDef* const row = schema::findId(table_, id);
    if (row == nullptr || row->offset == schema::kNotKept) return 0;
    switch (row->type) {
      case schema::DataType::kDouble:
        return schema::load<double>(bytes_ + row->offset);
      case schema::DataType::kUint16:
        return schema::load<uint16_t>(bytes_ + row->offset);
      case schema::DataType::kEnum:
        return schema::load<EnumId>(bytes_ + row->offset);
      default:
        return 0;
    }
  }
  // Whether the line gave it. Where that is not known, a value other than 0 was given.
  bool given(FieldId id) const {
    if (given_ == TAVO_GIVEN_UNKNOWN) return value(id) != 0;
    return (given_ & schema::bitOf(table_, id)) != 0;
  }
  std::string text(FieldId id) const {
    const FieldDef* const row = schema::findId(table_, id);
    const char* const begin = reinterpret_cast<const char*>(bytes_ + row->offset);
    return readable({begin, strnlen(begin, row->width)});
  }

 private:
  const FieldDef* table_;
  const uint8_t* bytes_;
  tavo_given given_;
};

void tellTwin(GeometryFindings& findings, RecordType type, size_t index, const char* what,
              uint16_t number) {
  findings.warn(
      type, index,
      what + (" " + std::to_string(number)) + " is defined before; the first definition holds",
      TAVO_GEOMETRY_TWIN);
}

// --- What the blocks of projections mean --------------------------------------------------------

enum class Need {
  kRequired,  // without it there is no telling where the grid lies
  kZero,      // 0 when it is not given
  kOne,       // 1 when it is not given, which is a note
  kOptional,  // its own default, see the kind
};
struct Column {
  FieldId id;
  double Projection::*member;
  Need need;
};
enum class Role { kPlain, kUtm, kConeByScale, kHotine, kPolar, kPlane, kSpecial };
struct Kind {
  RecordType type;
  Role role;
  Method method;
  std::span<const Column> columns;
};

constexpr Column kEast{TVO_FIELD_FalseEast, &Projection::east, Need::kZero};
constexpr Column kNorth{TVO_FIELD_FalseNorth, &Projection::north, Need::kZero};
constexpr Column kLon{TVO_FIELD_OriginLong, &Projection::lon, Need::kRequired};
constexpr Column kLat{TVO_FIELD_OriginLat, &Projection::lat, Need::kRequired};
constexpr Column kScale{TVO_FIELD_Scale, &Projection::scale, Need::kOne};

constexpr Column kLambert[] = {kEast,
                               kNorth,
                               kLat,
                               kLon,
                               {TVO_FIELD_PhiNorth, &Projection::parallel1, Need::kRequired},
                               {TVO_FIELD_PhiSouth, &Projection::parallel2, Need::kRequired}};
constexpr Column kConeByScale[] = {
    kEast,
    kNorth,
    {TVO_FIELD_OriginLat, &Projection::parallel1, Need::kOptional},
    kLon,
    {TVO_FIELD_Phi, &Projection::lat, Need::kRequired},
    kScale,
};
constexpr Column kTransverse[] = {
    kEast, kNorth, {TVO_FIELD_OriginLat, &Projection::lat, Need::kZero}, kLon, kScale};
constexpr Column kNormal[] = {kEast, kNorth, kLon};
constexpr Column kHotine[] = {
    kEast, kNorth, kLat,
    kLon,  kScale, {TVO_FIELD_SkewAxis, &Projection::rectified, Need::kRequired}};
constexpr Column kOblique[] = {kEast, kNorth, kLat, kLon, kScale};
constexpr Column kPolar[] = {kEast,
                             kNorth,
                             {TVO_FIELD_OriginLat, &Projection::lat, Need::kOptional},
                             kLon,
                             {TVO_FIELD_Scale, &Projection::scale, Need::kOptional}};
constexpr Column kSoldner[] = {kEast, kNorth, kLat, kLon};

constexpr Kind kKinds[] = {
    {TVO_RECORD_UTM, Role::kUtm, Method::kTransverseMercator, {}},
    {TVO_RECORD_LAMBERT, Role::kPlain, Method::kLambertTwoParallels, kLambert},
    {TVO_RECORD_LAMBERT_WITH_SCALE, Role::kConeByScale, Method::kLambertOneParallel, kConeByScale},
    {TVO_RECORD_MERCATOR, Role::kPlain, Method::kTransverseMercator, kTransverse},
    {TVO_RECORD_MERCATOR_2, Role::kPlain, Method::kMercator, kNormal},
    {TVO_RECORD_OBLIQUE_MERCATOR, Role::kHotine, Method::kHotineCentre, kHotine},
    {TVO_RECORD_DOUBLE_STEREOGRAPHIC, Role::kPlain, Method::kObliqueStereographic, kOblique},
    {TVO_RECORD_POLAR_STEREOGRAPHIC, Role::kPolar, Method::kPolarByScale, kPolar},
    {TVO_RECORD_RSO, Role::kHotine, Method::kHotineNatural, kHotine},
    {TVO_RECORD_CASSINI_SOLDNER, Role::kPlain, Method::kCassiniSoldner, kSoldner},
    {TVO_RECORD_PLANE, Role::kPlane, Method::kTransverseMercator, {}},
    {TVO_RECORD_SPECIAL, Role::kSpecial, Method::kTransverseMercator, {}},
};

const Kind* kindOf(RecordType type) {
  const auto row = std::find_if(std::begin(kKinds), std::end(kKinds),
                                [&](const Kind& kind) { return kind.type == type; });
  return row == std::end(kKinds) ? nullptr : row;
}

// --- National projections -----------------------------------------------------------------------

constexpr double dms(int d, int m, double s) { return (d + m / 60.0 + s / 3600) * kDegree; }

struct NationalEllipsoid {
  const char* name;
  double a, inverse;
};
constexpr NationalEllipsoid kBessel{"Bessel 1841", 6377397.155, 299.1528128};
constexpr NationalEllipsoid kInternational{"International 1924", 6378388, 297};
constexpr NationalEllipsoid kEverest{"Everest 1830 (RSO 1969)", 6377295.664, 300.8017};
constexpr NationalEllipsoid kGrs67{"GRS 1967", 6378160, 298.247167427};

struct National {
  EnumId type;
  const NationalEllipsoid* ellipsoid;
  Projection projection;
};

constexpr Projection swiss(double east, double north) {
  return {.method = Method::kHotineCentre,
          .lat = dms(46, 57, 8.66),
          .lon = dms(7, 26, 22.5),
          .east = east,
          .north = north,
          .azimuth = kPi / 2,
          .rectified = kPi / 2};
}
constexpr double kKkjZoneWidth = 3 * kDegree;
constexpr double kKkjFirst = 18 * kDegree;
constexpr int kKkjLastZone = 5;

constexpr National kNational[] = {
    {TVO_ENUM_SWISS_MILITARY, &kBessel, swiss(600000, 200000)},
    {TVO_ENUM_SWISS_CIVILIAN, &kBessel, swiss(0, 0)},
    {TVO_ENUM_SWISS95, &kBessel, swiss(2600000, 1200000)},
    {TVO_ENUM_NEWZEALAND_GRID,
     &kInternational,
     {.method = Method::kNewZealand,
      .lat = dms(-41, 0, 0),
      .lon = dms(173, 0, 0),
      .east = 2510000,
      .north = 6023150}},
    {TVO_ENUM_MALAYAN_RSO,
     &kEverest,
     {.method = Method::kHotineNatural,
      .lat = dms(4, 0, 0),
      .lon = dms(102, 15, 0),
      .scale = 0.99984,
      .east = 804670.24,
      .azimuth = dms(323, 1, 32.8458),
      .rectified = dms(323, 7, 48.3685)}},
    {TVO_ENUM_HUNGARIAN,
     &kGrs67,
     {.method = Method::kHotineCentre,
      .lat = dms(47, 8, 39.8174),
      .lon = dms(19, 2, 54.8584),
      .scale = 0.99993,
      .east = 650000,
      .north = 200000,
      .azimuth = kPi / 2,
      .rectified = kPi / 2}},
    {TVO_ENUM_SOLDNER_BERLIN,
     &kBessel,
     {.method = Method::kCassiniSoldner,
      .lat = dms(52, 25, 7.1338),
      .lon = dms(13, 37, 37.9332),
      .east = 40000,
      .north = 10000}},
    {TVO_ENUM_DUTCH,
     &kBessel,
     {.method = Method::kObliqueStereographic,
      .lat = dms(52, 9, 22.178),
      .lon = dms(5, 23, 15.5),
      .scale = 0.9999079,
      .east = 155000,
      .north = 463000}},
    {TVO_ENUM_FINNISH_KKJ, &kInternational, {.method = Method::kTransverseMercator}},
};

bool sameEllipsoid(const NationalEllipsoid& national, const NamedEllipsoid& other) {
  return std::fabs(national.a - other.shape.a) < 0.001 &&
         std::fabs(national.inverse - other.inverse) < 1e-6;
}

// --- Building -----------------------------------------------------------------------------------

// A record of map projections: kind, place, and the block that it came in.
struct MapProjection {
  const Kind* kind;
  size_t index;
  const tavo_block* block;
};

class Builder {
 public:
  Builder(const SurveyView& view, const CrsOptions& options, GeometryFindings& findings)
      : view_(view), options_(options), findings_(findings) {
    collectProjections();
    collectEllipsoids();
  }

  ProjectionSet build(size_t index);

 private:
  void collectProjections();
  void collectEllipsoids();
  void note(const std::string& text) {
    findings_.note(TVO_RECORD_PROJECTION_SETS, set_, label_ + text);
  }
  // A finding, on account of which the set has no system.
  bool refuse(const std::string& text) {
    findings_.warn(TVO_RECORD_PROJECTION_SETS, set_,
                   label_ + text + "; it has no reference system");
    return false;
  }

  void makeSystem(ProjectionSet& set, const Fields& record);
  void makePlane(ProjectionSet& set, const Fields& fields);
  void makeSpecial(ProjectionSet& set, const Fields& fields);
  void makeProjected(ProjectionSet& set, const MapProjection& from, const Fields& fields);
  void finish(ProjectionSet& set, const std::string& conversion, const Projection& projection,
              const std::string& usage);

  bool readEllipsoid(ProjectionSet& set);
  bool readColumns(const MapProjection& from, const Fields& fields, Projection& projection);
  bool readUtm(const Fields& fields, Projection& projection);
  bool readConeByScale(const Fields& fields, const NamedEllipsoid& ellipsoid, Projection& p);
  bool readHotine(const Fields& fields, const NamedEllipsoid& ellipsoid, Projection& projection);
  bool readPolar(const Fields& fields, Projection& projection);
  void noteLostColumns(const MapProjection& from);
  static std::string usageOf(const MapProjection& from, const Fields& fields, const Projection& p);

  SurveyView view_;
  const CrsOptions& options_;
  GeometryFindings& findings_;
  std::map<uint16_t, MapProjection> projections_;
  std::map<uint16_t, size_t> ellipsoids_;
  // Of the set that is being built.
  size_t set_ = 0;
  uint16_t ellipsoidNo_ = 0;
  std::string label_;
};

void Builder::collectProjections() {
  for (const tavo_block& block : view_.blocks) {
    const Kind* const kind = kindOf(block.data_type);
    if (kind == nullptr) continue;
    for (size_t i = block.first; i < block.first + block.count; ++i) {
      const double number = Fields(view_, kind->type, i).value(TVO_FIELD_MapPrjNo);
      const auto [it, fresh] =
          projections_.try_emplace(static_cast<uint16_t>(number), MapProjection{kind, i, &block});
      if (!fresh) tellTwin(findings_, kind->type, i, "Map projection", it->first);
    }
  }
}

void Builder::collectEllipsoids() {
  for (size_t i = 0; i < view_.of(TVO_RECORD_ELLIPSOIDS).count; ++i) {
    const double number = Fields(view_, TVO_RECORD_ELLIPSOIDS, i).value(TVO_FIELD_EllipsoidNo);
    const auto [it, fresh] = ellipsoids_.try_emplace(static_cast<uint16_t>(number), i);
    if (!fresh) tellTwin(findings_, TVO_RECORD_ELLIPSOIDS, i, "Ellipsoid", it->first);
  }
}

ProjectionSet Builder::build(size_t index) {
  const Fields record(view_, TVO_RECORD_PROJECTION_SETS, index);
  ProjectionSet set;
  set_ = set.index = index;
  set.number = static_cast<uint16_t>(record.value(TVO_FIELD_PrjSetNo));
  set.name = record.text(TVO_FIELD_PrjSetName);
  label_ = "Projection set " + std::to_string(set.number);
  if (set.name.empty()) {
    set.name = label_;
  } else {
    label_ += " \"" + set.name + "\"";
  }
  label_ += ": ";
  set.system.name = set.name;
  makeSystem(set, record);
  return set;
}

void Builder::makeSystem(ProjectionSet& set, const Fields& record) {
  const auto number = [&](FieldId id) { return static_cast<uint16_t>(record.value(id)); };
  ellipsoidNo_ = number(TVO_FIELD_EllipsoidNo);
  const bool sound = readEllipsoid(set);
  if (const uint16_t heights = number(TVO_FIELD_HTrfNo); heights != 0) {
    note("transformation " + std::to_string(heights) + " of heights is not applied");
  }
  if (const uint16_t plane = number(TVO_FIELD_LTrfNo); plane != 0) {
    const std::string which = "transformation " + std::to_string(plane) + " of plane coordinates ";
    if (!options_.ignoreTransformations) {
      note(which + "is not applied; its system is an engineering system");
      set.system.kind = SystemKind::kEngineering;
      set.system.wkt = engineeringWkt(set.name, "");
      return;
    }
    note(which + "is ignored");
  }
  const auto found = projections_.find(number(TVO_FIELD_MapPrjNo));
  if (found == projections_.end()) {
    refuse("no map projection " + std::to_string(number(TVO_FIELD_MapPrjNo)) + " is defined");
    return;
  }
  const MapProjection& from = found->second;
  const Fields fields(view_, from.kind->type, from.index);
  if (from.kind->role == Role::kPlane) {
    makePlane(set, fields);
  } else if (!sound) {
    return;
  } else if (!set.ellipsoid && ellipsoidNo_ != 0) {
    refuse("no ellipsoid " + std::to_string(ellipsoidNo_) + " is defined");
  } else if (from.kind->role == Role::kSpecial) {
    makeSpecial(set, fields);
  } else if (!set.ellipsoid) {
    refuse("no ellipsoid is given");
  } else {
    makeProjected(set, from, fields);
  }
}

// False after a finding on the ellipsoid's record. Whether the set needs one is not settled yet.
bool Builder::readEllipsoid(ProjectionSet& set) {
  const auto found = ellipsoids_.find(ellipsoidNo_);
  if (found == ellipsoids_.end()) return true;
  const Fields record(view_, TVO_RECORD_ELLIPSOIDS, found->second);
  const double a = record.value(TVO_FIELD_EllipsoidA), f = record.value(TVO_FIELD_EllipsoidF);
  NamedEllipsoid ellipsoid{record.text(TVO_FIELD_EllipsoidName), {a, 0}, 0};
  if (ellipsoid.name.empty()) ellipsoid.name = "unknown";
  if (!(a > 0) || !std::isfinite(a)) {
    return refuse("semi-major axis " + number(a) + " of its ellipsoid is none");
  }
  if (f >= 100 && f <= 1000) {
    ellipsoid.inverse = f;
    ellipsoid.shape.f = 1 / f;
  } else if (f > 0 && f < 1) {
    ellipsoid.inverse = 1 / f;
    ellipsoid.shape.f = f;
  } else if (f != 0) {
    return refuse("F " + number(f) +
                  " of its ellipsoid is neither a flattening nor an inverse one");
  }
  set.ellipsoid = ellipsoid;
  return true;
}

void Builder::makePlane(ProjectionSet& set, const Fields& fields) {
  set.system.kind = SystemKind::kEngineering;
  const bool scaled = fields.given(TVO_FIELD_Scale);
  set.system.wkt = engineeringWkt(
      set.name, scaled ? "Scale " + number(fields.value(TVO_FIELD_Scale)) : std::string());
  note("a plane, which is an engineering system");
}

void Builder::makeSpecial(ProjectionSet& set, const Fields& fields) {
  const EnumId type = static_cast<EnumId>(fields.value(TVO_FIELD_TYPE));
  const auto row = std::find_if(std::begin(kNational), std::end(kNational),
                                [&](const National& national) { return national.type == type; });
  if (row == std::end(kNational)) {
    refuse("its special projection is not known");
    return;
  }
  const NationalEllipsoid& own = *row->ellipsoid;
  if (!set.ellipsoid) {
    set.ellipsoid = NamedEllipsoid{own.name, {own.a, 1 / own.inverse}, own.inverse};
    note(std::string("no ellipsoid is given, taken on \"") + own.name + "\"");
  } else if (!sameEllipsoid(own, *set.ellipsoid)) {
    const std::string other = "it is defined on \"" + std::string(own.name) +
                              "\" but the set has \"" + set.ellipsoid->name + "\"";
    if (row->projection.method == Method::kNewZealand) {
      refuse(other);
      return;
    }
    note(other);
  }
  const std::string conversion = fields.text(TVO_FIELD_MapPrjName);
  set.zoned = type == TVO_ENUM_FINNISH_KKJ;
  if (set.zoned) {
    note("datum unknown, zones on the ellipsoid \"" + set.ellipsoid->name + "\"");
  } else {
    finish(set, conversion, row->projection, "");
  }
}

void Builder::makeProjected(ProjectionSet& set, const MapProjection& from, const Fields& fields) {
  Projection projection;
  projection.method = from.kind->method;
  const NamedEllipsoid& ellipsoid = *set.ellipsoid;
  if (!readColumns(from, fields, projection)) return;
  switch (from.kind->role) {
    case Role::kUtm:
      if (!readUtm(fields, projection)) return;
      break;
    case Role::kConeByScale:
      if (!readConeByScale(fields, ellipsoid, projection)) return;
      break;
    case Role::kHotine:
      if (!readHotine(fields, ellipsoid, projection)) return;
      break;
    case Role::kPolar:
      if (!readPolar(fields, projection)) return;
      break;
    default:
      break;
  }
  noteLostColumns(from);
  finish(set, fields.text(TVO_FIELD_MapPrjName), projection, usageOf(from, fields, projection));
}

void Builder::finish(ProjectionSet& set, const std::string& conversion,
                     const Projection& projection, const std::string& usage) {
  set.system.projector = Projector::make(projection, set.ellipsoid->shape);
  if (!set.system.projector) {
    refuse("its parameters make no projection");
    return;
  }
  set.system.kind = SystemKind::kProjected;
  set.system.wkt = projectedWkt(set.name, conversion.empty() ? "unnamed" : conversion, projection,
                                *set.ellipsoid, usage);
  note("datum unknown, on the ellipsoid \"" + set.ellipsoid->name + "\"");
}

bool Builder::readColumns(const MapProjection& from, const Fields& fields, Projection& p) {
  const tavo_units& units = *from.block->units;
  for (const Column& column : from.kind->columns) {
    const FieldDef* const row =
        schema::findId(schema::recordDef(from.kind->type).fields, column.id);
    const bool angle = row->unit == schema::UnitKind::kGeographic;
    if (!fields.given(column.id)) {
      if (column.need == Need::kRequired) return refuse(std::string(row->name) + " is not given");
      if (column.need == Need::kOne) note(std::string(row->name) + " is not given, taken as 1");
      continue;
    }
    const double value = fields.value(column.id);
    if ((angle && units.geographic == TVO_ENUM_UNKNOWN) ||
        (row->unit == schema::UnitKind::kLinear && units.linear == TVO_ENUM_UNKNOWN)) {
      return refuse("the unit of " + std::string(row->name) + " is unknown");
    }
    const bool latitude = column.id != TVO_FIELD_OriginLong && column.id != TVO_FIELD_SkewAxis;
    const double limit = latitude ? kPi / 2 : 2 * kPi;
    const bool scale = row->unit == schema::UnitKind::kNone;
    if (!std::isfinite(value) || (angle && std::fabs(value) > limit + kSameAngle) ||
        (scale && !(value > 0))) {
      return refuse(std::string(row->name) + " " + (angle ? degrees(value) : number(value)) +
                    " is out of range");
    }
    p.*column.member = value;
  }
  return true;
}

bool Builder::readUtm(const Fields& fields, Projection& p) {
  const double zone = fields.value(TVO_FIELD_ZoneNo);
  if (zone < 1 || zone > 60) return refuse("zone " + number(zone) + " is none of UTM");
  const EnumId hemisphere = static_cast<EnumId>(fields.value(TVO_FIELD_HEMISPHERE));
  if (hemisphere != TVO_ENUM_NORTH && hemisphere != TVO_ENUM_SOUTH) {
    note("HEMISPHERE is unknown, taken as NORTH");
  }
  p.lon = (zone * 6 - 183) * kDegree;
  p.scale = 0.9996;
  p.east = 500000;
  p.north = hemisphere == TVO_ENUM_SOUTH ? 10000000 : 0;
  return true;
}

// The cone touches (times Scale) at Phi, but FalseNorth counts from OriginLat: the one-parallel
// cone has its origin at Phi, so the northing of OriginLat on it is taken off.
bool Builder::readConeByScale(const Fields& fields, const NamedEllipsoid& ellipsoid,
                              Projection& p) {
  if (!fields.given(TVO_FIELD_OriginLat)) {
    note("OriginLat is not given, taken as Phi");
    return true;
  }
  Projection cone = p;
  cone.north = 0;
  const std::optional<Projector> projector = Projector::make(cone, ellipsoid.shape);
  const std::optional<Plane> origin =
      projector ? projector->forward(p.parallel1, p.lon) : std::nullopt;
  if (!origin) return refuse("its parameters make no projection");
  p.north -= origin->north;
  return true;
}

bool Builder::readHotine(const Fields& fields, const NamedEllipsoid& ellipsoid, Projection& p) {
  const EnumId angle = static_cast<EnumId>(fields.value(TVO_FIELD_ANGLETYPE));
  if (angle != TVO_ENUM_ALPHA_C && angle != TVO_ENUM_GAMMA_0) {
    return refuse("ANGLETYPE does not say which angle SkewAxis is");
  }
  if (kPi / 2 - std::fabs(p.lat) < kSameAngle) return refuse("its centre is a pole");
  p.azimuth = p.rectified;
  if (angle == TVO_ENUM_GAMMA_0) {
    const std::optional<double> azimuth = azimuthOf(p.rectified, p.lat, ellipsoid.shape);
    if (!azimuth) return refuse("no line through its centre has the angle SkewAxis");
    p.azimuth = *azimuth;
  }
  // The same line seen from its other end: the formulas expect it to run northwards, or east.
  p.azimuth = std::remainder(p.azimuth, 2 * kPi);
  if (p.azimuth <= -kPi / 2 + kSameAngle || p.azimuth > kPi / 2 + kSameAngle) {
    p.azimuth = std::remainder(p.azimuth + kPi, 2 * kPi);
    p.rectified += kPi;
  }
  for (double* const turned : {&p.azimuth, &p.rectified}) {
    *turned = std::remainder(*turned, 2 * kPi);
    if (*turned < 0) *turned += 2 * kPi;
  }
  if (options_.hotine == HotineOrigin::kCentre) p.method = Method::kHotineCentre;
  if (options_.hotine == HotineOrigin::kNatural) p.method = Method::kHotineNatural;
  if (static_cast<EnumId>(fields.value(TVO_FIELD_RECTIFYTYPE)) == TVO_ENUM_NAD27) {
    note("RECTIFYTYPE NAD27 changes nothing");
  }
  return true;
}

bool Builder::readPolar(const Fields& fields, Projection& p) {
  const EnumId hemisphere = static_cast<EnumId>(fields.value(TVO_FIELD_HEMISPHERE));
  const bool north = hemisphere == TVO_ENUM_NORTH, south = hemisphere == TVO_ENUM_SOUTH;
  if (!fields.given(TVO_FIELD_OriginLat)) {
    if (!north && !south) return refuse("neither OriginLat nor HEMISPHERE names a pole");
    p.lat = south ? -kPi / 2 : kPi / 2;
  } else if (std::fabs(p.lat) < kSameAngle) {
    return refuse("OriginLat 0 is no parallel of true scale");
  } else if ((north && p.lat < 0) || (south && p.lat > 0)) {
    note("HEMISPHERE is not that of OriginLat, which holds");
  }
  if (kPi / 2 - std::fabs(p.lat) < kSameAngle) {
    if (!fields.given(TVO_FIELD_Scale)) note("Scale is not given, taken as 1");
    return true;
  }
  p.method = Method::kPolarByParallel;
  if (std::fabs(p.scale - 1) > kSameAngle) {
    return refuse("Scale " + number(p.scale) + " beside a parallel of true scale contradicts it");
  }
  return true;
}

// Columns that a block may declare, since it is checked against another's table, and that its
// record has no place for.
void Builder::noteLostColumns(const MapProjection& from) {
  const FieldDef* const table = schema::recordDef(from.kind->type).fields;
  const FieldDef* const declared = schema::definitionTable(from.block->columns_type);
  if (declared == nullptr || from.block->columns == nullptr) return;
  for (size_t i = 0; i < from.block->column_count; ++i) {
    const FieldId id = from.block->columns[i];
    const FieldDef* const row = schema::findId(declared, id);
    if (row != nullptr && row->offset != schema::kNotKept && schema::findId(table, id) == nullptr) {
      note(std::string(row->name) + " has no place in the records of this projection");
    }
  }
}

// The domain, where the block gives one.
std::string Builder::usageOf(const MapProjection& from, const Fields& fields, const Projection& p) {
  if (from.block->units->geographic == TVO_ENUM_UNKNOWN) return {};
  const auto value = [&](FieldId id) { return fields.value(id); };
  double south = value(TVO_FIELD_MinLat), north = value(TVO_FIELD_MaxLat);
  double west = value(TVO_FIELD_MinLong), east = value(TVO_FIELD_MaxLong);
  const double width = value(TVO_FIELD_ZoneWidth);
  if (!(west < east) && width > 0) {
    west = p.lon - width / 2;
    east = p.lon + width / 2;
  }
  if (!(south < north)) {
    south = -kPi / 2;
    north = kPi / 2;
  }
  const bool sound = west < east && west >= -kPi && east <= kPi && south >= -kPi / 2 &&
                     north <= kPi / 2 + kSameAngle;
  if (!sound) return {};
  return R"(,USAGE[SCOPE["unknown"],BBOX[)" + degrees(south) + "," + degrees(west) + "," +
         degrees(north) + "," + degrees(east) + "]]";
}

}  // namespace

ReferenceSystems::ReferenceSystems(const SurveyView& view, const CrsOptions& options,
                                   GeometryFindings& findings) {
  Builder builder(view, options, findings);
  for (size_t i = 0; i < view.of(TVO_RECORD_PROJECTION_SETS).count; ++i) {
    const auto record = recordAt<ProjectionSetRecord>(view.of(TVO_RECORD_PROJECTION_SETS), i);
    if (find(record.PrjSetNo) != nullptr) {
      tellTwin(findings, TVO_RECORD_PROJECTION_SETS, i, "Projection set", record.PrjSetNo);
      continue;
    }
    sets_.push_back(builder.build(i));
  }
}

const ProjectionSet* ReferenceSystems::find(uint16_t number) const {
  const auto found = std::find_if(sets_.begin(), sets_.end(),
                                  [&](const ProjectionSet& set) { return set.number == number; });
  return found == sets_.end() ? nullptr : &*found;
}

int zoneOfEast(double east) {
  const double zone = std::floor(east / 1e6);
  return zone >= 0 && zone <= kKkjLastZone ? static_cast<int>(zone) : -1;
}

int zoneOfLongitude(double lon) {
  const double zone = std::nearbyint((lon - kKkjFirst) / kKkjZoneWidth);
  return zone >= 0 && zone <= kKkjLastZone ? static_cast<int>(zone) : -1;
}

System zoneSystem(const ProjectionSet& set, int zone) {
  Projection projection;
  projection.lon = kKkjFirst + zone * kKkjZoneWidth;
  projection.east = zone * 1e6 + 500000;
  System system;
  system.kind = SystemKind::kProjected;
  system.name = set.name + ", zone " + std::to_string(zone);
  system.projector = Projector::make(projection, set.ellipsoid->shape);
  system.wkt = projectedWkt(system.name, "Finland zone " + std::to_string(zone), projection,
                            *set.ellipsoid, "");
  return system;
}

std::string geographicWkt(const ProjectionSet& set) {
  return geographicWkt(set.name + ", geographic", *set.ellipsoid);
}

std::string geocentricWkt(const ProjectionSet& set) {
  return geocentricWkt(set.name + ", geocentric", *set.ellipsoid);
}

}  // namespace tavo::survey
