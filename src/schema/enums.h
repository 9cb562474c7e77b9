// Enumeration keywords and operations: their tables, lookups, and the groups of values that a field
// of enumeration type may take.
#pragma once

#include <cstdint>
#include <string_view>

#include "schema/types.h"

namespace tavo::schema {

struct EnumEntry {
  EnumId id;
  char name[31];
};

// "USER" stands three times, once in each unit group; a lookup by name finds the first, 4.
extern const EnumEntry EnumTable[];

// Exact, case-significant lookup. Not found: status 11 and 1009 ("UNKNOWN").
int FindEnum(std::string_view name, EnumId* id);

// Name of an id; an unknown id gives "UNKNOWN" and status 2570.
int EnumName(EnumId id, std::string_view* name);

// Whether the value belongs to the group; TVO_ENUM_UNKNOWN belongs to every group.
bool inGroup(EnumGroup group, EnumId value);

// Number of the operation that a failed lookup yields; its table name is spelled "UKNOWN".
inline constexpr uint32_t kUnknownOperation = 12;

struct Operation {
  uint32_t id;
  char name[31];
  uint8_t points;     // points that its points line lists
  bool hasParameter;  // a size follows its name
};
extern const Operation OperationTable[];

// Exact, case-significant lookup. Not found: status 11 and number 12. The entry "UKNOWN" is found.
int FindOperation(std::string_view name, uint32_t* operation);

// The row of an operation number, or null.
const Operation* operation(uint32_t number);

// Name of an operation number; a number without an entry gives "UNKNOWN" and status 2570.
int OperationName(uint32_t operation, std::string_view* name);

}  // namespace tavo::schema
