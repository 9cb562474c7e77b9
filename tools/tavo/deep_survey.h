// A survey as the rules of the deep check see it: its records by type, what defines and what refers
// to what, where things lie, and the findings that the rules draft on it.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "findings.h"
#include "geometry.h"
#include "interrupt.h"
#include "record_fields.h"
#include "verbs.h"

namespace tavo::tool {

// A record by its type and place among those of the type.
struct RecordAt {
  uint32_t type;
  size_t index;
};

// A finding whose place in the text is still to be looked up.
struct Draft {
  uint32_t rule;
  RecordAt record;  // type 0: the survey as a whole
  FieldId field;    // the value that it is about; 0: the whole line
  std::string detail;
  std::optional<Position> position;  // where it is not the record's own
};

// What a field by which others refer defines: the first record of each number, or of each text.
struct Definitions {
  std::vector<uint32_t> types;  // of the blocks that define it
  std::unordered_map<uint32_t, RecordAt> numbers;
  std::unordered_map<std::string_view, RecordAt> texts;

  const RecordAt* find(const tavo_schema_field& field, const void* record) const;
};

class DeepSurvey {
 public:
  DeepSurvey(const tavo_survey* survey, const RuleSettings& settings);

  const tavo_survey* survey() const { return survey_; }
  const tavo_geometry* geometry() const { return geometry_.get(); }

  // TAVO_NOTE, TAVO_WARNING, TAVO_ERROR or kOff.
  uint32_t severity(uint32_t rule) const;
  // Drafts a finding unless its rule is off; its place among the drafts, or SIZE_MAX.
  size_t find(uint32_t rule, RecordAt record, FieldId field, std::string detail,
              std::optional<Position> position = std::nullopt);
  std::vector<Draft>& drafts() { return drafts_; }

  // Record types that have a field table and records, in the format's order.
  const std::vector<uint32_t>& types() const { return types_; }
  const tavo_records& of(uint32_t type) const { return *tavo_survey_records(survey_, type); }
  // Nearly every step of every rule comes by here, so this is where an interruption ends them.
  const char* bytes(RecordAt at) const {
    throwIfInterrupted();
    return recordAt(of(at.type), at.index);
  }
  template <class Record>
  Record record(RecordAt at) const {
    return load<Record>(bytes(at));
  }
  // The own fields of a type's block, with their places.
  const std::vector<PlacedField>& fields(uint32_t type) const { return fields_.at(type); }
  bool given(RecordAt at, const PlacedField& field) const {
    return field.given(of(at.type).given[at.index]);
  }
  const tavo_block* blockOf(RecordAt at) const;

  // By the number of the key field.
  const Definitions& definitions(FieldId key) const;
  std::map<FieldId, Definitions>& allDefinitions() { return definitions_; }
  // The record that a reference leads to, by its number or else its identifier.
  const RecordAt* target(FieldId number, uint32_t value, FieldId id, std::string_view text) const;

  Owner ownerOf(RecordAt at) const;
  std::optional<Position> positionOf(RecordAt at) const;
  Position position(const tavo_position& at) const;

 private:
  void collectDefinitions();
  std::optional<Position> ownPosition(RecordAt at) const;

  const tavo_survey* survey_;
  const RuleSettings& settings_;
  Geometry geometry_;
  std::vector<uint32_t> types_;
  std::map<uint32_t, std::vector<PlacedField>> fields_;
  std::map<uint32_t, std::vector<const tavo_block*>> blocks_;
  std::map<FieldId, Definitions> definitions_;
  std::vector<Draft> drafts_;
};

// "17", or "\"T1\"" where there is no number.
std::string nameOf(uint32_t number, std::string_view id);

// The groups of rules.
void checkReferences(DeepSurvey& survey);
void checkShapes(DeepSurvey& survey);
void checkAttributes(DeepSurvey& survey);
void checkValues(DeepSurvey& survey);
void checkObservations(DeepSurvey& survey);

}  // namespace tavo::tool
