// Field tables and record layouts: one table per record structure gives each field's name, number,
// type, place in the packed record, unit and written form. Readers, store and writers all use it.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "schema/types.h"

namespace tavo::schema {

inline constexpr uint32_t kLastRecordType = 107;
// Room for any data record that has a field table.
inline constexpr size_t kRecordRoom = 640;

// How the bytes of a record type are laid out. All columns records have the same layout.
struct RecordDef {
  RecordType type = 0;               // 0: the number is not used
  uint16_t size = 0;                 // bytes of the packed structure
  bool columns = false;              // a ColumnsRecord; fields then describes its block's columns
  const FieldDef* fields = nullptr;  // ends with kEndMark; null where no field table exists
};

// The entry of a record type, with type 0 for a number that is not used or out of range.
const RecordDef& recordDef(RecordType type);

// Looks a name up in a table that ends with kEndMark. Not found: status 11 and a copy with id 0,
// the name and type kFree.
int FindField(const FieldDef* table, std::string_view name, FieldDef* field);

// FindField in the table that a columns record type's definition line is checked against. Status 2
// for a record type without a table.
int FieldTableFor(RecordType columns, std::string_view name, FieldDef* field);

// The table of FieldTableFor, or null. MERCATOR_2 (99) is checked against MERCATOR's, on purpose.
const FieldDef* definitionTable(RecordType columns);

// The row of a field id in a table, or null.
const FieldDef* findId(const FieldDef* table, FieldId id);

// The row's value in a record, or the members of it that no name reaches (rows of empty name):
// every row of a table but its end mark, to be walked by the store and by printers.
std::span<const FieldDef> rows(const FieldDef* table);

}  // namespace tavo::schema
