// Texts built from surveys in memory and from a host's source.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "schema/catalogue.h"
#include "support/analysis.h"
#include "survey/handles.h"
#include "tavo/tavo.h"

namespace tavo::tests {
namespace {

namespace fs = std::filesystem;

std::vector<std::string> allSurveys() {
  std::vector<std::string> paths;
  for (const char* const folder : {TAVO_CASES_DIR, TAVO_EXAMPLES_DIR}) {
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
      if (entry.path().extension() == ".tvo") paths.push_back(entry.path().string());
    }
  }
  return paths;
}

// What no text can give back: the sizes of operations, which records do not carry, items that a
// HEADER has twice, quotes as separators, and an enumeration that no line gave.
bool isLossy(const std::string& path) {
  return std::ranges::any_of(
      std::initializer_list<const char*>{"operations", "header-ends", "header-quote",
                                         "header-separator-in", "extrainfo-bad-lines"},
      [&](const char* name) { return path.find(name) != path.npos; });
}

// What is built is sound, holds as many records as the survey, and builds itself again.
TEST(SurveyBuild, EverySurveyBuildsATextThatGivesItBack) {
  const std::vector<std::string> all = allSurveys();
  ASSERT_GT(all.size(), 50U);
  for (const std::string& path : all) {
    SCOPED_TRACE(path);
    const SurveyHandle survey = readSurvey(readFile(path.c_str()));
    ASSERT_NE(survey, nullptr);
    const std::string first = buildText(survey.get());
    if (tavo_survey_block_count(survey.get()) == 0 || isLossy(path)) continue;
    tavo_status status = TAVO_ERR_ARGUMENT;
    const SurveyHandle again = readSurvey(first, &status);
    EXPECT_EQ(status, uint32_t{TAVO_OK}) << findingsOf(again.get()) << first;
    EXPECT_EQ(findingsOf(again.get()), "") << first;
    EXPECT_EQ(buildText(again.get()), first);
    for (uint32_t type = 0; type < 256; ++type) {
      // Sections without a columns record of their own get one, and idle columns records go.
      if (schema::recordDef(type).columns) continue;
      EXPECT_EQ(tavo_survey_records(again.get(), type)->count,
                tavo_survey_records(survey.get(), type)->count)
          << type;
    }
  }
}

// Delivers jobs by number, forward and backward.
uint32_t deliverJob(uint32_t move, tavo_record* record, void* user) {
  static const ColumnsRecord columns = {{}, {TVO_FIELD_JobNo, TVO_FIELD_End}};
  static JobRecord job;
  int& at = *static_cast<int*>(user);
  at = move == TVO_FIRST ? 0 : move == TVO_NEXT ? at + 1 : at - 1;
  if (at < 0 || at > 3) return TVO_ERR_STORE;
  record->type = at == 0 ? TVO_RECORD_JOBS_COLUMNS : TVO_RECORD_JOBS;
  record->bytes = at == 0 ? static_cast<const void*>(&columns) : &job;
  job.JobNo = static_cast<uint16_t>(9 * at);
  return TVO_OK;
}

TEST(SurveyBuild, AHostsSourceWritesToEveryTarget) {
  int at = 0;
  std::string written;
  char* memory = nullptr;
  size_t size = 0;
  tavo_target targets[3] = {TAVO_TARGET_INIT, TAVO_TARGET_INIT, TAVO_TARGET_INIT};
  targets[0].path = "build\xC3\xA9.tvo";
  targets[1].memory = &memory;
  targets[1].memory_size = &size;
  targets[2].user = &written;
  targets[2].write = [](const void* bytes, size_t count, void* user) {
    static_cast<std::string*>(user)->append(static_cast<const char*>(bytes), count);
    return 0;
  };
  tavo_build_options options = TAVO_BUILD_OPTIONS_INIT;
  options.align = 0;
  for (const tavo_target& target : targets) {
    EXPECT_EQ(tavo_build(&target, deliverJob, &at, &options), TAVO_OK);
  }
  EXPECT_EQ(written,
            "DATABASE\n  JOBS (JobNo)\n    9;\n    18;\n    27;\n  END JOBS\nEND DATABASE\n");
  EXPECT_EQ(std::string(memory, size), written);
  tavo_free(memory);
  tavo_input input = TAVO_INPUT_INIT;
  input.path = targets[0].path;
  tavo_survey* survey = nullptr;
  EXPECT_EQ(tavo_survey_read(&survey, &input, nullptr), TAVO_OK);
  EXPECT_EQ(buildText(survey).substr(0, 10), written.substr(0, 10));
  tavo_survey_free(survey);

  // What fails leaves the file as it was.
  const auto fail = [](uint32_t, tavo_record*, void*) -> uint32_t { return TVO_ERR_ABORTED; };
  EXPECT_EQ(tavo_build(&targets[0], fail, nullptr, nullptr), uint32_t{TVO_ERR_ABORTED});
  EXPECT_EQ(tavo_survey_read(&survey, &input, nullptr), TAVO_OK);
  EXPECT_EQ(tavo_survey_records(survey, TVO_RECORD_JOBS)->count, 3U);
  tavo_survey_free(survey);
  targets[2].write = [](const void*, size_t, void*) { return 1; };
  EXPECT_EQ(tavo_build(&targets[2], deliverJob, &at, nullptr), uint32_t{TVO_ERR_WRITE});
}

}  // namespace
}  // namespace tavo::tests
