// Rules on lines, polygons and places. What geometry found on its way is sorted under its rule.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <numbers>

#include "crossings.h"
#include "deep_survey.h"

namespace tavo::tool {

namespace {

constexpr uint32_t kGap = 121, kZeroEdge = 122, kOpenRing = 123, kCrossing = 124,
                   kNoCoordinates = 125, kSystems = 126, kNoPlace = 127, kRemark = 128,
                   kOutside = 151, kOutlier = 152;

// The rule for a finding of geometry; 0 for what the rules on references tell.
uint32_t ruleOf(const tavo_geometry_finding& finding) {
  switch (finding.cause) {
    case TAVO_GEOMETRY_MISSING:
    case TAVO_GEOMETRY_TWIN:
      return 0;
    case TAVO_GEOMETRY_NO_COORDINATES:
      return kNoCoordinates;
    case TAVO_GEOMETRY_GAP:
      return kGap;
    case TAVO_GEOMETRY_RING:
      return kOpenRing;
    case TAVO_GEOMETRY_SYSTEMS:
      return kSystems;
    default:
      return finding.kind == TAVO_NOTE ? kRemark : kNoPlace;
  }
}

void sortFindings(DeepSurvey& survey) {
  const tavo_geometry* const geometry = survey.geometry();
  for (size_t i = 0; i < tavo_geometry_finding_count(geometry); ++i) {
    const tavo_geometry_finding& finding = *tavo_geometry_finding_at(geometry, i);
    if (const uint32_t rule = ruleOf(finding); rule != 0) {
      survey.find(rule, {finding.record_type, finding.index}, 0, finding.text);
    }
  }
}

// The points' places by the ends of an edge.
class Ends {
 public:
  explicit Ends(const DeepSurvey& survey)
      : survey_(survey),
        places_(tavo_geometry_positions(survey.geometry(), TVO_RECORD_POINTS, &count_)) {}

  // Null where the point is not there or has no place.
  const tavo_position* at(uint32_t number, const char (&id)[17]) const {
    const RecordAt* const point =
        survey_.target(TVO_FIELD_PointNo, number, TVO_FIELD_PointID, textOf(id));
    if (point == nullptr || places_[point->index].dimension == 0) return nullptr;
    return &places_[point->index];
  }

 private:
  const DeepSurvey& survey_;
  size_t count_ = 0;
  const tavo_position* places_;
};

void findZeroEdges(DeepSurvey& survey, uint32_t type) {
  const Ends ends(survey);
  for (size_t i = 0; i < survey.of(type).count; ++i) {
    const auto edge = survey.record<EdgeRecord>({type, i});
    const tavo_position* const from = ends.at(edge.StartPt, edge.StartPtID);
    const tavo_position* const to = ends.at(edge.EndPt, edge.EndPtID);
    if (from == nullptr || to == nullptr) continue;
    const bool same = from->crs == to->crs && from->x == to->x && from->y == to->y;
    if (!same) continue;
    const std::string start = nameOf(edge.StartPt, edge.StartPtID);
    survey.find(kZeroEdge, {type, i}, TVO_FIELD_StartPt,
                from == to ? "the edge leads from point " + start + " to itself"
                           : "points " + start + " and " + nameOf(edge.EndPt, edge.EndPtID) +
                                 " are at the same place");
  }
}

// The boundary of a polygon as its edges give it, whether it closes or not.
class Boundary {
 public:
  void add(const tavo_position& from, const tavo_position& to) {
    // A run that came back to its start, or does not go on, begins another ring. Two points at one
    // place are two points.
    if (last_ != &from) {
      ++ring_;
      start_ = &from;
    }
    sides_.push_back({{from.x, from.y}, {to.x, to.y}, ring_});
    last_ = &to == start_ ? nullptr : &to;
  }
  std::optional<Corner> crossing() { return findCrossing(std::move(sides_)); }

