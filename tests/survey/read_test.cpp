// Surveys in memory: where records and findings come from, blocks in the order of the file, inputs
// and outputs of every kind, and the ways in which a reading ends.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "support/analysis.h"
#include "survey/handles.h"
#include "tavo/tavo.h"

namespace tavo::tests {
namespace {

// The lines and presence of a type's records: "4:5" is a record of line 4 that gives bits 0 and 2.
std::string originsOf(const tavo_survey* survey, RecordType type) {
  const tavo_records& records = *tavo_survey_records(survey, type);
  std::string text;
  for (size_t i = 0; i < records.count; ++i) {
    text += (i == 0 ? "" : " ") + std::to_string(records.lines[i]) + ":" +
            std::to_string(records.given[i]);
  }
  return text;
}

TEST(Survey, RecordsKnowTheirLinesAndWhatThoseGave) {
  constexpr uint64_t kNo = 1 << 0, kId = 1 << 1, kJob = 1 << 2, kEast = 1 << 5, kNorth = 1 << 6;
  const auto origin = [](uint64_t line, uint64_t given) {
    return std::to_string(line) + ":" + std::to_string(given);
  };
  const struct {
    const char* name;
    std::string text;
    RecordType type;
    std::string origins;
  } rows[] = {
      {"an empty field is not a declared 0",
       "POINTS (PointNo,PointID,JobNo,East,North)\n1,\"\",0,0,;\n"
       "2,,,,0.0;\n\n 3 , \"A\" , , 1 , ;\nEND POINTS\n",
       TVO_RECORD_POINTS,
       origin(3, kNo | kId | kJob | kEast) + " " + origin(4, kNo | kNorth) + " " +
           origin(6, kNo | kId | kEast)},
      {"a continued line counts from its first one, an unknown column for nothing",
       "POINTS (PointNo,Nonsense,East)\n1,\n; comment\n 5,\n2;\n2,5,;\nEND POINTS\n",
       TVO_RECORD_POINTS, origin(7, kNo)},
      {"of a repeated column any value counts",
       "POINTS (PointNo,East,East)\n1,5,;\n2,,5;\n3,,;\nEND POINTS\n", TVO_RECORD_POINTS,
       origin(3, kNo | kEast) + " " + origin(4, kNo | kEast) + " " + origin(5, kNo)},
      {"EXTRAINFO adds what it gives and takes what it empties",
       "POINTS (PointNo,East)\n1,5;\n2,5;\nEXTRAINFO (PointNo,East,North)\n1,,7;\nEND EXTRAINFO\n"
       "END POINTS\n",
       TVO_RECORD_POINTS, origin(3, kNo | kNorth) + " " + origin(4, kNo | kEast)},
      {"a columns record has its block's line and the columns declared",
       "POINTS\n (PointNo,East)\n1,5;\nEND POINTS\n", TVO_RECORD_POINTS_COLUMNS, ""},
      {"plain blocks", "JOBS (JobNo,Name)\n1,;\n,\"x\";\nEND JOBS\n", TVO_RECORD_JOBS,
       origin(3, 1) + " " + origin(4, 2)},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    const SurveyHandle survey = readSurvey("DATABASE\n" + row.text + "END DATABASE\n");
    EXPECT_EQ(originsOf(survey.get(), row.type), row.origins);
  }
  const SurveyHandle others = readSurvey(
      "HEADER\nUNITS\n  LINEAR METRE\n\n  ANGULAR GRADS\nEND UNITS\nEND HEADER\n"
      "OPERATIONS\nCIRCLE_CENT\n1,2;\nEND OPERATIONS\n"
      "TIME_TAGGED_CODES\n\"C\",15-06-2024/10:30:00.0,,\"a\",,\"b\",1;\nEND TIME_TAGGED_CODES\n");
  EXPECT_EQ(originsOf(others.get(), TVO_RECORD_UNITS_COLUMNS), "2:3");
  EXPECT_EQ(originsOf(others.get(), TVO_RECORD_UNITS), "3:3");
  EXPECT_EQ(originsOf(others.get(), TVO_RECORD_TIME_TAGGED_CODES), "13:19");
}

// Of options of version 1 nothing behind their last member is looked at.
TEST(Survey, PlainRecordsSayNotWhereTheyComeFrom) {
  const tavo_input input = inputOf("DATABASE\nPOINTS (PointNo)\n1;\nEND POINTS\nEND DATABASE\n");
  for (const uint32_t version : {1U, 2U}) {
    uint64_t line = 0;
    tavo_analysis_options options = TAVO_ANALYSIS_OPTIONS_INIT;
    options.version = version;
    options.plain_records = 1;
    options.record_user = &line;
    options.on_record = [](const tavo_record* record, void* user) -> uint32_t {
      if (record->type == TVO_RECORD_POINTS) *static_cast<uint64_t*>(user) = record->line;
      return TVO_OK;
    };
    EXPECT_EQ(tavo_analyse(&input, &options, nullptr), uint32_t{TAVO_OK});
    EXPECT_EQ(line, version == 1 ? 3U : 0U);
  }
}

TEST(Survey, FindingsPointIntoTheLinesOfTheFile) {
  const struct {
    const char* name;
    std::string text;
    std::string findings;
    std::string source;  // of the first finding
  } rows[] = {
      {"a bad value", "DATABASE\r\n\tJOBS (JobNo)\r\n\t x1 ; bad\r\nEND JOBS\nEND DATABASE\n",
       "3:3+2 E2500 'x1'\n", "\t x1 ; bad"},
      {"an unknown column, also of a list over several lines",
       "DATABASE\nJOBS (JobNo, Nope\n ,Two)\n1,2,3;\nEND JOBS\nEND DATABASE\n",
       "3:0+0 W7012 'Nope'\n3:3+3 W7012 'Two'\n", " ,Two)"},
      {"a value out of place, behind texts with separators",
       "DATABASE\nPOINTS (PointID,CLASS)\n\"a,b\" , POINT;\n\"c\",\n  POINT;\nEND POINTS\nEND "
       "DATABASE\n",
       "3:9+5 E2050 'POINT'\n5:3+5 E2050 'POINT'\n", "\"a,b\" , POINT;"},
      {"a line too long", "HEADER\n " + std::string(140, 'x') + "\nEND HEADER\n",
       "2:2+128 E2000 '" + std::string(128, 'x') + "'\n", " " + std::string(128, 'x')},
      {"a block passed over, reported behind it", "HEADER\n  NOWHERE y\n  1\nEND HEADER\n",
       "2:3+7 W7010 'NOWHERE'\n3:3+1 W7010 '1'\n", "  NOWHERE y"},
      {"a section passed over", "DATABASE\nEND DATABASE\n  NOWHERE y\n 1\nDATABASE\nEND DATABASE\n",
       "3:3+7 W7011 'NOWHERE'\n5:0+0 note lines 3 - 4 will be ignored\n", "  NOWHERE y"},
      {"a missing END", "DATABASE\n  JOBS (JobNo)\n  1;\n",
       "3:0+0 E2012 'JOBS'\n3:0+0 E2012 'DATABASE'\n", "  1;"},
      {"numbers that are kept otherwise",
       "DATABASE\nJOBS (JobNo)\n  65537 ;\nEND JOBS\nPOINTS (East)\n"
       "1.23456789012345678;\n1.23456789012345678;\nEND POINTS\nEND DATABASE\n",
       "3:3+5 note 65537\n"
       "6:1+19 note 1.23456789012345678\n",
       "  65537 ;"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    const SurveyHandle survey = readSurvey(row.text);
    ASSERT_NE(survey, nullptr);
    EXPECT_EQ(findingsOf(survey.get()), row.findings);
    const tavo_finding* const first = tavo_survey_finding(survey.get(), 0);
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(std::string(first->source, first->source_size), row.source);
  }
}

TEST(Survey, BlocksStandInTheOrderOfTheFileWithTheirUnits) {
  const SurveyHandle survey = readSurvey(
      "HEADER\nUNITS\nLINEAR INT_FEET\nEND UNITS\nEND HEADER\n"
      "DATABASE\nPOINTS (PointNo,East)\n1,1;\n2,2;\nPNT_ACCURACY (PointNo)\n1;\nEND PNT_ACCURACY\n"
      "3,3;\nEND POINTS\nEND DATABASE\n"
      "HEADER\nUNITS\nLINEAR USER 2.5\nEND UNITS\nOFFSETS\nEAST 10\nEND OFFSETS\nEND HEADER\n"
      "DATABASE\nPOINTS (North,PointNo)\n4,4;\nEND POINTS\nEND DATABASE\n"
      "OPERATIONS\nCIRCLE_CENT\n1,2;\nCIRCLE_CENT\n5,6;\nEND OPERATIONS\n");
  std::string blocks;
  for (size_t i = 0; i < tavo_survey_block_count(survey.get()); ++i) {
    const tavo_block& block = *tavo_survey_block(survey.get(), i);
    if (block.data_type == TVO_RECORD_HEADER || block.data_type == TVO_RECORD_UNITS ||
        block.data_type == TVO_RECORD_OFFSETS) {
      continue;
    }
    blocks += std::to_string(block.line) + ": " + std::to_string(block.data_type) + " " +
              std::to_string(block.first) + "+" + std::to_string(block.count) + " (";
    for (size_t k = 0; k < block.column_count; ++k)
      blocks += std::to_string(block.columns[k]) + " ";
    blocks += block.continued != 0 ? ") continued" : ")";
    blocks += " unit " + std::to_string(block.units->linear) + " factor " +
              std::to_string(block.units->linear_factor) + " east " +
              std::to_string(block.units->offset_east) + "\n";
  }
  EXPECT_EQ(blocks,
            "7: 34 0+2 (41 45 ) unit 11 factor 1.000000 east 0.000000\n"
            "10: 35 0+1 (41 ) unit 11 factor 1.000000 east 0.000000\n"
            "13: 34 2+1 (41 45 ) continued unit 11 factor 1.000000 east 0.000000\n"
            "25: 34 3+1 (46 41 ) unit 14 factor 2.500000 east 25.000000\n"
            "31: 56 0+2 (41 ) unit 14 factor 2.500000 east 25.000000\n");
}

// Hands out a text in small and odd pieces, and fails or stops where it is told to.
struct Reader {
  std::string_view rest;
  int64_t last = 0;  // what it says at the end

  static int64_t read(void* bytes, size_t room, void* user) {
    auto* const self = static_cast<Reader*>(user);
    const size_t n = std::min({room, self->rest.size(), size_t{7}});
    std::memcpy(bytes, self->rest.data(), n);
    self->rest.remove_prefix(n);
    return n > 0 ? static_cast<int64_t>(n) : self->last;
  }
};

std::string readWhole(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

constexpr const char* kJobs = "DATABASE\nJOBS (JobNo)\n1;\n2;\nx;\nEND JOBS\nEND DATABASE\n";

TEST(Survey, InputsAndLogsOfEveryKindAreTheSame) {
  const char* const path = "\xC3\xA4\xE2\x82\xAC.tvo";  // beyond any one code page
  {
    tavo_output* output = nullptr;
    ASSERT_EQ(tavo_output_create(&output, path), TAVO_OK);
    EXPECT_EQ(tavo_output_write(output, kJobs, std::strlen(kJobs)), TAVO_OK);
    ASSERT_EQ(tavo_output_commit(output), TAVO_OK);
  }
  Reader reader{kJobs};
  tavo_input inputs[3] = {TAVO_INPUT_INIT, inputOf(kJobs), TAVO_INPUT_INIT};
  inputs[0].path = path;
  inputs[2].read = &Reader::read;
  inputs[2].user = &reader;
  std::string logs[3];
  for (size_t i = 0; i < 3; ++i) {
    inputs[i].name = "jobs";
    tavo_analysis_options options = TAVO_ANALYSIS_OPTIONS_INIT;
    char* memory = nullptr;
    size_t size = 0;
    if (i == 0) options.log.path = "\xC3\xA4.log";
    if (i == 1) {
      options.log.memory = &memory;
      options.log.memory_size = &size;
    }
    if (i == 2) {
      options.log.user = &logs[2];
      options.log.write = [](const void* bytes, size_t count, void* user) {
        static_cast<std::string*>(user)->append(static_cast<const char*>(bytes), count);
        return 0;
      };
    }
    tavo_analysis_counts counts = TAVO_ANALYSIS_COUNTS_INIT;
    EXPECT_EQ(tavo_analyse(&inputs[i], &options, &counts), uint32_t{TVO_ERR_ERRORS_FOUND});
    EXPECT_EQ(counts.errors, 1U);
    EXPECT_EQ(counts.records, 3U);
    EXPECT_EQ(counts.lines, 7U);
    if (i == 0) {
      logs[0] = readWhole(u8"\u00E4.log");
      std::erase(logs[0], '\r');
    }
    if (i == 1) logs[1].assign(memory, size);
    tavo_free(memory);
  }
  EXPECT_EQ(logs[0],
            "line 0005  : error E2500   : 'x'                    : syntax error\n"
            "\njobs - 1 error(s), 0 warning(s)\n");
  EXPECT_EQ(logs[1], logs[0]);
  EXPECT_EQ(logs[2], logs[0]);
}

TEST(Survey, EndsBeforeItsTime) {
  tavo_survey* survey = nullptr;
  const tavo_input input = inputOf(kJobs);
  tavo_analysis_options options = TAVO_ANALYSIS_OPTIONS_INIT;
  options.log.path = "ends.log";
  std::filesystem::remove("ends.log");

  options.on_progress = [](uint64_t, uint64_t total, void*) {
    return total == std::strlen(kJobs) ? 1 : 0;
  };
  EXPECT_EQ(tavo_survey_read(&survey, &input, &options), uint32_t{TAVO_ERR_CANCELLED});
  EXPECT_EQ(survey, nullptr);
  options.on_progress = nullptr;

  options.on_record = [](const tavo_record* record, void*) -> uint32_t {
    return record->type == TVO_RECORD_JOBS && record->line == 4 ? 0xABC0000U | TVO_ERR_ABORTED : 1;
  };
  EXPECT_EQ(tavo_survey_read(&survey, &input, &options), uint32_t{TVO_ERR_ABORTED});
  options.on_record = nullptr;
  EXPECT_FALSE(std::filesystem::exists("ends.log"));

  Reader reader{kJobs, -1};
  tavo_input broken = TAVO_INPUT_INIT;
  broken.read = &Reader::read;
  broken.user = &reader;
  EXPECT_EQ(tavo_survey_read(&survey, &broken, nullptr), uint32_t{TAVO_ERR_INPUT});

  options.log = TAVO_TARGET_INIT;
  options.log.write = [](const void*, size_t, void*) { return 1; };
  EXPECT_EQ(tavo_survey_read(&survey, &input, &options), uint32_t{TVO_ERR_WRITE});
  EXPECT_EQ(survey, nullptr);
}

TEST(Survey, ArgumentsAreChecked) {
  constexpr tavo_status kArgument = TAVO_ERR_ARGUMENT;
  constexpr tavo_status kOpen = TVO_ERR_OPEN;
  tavo_survey* survey = nullptr;
  const tavo_input nothing = TAVO_INPUT_INIT;
  tavo_input input = inputOf(kJobs);
  EXPECT_EQ(tavo_survey_read(nullptr, &input, nullptr), kArgument);
  EXPECT_EQ(tavo_survey_read(&survey, nullptr, nullptr), kArgument);
  EXPECT_EQ(tavo_analyse(&nothing, nullptr, nullptr), kArgument);
  tavo_analysis_options options = TAVO_ANALYSIS_OPTIONS_INIT;
  options.version = 3;
  EXPECT_EQ(tavo_analyse(&input, &options, nullptr), kArgument);
  options.version = 1;
  options.log.path = "no/such/folder.log";
  EXPECT_EQ(tavo_analyse(&input, &options, nullptr), kOpen);
  options.log.path = ".";
  EXPECT_EQ(tavo_analyse(&input, &options, nullptr), kOpen);
  writeFile("arguments.tvo", kJobs);
  options.log.path = "./arguments.tvo";
  input.path = "arguments.tvo";
  EXPECT_EQ(tavo_analyse(&input, &options, nullptr), kOpen);
  EXPECT_EQ(readFile("arguments.tvo"), kJobs);
  input.path = "missing.tvo";
  EXPECT_EQ(tavo_analyse(&input, nullptr, nullptr), kOpen);

  const tavo_target nowhere = TAVO_TARGET_INIT;
  EXPECT_EQ(tavo_survey_build(nullptr, &nowhere, nullptr), kArgument);
  const SurveyHandle good = readSurvey(kJobs);
  EXPECT_EQ(tavo_survey_build(good.get(), &nowhere, nullptr), kArgument);
  EXPECT_EQ(tavo_survey_build(good.get(), nullptr, nullptr), kArgument);
  EXPECT_EQ(tavo_build(&nowhere, nullptr, nullptr, nullptr), kArgument);
  tavo_target target = TAVO_TARGET_INIT;
  target.write = [](const void*, size_t, void*) { return 0; };
  const auto lying = [](uint32_t, tavo_record*, void*) -> uint32_t { return 0; };
  EXPECT_EQ(tavo_build(&target, lying, nullptr, nullptr), kArgument);

  EXPECT_EQ(tavo_survey_records(good.get(), 0)->count, 0U);
  EXPECT_EQ(tavo_survey_records(good.get(), UINT32_MAX)->count, 0U);
  EXPECT_EQ(tavo_survey_records(nullptr, TVO_RECORD_JOBS)->count, 0U);
  EXPECT_EQ(tavo_survey_block(good.get(), SIZE_MAX), nullptr);
  EXPECT_EQ(tavo_survey_finding(good.get(), 1), nullptr);
  EXPECT_EQ(tavo_file_seek(nullptr, 0), kArgument);
  tavo_survey_free(nullptr);
  tavo_free(nullptr);
}

TEST(Survey, OutputsTakeTheirPlaceWhenComplete) {
  constexpr const char* kPath = "output.txt";
  writeFile(kPath, "old");
  tavo_output* output = nullptr;
  ASSERT_EQ(tavo_output_create(&output, kPath), TAVO_OK);
  EXPECT_FALSE(std::filesystem::exists(tavo_output_path(output)));
  EXPECT_EQ(tavo_output_write_text(output, "new\n", 4), TAVO_OK);
  EXPECT_EQ(tavo_output_write(output, "\n", 1), TAVO_OK);
  EXPECT_EQ(readFile(kPath), "old");
  const std::string beside = tavo_output_path(output);
  EXPECT_EQ(tavo_output_commit(output), TAVO_OK);
#ifdef _WIN32
  EXPECT_EQ(readFile(kPath), "new\r\n\n");
#else
  EXPECT_EQ(readFile(kPath), "new\n\n");
#endif
  EXPECT_FALSE(std::filesystem::exists(beside));

  ASSERT_EQ(tavo_output_create(&output, kPath), TAVO_OK);
  EXPECT_EQ(tavo_output_write(output, "x", 1), TAVO_OK);
  tavo_output_abandon(output);
  EXPECT_NE(readFile(kPath), "x");
  EXPECT_FALSE(std::filesystem::exists(beside));

  // Made by somebody else meanwhile, and by nobody at all.
  ASSERT_EQ(tavo_output_create(&output, kPath), TAVO_OK);
  writeFile(tavo_output_path(output), "theirs");
  EXPECT_EQ(tavo_output_commit(output), TAVO_OK);
  EXPECT_EQ(readFile(kPath), "theirs");
  ASSERT_EQ(tavo_output_create(&output, kPath), TAVO_OK);
  EXPECT_EQ(tavo_output_commit(output), TAVO_OK);
  EXPECT_EQ(readFile(kPath), "");
  EXPECT_EQ(tavo_output_create(&output, "no/such/folder.txt"), uint32_t{TVO_ERR_OPEN});
  EXPECT_EQ(output, nullptr);
  EXPECT_EQ(tavo_output_create(&output, nullptr), uint32_t{TAVO_ERR_ARGUMENT});

  EXPECT_EQ(tavo_same_file(kPath, "./output.txt"), 1);
  EXPECT_EQ(tavo_same_file(kPath, "missing"), 0);
  EXPECT_EQ(tavo_same_file("missing", "missing"), 0);
  EXPECT_EQ(tavo_same_file(kPath, nullptr), 0);
}

TEST(Survey, TimeHasItsTrueOrder) {
  // The last one is far beyond the keys of the object interface; the one without a year has none.
  const SurveyHandle survey = readSurvey(
      "DATABASE\nPOINTS (PointNo,Date)\n1,15-06-2024/10:30:00.0;\n2,;\n3,01-01-9999/00:00:00.0;\n"
      "4,15-06-2024/10:29:59.9;\nEND POINTS\nEND DATABASE\n"
      "THEODOLITE\nSLOPE (TgtNo,Date)\n7,15-06-2024/10:30:00.0;\nEND SLOPE\nEND THEODOLITE\n");
  size_t count = 0;
  const tavo_moment* const moments = tavo_survey_timeline(survey.get(), &count);
  std::string order;
  for (size_t i = 0; i < count; ++i) {
    order += std::to_string(moments[i].type) + "/" + std::to_string(moments[i].index) + " ";
  }
  const std::string points = std::to_string(TVO_RECORD_POINTS) + "/";
  EXPECT_EQ(order, points + "3 " + points + "0 " + std::to_string(TVO_RECORD_SLOPE) + "/0 " +
                       points + "2 ");
  EXPECT_EQ(tavo_survey_timeline(survey.get(), nullptr), nullptr);
}

}  // namespace
}  // namespace tavo::tests
