// The build driver: dispatch, the protocol with the source, failures of the output, and sources
// that misbehave.
#include "writers/build.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "support/replay.h"

namespace tavo::tests {
namespace {

std::string read(const char* path) {
  std::ifstream file(path);  // text mode: line ends as the platform writes them
  return {std::istreambuf_iterator<char>(file), {}};
}

Replay jobs() {
  Replay records;
  records.columns(TVO_RECORD_JOBS_COLUMNS, {TVO_FIELD_JobNo, TVO_FIELD_JobName});
  records.add(TVO_RECORD_JOBS, JobRecord{1, "A1", {}, {}, {}, 0});
  records.add(TVO_RECORD_JOBS, JobRecord{2, "B2", {}, {}, {}, 0});
  return records;
}

constexpr std::string_view kJobsText =
    "DATABASE\n"
    "  JOBS (JobNo,Name)\n"
    "    1,  \"A1\";\n"
    "    2,  \"B2\";\n"
    "  END JOBS\n"
    "END DATABASE\n";

TEST(Build, WritesSectionsAndDispatches) {
  struct Case {
    RecordType type;
    uint16_t status;
    bool text;  // something was written
  };
  const Case cases[] = {{1, TVO_OK, true},
                        {13, TVO_OK, true},
                        {32, TVO_OK, true},
                        {43, TVO_OK, true},
                        {49, TVO_OK, true},
                        {55, TVO_OK, true},
                        {76, TVO_OK, true},
                        {90, TVO_OK, true},
                        {102, TVO_OK, true},
                        {5, TVO_ERR_NO_RECORD, false},
                        {34, TVO_ERR_NO_RECORD, false},
                        {56, TVO_ERR_NO_RECORD, false},
                        {91, TVO_ERR_NO_RECORD, false},
                        {107, TVO_ERR_NO_RECORD, false}};
  for (const Case& c : cases) {
    Replay records;
    const char bytes[1024] = {};
    records.add(c.type, static_cast<const void*>(bytes));
    ASSERT_EQ(writers::build("build.txt", records, kPlain), c.status) << c.type;
    ASSERT_TRUE(std::filesystem::exists("build.txt"));
    EXPECT_EQ(!read("build.txt").empty(), c.text) << c.type;
  }
}

TEST(Build, SeparatesSectionsAndKeepsTheFileAtAForeignRecord) {
  Replay records = jobs();
  records.columns(TVO_RECORD_ELEMENTS_COLUMNS, {TVO_FIELD_StnNo});
  ASSERT_EQ(writers::build("build.txt", records, kPlain), TVO_OK);
  std::string text(kJobsText);
  text += "\n\nMETEO\n  ELEMENTS (StnNo)\n  END ELEMENTS\nEND METEO\n";
  EXPECT_EQ(read("build.txt"), text);
  records.add(TVO_RECORD_SLOPE, SlopeRecord{});
  ASSERT_EQ(writers::build("build.txt", records, kPlain), TVO_ERR_NO_RECORD);
  text += "\n\n";
  EXPECT_EQ(read("build.txt"), text);
}

TEST(Build, EndsWithTheRecordsWhateverTheirStatus) {
  Replay none;
  ASSERT_EQ(writers::build("build.txt", none, kPlain), TVO_OK);
  EXPECT_EQ(std::filesystem::file_size("build.txt"), 0U);
  for (const uint16_t status : {uint16_t{TVO_ERR_STORE}, uint16_t{2561}, uint16_t{1}}) {
    Replay records = jobs();
    records.override = [&](uint32_t) { return records.fetches > 3 ? status : uint16_t{0}; };
    TextKeeper keeper;
    EXPECT_EQ(writers::writeText(keeper, records, kPlain), TVO_OK);
    EXPECT_EQ(keeper.text, kJobsText);
  }
}

// An abort is heeded at every fetch: first record, measuring, stepping back, writing.
TEST(Build, AbortDeletesTheFile) {
  for (uint64_t at = 1; at <= 10; ++at) {
    Replay records = jobs();
    records.override = [&](uint32_t) {
      return records.fetches == at ? uint16_t{TVO_ERR_ABORTED} : uint16_t{0};
    };
    ASSERT_EQ(writers::build("build.txt", records, {}), TVO_ERR_ABORTED) << at;
    EXPECT_FALSE(std::filesystem::exists("build.txt"));
  }
}

TEST(Build, ReportsFailuresOfTheOutput) {
  Replay records = jobs();
  EXPECT_EQ(writers::build("no/such/folder/build.txt", records, kPlain), TVO_ERR_OPEN);
  EXPECT_EQ(records.fetches, 0U);
  TextKeeper keeper;
  keeper.failAfter = 0;
  EXPECT_EQ(writers::writeText(keeper, records, kPlain), TVO_ERR_WRITE);
  EXPECT_TRUE(keeper.closed);
  TextKeeper unclosable;
  unclosable.closes = false;
  EXPECT_EQ(writers::writeText(unclosable, records, kPlain), TVO_ERR_WRITE);
  EXPECT_EQ(unclosable.text, kJobsText);
}

TEST(Build, StopsSoonAfterAFailedWrite) {
  Replay records = jobs();
  for (int i = 0; i < 100000; ++i) records.add(TVO_RECORD_JOBS, JobRecord{});
  TextKeeper keeper;
  keeper.failAfter = 1;
  EXPECT_EQ(writers::writeText(keeper, records, kPlain), TVO_ERR_WRITE);
  EXPECT_LT(records.fetches, 50000U);
}

#ifndef _WIN32
// A link, so that what is deleted is not the device.
TEST(Build, FullDeviceDeletesTheFile) {
  std::filesystem::remove("full");
  std::filesystem::create_symlink("/dev/full", "full");
  Replay records = jobs();
  EXPECT_EQ(writers::build("full", records, kPlain), TVO_ERR_WRITE);
  EXPECT_FALSE(std::filesystem::is_symlink("full"));
}
#endif

TEST(Build, MeasuresAndStepsBack) {
  for (const bool staysOnLast : {false, true}) {
    Replay records = jobs();
    records.staysOnLast = staysOnLast;
    records.add(TVO_RECORD_JOBS, JobRecord{10000, "long name", {}, {}, {}, 0});
    TextKeeper keeper;
    ASSERT_EQ(writers::writeText(keeper, records, {}), TVO_OK);
    EXPECT_EQ(keeper.text,
              "DATABASE\n"
              "  JOBS (JobNo,Name)\n"
              "        1,  \"A1\";\n"
              "        2,  \"B2\";\n"
              "    10000,  \"long name\";\n"
              "  END JOBS\n"
              "END DATABASE\n");
  }
}

// Settings are one state with the source's: what it changes holds for the next line. The widths of
// the block are gone with the alignment, though it was switched on again.
TEST(Build, FollowsSettingsThatTheSourceChanges) {
  Replay records;
  records.columns(TVO_RECORD_POINTS_COLUMNS, {TVO_FIELD_PointNo, TVO_FIELD_East});
  for (uint32_t i = 1; i <= 4; ++i) {
    PointRecord point = {};
    point.PointNo = i;
    point.East = i == 1 ? 1000.5 : 0.25;
    records.add(TVO_RECORD_POINTS, point);
  }
  records.columns(TVO_RECORD_JOBS_COLUMNS, {TVO_FIELD_JobNo});
  records.add(TVO_RECORD_JOBS, JobRecord{1, "", {}, {}, {}, 0});
  records.add(TVO_RECORD_JOBS, JobRecord{10, "", {}, {}, {}, 0});
  writers::BuildSettings settings{true, {4, 4, 10}};
  constexpr uint64_t kFirstLine = 12;  // the fetch behind measuring and stepping back
  records.override = [&](uint32_t) {
    if (records.fetches == kFirstLine + 1) settings.decimals.linear = 2;
    if (records.fetches == kFirstLine + 2) {
      settings.setColumns(false);
      settings.setColumns(true);
    }
    return uint16_t{0};
  };
  TextKeeper keeper;
  ASSERT_EQ(writers::writeText(keeper, records, settings), TVO_OK);
  EXPECT_EQ(keeper.text,
            "DATABASE\n"
            "  POINTS (PointNo,East)\n"
            "    1,  1000.5000;\n"
            "    2,       0.25;\n"
            "    3,  0.25;\n"
            "    4,  0.25;\n"
            "  END POINTS\n"
            "\n"
            "  JOBS (JobNo)\n"
            "     1;\n"
            "    10;\n"
            "  END JOBS\n"
            "END DATABASE\n");
}

// A source that never finds back must not be asked for ever.
TEST(Build, BoundsTheStepsBack) {
  Replay records = jobs();
  uint64_t steps = 0;
  class Stuck final : public writers::RecordSource {
   public:
    Stuck(Replay& records, uint64_t& steps) : records_(records), steps_(steps) {}
    uint16_t fetch(uint32_t mode, uint32_t* type, void** record) override {
      if (mode != TVO_PREVIOUS) return records_.fetch(mode, type, record);
      ++steps_;
      static JobRecord job = {};
      *type = TVO_RECORD_JOBS;
      *record = &job;
      return TVO_OK;
    }

   private:
    Replay& records_;
    uint64_t& steps_;
  } stuck(records, steps);
  TextKeeper keeper;
  EXPECT_EQ(writers::writeText(keeper, stuck, {}), TVO_OK);
  EXPECT_LE(steps, 4U);
}

TEST(Build, SurvivesRecordsOfAHostileSource) {
  static char wild[1024];
  memset(wild, 'A', sizeof wild);  // no list is ended, no text terminated, no value in range
  for (RecordType type = 0; type <= 120; ++type) {
    for (const bool align : {false, true}) {
      class Wild final : public writers::RecordSource {
       public:
        explicit Wild(RecordType first) : first_(first) {}
        uint16_t fetch(uint32_t, uint32_t* recordType, void** record) override {
          // The types in a scattered order, some unknown, some without a record.
          if (++count_ > 240) return TVO_ERR_STORE;
          *recordType = count_ == 1 ? first_ : (count_ * 7 + first_) % 112;
          const bool pointer = *recordType == TVO_RECORD_TIME_TAGGED_CODES;
          *record = pointer ? static_cast<void*>(&codes_) : count_ % 50 == 0 ? nullptr : wild;
          return TVO_OK;
        }

       private:
        RecordType first_;
        uint32_t count_ = 0;
        TimeTaggedRecord codes_ = {{'x'}, {}, 65535, 65535, nullptr};
      } source(type);
      TextKeeper keeper;
      writers::writeText(keeper, source, {align, {255, 255, 255}});
      for (size_t at = 0; at < keeper.text.size();) {
        const size_t end = keeper.text.find('\n', at);
        ASSERT_LE(end - at, 129U) << keeper.text.substr(at, end - at);
        at = end + 1;
      }
    }
  }
}

uint16_t TVO_CALL noRecords(uint32_t, uint32_t*, void**) { return TVO_ERR_STORE; }

TEST(Build, TakesACallback) {
  EXPECT_EQ(writers::build("build.txt", &noRecords, kPlain), TVO_OK);
  EXPECT_EQ(writers::build(nullptr, &noRecords, kPlain), TVO_ERR_OPEN);
}

}  // namespace
}  // namespace tavo::tests
