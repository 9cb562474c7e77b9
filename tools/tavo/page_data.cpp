// Head, maps, times, observations, tables and findings of a survey as JSON.
#include "page_data.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <map>
#include <numbers>
#include <set>

#include "columns.h"
#include "observations.h"
#include "owners.h"
#include "record_json.h"
#include "tavo/survey.hpp"
#include "text.h"

namespace tavo::tool {

namespace {

constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
// More findings than these are counted, not listed.
constexpr size_t kFindingsListed = 20000;

using Numbers = std::vector<double>;
using Texts = std::vector<std::string>;

template <class R>
Records<R> recordsOf(const tavo_survey* survey) {
  return Records<R>(tavo_survey_records(survey, R::kType));
}

double numberOr(const auto& value, double other = kNone) {
  return value ? static_cast<double>(*value) : other;
}
std::string textOr(std::optional<std::string_view> value) {
  return value ? toUtf8(*value) : std::string();
}

// A table of the page: columns with a name, and where its rows lie on the maps.
class Table {
 public:
  explicit Table(size_t rows) { json_["rows"] = rows; }
  void numbers(const char* name, const char* unit, const Numbers& values, int decimals) {
    json_["columns"].push_back(
        {{"name", name}, {"unit", unit}, {"numbers", numbersJson(values, decimals)}});
  }
  void texts(const char* name, const Texts& values) {
    const bool any = std::ranges::any_of(values, [](const auto& text) { return !text.empty(); });
    if (any) json_["columns"].push_back({{"name", name}, {"texts", textsJson(values)}});
  }
  void places(const Scene& scene, const std::vector<std::optional<Place>>& places) {
    Numbers map, x, y;
    int decimals = 4;  // of metres; degrees want more
    for (const auto& place : places) {
      map.push_back(place ? static_cast<double>(place->view) : kNone);
      x.push_back(place ? place->x : kNone);
      y.push_back(place ? place->y : kNone);
      if (place && scene.views()[place->view].isGeographic()) decimals = 9;
    }
    json_["place"] = {{"map", numbersJson(map, 0)},
                      {"x", numbersJson(x, decimals)},
                      {"y", numbersJson(y, decimals)}};
  }
  Json take() { return std::move(json_); }

 private:
  Json json_{{"rows", 0}, {"columns", Json::array()}};
};

std::string dateText(const TVO_DateTime& date) {
  const Json json = dateJson(date);
  std::string text = json.is_string() ? json.get<std::string>() : std::string();
  std::ranges::replace(text, 'T', ' ');
  return text;
}

template <class Packed, class R>
Packed packedOf(const R& record) {
  return load<Packed>(static_cast<const char*>(record.bytes()));
}

// What stands in a single record of text items, as [name, value] pairs: HEADER, PROJECT.
void addItems(const tavo_survey* survey, uint32_t type, Json* pairs) {
  const tavo_records& records = *tavo_survey_records(survey, type);
  const tavo_schema_block* const block = tavo_schema_block_of(type);
  for (size_t i = 0; i < records.count; ++i) {
    const char* const record = recordAt(records, i);
    const tavo_schema_field* field = nullptr;
    for (size_t n = 0; (field = tavo_schema_field_at(block, n)) != nullptr; ++n) {
      if ((records.given[i] >> n & 1) == 0 || field->offset == UINT32_MAX) continue;
      const Json value = valueJson(*field, record + field->offset, *tavo_default_units(), false);
      if (value.is_null()) continue;
      pairs->push_back({field->name, value.is_string() ? value : Json(value.dump())});
    }
  }
}

// The units and offsets of the data, each kind once.
Json unitsOf(const tavo_survey* survey) {
  Json all = Json::array();
  for (size_t i = 0; i < tavo_survey_block_count(survey); ++i) {
    const tavo_block& block = *tavo_survey_block(survey, i);
    const tavo_schema_block* const kind = tavo_schema_block_of(block.data_type);
    const bool header =
        std::string_view(kind->keyword) == "HEADER" || std::string_view(kind->parent) == "HEADER";
    if (header && i + 1 < tavo_survey_block_count(survey)) continue;
    const tavo_units& units = *block.units;
    Json json = unitsJson(units);
    const std::pair<const char*, double> offsets[] = {{"offset east", units.offset_east},
                                                      {"offset north", units.offset_north},
                                                      {"offset elevation", units.offset_elevation}};
    for (const auto& [name, value] : offsets) {
      if (value != 0) json[name] = value;
    }
    if (std::ranges::find(all, json) == all.end()) all.push_back(std::move(json));
  }
  return all;
}

Json blocksOf(const tavo_survey* survey) {
  Json blocks = Json::array();
  const tavo_schema_block* block = nullptr;
  std::set<uint32_t> seen;
  for (size_t i = 0; (block = tavo_schema_block_at(i)) != nullptr; ++i) {
    if (block->data_type == 0 || !seen.insert(block->data_type).second) continue;
    const size_t count = tavo_survey_records(survey, block->data_type)->count;
    if (count == 0) continue;
    const std::string parent = block->parent;
    const std::string name = (parent.empty() ? "" : parent + "/") + block->keyword;
    blocks.push_back({name, count});
  }
  return blocks;
}

Json notesJson(const std::vector<Note>& notes) {
  Json json = Json::array();
  for (const Note& note : notes) {
    json.push_back({{"x", note.x},
                    {"y", note.y},
                    {"group", note.group},
                    {"text", note.text},
                    {"line", note.line}});
  }
  return json;
}

template <class Int>
Json wholeJson(const std::vector<Int>& values) {
  return numbersJson(Numbers(values.begin(), values.end()), 0);
}

Json shapesJson(const Shapes& shapes, int decimals) {
  return {{"x", numbersJson(shapes.x, decimals)},
          {"y", numbersJson(shapes.y, decimals)},
          {"firstVertex", wholeJson(shapes.firstVertex)},
          {"firstRun", wholeJson(shapes.firstRun)},
          {"group", wholeJson(shapes.group)},
          {"owner", wholeJson(shapes.owner)}};
}

class SurveyPage {
 public:
  SurveyPage(const InputText& text, const Analysis& analysis, tavo_survey* survey)
      : text_(text), analysis_(analysis), survey_(survey), scene_(survey) {}

