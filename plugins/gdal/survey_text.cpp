// Numbers, sets, codes, and the order of the records.
#include "survey_text.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstddef>
#include <functional>
#include <limits>
#include <numbers>
#include <set>
#include <unordered_set>

#include <cpl_error.h>
#include <cpl_vsi.h>

#include "tavo/tavo.h"

namespace tavo::gdal {

namespace {

using Form = WrittenSystem::Form;

constexpr double kDegree = std::numbers::pi / 180;
constexpr size_t kCodeRoom = sizeof(TVO_CodeRecord::Code) - 1;

void list(TVO_ColumnsRecord& record, const std::vector<TVO_FieldId>& fields) {
  std::vector<TVO_FieldId> all(fields);
  all.push_back(TVO_FIELD_End);
  std::memcpy(reinterpret_cast<char*>(&record) + offsetof(TVO_ColumnsRecord, fields), all.data(),
              all.size() * sizeof(TVO_FieldId));
}

std::vector<TVO_FieldId> fieldsIn(const tavo_schema_block& block, tavo_given given) {
  std::vector<TVO_FieldId> fields;
  const tavo_schema_field* field = nullptr;
  for (size_t place = 0; (field = tavo_schema_field_at(&block, place)) != nullptr; ++place) {
    if ((given >> place & 1) != 0) fields.push_back(field->id);
  }
  return fields;
}

double roundTo(double value, double scale) {
  const double scaled = std::nearbyint(value * scale);
  return (std::isfinite(scaled) ? scaled / scale : value) + 0.0;
}

// Coordinates of a point: east and north before longitude and latitude before X, Y, Z.
struct PointFields {
  TVO_FieldId x, y, z;
};
constexpr PointFields kGrid = {TVO_FIELD_East, TVO_FIELD_North, TVO_FIELD_Elevation};
constexpr PointFields kGeographic = {TVO_FIELD_Longitude, TVO_FIELD_Latitude, TVO_FIELD_Elevation};
constexpr PointFields kGeocentric = {TVO_FIELD_X, TVO_FIELD_Y, TVO_FIELD_Z};

const PointFields& fieldsOf(Form form) {
  return form == Form::kGeographic ? kGeographic : form == Form::kGeocentric ? kGeocentric : kGrid;
}

// Null where the row gives none.
const PointFields* fieldsOf(const Rows& rows, size_t row) {
  for (const PointFields* const fields : {&kGrid, &kGeographic, &kGeocentric}) {
    if (rows.has(row, fields->x) && rows.has(row, fields->y)) return fields;
  }
  return nullptr;
}

TVO_EnumId wider(TVO_EnumId a, TVO_EnumId b) {
  const auto rank = [](TVO_EnumId kind) {
    return kind == TVO_ENUM_TEXT ? 2 : kind == TVO_ENUM_REAL ? 1 : 0;
  };
  return rank(a) < rank(b) ? b : a;
}

}  // namespace

const KindFacts& factsOf(Kind kind) {
  static constexpr KindFacts kFacts[] = {
      {TVO_RECORD_POINTS_COLUMNS, TVO_RECORD_POINTS, TVO_RECORD_POINT_EXTRAINFO_COLUMNS, 0, 0,
       TVO_RECORD_POINT_THEMINFO_COLUMNS, TVO_RECORD_POINT_THEMINFO, TVO_FIELD_PointNo,
       TVO_FIELD_PointID, TVO_ENUM_POINT},
      {TVO_RECORD_LINES_COLUMNS, TVO_RECORD_LINES, TVO_RECORD_LINE_EXTRAINFO_COLUMNS,
       TVO_RECORD_LINE_EDGES_COLUMNS, TVO_RECORD_LINE_EDGES, TVO_RECORD_LINE_THEMINFO_COLUMNS,
       TVO_RECORD_LINE_THEMINFO, TVO_FIELD_LineNo, TVO_FIELD_LineID, TVO_ENUM_LINE},
      {TVO_RECORD_POLYGONS_COLUMNS, TVO_RECORD_POLYGONS, TVO_RECORD_POLYGON_EXTRAINFO_COLUMNS,
       TVO_RECORD_POLYGON_EDGES_COLUMNS, TVO_RECORD_POLYGON_EDGES,
       TVO_RECORD_POLYGON_THEMINFO_COLUMNS, TVO_RECORD_POLYGON_THEMINFO, TVO_FIELD_PolygonNo,
       TVO_FIELD_PolygonID, TVO_ENUM_POLYGON}};
  return kFacts[static_cast<unsigned>(kind)];
}

void UsedCode::use(const std::string& attribute, const std::string& domain, TVO_EnumId kind) {
  const auto found = std::ranges::find(attributes, attribute, &Attribute::name);
  if (found == attributes.end()) {
    attributes.push_back({attribute, domain, kind});
  } else {
    found->kind = wider(found->kind, kind);
  }
}

// The records in their order, forward and backward.
struct SurveyText::Script {
  struct Piece {
    uint32_t type;
    size_t count;
    std::function<const void*(size_t)> at;
  };
  std::vector<Piece> pieces;
  std::deque<TVO_ColumnsRecord> columns;
  size_t piece = 0, row = 0;

