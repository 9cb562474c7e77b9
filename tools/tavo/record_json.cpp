// Values, fields and blocks of records as JSON.
#include "record_json.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>

#include "schema/bytes.h"
#include "schema/catalogue.h"
#include "schema/enums.h"
#include "text.h"

namespace tavo::tool {

namespace {

using schema::DataType;
using schema::FieldDef;
using schema::load;

std::string textOf(const char* bytes, size_t room) {
  const void* const end = std::memchr(bytes, '\0', room);
  const size_t size =
      end == nullptr ? room : static_cast<size_t>(static_cast<const char*>(end) - bytes);
  return toUtf8({bytes, size});
}

// The double with the shortest decimal form that still names the float, so that 1.31 shows as such.
double shortest(float value) {
  char digits[32];
  const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
  double result = 0;
  std::from_chars(digits, end, result);
  return result;
}

std::string bits(unsigned value, unsigned width) {
  std::string digits;
  for (unsigned bit = width; bit-- > 0;) digits += (value >> bit & 1U) != 0 ? '1' : '0';
  return digits;
}

Json enumJson(const FieldDef& field, EnumId value) {
  // 0 is the name of an angular unit, and elsewhere what an absent value leaves behind.
  const bool angular = field.id == TVO_FIELD_ANGULAR || field.id == TVO_FIELD_GEOCRD;
  if (value == 0 && !angular) return nullptr;
  std::string_view name;
  return schema::EnumName(value, &name) == schema::kFound ? Json(name) : Json(value);
}

// A value that may be of several kinds has the JSON type of its kind.
template <class Value>
Json kindJson(const Value& value) {
  switch (value.kind) {
    case TVO_ENUM_TEXT:
      return textOf(value.text, sizeof value.text);
    case TVO_ENUM_REAL:
      return double{value.real};
    case TVO_ENUM_INT:
      if constexpr (requires { value.integer; }) return int32_t{value.integer};
      return nullptr;
    default:
      return nullptr;
  }
}

Json valueJson(const FieldDef& field, const char* at) {
  switch (field.type) {
    case DataType::kChar:
      return textOf(at, 1);
    case DataType::kUint8:
      return load<uint8_t>(at);
    case DataType::kUint16:
      return load<uint16_t>(at);
    case DataType::kInt16:
      return load<int16_t>(at);
    case DataType::kUint32:
      return load<uint32_t>(at);
    case DataType::kFloat:
      return shortest(load<float>(at));
    case DataType::kDouble:
      return load<double>(at);
    case DataType::kBits:
      return bits(field.width == 8 ? load<uint8_t>(at) : load<uint16_t>(at), field.width);
    case DataType::kDateTime:
      return dateJson(load<DateTime>(at));
    case DataType::kText:
      return textOf(at, field.width);
    case DataType::kDefault:
      return kindJson(load<DefaultValue>(at));
    case DataType::kEnum:
      return enumJson(field, load<EnumId>(at));
    case DataType::kFree:
      return kindJson(load<FreeValue>(at));
  }
  return nullptr;
}

Json timeTaggedJson(const TimeTaggedRecord& record) {
  Json fields;
  fields["Code"] = textOf(record.Code, sizeof record.Code);
  fields["TimeTag"] = dateJson(record.TimeTag);
  fields["Number"] = uint16_t{record.Number};
  Json values = Json::array();
  const char* entry = reinterpret_cast<const char*>(record.entries);
  for (size_t i = 0; entry != nullptr && i < record.EntryCount; ++i) {
    const auto value = load<TimeTaggedEntry>(entry + i * sizeof(TimeTaggedEntry));
    values.push_back({{"name", textOf(value.name, sizeof value.name)}, {"value", kindJson(value)}});
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
    points.push_back({{"PointNo", uint32_t{point.PointNo}},
                      {"PointID", textOf(point.PointID, sizeof point.PointID)}});
  }
  return points;
}

bool isColumns(RecordType type) { return schema::blockOfColumns(type) != nullptr; }

const schema::BlockDef* blockOf(RecordType type) {
  return schema::blockOfColumns(isColumns(type) ? type : schema::columnsOf(type));
}

void appendPath(uint32_t keyword, std::string* path) {
  if (keyword == schema::kUnknownSection) return;
  appendPath(schema::parentOf(keyword), path);
  *path += schema::keywordName(keyword);
  *path += '/';
}

// "DATABASE/POINTS/THEMINFO"
std::string blockPath(RecordType type) {
  const schema::BlockDef* const block = blockOf(type);
  std::string path;
  if (block == nullptr) return path;
  appendPath(block->parent, &path);
  return path += schema::keywordName(block->keyword);
}

// The number of the object that a block of this record type says more about, where its table offers
// several for one member: that of the block around it.
FieldId ownerField(RecordType type) {
  const schema::BlockDef* const block = blockOf(type);
  for (const schema::BlockDef& outer : schema::blocks()) {
    const uint16_t number = outer.layout.keys.number;
    if (block == nullptr || outer.keyword != block->parent || number == schema::kNotKept) continue;
    return schema::findOffset(outer.layout.fields, number)->id;
  }
  return 0;
}

std::string fieldName(const FieldDef& field) {
  return field.name[0] != '\0' ? field.name : field.member;
}

bool isZero(const FieldDef& field, const char* at) {
  const size_t size = schema::storedSize(field.type, field.width);
  return std::all_of(at, at + size, [](char c) { return c == '\0'; });
}

}  // namespace

std::string oneLine(const Json& value) {
  std::string line = value.dump();
  const auto isHigh = [&](size_t at) {
    return line[at] == '\x7F' || static_cast<unsigned char>(line[at + 1]) < 0xA0;
  };
  for (size_t at = 0; (at = line.find_first_of("\x7F\xC2", at)) != line.npos; ++at) {
    if (!isHigh(at)) continue;
    const size_t length = line[at] == '\x7F' ? 1 : 2;
    const auto code = static_cast<unsigned char>(line[at + length - 1]);
    constexpr char kDigits[] = "0123456789abcdef";
    line.replace(at, length, {'\\', 'u', '0', '0', kDigits[code >> 4], kDigits[code & 15]});
  }
  return line;
}

std::string recordName(RecordType type) {
  const schema::BlockDef* const block = blockOf(type);
  if (block == nullptr) return "UNKNOWN";
  std::string name(schema::keywordName(block->keyword));
  if (isColumns(type)) return name + " columns";
  return type == TVO_RECORD_OPERATION_POINTS ? name + " points" : name;
}

Json dateJson(const DateTime& date) {
  constexpr DateTime kNone{};
  if (std::memcmp(&date, &kNone, sizeof date) == 0) return nullptr;
  char text[64];
  std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02d.%02d", date.year, date.month,
                date.day, date.hour, date.minute, date.second, date.hundredths);
  return text;
}

