// Units in their public form.
#include "survey/units.h"

#include "schema/bytes.h"
#include "schema/catalogue.h"

namespace schema = tavo::schema;
using tavo::survey::unitsOf;
using tavo::survey::viewOf;

schema::Units tavo::survey::unitsOf(const tavo_units& units) {
  return {units.angular,           units.linear,      units.geographic,     units.temperature,
          units.pressure,          units.date_order,  units.angular_factor, units.linear_factor,
          units.geographic_factor, units.offset_east, units.offset_north,   units.offset_elevation};
}

tavo_units tavo::survey::viewOf(const schema::Units& units) {
  return {units.angular,          units.linear,    units.geographic,    units.temperature,
          units.pressure,         units.dateOrder, units.angularFactor, units.linearFactor,
          units.geographicFactor, units.east,      units.north,         units.elevation};
}

namespace {

schema::UnitKind kindOf(uint32_t unit) {
  return unit <= TAVO_UNIT_GEOGRAPHIC ? static_cast<schema::UnitKind>(unit)
                                      : schema::UnitKind::kNone;
}

template <class T>
T load(const void* record, size_t offset) {
  return schema::load<T>(static_cast<const char*>(record) + offset);
}

bool isListed(const void* columns, FieldId id) {
  for (size_t i = 0; i < TVO_COLUMNS_ROOM; ++i) {
    const auto listed =
        load<FieldId>(columns, offsetof(ColumnsRecord, fields) + i * sizeof(FieldId));
    if (listed == id) return true;
    if (listed == TVO_FIELD_End) break;
  }
  return false;
}

}  // namespace

extern "C" {

double tavo_to_si(const tavo_units* units, uint32_t unit, double value) {
  return units == nullptr ? value : schema::toInternal(unitsOf(*units), kindOf(unit), value);
}

double tavo_to_file(const tavo_units* units, uint32_t unit, double value) {
  return units == nullptr ? value : schema::fromInternal(unitsOf(*units), kindOf(unit), value);
}

const tavo_units* tavo_default_units(void) {
  static const tavo_units units = viewOf({});
  return &units;
}

void tavo_units_follow(tavo_units* units, const void* columns_record, uint32_t type,
                       const void* record) {
  if (units == nullptr || columns_record == nullptr || record == nullptr) return;
  schema::Units now = unitsOf(*units);
  const schema::FieldDef* const fields = schema::recordDef(type).fields;
  if (type == TVO_RECORD_UNITS) {
    for (const schema::UnitItem& item : schema::kUnitItems) {
      if (!isListed(columns_record, item.item)) continue;
      const auto unit = load<EnumId>(record, schema::findId(fields, item.item)->offset);
      now.*item.setting = unit;
      const bool factor = item.factor != nullptr && schema::isUserUnit(unit);
      if (factor) now.*item.factor = load<double>(record, item.factorOffset);
    }
  } else if (type == TVO_RECORD_OFFSETS) {
    if (isListed(columns_record, TVO_FIELD_East)) {
      now.east = load<double>(record, offsetof(OffsetsRecord, EAST));
    }
    if (isListed(columns_record, TVO_FIELD_North)) {
      now.north = load<double>(record, offsetof(OffsetsRecord, NORTH));
    }
    if (isListed(columns_record, TVO_FIELD_Elevation)) {
      now.elevation = load<double>(record, offsetof(OffsetsRecord, ELEVATION));
    }
  }
  *units = viewOf(now);
}

}  // extern "C"
