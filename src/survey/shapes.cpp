// Edges to parts and rings. A vertex is never guessed: what does not join begins a new part, what
// does not close is no polygon, and both are said.
#include "survey/shapes.h"

#include <algorithm>
#include <cmath>
#include <string>

namespace tavo::survey {
namespace {

using Run = std::vector<size_t>;  // points

struct Edge {
  size_t index;  // among the edges of its kind
  size_t start, end;
  bool sound;  // both ends have coordinates
};

// Where a point lies of a ring: 1 inside, 0 on it, -1 outside.
int sideOf(const Run& ring, double x, double y, const std::vector<tavo_position>& at) {
  bool inside = false;
  for (size_t i = 0; i + 1 < ring.size(); ++i) {
    const tavo_position &a = at[ring[i]], &b = at[ring[i + 1]];
    const double cross = (b.x - a.x) * (y - a.y) - (b.y - a.y) * (x - a.x);
    if (cross == 0 && x >= std::min(a.x, b.x) && x <= std::max(a.x, b.x) &&
        y >= std::min(a.y, b.y) && y <= std::max(a.y, b.y)) {
      return 0;
    }
    if ((a.y > y) != (b.y > y) && (cross > 0) == (b.y > a.y)) inside = !inside;
  }
  return inside ? 1 : -1;
}

// Whether a ring lies in another that it does not cross: the first of its vertices and middles that
// is not on the other's boundary decides.
bool liesIn(const Run& inner, const Run& outer, const std::vector<tavo_position>& at) {
  for (size_t i = 0; i + 1 < inner.size(); ++i) {
    const tavo_position &a = at[inner[i]], &b = at[inner[i + 1]];
    int side = sideOf(outer, a.x, a.y, at);
    if (side == 0) side = sideOf(outer, (a.x + b.x) / 2, (a.y + b.y) / 2, at);
    if (side != 0) return side > 0;
  }
  return false;
}

struct Ring {
  Run run;
  double area = 0;  // twice, without sign
  double west = 0, south = 0, east = 0, north = 0;
  size_t parent = kNowhere;
  size_t depth = 0;
};

Ring ringOf(const Run& run, const std::vector<tavo_position>& at) {
  const tavo_position& first = at[run.front()];
  Ring ring{run, 0, first.x, first.y, first.x, first.y, kNowhere, 0};
  for (size_t i = 0; i + 1 < run.size(); ++i) {
    const tavo_position &a = at[run[i]], &b = at[run[i + 1]];
    ring.area += (a.x - first.x) * (b.y - first.y) - (b.x - first.x) * (a.y - first.y);
    ring.west = std::min(ring.west, a.x);
    ring.east = std::max(ring.east, a.x);
    ring.south = std::min(ring.south, a.y);
    ring.north = std::max(ring.north, a.y);
  }
  ring.area = std::fabs(ring.area);
  return ring;
}

// Finds the smallest ring around each.
void nest(std::vector<Ring>& rings, const std::vector<tavo_position>& at) {
  std::vector<size_t> order(rings.size());
  for (size_t i = 0; i < order.size(); ++i) order[i] = i;
  std::stable_sort(order.begin(), order.end(),
                   [&](size_t a, size_t b) { return rings[a].area > rings[b].area; });
  for (size_t i = 0; i < order.size(); ++i) {
    Ring& ring = rings[order[i]];
    for (size_t j = i; j-- > 0 && ring.parent == kNowhere;) {
      const Ring& other = rings[order[j]];
      const bool within = other.west <= ring.west && other.east >= ring.east &&
                          other.south <= ring.south && other.north >= ring.north;
      if (!within || !liesIn(ring.run, other.run, at)) continue;
      ring.parent = order[j];
      ring.depth = other.depth + 1;
    }
  }
}

std::string pointName(const PointKey& key) {
  return key.number != 0 ? std::to_string(key.number) : "\"" + std::string(key.id) + "\"";
}

// Joins the edges of one owner after the other.
class Joiner {
 public:
  Joiner(const SurveyView& view, const ShapeKind& kind, const Points& points,
         GeometryFindings& findings, Shapes& shapes)
      : edges_(view.of(kind.edges)),
        kind_(kind),
        points_(points),
        at_(points.positions()),
        findings_(findings),
        shapes_(shapes) {}

  // Reads the ends of an edge; what is wrong with them is a finding.
  Edge read(size_t index);
  void join(size_t owner, uint32_t number, const std::vector<Edge>& edges);
  void noteChords() const;

