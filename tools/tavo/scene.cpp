// Gathers the things of a survey by reference system, with their codes and layers.
#include "scene.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <numbers>
#include <string_view>
#include <unordered_map>

#include "owners.h"
#include "record_fields.h"
#include "text.h"

namespace tavo::tool {

namespace {

constexpr double kEarthRadius = 6371000;
// How far in front of a finding a thing may stand to be shown in its stead, in lines.
constexpr uint64_t kNear = 50;

// The fields of a type that say in which group its records are.
struct Keys {
  explicit Keys(uint32_t type)
      : code(fieldOf(type, TVO_FIELD_Code)),
        codeNo(fieldOf(type, TVO_FIELD_CodeNo)),
        layer(fieldOf(type, TVO_FIELD_LayerNo)) {}

  PlacedField code, codeNo, layer;
};

constexpr uint32_t kAnnotationTypes[] = {TVO_RECORD_POINT_ANNOTATIONS, TVO_RECORD_LINE_ANNOTATIONS,
                                         TVO_RECORD_POLYGON_ANNOTATIONS};
// Types whose records can have a place, for the search by line.
constexpr uint32_t kPlacedTypes[] = {TVO_RECORD_POINTS,
                                     TVO_RECORD_LINES,
                                     TVO_RECORD_POLYGONS,
                                     TVO_RECORD_LINE_EDGES,
                                     TVO_RECORD_POLYGON_EDGES,
                                     TVO_RECORD_SETUP,
                                     TVO_RECORD_SLOPE,
                                     TVO_RECORD_BOX_ON_POINT,
                                     TVO_RECORD_POINT_ANNOTATIONS,
                                     TVO_RECORD_LINE_ANNOTATIONS,
                                     TVO_RECORD_POLYGON_ANNOTATIONS};

}  // namespace

void Bounds::add(double x, double y) {
  west = empty ? x : std::min(west, x);
  east = empty ? x : std::max(east, x);
  south = empty ? y : std::min(south, y);
  north = empty ? y : std::max(north, y);
  empty = false;
}

std::array<double, 2> View::metres() const {
  if (!isGeographic()) return {1, 1};
  const double degree = std::numbers::pi / 180;
  const double middle = std::clamp((bounds.south + bounds.north) / 2, -85.0, 85.0);
  return {kEarthRadius * degree * std::cos(middle * degree), kEarthRadius * degree};
}

class SceneMaker {
 public:
  explicit SceneMaker(Scene* scene) : scene_(*scene), survey_(scene->survey_) {
    scene_.codes_.emplace_back();
    scene_.groups_.push_back({0, {}});
    codePlaces_.emplace("", 0);
    groupPlaces_.emplace(0, 0);
    readCodes();
  }

  void make() {
    scene_.views_.resize(tavo_geometry_crs_count(scene_.geometry()));
    for (size_t i = 0; i < scene_.views_.size(); ++i) {
      scene_.views_[i].crs = tavo_geometry_crs(scene_.geometry(), i);
    }
    auto& [points, lines, polygons] = scene_.ownerGroups_;
    points = groupsOf(TVO_RECORD_POINTS);
    lines = groupsOf(TVO_RECORD_LINES);
    polygons = groupsOf(TVO_RECORD_POLYGONS);
    addMarks(TVO_RECORD_POINTS, &View::points, points);
    addMarks(TVO_RECORD_SETUP, &View::setups, {});
    addShapes(TVO_RECORD_LINES, &View::lines, lines);
    addShapes(TVO_RECORD_POLYGONS, &View::polygons, polygons);
    addShapes(TVO_RECORD_SLOPE, &View::rays, {});
    constexpr uint32_t kOwnerTypes[] = {TVO_RECORD_POINTS, TVO_RECORD_LINES, TVO_RECORD_POLYGONS};
    for (size_t i = 0; i < 3; ++i) addAnnotations(i, kOwnerTypes[i], scene_.ownerGroups_[i]);
    addTexts();
    listLayers();
  }

 private:
  const tavo_records& records(uint32_t type) const { return *tavo_survey_records(survey_, type); }

  // What the code list says of a code: its text by number, its layer by either.
  void readCodes() {
    const tavo_records& codes = records(TVO_RECORD_CODES);
    const PlacedField layer = fieldOf(TVO_RECORD_CODES, TVO_FIELD_LayerNo);
    for (size_t i = 0; i < codes.count; ++i) {
      const auto code = recordAt<TVO_CodeRecord>(codes, i);
      const std::string text = toUtf8(textOf(code.Code));
      codeTexts_.emplace(code.CodeNo, text);
      if (layer.given(codes.given[i])) codeLayers_.emplace(text, code.LayerNo);
    }
  }