  PageData make() {
    addHead();
    addMaps();
    addPoints();
    addOwners<Line>("lines", kLines, "Length", "m", &Line::LineNo, &Line::LineID);
    addOwners<Polygon>("polygons", kPolygons, "Area", "m²", &Polygon::PolygonNo,
                       &Polygon::PolygonID);
    addObservations();
    addTimes();
    addFindings();
    if (!notes_.empty()) json_["notes"] = notes_;
    data_.survey = std::move(json_);
    return std::move(data_);
  }

 private:
  void addHead() {
    json_ = jsonOf("tavo-report/1", text_);
    json_["size"] = text_.size();
    json_["project"] = Json::array();
    addItems(survey_, TVO_RECORD_PROJECT, &json_["project"]);
    json_["header"] = Json::array();
    addItems(survey_, TVO_RECORD_HEADER, &json_["header"]);
    const auto projects = recordsOf<Project>(survey_);
    if (!projects.empty()) data_.title = textOr(projects[0].NAME());
    if (data_.title.empty()) data_.title = toUtf8(text_.name());
    json_["title"] = data_.title;
    json_["units"] = unitsOf(survey_);
    json_["counts"] = {{"lines", analysis_.counts.lines},
                       {"records", analysis_.counts.records},
                       {"errors", analysis_.counts.errors},
                       {"warnings", analysis_.counts.warnings}};
    json_["blocks"] = blocksOf(survey_);
    notes_.insert(notes_.end(), analysis_.notes.begin(), analysis_.notes.end());
    json_["codes"] = scene_.codes();
    for (size_t i = 0; i < scene_.codes().size(); ++i) json_["colours"].push_back(colourOf(i));
    for (const Layer& layer : scene_.layers()) {
      Json one{{"name", layer.name}};
      if (layer.number) one["number"] = *layer.number;
      json_["layers"].push_back(std::move(one));
    }
    for (const Group& group : scene_.groups()) {
      const auto layer = std::ranges::find(scene_.layers(), group.layer, &Layer::number);
      json_["groups"].push_back({group.code, layer - scene_.layers().begin()});
    }
  }

