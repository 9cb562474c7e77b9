// The written form of each data type.
#include "writers/value.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "schema/bytes.h"
#include "schema/catalogue.h"
#include "schema/enums.h"
#include "schema/fields.h"
#include "schema/mjd.h"
#include "writers/number.h"

namespace tavo::writers {

namespace {

using schema::DataType;
using schema::DecimalKind;
using schema::load;

// A text on a line of its own is followed by a separator or terminator.
constexpr size_t kTextRoom = kLineLimit - 1;
constexpr size_t kDateWidth = 21;
constexpr int kMjdDecimals = 10;
constexpr double kLongestConverted = 1e15;  // conversions keep 15 digits

enum class Treatment : uint8_t { kPlain, kEscape, kBlank };

constexpr std::array<Treatment, 256> treatments() {
  std::array<Treatment, 256> table{};
  for (const char c : {'"', '\'', '\\'}) table[static_cast<uint8_t>(c)] = Treatment::kEscape;
  // The last one ends a text file.
  for (const char c : {'\n', '\r', '\x1a'}) table[static_cast<uint8_t>(c)] = Treatment::kBlank;
  return table;
}
constexpr std::array<Treatment, 256> kTreatments = treatments();

int decimalsOf(DecimalKind kind, const OutputState& state) {
  const TVO_Decimals& decimals = state.settings.decimals;
  const int count = kind == DecimalKind::kAngular  ? decimals.angular
                    : kind == DecimalKind::kLinear ? decimals.linear
                                                   : decimals.geographic;
  return std::min(count, kMaxDecimals);
}

// A 32-bit length. Readers round twice, to a 32-bit value in the unit and to one in metres, so the
// text may lead to a neighbour of the record's value and that one to another text. Writing what a
// reader makes of the text settles that within a step or two.
size_t putLength(const ColumnPlan& column, const OutputState& state, float value, char* out) {
  const int decimals = column.decimals;
  const auto put = [&](float metres) {
    const auto length = static_cast<float>(
        schema::fromInternal(state.units, column.unit, static_cast<double>(metres)));
    return putFixed(static_cast<double>(length), decimals, decimals, out);
  };
  size_t size = put(value);
  for (int step = 0; step < 3; ++step) {
    float length = 0;
    std::from_chars(out, out + size, length);
    const auto read = static_cast<float>(
        schema::toInternal(state.units, column.unit, static_cast<double>(length)));
    if (read == value || !std::isfinite(read)) break;
    value = read;
    size = put(value);
  }
  return size;
}

size_t putReal(const ColumnPlan& column, const OutputState& state, double value, char* out) {
  if (column.precision == DecimalKind::kGeneral) return putGeneral(value, out);
  const int decimals = column.decimals;
  if (column.unit == schema::UnitKind::kNone) return putFixed(value, decimals, decimals, out);
  const schema::Written written = schema::toWritten(state.units, column.unit, value, decimals);
  if (std::fabs(written.value) >= kLongestConverted) return putExponent(written.value, 14, out);
  return putFixed(written.value, written.significant, decimals, out);
}

size_t putFloat(const ColumnPlan& column, const OutputState& state, float value, char* out) {
  return column.unit == schema::UnitKind::kLinear
             ? putLength(column, state, value, out)
             : putReal(column, state, static_cast<double>(value), out);
}

size_t putBits(const ColumnPlan& column, const char* bytes, char* out) {
  const uint32_t bits = column.width == 8 ? load<uint8_t>(bytes) : load<uint16_t>(bytes);
  for (int i = 0; i < column.width; ++i) {
    out[i] = static_cast<char>('0' + ((bits >> (column.width - 1 - i)) & 1));
  }
  return column.width;
}

// A value outside the column's group would cost the reader the whole line. An empty field and
// "UNKNOWN" both read as not known.
size_t putEnum(const ColumnPlan& column, EnumId value, char* out) {
  if (value == 0 && column.group != schema::EnumGroup::kAny) return 0;
  if (!schema::inGroup(column.group, value)) value = TVO_ENUM_UNKNOWN;
  std::string_view name;
  schema::EnumName(value, &name);
  return putText(name, out);
}

size_t putFree(const FreeValue& value, const OutputState& state, char* out) {
  switch (value.kind) {
    case TVO_ENUM_TEXT:
      return putQuoted(value.text, sizeof value.text - 1, kTextRoom, out);
    case TVO_ENUM_REAL:
      return putFreeReal(value.real, state, out);
    case TVO_ENUM_INT:
      return putSigned(value.integer, out);
    default:
      return 0;
  }
}

size_t putDefault(const DefaultValue& value, const OutputState& state, char* out) {
  if (value.kind == TVO_ENUM_TEXT) {
    return putQuoted(value.text, sizeof value.text - 1, kTextRoom, out);
  }
  return value.kind == TVO_ENUM_REAL ? putFreeReal(value.real, state, out) : 0;
}

// `digits` characters: leading zeros, a minus in place of the first one; behind them `mark`.
char* putPadded(int value, int digits, char mark, char* out) {
  const bool negative = value < 0;
  value = negative ? -value : value;
  for (int i = digits - 1; i >= 0; --i) {
    out[i] = static_cast<char>('0' + value % 10);
    value /= 10;
  }
  if (negative) out[0] = '-';
  out[digits] = mark;
  return out + digits + 1;
}

// Whether each number fits the digits that a reader looks at; it checks no calendar.
bool fitsDigits(const DateTime& date, EnumId order) {
  const auto two = [](int16_t value) { return value > -10 && value < 100; };
  const bool fraction = order == TVO_ENUM_DMY ? date.hundredths > -100 && date.hundredths < 100
                                              : date.hundredths > -10 && date.hundredths < 100;
  return date.year > -1000 && date.year < 10000 && two(date.month) && two(date.day) &&
         two(date.hour) && two(date.minute) && two(date.second) && fraction;
}

size_t putCalendar(const DateTime& date, EnumId order, char* out) {
  char* p = out;
  if (order == TVO_ENUM_YMD) {
    p = putPadded(date.year, 4, '-', p);
    p = putPadded(date.month, 2, '-', p);
    p = putPadded(date.day, 2, '/', p);
  } else {
    const bool dayFirst = order == TVO_ENUM_DMY;
    p = putPadded(dayFirst ? date.day : date.month, 2, '-', p);
    p = putPadded(dayFirst ? date.month : date.day, 2, '-', p);
    p = putPadded(date.year, 4, '/', p);
  }
  p = putPadded(date.hour, 2, ':', p);
  p = putPadded(date.minute, 2, ':', p);
  p = putPadded(date.second, 2, '.', p);
  const int tenths = date.hundredths / 10;
  if (tenths < 0) *p++ = '-';
  *p++ = static_cast<char>('0' + std::abs(tenths));
  return static_cast<size_t>(p - out);
}

Alignment alignmentOf(DataType type) {
  switch (type) {
    case DataType::kUint8:
    case DataType::kUint16:
    case DataType::kInt16:
    case DataType::kUint32:
    case DataType::kFloat:
    case DataType::kDouble:
      return Alignment::kRight;
    case DataType::kText:
      return Alignment::kQuoted;
    case DataType::kDefault:
    case DataType::kFree:
      return Alignment::kByValue;
    default:
      return Alignment::kLeft;
  }
}

}  // namespace

ColumnPlan planOf(const schema::FieldDef* field, const OutputState& state) {
  ColumnPlan column;
  if (field == nullptr) return column;
  column.name = field->name;
  column.type = field->type;
  column.width = field->width;
  column.offset = field->offset;
  column.group = field->group;
  column.unit = schema::converts(state.units, field->unit) ? field->unit : schema::UnitKind::kNone;
  column.precision = field->decimals;
  column.decimals = static_cast<uint8_t>(decimalsOf(field->decimals, state));
  column.alignment = alignmentOf(field->type);
  return column;
}

FieldList fieldsOf(const char* columnsRecord) {
  FieldList list;
  const char* ids = columnsRecord + offsetof(ColumnsRecord, fields);
  for (; list.count < TVO_COLUMNS_ROOM; ++list.count) {
    const auto id = load<FieldId>(ids + list.count * sizeof(FieldId));
    if (id == TVO_FIELD_End) break;
    list.ids[list.count] = id;
  }
  return list;
}

ColumnList columnsOf(RecordType columnsType, RecordType dataType, const FieldList& fields,
                     const OutputState& state) {
  // A block may accept columns that its record does not keep: they have a name and no value.
  const schema::FieldDef* names = schema::definitionTable(columnsType);
  const schema::FieldDef* stored = schema::recordDef(dataType).fields;
  ColumnList list;
  for (; list.count < fields.count; ++list.count) {
    const FieldId id = fields.ids[list.count];
    const schema::FieldDef* name = schema::findId(names, id);
    ColumnPlan column = planOf(schema::findId(stored, id), state);
    column.name = name != nullptr ? name->name : ColumnPlan{}.name;
    list.columns[list.count] = column;
  }
  return list;
}

void followDecimals(const OutputState& state, ColumnList* list) {
  for (size_t i = 0; i < list->count; ++i) {
    ColumnPlan& column = list->columns[i];
    column.decimals = static_cast<uint8_t>(decimalsOf(column.precision, state));
  }
}

size_t putValue(const ColumnPlan& column, const OutputState& state, const char* record, char* out) {
  if (column.offset == schema::kNotKept) return 0;
  const char* bytes = record + column.offset;
  switch (column.type) {
    case DataType::kUint8:
      return putUnsigned(load<uint8_t>(bytes), out);
    case DataType::kUint16:
      return putUnsigned(load<uint16_t>(bytes), out);
    case DataType::kInt16:
      return putSigned(load<int16_t>(bytes), out);
    case DataType::kUint32:
      return putUnsigned(load<uint32_t>(bytes), out);
    case DataType::kFloat:
      return putFloat(column, state, load<float>(bytes), out);
    case DataType::kDouble:
      return putReal(column, state, load<double>(bytes), out);
    case DataType::kBits:
      return putBits(column, bytes, out);
    case DataType::kDateTime:
      return putDate(load<DateTime>(bytes), state.units.dateOrder, out);
    case DataType::kText:
      return putQuoted(bytes, column.width - 1U, kTextRoom, out);
    case DataType::kDefault:
      return putDefault(load<DefaultValue>(bytes), state, out);
    case DataType::kEnum:
      return putEnum(column, load<EnumId>(bytes), out);
    case DataType::kFree:
      return putFree(load<FreeValue>(bytes), state, out);
    case DataType::kChar:
      break;
  }
  return 0;
}

size_t putNothing(const ColumnPlan& column, const OutputState& state, const char* record,
                  char* out) {
  if (column.type == DataType::kDateTime) {
    const bool kept = column.offset != schema::kNotKept;
    const auto date = kept ? load<DateTime>(record + column.offset) : DateTime{};
    return putRequiredDate(date, state.units.dateOrder, out);
  }
  if (column.type == DataType::kEnum) return putText("UNKNOWN", out);
  return putText("\"\"", out);
}

size_t measure(const ColumnPlan& column, const OutputState& state, const char* record) {
  if (column.type == DataType::kDateTime && column.offset != schema::kNotKept) {
    return load<DateTime>(record + column.offset).year != 0 ? kDateWidth : 0;
  }
  char scratch[kValueSize];
  return putValue(column, state, record, scratch);
}

size_t putQuoted(const char* text, size_t limit, size_t room, char* out) {
  size_t n = 0;
  out[n++] = '"';
  for (size_t i = 0; i < limit && text[i] != '\0'; ++i) {
    const Treatment treatment = kTreatments[static_cast<uint8_t>(text[i])];
    if (n + (treatment == Treatment::kEscape ? 3 : 2) > room) break;
    if (treatment == Treatment::kEscape) out[n++] = '\\';
    out[n++] = treatment == Treatment::kBlank ? ' ' : text[i];
  }
  out[n++] = '"';
  return n;
}

size_t putDate(const DateTime& date, EnumId order, char* out) {
  if (date.year == 0) return 0;
  if (order == TVO_ENUM_MJD) {
    const double mjd = schema::toMjd(date);
    DateTime back;
    return schema::fromMjd(mjd, &back) ? putFixed(mjd, kMjdDecimals, kMjdDecimals, out) : 0;
  }
  if (order != TVO_ENUM_DMY && order != TVO_ENUM_MDY && order != TVO_ENUM_YMD) return 0;
  return fitsDigits(date, order) ? putCalendar(date, order, out) : 0;
}

size_t putRequiredDate(const DateTime& date, EnumId order, char* out) {
  if (order != TVO_ENUM_MJD) {
    return putCalendar(fitsDigits(date, order) ? date : DateTime{}, order, out);
  }
  // No day number means zeros; the first day of the year 0 counts as empty, too.
  constexpr DateTime kEmpty{0, 1, 1, 0, 0, 0, 0};
  const size_t size = putDate(date, order, out);
  return size > 0 ? size : putFixed(schema::toMjd(kEmpty), kMjdDecimals, kMjdDecimals, out);
}

size_t putFreeReal(double value, const OutputState& state, char* out) {
  const int decimals = std::max(1, decimalsOf(DecimalKind::kGeographic, state));
  return putFixed(value, decimals, decimals, out);
}

}  // namespace tavo::writers
