// The verbs that print, store and write records: dump, import, verify, build, format, timeline.
#include <algorithm>
#include <cstring>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "tools/tool_fixture.h"

namespace tavo::test {

namespace {

using Arguments = std::vector<std::string>;

class RecordsTest : public ToolTest {
 protected:
  // Lines of a dump without those of some blocks, in any order.
  static Arguments records(const std::string& path, const char* without) {
    Arguments lines = linesOf(expectOutput(0, {"dump", path}));
    std::erase_if(lines, [=](const std::string& line) { return line.find(without) != line.npos; });
    std::sort(lines.begin(), lines.end());
    return lines;
  }
};

TEST_F(RecordsTest, DumpPrintsTheRecordsOfTheCases) {
  for (const char* name : {"values-free", "extrainfo-completes-points", "time-tagged-codes",
                           "operations", "texts-in-other-encodings"}) {
    const std::string path = TAVO_CASES_DIR "/" + std::string(name);
    const ToolResult result = run({"dump", path + ".tvo"});
    EXPECT_EQ(result.out, read(path + ".jsonl"));
    // The errors, if there are any, are left to `tavo check`.
    EXPECT_EQ(result.status, result.err.empty() ? 0 : 1) << result.err;
  }
}

TEST_F(RecordsTest, DumpOfExamplesIsJson) {
  for (const char* name : {"survey.tvo", "all-sections.tvo"}) {
    for (const std::string& line : linesOf(expectOutput(0, {"dump", "--all", example(name)}))) {
      EXPECT_TRUE(nlohmann::json::accept(line)) << line;
    }
  }
  EXPECT_EQ(run({"dump", example("mistakes.tvo")}).status, 1);
  EXPECT_EQ(run({"dump", "none.tvo"}).status, 2);
}

TEST_F(RecordsTest, FormattedTextKeepsItsRecordsAndItsForm) {
  const Arguments layouts[] = {{}, {"--columns", "off"}, {"--decimals", "6,5,12"}};
  for (const char* name : {"survey.tvo", "all-sections.tvo", "mistakes.tvo"}) {
    for (const Arguments& layout : layouts) {
      Arguments first{"format", "--force", example(name), "-o", "once.tvo"};
      Arguments second{"format", "once.tvo", "-o", "twice.tvo"};
      first.insert(first.end(), layout.begin(), layout.end());
      second.insert(second.end(), layout.begin(), layout.end());
      expectOutput(0, first);
      expectOutput(0, second);
      EXPECT_EQ(read("once.tvo"), read("twice.tvo")) << name;
    }
    if (name != std::string("mistakes.tvo")) {
      EXPECT_EQ(records("twice.tvo", "\x01"), records(example(name), "\x01"));
    }
  }
  EXPECT_EQ(temporaryFiles(), Arguments{});
}

TEST_F(RecordsTest, FormatRefusesWhatWouldLoseSomething) {
  const std::string lossy = "OPERATIONS\nCIRCLE_RADIUS 12.5\n7;\nEND OPERATIONS\n";
  write("lossy.tvo", lossy);
  write("wrapped.tvo", "DATABASE\nJOBS (JobNo)\n65537;\nEND JOBS\nEND DATABASE\n");
  write("old.tvo", "HEADER\nold");
  std::filesystem::create_directory("folder");
  const struct {
    Arguments arguments;
    int status;
    const char* message;
  } cases[] = {
      {{"format", "lossy.tvo", "-o", "old.tvo"}, 1, "size of 1 operation"},
      {{"format", "wrapped.tvo", "-o", "old.tvo"}, 1, "wrapped.tvo:3: note: '65537'"},
      {{"format", example("mistakes.tvo"), "-o", "old.tvo"}, 1, "33 errors, 6 warnings"},
      {{"format", "lossy.tvo", "-o", "folder"}, 2, "not a regular file"},
      {{"format", "none.tvo", "-o", "old.tvo"}, 2, "cannot read"},
      {{"format", "lossy.tvo", "-o", "no-such-folder/a.tvo", "--force"}, 2, "cannot write"},
      {{"format", "lossy.tvo", "-o", "old.tvo", "--decimals", "1,2"}, 2, "--decimals"},
  };
  for (const auto& row : cases) {
    const ToolResult result = run(row.arguments);
    EXPECT_EQ(result.status, row.status) << testing::PrintToString(row.arguments) << result.err;
    EXPECT_NE(result.err.find(row.message), std::string::npos) << result.err;
  }
  EXPECT_EQ(read("old.tvo"), "HEADER\nold");
  EXPECT_EQ(read("lossy.tvo"), lossy);
  EXPECT_EQ(temporaryFiles(), Arguments{});
}

TEST_F(RecordsTest, FormatCountsWhatItDoesNotKeep) {
  write("digits.tvo",
        "; one\nDATABASE ; two\nPOINTS (PointNo,East,SymDim1)\n1,8.0000000000000015,0.5;\n"
        "2,0.25,1234.5678;\nEND POINTS\nEND DATABASE\n");
  const ToolResult result = run({"format", "digits.tvo", "-o", "digits-new.tvo"});
  EXPECT_EQ(result.status, 0);
  EXPECT_NE(result.err.find("tavo: digits.tvo: 2 comments left out\n"
                            "tavo: digits.tvo: 2 real numbers with more digits than are kept, "
                            "the first on line 4: 8.0000000000000015\n"),
            std::string::npos)
      << result.err;
}

// A second section of operations comes without a columns record, codes come without any.
TEST_F(RecordsTest, FormatKeepsRepeatedSectionsAndForeignDelimiters) {
  write("odd.tvo",
        "HEADER\nSEPARATOR '|'\nTERMINATOR '#'\nUNITS\nANGULAR DMS\nLINEAR US_SURVEY_FEET\n"
        "TIME MJD\nEND UNITS\nEND HEADER\n"
        "OPERATIONS\nARC_3PTS\n1|\"a\"|2|\"b\"|3|\"c\"#\nEND OPERATIONS\n"
        "TIME_TAGGED_CODES\n\"A\"|51544.25|1|\"n\"|2#\nEND TIME_TAGGED_CODES\n"
        "DATABASE\nPOINTS (PointNo|PointID|Date)\n1|\"a;,|#\"|51544.5#\n2|\"\\\\\\\"\"|#\n"
        "END POINTS\nEND DATABASE\n"
        "OPERATIONS\nCIRCLE_CENT\n1|\"a\"|2|\"b\"#\nEND OPERATIONS\n"
        "TIME_TAGGED_CODES\n\"B\"|51545|2|\"n\"|2.5#\nEND TIME_TAGGED_CODES\n");
  expectOutput(0, {"format", "odd.tvo", "-o", "odd-new.tvo"});
  EXPECT_EQ(expectOutput(0, {"dump", "odd.tvo"}), expectOutput(0, {"dump", "odd-new.tvo"}));
  EXPECT_NE(read("odd-new.tvo").find("\"B\"|51545.0000000000|2|\"n\"|2.5"), std::string::npos);
}

// EXTRAINFO blocks list a column again and again; a definition has room for each once.
TEST_F(RecordsTest, FormatDeclaresEveryColumnOnce) {
  std::string text = "DATABASE\nPOINTS (PointNo)\n1;\n";
  for (int i = 0; i < 50; ++i) text += "EXTRAINFO (PointNo,SYS)\n1,7;\nEND EXTRAINFO\n";
  write("extra.tvo", text + "END POINTS\nEND DATABASE\n");
  expectOutput(0, {"format", "extra.tvo", "-o", "extra-new.tvo"});
  EXPECT_NE(read("extra-new.tvo").find("(PointNo,SYS)"), std::string::npos);
}

TEST_F(RecordsTest, ImportAndBuildGiveBackWhatADataFileKeeps) {
  const std::string text = example("survey.tvo");
  const std::string out = expectOutput(0, {"import", text, "-o", "survey.dat"});
  EXPECT_NE(out.find("3 BOX_ON_POINT, 4 ITEMS"), std::string::npos) << out;
  EXPECT_NE(expectOutput(0, {"verify", "survey.dat"}).find("survey.dat: sound\n"),
            std::string::npos);
  expectOutput(0, {"build", "survey.dat", "-o", "built.tvo"});
  const Arguments kept = records(text, "DATABASE/TEXT");
  EXPECT_EQ(records("built.tvo", "DATABASE/TEXT"), kept);
  EXPECT_EQ(records("survey.dat", "DATABASE/TEXT"), kept);
  // Again into the same file, but not over something else.
  expectOutput(0, {"import", text, "-o", "survey.dat"});
  EXPECT_EQ(run({"import", "built.tvo", "-o", "built.tvo"}).status, 2);
  EXPECT_EQ(run({"import", text, "-o", "built.tvo"}).status, 2);
  EXPECT_EQ(run({"import", "survey.dat", "-o", "other.dat"}).status, 2);
  EXPECT_EQ(run({"build", "built.tvo", "-o", "other.tvo"}).status, 2);
  EXPECT_EQ(run({"build", "survey.dat", "-o", "survey.dat"}).status, 2);
  EXPECT_EQ(run({"check", "survey.dat"}).status, 2);
  EXPECT_FALSE(exists("other.dat") || exists("other.tvo"));
  EXPECT_EQ(records("built.tvo", "DATABASE/TEXT"), kept);
}

TEST_F(RecordsTest, ImportTellsOfErrorsAndRepeatedPoints) {
  write("twice.tvo",
        "DATABASE\nPOINTS (PointNo,East)\n1,1;\n1,2;\nx,3;\nEND POINTS\nEND DATABASE\n"
        "TIME_TAGGED_CODES\n\"A\",01-02-1999/10:20:30.5,1,\"n\",2;\nEND TIME_TAGGED_CODES\n");
  const std::string out = expectOutput(1, {"import", "twice.tvo", "-o", "twice.dat"});
  EXPECT_NE(out.find("twice.tvo:5: error E2500"), std::string::npos) << out;
  EXPECT_NE(out.find("already: 1 POINTS\n"), std::string::npos) << out;
  // The data file has the code, but not the values that it points to.
  const ToolResult build = run({"build", "twice.dat", "-o", "built.tvo"});
  EXPECT_EQ(build.status, 0);
  EXPECT_NE(build.err.find("time-tagged codes"), std::string::npos);
  EXPECT_NE(read("built.tvo").find("1,  1.0000;"), std::string::npos) << read("built.tvo");
}

TEST_F(RecordsTest, DamagedDataFilesAreFoundAndHarmless) {
  expectOutput(0, {"import", example("survey.tvo"), "-o", "survey.dat"});
  const std::string sound = read("survey.dat");
  constexpr size_t kPage = 1024;
  for (size_t page = 3; page < 60; page += 14) {
    std::string damaged = sound;
    for (size_t i = 0; i < 64; ++i) damaged[page * kPage + i] = static_cast<char>(7 * i + page);
    write("damaged.dat", damaged);
    const std::string out = expectOutput(1, {"verify", "damaged.dat"});
    EXPECT_NE(out.find("damaged.dat: damaged, "), std::string::npos) << out;
    for (const Arguments& verb :
         {Arguments{"dump", "damaged.dat"}, Arguments{"build", "damaged.dat", "-o", "built.tvo"}}) {
      const int status = run(verb).status;
      EXPECT_TRUE(status >= 0 && status <= 2) << status;
    }
  }
  write("short.dat", sound.substr(0, 100));
  EXPECT_EQ(run({"verify", "short.dat"}).status, 2);
  EXPECT_EQ(run({"verify", "none.dat"}).status, 2);
  EXPECT_EQ(run({"verify", example("survey.tvo")}).status, 2);
}

TEST_F(RecordsTest, TimelineIsInTheOrderOfTime) {
  const Arguments lines = linesOf(expectOutput(0, {"timeline", example("all-sections.tvo")}));
  ASSERT_EQ(lines.size(), 35u);
  for (size_t i = 1; i < lines.size(); ++i) {
    EXPECT_LE(lines[i - 1].substr(7, 22), lines[i].substr(7, 22));
  }
  EXPECT_EQ(lines[2],
            "slope  2024-10-09 07:14:37.80        11  T1                "
            "Hz 303.9273 gon  Vz 83.7219 gon  SDist 120.1564 m");
  // A time that the key cannot order is counted, not shown.
  write("early.tvo",
        "DATABASE\nPOINTS (PointNo,Date)\n1,15-03-2024/00:00:00.0;\nEND POINTS\nEND DATABASE\n");
  const ToolResult early = run({"timeline", "early.tvo"});
  EXPECT_EQ(early.out, "");
  EXPECT_NE(early.err.find("1 record not shown"), std::string::npos) << early.err;
}

}  // namespace

}  // namespace tavo::test
