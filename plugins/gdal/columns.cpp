// Columns from the schema, and those of the blocks that it does not describe.
#include "columns.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <optional>

#include "texts.h"

namespace tavo::gdal {

namespace {

constexpr int kUnknownZone = 0;

// What a field's number means, and what to do with it.
struct Quantity {
  uint32_t unit = TAVO_UNIT_NONE;
  bool converted = false;
  double tavo_units::*offset = nullptr;
};

Quantity quantityOf(const tavo_schema_block& block, const tavo_schema_field& field) {
  Quantity quantity{field.unit, field.converted != 0, nullptr};
  if (block.data_type != TVO_RECORD_POINTS) return quantity;
  // Of coordinates the grid's have offsets; geocentric ones are lengths like all others.
  switch (field.id) {
    case TVO_FIELD_East:
      quantity.offset = &tavo_units::offset_east;
      break;
    case TVO_FIELD_North:
      quantity.offset = &tavo_units::offset_north;
      break;
    case TVO_FIELD_Elevation:
      quantity.offset = &tavo_units::offset_elevation;
      break;
    case TVO_FIELD_X:
    case TVO_FIELD_Y:
    case TVO_FIELD_Z:
      quantity.unit = TAVO_UNIT_LINEAR;
      break;
    default:
      break;
  }
  return quantity;
}

// An angle lost its last digits on the way through radians; files give far fewer.
double angle(double radians, double halfCircle) {
  constexpr double kDigits = 1e11;
  const double value = radians * (halfCircle / std::numbers::pi);
  return std::fabs(value) < 1e4 ? std::round(value * kDigits) / kDigits : value;
}

// Metres, gon or degrees; nothing for an angle of unknown unit.
std::optional<double> inLayerUnits(const Quantity& quantity, const tavo_units& units,
                                   double value) {
  if (quantity.unit == TAVO_UNIT_NONE) return value;
  const bool angular = quantity.unit == TAVO_UNIT_ANGULAR;
  const TVO_EnumId unit = angular                                 ? units.angular
                          : quantity.unit == TAVO_UNIT_GEOGRAPHIC ? units.geographic
                                                                  : units.linear;
  if (!quantity.converted) value = tavo_to_si(&units, quantity.unit, value);
  if (quantity.unit == TAVO_UNIT_LINEAR) {
    return quantity.offset == nullptr ? value : value + units.*quantity.offset;
  }
  if (unit == TVO_ENUM_UNKNOWN) return std::nullopt;
  return angle(value, angular ? 200 : 180);
}

const char* unitName(uint32_t unit) {
  constexpr const char* kNames[] = {"", "gon", "m", "deg"};
  return kNames[unit];
}

OGRFieldType typeOf(const tavo_schema_field& field) {
  switch (field.type) {
    case TAVO_TYPE_UINT8:
    case TAVO_TYPE_UINT16:
    case TAVO_TYPE_INT16:
      return OFTInteger;
    case TAVO_TYPE_UINT32:
      return OFTInteger64;
    case TAVO_TYPE_FLOAT:
    case TAVO_TYPE_DOUBLE:
      return OFTReal;
    case TAVO_TYPE_DATE_TIME:
      return OFTDateTime;
    default:
      return OFTString;
  }
}

void setText(OGRFeature& feature, int field, const char* at, size_t room) {
  feature.SetField(field, textAt(at, room).c_str());
}

void setBits(OGRFeature& feature, int field, unsigned value, unsigned width) {
  std::string digits;
  for (unsigned bit = width; bit-- > 0;) digits += (value >> bit & 1U) != 0 ? '1' : '0';
  feature.SetField(field, digits.c_str());
}

template <class Value>
void setAny(OGRFeature& feature, int field, const Value& value) {
  if (value.kind == TVO_ENUM_TEXT) setText(feature, field, value.text, sizeof value.text);
  if (value.kind == TVO_ENUM_REAL) feature.SetField(field, double{value.real});
}

void setReal(OGRFeature& feature, int field, const Quantity& quantity, const Row& row,
             double value) {
  if (const auto known = inLayerUnits(quantity, *row.units, value)) {
    feature.SetField(field, *known);
  }
}

void setValue(OGRFeature& feature, int field, const tavo_schema_field& schema,
              const Quantity& quantity, const Row& row) {
  const char* const at = row.bytes + schema.offset;
  switch (schema.type) {
    case TAVO_TYPE_CHAR:
      return setText(feature, field, at, 1);
    case TAVO_TYPE_UINT8:
      return feature.SetField(field, int{load<uint8_t>(at)});
    case TAVO_TYPE_UINT16:
      return feature.SetField(field, int{load<uint16_t>(at)});
    case TAVO_TYPE_INT16:
      return feature.SetField(field, int{load<int16_t>(at)});
    case TAVO_TYPE_UINT32:
      return feature.SetField(field, GIntBig{load<uint32_t>(at)});
    case TAVO_TYPE_FLOAT:
      return setReal(feature, field, quantity, row, shortest(load<float>(at)));
    case TAVO_TYPE_DOUBLE:
      return setReal(feature, field, quantity, row, load<double>(at));
    case TAVO_TYPE_BITS:
      return setBits(feature, field, schema.width == 8 ? load<uint8_t>(at) : load<uint16_t>(at),
                     schema.width);
    case TAVO_TYPE_DATE_TIME:
      return setDate(feature, field, load<TVO_DateTime>(at));
    case TAVO_TYPE_TEXT:
      return setText(feature, field, at, schema.width);
    case TAVO_TYPE_DEFAULT:
      return setAny(feature, field, load<TVO_DefaultValue>(at));
    case TAVO_TYPE_ENUM:
      return feature.SetField(field, tavo_schema_value_name(load<TVO_EnumId>(at)));
    default:
      return;
  }
}

Column schemaColumn(const tavo_schema_block& block, const tavo_schema_field& field,
                    unsigned place) {
  const Quantity quantity = quantityOf(block, field);
  Column column{field.name, typeOf(field), 0, unitName(quantity.unit), {}, {}, {}};
  if (field.type == TAVO_TYPE_TEXT) column.width = static_cast<int>(field.width) - 1;
  const tavo_schema_value* value = nullptr;
  for (size_t i = 0; field.type == TAVO_TYPE_ENUM && field.group != 0 &&
                     (value = tavo_schema_group_value(field.group, i)) != nullptr;
       ++i) {
    column.choices.emplace_back(value->name);
  }
  column.fill = [&field, place, quantity](OGRFeature& feature, int at, const Row& row) {
    if ((row.given >> place & 1) != 0) setValue(feature, at, field, quantity, row);
  };
  return column;
}

// A text that another record gives, or null.
template <class Find>
Column nameColumn(const char* name, Find find) {
  Column column{name, OFTString, 30, {}, {}, {}, {}};
  column.fill = [find](OGRFeature& feature, int at, const Row& row) {
    if (const std::string* const text = find(row)) feature.SetField(at, text->c_str());
  };
  return column;
}

}  // namespace

void setDate(OGRFeature& feature, int field, const TVO_DateTime& date) {
  if (kindOf(date) != DateKind::kDate) return;
  feature.SetField(field, date.year, date.month, date.day, date.hour, date.minute,
                   static_cast<float>(date.second + date.hundredths / 100.0), kUnknownZone);
}

std::vector<Column> recordColumns(const Source& source, const std::vector<uint32_t>& types,
                                  bool all) {
  std::vector<Column> columns;
  const uint32_t type = types.front();
  const tavo_schema_block& block = *tavo_schema_block_of(type);
  tavo_given shown = all ? ~tavo_given{0} : 0;
  for (const uint32_t one : types) shown |= source.shown(one);
  const Member codeNo = memberOf(block, TVO_FIELD_CodeNo);
  const Member code = memberOf(block, TVO_FIELD_Code);
  const Member layerNo = memberOf(block, TVO_FIELD_LayerNo);
  bool codeNamed = type == TVO_RECORD_CODES || (!all && !source.hasCodes());
  const tavo_schema_field* field = nullptr;
  for (unsigned place = 0; (field = tavo_schema_field_at(&block, place)) != nullptr; ++place) {
    const bool kept = field->offset != UINT32_MAX && field->alias == 0;
    if (!kept || (shown >> place & 1) == 0 || (all && field->hidden != 0)) continue;
    columns.push_back(schemaColumn(block, *field, place));
    // Behind the code's text, or its number where there is no text.
    const bool codeEnds =
        field->id == TVO_FIELD_Code ||
        (field->id == TVO_FIELD_CodeNo && (!code.exists() || (shown >> code.place & 1) == 0));
    if (codeEnds && !codeNamed) {
      columns.push_back(nameColumn("CodeName", [&source, codeNo, code](const Row& row) {
        return source.codeName(row, codeNo, code);
      }));
      codeNamed = true;
    }
    if (field->id == TVO_FIELD_LayerNo && type != TVO_RECORD_LAYERS &&
        (all || source.hasLayers())) {
      columns.push_back(nameColumn("LayerName", [&source, layerNo](const Row& row) {
        return source.layerName(row, layerNo);
      }));
    }
  }
  return columns;
}

std::vector<Column> operationColumns(const Source& source) {
  std::vector<Column> columns;
  Column operation{"Operation", OFTString, 0, {}, {}, {}, {}};
  std::map<uint32_t, std::string> names;
  const tavo_schema_operation* known = nullptr;
  size_t used = 0;
  for (size_t i = 0; (known = tavo_schema_operation_at(i)) != nullptr; ++i) {
    names.emplace(known->number, known->name);
    operation.choices.emplace_back(known->name);
    used = std::max<size_t>(used, known->points);
  }
  operation.fill = [names](OGRFeature& feature, int at, const Row& row) {
    const auto found = names.find(load<TVO_OperationRecord>(row.bytes).Operation);
    if (found != names.end()) feature.SetField(at, found->second.c_str());
  };
  columns.push_back(std::move(operation));

  const Records<OperationPoints> points = source.survey().operationPoints();
  for (const OperationPoints& record : points) {
    for (size_t n = used; n < 10; ++n) {
      if (record.point(n).number != 0 || !record.point(n).id.empty()) used = n + 1;
    }
  }
  for (size_t n = 0; n < used; ++n) {
    const std::string suffix = std::to_string(n + 1);
    Column number{"PointNo" + suffix, OFTInteger64, 0, {}, {}, {}, {}};
    number.fill = [points, n](OGRFeature& feature, int at, const Row& row) {
      const auto point = points[row.index].point(n);
      if (point.number != 0) feature.SetField(at, GIntBig{point.number});
    };
    Column id{"PointID" + suffix, OFTString, 0, {}, {}, {}, {}};
    id.fill = [points, n](OGRFeature& feature, int at, const Row& row) {
      const auto point = points[row.index].point(n);
      if (!point.id.empty()) feature.SetField(at, toUtf8(point.id).c_str());
    };
    columns.push_back(std::move(number));
    columns.push_back(std::move(id));
  }
  return columns;
}

std::vector<Column> timeTaggedColumns() {
  std::vector<Column> columns(3);
  using Record = TVO_TimeTaggedRecord;
  const auto given = [](const Row& row, unsigned place) { return (row.given >> place & 1) != 0; };
  columns[0] = {"Code", OFTString, sizeof(Record::Code) - 1, {}, {}, {}, {}};
  columns[0].fill = [given](OGRFeature& feature, int at, const Row& row) {
    if (given(row, 0)) {
      setText(feature, at, row.bytes + offsetof(Record, Code), sizeof(Record::Code));
    }
  };
  columns[1] = {"TimeTag", OFTDateTime, 0, {}, {}, {}, {}};
  columns[1].fill = [](OGRFeature& feature, int at, const Row& row) {
    setDate(feature, at, load<TVO_DateTime>(row.bytes + offsetof(Record, TimeTag)));
  };
  columns[2] = {"Number", OFTInteger, 0, {}, {}, {}, {}};
  columns[2].fill = [given](OGRFeature& feature, int at, const Row& row) {
    if (given(row, 2)) {
      feature.SetField(at, int{load<uint16_t>(row.bytes + offsetof(Record, Number))});
    }
  };
  return columns;
}

std::vector<Column> observationColumns(const Source& source) {
  std::vector<Column> columns;
  size_t count = 0;
  const tavo_observation* const all = tavo_geometry_observations(source.geometry(), &count);
  for (Column& column : recordColumns(source, {TVO_RECORD_SETUP}, true)) {
    column.fill = [&source, all, inner = std::move(column.fill)](OGRFeature& feature, int at,
                                                                 const Row& row) {
      const size_t setup = all[row.index].setup;
      if (setup != SIZE_MAX) inner(feature, at, source.row(TVO_RECORD_SETUP, setup));
    };
    columns.push_back(std::move(column));
  }
  constexpr struct {
    const char* name;
    const char* unit;
    double tavo_observation::*value;
  } kReduced[] = {{"red_Hz", "gon", &tavo_observation::red_hz},
                  {"red_Vz", "gon", &tavo_observation::red_vz},
                  {"red_HDist", "m", &tavo_observation::red_distance},
                  {"red_dH", "m", &tavo_observation::red_height}};
  for (const auto& reduced : kReduced) {
    Column column{reduced.name, OFTReal, 0, reduced.unit, {}, {}, {}};
    column.fill = [all, reduced](OGRFeature& feature, int at, const Row& row) {
      const double value = all[row.index].*reduced.value;
      if (std::isfinite(value)) feature.SetField(at, value);
    };
    columns.push_back(std::move(column));
  }
  return columns;
}

}  // namespace tavo::gdal