  void addMaps() {
    json_["maps"] = Json::array();
    for (const View& view : scene_.views()) {
      const bool geographic = view.isGeographic();
      const int decimals = geographic ? 9 : 4;
      const Bounds& box = view.bounds;
      const bool geocentric = view.crs->coordinates == TAVO_COORDINATES_GEOCENTRIC;
      const char* const height = view.crs->heights == TAVO_HEIGHTS_NONE        ? ""
                                 : geocentric                                  ? "Z"
                                 : view.crs->heights == TAVO_HEIGHTS_ELEVATION ? "Elevation"
                                                                               : "EllHeight";
      Json map{{"name", nameOf(*view.crs)},
               {"wkt", view.crs->wkt},
               {"axes", geographic   ? Json{"Longitude", "Latitude", height}
                        : geocentric ? Json{"X", "Y", height}
                                     : Json{"East", "North", height}},
               {"unit", geographic ? "°" : "m"},
               {"decimals", decimals},
               {"bounds", {box.west, box.south, box.east, box.north}},
               {"metres", view.metres()}};
      map["lines"] = shapesJson(view.lines, decimals);
      map["polygons"] = shapesJson(view.polygons, decimals);
      if (view.rays.size() <= kManyRows) {
        map["rays"] = shapesJson(view.rays, decimals);
      } else {
        note(view.rays.size(), "observation ray", "are not on the map");
        map["rays"] = shapesJson({}, decimals);
      }
      map["annotations"] = notesJson(view.annotations);
      map["texts"] = notesJson(view.texts);
      json_["maps"].push_back(std::move(map));
    }
  }

  void note(size_t count, const char* what, const char* fate) {
    notes_.push_back(counted(count, what) + " " + fate + ", since there are more than " +
                     std::to_string(kManyRows));
  }

  // Codes and layers of points, lines or polygons, for the tables.
  void addGroups(Kind kind, Table* table) {
    Texts codes, layers;
    for (const uint32_t place : scene_.groupsOf(kind)) {
      const Group& group = scene_.groups()[place];
      codes.push_back(scene_.codes()[group.code]);
      layers.push_back(group.layer ? std::to_string(*group.layer) : "");
    }
    table->texts("Code", codes);
    table->texts("Layer", layers);
  }

  void addPoints() {
    const auto points = recordsOf<Point>(survey_);
    const size_t count = points.size();
    const bool few = count <= kManyRows;
    std::vector<std::optional<Place>> places(count);
    Numbers z(count, kNone);
    for (size_t v = 0; v < scene_.views().size(); ++v) {
      for (const Mark& mark : scene_.views()[v].points) {
        places[mark.owner] = Place{v, mark.x, mark.y};
        z[mark.owner] = mark.z;
      }
    }
    Numbers number;
    Texts ids;
    for (const Point point : points) {
      number.push_back(numberOr(point.PointNo()));
      if (few) ids.push_back(textOr(point.PointID()));
    }
    Table table(count);
    table.numbers("Number", "", number, 0);
    table.texts("ID", ids);
    table.places(scene_, places);
    Json json = table.take();
    json["z"] = numbersJson(z, 4);
    json["group"] = wholeJson(scene_.groupsOf(kPoints));
    if (few) {
      addPointValues();
    } else {
      notes_.push_back(counted(count, "point") +
                       ": of each the map knows position, number and code");
    }
    json_["points"] = std::move(json);
  }

  // All further fields that some point gives.
  void addPointValues() {
    const tavo_records& points = *tavo_survey_records(survey_, TVO_RECORD_POINTS);
    const tavo_schema_block* const block = tavo_schema_block_of(TVO_RECORD_POINTS);
    constexpr size_t kShown[] = {offsetof(TVO_PointRecord, PointNo),
                                 offsetof(TVO_PointRecord, PointID),
                                 offsetof(TVO_PointRecord, Code)};
    tavo_given any = 0;
    for (size_t i = 0; i < points.count; ++i) any |= points.given[i];
    data_.points = Json::array();
    const tavo_schema_field* field = nullptr;
    for (size_t n = 0; (field = tavo_schema_field_at(block, n)) != nullptr; ++n) {
      if ((any >> n & 1) == 0 || std::ranges::find(kShown, field->offset) != std::end(kShown) ||
          field->offset == UINT32_MAX) {
        continue;
      }
      data_.points.push_back(fieldColumn(*field, n, points));
    }
    addAttributes(points);
  }

