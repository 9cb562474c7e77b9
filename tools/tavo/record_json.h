// Records as JSON, with the names of the format's tables.
#pragma once

#include <array>
#include <nlohmann/json.hpp>
#include <vector>

#include "schema/catalogue.h"

namespace tavo::tool {

using Json = nlohmann::ordered_json;

// The value in one line. Control characters are written as escapes, those above 126, too, so that a
// terminal never sees one.
std::string oneLine(const Json& value);

// "POINTS", "POINTS columns", "OPERATIONS points".
std::string recordName(RecordType type);

// "0100-02-03T04:05:06.70", or null for an empty date-time.
Json dateJson(const DateTime& date);

class RecordPrinter {
 public:
  enum class Order {
    kText,      // a block's columns record stands directly before its data records
    kDataFile,  // all columns records of a type stand before all data records
  };

  // With allFields fields that no columns record declared are shown, too.
  RecordPrinter(Order order, bool allFields) : order_(order), allFields_(allFields) {}

  // Shape: {"type", "name", "block"} and one of "columns" (with "comment" where there is one),
  // "fields" or "points". Records are given in the order of their delivery.
  Json print(RecordType type, const void* record);

 private:
  Json columns(RecordType type, const char* record);
  Json fields(RecordType type, const char* record) const;

  Order order_;
  bool allFields_;
  // Per columns record type what it declared. A type that is not there shows all fields.
  std::array<std::vector<FieldId>, schema::kRecordTypes> declared_;
  std::array<bool, schema::kRecordTypes> known_{};
};

}  // namespace tavo::tool