 private:
  void warn(size_t edge, const std::string& text) {
    findings_.warn(kind_.edges, edge, label_ + text);
  }
  bool known(size_t index, const PointKey& key, size_t point);
  void joinLine(size_t owner, const std::vector<Edge>& edges);
  void joinPolygon(size_t owner, const std::vector<Edge>& edges);
  bool findRings(const std::vector<Edge>& edges, std::vector<Ring>& rings);
  void addPolygons(size_t owner, std::vector<Ring>& rings);
  void closePart(std::vector<Run>& parts);
  void setLabel(uint32_t number) {
    label_ = std::string(kind_.name) + " " + std::to_string(number) + ": ";
  }

  const tavo_records& edges_;
  const ShapeKind& kind_;
  const Points& points_;
  const std::vector<tavo_position>& at_;
  GeometryFindings& findings_;
  Shapes& shapes_;
  std::string label_;
  Run part_;
  size_t chords_ = 0, firstChord_ = 0;
};

bool Joiner::known(size_t index, const PointKey& key, size_t point) {
  if (points_.located(point)) return true;
  warn(index, point == kNowhere
                  ? "an edge leads to point " + pointName(key) + ", which is not there"
                  : "an edge leads to point " + pointName(key) + ", which has no coordinates");
  return false;
}

Edge Joiner::read(size_t index) {
  const auto record = recordAt<EdgeRecord>(edges_, index);
  setLabel(kind_.areas ? record.PolygonNo : record.LineNo);
  const PointKey start{record.StartPt, textOf(record.StartPtID)};
  const PointKey end{record.EndPt, textOf(record.EndPtID)};
  Edge edge{index, points_.find(start), points_.find(end), true};
  edge.sound = known(index, start, edge.start);
  edge.sound = known(index, end, edge.end) && edge.sound;
  const EnumId type = record.LINETYPE;
  if (edge.sound && type > TVO_ENUM_STRAIGHT && type <= TVO_ENUM_SPIRAL) {
    if (chords_++ == 0) firstChord_ = index;
  }
  return edge;
}

void Joiner::join(size_t owner, uint32_t number, const std::vector<Edge>& edges) {
  setLabel(number);
  if (kind_.areas) {
    joinPolygon(owner, edges);
  } else {
    joinLine(owner, edges);
  }
}

void Joiner::closePart(std::vector<Run>& parts) {
  if (part_.size() > 1) parts.push_back(part_);
  part_.clear();
}

void Joiner::joinLine(size_t owner, const std::vector<Edge>& edges) {
  std::vector<Run> parts;
  for (const Edge& edge : edges) {
    const bool crosses = edge.sound && at_[edge.start].crs != at_[edge.end].crs;
    if (crosses) warn(edge.index, "an edge leads from one reference system to another; it is cut");
    if (!edge.sound || crosses) {
      closePart(parts);
      continue;
    }
    if (!part_.empty() && part_.back() != edge.start) {
      warn(edge.index, "an edge does not join the one before it; a further part begins");
      closePart(parts);
    }
    if (part_.empty()) part_.push_back(edge.start);
    if (edge.end != edge.start) part_.push_back(edge.end);
  }
  closePart(parts);
  // The parts of each system are a shape, in the order in which the line comes to them.
  while (!parts.empty()) {
    const uint32_t crs = at_[parts.front().front()].crs;
    const auto rest = std::stable_partition(
        parts.begin(), parts.end(), [&](const Run& run) { return at_[run.front()].crs == crs; });
    const std::vector<Run> here(parts.begin(), rest);
    shapes_.add(owner, here, {}, at_);
    parts.erase(parts.begin(), rest);
  }
}

void Joiner::joinPolygon(size_t owner, const std::vector<Edge>& edges) {
  std::vector<Ring> rings;
  if (!findRings(edges, rings) || rings.empty()) return;
  const uint32_t crs = at_[rings.front().run.front()].crs;
  for (const Ring& ring : rings) {
    for (const size_t point : ring.run) {
      if (at_[point].crs == crs) continue;
      warn(edges.front().index, "its vertices lie in several reference systems; it is no polygon");
      return;
    }
  }
  nest(rings, at_);
  addPolygons(owner, rings);
}

// Each run of edges that comes back to its start is a ring. With one that does not the whole
// polygon is none, since nobody can tell what it was to be.
bool Joiner::findRings(const std::vector<Edge>& edges, std::vector<Ring>& rings) {
  part_.clear();
  for (const Edge& edge : edges) {
    const bool joins = part_.empty() || part_.back() == edge.start;
    if (!edge.sound || !joins) {
      if (edge.sound) warn(edge.index, "a ring does not close; it is no polygon");
      return false;
    }
    if (part_.empty()) part_.push_back(edge.start);
    if (edge.end != part_.back()) part_.push_back(edge.end);
    if (part_.size() < 2 || edge.end != part_.front()) continue;
    rings.push_back(ringOf(part_, at_));
    part_.clear();
    if (rings.back().area > 0) continue;
    warn(edge.index, "a ring has no area; it is no polygon");
    return false;
  }
  if (part_.empty()) return true;
  warn(edges.back().index, "a ring does not close; it is no polygon");
  return false;
}

// A ring inside an even number of others is an outer one; the others are holes of the smallest
// around them.
void Joiner::addPolygons(size_t owner, std::vector<Ring>& rings) {
  std::vector<Run> runs;
  std::vector<size_t> polygons;
  std::vector<std::vector<size_t>> holes(rings.size());
  for (size_t i = 0; i < rings.size(); ++i) {
    if (rings[i].depth % 2 != 0) holes[rings[i].parent].push_back(i);
  }
  for (size_t i = 0; i < rings.size(); ++i) {
    if (rings[i].depth % 2 != 0) continue;
    polygons.push_back(runs.size());
    runs.push_back(std::move(rings[i].run));
    for (const size_t hole : holes[i]) runs.push_back(std::move(rings[hole].run));
  }
  polygons.push_back(runs.size());
  shapes_.add(owner, runs, polygons, at_);
}

void Joiner::noteChords() const {
  if (chords_ == 0) return;
  findings_.note(kind_.edges, firstChord_,
                 "Arcs and curves drawn as their chords: " + std::to_string(chords_));
}

// --- Labels -------------------------------------------------------------------------------------

struct Vertex {
  double x, y, z;
};
Vertex vertexOf(const tavo_shape& shape, size_t i) {
  return {shape.vertices[3 * i], shape.vertices[3 * i + 1], shape.vertices[3 * i + 2]};
}

tavo_position middleOfLine(const tavo_shape& shape) {
  const size_t end = shape.runs[1];
  double length = 0;
  for (size_t i = 0; i + 1 < end; ++i) {
    const Vertex a = vertexOf(shape, i), b = vertexOf(shape, i + 1);
    length += std::hypot(b.x - a.x, b.y - a.y);
  }
  double left = length / 2;
  Vertex at = vertexOf(shape, 0);
  for (size_t i = 0; i + 1 < end; ++i) {
    const Vertex a = vertexOf(shape, i), b = vertexOf(shape, i + 1);
    const double size = std::hypot(b.x - a.x, b.y - a.y);
    const double share = size > 0 ? std::min(left / size, 1.0) : 0;
    at = {a.x + share * (b.x - a.x), a.y + share * (b.y - a.y), a.z + share * (b.z - a.z)};
    if (left <= size) break;
    left -= size;
  }
  return {at.x, at.y, at.z, shape.crs, shape.dimension};
}

// The middle of the widest stretch inside, on a line half way up the polygon.
tavo_position insideOfPolygon(const tavo_shape& shape) {
  const size_t end = shape.runs[shape.polygons[1]];
  double south = shape.vertices[1], north = south;
  for (size_t i = 0; i < end; ++i) {
    south = std::min(south, vertexOf(shape, i).y);
    north = std::max(north, vertexOf(shape, i).y);
  }
  const double y = south + (north - south) / 2;
  std::vector<double> crossings;
  for (size_t run = 0; run < shape.polygons[1]; ++run) {
    for (size_t i = shape.runs[run]; i + 1 < shape.runs[run + 1]; ++i) {
      const Vertex a = vertexOf(shape, i), b = vertexOf(shape, i + 1);
      if ((a.y > y) != (b.y > y)) crossings.push_back(a.x + (y - a.y) / (b.y - a.y) * (b.x - a.x));
    }
  }
  std::sort(crossings.begin(), crossings.end());
  double x = shape.vertices[0], widest = -1;
  for (size_t i = 0; i + 1 < crossings.size(); i += 2) {
    if (crossings[i + 1] - crossings[i] <= widest) continue;
    widest = crossings[i + 1] - crossings[i];
    x = crossings[i] + widest / 2;
  }
  return {x, y, kUnknown, shape.crs, 2};
}

}  // namespace

const ShapeKind kLines{TVO_RECORD_LINES,
                       TVO_RECORD_LINE_EDGES,
                       offsetof(LineRecord, LineNo),
                       offsetof(EdgeRecord, LineNo),
                       "Line",
                       false};
const ShapeKind kPolygons{TVO_RECORD_POLYGONS,
                          TVO_RECORD_POLYGON_EDGES,
                          offsetof(PolygonRecord, PolygonNo),
                          offsetof(EdgeRecord, PolygonNo),
                          "Polygon",
                          true};

tavo_shape Shapes::at(size_t index) const {
  const Entry& entry = shapes_[index];
  return {entry.owner,       entry.crs,
          entry.dimension,   vertices_.data() + entry.vertices,
          entry.vertexCount, runs_.data() + entry.runs,
          entry.runCount,    entry.polygonCount == 0 ? nullptr : polygons_.data() + entry.polygons,
          entry.polygonCount};
}

size_t Shapes::firstOf(size_t owner) const {
  const auto at = std::lower_bound(shapes_.begin(), shapes_.end(), owner,
                                   [](const Entry& e, size_t wanted) { return e.owner < wanted; });
  return at != shapes_.end() && at->owner == owner ? static_cast<size_t>(at - shapes_.begin())
                                                   : kNowhere;
}

void Shapes::add(size_t owner, const std::vector<Run>& runs, const std::vector<size_t>& polygons,
                 const std::vector<tavo_position>& positions) {
  Entry entry{owner,
              positions[runs.front().front()].crs,
              3,
              vertices_.size(),
              0,
              runs_.size(),
              runs.size(),
              polygons_.size(),
              polygons.empty() ? 0 : polygons.size() - 1};
  for (const Run& run : runs) {
    runs_.push_back(entry.vertexCount);
    entry.vertexCount += run.size();
    for (const size_t point : run) {
      const tavo_position& at = positions[point];
      vertices_.insert(vertices_.end(), {at.x, at.y, at.z});
      entry.dimension = std::min(entry.dimension, at.dimension);
    }
  }
  runs_.push_back(entry.vertexCount);
  polygons_.insert(polygons_.end(), polygons.begin(), polygons.end());
  if (entry.dimension == 2) {
    for (size_t i = entry.vertices + 2; i < vertices_.size(); i += 3) vertices_[i] = kUnknown;
  }
  shapes_.push_back(entry);
}

void Shapes::addSegment(size_t owner, const tavo_position& from, const tavo_position& to) {
  const uint32_t dimension = std::min(from.dimension, to.dimension);
  shapes_.push_back({owner, from.crs, dimension, vertices_.size(), 2, runs_.size(), 1, 0, 0});
  for (const tavo_position* const at : {&from, &to}) {
    vertices_.insert(vertices_.end(), {at->x, at->y, dimension == 3 ? at->z : kUnknown});
  }
  runs_.insert(runs_.end(), {0, 2});
}

void joinEdges(const SurveyView& view, const ShapeKind& kind, const Points& points,
               GeometryFindings& findings, Shapes& shapes, Shapes& edges) {
  const tavo_records& owners = view.of(kind.owner);
  const tavo_records& records = view.of(kind.edges);
  const NumberIndex numbers(owners, kind.ownerNumber);
  Joiner joiner(view, kind, points, findings, shapes);
  const std::string name = kind.name;
  numbers.eachTwin([&](size_t index, size_t) {
    findings.warn(kind.owner, index,
                  name + " " + std::to_string(numberAt(owners, index, kind.ownerNumber)) +
                      " is given before; its edges are those of the first one");
  });

  struct Owned {
    size_t owner;
    Edge edge;
  };
  std::vector<Owned> all;
  all.reserve(records.count);
  const std::vector<tavo_position>& at = points.positions();
  for (size_t i = 0; i < records.count; ++i) {
    const uint32_t number = numberAt(records, i, kind.edgeNumber);
    const Edge edge = joiner.read(i);
    if (edge.sound && at[edge.start].crs == at[edge.end].crs) {
      edges.addSegment(i, at[edge.start], at[edge.end]);
    }
    const size_t owner = numbers.find(number);
    if (owner != kNowhere) {
      all.push_back({owner, edge});
    } else {
      findings.warn(kind.edges, i,
                    name + " " + std::to_string(number) + ", which an edge names, is not there");
    }
  }
  std::stable_sort(all.begin(), all.end(),
                   [](const Owned& a, const Owned& b) { return a.owner < b.owner; });
  std::vector<Edge> own;
  for (size_t i = 0; i < all.size(); ++i) {
    own.push_back(all[i].edge);
    if (i + 1 < all.size() && all[i + 1].owner == all[i].owner) continue;
    joiner.join(all[i].owner, numberAt(owners, all[i].owner, kind.ownerNumber), own);
    own.clear();
  }
  joiner.noteChords();
}

tavo_position labelPosition(const tavo_shape& shape) {
  return shape.polygon_count == 0 ? middleOfLine(shape) : insideOfPolygon(shape);
}

}  // namespace tavo::survey