  // What THEMINFO says of points, a column for each attribute; of several points with one number of
  // the first.
  void addAttributes(const tavo_records& points) {
    const auto attributes = recordsOf<PointTheminfo>(survey_);
    if (attributes.empty()) return;
    const OwnerIndex rows(points);
    std::map<std::string, Texts> columns;
    for (const PointTheminfo one : attributes) {
      const auto whose = packedOf<TVO_ThemInfoRecord>(one);
      const size_t row = rows.find(whose.OwnerNo, textOf(whose.PointID));
      const auto value = one.Value();
      if (row == SIZE_MAX || !value) continue;
      Texts& column = columns[textOr(one.Attribute())];
      column.resize(points.count);
      column[row] = attributeText(*value);
    }
    for (const auto& [name, texts] : columns) {
      data_.points.push_back({{"name", name}, {"unit", ""}, {"texts", textsJson(texts)}});
    }
  }
  static std::string attributeText(const AnyValue& value) {
    if (const auto* const text = std::get_if<std::string_view>(&value)) return toUtf8(*text);
    if (const auto* const whole = std::get_if<int32_t>(&value)) return std::to_string(*whole);
    char number[32];
    std::snprintf(number, sizeof number, "%.10g", std::get<double>(value));
    return number;
  }

  // A field of all points, in metres, gon and degrees.
  Json fieldColumn(const tavo_schema_field& field, size_t bit, const tavo_records& points) const {
    constexpr double kGon = 200 / std::numbers::pi;
    constexpr double kDegree = 180 / std::numbers::pi;
    constexpr double kFactors[] = {1, kGon, 1, kDegree};
    constexpr const char* kUnits[] = {"", "gon", "m", "°"};
    std::vector<Json> values(points.count);
    bool texts = true;
    for (size_t b = 0; b < tavo_survey_block_count(survey_); ++b) {
      const tavo_block& block = *tavo_survey_block(survey_, b);
      if (block.data_type != TVO_RECORD_POINTS) continue;
      for (size_t i = block.first; i < block.first + block.count; ++i) {
        if ((points.given[i] >> bit & 1) == 0) continue;
        Json value = valueJson(field, recordAt(points, i) + field.offset, *block.units, true);
        const double factor = kFactors[field.unit];
        if (value.is_number() && factor != 1) {
          value = std::round(value.get<double>() * factor * 1e10) / 1e10;
        }
        texts = texts && (value.is_null() || value.is_string());
        values[i] = std::move(value);
      }
    }
    Json column{{"name", field.name}, {"unit", kUnits[field.unit]}};
    if (texts) {
      Texts all;
      for (const Json& value : values)
        all.push_back(value.is_null() ? "" : value.get<std::string>());
      column["texts"] = textsJson(all);
    } else {
      column["values"] = std::move(values);
    }
    return column;
  }

  std::vector<std::optional<Place>> placesOf(uint32_t type) const {
    std::vector<std::optional<Place>> places;
    const size_t count = tavo_survey_records(survey_, type)->count;
    for (size_t i = 0; i < count; ++i) places.push_back(scene_.placeOf(type, i));
    return places;
  }

  // Lengths of lines, areas of polygons; none in geographic systems.
  Numbers measuresOf(uint32_t type) const {
    Numbers measures(tavo_survey_records(survey_, type)->count, kNone);
    tavo_shape shape{};
    for (size_t i = 0; tavo_geometry_shape(scene_.geometry(), type, i, &shape) != 0; ++i) {
      if (scene_.views()[shape.crs].isGeographic()) continue;
      double sum = 0;
      if (shape.polygon_count == 0) {
        for (size_t run = 0; run < shape.run_count; ++run) sum += lengthOf(shape, run);
      }
      for (size_t p = 0; p < shape.polygon_count; ++p) {
        for (size_t run = shape.polygons[p]; run < shape.polygons[p + 1]; ++run) {
          sum += (run == shape.polygons[p] ? 1 : -1) * areaOf(shape, run);
        }
      }
      double& measure = measures[shape.owner];
      measure = std::isnan(measure) ? sum : measure + sum;
    }
    return measures;
  }
  static double lengthOf(const tavo_shape& shape, size_t run) {
    double sum = 0;
    for (size_t v = shape.runs[run] + 1; v < shape.runs[run + 1]; ++v) {
      const double* const at = shape.vertices + 3 * v;
      sum += std::hypot(at[0] - at[-3], at[1] - at[-2]);
    }
    return sum;
  }
  static double areaOf(const tavo_shape& shape, size_t run) {
    const double* const first = shape.vertices + 3 * shape.runs[run];
    double twice = 0;
    for (size_t v = shape.runs[run] + 1; v < shape.runs[run + 1]; ++v) {
      const double* const at = shape.vertices + 3 * v;
      twice += (at[-3] - first[0]) * (at[1] - first[1]) - (at[0] - first[0]) * (at[-2] - first[1]);
    }
    return std::abs(twice) / 2;
  }

