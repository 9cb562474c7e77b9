// Records as JSON, with the names of the format's tables and every value in a stated unit.
#pragma once

#include <array>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "json.h"
#include "tavo/survey.h"

namespace tavo::tool {

// A value out of a packed record, where it need not be aligned.
template <class T>
T load(const char* bytes) {
  T value;
  std::memcpy(&value, bytes, sizeof value);
  return value;
}

// A text of a record up to its end mark, as the file has it. It lives as long as the record.
inline std::string_view textOf(const char* text, size_t room) {
  return {text, strnlen(text, room)};
}
template <size_t N>
std::string_view textOf(const char (&text)[N]) {
  return textOf(text, N);
}

// A record among those of its type: its bytes, and its value.
inline const char* recordAt(const tavo_records& records, size_t index) {
  return static_cast<const char*>(records.bytes) + index * records.size;
}
template <class Record>
Record recordAt(const tavo_records& records, size_t index) {
  return load<Record>(recordAt(records, index));
}

// "DATABASE/POINTS/THEMINFO"; "" for null.
std::string blockPath(const tavo_schema_block* block);

// "POINTS", "POINTS columns", "OPERATIONS points".
std::string recordName(uint32_t type);
// The same, with the block around it where several blocks have one keyword: "LINES/EDGES".
std::string uniqueName(uint32_t type);
// What is wrong in a data file, with the record and block that it is about.
Json findingJson(const tavo_store_finding& finding);
// Whether it belongs to a HEADER or a block in one.
bool isHeader(uint32_t type);

// The double with the shortest decimal form that still names the float, so that 1.31 shows as such.
double shortest(float value);

// Whether a date is none at all, and whether a calendar has it.
bool isNone(const DateTime& date);
bool isPossible(const DateTime& date);
// "2024-09-17T07:42:29.60"; a date that no calendar has as text, "2024-02-30/10:00:00.0"; null for
// an empty one.
Json dateJson(const DateTime& date);

// {"angular": "GRADS", "linear": "METRE", ...}, factors and offsets where there are some.
Json unitsJson(const tavo_units& units);

// A field's value, `at` being its member: lengths and angles by units in those of the file, or with
// si in metres and radians. Null where the record has none.
Json valueJson(const tavo_schema_field& field, const char* at, const tavo_units& units, bool si);
// The same as the record keeps it.
Json valueJson(const tavo_schema_field& field, const char* at);

// What converting to a unit and back has cost the last digits of a real is gone.
double withoutNoise(double value, int digits = 14);

class RecordPrinter {
 public:
  enum class Order {
    kText,      // a block's columns record stands directly before its data records
    kDataFile,  // all columns records of a type stand before all data records
  };
  // The units of lengths and angles: those of the file, or metres and radians.
  enum class Values { kFile, kSi };

  // With allFields fields that no columns record declared are shown, too.
  RecordPrinter(Order order, Values values, bool allFields)
      : order_(order), values_(values), allFields_(allFields), units_(*tavo_default_units()) {}

  // Shape: {"type", "name", "block"} and one of "columns" (with "comment" where there is one),
  // "fields" or "points". Records are given in the order of their delivery.
  Json print(uint32_t type, const void* record);

  // The value of a field at its place in a record.
  Json value(const tavo_schema_field& field, const char* at) const;
  // In force behind the records so far.
  const tavo_units& units() const { return units_; }

 private:
  static constexpr size_t kTypes = 256;

  Json columns(uint32_t type, const char* record);
  Json fields(uint32_t type, const char* record) const;

  Order order_;
  Values values_;
  bool allFields_;
  tavo_units units_;
  ColumnsRecord headerColumns_{};  // the latest columns record of UNITS or OFFSETS
  // Per columns record type what it declared. A type that is not there shows all fields.
  std::array<std::vector<FieldId>, kTypes> declared_;
  std::array<bool, kTypes> known_{};
};

}  // namespace tavo::tool
