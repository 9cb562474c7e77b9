// Records, attributes and shapes as cells.
#include "csv_layer.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <iterator>
#include <map>
#include <numbers>
#include <optional>
#include <string_view>
#include <unordered_map>

#include "record_fields.h"
#include "text.h"

namespace tavo::tool {

namespace {

constexpr char kShapeHead[] = "WKT";

// How a field's values are shown: value * scale + offset, in a unit.
struct Shown {
  std::string unit = {};           // "": it has none
  uint32_t kind = TAVO_UNIT_NONE;  // of the HEADER's units, from which the value is converted
  double scale = 1;
  double offset = 0;
};

Shown shownAs(const tavo_schema_field& field, const tavo_units& units) {
  struct Unit {
    TVO_EnumId tavo_units::*inForce;
    const char* name;
    double scale;
  };
  static constexpr Unit kUnits[] = {
      {&tavo_units::angular, "gon", 200 / std::numbers::pi},
      {&tavo_units::linear, "m", 1},
      {&tavo_units::geographic, "deg", 180 / std::numbers::pi},
  };
  // Geocentric coordinates are lengths, too.
  const bool geocentric =
      field.id == TVO_FIELD_X || field.id == TVO_FIELD_Y || field.id == TVO_FIELD_Z;
  const uint32_t kind = geocentric ? uint32_t{TAVO_UNIT_LINEAR} : field.unit;
  if (kind != TAVO_UNIT_NONE) {
    const Unit& unit = kUnits[kind - TAVO_UNIT_ANGULAR];
    if (units.*unit.inForce == TVO_ENUM_UNKNOWN) return {.unit = "unknown unit"};
    return {unit.name, kind, unit.scale, offsetOf(field, units)};
  }
  switch (field.id) {
    case TVO_FIELD_DryTemp:
    case TVO_FIELD_WetTemp:
      return {.unit = tavo_schema_value_name(units.temperature)};
    case TVO_FIELD_AtmPress:
      return {.unit = tavo_schema_value_name(units.pressure)};
    default:
      return {};
  }
}

std::string headOf(const tavo_schema_field& field, const Shown& shown) {
  return shown.unit.empty() ? field.name : std::string(field.name) + " [" + shown.unit + "]";
}

std::string number(double value) {
  char digits[64];
  const double size = std::fabs(value);
  const bool plain = size == 0 || (size >= 1e-6 && size < 1e15);
  const auto end = std::to_chars(digits, std::end(digits), value,
                                 plain ? std::chars_format::fixed : std::chars_format::general);
  return {digits, end.ptr};
}

std::string cellOf(const Json& value) {
  if (value.is_null()) return {};
  if (value.is_string()) return value.get<std::string>();
  return value.is_number_float() ? number(value.get<double>()) : value.dump();
}

// A field of a record; "" where the line did not give it.
struct Cell {
  const tavo_schema_field* field;
  size_t place;
  size_t column;
  Shown shown;
  const tavo_units* units;

  std::string of(const char* record) const {
    Json value = valueJson(*field, record + field->offset);
    if (shown.kind == TAVO_UNIT_NONE || !value.is_number_float()) return cellOf(value);
    const double read = value.get<double>();
    const double si = field->converted != 0 ? read : tavo_to_si(units, shown.kind, read);
    const double now = si * shown.scale + shown.offset;
    return number(now == read ? read : withoutNoise(now));
  }
};

}  // namespace

uint64_t CsvLayer::count(const tavo_survey* survey) const {
  uint64_t sum = 0;
  for (const auto* block : blocks) sum += tavo_survey_records(survey, block->data_type)->count;
  return sum;
}

std::vector<CsvLayer> allCsvLayers() {
  // What other formats call these, too.
  static const std::map<std::string_view, const char*> kNames = {{"SETUP", "setups"},
                                                                 {"SLOPE", "observations"}};
  std::vector<CsvLayer> layers;
  const tavo_schema_block* block = nullptr;
  for (size_t i = 0; (block = tavo_schema_block_at(i)) != nullptr; ++i) {
    const bool table = block->kind == TAVO_BLOCK_ITEMS || block->kind == TAVO_BLOCK_DATA ||
                       block->kind == TAVO_BLOCK_COLLECTED;
    if (!table) continue;
    const auto known = kNames.find(block->keyword);
    std::string name = known == kNames.end() ? block->keyword : known->second;
    for (char& c : name) c = static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
    auto same = std::ranges::find(layers, name, &CsvLayer::name);
    if (same == layers.end()) same = layers.insert(same, CsvLayer{name, {}});
    same->blocks.push_back(block);
  }
  return layers;
}

// Attributes of THEMINFO by the number or, where a line gives none, the identifier of their owner.
class CsvRows::Attributes {
 public:
  Attributes(const tavo_survey* survey, const tavo_schema_block& owner) {
    const tavo_schema_block* block = nullptr;
    for (size_t i = 0; (block = tavo_schema_block_at(i)) != nullptr; ++i) {
      if (std::string_view(block->keyword) != "THEMINFO") continue;
      if (std::string_view(block->parent) == owner.keyword) break;
    }
    if (block == nullptr) return;
    const tavo_records& records = *tavo_survey_records(survey, block->data_type);
    values_ = static_cast<const ThemInfoRecord*>(records.bytes);
    for (size_t i = 0; i < records.count; ++i) {
      heads_.insert(head(i));
      // The identifier stands in place 1, the numbers of the kinds of owners around it.
      if ((records.given[i] & 0b1101U) != 0) {
        const uint32_t number = values_[i].OwnerNo;  // which need not be aligned in the record
        byNumber_[number].push_back(i);
      } else {
        byId_[toUtf8(textOf(values_[i].PointID))].push_back(i);
      }
    }
  }

