// The geometry of a survey, and where in it a record lies.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>

#include "tavo/survey.h"

namespace tavo::tool {

struct FreeGeometry {
  void operator()(tavo_geometry* geometry) const { tavo_geometry_free(geometry); }
};
using Geometry = std::unique_ptr<tavo_geometry, FreeGeometry>;

// Of a survey, which must outlive it. std::bad_alloc when memory runs out.
Geometry geometryOf(const tavo_survey* survey, const tavo_geometry_options* options = nullptr);

// Where a record lies: of a line its first vertex, of an observation its target. Nothing where it
// has no place of its own.
std::optional<tavo_position> placeOf(const tavo_geometry* geometry, uint32_t type, size_t index);

}  // namespace tavo::tool
