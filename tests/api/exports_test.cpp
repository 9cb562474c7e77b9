// The exported functions on the library-wide instance: calling order, the life of the data file,
// settings that survive, and calls that hosts get wrong.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>

#include "callbacks.h"
#include "support/analysis.h"
#include "tavo/records.h"
#include "tavo/tavo.h"

namespace tavo {
namespace {

using tests::ignore;
using tests::noRecord;
using tests::readFile;
using tests::writeFile;

const char kJobs[] =
    "DATABASE\n  JOBS (JobNo,Name)\n    1,  \"A1\";\n    2,  \"B2\";\n"
    "  END JOBS\nEND DATABASE\n";

uint32_t TVO_CALL refuse(uint32_t, const void*) { return 0x12340000U | TVO_ERR_ABORTED; }
uint32_t TVO_CALL throwing(uint32_t, const void*) { throw 1; }
uint16_t TVO_CALL throwingSource(uint32_t, uint32_t*, void**) { throw 1; }
uint16_t TVO_CALL aborted(uint32_t, uint32_t*, void**) { return TVO_ERR_ABORTED; }
uint16_t TVO_CALL unalign(uint32_t move, uint32_t* type, void** record) {
  TVO_SetColumns(0);
  return TVO_Read(move, type, record);
}

class Exports : public testing::Test {
 protected:
  void SetUp() override {
    TVO_CloseDataFile();
    ASSERT_EQ(TVO_SetDataFile("exports.dat"), TVO_OK);
    TVO_CloseDataFile();
    writeFile("jobs.tvo", kJobs);
  }
  void TearDown() override { TVO_CloseDataFile(); }

