// tavo info: what a survey is, told in one pass over its records, of which none is kept.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <numbers>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "console.h"
#include "files.h"
#include "findings.h"
#include "record_fields.h"
#include "stored_records.h"
#include "text.h"
#include "verbs.h"

namespace tavo::tool {

namespace {

// Definitions that are named; further ones are only counted.
constexpr size_t kNamed = 100;

struct Range {
  double low = std::numeric_limits<double>::infinity();
  double high = -std::numeric_limits<double>::infinity();
  void add(double value) {
    low = std::min(low, value);
    high = std::max(high, value);
  }
  bool empty() const { return low > high; }
};

// Where the points of one kind of coordinates lie.
struct Extent {
  const char* name;
  const char* unit;
  const char* axes[3];
  FieldId ids[3];
  Range ranges[3] = {};
  PlacedField fields[3] = {};
  uint64_t points = 0;
};

auto inOrder(const DateTime& date) {
  return std::tuple(int16_t{date.year}, int16_t{date.month}, int16_t{date.day}, int16_t{date.hour},
                    int16_t{date.minute}, int16_t{date.second}, int16_t{date.hundredths});
}

struct Named {
  uint32_t number;
  std::string kind;
  std::string name;
};

// Gathers what is told, record by record.
class Summary {
 public:
  void take(const tavo_record& record);

  Json json() const;

 private:
  struct Kind {
    const tavo_schema_block* block;
    std::string path;
    bool header, definition;
    std::optional<size_t> date;  // offset of the time of a measurement
  };

  const Kind& kindOf(uint32_t type);
  void takeHeader(const tavo_record& record);
  void takeDefinition(const tavo_schema_block& block, const tavo_record& record);
  void takePoint(const tavo_record& record);
  void takeTime(const char* at);
  void addCoordinates(Extent& extent, const tavo_record& record, const double (&offsets)[3]);
  Json setsJson() const;
  const Named* find(const std::vector<Named>& all, uint32_t number) const;