  void add(uint32_t type, size_t count, std::function<const void*(size_t)> at) {
    if (count != 0) pieces.push_back({type, count, std::move(at)});
  }
  void addColumns(uint32_t type, const std::vector<TVO_FieldId>& fields,
                  const std::string& comment = {}) {
    TVO_ColumnsRecord& record = columns.emplace_back();
    std::memcpy(record.comment, comment.data(), std::min(comment.size(), sizeof record.comment));
    list(record, fields);
    add(type, 1, [&record](size_t) { return &record; });
  }
  // One record under its columns; the rows outlive the script.
  void addItems(const Rows& rows) {
    if (rows.size() == 0 || rows.given(0) == 0) return;
    addColumns(rows.block().columns_type, fieldsIn(rows.block(), rows.given(0)));
    add(rows.type(), 1, [&rows](size_t) { return rows.at(0); });
  }

  static uint32_t deliver(uint32_t move, tavo_record* record, void* user) {
    Script& script = *static_cast<Script*>(user);
    return script.go(move) ? script.show(*record) : uint32_t{TVO_ERR_STORE};
  }

 private:
  bool go(uint32_t move) {
    if (move == TVO_FIRST) {
      piece = row = 0;
    } else if (move == TVO_NEXT) {
      if (piece < pieces.size() && ++row == pieces[piece].count) {
        ++piece;
        row = 0;
      }
    } else if (row == 0) {
      if (piece == 0) return false;
      row = pieces[--piece].count - 1;
    } else {
      --row;
    }
    return piece < pieces.size();
  }
  uint32_t show(tavo_record& record) const {
    record.type = pieces[piece].type;
    record.bytes = pieces[piece].at(row);
    return TVO_OK;
  }
};

// Numbers of one kind of thing.
class SurveyText::Numbers {
 public:
  bool take(uint32_t number) {
    if (number == 0 || !taken_.insert(number).second) return false;
    next_ = std::max(next_, number);
    return true;
  }
  // Behind the highest one, or where that is the last there is, any that is free.
  uint32_t fresh() {
    while (!taken_.insert(++next_).second || next_ == 0) {
    }
    return next_;
  }