  template <class R>
  void addOwners(const char* name, Kind kind, const char* measure, const char* unit,
                 std::optional<uint32_t> (R::*numberOfRecord)() const,
                 std::optional<std::string_view> (R::*idOf)() const) {
    const auto records = recordsOf<R>(survey_);
    Numbers numbers;
    Texts ids, descriptions;
    for (const R record : records) {
      numbers.push_back(numberOr((record.*numberOfRecord)()));
      ids.push_back(textOr((record.*idOf)()));
      descriptions.push_back(textOr(record.Description()));
    }
    Table table(records.size());
    table.numbers("Number", "", numbers, 0);
    table.texts("ID", ids);
    addGroups(kind, &table);
    table.texts("Description", descriptions);
    table.numbers(measure, unit, measuresOf(R::kType), 3);
    table.places(scene_, placesOf(R::kType));
    json_[name] = table.take();
  }

  void addObservations() {
    size_t count = 0;
    const tavo_observation* const all = tavo_geometry_observations(scene_.geometry(), &count);
    addSetups(all, count);
    if (count > kManyRows) {
      note(count, "sighting", "are not listed");
    } else {
      addSightings(all, count);
    }
    addQuality(all);
  }

  // The setups with what was sighted from each.
  void addSetups(const tavo_observation* observations, size_t count) {
    const auto setups = recordsOf<Setup>(survey_);
    const auto slopes = recordsOf<Slope>(survey_);
    std::map<std::pair<double, std::string>, std::set<double>> heights;
    Numbers number, height, sightings(setups.size(), 0), targets(setups.size(), 0);
    Texts ids, first(setups.size()), last(setups.size()), all;
    std::vector<std::set<std::pair<uint32_t, std::string>>> seen(setups.size());
    for (size_t i = 0; i < count; ++i) {
      const size_t at = observations[i].setup;
      if (at == SIZE_MAX) continue;
      ++sightings[at];
      const Slope slope = slopes[i];
      seen[at].emplace(slope.TgtNo().value_or(0), textOr(slope.TgtID()));
      const std::string time = dateText(packedOf<TVO_SlopeRecord>(slope).Date);
      if (time.empty()) continue;
      if (first[at].empty() || time < first[at]) first[at] = time;
      if (time > last[at]) last[at] = time;
    }
    for (const Setup setup : setups) {
      number.push_back(numberOr(setup.STN_NO()));
      ids.push_back(textOr(setup.STN_ID()));
      height.push_back(numberOr(setup.INST_HT()));
      heights[{numberOr(setup.STN_NO(), -1), ids.back()}].insert(height.back());
      targets[height.size() - 1] = static_cast<double>(seen[height.size() - 1].size());
    }
    for (size_t i = 0; i < setups.size(); ++i) {
      const size_t different = heights[{numberOr(setups[i].STN_NO(), -1), ids[i]}].size();
      all.push_back(std::isnan(height[i]) ? "not given"
                    : different > 1       ? counted(different, "height") + " at this station"
                                          : "");
    }
    Table table(setups.size());
    table.numbers("Station", "", number, 0);
    table.texts("ID", ids);
    table.numbers("Instrument height", "m", height, 4);
    table.texts("Height", all);
    table.numbers("Sightings", "", sightings, 0);
    table.numbers("Targets", "", targets, 0);
    table.texts("First", first);
    table.texts("Last", last);
    table.places(scene_, placesOf(TVO_RECORD_SETUP));
    json_["setups"] = table.take();
  }

