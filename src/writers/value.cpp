// The written form of each data type.
#include "writers/value.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <type_traits>

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

constexpr size_t kGroup = sizeof(uint64_t);

// How many of eight characters in front are certainly plain ones. Letters and digits are: the end
// mark and all that is escaped or blanked lies below '(' or is the backslash.
size_t plainCharacters(uint64_t group) {
  return schema::firstMarked(schema::markBytesBelow(group, '(') | schema::markBytes(group, '\\'));
}

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
size_t putLength(const ColumnPlan& column, const OutputState& state, const char* record,
                 char* out) {
  auto value = load<float>(record + column.offset);
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

template <class T>
T valueOf(const ColumnPlan& column, const char* record) {
  return load<T>(record + column.offset);
}

template <class T>
size_t putWhole(const ColumnPlan& column, const OutputState&, const char* record, char* out) {
  if constexpr (std::is_signed_v<T>) {
    return putSigned(valueOf<T>(column, record), out);
  } else {
    return putUnsigned(valueOf<T>(column, record), out);
  }
}

template <class T>
size_t putGeneralReal(const ColumnPlan& column, const OutputState&, const char* record, char* out) {
  return putGeneral(static_cast<double>(valueOf<T>(column, record)), out);
}

template <class T>
size_t putPlainReal(const ColumnPlan& column, const OutputState&, const char* record, char* out) {
  const int decimals = column.decimals;
  return putFixed(static_cast<double>(valueOf<T>(column, record)), decimals, decimals, out);
}

template <class T>
size_t putConverted(const ColumnPlan& column, const OutputState& state, const char* record,
                    char* out) {
  const schema::Written written = schema::toWritten(
      state.units, column.unit, static_cast<double>(valueOf<T>(column, record)), column.decimals);
  if (std::fabs(written.value) >= kLongestConverted) return putExponent(written.value, 14, out);
  return putFixed(written.value, written.significant, column.decimals, out);
}

size_t putBits(const ColumnPlan& column, const OutputState&, const char* record, char* out) {
  const uint32_t bits =
      column.width == 8 ? valueOf<uint8_t>(column, record) : valueOf<uint16_t>(column, record);
  for (int i = 0; i < column.width; ++i) {
    out[i] = static_cast<char>('0' + ((bits >> (column.width - 1 - i)) & 1));
  }
  return column.width;
}

size_t putDateTime(const ColumnPlan& column, const OutputState& state, const char* record,
                   char* out) {
  return putDate(valueOf<DateTime>(column, record), state.units.dateOrder, out);
}

size_t putTextMember(const ColumnPlan& column, const OutputState&, const char* record, char* out) {
  return putQuoted(record + column.offset, column.width - 1U, kTextRoom, out);
}

// A value outside the column's group would cost the reader the whole line. An empty field and
// "UNKNOWN" both read as not known.
size_t putEnum(const ColumnPlan& column, const OutputState&, const char* record, char* out) {
  auto value = valueOf<EnumId>(column, record);
  if (value == 0 && column.group != schema::EnumGroup::kAny) return 0;
  if (!schema::inGroup(column.group, value)) value = TVO_ENUM_UNKNOWN;
  std::string_view name;
  schema::EnumName(value, &name);
  return putText(name, out);
}

size_t putFree(const ColumnPlan& column, const OutputState& state, const char* record, char* out) {
  const auto value = valueOf<FreeValue>(column, record);
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

size_t putDefault(const ColumnPlan& column, const OutputState& state, const char* record,
                  char* out) {
  const auto value = valueOf<DefaultValue>(column, record);
  if (value.kind == TVO_ENUM_TEXT) {
    return putQuoted(value.text, sizeof value.text - 1, kTextRoom, out);
  }
  return value.kind == TVO_ENUM_REAL ? putFreeReal(value.real, state, out) : 0;
}

template <class T>
Putter realPutterOf(const ColumnPlan& column) {
  if (std::is_same_v<T, float> && column.unit == schema::UnitKind::kLinear) return putLength;
  if (column.precision == DecimalKind::kGeneral) return putGeneralReal<T>;
  return column.unit == schema::UnitKind::kNone ? putPlainReal<T> : putConverted<T>;
}

// Decided once for a column, not for each of its values.
Putter putterOf(const ColumnPlan& column) {
  if (column.offset == schema::kNotKept) return putNone;
  switch (column.type) {
    case DataType::kUint8:
      return putWhole<uint8_t>;
    case DataType::kUint16:
      return putWhole<uint16_t>;
    case DataType::kInt16:
      return putWhole<int16_t>;
    case DataType::kUint32:
      return putWhole<uint32_t>;
    case DataType::kFloat:
      return realPutterOf<float>(column);
    case DataType::kDouble:
      return realPutterOf<double>(column);
    case DataType::kBits:
      return putBits;
    case DataType::kDateTime:
      return putDateTime;
    case DataType::kText:
      return putTextMember;
    case DataType::kDefault:
      return putDefault;
    case DataType::kEnum:
      return putEnum;
    case DataType::kFree:
      return putFree;
    case DataType::kChar:
      break;
  }
  return putNone;
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
  column.put = putterOf(column);
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

ColumnList plansOf(RecordType columnsType, RecordType dataType, const FieldList& fields,
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

size_t putNone(const ColumnPlan&, const OutputState&, const char*, char*) { return 0; }

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
  if (column.offset == schema::kNotKept) return 0;
  if (column.type == DataType::kDateTime) {
    return load<DateTime>(record + column.offset).year != 0 ? kDateWidth : 0;
  }
  if (column.type == DataType::kText) {
    const char* const text = record + column.offset;
    // One that ends within a group of plain characters needs its quotes alone.
    const size_t plain = plainCharacters(column.width > kGroup ? load<uint64_t>(text) : 0);
    if (plain < kGroup && text[plain] == '\0') return plain + 2;
  }
  char scratch[kValueSize];
  return column.put(column, state, record, scratch);
}

size_t putQuoted(const char* text, size_t limit, size_t room, char* out) {
  size_t n = 0;
  out[n++] = '"';
  size_t i = 0;
  while (i < limit && text[i] != '\0') {
    // Plain characters in groups of eight, up to the first one that needs a look or ends the text.
    if (i + kGroup <= limit && n + kGroup < room) {
      const auto group = load<uint64_t>(text + i);
      memcpy(out + n, &group, kGroup);
      const size_t plain = plainCharacters(group);
      i += plain;
      n += plain;
      if (plain == kGroup || text[i] == '\0') continue;
    }
    const Treatment treatment = kTreatments[static_cast<uint8_t>(text[i])];
    if (n + (treatment == Treatment::kEscape ? 3 : 2) > room) break;
    if (treatment == Treatment::kEscape) out[n++] = '\\';
    out[n++] = treatment == Treatment::kBlank ? ' ' : text[i];
    ++i;
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
