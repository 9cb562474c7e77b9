// Values of GDAL's fields as values of records.
#include "written_fields.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <numbers>
#include <set>

#include <ogr_p.h>

namespace tavo::gdal {

namespace {

constexpr size_t kNameRoom = sizeof(TVO_ThemInfoRecord::Attribute) - 1;
constexpr size_t kValueRoom = sizeof(TVO_FreeValue::text) - 1;
// Free values have the decimals of geographic coordinates.
constexpr double kExact = 9007199254740992.0;

bool isWhole(OGRFieldType type) { return type == OFTInteger || type == OFTInteger64; }

template <class T>
bool putNumber(Rows& rows, size_t row, const tavo_schema_field& member, double value) {
  if (!(value >= static_cast<double>(std::numeric_limits<T>::lowest()) &&
        value <= static_cast<double>(std::numeric_limits<T>::max()))) {
    return false;
  }
  if (std::is_integral_v<T> && std::nearbyint(value) != value) return false;
  rows.set(row, member.id, static_cast<T>(value));
  return true;
}

// Layers give metres, gon and degrees.
double inRecord(const tavo_units& units, const tavo_schema_field& member, double value) {
  const bool length =
      member.unit == TAVO_UNIT_LINEAR || (member.id >= TVO_FIELD_X && member.id <= TVO_FIELD_Z);
  if (member.unit == TAVO_UNIT_ANGULAR) value *= std::numbers::pi / 200;
  if (member.unit == TAVO_UNIT_GEOGRAPHIC) value *= std::numbers::pi / 180;
  if (member.converted != 0 || (member.unit == TAVO_UNIT_NONE && !length)) return value;
  return tavo_to_file(&units, length ? uint32_t{TAVO_UNIT_LINEAR} : member.unit, value);
}

bool putBits(Rows& rows, size_t row, const tavo_schema_field& member, std::string_view digits) {
  unsigned value = 0;
  const char* const end = digits.data() + digits.size();
  const auto read = std::from_chars(digits.data(), end, value, 2);
  if (digits.size() != member.width || read.ptr != end) return false;
  if (member.width == 8) return putNumber<uint8_t>(rows, row, member, value);
  return putNumber<uint16_t>(rows, row, member, value);
}

bool putKeyword(Rows& rows, size_t row, const tavo_schema_field& member, std::string_view name) {
  const tavo_schema_value* value = nullptr;
  for (size_t i = 0; (value = member.group != 0 ? tavo_schema_group_value(member.group, i)
                                                : tavo_schema_value_at(i)) != nullptr;
       ++i) {
    if (name != value->name) continue;
    rows.set(row, member.id, value->id);
    return true;
  }
  const bool unknown = name == tavo_schema_value_name(TVO_ENUM_UNKNOWN);
  if (unknown) rows.set(row, member.id, TVO_EnumId{TVO_ENUM_UNKNOWN});
  return unknown;
}

bool putDate(SurveyText& text, Rows& rows, size_t row, const tavo_schema_field& member,
             const OGRFeature& feature, int field) {
  int year = 0, month = 0, day = 0, hour = 0, minute = 0, zone = 0;
  float second = 0;
  if (feature.GetFieldAsDateTime(field, &year, &month, &day, &hour, &minute, &second, &zone) == 0 ||
      year < 1) {
    return false;
  }
  if (zone > 1) text.losses.add(Loss::kTimeZone);
  const auto hundredths = static_cast<int>(std::lround(second * 100));
  const auto part = [](int value) { return static_cast<int16_t>(value); };
  rows.set(row, member.id,
           TVO_DateTime{part(year), part(month), part(day), part(hour), part(minute),
                        part(hundredths / 100), part(hundredths % 100)});
  return true;
}

void putDefault(SurveyText& text, Rows& rows, size_t row, const tavo_schema_field& member,
                const std::string& given) {
  TVO_DefaultValue value{};
  double real = 0;
  const char* const end = given.data() + given.size();
  const auto read = std::from_chars(given.data(), end, real);
  value.kind = TVO_ENUM_TEXT;
  if (read.ec == std::errc() && read.ptr == end) {
    value.kind = TVO_ENUM_REAL;
    value.real = real;
  }
  const std::string kept = fitted(given, sizeof value.text - 1, text.losses);
  std::memcpy(value.text, kept.c_str(), kept.size() + 1);
  rows.set(row, member.id, value);
}

bool putReal(SurveyText& text, Rows& rows, size_t row, const tavo_schema_field& member,
             double value) {
  if (!std::isfinite(value)) return false;
  value = inRecord(text.units, member, value);
  return member.type == TAVO_TYPE_FLOAT ? putNumber<float>(rows, row, member, value)
                                        : putNumber<double>(rows, row, member, value);
}

std::string dateText(const OGRFeature& feature, int field, OGRFieldType type) {
  const OGRField& raw = *feature.GetRawFieldRef(field);
  char made[32];
  if (type == OFTDate) {
    snprintf(made, sizeof made, "%04d-%02d-%02d", raw.Date.Year, raw.Date.Month, raw.Date.Day);
    return made;
  }
  char* const iso = OGRGetXMLDateTime(&raw);
  std::string text(iso);
  CPLFree(iso);
  return type == OFTTime ? text.substr(text.find('T') + 1) : text;
}

// A name that no attribute of the group has, of at most so many bytes as the format keeps.
std::string uniqueName(const std::string& wanted, std::set<std::string>& names, Losses& losses) {
  std::string name = fitted(wanted.empty() ? "unnamed" : wanted, kNameRoom, losses);
  for (unsigned twin = 2; !names.insert(name).second; ++twin) {
    const std::string suffix = std::to_string(twin);
    Losses none;
    name = fitted(wanted, kNameRoom - suffix.size(), none) + suffix;
  }
  return name;
}

}  // namespace

void putMember(SurveyText& text, Rows& rows, size_t row, const tavo_schema_field& member,
               const OGRFeature& feature, int field) {
  const auto number = [&] { return feature.GetFieldAsDouble(field); };
  bool kept = true;
  switch (member.type) {
    case TAVO_TYPE_UINT8:
      kept = putNumber<uint8_t>(rows, row, member, number());
      break;
    case TAVO_TYPE_UINT16:
      kept = putNumber<uint16_t>(rows, row, member, number());
      break;
    case TAVO_TYPE_INT16:
      kept = putNumber<int16_t>(rows, row, member, number());
      break;
    case TAVO_TYPE_UINT32:
      kept = putNumber<uint32_t>(rows, row, member, number());
      break;
    case TAVO_TYPE_FLOAT:
    case TAVO_TYPE_DOUBLE:
      kept = putReal(text, rows, row, member, number());
      break;
    case TAVO_TYPE_BITS:
      kept = putBits(rows, row, member, feature.GetFieldAsString(field));
      break;
    case TAVO_TYPE_DATE_TIME:
      kept = putDate(text, rows, row, member, feature, field);
      break;
    case TAVO_TYPE_TEXT:
      rows.setText(row, member.id, feature.GetFieldAsString(field), text.losses);
      break;
    case TAVO_TYPE_DEFAULT:
      putDefault(text, rows, row, member, feature.GetFieldAsString(field));
      break;
    case TAVO_TYPE_ENUM:
      kept = putKeyword(rows, row, member, feature.GetFieldAsString(field));
      break;
    default:
      kept = false;
  }
  if (!kept) text.losses.add(Loss::kMember);
}

TVO_EnumId valueKind(OGRFieldType type) {
  return isWhole(type) ? TVO_ENUM_INT : type == OFTReal ? TVO_ENUM_REAL : TVO_ENUM_TEXT;
}

void putAttribute(SurveyText& text, Group& group, size_t row, uint32_t attribute,
                  const OGRFeature& feature, int field) {
  const OGRFieldType type = feature.GetFieldDefnRef(field)->GetType();
  Group::Value value{static_cast<uint32_t>(row), attribute, valueKind(type), 0, 0, 0};
  Losses& losses = text.losses;
  if (type == OFTBinary) return losses.add(Loss::kBinary);
  if (isWhole(type)) {
    const GIntBig whole = feature.GetFieldAsInteger64(field);
    value.integer = static_cast<int32_t>(whole);
    if (value.integer != whole) {
      losses.add(Loss::kBigInteger);
      value.kind = TVO_ENUM_TEXT;
    }
  } else if (type == OFTReal) {
    value.real = feature.GetFieldAsDouble(field);
    if (!std::isfinite(value.real)) return losses.add(Loss::kNotFiniteValue);
    const double scale = std::pow(10, text.options.geographic_decimals);
    const double scaled = value.real * scale;
    if (std::fabs(scaled) < kExact && std::nearbyint(scaled) / scale != value.real) {
      losses.add(Loss::kRounded);
    }
  }
  if (value.kind == TVO_ENUM_TEXT) {
    const bool date = type == OFTDate || type == OFTTime || type == OFTDateTime;
    if (date) losses.add(Loss::kDate);
    if (!date && type != OFTString && !isWhole(type)) losses.add(Loss::kList);
    value.text = group.texts.size();
    group.texts.push_back(
        fitted(date ? dateText(feature, field, type) : feature.GetFieldAsString(field), kValueRoom,
               losses));
  }
  group.values.push_back(value);
}

bool hasOwnColumns(const OGRFeatureDefn& definition, Kind kind) {
  const tavo_schema_block& block = *tavo_schema_block_of(factsOf(kind).data);
  const auto field = [&](TVO_FieldId id) {
    const int place = definition.GetFieldIndex(tavo_schema_column_name(&block, id));
    return place < 0 ? nullptr : definition.GetFieldDefn(place);
  };
  const OGRFieldDefn* const number = field(factsOf(kind).number);
  const OGRFieldDefn* const id = field(factsOf(kind).id);
  return (number != nullptr && (isWhole(number->GetType()) || number->GetType() == OFTReal)) ||
         (id != nullptr && id->GetType() == OFTString);
}

const tavo_schema_field* memberNamed(const tavo_schema_block& block, const char* name) {
  const tavo_schema_field* field = nullptr;
  for (size_t i = 0; (field = tavo_schema_field_at(&block, i)) != nullptr; ++i) {
    const bool kept = field->offset != UINT32_MAX && field->alias == 0 && field->hidden == 0;
    if (kept && EQUAL(field->name, name)) return field;
  }
  return nullptr;
}

std::vector<FieldTarget> targetsOf(const OGRFeatureDefn& definition, Group& group, bool own,
                                   Losses& losses) {
  using Way = FieldTarget::Way;
  constexpr std::string_view kPrefix = "a_";
  std::vector<FieldTarget> targets;
  std::set<std::string> names;
  for (int i = 0; i < definition.GetFieldCount(); ++i) {
    const OGRFieldDefn& field = *definition.GetFieldDefn(i);
    FieldTarget target;
    std::string name = field.GetNameRef();
    target.member = own ? memberNamed(group.rows.block(), name.c_str()) : nullptr;
    if (target.member != nullptr) {
      // The set is that of the layer's system.
      if (target.member->id != TVO_FIELD_PrjSetNo) target.way = Way::kMember;
    } else if (own && (name == "CodeName" || name == "LayerName")) {
      target.way = name == "CodeName" ? Way::kCodeName : Way::kLayerName;
    } else {
      if (own && name.starts_with(kPrefix)) name.erase(0, kPrefix.size());
      target.way = Way::kAttribute;
      target.attribute = static_cast<uint32_t>(group.attributes.size());
      group.attributes.push_back({uniqueName(name, names, losses), field.GetDomainName()});
    }
    targets.push_back(target);
  }
  return targets;
}

}  // namespace tavo::gdal
