// tavo check: what it prints, its exit status, its log, and the examples that it is shown with.
#include <algorithm>
#include <nlohmann/json.hpp>
#include <set>

#include "tavo/tavo.h"
#include "tools/tool_fixture.h"

namespace tavo::test {

namespace {

const char kGood[] = "DATABASE\n  JOBS (JobNo)\n    1;\n  END JOBS\nEND DATABASE\n";
const char kBad[] =
    "DATABASE\r\n"
    "\tJOBS (JobNo,Weather)\r\n"
    "  ABC,\"\xfc\x01\";  ; an old umlaut\r\n"
    "  END JOBS\r\n"
    "  SHAPES\r\n"
    "END DATABASE\r\n";

class CheckTest : public ToolTest {};

TEST_F(CheckTest, PrintsFindingsWithTheirLines) {
  write("bad.tvo", kBad);
  EXPECT_EQ(expectOutput(1, {"check", "bad.tvo"}),
            "bad.tvo:2:14: warning W7012: unknown format keyword: 'Weather'\n"
            "     JOBS (JobNo,Weather)\n"
            "                 ^~~~~~~\n"
            "bad.tvo:3:3: error E2500: syntax error: 'ABC'\n"
            "      ABC,\"\xc3\xbc?\";  ; an old umlaut\n"
            "      ^~~\n"
            "bad.tvo:5:3: warning W7011: unknown section/sub section: 'SHAPES'\n"
            "      SHAPES\n"
            "      ^~~~~~\n"
            "bad.tvo:5: note: line 5 will be ignored\n"
            "bad.tvo: 1 error, 2 warnings; 6 lines and 1 record read\n"
            "       1  E2500  syntax error\n"
            "       1  N7000  lines ignored\n"
            "       1  W7011  unknown section/sub section\n"
            "       1  W7012  unknown format keyword\n");
  EXPECT_EQ(expectOutput(1, {"check", "--quiet", "bad.tvo"}), "");
}

TEST_F(CheckTest, NotesNumbersThatAreReadAsOtherOnes) {
  write("wrapped.tvo", "DATABASE\n  JOBS (JobNo)\n    65537;\n  END JOBS\nEND DATABASE\n");
  EXPECT_EQ(expectOutput(0, {"check", "wrapped.tvo"}),
            "wrapped.tvo:3:5: note: '65537' does not fit its field and is read as another number\n"
            "        65537;\n"
            "        ^~~~~\n"
            "wrapped.tvo: 0 errors, 0 warnings; 5 lines and 2 records read\n"
            "       1  N7001  does not fit its field and is read as another number\n");
}

TEST_F(CheckTest, FailsOnWhatItIsAskedFor) {
  write("good.tvo", kGood);
  write("warned.tvo", "DATABASE\nJOBS (JobNo,Weather)\n1,2;\nEND JOBS\nEND DATABASE\n");
  write("empty.tvo", "; nothing\n");
  const struct {
    std::vector<std::string> failOn;
    int good, warned, empty;
  } rows[] = {
      {{}, 0, 0, 0},
      {{"--fail-on", "warning"}, 0, 1, 0},
      {{"--fail-on", "empty"}, 0, 0, 1},
      {{"--fail-on", "empty,warning"}, 0, 1, 1},
      {{"--fail-on", "warning", "--fail-on", "empty"}, 0, 1, 1},
      {{"--fail-on", "error"}, 2, 2, 2},
  };
  for (const auto& row : rows) {
    std::vector<std::string> arguments{"check", "-q"};
    arguments.insert(arguments.end(), row.failOn.begin(), row.failOn.end());
    arguments.push_back("");
    const std::pair<const char*, int> files[] = {
        {"good.tvo", row.good}, {"warned.tvo", row.warned}, {"empty.tvo", row.empty}};
    for (const auto& [file, status] : files) {
      arguments.back() = file;
      EXPECT_EQ(run(arguments).status, status) << testing::PrintToString(arguments);
    }
  }
  const std::string json = expectOutput(1, {"check", "--fail-on", "warning", "--fail-on", "empty",
                                            "--format", "json", "warned.tvo", "empty.tvo"});
  EXPECT_NE(json.find(R"("status":"warnings")"), std::string::npos) << json;
  EXPECT_NE(json.find(R"("status":"empty")"), std::string::npos) << json;
}

TEST_F(CheckTest, ListsTheFilesThatFailed) {
  write("good.tvo", kGood);
  write("bad.tvo", kBad);
  EXPECT_EQ(expectOutput(0, {"check", "good.tvo"}),
            "good.tvo: 0 errors, 0 warnings; 5 lines and 2 records read\n");
  const std::string mixed = expectOutput(1, {"check", "good.tvo", "bad.tvo"});
  EXPECT_TRUE(mixed.ends_with("\n1 of 2 files failed:\n  bad.tvo\n")) << mixed;
  const std::string unreadable = expectOutput(2, {"check", "none.tvo", "good.tvo", "bad.tvo"});
  EXPECT_TRUE(unreadable.ends_with("\n2 of 3 files failed:\n  none.tvo\n  bad.tvo\n"));
  EXPECT_TRUE(
      expectOutput(0, {"check", "good.tvo", "good.tvo"}).ends_with("\n0 of 2 files failed\n"));
}

TEST_F(CheckTest, RefusesWrongCalls) {
  write("good.tvo", kGood);
  const struct {
    std::vector<std::string> arguments;
    const char* message;
  } cases[] = {
      {{}, "subcommand is required"},
      {{"chek", "good.tvo"}, "'chek' is no verb; did you mean 'tavo check'?"},
      {{"ipmort"}, "did you mean 'tavo import'?"},
      {{"x\x9B\x1B"}, "?' is no verb; see 'tavo --help'"},
      {{"check", "good.tvo", "--x\x1B"}, "not expected: --x?"},
      {{"check"}, "FILE is required"},
      {{"check", "none.tvo"}, "cannot read 'none.tvo'"},
      {{"check", "."}, "cannot read '.'"},
      {{"check", "--max-errors", "0", "good.tvo"}, "--max-errors"},
      {{"check", "--format", "xml", "good.tvo"}, "--format"},
      {{"check", "good.tvo", "good.tvo", "--log", "a.log"}, "--log names the log of one file"},
      {{"check", "good.tvo", "--log", "good.tvo"}, "is the input itself"},
      {{"check", "good.tvo", "--log", "no-such-folder/a.log"},
       "cannot write 'no-such-folder/a.log': no such file or folder"},
      {{"check", "good.tvo", "--log", "-", "--format", "json"}, "the same stream"},
  };
  for (const auto& row : cases) {
    const ToolResult result = run(row.arguments);
    EXPECT_EQ(result.status, 2) << row.message;
    EXPECT_NE(result.err.find(row.message), std::string::npos) << result.err;
  }
  EXPECT_EQ(read("good.tvo"), kGood);
  EXPECT_TRUE(expectOutput(0, {"--version"}).starts_with("tavo 1."));
  EXPECT_NE(expectOutput(0, {"check", "--help"}).find("Example: tavo check"), std::string::npos);
}

TEST_F(CheckTest, StopsAtTheErrorLimit) {
  const std::string out = expectOutput(1, {"check", "--max-errors", "2", example("mistakes.tvo")});
  EXPECT_NE(out.find(": 2 errors, "), std::string::npos) << out;
  EXPECT_NE(out.find("the limit of 2 errors is reached"), std::string::npos) << out;
}

TEST_F(CheckTest, WritesTheLogOfTheLibrary) {
  // Only one file with operations: a library keeps the point columns of the first one.
  for (const char* name : {"survey.tvo", "mistakes.tvo"}) {
    const std::string path = example(name);
    run({"check", "--quiet", "--log", "tool.log", path});
    TVO_Analyse(path.c_str(), "library.log", nullptr, UINT16_MAX, nullptr, nullptr);
    EXPECT_FALSE(read("tool.log").empty());
    EXPECT_EQ(read("tool.log"), read("library.log"));
  }
}

TEST_F(CheckTest, GoodExamplesAreCleanAndTheBadOneShowsEveryKindOfMistake) {
  for (const char* name : {"survey.tvo", "all-sections.tvo"}) {
    const std::string out = expectOutput(0, {"check", example(name)});
    EXPECT_NE(out.find(": 0 errors, 0 warnings; "), std::string::npos) << out;
  }
  const auto json = nlohmann::json::parse(
      expectOutput(1, {"check", "--format", "json", example("mistakes.tvo")}));
  std::set<std::string> codes;
  size_t errors = 0;
  for (const auto& finding : json["findings"]) {
    codes.insert(finding.value("code", "note"));
    errors += finding["kind"] == "error";
  }
  EXPECT_EQ(codes,
            (std::set<std::string>{"E2000", "E2001", "E2010", "E2011", "E2012", "E2050", "E2051",
                                   "E2100", "E2101", "E2102", "E2103", "E2104", "E2150", "E2500",
                                   "N7000", "W7010", "W7011", "W7012", "W7014"}));
  EXPECT_EQ(json["errors"], errors);
}

TEST_F(CheckTest, JsonIsOneValidObjectPerFile) {
  write("bad.tvo", kBad);
  const std::string out = expectOutput(2, {"check", "--format", "json", "bad.tvo", "none.tvo"});
  const std::vector<std::string> lines = linesOf(out);
  ASSERT_EQ(lines.size(), 2u);
  const auto bad = nlohmann::json::parse(lines[0]);
  EXPECT_EQ(bad["file"], "bad.tvo");
  EXPECT_EQ(bad["status"], "errors");
  EXPECT_EQ(bad["findings"][1],
            (nlohmann::json{{"line", 3},
                            {"column", 3},
                            {"length", 3},
                            {"kind", "error"},
                            {"code", "E2500"},
                            {"message", "syntax error"},
                            {"text", "ABC"},
                            {"source", "  ABC,\"\xc3\xbc\x01\";  ; an old umlaut"}}));
  EXPECT_EQ(bad["findings"].size(), 4u);
  const auto none = nlohmann::json::parse(lines[1]);
  EXPECT_EQ(none["status"], "failed");
  EXPECT_NE(none["problem"], "");
}

// Files are checked side by side and shown in their order, however many at once.
TEST_F(CheckTest, ShowsFilesInTheirOrder) {
  std::vector<std::string> arguments{"check", "-j", "1"};
  for (int i = 0; i < 200; ++i) {
    const std::string name = std::to_string(i) + ".tvo";
    std::string points;
    for (int j = (i * 7919) % 300; j > 0; --j) points += std::to_string(j) + ";\n";
    write(name, "DATABASE\nPOINTS (PointNo)\n" + points + (i % 3 == 0 ? "x;\n" : "") +
                    "END POINTS\nEND DATABASE\n");
    arguments.push_back(name);
  }
  const std::string one = expectOutput(1, arguments);
  arguments[2] = "8";
  EXPECT_EQ(expectOutput(1, arguments), one);
  EXPECT_NE(one.find("\n67 of 200 files failed:\n  0.tvo\n  3.tvo\n"), std::string::npos);
}

}  // namespace

}  // namespace tavo::test