  void addSightings(const tavo_observation* observations, size_t count) {
    const auto slopes = recordsOf<Slope>(survey_);
    Numbers setup, number, face;
    std::array<Numbers, 7> values;
    Texts ids, times, notes;
    for (size_t i = 0; i < count; ++i) {
      const tavo_observation& one = observations[i];
      setup.push_back(one.setup == SIZE_MAX ? kNone : static_cast<double>(one.setup));
      number.push_back(numberOr(slopes[i].TgtNo()));
      ids.push_back(textOr(slopes[i].TgtID()));
      face.push_back(std::isnan(one.vz) ? kNone : isFaceTwo(one) ? 2 : 1);
      const double row[] = {one.hz,           one.vz,         one.distance, one.target_height,
                            one.red_distance, one.red_height, one.ori};
      for (size_t n = 0; n < values.size(); ++n) values[n].push_back(row[n]);
      times.push_back(dateText(packedOf<TVO_SlopeRecord>(slopes[i]).Date));
      notes.push_back(textOr(slopes[i].Note()));
    }
    Table table(count);
    table.numbers("Target", "", number, 0);
    table.texts("ID", ids);
    table.numbers("Face", "", face, 0);
    constexpr std::pair<const char*, const char*> kNames[] = {
        {"Hz", "gon"},          {"Vz", "gon"},       {"Slope distance", "m"},
        {"Target height", "m"}, {"Horizontal", "m"}, {"Height difference", "m"},
        {"Orientation", "gon"}};
    for (size_t n = 0; n < values.size(); ++n) {
      table.numbers(kNames[n].first, kNames[n].second, values[n], 4);
    }
    table.texts("Time", times);
    table.texts("Note", notes);
    table.places(scene_, placesOf(TVO_RECORD_SLOPE));
    Json json = table.take();
    json["setup"] = numbersJson(setup, 0);
    json_["sightings"] = std::move(json);
  }

  // Two-face differences and repeatability, in mgon and mm.
  void addQuality(const tavo_observation* observations) {
    const Observations found = observationsOf(survey_, scene_.geometry());
    addQuality("pairs", found.pairs, observations, [](const FacePair& pair) { return pair.one; },
               {});
    Numbers sets;
    for (const Repetition& one : found.repetitions) sets.push_back(static_cast<double>(one.sets));
    addQuality(
        "repetitions", found.repetitions, observations,
        [](const Repetition& one) { return one.first; }, sets);
  }
  template <class Row, class First>
  void addQuality(const char* name, const std::vector<Row>& rows,
                  const tavo_observation* observations, First first, const Numbers& sets) {
    const auto setups = recordsOf<Setup>(survey_);
    const auto slopes = recordsOf<Slope>(survey_);
    Texts stations, targets;
    Numbers hz, vz, distance;
    std::vector<std::optional<Place>> places;
    for (const Row& row : rows) {
      const size_t slope = first(row);
      const size_t setup = observations[slope].setup;
      const auto station =
          setup == SIZE_MAX ? TVO_SetupRecord{} : packedOf<TVO_SetupRecord>(setups[setup]);
      const auto target = packedOf<TVO_SlopeRecord>(slopes[slope]);
      stations.push_back(
          setup == SIZE_MAX ? "" : labelOf(station.STN_NO, station.STN_ID, sizeof station.STN_ID));
      targets.push_back(labelOf(target.TgtNo, target.TgtID, sizeof target.TgtID));
      hz.push_back(row.hz * 1000);
      vz.push_back(row.vz * 1000);
      distance.push_back(row.distance * 1000);
      places.push_back(scene_.placeOf(TVO_RECORD_SLOPE, slope));
    }
    Table table(rows.size());
    table.texts("Station", stations);
    table.texts("Target", targets);
    if (!sets.empty()) table.numbers("Sets", "", sets, 0);
    table.numbers("Hz", "mgon", hz, 2);
    table.numbers("Vz", "mgon", vz, 2);
    table.numbers("Distance", "mm", distance, 2);
    table.places(scene_, places);
    json_[name] = table.take();
  }

