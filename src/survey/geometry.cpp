// Puts the geometry of a survey together: places of labels and text boxes, rays of observations.
#include "survey/geometry.h"

#include <cmath>

namespace tavo::survey {
namespace {

constexpr tavo_position kNoPlace{kUnknown, kUnknown, kUnknown, 0, 0};
constexpr double kGon = kPi / 200;
constexpr double kFullCircle = 400;

// 0 (included) to 400 gon.
double inCircle(double gon) {
  const double turned = std::fmod(gon, kFullCircle);
  return turned < 0 ? turned + kFullCircle : turned;
}

}  // namespace

Geometry::Geometry(const SurveyView& view, const CrsOptions& options)
    : view_(view),
      bits_{givenBit(TVO_RECORD_SLOPE, TVO_FIELD_Hz),
            givenBit(TVO_RECORD_SLOPE, TVO_FIELD_Vz),
            givenBit(TVO_RECORD_SLOPE, TVO_FIELD_Ori),
            givenBit(TVO_RECORD_SLOPE, TVO_FIELD_SDist),
            givenBit(TVO_RECORD_SLOPE, TVO_FIELD_RefHt),
            givenBit(TVO_RECORD_SETUP, TVO_FIELD_InstrHt)},
      findings_(view_),
      systems_(view_, options, findings_),
      points_(view_, systems_, findings_) {
  for (const ShapeKind* const kind : {&kLines, &kPolygons}) {
    joinEdges(view_, *kind, points_, findings_, shapes_[kind->owner], shapes_[kind->edges]);
  }
  placeAnnotations();
  placeBoxes();
  observe();
  publish();
}

std::span<const tavo_position> Geometry::positions(RecordType type) const {
  if (type == TVO_RECORD_POINTS) return points_.positions();
  const auto found = positions_.find(type);
  return found == positions_.end() ? std::span<const tavo_position>() : found->second;
}

const Shapes* Geometry::shapes(RecordType type) const {
  const auto found = shapes_.find(type);
  return found == shapes_.end() ? nullptr : &found->second;
}

void Geometry::placeAnnotations() {
  const tavo_records& records = view_.of(TVO_RECORD_POINT_ANNOTATIONS);
  std::vector<tavo_position>& places = positions_[TVO_RECORD_POINT_ANNOTATIONS];
  for (size_t i = 0; i < records.count; ++i) {
    const auto record = recordAt<AnnotationRecord>(records, i);
    const size_t point = points_.find({record.PointNo, textOf(record.PointID)});
    places.push_back(point == kNowhere ? kNoPlace : points_.positions()[point]);
    if (point == kNowhere) {
      findings_.warn(TVO_RECORD_POINT_ANNOTATIONS, i, "An annotation of a point that is not there",
                     TAVO_GEOMETRY_MISSING);
    }
  }
  placeShapeAnnotations(TVO_RECORD_LINE_ANNOTATIONS, kLines);
  placeShapeAnnotations(TVO_RECORD_POLYGON_ANNOTATIONS, kPolygons);
}

void Geometry::placeShapeAnnotations(RecordType type, const ShapeKind& kind) {
  const tavo_records& records = view_.of(type);
  std::vector<tavo_position>& places = positions_[type];
  const NumberIndex owners(view_.of(kind.owner), kind.ownerNumber);
  const Shapes& shapes = shapes_[kind.owner];
  for (size_t i = 0; i < records.count; ++i) {
    const auto record = recordAt<AnnotationRecord>(records, i);
    const size_t owner = owners.find(kind.areas ? record.PolygonNo : record.LineNo);
    const size_t shape = owner == kNowhere ? kNowhere : shapes.firstOf(owner);
    places.push_back(shape == kNowhere ? kNoPlace : labelPosition(shapes.at(shape)));
    if (owner == kNowhere) {
      findings_.warn(type, i,
                     std::string("An annotation of a ") + (kind.areas ? "polygon" : "line") +
                         " that is not there",
                     TAVO_GEOMETRY_MISSING);
    }
  }
}

// A box stands beside its anchor; its offsets are lengths of the file.
void Geometry::placeBoxes() {
  const tavo_records& records = view_.of(TVO_RECORD_BOX_ON_POINT);
  std::vector<tavo_position>& places = positions_[TVO_RECORD_BOX_ON_POINT];
  places.assign(records.count, kNoPlace);
  for (const tavo_block& block : view_.blocks) {
    if (block.data_type != TVO_RECORD_BOX_ON_POINT) continue;
    const schema::Units units = unitsOf(*block.units);
    const auto metres = [&](float value) {
      return toInternal(units, schema::UnitKind::kLinear, static_cast<double>(value));
    };
    for (size_t i = block.first; i < block.first + block.count; ++i) {
      const auto box = recordAt<TextBoxRecord>(records, i);
      const size_t point = points_.find({box.AnchorPointNo, {}});
      if (point == kNowhere) {
        findings_.warn(TVO_RECORD_BOX_ON_POINT, i, "A text box on a point that is not there",
                       TAVO_GEOMETRY_MISSING);
        continue;
      }
      places[i] = points_.positions()[point];
      if (places[i].dimension == 0) continue;
      if (points_.systems()[places[i].crs].coordinates != TAVO_COORDINATES_GRID) {
        findings_.note(TVO_RECORD_BOX_ON_POINT, i,
                       "A text box stands on its point, which has no grid for its offsets");
        continue;
      }
      places[i].x += metres(box.OffsetEast);
      places[i].y += metres(box.OffsetNorth);
      places[i].z += metres(box.OffsetElevation);
    }
  }
}

// A ray leads from the station of the last SETUP in front of an observation to its target.
void Geometry::observe() {
  const tavo_records& setups = view_.of(TVO_RECORD_SETUP);
  const tavo_records& slopes = view_.of(TVO_RECORD_SLOPE);
  std::vector<size_t> stations;
  std::vector<tavo_position>& places = positions_[TVO_RECORD_SETUP];
  for (size_t i = 0; i < setups.count; ++i) {
    const auto setup = recordAt<SetupRecord>(setups, i);
    stations.push_back(points_.find({setup.STN_NO, textOf(setup.STN_ID)}));
    places.push_back(stations[i] == kNowhere ? kNoPlace : points_.positions()[stations[i]]);
  }
  Shapes& rays = shapes_[TVO_RECORD_SLOPE];
  observations_.reserve(slopes.count);
  size_t last = kNowhere;
  for (const tavo_block& block : view_.blocks) {
    if (block.data_type == TVO_RECORD_SETUP && block.count > 0)
      last = block.first + block.count - 1;
    if (block.data_type != TVO_RECORD_SLOPE) continue;
    const schema::Units units = unitsOf(*block.units);
    for (size_t i = block.first; i < block.first + block.count; ++i) {
      const auto slope = recordAt<SlopeRecord>(slopes, i);
      observations_.push_back(observation(slope, slopes.given[i], last, units));
      const size_t target = points_.find({slope.TgtNo, textOf(slope.TgtID)});
      if (last == kNowhere || !points_.located(stations[last]) || !points_.located(target))
        continue;
      const tavo_position& to = points_.positions()[target];
      if (places[last].crs == to.crs) {
        rays.addSegment(i, places[last], to);
      } else {
        findings_.warn(TVO_RECORD_SLOPE, i, "Station and target lie in different reference systems",
                       TAVO_GEOMETRY_SYSTEMS);
      }
    }
  }
}

tavo_observation Geometry::observation(const SlopeRecord& slope, tavo_given given, size_t setup,
                                       const schema::Units& units) const {
  const auto has = [given](tavo_given bit) { return (given & bit) != 0; };
  const auto gon = [&](tavo_given bit, double radians) {
    return has(bit) && units.angular != TVO_ENUM_UNKNOWN ? radians / kGon : kUnknown;
  };
  tavo_observation out{};
  out.setup = setup;
  out.hz = gon(bits_.hz, slope.Hz);
  out.vz = gon(bits_.vz, slope.Vz);
  out.ori = gon(bits_.ori, slope.Ori);
  out.distance = has(bits_.distance) ? slope.SDist : kUnknown;
  out.target_height = has(bits_.targetHeight) ? static_cast<double>(slope.RefHt) : kUnknown;
  out.instrument_height = kUnknown;
  if (setup != kNowhere &&
      (view_.of(TVO_RECORD_SETUP).given[setup] & bits_.instrumentHeight) != 0) {
    const auto record = recordAt<SetupRecord>(view_.of(TVO_RECORD_SETUP), setup);
    out.instrument_height = static_cast<double>(record.INST_HT);
  }
  const double vz = inCircle(out.vz);
  const bool faceTwo = vz > kFullCircle / 2;  // not so where Vz is unknown
  out.red_hz = inCircle(out.hz + (faceTwo ? kFullCircle / 2 : 0));
  out.red_vz = faceTwo ? kFullCircle - vz : vz;
  out.red_distance = out.distance * std::sin(out.red_vz * kGon);
  out.red_height =
      out.distance * std::cos(out.red_vz * kGon) + out.instrument_height - out.target_height;
  return out;
}

void Geometry::publish() {
  for (const GeometryFinding& from : findings_.all()) {
    published_.push_back(
        {from.kind, from.type, from.index, from.line, from.text.c_str(), from.cause});
  }
}

}  // namespace tavo::survey
