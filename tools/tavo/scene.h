// What a map of a survey shows, worked out once: the picture draws it and the page carries it.
// Coordinates are those of tavo_geometry: metres, or degrees in geographic systems.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "findings.h"
#include "geometry.h"
#include "tavo/survey.h"

namespace tavo::tool {

enum Kind : size_t {
  kPoints,
  kLines,
  kPolygons,
  kRays,
  kSetups,
  kAnnotations,
  kTexts,
  kFindingMarks,
  kKinds
};
// In the order of Kind.
constexpr std::array<const char*, kKinds> kKindNames = {
    "points", "lines", "polygons", "rays", "setups", "annotations", "texts", "findings"};

// Colours of codes in the order of their appearance, legible on white and on black; the first is
// that of things without a code.
constexpr std::array<const char*, 13> kPalette = {
    "#7a8288", "#2f7ed8", "#d9541e", "#2e9e4f", "#9b59b6", "#c79200", "#d6337c",
    "#0097a7", "#8d6e4a", "#5c6bc0", "#7cb518", "#e05a5a", "#00a37a"};
constexpr const char* colourOf(size_t code) {
  return kPalette[code == 0 ? 0 : 1 + (code - 1) % (kPalette.size() - 1)];
}

// Things that are shown and hidden together: of one code and in one layer.
struct Group {
  uint32_t code;  // place among the scene's codes
  std::optional<uint16_t> layer;
};

struct Layer {
  std::optional<uint16_t> number;  // none: things in no layer
  std::string name;                // UTF-8, of LAYERS; may be empty
};

struct Mark {
  double x, y, z;  // z is NaN where there is none
  uint32_t group;
  size_t owner;  // place of its record among those of its type; of a finding its own
};

// A mark with words: an annotation, a text with its lines.
struct Note : Mark {
  std::string text;  // UTF-8
  uint64_t line;
};

// Many lines, areas or rays: shape i has the runs from firstRun[i] up to firstRun[i + 1], run j the
// vertices from firstVertex[j] up to firstVertex[j + 1]. Runs of an area are its closed rings.
struct Shapes {
  std::vector<double> x, y;
  std::vector<uint32_t> firstVertex{0};
  std::vector<uint32_t> firstRun{0};
  std::vector<uint32_t> group;
  std::vector<size_t> owner;

  size_t size() const { return owner.size(); }
};

struct Bounds {
  double west = 0, south = 0, east = 0, north = 0;
  bool empty = true;

  void add(double x, double y);
};

// What lies in one reference system, and so on one map.
struct View {
  const tavo_crs* crs = nullptr;
  Bounds bounds;
  std::vector<Mark> points, setups;
  std::vector<Note> annotations, texts;
  Shapes lines, polygons, rays;

  bool isGeographic() const { return crs->coordinates == TAVO_COORDINATES_GEOGRAPHIC; }
  // Metres on the ground in a step of 1 to the east and to the north: of a geographic system at its
  // middle latitude, which is good for a map of some hundred kilometres.
  std::array<double, 2> metres() const;
};

// Where something is to be looked at on a map.
struct Place {
  size_t view;
  double x, y;
  uint64_t near = 0;  // another line, of the nearest thing in front of it that has a place; else 0
};

class Scene {
 public:
  // The survey must outlive the scene.
  explicit Scene(const tavo_survey* survey);

  const tavo_survey* survey() const { return survey_; }
  const tavo_geometry* geometry() const { return geometry_.get(); }
  const std::vector<View>& views() const { return views_; }
  // codes()[0] is the empty one, groups()[0] has neither code nor layer.
  const std::vector<std::string>& codes() const { return codes_; }
  const std::vector<Group>& groups() const { return groups_; }
  // The groups of all points, lines or polygons, whether they have a place or not.
  const std::vector<uint32_t>& groupsOf(Kind kind) const { return ownerGroups_[kind]; }
  // Those that occur, by number.
  const std::vector<Layer>& layers() const { return layers_; }

  // Where a record lies: of a line its first vertex, of an observation its target.
  std::optional<Place> placeOf(uint32_t type, size_t index) const;
  // Where what is written in a line of the file lies, or what stands shortly in front of it.
  std::optional<Place> placeOfLine(uint64_t line) const;

 private:
  friend class SceneMaker;

  const tavo_survey* survey_;
  Geometry geometry_;
  std::vector<View> views_;
  std::vector<std::string> codes_;
  std::vector<Group> groups_;
  std::array<std::vector<uint32_t>, 3> ownerGroups_;
  std::vector<Layer> layers_;
};

// Of a record with a number and an identifier: "1007", or the identifier where there is one.
std::string labelOf(uint32_t number, const char* id, size_t room);
// The name of point, line or polygon `index` on the map.
std::string labelOf(const tavo_survey* survey, Kind kind, size_t index);
// "UTM zone 32", or what can be said where no set has a name.
std::string nameOf(const tavo_crs& crs);

}  // namespace tavo::tool