  uint32_t groupOf(const std::string& code, std::optional<uint16_t> layer) {
    const auto [place, isNew] =
        codePlaces_.emplace(code, static_cast<uint32_t>(scene_.codes_.size()));
    if (isNew) scene_.codes_.push_back(code);
    const uint64_t key = uint64_t{place->second} << 32 | (layer ? *layer + 1U : 0U);
    const auto [group, newGroup] =
        groupPlaces_.emplace(key, static_cast<uint32_t>(scene_.groups_.size()));
    if (newGroup) scene_.groups_.push_back({place->second, layer});
    return group->second;
  }

  // A code is the line's own text, else that of its number; a layer the line's own, else the
  // code's.
  uint32_t groupOf(const char* record, tavo_given given, const Keys& keys) {
    std::string code;
    if (keys.code.given(given)) code = toUtf8(textAt(*keys.code.field, record));
    if (code.empty() && keys.codeNo.given(given)) {
      const auto number = load<uint16_t>(record + keys.codeNo.field->offset);
      const auto found = codeTexts_.find(number);
      code = found == codeTexts_.end() || found->second.empty() ? std::to_string(number)
                                                                : found->second;
    }
    std::optional<uint16_t> layer;
    if (keys.layer.given(given)) {
      layer = load<uint16_t>(record + keys.layer.field->offset);
    } else if (const auto found = codeLayers_.find(code); found != codeLayers_.end()) {
      layer = found->second;
    }
    return groupOf(code, layer);
  }

  std::vector<uint32_t> groupsOf(uint32_t type) {
    const Keys keys(type);
    const tavo_records& all = records(type);
    std::vector<uint32_t> groups(all.count);
    // Neighbours mostly have the same code; the search is for the others.
    std::unordered_map<std::string, uint32_t> known;
    std::string key;
    for (size_t i = 0; i < all.count; ++i) {
      const char* const record = recordAt(all, i);
      key.clear();
      for (const PlacedField& field : {keys.code, keys.codeNo, keys.layer}) {
        key.append(record + field.field->offset, field.field->size);
        key += field.given(all.given[i]) ? '1' : '0';
      }
      const auto [place, isNew] = known.emplace(key, 0U);
      if (isNew) place->second = groupOf(record, all.given[i], keys);
      groups[i] = place->second;
    }
    return groups;
  }

  void addMarks(uint32_t type, std::vector<Mark> View::*marks, const std::vector<uint32_t>& group) {
    size_t count = 0;
    const tavo_position* const at = tavo_geometry_positions(scene_.geometry(), type, &count);
    for (size_t i = 0; i < count; ++i) {
      if (at[i].dimension == 0) continue;
      View& view = scene_.views_[at[i].crs];
      (view.*marks).push_back({at[i].x, at[i].y, at[i].z, group.empty() ? 0 : group[i], i});
      view.bounds.add(at[i].x, at[i].y);
    }
  }

  void addShapes(uint32_t type, Shapes View::*shapes, const std::vector<uint32_t>& group) {
    tavo_shape shape{};
    for (size_t i = 0; tavo_geometry_shape(scene_.geometry(), type, i, &shape) != 0; ++i) {
      View& view = scene_.views_[shape.crs];
      Shapes& all = view.*shapes;
      for (size_t run = 0; run < shape.run_count; ++run) {
        for (size_t v = shape.runs[run]; v < shape.runs[run + 1]; ++v) {
          all.x.push_back(shape.vertices[3 * v]);
          all.y.push_back(shape.vertices[3 * v + 1]);
          view.bounds.add(all.x.back(), all.y.back());
        }
        all.firstVertex.push_back(static_cast<uint32_t>(all.x.size()));
      }
      all.firstRun.push_back(static_cast<uint32_t>(all.firstVertex.size() - 1));
      all.group.push_back(group.empty() ? 0 : group[shape.owner]);
      all.owner.push_back(shape.owner);
    }
  }

  // An annotation is shown and hidden with what it stands at.
  void addAnnotations(size_t which, uint32_t ownerType, const std::vector<uint32_t>& ownerGroups) {
    const tavo_records& all = records(kAnnotationTypes[which]);
    if (all.count == 0) return;
    const OwnerIndex owners(records(ownerType));
    size_t count = 0;
    const tavo_position* const at =
        tavo_geometry_positions(scene_.geometry(), kAnnotationTypes[which], &count);
    for (size_t i = 0; i < count; ++i) {
      if (at[i].dimension == 0) continue;
      const auto note = recordAt<TVO_AnnotationRecord>(all, i);
      const uint32_t numbers[] = {note.PointNo, note.LineNo, note.PolygonNo};
      const size_t owner = owners.find(numbers[which], textOf(note.PointID));
      addNote(&View::annotations, at[i], owner == SIZE_MAX ? 0 : ownerGroups[owner], i,
              toUtf8(textOf(note.Annotation)), all.lines[i]);
    }
  }

