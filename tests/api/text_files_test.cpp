// One file for two purposes, and files that another opener keeps for itself: refused with nothing
// created, truncated or deleted.
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <thread>

#include "callbacks.h"
#include "platform/file.h"
#include "store/engine/child_process.h"
#include "support/analysis.h"
#include "tavo/records.h"
#include "tavo/tavo.h"

namespace tavo {
namespace {

namespace fs = std::filesystem;
using engine::test::ChildProcess;
using tests::ignore;
using tests::noRecord;
using tests::readFile;
using tests::writeFile;

const char kText[] = "DATABASE\n  JOBS (JobNo)\n    1;\n  END JOBS\nEND DATABASE\n";
// A name beyond Latin-1 in the code page of Western Windows.
constexpr char kOdd[] = "\xC5\xA0\x9A.tvo";

uint32_t moveResults[2];
uint32_t TVO_CALL moveDataFile(uint32_t, const void*) {
  moveResults[0] = TVO_CODE(TVO_SetDataFile("in.tvo"));
  moveResults[1] = TVO_CODE(TVO_SetDataFile("run.log"));
  return TVO_ERR_ABORTED;
}

// Whether the file comes or goes as wanted within a minute.
bool waitFor(const char* path, bool there) {
  for (int i = 0; i < 3000 && fs::exists(path) != there; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  return fs::exists(path) == there;
}

class TextFiles : public testing::Test {
 protected:
  void SetUp() override {
    TVO_CloseDataFile();
    for (const char* path : {"new.log", "hard.dat", "soft.tvo"}) fs::remove(path);
    ASSERT_EQ(TVO_SetDataFile("own.dat"), TVO_OK);
    const JobRecord job = {};
    ASSERT_EQ(TVO_Write(TVO_RECORD_JOBS, &job), TVO_OK);
    TVO_CloseDataFile();
    for (const char* path : {"in.tvo", kOdd}) writeFile(path, kText);
    std::error_code none;
    fs::create_hard_link("own.dat", "hard.dat", none);
    fs::create_symlink("in.tvo", "soft.tvo", none);
    writeFile("held.dat", readFile("own.dat"));
  }
  void TearDown() override { TVO_CloseDataFile(); }

  // An open and a close alone may change a word of the header, so the record stands for the file.
  static void expectRecord(const char* path, const std::string& what) {
    TVO_CloseDataFile();
    uint32_t type = 0;
    EXPECT_EQ(TVO_OpenDataFile(path), TVO_OK) << what;
    EXPECT_EQ(TVO_Read(TVO_LAST, &type, nullptr), TVO_OK) << what;
    EXPECT_EQ(type, TVO_RECORD_JOBS) << what;
    TVO_OpenDataFile("own.dat");
    TVO_CloseDataFile();
  }

  void expectUntouched(const std::string& what) const {
    expectRecord("own.dat", what);
    for (const char* path : {"in.tvo", kOdd}) EXPECT_EQ(readFile(path), kText) << what;
    EXPECT_FALSE(fs::exists("new.log")) << what;
  }
};

TEST_F(TextFiles, OneFileForTwoPurposesIsRefused) {
  const struct {
    const char *input, *log;
    bool needed = true;  // else a name that the file system may not have
  } rows[] = {{"in.tvo", "in.tvo"},
              {"in.tvo", "soft.tvo", fs::exists("soft.tvo")},
              {kOdd, kOdd},
              {"in.tvo", "own.dat"},
              {"in.tvo", "./own.dat"},
              {"in.tvo", "hard.dat", fs::exists("hard.dat")},
              {"own.dat", "new.log"}};
  for (const auto& row : rows) {
    if (!row.needed) continue;
    for (const TVO_RecordSink sink : {&TVO_Write, &ignore}) {
      for (const bool open : {false, true}) {
        if (open) TVO_OpenDataFile("own.dat");
        const std::string what = std::string(row.input) + ' ' + row.log + (open ? " open" : "");
        EXPECT_EQ(TVO_Analyse(row.input, row.log, sink, 10, nullptr, nullptr), TVO_ERR_OPEN)
            << what;
        // The data file is closed, whatever happened.
        EXPECT_NE(platform::nativeFileSystem().open("own.dat", platform::Access::kRead,
                                                    platform::Sharing::kNone),
                  nullptr);
        expectUntouched(what);
      }
    }
  }
  for (const char* output : {"own.dat", "./own.dat", "hard.dat"}) {
    if (!fs::exists(output)) continue;
    ASSERT_EQ(TVO_OpenDataFile("own.dat"), TVO_OK);
    EXPECT_EQ(TVO_Build(output, TVO_Read), TVO_ERR_OPEN) << output;
    expectUntouched(output);
    EXPECT_EQ(TVO_Build(output, noRecord), TVO_ERR_OPEN) << output;
    expectUntouched(output);
  }
}

// A log that would be made where the data file belongs, before either is there.
TEST_F(TextFiles, NewDataFileIsNoLog) {
  ASSERT_EQ(TVO_SetDataFile("later.dat"), TVO_OK);
  TVO_CloseDataFile();
  fs::remove("later.dat");
  EXPECT_EQ(TVO_Analyse("in.tvo", "./later.dat", TVO_Write, 10, nullptr, nullptr), TVO_ERR_OPEN);
  EXPECT_FALSE(fs::exists("later.dat"));
}

// The texts of a run cannot become the data file while it lasts.
TEST_F(TextFiles, DataFileCannotTakeATextOfTheRun) {
  EXPECT_EQ(TVO_Analyse("in.tvo", "run.log", moveDataFile, 10, nullptr, nullptr), TVO_ERR_ABORTED);
  EXPECT_EQ(moveResults[0], TVO_ERR_OPEN);
  EXPECT_EQ(moveResults[1], TVO_ERR_OPEN);
  EXPECT_EQ(readFile("in.tvo"), kText);
  EXPECT_NE(readFile("run.log").find("0 error(s)"), std::string::npos);
}

// The part of another process: holds held.dat until told to end.
TEST(TextFilesPart, DISABLED_Hold) {
  ASSERT_EQ(TVO_OpenDataFile("held.dat"), TVO_OK);
  std::ofstream("held.ready") << "ready";
  EXPECT_TRUE(waitFor("held.ready", false));
  TVO_CloseDataFile();
}

TEST_F(TextFiles, WhatAnotherProcessHoldsIsRefused) {
  fs::remove("held.ready");
  ChildProcess child("TextFilesPart.DISABLED_Hold", "");
  ASSERT_TRUE(waitFor("held.ready", true));
  const auto analyse = [](const char* input, const char* log, TVO_RecordSink sink) {
    return TVO_Analyse(input, log, sink, 10, nullptr, nullptr);
  };
  EXPECT_EQ(analyse("in.tvo", "held.dat", ignore), TVO_ERR_OPEN);
  EXPECT_EQ(analyse("in.tvo", "held.dat", TVO_Write), TVO_ERR_OPEN);
  EXPECT_EQ(analyse("held.dat", "new.log", TVO_Write), TVO_ERR_OPEN);
  EXPECT_EQ(TVO_Build("held.dat", noRecord), TVO_ERR_OPEN);
  ASSERT_EQ(TVO_OpenDataFile("own.dat"), TVO_OK);
  EXPECT_EQ(TVO_Build("held.dat", TVO_Read), TVO_ERR_OPEN);
  expectUntouched("held");
  // As the data file of a run: the log of the last run stays, too.
  EXPECT_EQ(TVO_CODE(TVO_SetDataFile("held.dat")), TVO_ERR_OPEN);
  EXPECT_EQ(analyse("in.tvo", "new.log", TVO_Write), TVO_ERR_OPEN);
  expectUntouched("data file held");
  fs::remove("held.ready");
  EXPECT_EQ(child.wait(), 0);
  expectRecord("held.dat", "held");
}

}  // namespace
}  // namespace tavo