Json RecordPrinter::print(RecordType type, const void* record) {
  const char* const bytes = static_cast<const char*>(record);
  Json line{{"type", type}, {"name", recordName(type)}, {"block", blockPath(type)}};
  if (isColumns(type)) {
    const std::string comment = textOf(bytes, TVO_COMMENT_SIZE);
    if (!comment.empty()) line["comment"] = comment;
    line["columns"] = columns(type, bytes);
  } else if (type == TVO_RECORD_TIME_TAGGED_CODES) {
    line["fields"] = timeTaggedJson(load<TimeTaggedRecord>(bytes));
  } else if (type == TVO_RECORD_OPERATIONS) {
    std::string_view name;
    schema::OperationName(load<OperationRecord>(bytes).Operation, &name);
    line["fields"]["Operation"] = name;
  } else if (type == TVO_RECORD_OPERATION_POINTS) {
    line["points"] = operationPointsJson(load<OperationPointsRecord>(bytes));
  } else {
    line["fields"] = fields(type, bytes);
  }
  return line;
}

// Names of the declared columns, null for one that the format does not know.
Json RecordPrinter::columns(RecordType type, const char* record) {
  const bool operations = type == TVO_RECORD_OPERATIONS_COLUMNS;
  const FieldDef* const table =
      schema::definitionTable(operations ? RecordType{TVO_RECORD_POINTS_COLUMNS} : type);
  std::vector<FieldId>& declared = declared_[type];
  known_[type] = true;
  if (order_ == Order::kText) declared.clear();
  Json names = Json::array();
  for (size_t i = 0; i < TVO_COLUMNS_ROOM; ++i) {
    const auto id = load<FieldId>(record + offsetof(ColumnsRecord, fields) + i * sizeof(FieldId));
    if (id == TVO_FIELD_End) break;
    const FieldDef* const field = table == nullptr || id == 0 ? nullptr : schema::findId(table, id);
    names.push_back(field == nullptr ? Json(nullptr) : Json(field->name));
    declared.push_back(id);
  }
  return names;
}

Json RecordPrinter::fields(RecordType type, const char* record) const {
  Json result = Json::object();
  const RecordType columnsType = schema::columnsOf(type);
  const std::vector<FieldId>& declared = declared_[columnsType];
  const bool all = allFields_ || !known_[columnsType];
  const FieldDef* const table = schema::recordDef(type).fields;
  if (table == nullptr) return result;
  for (const FieldDef& field : schema::rows(table)) {
    if (field.offset == schema::kNotKept) continue;
    const char* const at = record + field.offset;
    bool shown =
        field.id != 0 && std::find(declared.begin(), declared.end(), field.id) != declared.end();
    if (field.name[0] == '\0') {
      shown = !isZero(field, at);
    } else if (!shown && all) {
      const bool oneOfSeveral =
          std::any_of(std::begin(schema::rows(table)), std::end(schema::rows(table)),
                      [&](const FieldDef& other) {
                        return other.offset == field.offset && other.id != field.id;
                      });
      shown = !oneOfSeveral || field.id == ownerField(type);
    }
    if (shown) result[fieldName(field)] = valueJson(field, at);
  }
  return result;
}

}  // namespace tavo::tool