  void addNote(std::vector<Note> View::*notes, const tavo_position& at, uint32_t group,
               size_t owner, std::string text, uint64_t line) {
    View& view = scene_.views_[at.crs];
    (view.*notes).push_back({{at.x, at.y, at.z, group, owner}, std::move(text), line});
    view.bounds.add(at.x, at.y);
  }

  // A box shows its items, one under the other by their line number.
  void addTexts() {
    const tavo_records& items = records(TVO_RECORD_ITEMS);
    std::map<uint16_t, std::map<uint16_t, std::string>> lines;
    for (size_t i = 0; i < items.count; ++i) {
      const auto item = recordAt<TVO_TextItemRecord>(items, i);
      std::string& line = lines[item.TextBoxNo][item.LineNo];
      if (!line.empty()) line += ' ';
      line += toUtf8(textOf(item.TextItem));
    }
    const tavo_records& boxes = records(TVO_RECORD_BOX_ON_POINT);
    const PlacedField layerNo = fieldOf(TVO_RECORD_BOX_ON_POINT, TVO_FIELD_LayerNo);
    size_t count = 0;
    const tavo_position* const at =
        tavo_geometry_positions(scene_.geometry(), TVO_RECORD_BOX_ON_POINT, &count);
    for (size_t i = 0; i < count; ++i) {
      if (at[i].dimension == 0) continue;
      const auto box = recordAt<TVO_TextBoxRecord>(boxes, i);
      std::string text;
      for (const auto& [number, line] : lines[box.TextBoxNo]) {
        text += (text.empty() ? "" : "\n") + line;
      }
      std::optional<uint16_t> layer;
      if (layerNo.given(boxes.given[i])) layer = box.LayerNo;
      addNote(&View::texts, at[i], groupOf("", layer), i, std::move(text), boxes.lines[i]);
    }
  }

  void listLayers() {
    std::map<std::optional<uint16_t>, std::string> names;
    for (const Group& group : scene_.groups_) names[group.layer];
    const tavo_records& layers = records(TVO_RECORD_LAYERS);
    for (size_t i = 0; i < layers.count; ++i) {
      const auto layer = recordAt<TVO_LayerRecord>(layers, i);
      const auto found = names.find(uint16_t{layer.LayerNo});
      if (found != names.end()) found->second = toUtf8(textOf(layer.Name));
    }
    for (auto& [number, name] : names) scene_.layers_.push_back({number, std::move(name)});
  }

  Scene& scene_;
  const tavo_survey* survey_;
  std::unordered_map<uint16_t, std::string> codeTexts_;
  std::unordered_map<std::string, uint16_t> codeLayers_;
  std::unordered_map<std::string, uint32_t> codePlaces_;
  std::unordered_map<uint64_t, uint32_t> groupPlaces_;
};

Scene::Scene(const tavo_survey* survey) : survey_(survey), geometry_(geometryOf(survey)) {
  SceneMaker(this).make();
}

std::optional<Place> Scene::placeOf(uint32_t type, size_t index) const {
  const auto at = tool::placeOf(geometry(), type, index);
  if (!at) return {};
  return Place{at->crs, at->x, at->y};
}

std::optional<Place> Scene::placeOfLine(uint64_t line) const {
  std::optional<Place> best;
  uint64_t bestLine = 0;
  for (const uint32_t type : kPlacedTypes) {
    const tavo_records& records = *tavo_survey_records(survey_, type);
    const uint64_t* const end = records.lines + records.count;
    const uint64_t* behind = std::upper_bound(records.lines, end, line);
    for (; behind != records.lines && behind[-1] + kNear > line && behind[-1] > bestLine;
         --behind) {
      const auto place = placeOf(type, static_cast<size_t>(behind - 1 - records.lines));
      if (!place) continue;
      best = place;
      bestLine = behind[-1];
      break;
    }
  }
  if (best && bestLine != line) best->near = bestLine;
  return best;
}

std::string labelOf(uint32_t number, const char* id, size_t room) {
  const std::string_view text = textOf(id, room);
  return text.empty() ? std::to_string(number) : toUtf8(text);
}

std::string labelOf(const tavo_survey* survey, Kind kind, size_t index) {
  const uint32_t type = kind == kPoints  ? uint32_t{TVO_RECORD_POINTS}
                        : kind == kLines ? uint32_t{TVO_RECORD_LINES}
                                         : uint32_t{TVO_RECORD_POLYGONS};
  const char* const record = recordAt(*tavo_survey_records(survey, type), index);
  return labelOf(load<uint32_t>(record), record + kOwnerId, sizeof(TVO_PointRecord::PointID));
}

std::string nameOf(const tavo_crs& crs) {
  std::string name = *crs.name != '\0' ? crs.name : "no projection set";
  if (crs.coordinates == TAVO_COORDINATES_GEOGRAPHIC) name += ", longitude and latitude";
  if (crs.coordinates == TAVO_COORDINATES_GEOCENTRIC) name += ", geocentric X and Y";
  return name;
}

}  // namespace tavo::tool
