// Whole surveys: every record type is delivered, the callback can stop the run at every delivery,
// and nothing that a file may hold does harm.
#include <gtest/gtest.h>

#include <filesystem>
#include <random>
#include <set>
#include <sstream>

#include "schema/catalogue.h"
#include "schema/fields.h"
#include "sections/sections.h"
#include "support/analysis.h"
#include "support/survey.h"

namespace tavo::tests {
namespace {

TEST(Survey, EveryRecordTypeIsDelivered) {
  const Analysed result = analyse(kSurvey);
  EXPECT_EQ(result.findings, "");
  EXPECT_EQ(result.status, 0U);
  std::set<RecordType> types;
  std::istringstream lines(result.records);
  for (std::string line; std::getline(lines, line);) {
    types.insert(static_cast<RecordType>(std::stoul(line)));
  }
  for (RecordType type = 1; type <= schema::kLastRecordType; ++type) {
    const bool used =
        schema::recordDef(type).type != 0 && type != TVO_RECORD_TIME_TAGGED_CODES_COLUMNS;
    EXPECT_EQ(types.count(type), used ? 1U : 0U) << type;
  }
}

// The answer "aborted" ends the run with that delivery and its status. OPERATIONS alone, which
// stands last, does not look at it.
TEST(Survey, CallbackStopsTheRunAtEveryDelivery) {
  const Analysed whole = analyse(kSurvey);
  const size_t operations = whole.records.find("55(");
  size_t end = 0;
  for (uint64_t delivery = 1; delivery <= whole.counts.records; ++delivery) {
    SCOPED_TRACE(delivery);
    end = whole.records.find('\n', end) + 1;
    const Analysed cut = analyse(kSurvey, {65535, delivery});
    EXPECT_EQ(cut.findings, "");
    if (end <= operations) {
      EXPECT_EQ(cut.records, whole.records.substr(0, end));
      EXPECT_EQ(cut.status, TVO_ERR_ABORTED);
    } else {
      EXPECT_EQ(cut.records, whole.records);
      EXPECT_EQ(cut.status, 0U);
    }
  }
  // Errors before do not change the status, and the missing ENDs behind are not reported.
  const Analysed late = analyse("x\nDATABASE\nPOINTS (PointNo)\n1;\n", {9, 2});
  EXPECT_EQ(late.findings, "1 E2500 x\n");
  EXPECT_EQ(late.status, TVO_ERR_ABORTED);
}

// A text for the field that is not its zero, and what the harness shows of the member.
std::string sampleText(const schema::FieldDef& field) {
  using enum schema::DataType;
  switch (field.type) {
    case kBits:
      return "1" + std::string(field.width - 1U, '0');
    case kDateTime:
      return "01-02-2003/04:05:06.7";
    case kText:
    case kDefault:
      return "\"" + std::string(std::min<size_t>(field.width, 100) - 1, 'x') + "\"";
    case kEnum: {
      constexpr const char* kOfGroup[] = {"NAD27",  "INT",     "TIME",      "EST",
                                          "YES",    "NOTE4",   "SOUTH",     "MB",
                                          "STRICT", "ALPHA_C", "RADIATION", "DUTCH"};
      return kOfGroup[static_cast<size_t>(field.group)];
    }
    default:
      return "25";
  }
}

// One line with all columns of a block fills every member of its record and no byte between.
TEST(Survey, EveryFieldArrivesInItsRecord) {
  for (const schema::BlockDef& block : schema::blocks()) {
    if (block.layout.fields == nullptr || block.kind == schema::BlockKind::kItemLines) continue;
    for (const uint32_t parent : {block.parent, block.odd.alsoIn}) {
      if (parent == schema::kUnknownSection) continue;
      const std::string_view name = schema::keywordName(block.keyword);
      std::string text = std::string(name) + " (";
      std::string values;
      std::string members;
      std::string columns;
      int last = -1;
      for (const schema::FieldDef& field : schema::rows(block.layout.fields)) {
        const std::string comma = values.empty() ? "" : ",\n";
        text += comma + field.name;
        values += comma + sampleText(field);
        columns += (columns.empty() ? "" : " ") + std::string(field.name);
        if (field.offset != schema::kNotKept && field.offset != last)
          members += " " + std::string(field.name);
        last = field.offset;
      }
      text += ")\n" + values + ";\nEND " + std::string(name) + "\n";
      // Around it the blocks that it stands in, with empty definitions where they need one.
      for (uint32_t outer = parent;
           outer < schema::kKeywordCount && outer != schema::kUnknownSection;) {
        const std::string_view outerName = schema::keywordName(outer);
        const uint32_t above = schema::parentOf(outer);
        const schema::BlockDef& around = *schema::findBlock(above, outer);
        const bool defines = around.columns != 0 && around.kind != schema::BlockKind::kItemLines;
        text.insert(0, std::string(outerName) + (defines ? " (JobNo)\n" : "\n"));
        text.append("END ").append(outerName) += '\n';
        outer = above;
      }
      const Analysed result = analyse(text);
      SCOPED_TRACE(text);
      EXPECT_EQ(result.counts.errors, 0);
      const std::string head = std::to_string(block.columns) + "(" +
                               (block.columns == TVO_RECORD_MERCATOR_2_COLUMNS ? "" : columns);
      EXPECT_NE(result.records.find(head), std::string::npos) << result.records;
      const size_t at = result.records.find("\n" + std::to_string(block.data) + " ");
      ASSERT_NE(at, std::string::npos) << result.records;
      std::istringstream record(result.records.substr(at, result.records.find('\n', at + 1) - at));
      std::string shown;
      record >> shown;
      std::string names;
      while (record >> shown) {
        if (shown.find('=') != std::string::npos) names += " " + shown.substr(0, shown.find('='));
      }
      EXPECT_EQ(names, members);
    }
  }
}

// Reads a file with the section readers alone and notes findings instead of writing them.
class Reading final : public reader::FindingObserver {
 public:
  void run(const char* path) {
    reader::OperationColumns columns;
    reader::Run run({&count, this}, &columns);
    ASSERT_TRUE(run.source.open(path));
    ASSERT_TRUE(run.diagnostics.open("survey.log", 65535, this));
    EXPECT_EQ(sections::readSections(run), reader::Step::kEndOfInput);
  }
  void onFinding(const reader::Finding& finding) override {
    findings += std::to_string(finding.line.number) + " " + std::to_string(finding.number) + " " +
                std::string(finding.text) + "\n";
  }