  static uint32_t analyse(const char* input, TVO_RecordSink callback, uint16_t maxErrors = 10) {
    uint16_t errors = 0;
    uint16_t warnings = 0;
    return TVO_Analyse(input, "exports.log", callback, maxErrors, &errors, &warnings);
  }
};

// There is one state for the whole library, a running build included.
TEST_F(Exports, SettingsHoldAtOnce) {
  writeFile("jobs.tvo", "DATABASE\nJOBS (JobNo)\n1;\n10;\nEND JOBS\nEND DATABASE\n");
  EXPECT_EQ(analyse("jobs.tvo", TVO_Write), TVO_OK);
  for (const auto& [callback, line] :
       {std::pair{&TVO_Read, "\n     1;"}, std::pair{&unalign, "\n    1;"}}) {
    TVO_SetColumns(1);
    EXPECT_EQ(TVO_Build("built.tvo", callback), TVO_OK);
    EXPECT_NE(readFile("built.tvo").find(line), std::string::npos) << line;
  }
  TVO_SetColumns(1);
}

TEST_F(Exports, TextGoesThroughTheStoreAndComesBack) {
  EXPECT_EQ(analyse("jobs.tvo", TVO_Write), TVO_OK);
  ASSERT_EQ(TVO_SetColumns(1), TVO_OK);
  EXPECT_EQ(TVO_Build("built.tvo", TVO_Read), TVO_OK);
  std::string built = readFile("built.tvo");
  std::erase(built, '\r');
  EXPECT_EQ(built, kJobs);
  // Both have closed the data file: the next read opens it again.
  uint32_t type = 0;
  void* record = nullptr;
  EXPECT_EQ(TVO_Read(TVO_LAST, &type, &record), TVO_OK);
  EXPECT_EQ(type, TVO_RECORD_JOBS);
  JobRecord job;
  std::memcpy(&job, record, sizeof job);
  EXPECT_STREQ(job.Name, "B2");
  std::strcpy(job.Name, "B3");
  EXPECT_EQ(TVO_Update(&job), TVO_OK);
  JobRecord found = {};
  EXPECT_EQ(TVO_Find(TVO_RECORD_JOBS, &found), TVO_OK);
  EXPECT_STREQ(found.Name, "A1");
  EXPECT_EQ(TVO_Delete(&found), TVO_OK);
  EXPECT_EQ(TVO_Read(TVO_CURRENT, &type, &record), TVO_ERR_STORE);
  EXPECT_EQ(TVO_Read(TVO_LAST, &type, &record), TVO_OK);
  EXPECT_STREQ(static_cast<JobRecord*>(record)->Name, "B3");
}

TEST_F(Exports, DataFileIsOpenedAndReplacedAsTheCallsDemand) {
  JobRecord job = {};
  job.JobNo = 5;
  EXPECT_EQ(TVO_Write(TVO_RECORD_JOBS, &job), TVO_OK);
  EXPECT_EQ(TVO_SetDataFile("other.dat"), TVO_ERR_DATA_FILE_OPEN);
  EXPECT_EQ(TVO_OpenDataFile("exports.dat"), TVO_OK);  // still open: nothing happens
  EXPECT_EQ(TVO_CloseDataFile(), TVO_OK);
  EXPECT_EQ(TVO_Find(TVO_RECORD_JOBS, &job), TVO_OK);
  TVO_CloseDataFile();
  // A write on a closed file starts an empty one.
  EXPECT_EQ(TVO_Write(TVO_RECORD_SUBJECTS, &job), TVO_OK);
  EXPECT_EQ(TVO_CODE(TVO_Find(TVO_RECORD_JOBS, &job)), TVO_ERR_NOT_FOUND);
  EXPECT_EQ(TVO_CODE(TVO_OpenDataFile("missing.dat")), TVO_ERR_DATA_FILE);
  EXPECT_EQ(TVO_CODE(TVO_Find(TVO_RECORD_JOBS, &job)), TVO_ERR_DATA_FILE);
  EXPECT_EQ(TVO_Build("built.tvo", TVO_Read), TVO_ERR_NO_DATA_FILE);
  EXPECT_EQ(TVO_CODE(TVO_SetDataFile("no folder/x.dat")), TVO_ERR_OPEN);
}

TEST_F(Exports, AnalysisAnswersForItsFiles) {
  struct Case {
    const char* input;
    const char* log;
    uint32_t status;
  };
  writeFile("wrong.tvo", "rubbish\n");
  const Case cases[] = {
      {"jobs.tvo", "exports.log", TVO_OK},
      {"wrong.tvo", "exports.log", TVO_ERR_ERRORS_FOUND},
      {"missing.tvo", "exports.log", TVO_ERR_OPEN},
      {"jobs.tvo", "no folder/exports.log", TVO_ERR_OPEN},
      {".", "exports.log", TVO_ERR_OPEN},
      {"jobs.tvo", "jobs.tvo", TVO_ERR_OPEN},  // the log would destroy the input
      {nullptr, "exports.log", TVO_ERR_OPEN},
      {"jobs.tvo", nullptr, TVO_ERR_OPEN},
  };
  for (const Case& row : cases) {
    uint16_t errors = 77;
    EXPECT_EQ(TVO_Analyse(row.input, row.log, ignore, 10, &errors, nullptr), row.status)
        << (row.input ? row.input : "null") << " " << (row.log ? row.log : "null");
    EXPECT_EQ(errors, row.status == TVO_ERR_OPEN ? 77 : row.status == TVO_OK ? 0 : 1);
  }
  EXPECT_EQ(readFile("jobs.tvo"), kJobs);
  EXPECT_EQ(analyse("jobs.tvo", refuse), TVO_ERR_ABORTED);
  EXPECT_EQ(analyse("jobs.tvo", nullptr), TVO_OK);
  EXPECT_EQ(analyse("wrong.tvo", ignore, 0), TVO_OK);  // no error was counted
#if defined(__linux__)
  EXPECT_EQ(TVO_Analyse("jobs.tvo", "/dev/full", ignore, 10, nullptr, nullptr), TVO_ERR_WRITE);
#endif
}

TEST_F(Exports, DataFileIsClosedHoweverARunEnds) {
  const struct {
    const char* what;
    uint32_t status;
    std::function<uint32_t()> run;
  } cases[] = {
      {"analyse", TVO_OK, [] { return analyse("jobs.tvo", ignore); }},
      {"into the store", TVO_OK, [] { return analyse("jobs.tvo", TVO_Write); }},
      {"aborted", TVO_ERR_ABORTED, [] { return analyse("jobs.tvo", refuse); }},
      {"thrown", TVO_ERR_WRITE, [] { return analyse("jobs.tvo", throwing); }},
      {"no input", TVO_ERR_OPEN, [] { return analyse("missing.tvo", ignore); }},
      {"null input", TVO_ERR_OPEN, [] { return analyse(nullptr, ignore); }},
      {"log is input", TVO_ERR_OPEN,
       [] { return TVO_Analyse("jobs.tvo", "jobs.tvo", ignore, 10, nullptr, nullptr); }},
      {"build", TVO_OK, [] { return TVO_Build("built.tvo", TVO_Read); }},
      {"build aborted", TVO_ERR_ABORTED, [] { return TVO_Build("built.tvo", aborted); }},
      {"build thrown", TVO_ERR_WRITE, [] { return TVO_Build("built.tvo", throwingSource); }},
      {"no folder", TVO_ERR_OPEN, [] { return TVO_Build("no folder/built.tvo", TVO_Read); }},
      {"null output", TVO_ERR_OPEN, [] { return TVO_Build(nullptr, TVO_Read); }},
      {"null source", TVO_ERR_OPEN, [] { return TVO_Build("built.tvo", nullptr); }},
  };
  for (const auto& row : cases) {
    ASSERT_EQ(TVO_OpenDataFile("exports.dat"), TVO_OK) << row.what;
    EXPECT_EQ(row.run(), row.status) << row.what;
    // An open data file would refuse another path.
    EXPECT_EQ(TVO_SetDataFile("exports.dat"), TVO_OK) << row.what;
    TVO_CloseDataFile();
  }
  EXPECT_EQ(std::fopen("built.tvo", "rb"), nullptr);
  // What was read before an exception is in the log, which is complete.
  EXPECT_EQ(TVO_Analyse("jobs.tvo", "exports.log", throwing, 10, nullptr, nullptr), TVO_ERR_WRITE);
  EXPECT_NE(readFile("exports.log").find("jobs.tvo - 0 error(s)"), std::string::npos);
}

TEST_F(Exports, BuildAnswersForItsSource) {
  EXPECT_EQ(TVO_Build("built.tvo", noRecord), TVO_OK);
  EXPECT_EQ(readFile("built.tvo"), "");
  EXPECT_EQ(TVO_Build("built.tvo", aborted), TVO_ERR_ABORTED);
  EXPECT_EQ(std::fopen("built.tvo", "rb"), nullptr);
  EXPECT_EQ(TVO_Build("no folder/built.tvo", noRecord), TVO_ERR_OPEN);
  EXPECT_EQ(TVO_Build("built.tvo", nullptr), TVO_ERR_OPEN);
  EXPECT_EQ(TVO_Build(nullptr, noRecord), TVO_ERR_OPEN);
}

TEST_F(Exports, OutputSettingsSurviveRuns) {
  TVO_Decimals decimals = {};
  EXPECT_EQ(TVO_GetDecimals(&decimals), TVO_OK);
  EXPECT_EQ(decimals.angular, 4);
  EXPECT_EQ(decimals.linear, 4);
  EXPECT_EQ(decimals.geographic, 10);
  const TVO_Decimals changed = {1, 2, 3};
  EXPECT_EQ(TVO_SetDecimals(&changed), TVO_OK);
  EXPECT_EQ(analyse("jobs.tvo", TVO_Write), TVO_OK);
  EXPECT_EQ(TVO_Build("built.tvo", TVO_Read), TVO_OK);
  TVO_GetDecimals(&decimals);
  EXPECT_EQ(decimals.geographic, 3);
  TVO_SetDecimals(nullptr);
  TVO_GetDecimals(nullptr);
  const TVO_Decimals initial = {4, 4, 10};
  TVO_SetDecimals(&initial);
}

}  // namespace
}  // namespace tavo
