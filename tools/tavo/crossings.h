// Where the boundary of an area crosses or touches itself.
#pragma once

#include <cstddef>
#include <optional>
#include <vector>

namespace tavo::tool {

struct Corner {
  double x, y;
  auto operator<=>(const Corner&) const = default;
};

// One straight piece of a boundary; pieces of one ring have its number.
struct Side {
  Corner from, to;
  size_t ring;
};

// A place where two sides meet that do not follow each other, or lie on each other: a sweep from
// west to east that ends at the first such place, in n log n steps for n sides. Rings may touch
// each other in points, but not cross. Throws Interruption.
std::optional<Corner> findCrossing(std::vector<Side> sides);

}  // namespace tavo::tool
