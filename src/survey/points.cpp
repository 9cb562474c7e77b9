// Places points: presence decides which coordinates count, the set where they lie.
#include "survey/points.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace tavo::survey {
namespace {

bool allOf(tavo_given given, tavo_given bits) { return (given & bits) == bits; }

std::string_view idAt(const tavo_records& points, size_t index) {
  const char* const id =
      static_cast<const char*>(points.bytes) + index * points.size + offsetof(PointRecord, PointID);
  return {id, strnlen(id, sizeof PointRecord::PointID)};
}

}  // namespace

NumberIndex::NumberIndex(const tavo_records& records, size_t offset) : numbers_(records.count) {
  order_.reserve(records.count);
  for (size_t i = 0; i < records.count; ++i) {
    numbers_[i] = numberAt(records, i, offset);
    if (numbers_[i] != 0) order_.push_back(i);
  }
  const auto before = [this](size_t a, size_t b) { return numbers_[a] < numbers_[b]; };
  if (!std::is_sorted(order_.begin(), order_.end(), before)) {
    std::stable_sort(order_.begin(), order_.end(), before);
  }
}

size_t NumberIndex::find(uint32_t number) const {
  const auto at =
      std::lower_bound(order_.begin(), order_.end(), number,
                       [this](size_t index, uint32_t wanted) { return numbers_[index] < wanted; });
  return at != order_.end() && numbers_[*at] == number ? *at : kNowhere;
}

Points::Points(const SurveyView& view, const ReferenceSystems& systems, GeometryFindings& findings)
    : view_(view),
      systems_(systems),
      findings_(findings),
      numbers_(view.of(TVO_RECORD_POINTS), offsetof(PointRecord, PointNo)) {
  const auto bit = [](FieldId id) { return givenBit(TVO_RECORD_POINTS, id); };
  bits_ = {bit(TVO_FIELD_East),      bit(TVO_FIELD_North),    bit(TVO_FIELD_Elevation),
           bit(TVO_FIELD_Longitude), bit(TVO_FIELD_Latitude), bit(TVO_FIELD_Height),
           bit(TVO_FIELD_X),         bit(TVO_FIELD_Y),        bit(TVO_FIELD_Z),
           bit(TVO_FIELD_PrjSetNo)};
  const tavo_records& points = view_.of(TVO_RECORD_POINTS);
  positions_.assign(points.count, {kUnknown, kUnknown, kUnknown, 0, 0});
  heights_.assign(points.count, Height::kNone);
  for (const tavo_block& block : view_.blocks) {
    if (block.data_type != TVO_RECORD_POINTS) continue;
    const schema::Units units = unitsOf(*block.units);
    for (size_t i = block.first; i < block.first + block.count; ++i) place(i, units);
  }
  settleHeights();
  for (size_t i = 0; i < crs_.size(); ++i) {
    crs_[i].name = texts_[i].name.c_str();
    crs_[i].wkt = texts_[i].wkt.c_str();
  }
  tellTwins();
}

void Points::place(size_t index, const schema::Units& units) {
  const auto record = recordAt<PointRecord>(view_.of(TVO_RECORD_POINTS), index);
  const tavo_given given = view_.of(TVO_RECORD_POINTS).given[index];
  const bool grid = allOf(given, bits_.east | bits_.north);
  const bool geographic =
      allOf(given, bits_.lon | bits_.lat) && units.geographic != TVO_ENUM_UNKNOWN;
  if (!grid && !geographic && !allOf(given, bits_.x | bits_.y | bits_.z)) return;

  using schema::UnitKind;
  const ProjectionSet* const set = setOf(index, record, given);
  tavo_position& at = positions_[index];
  // Before the place, which of a geocentric point brings a height of its own.
  if ((given & bits_.elevation) != 0) {
    heights_[index] = Height::kElevation;
    at.z = toInternal(units, UnitKind::kLinear, record.Elevation) + units.elevation;
  } else if ((given & bits_.height) != 0) {
    heights_[index] = Height::kEllipsoidal;
    at.z = toInternal(units, UnitKind::kLinear, record.EllHeight);
  }
  const bool placed =
      grid ? placeGrid(index, record, units, set)
      : geographic
          ? placeGeographic(index, toInternal(units, UnitKind::kGeographic, record.Latitude),
                            toInternal(units, UnitKind::kGeographic, record.Longitude), set)
          : placeGeocentric(index, record, units, set);
  if (!placed || !std::isfinite(at.x) || !std::isfinite(at.y)) {
    at = {kUnknown, kUnknown, kUnknown, 0, 0};
    return;
  }
  if (texts_[at.crs].wkt.empty()) ++withoutSystem_;
  at.dimension = std::isfinite(at.z) ? 3 : 2;
}