  Json header_ = Json::object(), project_ = Json::object();
  Json unitsSaid_;
  tavo_units units_ = *tavo_default_units();
  ColumnsRecord columns_{};
  bool data_ = false;  // records behind the first HEADER have come
  uint64_t unitChanges_ = 0;
  std::array<std::optional<Kind>, 256> kinds_;
  std::array<uint64_t, 256> counts_{};
  std::vector<uint32_t> order_;  // types as they came first
  std::vector<Named> ellipsoids_, projections_;
  Json sets_ = Json::array();
  Extent extents_[3] = {
      {"grid",
       "metre",
       {"east", "north", "elevation"},
       {TVO_FIELD_East, TVO_FIELD_North, TVO_FIELD_Elevation}},
      {"geographic",
       "degree",
       {"longitude", "latitude", "height"},
       {TVO_FIELD_Longitude, TVO_FIELD_Latitude, TVO_FIELD_Height}},
      {"geocentric", "metre", {"x", "y", "z"}, {TVO_FIELD_X, TVO_FIELD_Y, TVO_FIELD_Z}}};
  DateTime first_{}, last_{};
};

// Asked for every record, so it is worked out once for each type.
const Summary::Kind& Summary::kindOf(uint32_t type) {
  std::optional<Kind>& known = kinds_[type % kinds_.size()];
  if (known) return *known;
  Kind kind;
  kind.block = tavo_schema_block_of(type);
  kind.path = blockPath(kind.block);
  kind.header = kind.path.starts_with("HEADER");
  kind.definition = kind.path.starts_with("DEFINITIONS");
  switch (type) {
    case TVO_RECORD_TIME_TAGGED_CODES:
      kind.date = offsetof(TimeTaggedRecord, TimeTag);
      break;
    case TVO_RECORD_POINTS:
    case TVO_RECORD_SETUP:
    case TVO_RECORD_SLOPE:
    case TVO_RECORD_ELEMENTS:
      kind.date = fieldOf(kind.block, TVO_FIELD_Date).field->offset;
      break;
    default:
      break;
  }
  return known.emplace(std::move(kind));
}

void Summary::take(const tavo_record& record) {
  const Kind& kind = kindOf(record.type);
  if (kind.block == nullptr) return;
  if (record.type == kind.block->columns_type) {
    if (kind.header) std::memcpy(&columns_, record.bytes, sizeof columns_);
    return;
  }
  if (record.type == kind.block->data_type && counts_[record.type]++ == 0) {
    order_.push_back(record.type);
  }
  if (kind.header) {
    takeHeader(record);
    return;
  }
  if (!data_) unitsSaid_ = unitsJson(units_);
  data_ = true;
  if (kind.definition) takeDefinition(*kind.block, record);
  if (record.type == TVO_RECORD_POINTS) takePoint(record);
  if (kind.date) takeTime(static_cast<const char*>(record.bytes) + *kind.date);
}

void Summary::takeHeader(const tavo_record& record) {
  tavo_units_follow(&units_, &columns_, record.type, record.bytes);
  if (record.type == TVO_RECORD_UNITS && data_) ++unitChanges_;
  const bool project = record.type == TVO_RECORD_PROJECT;
  if (!project && record.type != TVO_RECORD_HEADER) return;
  Json& told = project ? project_ : header_;
  const tavo_schema_block* const block = tavo_schema_block_of(record.type);
  const tavo_schema_field* field = nullptr;
  for (size_t i = 0; (field = tavo_schema_field_at(block, i)) != nullptr; ++i) {
    if (told.contains(field->name)) continue;
    const char* const at = static_cast<const char*>(record.bytes) + field->offset;
    if (const std::string_view text = textAt(*field, record.bytes); !text.empty()) {
      told[field->name] = toUtf8(text);
    } else if (field->type == TAVO_TYPE_DATE_TIME) {
      if (Json date = dateJson(load<DateTime>(at)); !date.is_null()) told[field->name] = date;
    } else if (field->type == TAVO_TYPE_FLOAT && load<float>(at) != 0) {
      told[field->name] = shortest(load<float>(at));
    }
  }
}

void Summary::takeDefinition(const tavo_schema_block& block, const tavo_record& record) {
  const auto number = [&](FieldId id) {
    const PlacedField at = fieldOf(&block, id);
    return at.field == nullptr ? 0U : wholeNumber(*at.field, record.bytes);
  };
  const auto name = [&](FieldId id) {
    const PlacedField at = fieldOf(&block, id);
    return at.field == nullptr ? std::string() : toUtf8(textAt(*at.field, record.bytes));
  };
  const bool projection = std::string_view(block.parent) == "MAPPRJ_PARAMS";
  if (record.type == TVO_RECORD_ELLIPSOIDS && ellipsoids_.size() < kNamed) {
    ellipsoids_.push_back(
        {number(TVO_FIELD_EllipsoidNo), "ELLIPSOIDS", name(TVO_FIELD_EllipsoidName)});
  } else if (projection && projections_.size() < kNamed) {
    projections_.push_back({number(TVO_FIELD_MapPrjNo), block.keyword, name(TVO_FIELD_MapPrjName)});
  } else if (record.type == TVO_RECORD_PROJECTION_SETS && sets_.size() < kNamed) {
    sets_.push_back({{"number", number(TVO_FIELD_PrjSetNo)},
                     {"name", name(TVO_FIELD_PrjSetName)},
                     {"ellipsoid", number(TVO_FIELD_EllipsoidNo)},
                     {"projection", number(TVO_FIELD_MapPrjNo)}});
  }
}

// Presence decides; where it is not known, a pair of zeros counts as none.
void Summary::addCoordinates(Extent& extent, const tavo_record& record,
                             const double (&offsets)[3]) {
  double values[3];
  bool given[3];
  for (size_t i = 0; i < 3; ++i) {
    PlacedField& at = extent.fields[i];
    if (at.field == nullptr) at = fieldOf(record.type, extent.ids[i]);
    const auto value = load<double>(static_cast<const char*>(record.bytes) + at.field->offset);
    given[i] = record.given == TAVO_GIVEN_UNKNOWN ? value != 0 : at.given(record.given);
    // Geocentric coordinates are lengths, too.
    const bool length = at.field->unit == TAVO_UNIT_NONE;
    values[i] = tavo_to_si(&units_, length ? uint32_t{TAVO_UNIT_LINEAR} : at.field->unit, value);
    if (at.field->unit == TAVO_UNIT_GEOGRAPHIC) values[i] *= 180 / std::numbers::pi;
    values[i] += offsets[i];
  }
  if (record.given == TAVO_GIVEN_UNKNOWN) given[0] = given[1] = given[0] || given[1];
  if (!given[0] || !given[1] || !std::isfinite(values[0]) || !std::isfinite(values[1])) return;
  ++extent.points;
  for (size_t i = 0; i < 3; ++i) {
    if (given[i] && std::isfinite(values[i])) extent.ranges[i].add(values[i]);
  }
}

void Summary::takePoint(const tavo_record& record) {
  addCoordinates(extents_[0], record,
                 {units_.offset_east, units_.offset_north, units_.offset_elevation});
  addCoordinates(extents_[1], record, {});
  addCoordinates(extents_[2], record, {});
}

// Of a measurement, not of a job or definition.
void Summary::takeTime(const char* at) {
  const auto date = load<DateTime>(at);
  if (isNone(date) || !isPossible(date)) return;
  if (isNone(first_) || inOrder(date) < inOrder(first_)) first_ = date;
  if (isNone(last_) || inOrder(date) > inOrder(last_)) last_ = date;
}

const Named* Summary::find(const std::vector<Named>& all, uint32_t number) const {
  const auto at = std::ranges::find(all, number, &Named::number);
  return at == all.end() ? nullptr : &*at;
}

// Numbers of ellipsoids and projections become their names where these are defined.
Json Summary::setsJson() const {
  Json told = sets_;
  for (Json& set : told) {
    if (const Named* const ellipsoid = find(ellipsoids_, set["ellipsoid"])) {
      set["ellipsoid"] = ellipsoid->name;
    } else {
      set.erase("ellipsoid");
    }
    const Named* const projection = find(projections_, set["projection"]);
    if (projection == nullptr) {
      set.erase("projection");
      continue;
    }
    set["projection"] = projection->kind;
    if (!projection->name.empty()) set["projectionName"] = projection->name;
  }
  return told;
}

Json Summary::json() const {
  Json told;
  if (!header_.empty()) told["header"] = header_;
  if (!project_.empty()) told["project"] = project_;
  told["units"] = unitsSaid_.is_null() ? unitsJson(units_) : unitsSaid_;
  if (unitChanges_ > 0) told["unitChanges"] = unitChanges_;
  told["sets"] = setsJson();
  told["extents"] = Json::array();
  for (const Extent& extent : extents_) {
    if (extent.points == 0) continue;
    Json json{{"coordinates", extent.name}, {"unit", extent.unit}, {"points", extent.points}};
    for (size_t i = 0; i < 3; ++i) {
      const Range& range = extent.ranges[i];
      if (!range.empty()) json[extent.axes[i]] = Json::array({range.low, range.high});
    }
    told["extents"].push_back(std::move(json));
  }
  if (!isNone(first_)) told["time"] = {{"first", dateJson(first_)}, {"last", dateJson(last_)}};
  told["records"] = Json::object();
  for (const uint32_t type : order_) told["records"][kinds_[type]->path] = counts_[type];
  return told;
}

std::string sizeText(uint64_t bytes) {
  static constexpr const char* kNames[] = {"bytes", "kB", "MB", "GB"};
  size_t step = 0;
  auto value = static_cast<double>(bytes);
  for (; value >= 1000 && step < 3; ++step) value /= 1000;
  char text[32];
  std::snprintf(text, sizeof text, step == 0 ? "%.0f %s" : "%.1f %s", value, kNames[step]);
  return text;
}

void printRow(const char* name, const std::string& value) {
  constexpr size_t kIndent = 14;
  const std::string lines = wrapped(printable(value), kIndent);
  std::printf("  %-11s %s", name, lines.empty() ? "\n" : lines.c_str() + kIndent);
}

std::string valueText(const Json& value) {
  return value.is_string() ? value.get<std::string>() : value.dump();
}

// "419099.669 to 419808.920"
std::string rangeText(const Json& range, int decimals) {
  char text[80];
  std::snprintf(text, sizeof text, "%.*f to %.*f", decimals, range[0].get<double>(), decimals,
                range[1].get<double>());
  return text;
}

void printSets(const Json& sets) {
  for (const Json& set : sets) {
    std::string line = std::to_string(set["number"].get<uint32_t>());
    const std::string name = set["name"];
    if (!name.empty()) line += " \"" + name + "\"";
    if (set.contains("projection")) line += ", " + set["projection"].get<std::string>();
    if (set.contains("ellipsoid")) line += " on " + set["ellipsoid"].get<std::string>();
    printRow("set", line);
  }
}

void printExtents(const Json& extents) {
  for (const Json& extent : extents) {
    const bool degrees = extent["unit"] == "degree";
    const char* name = extent["coordinates"].get_ref<const std::string&>().c_str();
    for (const auto& [axis, range] : extent.items()) {
      if (!range.is_array()) continue;
      const bool height = axis == "elevation" || axis == "height";
      const char* const unit = degrees && !height ? " degrees" : " m";
      printRow(name, axis + " " + rangeText(range, degrees && !height ? 7 : 3) + unit);
      name = "";
    }
  }
}

void printForPerson(const Json& json) {
  std::string head = printable(json["file"].get<std::string>()) + ": " +
                     json["kind"].get<std::string>() + ", " +
                     sizeText(json["size"].get<uint64_t>());
  if (json.contains("lines")) head += ", " + counted(json["lines"].get<uint64_t>(), "line");
  std::printf("%s\n", head.c_str());
  if (json.contains("header")) {
    for (const auto& [name, value] : json["header"].items()) {
      printRow(name == "VERSION" ? "version" : "system", valueText(value));
    }
  }
  if (json.contains("project")) {
    const char* label = "project";
    for (const auto& [name, value] : json["project"].items()) {
      printRow(label, name + " " + valueText(value));
      label = "";
    }
  }
  std::string units;
  for (const auto& [name, value] : json["units"].items()) {
    units += (units.empty() ? "" : ", ") + name + " " + valueText(value);
  }
  printRow("units", units);
  if (json.contains("unitChanges")) {
    printRow("", "changed by " + counted(json["unitChanges"].get<uint64_t>(), "later HEADER"));
  }
  printSets(json["sets"]);
  printExtents(json["extents"]);
  if (json.contains("time")) {
    printRow("time", json["time"]["first"].get<std::string>() + " to " +
                         json["time"]["last"].get<std::string>());
  }
  const char* label = "records";
  for (const auto& [path, count] : json["records"].items()) {
    char line[120];
    std::snprintf(line, sizeof line, "  %-11s %10llu  %s\n", label,
                  static_cast<unsigned long long>(count.get<uint64_t>()), path.c_str());
    std::fputs(line, stdout);
    label = "";
  }
  if (json.contains("errors")) {
    printRow("findings", counted(json["errors"].get<uint64_t>(), "error") + ", " +
                             counted(json["warnings"].get<uint64_t>(), "warning"));
  }
}

// Both give the members that are told, or nothing behind a complaint.
ExitStatus readText(const std::string& path, const std::string& head, Json* json) {
  InputText text;
  if (const std::string problem = text.open(path, head); !problem.empty()) {
    complain(problem);
    return kFailed;
  }
  Summary summary;
  const Analysis analysis = analyse(text, [&summary](const tavo_record& record) -> uint32_t {
    summary.take(record);
    return TAVO_OK;
  });
  if (!isWhole(text, analysis)) return kFailed;
  complainOfNotes(text, analysis);
  *json = jsonOf("tavo-info/1", text);
  (*json)["kind"] = "text";
  (*json)["size"] = text.size();
  (*json)["lines"] = analysis.counts.lines;
  (*json)["comments"] = analysis.counts.comments;
  (*json)["errors"] = analysis.counts.errors;
  (*json)["warnings"] = analysis.counts.warnings;
  json->update(summary.json());
  return analysis.counts.errors > 0 ? kFindings : kSound;
}

ExitStatus readDataFile(const std::string& path, const std::string& head, Json* json) {
  DataFileInput file;
  if (const std::string problem = file.open(path, head); !problem.empty()) {
    complain(problem);
    return kFailed;
  }
  // Before the file is open, since nobody else reads it then.
  *json = jsonOf("tavo-info/1", file);
  uint64_t size = 0;
  tavo_path_kind(file.path().c_str(), &size);
  (*json)["kind"] = "data file";
  (*json)["size"] = size;
  StoredRecords records;
  const ExitStatus opened = records.open(file, StoredRecords::Use::kPrint, false);
  if (opened != kSound) return opened;
  Summary summary;
  tavo_record record{};
  for (uint32_t move = TVO_FIRST; records.fetch(move, &record) == TAVO_OK; move = TVO_NEXT) {
    summary.take(record);
  }
  json->update(summary.json());
  return records.complainOfLosses() ? kFindings : kSound;
}

}  // namespace

int info(const InfoOptions& options) {
  int status = kSound;
  for (const std::string& path : options.files) {
    Json json;
    const InputKind kind = inputKind(path);
    const ExitStatus result =
        kind.stored ? readDataFile(path, kind.head, &json) : readText(path, kind.head, &json);
    status = std::max(status, static_cast<int>(result));
    if (!json.contains("records")) continue;
    if (options.form == Form::kJson) {
      printLine(json);
    } else {
      if (&path != &options.files.front()) std::printf("\n");
      printForPerson(json);
    }
  }
  return flushOutput() ? status : kFailed;
}

}  // namespace tavo::tool
