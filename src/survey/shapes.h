// Lines and polygons of a survey, joined from its edges, and the store of all shapes.
#pragma once

#include <cstdint>
#include <vector>

#include "survey/points.h"
#include "survey/view.h"

namespace tavo::survey {

// Shapes of one record type, in common arrays.
class Shapes {
 public:
  size_t count() const { return shapes_.size(); }
  tavo_shape at(size_t index) const;
  // The first shape of an owner, or kNowhere; owners never decrease.
  size_t firstOf(size_t owner) const;

  // Adds a shape of these runs of points, all of which lie in one system. polygons as in
  // tavo_shape, empty for a line.
  void add(size_t owner, const std::vector<std::vector<size_t>>& runs,
           const std::vector<size_t>& polygons, const std::vector<tavo_position>& positions);
  // Adds a line between two positions of one system.
  void addSegment(size_t owner, const tavo_position& from, const tavo_position& to);

 private:
  struct Entry {
    size_t owner;
    uint32_t crs, dimension;
    size_t vertices, vertexCount;  // where they begin in the common array
    size_t runs, runCount;
    size_t polygons, polygonCount;
  };
  std::vector<Entry> shapes_;
  std::vector<double> vertices_;
  std::vector<size_t> runs_, polygons_;
};

// Of LINES or POLYGONS: the record types of the owners and their edges, and what they are called.
struct ShapeKind {
  RecordType owner, edges;
  size_t ownerNumber, edgeNumber;  // offsets of the number that both have
  const char* name;
  bool areas;
};
extern const ShapeKind kLines, kPolygons;

// Joins the edges of each owner, in file order: `shapes` and, with a shape for every edge both of
// whose ends lie in one system, `edges`.
void joinEdges(const SurveyView& view, const ShapeKind& kind, const Points& points,
               GeometryFindings& findings, Shapes& shapes, Shapes& edges);

// Where a label of the shape sits: half way along the first part of a line, inside the first
// polygon.
tavo_position labelPosition(const tavo_shape& shape);

}  // namespace tavo::survey