bool Points::placeGrid(size_t index, const PointRecord& record, const schema::Units& units,
                       const ProjectionSet* set) {
  tavo_position& at = positions_[index];
  at.x = toInternal(units, schema::UnitKind::kLinear, record.East) + units.east;
  at.y = toInternal(units, schema::UnitKind::kLinear, record.North) + units.north;
  if (units.linear == TVO_ENUM_UNKNOWN) set = nullptr;
  int zone = -1;
  if (set != nullptr && set->zoned) {
    zone = zoneOfEast(at.x);
    if (zone < 0) {
      findings_.warn(TVO_RECORD_POINTS, index, "East does not begin with the number of a zone");
    }
  }
  at.crs = crsOf(set, zone, TAVO_COORDINATES_GRID);
  return true;
}

bool Points::placeGeographic(size_t index, double lat, double lon, const ProjectionSet* set) {
  if (!(std::fabs(lat) <= kPi / 2 + 1e-12) || !(std::fabs(lon) <= 2 * kPi + 1e-12)) {
    findings_.warn(TVO_RECORD_POINTS, index, "Latitude or longitude is out of range");
    return false;
  }
  tavo_position& at = positions_[index];
  const bool zoned = set != nullptr && set->zoned;
  const int zone = zoned ? zoneOfLongitude(lon) : -1;
  if (set == nullptr || (set->system.kind != SystemKind::kProjected && zone < 0)) {
    at.x = lon / kDegree;
    at.y = lat / kDegree;
    at.crs = crsOf(set, -1, TAVO_COORDINATES_GEOGRAPHIC);
    return true;
  }
  at.crs = crsOf(set, zone, TAVO_COORDINATES_GRID);
  const std::optional<Plane> plane = texts_[at.crs].projector->forward(lat, lon);
  if (!plane) {
    findings_.warn(TVO_RECORD_POINTS, index, "The point lies where its map projection ends");
    return false;
  }
  at.x = plane->east;
  at.y = plane->north;
  return true;
}

bool Points::placeGeocentric(size_t index, const PointRecord& record, const schema::Units& units,
                             const ProjectionSet* set) {
  const auto metres = [&](double value) {
    return toInternal(units, schema::UnitKind::kLinear, value);
  };
  tavo_position& at = positions_[index];
  const double x = metres(record.X), y = metres(record.Y), z = metres(record.Z);
  if (units.linear == TVO_ENUM_UNKNOWN) set = nullptr;
  if (set == nullptr || (set->system.kind != SystemKind::kProjected && !set->zoned)) {
    at = {x, y, z, crsOf(set, -1, TAVO_COORDINATES_GEOCENTRIC), 0};
    heights_[index] = Height::kNone;  // z is no height
    return true;
  }
  const Geographic from = fromGeocentric(x, y, z, set->ellipsoid->shape);
  if (heights_[index] == Height::kNone) {
    heights_[index] = Height::kEllipsoidal;
    at.z = from.height;
  }
  return placeGeographic(index, from.lat, from.lon, set);
}

const ProjectionSet* Points::setOf(size_t index, const PointRecord& record, tavo_given given) {
  const bool named = (given & bits_.set) != 0;
  const uint16_t number = record.PrjSetNo;
  if (const ProjectionSet* const set = named ? systems_.find(number) : nullptr) return set;
  if (!named || number == 0) return systems_.sets().size() == 1 ? systems_.sets().data() : nullptr;
  if (unknownSets_.try_emplace(number, index).second) {
    findings_.warn(TVO_RECORD_POINTS, index,
                   "No projection set " + std::to_string(number) + " is defined",
                   TAVO_GEOMETRY_MISSING);
  }
  return nullptr;
}

