// What geometry and reference systems see of a survey: its records by type with presence and
// lines, its blocks with the units in force, and the findings that they report on it.
#pragma once

#include <cstring>
#include <limits>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "schema/bytes.h"
#include "schema/catalogue.h"
#include "schema/fields.h"
#include "survey/units.h"

namespace tavo::survey {

// What is not known of a place or an observation.
inline constexpr double kUnknown = std::numeric_limits<double>::quiet_NaN();

struct SurveyView {
  std::span<const tavo_records> types;  // by record type
  std::span<const tavo_block> blocks;   // in file order

  const tavo_records& of(RecordType type) const { return types[type]; }
};

// A finding on the record in this place among those of its type.
struct GeometryFinding {
  uint32_t kind = TAVO_NOTE;
  RecordType type = 0;
  size_t index = 0;
  uint64_t line = 0;
  std::string text;
  uint32_t cause = TAVO_GEOMETRY_OTHER;
};

// Collects findings; those on one thing are said once.
class GeometryFindings {
 public:
  explicit GeometryFindings(const SurveyView& view) : view_(view) {}

  void note(RecordType type, size_t index, std::string text) {
    add(TAVO_NOTE, type, index, std::move(text), TAVO_GEOMETRY_OTHER);
  }
  void warn(RecordType type, size_t index, std::string text, uint32_t cause = TAVO_GEOMETRY_OTHER) {
    add(TAVO_WARNING, type, index, std::move(text), cause);
  }
  const std::vector<GeometryFinding>& all() const { return all_; }

 private:
  void add(uint32_t kind, RecordType type, size_t index, std::string text, uint32_t cause) {
    const tavo_records& records = view_.of(type);
    const uint64_t line = index < records.count ? records.lines[index] : 0;
    all_.push_back({kind, type, index, line, std::move(text), cause});
  }

  SurveyView view_;
  std::vector<GeometryFinding> all_;
};

// The bit of a field in the presence of its record type.
inline tavo_given givenBit(RecordType type, FieldId id) {
  return schema::bitOf(schema::recordDef(type).fields, id);
}

// Record `index` of its type; Record is the type's structure.
template <class Record>
Record recordAt(const tavo_records& records, size_t index) {
  return schema::load<Record>(static_cast<const uint8_t*>(records.bytes) + index * sizeof(Record));
}

// The 32-bit member at an offset of record `index` of its type.
inline uint32_t numberAt(const tavo_records& records, size_t index, size_t offset) {
  return schema::load<uint32_t>(static_cast<const uint8_t*>(records.bytes) + index * records.size +
                                offset);
}

// A text member up to its end mark.
template <size_t N>
std::string_view textOf(const char (&member)[N]) {
  return {member, strnlen(member, N)};
}

}  // namespace tavo::survey
