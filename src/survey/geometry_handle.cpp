// Geometry and reference systems, as a host calls them.
#include <memory>

#include "survey/geometry.h"
#include "survey/guard.h"
#include "survey/survey.h"

struct tavo_geometry {
  tavo_geometry(const tavo::survey::SurveyView& view, const tavo::survey::CrsOptions& options)
      : geometry(view, options) {}
  tavo::survey::Geometry geometry;
};

using tavo::survey::CrsOptions;
using tavo::survey::guarded;
using tavo::survey::HotineOrigin;
using tavo::survey::ProjectionSet;
using tavo::survey::Shapes;
using tavo::survey::SurveyView;

namespace {

constexpr tavo_geometry_options kDefaults = TAVO_GEOMETRY_OPTIONS_INIT;
constexpr HotineOrigin kOrigins[] = {HotineOrigin::kOfBlock, HotineOrigin::kCentre,
                                     HotineOrigin::kNatural};

// The first of a span, null of an empty one; count, which must be there, is its size.
template <class Span>
auto publish(const Span& span, size_t* count) -> decltype(span.data()) {
  *count = span.size();
  return span.empty() ? nullptr : span.data();
}

}  // namespace

extern "C" {

tavo_status tavo_geometry_create(tavo_geometry** out, const tavo_survey* survey,
                                 const tavo_geometry_options* options) {
  if (out == nullptr) return TAVO_ERR_ARGUMENT;
  *out = nullptr;
  if (options == nullptr) options = &kDefaults;
  if (survey == nullptr || options->version != 1 || options->ignore_transformations > 1 ||
      options->hotine_origin > TAVO_HOTINE_NATURAL) {
    return TAVO_ERR_ARGUMENT;
  }
  return guarded(TAVO_ERR_MEMORY, [&]() -> tavo_status {
    const SurveyView view{survey->data.types(), survey->data.blocks()};
    const CrsOptions wanted{options->ignore_transformations == 1, kOrigins[options->hotine_origin]};
    *out = std::make_unique<tavo_geometry>(view, wanted).release();
    return TAVO_OK;
  });
}

void tavo_geometry_free(tavo_geometry* geometry) { delete geometry; }

size_t tavo_geometry_crs_count(const tavo_geometry* geometry) {
  return geometry == nullptr ? 0 : geometry->geometry.crs().size();
}

const tavo_crs* tavo_geometry_crs(const tavo_geometry* geometry, size_t index) {
  return index < tavo_geometry_crs_count(geometry) ? &geometry->geometry.crs()[index] : nullptr;
}

const char* tavo_crs_wkt(const tavo_geometry* geometry, uint32_t set_no) {
  if (geometry == nullptr || set_no > UINT16_MAX) return nullptr;
  const ProjectionSet* const set =
      geometry->geometry.referenceSystems().find(static_cast<uint16_t>(set_no));
  return set == nullptr ? nullptr : set->system.wkt.c_str();
}

const tavo_position* tavo_geometry_positions(const tavo_geometry* geometry, uint32_t type,
                                             size_t* count) {
  if (count == nullptr) return nullptr;
  *count = 0;
  return geometry == nullptr ? nullptr : publish(geometry->geometry.positions(type), count);
}

int tavo_geometry_geographic(const tavo_geometry* geometry, uint32_t crs, double x, double y,
                             double* longitude, double* latitude) {
  if (geometry == nullptr || longitude == nullptr || latitude == nullptr) return 0;
  const auto at = geometry->geometry.geographic(crs, x, y);
  if (!at) return 0;
  *longitude = at->lon / tavo::survey::kDegree;
  *latitude = at->lat / tavo::survey::kDegree;
  return 1;
}

size_t tavo_geometry_shape_count(const tavo_geometry* geometry, uint32_t type) {
  const Shapes* const shapes = geometry == nullptr ? nullptr : geometry->geometry.shapes(type);
  return shapes == nullptr ? 0 : shapes->count();
}

int tavo_geometry_shape(const tavo_geometry* geometry, uint32_t type, size_t index,
                        tavo_shape* shape) {
  if (shape == nullptr || index >= tavo_geometry_shape_count(geometry, type)) return 0;
  *shape = geometry->geometry.shapes(type)->at(index);
  return 1;
}

const tavo_observation* tavo_geometry_observations(const tavo_geometry* geometry, size_t* count) {
  if (count == nullptr) return nullptr;
  *count = 0;
  return geometry == nullptr ? nullptr : publish(geometry->geometry.observations(), count);
}

size_t tavo_geometry_finding_count(const tavo_geometry* geometry) {
  return geometry == nullptr ? 0 : geometry->geometry.findings().size();
}

const tavo_geometry_finding* tavo_geometry_finding_at(const tavo_geometry* geometry, size_t index) {
  return index < tavo_geometry_finding_count(geometry) ? &geometry->geometry.findings()[index]
                                                       : nullptr;
}

}  // extern "C"
