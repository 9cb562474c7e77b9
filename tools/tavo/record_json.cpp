// Values, fields and blocks of records as JSON.
#include "record_json.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "text.h"

namespace tavo::tool {

namespace {

std::string bits(unsigned value, unsigned width) {
  std::string digits;
  for (unsigned bit = width; bit-- > 0;) digits += (value >> bit & 1U) != 0 ? '1' : '0';
  return digits;
}

Json enumJson(const tavo_schema_field& field, EnumId value) {
  // 0 is the name of an angular unit, and elsewhere what an absent value leaves behind.
  const bool angular = field.id == TVO_FIELD_ANGULAR || field.id == TVO_FIELD_GEOCRD;
  if (value == 0 && !angular) return nullptr;
  return tavo_schema_value_name(value);
}

// A value that may be of several kinds has the JSON type of its kind.
template <class Value>
Json kindJson(const Value& value) {
  switch (value.kind) {
    case TVO_ENUM_TEXT:
      return toUtf8(textOf(value.text));
    case TVO_ENUM_REAL:
      return double{value.real};
    case TVO_ENUM_INT:
      if constexpr (requires { value.integer; }) return int32_t{value.integer};
      return nullptr;
    default:
      return nullptr;
  }
}

Json timeTaggedJson(const TimeTaggedRecord& record) {
  Json fields;
  fields["Code"] = toUtf8(textOf(record.Code));
  if (Json tag = dateJson(record.TimeTag); !tag.is_null()) fields["TimeTag"] = std::move(tag);
  fields["Number"] = uint16_t{record.Number};
  Json values = Json::array();
  const char* entry = reinterpret_cast<const char*>(record.entries);
  for (size_t i = 0; entry != nullptr && i < record.EntryCount; ++i) {
    const auto value = load<TimeTaggedEntry>(entry + i * sizeof(TimeTaggedEntry));
    values.push_back({{"name", toUtf8(textOf(value.name))}, {"value", kindJson(value)}});
  }
  fields["values"] = std::move(values);
  return fields;
}

Json operationPointsJson(const OperationPointsRecord& record) {
  Json points = Json::array();
  size_t used = 0;
  for (size_t i = 0; i < std::size(record.points); ++i) {
    const OperationPoint& point = record.points[i];
    if (point.PointNo != 0 || point.PointID[0] != '\0') used = i + 1;
  }
  for (size_t i = 0; i < used; ++i) {
    const OperationPoint& point = record.points[i];
    points.push_back(
        {{"PointNo", uint32_t{point.PointNo}}, {"PointID", toUtf8(textOf(point.PointID))}});
  }
  return points;
}

const char* operationName(uint32_t number) {
  const tavo_schema_operation* operation = nullptr;
  for (size_t i = 0; (operation = tavo_schema_operation_at(i)) != nullptr; ++i) {
    if (operation->number == number) return operation->name;
  }
  return "UNKNOWN";
}

bool isColumns(uint32_t type) {
  const tavo_schema_block* const block = tavo_schema_block_of(type);
  return block != nullptr && block->columns_type == type;
}

bool isZero(const tavo_schema_field& field, const char* at) {
  return std::all_of(at, at + field.size, [](char c) { return c == '\0'; });
}

// A value in the unit of the file or in metres and radians.
double inUnits(const tavo_schema_field& field, double value, const tavo_units& units, bool si) {
  const bool converted = field.converted != 0;
  if (field.unit == TAVO_UNIT_NONE || converted == si) return value;
  const double other =
      converted ? tavo_to_file(&units, field.unit, value) : tavo_to_si(&units, field.unit, value);
  return other == value ? value : withoutNoise(other);
}

}  // namespace

double shortest(float value) {
  char digits[32];
  for (int count = 6; count <= 9; ++count) {
    std::snprintf(digits, sizeof digits, "%.*g", count, double{value});
    if (std::strtof(digits, nullptr) == value) break;
  }
  return std::strtod(digits, nullptr);
}

bool isNone(const DateTime& date) {
  constexpr DateTime kNone{};
  return std::memcmp(&date, &kNone, sizeof date) == 0;
}

bool isPossible(const DateTime& date) {
  using namespace std::chrono;
  const auto part = [](int16_t value) { return static_cast<unsigned>(value); };
  return (year{date.year} / month{part(date.month)} / day{part(date.day)}).ok() && date.year >= 0 &&
         date.hour >= 0 && date.hour < 24 && date.minute >= 0 && date.minute < 60 &&
         date.second >= 0 && date.second < 60 && date.hundredths >= 0 && date.hundredths < 100;
}

std::string blockPath(const tavo_schema_block* block) {
  std::string path;
  for (; block != nullptr; block = tavo_schema_block_named(block->parent)) {
    if (!path.empty()) path.insert(0, "/");
    path.insert(0, block->keyword);
  }
  return path;
}

std::string recordName(uint32_t type) {
  const tavo_schema_block* const block = tavo_schema_block_of(type);
  if (block == nullptr) return "UNKNOWN";
  const std::string name = block->keyword;
  if (block->columns_type == type) return name + " columns";
  return block->data_type == type ? name : name + " points";
}

bool isHeader(uint32_t type) {
  const tavo_schema_block* const block = tavo_schema_block_of(type);
  return block != nullptr && (std::string_view(block->keyword) == "HEADER" ||
                              std::string_view(block->parent) == "HEADER");
}

std::string uniqueName(uint32_t type) {
  const tavo_schema_block* const block = tavo_schema_block_of(type);
  if (block == nullptr) return recordName(type);
  int twins = 0;
  const tavo_schema_block* other = nullptr;
  for (size_t i = 0; (other = tavo_schema_block_at(i)) != nullptr; ++i) {
    if (other->columns_type != 0 && std::string_view(other->keyword) == block->keyword) ++twins;
  }
  return (twins > 1 ? block->parent + std::string("/") : "") + recordName(type);
}

Json findingJson(const tavo_store_finding& finding) {
  Json json{{"kind", finding.kind == TAVO_NOTE ? "note" : "error"}};
  if (finding.page >= 0) json["page"] = finding.page;
  if (finding.record != 0) json["record"] = finding.record;
  if (finding.record_type != 0) json["type"] = finding.record_type;
  if (finding.record_type != 0) json["block"] = recordName(finding.record_type);
  if (finding.block != 0) json["blockNo"] = finding.block;
  json["message"] = toUtf8(finding.text);
  return json;
}

Json dateJson(const DateTime& date) {
  if (isNone(date)) return nullptr;
  char text[64];
  // What no calendar has keeps the form of the format, which nobody takes for a date.
  std::snprintf(text, sizeof text,
                isPossible(date) ? "%04d-%02d-%02dT%02d:%02d:%02d.%02d"
                                 : "%04d-%02d-%02d/%02d:%02d:%02d.%02d",
                date.year, date.month, date.day, date.hour, date.minute, date.second,
                date.hundredths);
  return text;
}

Json unitsJson(const tavo_units& units) {
  Json json;
  const auto add = [&](const char* name, EnumId unit, double factor) {
    json[name] = tavo_schema_value_name(unit);
    const bool user =
        unit == TVO_ENUM_USER || unit == TVO_ENUM_USER_LINEAR || unit == TVO_ENUM_USER_GEOGRAPHIC;
    if (user) json[std::string(name) + "Factor"] = factor;
  };
  add("angular", units.angular, units.angular_factor);
  add("linear", units.linear, units.linear_factor);
  add("geographic", units.geographic, units.geographic_factor);
  add("temperature", units.temperature, 1);
  add("pressure", units.pressure, 1);
  add("date", units.date_order, 1);
  return json;
}

double withoutNoise(double value, int digits) {
  char text[40];
  std::snprintf(text, sizeof text, "%.*g", digits, value);
  return std::strtod(text, nullptr);
}

Json valueJson(const tavo_schema_field& field, const char* at, const tavo_units& units, bool si) {
  switch (field.type) {
    case TAVO_TYPE_CHAR:
      return toUtf8(textOf(at, 1));
    case TAVO_TYPE_UINT8:
      return load<uint8_t>(at);
    case TAVO_TYPE_UINT16:
      return load<uint16_t>(at);
    case TAVO_TYPE_INT16:
      return load<int16_t>(at);
    case TAVO_TYPE_UINT32:
      return load<uint32_t>(at);
    case TAVO_TYPE_FLOAT:
      return inUnits(field, shortest(load<float>(at)), units, si);
    case TAVO_TYPE_DOUBLE:
      return inUnits(field, load<double>(at), units, si);
    case TAVO_TYPE_BITS:
      return bits(field.width == 8 ? load<uint8_t>(at) : load<uint16_t>(at), field.width);
    case TAVO_TYPE_DATE_TIME:
      return dateJson(load<DateTime>(at));
    case TAVO_TYPE_TEXT:
      return toUtf8(textOf(at, field.width));
    case TAVO_TYPE_DEFAULT:
      return kindJson(load<DefaultValue>(at));
    case TAVO_TYPE_ENUM:
      return enumJson(field, load<EnumId>(at));
    case TAVO_TYPE_FREE:
      return kindJson(load<FreeValue>(at));
    default:
      return nullptr;
  }
}

Json valueJson(const tavo_schema_field& field, const char* at) {
  return valueJson(field, at, *tavo_default_units(), field.converted != 0);
}

Json RecordPrinter::value(const tavo_schema_field& field, const char* at) const {
  return valueJson(field, at, units_, values_ == Values::kSi);
}

Json RecordPrinter::print(uint32_t type, const void* record) {
  const char* const bytes = static_cast<const char*>(record);
  Json line{
      {"type", type}, {"name", recordName(type)}, {"block", blockPath(tavo_schema_block_of(type))}};
  if (isColumns(type)) {
    if (type == TVO_RECORD_UNITS_COLUMNS || type == TVO_RECORD_OFFSETS_COLUMNS) {
      headerColumns_ = load<ColumnsRecord>(bytes);
    }
    const std::string comment = toUtf8(textOf(bytes, TVO_COMMENT_SIZE));
    if (!comment.empty()) line["comment"] = comment;
    line["columns"] = columns(type, bytes);
  } else if (type == TVO_RECORD_TIME_TAGGED_CODES) {
    line["fields"] = timeTaggedJson(load<TimeTaggedRecord>(bytes));
  } else if (type == TVO_RECORD_OPERATIONS) {
    line["fields"]["Operation"] = operationName(load<OperationRecord>(bytes).Operation);
  } else if (type == TVO_RECORD_OPERATION_POINTS) {
    line["points"] = operationPointsJson(load<OperationPointsRecord>(bytes));
  } else {
    line["fields"] = fields(type, bytes);
    tavo_units_follow(&units_, &headerColumns_, type, bytes);
  }
  return line;
}

// Names of the declared columns, null for one that the format does not know.
Json RecordPrinter::columns(uint32_t type, const char* record) {
  const bool operations = type == TVO_RECORD_OPERATIONS_COLUMNS;
  const tavo_schema_block* const block =
      tavo_schema_block_of(operations ? uint32_t{TVO_RECORD_POINTS_COLUMNS} : type);
  std::vector<FieldId>& declared = declared_[type];
  known_[type] = true;
  if (order_ == Order::kText) declared.clear();
  Json names = Json::array();
  for (size_t i = 0; i < TVO_COLUMNS_ROOM; ++i) {
    const auto id = load<FieldId>(record + offsetof(ColumnsRecord, fields) + i * sizeof(FieldId));
    if (id == TVO_FIELD_End) break;
    const char* const name = id == 0 ? nullptr : tavo_schema_column_name(block, id);
    names.push_back(name == nullptr ? Json(nullptr) : Json(name));
    declared.push_back(id);
  }
  return names;
}

Json RecordPrinter::fields(uint32_t type, const char* record) const {
  Json result = Json::object();
  const tavo_schema_block* const block = tavo_schema_block_of(type);
  if (block == nullptr) return result;
  const std::vector<FieldId>& declared = declared_[block->columns_type];
  const bool all = allFields_ || !known_[block->columns_type];
  const tavo_schema_field* field = nullptr;
  for (size_t i = 0; (field = tavo_schema_field_at(block, i)) != nullptr; ++i) {
    if (field->offset == UINT32_MAX) continue;
    const char* const at = record + field->offset;
    bool shown = std::find(declared.begin(), declared.end(), field->id) != declared.end();
    // Members without a column are shown where they hold something, and names that share a member
    // only under the one that fits the block.
    if (field->hidden != 0) shown = !isZero(*field, at);
    if (!shown && all && field->hidden == 0) shown = field->alias == 0;
    if (!shown) continue;
    Json json = value(*field, at);
    if (!json.is_null()) result[field->name] = std::move(json);
  }
  return result;
}

}  // namespace tavo::tool