  std::string findings;
  uint64_t bytes = 0;  // a sum over what was delivered

 private:
  static uint32_t count(void* context, const reader::DeliveredRecord& record) {
    auto* const self = static_cast<Reading*>(context);
    const RecordType type = record.type;
    const auto* const bytes = static_cast<const uint8_t*>(record.bytes);
    self->bytes += type;
    // The pointer to the entries differs from run to run.
    const size_t size = type == TVO_RECORD_TIME_TAGGED_CODES ? 23 : schema::recordDef(type).size;
    for (size_t i = 0; i < size; ++i) self->bytes += bytes[i] * (i + 1);
    return 0;
  }
};

// With CR LF line ends a text has the same findings and records.
void expectSameWithCarriageReturns(const std::string& text) {
  std::string windows;
  for (const char c : text) windows += c == '\n' ? std::string("\r\n") : std::string(1, c);
  Reading first;
  writeFile("survey.input", text);
  first.run("survey.input");
  Reading second;
  writeFile("survey.input", windows);
  second.run("survey.input");
  ASSERT_EQ(first.findings, second.findings) << text;
  ASSERT_EQ(first.bytes, second.bytes) << text;
}

TEST(Survey, PrefixesAreReadToTheirEnd) {
  writeFile("survey.input", kSurvey);
  for (size_t size = sizeof kSurvey - 1; size > 0; --size) {
    // About half of the line ends and one place in 41: enough, and quick.
    if (size % 41 != 0 && (kSurvey[size - 1] != '\n' || size % 2 != 0)) continue;
    std::filesystem::resize_file("survey.input", size);
    Reading reading;
    reading.run("survey.input");
    // The only mistake of a prefix that ends with a line is that ENDs are missing.
    if (kSurvey[size - 1] != '\n') continue;
    std::istringstream lines(reading.findings);
    for (std::string line; std::getline(lines, line);) {
      EXPECT_NE(line.find(" 2012 "), std::string::npos) << size << ": " << line;
    }
  }
}

TEST(Survey, MutationsDoNoHarm) {
  std::mt19937 random(20260101);
  const auto below = [&](size_t n) { return static_cast<size_t>(random() % n); };
  constexpr char kBytes[] = "\0\x1a\n\t ;,\"'\\()0159.-+eEXD\xff";
  for (int round = 0; round < 30; ++round) {
    std::string text = kSurvey;
    for (size_t changes = 1 + below(20); changes > 0; --changes) {
      const size_t at = below(text.size());
      const size_t other = below(text.size());
      switch (below(4)) {
        case 0:
          text[at] = kBytes[below(sizeof kBytes - 1)];
          break;
        case 1:
          text.erase(at, 1 + below(40));
          break;
        case 2:
          text.insert(at, text.substr(other, below(200)));
          break;
        default:
          text.insert(at, below(300), kBytes[below(sizeof kBytes - 1)]);
      }
    }
    expectSameWithCarriageReturns(text);
  }
}

}  // namespace
}  // namespace tavo::tests
