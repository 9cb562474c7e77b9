// A text analysed into records with presence, lines and blocks, as geometry and reference systems
// see a survey, and PROJ as their judge where the build has it.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <deque>
#include <map>
#include <string>
#include <vector>

#include "reader/run.h"
#include "sections/sections.h"
#include "support/analysis.h"
#include "survey/view.h"

namespace tavo::tests {

class Surveyed {
 public:
  explicit Surveyed(const std::string& text) {
    writeFile("survey.input", text);
    reader::OperationColumns operations;
    reader::Run run({&take, this, true}, &operations);
    run_ = &run;
    const bool opened = run.diagnostics.open("survey.log", 100, nullptr);
    EXPECT_TRUE(opened && run.source.open("survey.input"));
    sections::readSections(run);
    EXPECT_EQ(run.diagnostics.errorCount(), 0u) << text;
    finish();
  }
  Surveyed(const Surveyed&) = delete;
  Surveyed& operator=(const Surveyed&) = delete;

  survey::SurveyView view() const { return {types_, blocks_}; }

 private:
  struct Records {
    std::vector<uint8_t> bytes;
    std::vector<uint64_t> lines, given;
  };

  static uint32_t take(void* context, const reader::DeliveredRecord& record) {
    static_cast<Surveyed*>(context)->add(record);
    return 0;
  }

  void add(const reader::DeliveredRecord& record) {
    const schema::RecordDef& def = schema::recordDef(record.type);
    if (def.columns) {
      std::vector<FieldId>& columns = columns_[record.block];
      FieldId id = 0;
      for (size_t i = offsetof(ColumnsRecord, fields); id != TVO_FIELD_End; i += sizeof id) {
        memcpy(&id, static_cast<const uint8_t*>(record.bytes) + i, sizeof id);
        if (id != TVO_FIELD_End) columns.push_back(id);
      }
      return;
    }
    Records& records = records_[record.type];
    const auto* const bytes = static_cast<const uint8_t*>(record.bytes);
    if (blocks_.empty() || numbers_.back() != record.block ||
        blocks_.back().data_type != record.type) {
      const schema::Units& units = run_->settings.units;
      units_.push_back({units.angular, units.linear, units.geographic, units.temperature,
                        units.pressure, units.dateOrder, units.angularFactor, units.linearFactor,
                        units.geographicFactor, units.east, units.north, units.elevation});
      const std::vector<FieldId>& columns = columns_[record.block];
      blocks_.push_back({def.block->columns, record.type, records.lines.size(), 0, nullptr,
                         columns.data(), columns.size(), 0, record.line, &units_.back()});
      numbers_.push_back(record.block);
    }
    ++blocks_.back().count;
    records.bytes.insert(records.bytes.end(), bytes, bytes + def.size);
    records.lines.push_back(record.line);
    records.given.push_back(record.given);
  }

  void finish() {
    for (uint32_t type = 0; type < types_.size(); ++type) {
      const Records& records = records_[type];
      types_[type] = {type,
                      schema::recordDef(type).size,
                      records.lines.size(),
                      records.bytes.data(),
                      records.lines.data(),
                      records.given.data()};
    }
  }

  const reader::Run* run_ = nullptr;
  std::map<RecordType, Records> records_;
  std::map<uint32_t, std::vector<FieldId>> columns_;
  std::deque<tavo_units> units_;
  std::vector<tavo_block> blocks_;
  std::vector<uint32_t> numbers_;
  std::array<tavo_records, schema::kRecordTypes> types_{};
};

// All texts of findings, one a line: "note ..." or "warning ...", behind the line of the file.
template <class Findings>
std::string saidOf(const Findings& findings) {
  std::string all;
  for (const auto& finding : findings) {
    all += (finding.kind == TAVO_NOTE ? "note " : "warning ") + std::to_string(finding.line) +
           ": " + finding.text + "\n";
  }
  return all;
}

}  // namespace tavo::tests
