// Lookups in the field tables that the catalogue's rows name. Readers, store and writers all use
// them.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "schema/types.h"

namespace tavo::schema {

// Looks a name up in a table that ends with kEndMark. Not found: status 11 and a copy with id 0,
// the name and type kFree.
int FindField(const FieldDef* table, std::string_view name, FieldDef* field);

// The row of a field id in a table, or null.
const FieldDef* findId(const FieldDef* table, FieldId id);

// A field's bit in a set of fields: its place in the table; none for a field that the table does
// not have.
uint64_t bitOf(const FieldDef* table, FieldId id);
static_assert(kMaxMembers <= 64);

// The first row whose value lies at the offset of the record, or null.
const FieldDef* findOffset(const FieldDef* table, uint16_t offset);

// A columns record that lists the fields, at most kMaxListed.
ColumnsRecord columnsRecord(std::span<const FieldId> fields);

// Every row of a table but its end mark, also those of empty name, which stand for members that no
// column or item reaches: to be walked by the store and by printers.
std::span<const FieldDef> rows(const FieldDef* table);

}  // namespace tavo::schema