uint32_t Points::crsOf(const ProjectionSet* set, int zone, uint32_t coordinates) {
  const auto [it, fresh] =
      known_.try_emplace(std::tuple(set, zone, coordinates), static_cast<uint32_t>(crs_.size()));
  if (!fresh) return it->second;
  tavo_crs crs{coordinates, TAVO_HEIGHTS_NONE, kNowhere, 0, zone, nullptr, nullptr};
  CrsTexts& texts = texts_.emplace_back();
  if (set != nullptr) {
    crs.set = set->index;
    crs.set_no = set->number;
    texts.name = set->name;
    if (coordinates == TAVO_COORDINATES_GRID) {
      if (zone >= 0) texts.zone = zoneSystem(*set, zone);
      const System& system = zone >= 0 ? texts.zone : set->system;
      if (zone >= 0) texts.name = system.name;
      texts.wkt = system.wkt;
      texts.projector = system.projector ? &*system.projector : nullptr;
    } else if (set->ellipsoid) {
      texts.wkt =
          coordinates == TAVO_COORDINATES_GEOGRAPHIC ? geographicWkt(*set) : geocentricWkt(*set);
    }
  }
  crs_.push_back(crs);
  return it->second;
}

// Heights above the ellipsoid count only in a system in which nothing gives an Elevation.
void Points::settleHeights() {
  for (size_t i = 0; i < positions_.size(); ++i) {
    if (positions_[i].dimension != 3 || heights_[i] == Height::kNone) continue;
    uint32_t& heights = crs_[positions_[i].crs].heights;
    const bool elevation = heights_[i] == Height::kElevation;
    if (elevation || heights == TAVO_HEIGHTS_NONE) {
      heights = elevation ? TAVO_HEIGHTS_ELEVATION : TAVO_HEIGHTS_ELLIPSOIDAL;
    }
  }
  size_t dropped = 0;
  for (size_t i = 0; i < positions_.size(); ++i) {
    tavo_position& at = positions_[i];
    const bool other = heights_[i] == Height::kEllipsoidal && at.dimension == 3 &&
                       crs_[at.crs].heights == TAVO_HEIGHTS_ELEVATION;
    if (!other) continue;
    at.dimension = 2;
    at.z = kUnknown;
    ++dropped;
  }
  if (withoutSystem_ != 0) {
    findings_.note(0, 0, "Points without a reference system: " + std::to_string(withoutSystem_));
  }
  if (dropped != 0) {
    findings_.note(
        0, 0,
        "Ellipsoidal heights left out, since others are elevations: " + std::to_string(dropped));
  }
  for (size_t i = 0; i < crs_.size(); ++i) {
    if (crs_[i].heights != TAVO_HEIGHTS_ELLIPSOIDAL) continue;
    findings_.note(0, 0,
                   "Heights " + (texts_[i].name.empty() ? "" : "in \"" + texts_[i].name + "\" ") +
                       "are above the ellipsoid");
  }
}

void Points::tellTwins() {
  numbers_.eachTwin([this](size_t index, size_t first) {
    const auto record = recordAt<PointRecord>(view_.of(TVO_RECORD_POINTS), first);
    findings_.warn(TVO_RECORD_POINTS, index,
                   "Point " + std::to_string(record.PointNo) +
                       " is given before; lines and polygons use the first one",
                   TAVO_GEOMETRY_TWIN);
  });
}

const std::vector<size_t>& Points::byId() const {
  if (byId_) return *byId_;
  const tavo_records& points = view_.of(TVO_RECORD_POINTS);
  std::vector<size_t> order;
  for (size_t i = 0; i < points.count; ++i) {
    if (!idAt(points, i).empty()) order.push_back(i);
  }
  const auto before = [&](size_t a, size_t b) { return idAt(points, a) < idAt(points, b); };
  if (!std::is_sorted(order.begin(), order.end(), before)) {
    std::stable_sort(order.begin(), order.end(), before);
  }
  return byId_.emplace(std::move(order));
}

std::optional<Geographic> Points::geographic(uint32_t crs, double x, double y) const {
  if (crs_[crs].coordinates == TAVO_COORDINATES_GEOGRAPHIC) {
    return Geographic{y * kDegree, x * kDegree, 0};
  }
  const Projector* const projector = texts_[crs].projector;
  const bool projected = crs_[crs].coordinates == TAVO_COORDINATES_GRID && projector != nullptr;
  return projected ? projector->inverse({x, y}) : std::nullopt;
}

size_t Points::find(const PointKey& key) const {
  if (key.number != 0) return numbers_.find(key.number);
  if (key.id.empty()) return kNowhere;
  const std::vector<size_t>& order = byId();
  const tavo_records& points = view_.of(TVO_RECORD_POINTS);
  const auto at =
      std::lower_bound(order.begin(), order.end(), key.id,
                       [&](size_t index, std::string_view id) { return idAt(points, index) < id; });
  return at != order.end() && idAt(points, *at) == key.id ? *at : kNowhere;
}

}  // namespace tavo::survey