 private:
  std::unordered_set<uint32_t> taken_;
  uint32_t next_ = 0;
};

size_t SurveyText::addSystem(const WrittenSystem& system) {
  const auto found = std::ranges::find(systems_, system);
  if (found != systems_.end()) return static_cast<size_t>(found - systems_.begin());
  systems_.push_back(system);
  return systems_.size() - 1;
}

size_t SurveyText::useCode(const std::optional<uint16_t>& number, const std::string& text,
                           Kind kind) {
  const auto [place, fresh] =
      codePlaces_.try_emplace(std::pair(number ? int{*number} : -1, text), codes_.size());
  if (fresh) codes_.push_back({false, number, text, {}, factsOf(kind).object, {}});
  return place->second;
}

size_t SurveyText::makeCode(const std::string& wanted, const std::string& name, Kind kind) {
  codes_.push_back({true, {}, wanted, name, factsOf(kind).object, {}});
  return codes_.size() - 1;
}

// --- Vertices -----------------------------------------------------------------------------------

bool SurveyText::Key::operator==(const Key& other) const {
  return system == other.system && x == other.x && y == other.y &&
         (z == other.z || (std::isnan(z) && std::isnan(other.z)));
}

size_t SurveyText::Hash::operator()(const Key& key) const {
  const std::hash<double> hash;
  size_t made = key.system;
  for (const double value : {key.x, key.y, std::isnan(key.z) ? 0.5 : key.z}) {
    made = made * 0x9E3779B97F4A7C15U + hash(value);
    made ^= made >> 29U;
  }
  return made;
}

Vertex SurveyText::rounded(size_t system, const Vertex& vertex) const {
  // Without a system nobody knows; what is taken for degrees is told apart more finely.
  const Form form = systems_[system].form;
  const bool maybe = form == Form::kNone && std::fabs(vertex.x) <= 360 && std::fabs(vertex.y) <= 90;
  const bool degrees = form == Form::kGeographic || maybe;
  const double scale =
      std::pow(10, degrees ? options.geographic_decimals : options.linear_decimals);
  return {
      roundTo(vertex.x, scale), roundTo(vertex.y, scale),
      std::isnan(vertex.z) ? vertex.z : roundTo(vertex.z, std::pow(10, options.linear_decimals))};
}

SurveyText::Key SurveyText::keyOf(size_t system, const Vertex& vertex) const {
  const Vertex at = rounded(system, vertex);
  return {system, at.x, at.y, at.z};
}

uint32_t SurveyText::addVertex(size_t system, const Vertex& vertex) {
  const Key key = keyOf(system, vertex);
  const auto [place, fresh] =
      vertexPlaces_.try_emplace(key, static_cast<uint32_t>(vertices_.size()));
  if (fresh) vertices_.push_back({system, {key.x, key.y, key.z}, 0});
  return place->second;
}

// A vertex is the first point at its place; one without a height is that also of a point with one.
void SurveyText::shareVertices(Numbers& numbers) {
  const auto share = [&](const Key& key, uint32_t number) {
    const auto found = vertexPlaces_.find(key);
    if (found == vertexPlaces_.end()) return;
    Pooled& vertex = vertices_[found->second];
    if (!vertex.shared) vertex.number = number;
    vertex.shared = true;
  };
  for (const Group& group : groups_) {
    if (group.kind != Kind::kPoint || vertices_.empty()) continue;
    const Rows& rows = group.rows;
    for (size_t row = 0; row < rows.size(); ++row) {
      const PointFields* const fields = fieldsOf(rows, row);
      if (fields == nullptr) continue;
      const auto [x, y, height] = *fields;
      const bool elliptic = height == TVO_FIELD_Elevation && !rows.has(row, height);
      const TVO_FieldId z = elliptic ? TVO_FieldId{TVO_FIELD_Height} : height;
      Vertex at{rows.get<double>(row, x), rows.get<double>(row, y),
                rows.has(row, z) ? rows.get<double>(row, z) : kNoNumber};
      const auto number = rows.get<uint32_t>(row, TVO_FIELD_PointNo);
      share(keyOf(group.system, at), number);
      at.z = kNoNumber;
      share(keyOf(group.system, at), number);
    }
  }
  for (Pooled& vertex : vertices_) {
    if (!vertex.shared) vertex.number = numbers.fresh();
  }
}

// Numbers that things bring along, then those that their identifiers in GDAL are, then others.
void SurveyText::giveNumbers() {
  for (const Kind kind : {Kind::kPoint, Kind::kLine, Kind::kPolygon}) {
    const TVO_FieldId id = factsOf(kind).number;
    Numbers numbers;
    const auto each = [&](const auto& give) {
      for (Group& group : groups_) {
        for (size_t row = 0; group.kind == kind && row < group.rows.size(); ++row) give(group, row);
      }
    };
    each([&](Group& group, size_t row) {
      if (!group.rows.has(row, id) || numbers.take(group.rows.get<uint32_t>(row, id))) return;
      group.rows.drop(row, id);
      losses.add(Loss::kNumber);
    });
    each([&](Group& group, size_t row) {
      const int64_t fid = group.fids[row];
      if (group.rows.has(row, id) || fid < 1 || fid > UINT32_MAX) return;
      const auto number = static_cast<uint32_t>(fid);
      if (numbers.take(number)) group.rows.set(row, id, number);
    });
    each([&](Group& group, size_t row) {
      if (!group.rows.has(row, id)) group.rows.set(row, id, numbers.fresh());
    });
    if (kind == Kind::kPoint) shareVertices(numbers);
  }
}

// --- Reference systems --------------------------------------------------------------------------

void SurveyText::nameSets() {
  for (Group& group : groups_) {
    for (size_t row = 0; group.kind == Kind::kPoint && row < group.rows.size(); ++row) {
      group.rows.set(row, TVO_FIELD_PrjSetNo, setNo(group.system));
    }
  }
}

uint16_t SurveyText::addEllipsoid(const WrittenSystem& system) {
  Rows& rows = table(TVO_RECORD_ELLIPSOIDS);
  for (size_t row = 0; row < rows.size(); ++row) {
    if (rows.get<double>(row, TVO_FIELD_EllipsoidA) == system.semiMajor &&
        rows.get<double>(row, TVO_FIELD_EllipsoidF) == system.inverse) {
      return rows.get<uint16_t>(row, TVO_FIELD_EllipsoidNo);
    }
  }
  const size_t row = rows.add();
  const auto number = static_cast<uint16_t>(row + 1);
  rows.set(row, TVO_FIELD_EllipsoidNo, number);
  rows.setText(row, TVO_FIELD_EllipsoidName, system.ellipsoid, losses);
  rows.set(row, TVO_FIELD_EllipsoidA, system.semiMajor);
  rows.set(row, TVO_FIELD_EllipsoidF, system.inverse);
  return number;
}

// What is no projection stands as a plane: its points are geographic or geocentric, or nothing is
// known of it.
void SurveyText::addProjection(const WrittenSystem& system, uint16_t number) {
  const bool utm = system.form == Form::kUtm, mercator = system.form == Form::kTransverseMercator;
  Rows& rows = table(utm ? TVO_RECORD_UTM : mercator ? TVO_RECORD_MERCATOR : TVO_RECORD_PLANE);
  const size_t row = rows.add();
  rows.set(row, TVO_FIELD_MapPrjNo, number);
  rows.setText(row, TVO_FIELD_MapPrjName, system.name.empty() ? "unknown" : system.name, losses);
  if (utm) {
    rows.set(row, TVO_FIELD_ZoneNo, static_cast<uint16_t>(system.zone));
    rows.set(row, TVO_FIELD_HEMISPHERE, system.north ? TVO_ENUM_NORTH : TVO_ENUM_SOUTH);
  }
  if (!mercator) return;
  rows.set(row, TVO_FIELD_FalseEast, system.falseEast);
  rows.set(row, TVO_FIELD_FalseNorth, system.falseNorth);
  rows.set(row, TVO_FIELD_OriginLat, system.originLat * kDegree);
  rows.set(row, TVO_FIELD_OriginLong, system.originLong * kDegree);
  rows.set(row, TVO_FIELD_Scale, system.scale);
}

void SurveyText::addSets() {
  for (size_t i = 0; i < systems_.size(); ++i) {
    const WrittenSystem& system = systems_[i];
    const bool known = system.form != Form::kNone && system.form != Form::kOther;
    if (!known && !separates()) continue;
    addProjection(system, setNo(i));
    Rows& rows = table(TVO_RECORD_PROJECTION_SETS);
    const size_t row = rows.add();
    rows.set(row, TVO_FIELD_PrjSetNo, setNo(i));
    rows.setText(row, TVO_FIELD_PrjSetName, system.name.empty() ? "unknown" : system.name, losses);
    if (known) rows.set(row, TVO_FIELD_EllipsoidNo, addEllipsoid(system));
    rows.set(row, TVO_FIELD_MapPrjNo, setNo(i));
  }
}

// --- Codes and their attributes -----------------------------------------------------------------

// Codes of layers get a number and a text that no other code has, and their things get the code.
void SurveyText::giveCodes() {
  std::set<uint16_t> numbers;
  std::set<std::string, std::less<>> texts;
  const Rows& defined = table(TVO_RECORD_CODES);
  for (size_t row = 0; row < defined.size(); ++row) {
    numbers.insert(defined.get<uint16_t>(row, TVO_FIELD_CodeNo));
    texts.emplace(defined.text(row, TVO_FIELD_Code));
  }
  for (const UsedCode& code : codes_) {
    if (code.made) continue;
    numbers.insert(code.number.value_or(0));
    texts.insert(code.text);
  }
  uint16_t next = 0;
  for (UsedCode& code : codes_) {
    if (!code.made) continue;
    while (!numbers.insert(++next).second) {
    }
    code.number = next;
    const std::string wanted = code.text;
    for (unsigned twin = 2; !texts.insert(code.text).second; ++twin) {
      const std::string suffix = std::to_string(twin);
      code.text = wanted.substr(0, kCodeRoom - suffix.size()) + suffix;
    }
  }
  for (Group& group : groups_) {
    for (size_t row = 0; row < group.rows.size(); ++row) {
      if (group.codes[row] == SIZE_MAX || !codes_[group.codes[row]].made) continue;
      const UsedCode& code = codes_[group.codes[row]];
      group.rows.set(row, TVO_FIELD_CodeNo, *code.number);
      group.rows.setText(row, TVO_FIELD_Code, code.text, losses);
    }
  }
}

void SurveyText::useAttributes() {
  for (const Group& group : groups_) {
    // What is known of an attribute under the code of the row before.
    std::vector<TVO_EnumId> known(group.attributes.size(), 0);
    size_t code = SIZE_MAX;
    for (const Group::Value& value : group.values) {
      if (group.codes[value.row] == SIZE_MAX) continue;
      if (group.codes[value.row] != code) std::ranges::fill(known, 0U);
      code = group.codes[value.row];
      if (known[value.attribute] == value.kind) continue;
      known[value.attribute] = value.kind;
      const Group::Attribute& attribute = group.attributes[value.attribute];
      codes_[code].use(attribute.name, attribute.domain, value.kind);
    }
  }
}

// The list of a domain's choices; 0 where it has none.
uint16_t SurveyText::listOf(const std::string& domain, std::map<std::string, uint16_t>& lists) {
  const auto elements = choices.find(domain);
  if (domain.empty() || elements == choices.end()) return 0;
  const auto found = lists.find(domain);
  if (found != lists.end()) return found->second;
  Rows& rows = table(TVO_RECORD_CHOICELIST);
  uint16_t number = 0;
  for (size_t row = 0; row < rows.size(); ++row) {
    number = std::max(number, rows.get<uint16_t>(row, TVO_FIELD_ListNo));
  }
  ++number;
  for (const std::string& element : elements->second) {
    const size_t row = rows.add();
    rows.set(row, TVO_FIELD_ListNo, number);
    rows.setText(row, TVO_FIELD_Element, element, losses);
  }
  lists.emplace(domain, number);
  return number;
}

// Those that the survey's own table does not define.
void SurveyText::addAttributes(const UsedCode& code, std::map<std::string, uint16_t>& lists) {
  Rows& rows = table(TVO_RECORD_ATTRIBUTES);
  const size_t own = rows.size();
  for (const UsedCode::Attribute& attribute : code.attributes) {
    bool defined = false;
    for (size_t row = 0; row < own && !defined; ++row) {
      defined = rows.text(row, TVO_FIELD_Attribute) == attribute.name &&
                ((code.number && rows.has(row, TVO_FIELD_CodeNo) &&
                  rows.get<uint16_t>(row, TVO_FIELD_CodeNo) == *code.number) ||
                 (!code.text.empty() && rows.text(row, TVO_FIELD_Code) == code.text));
    }
    if (defined) continue;
    const size_t row = rows.add();
    rows.setText(row, TVO_FIELD_Attribute, attribute.name, losses);
    rows.set(row, TVO_FIELD_DATATYPE, attribute.kind);
    if (code.number) rows.set(row, TVO_FIELD_CodeNo, *code.number);
    if (!code.text.empty()) rows.setText(row, TVO_FIELD_Code, code.text, losses);
    const uint16_t number = listOf(attribute.domain, lists);
    if (number != 0) rows.set(row, TVO_FIELD_ListNo, number);
  }
}

void SurveyText::addCodes() {
  Rows& rows = table(TVO_RECORD_CODES);
  const size_t own = rows.size();
  std::map<std::string, uint16_t> lists;
  for (const UsedCode& code : codes_) {
    addAttributes(code, lists);
    bool defined = false;
    for (size_t row = 0; row < own && !defined; ++row) {
      defined = (code.number && rows.has(row, TVO_FIELD_CodeNo) &&
                 rows.get<uint16_t>(row, TVO_FIELD_CodeNo) == *code.number) ||
                (!code.text.empty() && rows.text(row, TVO_FIELD_Code) == code.text);
    }
    if (defined) continue;
    const size_t row = rows.add();
    if (code.number) rows.set(row, TVO_FIELD_CodeNo, *code.number);
    if (!code.text.empty()) rows.setText(row, TVO_FIELD_Code, code.text, losses);
    if (!code.name.empty()) rows.setText(row, TVO_FIELD_CodeName, code.name, losses);
    rows.set(row, TVO_FIELD_OBJTYPE, code.object);
  }
}

void SurveyText::addLayers() {
  Rows& rows = table(TVO_RECORD_LAYERS);
  std::set<uint16_t> own;
  for (size_t row = 0; row < rows.size(); ++row) {
    own.insert(rows.get<uint16_t>(row, TVO_FIELD_LayerNo));
  }
  for (const auto& [number, name] : layers_) {
    if (own.contains(number)) continue;
    const size_t row = rows.add();
    rows.set(row, TVO_FIELD_LayerNo, number);
    rows.setText(row, TVO_FIELD_LayerName, name, losses);
  }
}

// --- The text -----------------------------------------------------------------------------------

void SurveyText::addHeader(Script& script) {
  Rows& header = table(TVO_RECORD_HEADER);
  header.add();
  header.set(0, TVO_FIELD_VERSION, 1.31F);
  header.setText(0, TVO_FIELD_SYSTEM, "GDAL", losses);
  Rows& unit = table(TVO_RECORD_UNITS);
  unit.add();
  unit.set(0, TVO_FIELD_ANGULAR, units.angular);
  unit.set(0, TVO_FIELD_LINEAR, units.linear);
  unit.set(0, TVO_FIELD_GEOCRD, units.geographic);
  unit.set(0, TVO_FIELD_TEMP, units.temperature);
  unit.set(0, TVO_FIELD_PRESS, units.pressure);
  unit.set(0, TVO_FIELD_Date, units.date_order);
  script.addItems(header);
  script.addItems(unit);
  script.addItems(table(TVO_RECORD_PROJECT));
}

// A block for each set of fields that records give, so that what they do not give stays empty.
void SurveyText::addTable(Script& script, uint32_t type) {
  const Rows& rows = table(type);
  std::vector<std::pair<tavo_given, std::vector<size_t>>> shares;
  for (size_t row = 0; row < rows.size(); ++row) {
    const auto found = std::ranges::find(shares, rows.given(row),
                                         &std::pair<tavo_given, std::vector<size_t>>::first);
    if (found != shares.end()) {
      found->second.push_back(row);
    } else if (rows.given(row) != 0) {
      shares.push_back({rows.given(row), {row}});
    }
  }
  for (auto& [given, members] : shares) {
    script.addColumns(rows.block().columns_type, fieldsIn(rows.block(), given));
    const size_t count = members.size();
    script.add(type, count,
               [&rows, members = std::move(members)](size_t i) { return rows.at(members[i]); });
  }
}

// A block with the fields that all give; what some give completes it.
void SurveyText::addRows(Script& script, const Group& group) {
  const Rows& rows = group.rows;
  if (rows.size() == 0) return;
  const KindFacts& facts = factsOf(group.kind);
  tavo_given all = ~tavo_given{0};
  for (size_t row = 0; row < rows.size(); ++row) all &= rows.given(row);
  // The number is the first field of all three.
  constexpr tavo_given kNumber = 1;
  std::map<tavo_given, std::vector<size_t>> more;
  for (size_t row = 0; row < rows.size(); ++row) {
    if (rows.given(row) != all) more[rows.given(row) & ~all].push_back(row);
  }
  script.addColumns(facts.columns, fieldsIn(rows.block(), all), fitted(group.name, 200, losses));
  script.add(facts.data, rows.size(), [&rows](size_t row) { return rows.at(row); });
  for (auto& [given, members] : more) {
    script.addColumns(facts.completion, fieldsIn(rows.block(), given | kNumber));
    const size_t count = members.size();
    script.add(facts.data, count,
               [&rows, members = std::move(members)](size_t i) { return rows.at(members[i]); });
  }
}

// Vertices that are no point of a layer, in a block for each system, with and without heights.
void SurveyText::addVertices(Script& script) {
  std::map<std::pair<size_t, bool>, std::vector<uint32_t>> shares;
  for (uint32_t i = 0; i < vertices_.size(); ++i) {
    const Pooled& vertex = vertices_[i];
    if (vertex.shared) continue;
    shares[{vertex.system, !std::isnan(vertex.at.z)}].push_back(i);
  }
  for (auto& [share, members] : shares) {
    const auto [system, heights] = share;
    const PointFields& known = fieldsOf(systems_[system].form);
    std::vector<TVO_FieldId> fields = {TVO_FIELD_PointNo, known.x, known.y};
    if (heights) fields.push_back(known.z);
    if (separates()) fields.push_back(TVO_FIELD_PrjSetNo);
    script.addColumns(TVO_RECORD_POINTS_COLUMNS, fields, "Vertices of lines and polygons");
    const size_t count = members.size();
    const uint16_t set = setNo(system);
    script.add(TVO_RECORD_POINTS, count,
               [this, set, members = std::move(members),
                record = TVO_PointRecord{}](size_t i) mutable -> const void* {
                 const Pooled& vertex = vertices_[members[i]];
                 record.PointNo = vertex.number;
                 record.East = record.Longitude = record.X = vertex.at.x;
                 record.North = record.Latitude = record.Y = vertex.at.y;
                 record.Elevation = record.Z = vertex.at.z;
                 record.PrjSetNo = set;
                 return &record;
               });
  }
}

void SurveyText::addEdges(Script& script, const Group& group) {
  if (group.edges.empty()) return;
  const KindFacts& facts = factsOf(group.kind);
  script.addColumns(facts.edge_columns,
                    {facts.number, TVO_FIELD_StartPt, TVO_FIELD_EndPt, TVO_FIELD_LINETYPE});
  script.add(facts.edges, group.edges.size(),
             [this, &group, &facts, record = TVO_EdgeRecord{}](size_t i) mutable -> const void* {
               const Group::Edge& edge = group.edges[i];
               record.LineNo = record.PolygonNo = group.rows.get<uint32_t>(edge.row, facts.number);
               record.StartPt = vertices_[edge.start].number;
               record.EndPt = vertices_[edge.end].number;
               record.LINETYPE = TVO_ENUM_STRAIGHT;
               return &record;
             });
}

void SurveyText::addValues(Script& script, const Group& group) {
  if (group.values.empty()) return;
  const KindFacts& facts = factsOf(group.kind);
  script.addColumns(facts.theminfo_columns, {facts.number, TVO_FIELD_Attribute, TVO_FIELD_Value});
  script.add(facts.theminfo, group.values.size(),
             [&group, &facts, record = TVO_ThemInfoRecord{}](size_t i) mutable -> const void* {
               const Group::Value& value = group.values[i];
               const std::string& name = group.attributes[value.attribute].name;
               record = {};
               record.OwnerNo = group.rows.get<uint32_t>(value.row, facts.number);
               std::memcpy(record.Attribute, name.data(),
                           std::min(name.size(), sizeof record.Attribute - 1));
               record.Value.kind = value.kind;
               record.Value.real = value.real;
               record.Value.integer = value.integer;
               if (value.kind == TVO_ENUM_TEXT) {
                 const std::string& text = group.texts[value.text];
                 std::memcpy(record.Value.text, text.data(),
                             std::min(text.size(), sizeof record.Value.text - 1));
               }
               return &record;
             });
}

void SurveyText::addThings(Script& script, Kind kind) {
  for (const Group& group : groups_) {
    if (group.kind != kind) continue;
    addRows(script, group);
    addEdges(script, group);
    addValues(script, group);
  }
}

bool SurveyText::write(const char* path) {
  giveNumbers();
  giveCodes();
  useAttributes();
  if (separates()) nameSets();
  addSets();
  addCodes();
  addLayers();
  Script script;
  addHeader(script);
  for (const uint32_t type : {TVO_RECORD_SUBJECTS, TVO_RECORD_LAYERS, TVO_RECORD_SUBJECT_LAYER_LIST,
                              TVO_RECORD_CHOICELIST, TVO_RECORD_CODES, TVO_RECORD_ATTRIBUTES}) {
    addTable(script, type);
  }
  script.addItems(table(TVO_RECORD_CODELIST));
  for (const uint32_t type : {TVO_RECORD_ELLIPSOIDS, TVO_RECORD_UTM, TVO_RECORD_MERCATOR,
                              TVO_RECORD_PLANE, TVO_RECORD_PROJECTION_SETS, TVO_RECORD_JOBS}) {
    addTable(script, type);
  }
  addThings(script, Kind::kPoint);
  addTable(script, TVO_RECORD_PNT_ACCURACY);
  addVertices(script);
  addThings(script, Kind::kLine);
  addThings(script, Kind::kPolygon);
  for (const uint32_t type : {TVO_RECORD_ELEMENTS, TVO_RECORD_INSTRUMENTS, TVO_RECORD_CONFIGS,
                              TVO_RECORD_APRIORI_ERRORS}) {
    addTable(script, type);
  }
  const bool written = build(path, script);
  if (written) losses.tell(name_);
  return written;
}

namespace {

// A file of GDAL's, which is made at the first write.
struct VirtualFile {
  const char* path;
  VSILFILE* file = nullptr;

  static int write(const void* bytes, size_t size, void* user) {
    auto& self = *static_cast<VirtualFile*>(user);
    if (self.file == nullptr) self.file = VSIFOpenL(self.path, "wb");
    return self.file != nullptr && VSIFWriteL(bytes, 1, size, self.file) == size ? 0 : 1;
  }
};

}  // namespace

bool SurveyText::build(const char* path, Script& script) {
  tavo_target target = TAVO_TARGET_INIT;
  VirtualFile file{path};
  const bool isVirtual = STARTS_WITH(path, "/vsi");
  if (isVirtual) {
    target.write = &VirtualFile::write;
    target.user = &file;
  } else {
    target.path = path;
  }
  tavo_status status = tavo_build(&target, &Script::deliver, &script, &options);
  if (file.file != nullptr && VSIFCloseL(file.file) != 0) status = TVO_ERR_WRITE;
  if (status == TAVO_OK) return true;
  if (file.file != nullptr) VSIUnlink(path);
  CPLError(CE_Failure, CPLE_FileIO, "%s: %s", name_.c_str(), tavo_status_text(status));
  return false;
}

}  // namespace tavo::gdal
