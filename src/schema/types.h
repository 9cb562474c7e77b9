// Vocabulary of the format's tables: data types, enumeration groups, unit kinds and FieldDef, the
// row that describes one column or item: how its text is read, checked, converted, stored and
// written.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "schema/limits.h"
#include "tavo/records.h"

namespace tavo::schema {

// Statuses shared by the lookups.
inline constexpr int kFound = 0;
inline constexpr int kNoTable = 2;
inline constexpr int kNotFound = 11;
inline constexpr int kUnknownNumber = 2570;

// Errors for a line that completes a record which its block does not have.
inline constexpr int kUnknownPoint = 2100;
inline constexpr int kUnknownLine = 2101;
inline constexpr int kUnknownPolygon = 2103;

// Number of a table's end mark.
inline constexpr uint32_t kEndMark = 65535;

enum class DataType : uint32_t {
  kChar = 0,
  kUint8 = 1,
  kUint16 = 2,
  kInt16 = 3,
  kUint32 = 4,
  kFloat = 5,
  kDouble = 6,
  kBits = 7,
  kDateTime = 8,
  kText = 9,
  kDefault = 10,  // text or number, stored as DefaultValue
  kEnum = 11,
  kFree = 12,  // quoted text or number, stored as FreeValue
};

// Groups of enumeration ids that a field's value must come from ("UNKNOWN" always may).
enum class EnumGroup : uint8_t {
  kAny,
  kDataType,
  kObjectType,
  kPointClass,
  kYesNo,
  kNoteKind,
  kHemisphere,
  kModel,
  kProjectionSet,
  kSkewAngle,
  kEdgeType,
  kSpecialProjection,
};

// The HEADER unit from which a value is converted to metres or radians when it is read.
enum class UnitKind : uint8_t { kNone, kAngular, kLinear, kGeographic };

// What a field is for telling the records of its block apart: a part of their key, or a second name
// that is as good.
enum class KeyRole : uint8_t { kNone, kPart, kIdentifier };

// The count of decimals with which a real is written; kGeneral is one decimal, and exponent form
// from 100000 on.
enum class DecimalKind : uint8_t { kGeneral, kAngular, kLinear, kGeographic };

// Offset of a field that is read and checked but not kept in its record.
inline constexpr uint16_t kNotKept = 65535;

// One field of a block. A table of fields ends with the number kEndMark and an empty name; members
// of the record that no column or item names follow as rows with an empty name in front of it.
struct FieldDef {
  FieldId id = 0;
  char name[kNameSize] = "";
  DataType type = DataType::kFree;
  uint8_t width = 0;  // text: buffer size with its end mark; bit field: number of bits; else 0
  uint16_t offset = kNotKept;  // of the member in the packed record
  EnumGroup group = EnumGroup::kAny;
  UnitKind unit = UnitKind::kNone;
  DecimalKind decimals = DecimalKind::kGeneral;
  const char* member = "";              // name in the record's structure
  UnitKind fileUnit = UnitKind::kNone;  // of a value that is delivered as the file has it
  KeyRole role = KeyRole::kNone;
  FieldId refers = 0;  // number of the key field whose values it repeats; 0: no reference

  // Modifiers for the rows of a constant table.
  constexpr FieldDef in(EnumGroup value) const;
  constexpr FieldDef with(DecimalKind value) const;
  constexpr FieldDef from(UnitKind value) const;
  constexpr FieldDef keeping(UnitKind value) const;
  constexpr FieldDef key() const;
  constexpr FieldDef identifying() const;
  constexpr FieldDef to(FieldId value) const;
};

constexpr FieldDef FieldDef::in(EnumGroup value) const {
  FieldDef copy = *this;
  copy.group = value;
  return copy;
}

constexpr FieldDef FieldDef::with(DecimalKind value) const {
  FieldDef copy = *this;
  copy.decimals = value;
  return copy;
}

// Converted from that unit, and so written with the decimals of the same kind.
constexpr FieldDef FieldDef::from(UnitKind value) const {
  FieldDef copy = *this;
  copy.unit = value;
  copy.decimals = value == UnitKind::kAngular  ? DecimalKind::kAngular
                  : value == UnitKind::kLinear ? DecimalKind::kLinear
                                               : DecimalKind::kGeographic;
  return copy;
}

// Delivered in that unit of the file.
constexpr FieldDef FieldDef::keeping(UnitKind value) const {
  FieldDef copy = *this;
  copy.fileUnit = value;
  return copy;
}

constexpr FieldDef FieldDef::key() const {
  FieldDef copy = *this;
  copy.role = KeyRole::kPart;
  return copy;
}

constexpr FieldDef FieldDef::identifying() const {
  FieldDef copy = *this;
  copy.role = KeyRole::kIdentifier;
  return copy;
}

// Names a record of the block whose key is that field.
constexpr FieldDef FieldDef::to(FieldId value) const {
  FieldDef copy = *this;
  copy.refers = value;
  return copy;
}

// Bytes that a value of the field takes in a record.
constexpr size_t storedSize(DataType type, uint8_t width) {
  switch (type) {
    case DataType::kChar:
    case DataType::kUint8:
      return 1;
    case DataType::kUint16:
    case DataType::kInt16:
      return 2;
    case DataType::kUint32:
    case DataType::kFloat:
    case DataType::kEnum:
      return 4;
    case DataType::kDouble:
      return 8;
    case DataType::kBits:
      return width / 8;
    case DataType::kDateTime:
      return sizeof(DateTime);
    case DataType::kText:
      return width;
    case DataType::kDefault:
      return sizeof(DefaultValue);
    case DataType::kFree:
      return sizeof(FreeValue);
  }
  return 0;
}

}  // namespace tavo::schema