 private:
  std::vector<Side> sides_;
  size_t ring_ = 0;
  const tavo_position* start_ = nullptr;
  const tavo_position* last_ = nullptr;  // null where the ring is closed
};

void findCrossings(DeepSurvey& survey) {
  const uint32_t type = TVO_RECORD_POLYGON_EDGES;
  const Ends ends(survey);
  std::map<uint32_t, std::vector<size_t>> edges;
  for (size_t i = 0; i < survey.of(type).count; ++i) {
    edges[survey.record<EdgeRecord>({type, i}).PolygonNo].push_back(i);
  }
  for (const auto& [number, own] : edges) {
    const auto& polygons = survey.definitions(TVO_FIELD_PolygonNo).numbers;
    const auto owner = polygons.find(number);
    if (owner == polygons.end()) continue;
    Boundary boundary;
    const tavo_position* first = nullptr;
    for (const size_t i : own) {
      const auto edge = survey.record<EdgeRecord>({type, i});
      const tavo_position* const from = ends.at(edge.StartPt, edge.StartPtID);
      const tavo_position* const to = ends.at(edge.EndPt, edge.EndPtID);
      if (from == nullptr || to == nullptr) continue;
      if (first == nullptr) first = from;
      if (from->crs == first->crs && to->crs == first->crs) boundary.add(*from, *to);
    }
    if (first == nullptr) continue;  // no edge has places at both ends
    const std::optional<Corner> at = boundary.crossing();
    if (!at) continue;
    Position place = survey.position(*first);
    place.x = at->x;
    place.y = at->y;
    place.z = NAN;
    char where[96];
    std::snprintf(where, sizeof where, " meets itself at %.3f, %.3f", at->x, at->y);
    survey.find(kCrossing, owner->second, TVO_FIELD_PolygonNo,
                "the boundary of polygon " + std::to_string(number) + where, place);
  }
}

// --- Places --------------------------------------------------------------------------------------

double medianOf(std::vector<double>& values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

// Points of one reference system far from all the others.
void findOutliersIn(DeepSurvey& survey, const std::vector<size_t>& points,
                    const tavo_position* places) {
  constexpr double kFactor = 20;
  // Of fewer nobody can tell which is the outlier.
  constexpr size_t kFewest = 5;
  if (points.size() < kFewest) return;
  std::vector<double> values;
  const auto median = [&](auto value) {
    values.clear();
    for (const size_t i : points) values.push_back(value(places[i]));
    return medianOf(values);
  };
  const double x = median([](const tavo_position& at) { return at.x; });
  const double y = median([](const tavo_position& at) { return at.y; });
  const auto distance = [x, y](const tavo_position& at) { return std::hypot(at.x - x, at.y - y); };
  const double usual = median(distance);
  if (!(usual > 0)) return;
  for (const size_t i : points) {
    const double away = distance(places[i]);
    if (!(away > kFactor * usual)) continue;
    char detail[120];
    std::snprintf(detail, sizeof detail,
                  "%.0f times as far from the middle as half of the points are", away / usual);
    survey.find(kOutlier, {TVO_RECORD_POINTS, i}, 0, detail);
  }
}

void findOutliers(DeepSurvey& survey) {
  size_t count = 0;
  const tavo_position* const places =
      tavo_geometry_positions(survey.geometry(), TVO_RECORD_POINTS, &count);
  std::map<uint32_t, std::vector<size_t>> systems;
  for (size_t i = 0; i < count; ++i) {
    if (places[i].dimension > 0) systems[places[i].crs].push_back(i);
  }
  for (const auto& [crs, points] : systems) findOutliersIn(survey, points, places);
}

// The limits of a map projection in degrees; a pair that is not given, or not in order, is none.
struct Limits {
  double south = -INFINITY, north = INFINITY, west = -INFINITY, east = INFINITY;

  bool none() const { return !std::isfinite(south) && !std::isfinite(west); }
  bool hold(double longitude, double latitude) const {
    constexpr double kSlack = 1e-9;
    return latitude >= south - kSlack && latitude <= north + kSlack && longitude >= west - kSlack &&
           longitude <= east + kSlack;
  }
};

Limits limitsOf(const DeepSurvey& survey, const tavo_crs& crs) {
  Limits limits;
  if (crs.set == SIZE_MAX) return limits;
  const auto set = survey.record<ProjectionSetRecord>({TVO_RECORD_PROJECTION_SETS, crs.set});
  const auto& projections = survey.definitions(TVO_FIELD_MapPrjNo).numbers;
  const auto found = projections.find(set.MapPrjNo);
  if (found == projections.end()) return limits;
  const RecordAt at = found->second;
  const auto pair = [&](FieldId low, FieldId high, double* from, double* to) {
    const PlacedField lowest = fieldOf(at.type, low), highest = fieldOf(at.type, high);
    if (lowest.field == nullptr || !survey.given(at, lowest) || !survey.given(at, highest)) return;
    const double a = *realAt(*lowest.field, survey.bytes(at)) * 180 / std::numbers::pi;
    const double b = *realAt(*highest.field, survey.bytes(at)) * 180 / std::numbers::pi;
    if (!(a < b)) return;
    *from = a;
    *to = b;
  };
  pair(TVO_FIELD_MinLat, TVO_FIELD_MaxLat, &limits.south, &limits.north);
  pair(TVO_FIELD_MinLong, TVO_FIELD_MaxLong, &limits.west, &limits.east);
  return limits;
}

void findOutside(DeepSurvey& survey) {
  const tavo_geometry* const geometry = survey.geometry();
  std::vector<Limits> limits;
  for (size_t i = 0; i < tavo_geometry_crs_count(geometry); ++i) {
    limits.push_back(limitsOf(survey, *tavo_geometry_crs(geometry, i)));
  }
  size_t count = 0;
  const tavo_position* const places = tavo_geometry_positions(geometry, TVO_RECORD_POINTS, &count);
  for (size_t i = 0; i < count; ++i) {
    throwIfInterrupted();
    const tavo_position& at = places[i];
    if (at.dimension == 0 || limits[at.crs].none()) continue;
    double longitude = 0, latitude = 0;
    const bool known =
        tavo_geometry_geographic(geometry, at.crs, at.x, at.y, &longitude, &latitude) != 0;
    if (known && limits[at.crs].hold(longitude, latitude)) continue;
    char detail[120];
    if (known) {
      std::snprintf(detail, sizeof detail, "longitude %.5f, latitude %.5f degrees", longitude,
                    latitude);
    } else {
      std::snprintf(detail, sizeof detail, "no place on earth is projected there");
    }
    survey.find(kOutside, {TVO_RECORD_POINTS, i}, 0, detail);
  }
}

}  // namespace

void checkShapes(DeepSurvey& survey) {
  sortFindings(survey);
  for (const uint32_t type : {TVO_RECORD_LINE_EDGES, TVO_RECORD_POLYGON_EDGES}) {
    findZeroEdges(survey, type);
  }
  findCrossings(survey);
  findOutside(survey);
  findOutliers(survey);
}

}  // namespace tavo::tool