  // Times of each kind of record in seconds, counted from 1970 as if the zone were that of UTC.
  void addTimes() {
    constexpr uint32_t kTypes[] = {TVO_RECORD_POINTS, TVO_RECORD_SETUP, TVO_RECORD_SLOPE,
                                   TVO_RECORD_TIME_TAGGED_CODES};
    constexpr const char* kNames[] = {"points", "setups", "slopes", "codes"};
    std::array<Numbers, 4> times;
    size_t count = 0;
    const tavo_moment* const moments = tavo_survey_timeline(survey_, &count);
    Texts span;
    for (size_t i = 0; i < count; ++i) {
      const TVO_DateTime date = dateOf(moments[i]);
      const auto time = timeOf(date);
      if (!time) continue;
      const auto kind = std::ranges::find(kTypes, moments[i].type) - kTypes;
      times[static_cast<size_t>(kind)].push_back(
          std::floor(static_cast<double>(time->time_since_epoch().count()) / 100));
      span.resize(2);
      if (span[0].empty()) span[0] = dateText(date);
      span[1] = dateText(date);
    }
    if (!span.empty()) json_["span"] = span;
    for (size_t i = 0; i < times.size(); ++i) json_["times"][kNames[i]] = numbersJson(times[i], 0);
  }
  TVO_DateTime dateOf(const tavo_moment& moment) const {
    const tavo_records& records = *tavo_survey_records(survey_, moment.type);
    const char* const record = recordAt(records, moment.index);
    switch (moment.type) {
      case TVO_RECORD_POINTS:
        return load<TVO_PointRecord>(record).Date;
      case TVO_RECORD_SETUP:
        return load<TVO_SetupRecord>(record).Date;
      case TVO_RECORD_SLOPE:
        return load<TVO_SlopeRecord>(record).Date;
      default:
        return load<TVO_TimeTaggedRecord>(record).TimeTag;
    }
  }

  static void addPlace(const std::optional<Place>& place, Json* finding) {
    if (!place) return;
    (*finding)["place"] = {place->view, place->x, place->y};
    if (place->near != 0) (*finding)["near"] = place->near;
  }

  // What the check found, with the source line cut around the offending text; and what has no place
  // on the map.
  void addFindings() {
    Json findings = Json::array();
    Json explanations = Json::object();
    for (const Found& found : analysis_.findings) {
      if (findings.size() == kFindingsListed) break;
      Json json = findingJson(found);
      if (found.column > 0 && found.column <= found.source.size()) {
        const size_t at = found.column - 1;
        json["source"] = {
            toUtf8(found.source.substr(0, at)), toUtf8(found.source.substr(at, found.length)),
            toUtf8(found.source.substr(std::min(at + found.length, found.source.size())))};
      }
      const tavo_schema_message* const row = tavo_schema_message_of(found.number);
      if (row != nullptr) explanations[found.code()] = row->explanation;
      addPlace(scene_.placeOfLine(found.line), &json);
      findings.push_back(std::move(json));
    }
    if (analysis_.findings.size() > kFindingsListed) {
      notes_.push_back("of " + counted(analysis_.findings.size(), "finding") + " the first " +
                       std::to_string(kFindingsListed) + " are listed");
    }
    json_["findings"] = std::move(findings);
    json_["explanations"] = std::move(explanations);
    Json places = Json::array();
    const tavo_geometry_finding* found = nullptr;
    for (size_t i = 0; (found = tavo_geometry_finding_at(scene_.geometry(), i)) != nullptr; ++i) {
      if (places.size() == kFindingsListed) {
        notes_.push_back("of the notes on the geometry the first " +
                         std::to_string(kFindingsListed) + " are listed");
        break;
      }
      Json json{{"kind", found->kind == TAVO_NOTE ? "note" : "warning"}, {"message", found->text}};
      if (found->line != 0) json["line"] = found->line;
      if (found->record_type != 0) {
        json["about"] = recordName(found->record_type);
        addPlace(scene_.placeOf(found->record_type, found->index), &json);
      }
      places.push_back(std::move(json));
    }
    json_["geometry"] = std::move(places);
  }

  const InputText& text_;
  const Analysis& analysis_;
  tavo_survey* survey_;
  Scene scene_;
  std::vector<std::string> notes_;
  PageData data_;
  Json json_;
};

}  // namespace

PageData pageData(const InputText& text, const Analysis& analysis, tavo_survey* survey) {
  return SurveyPage(text, analysis, survey).make();
}

}  // namespace tavo::tool
