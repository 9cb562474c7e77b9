// Positions by record, and shapes by their owner.
#include "geometry.h"

#include <new>

namespace tavo::tool {

Geometry geometryOf(const tavo_survey* survey, const tavo_geometry_options* options) {
  tavo_geometry* geometry = nullptr;
  if (tavo_geometry_create(&geometry, survey, options) != TAVO_OK) throw std::bad_alloc();
  return Geometry(geometry);
}

std::optional<tavo_position> placeOf(const tavo_geometry* geometry, uint32_t type, size_t index) {
  size_t count = 0;
  const tavo_position* const positions = tavo_geometry_positions(geometry, type, &count);
  if (index < count) {
    if (positions[index].dimension == 0) return std::nullopt;
    return positions[index];
  }
  // Shapes stand in the order of their owners.
  size_t low = 0, high = tavo_geometry_shape_count(geometry, type);
  tavo_shape shape{};
  while (low < high) {
    const size_t middle = low + (high - low) / 2;
    tavo_geometry_shape(geometry, type, middle, &shape);
    if (shape.owner < index) {
      low = middle + 1;
    } else {
      high = middle;
    }
  }
  const bool found = tavo_geometry_shape(geometry, type, low, &shape) != 0 &&
                     shape.owner == index && shape.vertex_count > 0;
  if (!found) return std::nullopt;
  // Of a ray the target.
  const size_t vertex = type == TVO_RECORD_SLOPE ? shape.vertex_count - 1 : 0;
  const double* const at = shape.vertices + 3 * vertex;
  return tavo_position{at[0], at[1], at[2], shape.crs, shape.dimension};
}

}  // namespace tavo::tool
