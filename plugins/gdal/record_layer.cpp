// Rows of records with their geometry.
#include "record_layer.h"

#include <algorithm>

namespace tavo::gdal {

namespace {

void put(OGRSimpleCurve& curve, const tavo_shape& shape, size_t run) {
  const size_t first = shape.runs[run];
  const int count = static_cast<int>(shape.runs[run + 1] - first);
  curve.setNumPoints(count, FALSE);
  for (int i = 0; i < count; ++i) {
    const double* const at = shape.vertices + 3 * (first + static_cast<size_t>(i));
    if (shape.dimension == 3) {
      curve.setPoint(i, at[0], at[1], at[2]);
    } else {
      curve.setPoint(i, at[0], at[1]);
    }
  }
}

std::unique_ptr<OGRGeometry> lineOf(const tavo_shape& shape, bool single) {
  if (single) {
    auto line = std::make_unique<OGRLineString>();
    put(*line, shape, 0);
    return line;
  }
  auto lines = std::make_unique<OGRMultiLineString>();
  for (size_t run = 0; run < shape.run_count; ++run) {
    auto line = std::make_unique<OGRLineString>();
    put(*line, shape, run);
    lines->addGeometryDirectly(line.release());
  }
  return lines;
}

std::unique_ptr<OGRGeometry> areaOf(const tavo_shape& shape) {
  auto areas = std::make_unique<OGRMultiPolygon>();
  for (size_t i = 0; i < shape.polygon_count; ++i) {
    auto area = std::make_unique<OGRPolygon>();
    for (size_t run = shape.polygons[i]; run < shape.polygons[i + 1]; ++run) {
      auto ring = std::make_unique<OGRLinearRing>();
      put(*ring, shape, run);
      area->addRingDirectly(ring.release());
    }
    areas->addGeometryDirectly(area.release());
  }
  return areas;
}

}  // namespace

RecordLayer::RecordLayer(const Source& source, const Styles& styles, Contents contents)
    : Layer(contents.name, contents.geometry, contents.system),
      source_(source),
      styles_(styles),
      parts_(std::move(contents.parts)) {
  for (const Part& part : parts_) {
    size_t count = 0;
    places_.push_back(tavo_geometry_positions(source.geometry(), part.type, &count));
    rows_ += part.count;
  }
  declare(std::move(contents.columns));
}

RecordLayer::Where RecordLayer::where(size_t row) const {
  size_t i = 0;
  while (row >= parts_[i].count) row -= parts_[i++].count;
  const Part& part = parts_[i];
  return {&part, places_[i], part.records.empty() ? row : part.records[row],
          part.shapes.empty() ? SIZE_MAX : part.shapes[row]};
}

const tavo_position* RecordLayer::placeOf(const Where& at) const {
  if (at.places == nullptr || at.places[at.record].dimension == 0) return nullptr;
  return &at.places[at.record];
}

bool RecordLayer::envelopeOf(size_t row, OGREnvelope& envelope) const {
  const Where at = where(row);
  if (const tavo_position* const place = placeOf(at)) {
    envelope.MinX = envelope.MaxX = place->x;
    envelope.MinY = envelope.MaxY = place->y;
    return true;
  }
  tavo_shape shape{};
  if (tavo_geometry_shape(source_.geometry(), at.part->type, at.shape, &shape) == 0) return false;
  envelope = {};
  for (size_t i = 0; i < shape.vertex_count; ++i) {
    envelope.Merge(shape.vertices[3 * i], shape.vertices[3 * i + 1]);
  }
  return true;
}

OGRGeometry* RecordLayer::geometryOf(size_t row) const {
  const Where at = where(row);
  const OGRwkbGeometryType type = geometryType();
  if (const tavo_position* const place = placeOf(at)) {
    return place->dimension == 3 && OGR_GT_HasZ(type) ? new OGRPoint(place->x, place->y, place->z)
                                                      : new OGRPoint(place->x, place->y);
  }
  tavo_shape shape{};
  if (tavo_geometry_shape(source_.geometry(), at.part->type, at.shape, &shape) == 0) return nullptr;
  if (shape.polygon_count != 0) return areaOf(shape).release();
  return lineOf(shape, wkbFlatten(type) == wkbLineString).release();
}

Row RecordLayer::rowOf(size_t row) const {
  const Where at = where(row);
  return source_.row(at.part->type, at.record);
}

}  // namespace tavo::gdal
