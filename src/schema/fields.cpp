// Walks through field tables.
#include "schema/fields.h"

#include <algorithm>
#include <cstring>

namespace tavo::schema {

int FindField(const FieldDef* table, std::string_view name, FieldDef* field) {
  for (size_t i = 0; i < kMaxLookups && table[i].id != kEndMark && !name.empty(); ++i) {
    if (name == table[i].name) {
      *field = table[i];
      return kFound;
    }
  }
  *field = FieldDef{};
  memcpy(field->name, name.data(), std::min(name.size(), kNameSize - 1));
  return kNotFound;
}

const FieldDef* findId(const FieldDef* table, FieldId id) {
  for (; table->id != kEndMark; ++table) {
    if (table->id == id && table->name[0] != '\0') return table;
  }
  return nullptr;
}

uint64_t bitOf(const FieldDef* table, FieldId id) {
  const FieldDef* const row = findId(table, id);
  return row == nullptr ? 0 : uint64_t{1} << (row - table);
}

const FieldDef* findOffset(const FieldDef* table, uint16_t offset) {
  for (; table->id != kEndMark; ++table) {
    if (table->offset == offset) return table;
  }
  return nullptr;
}

ColumnsRecord columnsRecord(std::span<const FieldId> fields) {
  ColumnsRecord record = {};
  char* const list = reinterpret_cast<char*>(&record) + offsetof(ColumnsRecord, fields);
  constexpr FieldId kEndOfList = TVO_FIELD_End;
  const size_t size = std::min(fields.size(), kMaxListed) * sizeof(FieldId);
  memcpy(list, fields.data(), size);
  memcpy(list + size, &kEndOfList, sizeof kEndOfList);
  return record;
}

std::span<const FieldDef> rows(const FieldDef* table) {
  size_t n = 0;
  while (table[n].id != kEndMark) ++n;
  return {table, n};
}

}  // namespace tavo::schema