  const std::set<std::string>& heads() const { return heads_; }

  // Calls a function with the head and the value of each of an owner's.
  template <class Function>
  void each(uint32_t number, const std::string& id, Function function) const {
    const auto call = [&](const auto& owners, const auto& key) {
      const auto found = owners.find(key);
      if (found == owners.end()) return;
      for (const size_t i : found->second) function(head(i), value(i));
    };
    call(byNumber_, number);
    if (!id.empty()) call(byId_, id);
  }

 private:
  std::string head(size_t i) const { return "a_" + toUtf8(textOf(values_[i].Attribute)); }
  std::string value(size_t i) const {
    const FreeValue& value = values_[i].Value;
    if (value.kind == TVO_ENUM_TEXT) return toUtf8(textOf(value.text));
    if (value.kind == TVO_ENUM_REAL) return number(value.real);
    return value.kind == TVO_ENUM_INT ? std::to_string(int32_t{value.integer}) : std::string();
  }

  const ThemInfoRecord* values_ = nullptr;
  std::set<std::string> heads_;
  std::unordered_map<uint32_t, std::vector<size_t>> byNumber_;
  std::unordered_map<std::string, std::vector<size_t>> byId_;
};

// Shapes of lines or polygons as well-known text.
class CsvRows::Shapes {
 public:
  Shapes(const tavo_geometry* geometry, uint32_t type) {
    tavo_shape shape{};
    // A line that runs through several systems has a shape in each.
    for (size_t i = 0; tavo_geometry_shape(geometry, type, i, &shape) != 0; ++i) {
      of_[shape.owner].push_back(shape);
    }
  }

  bool empty() const { return of_.empty(); }

  std::string text(size_t owner) const {
    const auto found = of_.find(owner);
    if (found == of_.end()) return {};
    const std::vector<tavo_shape>& shapes = found->second;
    const bool high =
        std::ranges::all_of(shapes, [](const tavo_shape& shape) { return shape.dimension == 3; });
    std::vector<std::string> parts;
    for (const tavo_shape& shape : shapes) addParts(shape, high, &parts);
    std::string text = parts.size() > 1 ? "MULTI" : "";
    text += shapes.front().polygon_count > 0 ? "POLYGON" : "LINESTRING";
    text += high ? " Z " : " ";
    return text + (parts.size() == 1 ? parts.front() : inBrackets(parts));
  }

 private:
  static std::string inBrackets(const std::vector<std::string>& parts) {
    std::string text;
    for (const std::string& part : parts) text += (text.empty() ? "(" : ",") + part;
    return text + ")";
  }

  static void addParts(const tavo_shape& shape, bool high, std::vector<std::string>* parts) {
    std::vector<std::string> runs;
    for (size_t run = 0; run < shape.run_count; ++run) {
      std::vector<std::string> vertices;
      for (size_t v = shape.runs[run]; v < shape.runs[run + 1]; ++v) {
        const double* const at = shape.vertices + 3 * v;
        std::string& vertex = vertices.emplace_back(number(withoutNoise(at[0])));
        vertex += " " + number(withoutNoise(at[1]));
        if (high) vertex += " " + number(withoutNoise(at[2]));
      }
      runs.push_back(inBrackets(vertices));
    }
    if (shape.polygon_count == 0) parts->insert(parts->end(), runs.begin(), runs.end());
    for (size_t polygon = 0; polygon < shape.polygon_count; ++polygon) {
      const auto run = [&](size_t i) {
        return runs.begin() + static_cast<std::ptrdiff_t>(shape.polygons[i]);
      };
      parts->push_back(inBrackets({run(polygon), run(polygon + 1)}));
    }
  }

