// Reads every NAME.tvo of this folder and compares with the files beside it: NAME.log, the log to
// the byte, and NAME.jsonl, the records as `tavo dump` prints them. No number in them may be none,
// and members that are not declared stay zero.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <sstream>

#include "record_json.h"
#include "support/analysis.h"

namespace tavo::tests {
namespace {

namespace fs = std::filesystem;
using tool::Json;
using tool::RecordPrinter;

bool allFinite(const Json& value) {
  if (value.is_number_float()) return std::isfinite(value.get<double>());
  return !value.is_structured() || std::all_of(value.begin(), value.end(), allFinite);
}

// The value of a member that is all zero; DMS is the angular unit 0.
bool isZero(const Json& value) {
  if (value.is_number()) return value == 0;
  return value.is_null() || value == "DMS" ||
         (value.is_string() &&
          value.get<std::string>().find_first_not_of('0') == std::string::npos);
}

struct Outcome {
  std::string log;
  std::string records;
  uint16_t errors = 0;

  static uint32_t deliver(void* context, const reader::DeliveredRecord& record) {
    auto* const self = static_cast<Outcome*>(context);
    const RecordType type = record.type;
    const Json line = self->declared_.print(type, record.bytes);
    self->records += line.dump() + '\n';
    SCOPED_TRACE(self->records);
    const Json all = self->all_.print(type, record.bytes);
    // JSON has no word for infinity, so that the line would not show it.
    EXPECT_TRUE(allFinite(all));
    if (line.contains("columns")) self->full_ = line["columns"].size() == TVO_COLUMNS_ROOM - 1;
    // EXTRAINFO that comes late fills members that no list names, and so does a list without room.
    const bool held =
        type == TVO_RECORD_POINTS || type == TVO_RECORD_LINES || type == TVO_RECORD_POLYGONS;
    if (!all.contains("fields") || held || self->full_) return TVO_OK;
    for (const auto& [name, value] : all["fields"].items()) {
      EXPECT_TRUE(line["fields"].contains(name) || isZero(value)) << name << " is not declared";
    }
    return TVO_OK;
  }

 private:
  RecordPrinter declared_{RecordPrinter::Order::kText, false};
  RecordPrinter all_{RecordPrinter::Order::kText, true};
  bool full_ = false;  // the last list of columns
};

class Cases : public testing::Test {
 protected:
  // The last line of a log names the survey, so it is read from its folder.
  Cases() { fs::current_path(TAVO_CASES_DIR); }
  ~Cases() override { fs::current_path(scratch_); }

  static std::vector<fs::path> surveys() {
    std::vector<fs::path> names;
    for (const fs::directory_entry& entry : fs::directory_iterator(".")) {
      if (entry.path().extension() == ".tvo") names.push_back(entry.path().filename());
    }
    EXPECT_FALSE(names.empty());
    return names;
  }

  // A survey may ask for an error limit in its first comment.
  Outcome read(const fs::path& survey) const {
    const std::string name = survey.string();
    uint16_t limit = UINT16_MAX;
    std::sscanf(readFile(name.c_str()).c_str(), "; limit=%hu", &limit);
    return readUpTo(limit, name);
  }

  Outcome readUpTo(uint16_t limit, const std::string& name) const {
    const std::string logPath = (scratch_ / "case.log").string();
    Outcome outcome;
    api::AnalysisRequest request;
    request.inputPath = name.c_str();
    request.logPath = logPath.c_str();
    request.maxErrors = limit;
    request.sink = {&Outcome::deliver, &outcome};
    api::AnalysisCounts counts;
    // An instance of its own: the point columns of operations outlive an analysis.
    const uint32_t status = api::Library().analyse(request, &counts);
    EXPECT_EQ(status, counts.errors > 0 ? uint32_t{TVO_ERR_ERRORS_FOUND} : uint32_t{TVO_OK});
    outcome.errors = counts.errors;
    outcome.log = readFile(logPath.c_str());
#ifdef _WIN32
    for (size_t at = 0; (at = outcome.log.find("\r\n", at)) != outcome.log.npos;) {
      outcome.log.erase(at, 1);
    }
#endif
    return outcome;
  }

 private:
  fs::path scratch_ = fs::current_path();
};

TEST_F(Cases, SurveysGiveTheLogsAndRecordsBesideThem) {
  for (fs::path path : surveys()) {
    SCOPED_TRACE(path.string());
    const Outcome outcome = read(path);
    const std::string log = path.replace_extension(".log").string();
    const std::string records = path.replace_extension(".jsonl").string();
    if (std::getenv("TAVO_WRITE_CASES") != nullptr) {
      writeFile(log.c_str(), outcome.log);
      writeFile(records.c_str(), outcome.records);
    }
    EXPECT_EQ(readFile(log.c_str()), outcome.log);
    EXPECT_EQ(readFile(records.c_str()), outcome.records);
  }
}

// The findings of a log, without its summary.
std::vector<std::string> findingsOf(const Outcome& outcome) {
  std::istringstream stream(outcome.log);
  std::vector<std::string> lines;
  for (std::string line; std::getline(stream, line) && !line.empty();) lines.push_back(line);
  return lines;
}

// A lower error limit leaves the log as it is up to the limit's last error. Behind that only
// warnings and notes come, and only some of them, since most readers stop.
TEST_F(Cases, ErrorLimitsCutTheLogs) {
  for (const fs::path& path : surveys()) {
    SCOPED_TRACE(path.string());
    const Outcome outcome = read(path);
    const std::vector<std::string> whole = findingsOf(outcome);
    for (uint16_t limit = 0; limit < outcome.errors; ++limit) {
      SCOPED_TRACE("limit " + std::to_string(limit));
      const Outcome cut = readUpTo(limit, path.string());
      EXPECT_EQ(cut.errors, limit);
      auto at = whole.begin();
      int errors = 0;
      for (const std::string& line : findingsOf(cut)) {
        if (errors == limit) at = std::find(at, whole.end(), line);
        ASSERT_TRUE(at != whole.end() && *at == line) << line;
        errors += line.find(" : error E") != line.npos ? 1 : 0;
        ++at;
      }
    }
  }
}

}  // namespace
}  // namespace tavo::tests