  std::unordered_map<size_t, std::vector<tavo_shape>> of_;
};

// Fills the cells of a run of records.
class CsvRows::Run {
 public:
  Run(const CsvRows& rows, const tavo_schema_block& block, const tavo_block& run,
      const std::vector<std::string>& heads)
      : rows_(rows), records_(*tavo_survey_records(rows.survey_, run.data_type)) {
    for (size_t i = 0; i < heads.size(); ++i) at_.emplace(heads[i], i);
    for (Cell& cell : cellsOf(block, run, TAVO_GIVEN_UNKNOWN)) {
      const auto column = at_.find(headOf(*cell.field, cell.shown));
      if (column == at_.end()) continue;
      cell.column = column->second;
      cells_.push_back(std::move(cell));
    }
    number_ = tavo_schema_field_at(&block, 0);
    id_ = tavo_schema_field_at(&block, 1);
  }

  // The fields of a mask.
  static std::vector<Cell> cellsOf(const tavo_schema_block& block, const tavo_block& run,
                                   tavo_given mask) {
    std::vector<Cell> cells;
    const tavo_schema_field* field = nullptr;
    for (size_t i = 0; (field = tavo_schema_field_at(&block, i)) != nullptr; ++i) {
      if ((mask >> i & 1) == 0 || field->offset == UINT32_MAX) continue;
      cells.push_back({field, i, 0, shownAs(*field, *run.units), run.units});
    }
    return cells;
  }

  void fill(size_t index, std::vector<std::string>* row) const {
    const char* const bytes = recordAt(records_, index);
    for (const Cell& cell : cells_) {
      if ((records_.given[index] >> cell.place & 1) != 0) (*row)[cell.column] = cell.of(bytes);
    }
    if (rows_.attributes_ == nullptr) return;
    rows_.attributes_->each(load<uint32_t>(bytes + number_->offset),
                            cellOf(valueJson(*id_, bytes + id_->offset)),
                            [&](const std::string& head, const std::string& value) {
                              std::string& cell = (*row)[at_.at(head)];
                              cell += (cell.empty() ? "" : "; ") + value;
                            });
    if (const auto shape = at_.find(kShapeHead); shape != at_.end()) {
      (*row)[shape->second] = rows_.shapes_->text(index);
    }
  }

 private:
  const CsvRows& rows_;
  const tavo_records& records_;
  std::unordered_map<std::string, size_t> at_;
  std::vector<Cell> cells_;
  const tavo_schema_field* number_ = nullptr;
  const tavo_schema_field* id_ = nullptr;
};

CsvRows::CsvRows(const tavo_survey* survey, const tavo_geometry* geometry, const CsvLayer& layer)
    : survey_(survey), layer_(layer) {
  const tavo_schema_block& owner = *layer.blocks.front();
  if (owner.kind != TAVO_BLOCK_COLLECTED) return;
  attributes_ = std::make_unique<Attributes>(survey, owner);
  shapes_ = std::make_unique<Shapes>(geometry, owner.data_type);
}

CsvRows::~CsvRows() = default;

template <class Function>
void CsvRows::eachRun(Function function) const {
  for (const tavo_schema_block* const block : layer_.blocks) {
    const tavo_block* run = nullptr;
    for (size_t i = 0; (run = tavo_survey_block(survey_, i)) != nullptr; ++i) {
      if (run->data_type == block->data_type) function(*block, *run);
    }
  }
}

void CsvRows::addColumns(CsvColumns* columns) const {
  columns->emplace(kSurveyColumn, kSurveyHead);
  eachRun([&](const tavo_schema_block& block, const tavo_block& run) {
    const tavo_given* const given = tavo_survey_records(survey_, run.data_type)->given;
    tavo_given any = 0;
    for (size_t i = run.first; i < run.first + run.count; ++i) any |= given[i];
    for (const Cell& cell : Run::cellsOf(block, run, any)) {
      columns->emplace(kFieldColumns + cell.place, headOf(*cell.field, cell.shown));
    }
  });
  if (attributes_ == nullptr) return;
  for (const std::string& head : attributes_->heads()) columns->emplace(kAttributeColumns, head);
  if (!shapes_->empty()) columns->emplace(kShapeColumn, kShapeHead);
}

bool CsvRows::each(const std::string& survey, const std::vector<std::string>& heads,
                   const Take& take) const {
  bool good = true;
  std::vector<std::string> cells(heads.size());
  eachRun([&](const tavo_schema_block& block, const tavo_block& run) {
    const Run filled(*this, block, run, heads);
    for (size_t i = run.first; good && i < run.first + run.count; ++i) {
      for (std::string& cell : cells) cell.clear();
      cells.front() = survey;
      filled.fill(i, &cells);
      good = take(cells);
    }
  });
  return good;
}

}  // namespace tavo::tool
