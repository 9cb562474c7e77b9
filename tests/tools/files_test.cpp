// Streams, outputs that take their place, what they may replace, and files that are no plain text.
#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "tools/tool_fixture.h"

#ifndef _WIN32
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <chrono>
#include <fstream>
#include <thread>
#endif

namespace tavo::test {

namespace {

using Arguments = std::vector<std::string>;
using namespace std::string_literals;

class FilesTest : public ToolTest {
 protected:
  void SetUp() override {
    std::filesystem::remove_all("files");
    std::filesystem::create_directory("files");
    std::filesystem::current_path("files");
    text_ = read(example("survey.tvo"));
    expectOutput(0, {"import", example("survey.tvo"), "-o", "survey.dat"});
  }
  void TearDown() override { std::filesystem::current_path(".."); }

  std::string text_;
};

TEST_F(FilesTest, DashIsTheStandardStream) {
  write("survey.tvo", text_);
  const std::string summary = ": 0 errors, 0 warnings; 500 lines and 417 records read";
  EXPECT_EQ(expectOutput(0, {"check", "-"}, text_), "(standard input)" + summary + "\n");
  // The head names the file.
  const auto behindHead = [](const std::string& dump) { return dump.substr(dump.find('\n')); };
  EXPECT_EQ(behindHead(expectOutput(0, {"dump", "-"}, text_)),
            behindHead(expectOutput(0, {"dump", "survey.tvo"})));
  EXPECT_EQ(expectOutput(0, {"timeline", "-"}, text_), expectOutput(0, {"timeline", "survey.tvo"}));
  expectOutput(0, {"import", "-", "-o", "again.dat"}, text_);
  EXPECT_EQ(read("again.dat"), read("survey.dat"));
  // The same text, but always with line feeds.
  for (const Arguments& verb :
       {Arguments{"format", "survey.tvo", "-o"}, {"build", "survey.dat", "-o"}}) {
    Arguments file = verb, stream = verb;
    file.push_back("out.tvo");
    stream.push_back("-");
    expectOutput(0, file);
    EXPECT_EQ(expectOutput(0, stream), readText("out.tvo"));
  }
  EXPECT_EQ(expectOutput(0, {"format", "-", "-o", "-"}, text_),
            expectOutput(0, {"format", "survey.tvo", "-o", "-"}));
  // Data files, too, by way of a temporary file, with the report on the standard error.
  const std::string data = read("survey.dat");
  ToolResult stored = run({"import", "-", "-o", "-"}, text_);
  EXPECT_EQ(stored.status, 0);
  EXPECT_EQ(stored.out, data);
  EXPECT_NE(stored.err.find(summary), std::string::npos) << stored.err;
  stored = run({"repair", "-", "-o", "-"}, data);
  EXPECT_EQ(stored.status, 0);
  EXPECT_EQ(stored.out, data);
  EXPECT_EQ(expectOutput(0, {"build", "-", "-o", "-"}, data),
            expectOutput(0, {"build", "survey.dat", "-o", "-"}));
  EXPECT_EQ(behindHead(expectOutput(0, {"dump", "-"}, data)),
            behindHead(expectOutput(0, {"dump", "survey.dat"})));
  EXPECT_NE(expectOutput(0, {"verify", "-"}, data).find("(standard input): sound\n"), data.npos);
  EXPECT_EQ(run({"verify", "-"}, text_).status, 2);
  // Findings with their lines, and the log in place of them.
  const std::string bad = "DATABASE\nJOBS (JobNo)\nABC;\nEND JOBS\nEND DATABASE\n";
  EXPECT_NE(expectOutput(1, {"check", "-"}, bad).find("syntax error: 'ABC'\n    ABC;\n"), bad.npos);
  EXPECT_EQ(expectOutput(1, {"check", "-", "--log", "-"}, bad),
            "line 0003  : error E2500   : 'ABC'                  : syntax error\n\n"
            "(standard input) - 1 error(s), 0 warning(s)\n");
  EXPECT_EQ(temporaryFiles(), Arguments{});
}

#ifndef _WIN32
TEST_F(FilesTest, PipeIsReadOnce) {
  ASSERT_EQ(mkfifo("pipe", 0600), 0);
  const Arguments verbs[] = {{"timeline"}, {"check"}};
  for (const Arguments& verb : verbs) {
    std::thread writer([this] { std::ofstream("pipe") << text_; });
    const std::string out = expectOutput(0, {verb[0], "pipe"});
    writer.join();
    EXPECT_GT(out.size(), 40U) << out;
  }
}

TEST_F(FilesTest, InterruptionAndFullDiskLeaveTheOldFile) {
  std::string large = "DATABASE\nPOINTS (PointNo,East)\n";
  for (int i = 1; i < 400000; ++i) large += std::to_string(i) + ",1.25;\n";
  write("large.tvo", large + "END POINTS\nEND DATABASE\n");
  write("old.tvo", text_);
  const std::string data = read("survey.dat");
  EXPECT_EQ(runInterrupted({"import", "large.tvo", "-o", "survey.dat"}, SIGINT), -SIGINT);
  EXPECT_EQ(runInterrupted({"import", "large.tvo", "-o", "survey.dat"}, SIGTERM), -SIGTERM);
  EXPECT_EQ(temporaryFiles(), Arguments{});
  EXPECT_EQ(read("survey.dat"), data);
  expectOutput(0, {"import", "large.tvo", "-o", "large.dat"});
  EXPECT_EQ(runInterrupted({"build", "large.dat", "-o", "old.tvo"}, SIGINT), -SIGINT);
  setenv("TMPDIR", ".", 1);
  EXPECT_EQ(runInterrupted({"import", "large.tvo", "-o", "-"}, SIGINT), -SIGINT);
  unsetenv("TMPDIR");
  EXPECT_EQ(temporaryFiles(), Arguments{});

  // A limit on the size of files stands for a full disk.
  rlimit before = {};
  getrlimit(RLIMIT_FSIZE, &before);
  const rlimit small = {1U << 20, before.rlim_max};
  setrlimit(RLIMIT_FSIZE, &small);
  const Arguments verbs[] = {{"import", "large.tvo", "-o", "survey.dat"},
                             {"build", "large.dat", "-o", "old.tvo"},
                             {"format", "large.tvo", "-o", "old.tvo"}};
  ToolResult results[3];
  for (int i = 0; i < 3; ++i) results[i] = run(verbs[i]);
  setrlimit(RLIMIT_FSIZE, &before);
  for (const ToolResult& result : results) {
    EXPECT_EQ(result.status, 2);
    EXPECT_NE(result.err.find("failed"), std::string::npos) << result.err;
  }
  EXPECT_EQ(temporaryFiles(), Arguments{});
  EXPECT_EQ(read("survey.dat"), data);
  EXPECT_EQ(read("old.tvo"), text_);
}
#endif

#ifndef _WIN32
// The log is complete when the rules of the deep check begin: it is of errors on the last lines.
TEST_F(FilesTest, InterruptionEndsTheDeepCheck) {
  std::string points = "DATABASE\nPOINTS (PointNo,PointID,East,North)\n";
  for (int i = 1; i < 400000; ++i) {
    const std::string number = std::to_string(i);
    points += number + ",\"P" + number + "\"," + number + ".5,1.25;\n";
  }
  for (int i = 0; i < 100; ++i) points += "x;\n";
  write("points.tvo", points + "END POINTS\nEND DATABASE\n");
  const Arguments call{"check", "--deep", "--format", "json", "--log", "deep.log", "points.tvo"};
  EXPECT_EQ(runInterrupted(call, SIGINT, 100), -SIGINT);
  // Behind the last rule it would be the log that could not be completed.
  const std::string out = read("tool.out");
  EXPECT_NE(out.find("\"problem\":\"reading 'points.tvo'"), out.npos) << out;
  EXPECT_FALSE(exists("deep.log"));
  EXPECT_EQ(temporaryFiles(), Arguments{});
}

// Killed at any moment, an import leaves the old file or the new one.
TEST_F(FilesTest, KilledImportLeavesOneOfTheFiles) {
  std::string points = "DATABASE\nPOINTS (PointNo,East)\n";
  for (int i = 1; i < 20000; ++i) points += std::to_string(i * 7919 % 100003) + ",1.25;\n";
  write("points.tvo", points + "END POINTS\nEND DATABASE\n");
  const auto start = std::chrono::steady_clock::now();
  expectOutput(0, {"import", "points.tvo", "-o", "new.dat"});
  const auto time = std::chrono::steady_clock::now() - start;
  const std::string fresh = read("new.dat");
  const std::string old = read("survey.dat");
  ASSERT_NE(fresh, old);
  const int runs = TAVO_TEST_EFFORT >= 100 ? 24 : 8;
  int killed = 0;
  for (int i = 0; i < runs; ++i) {
    write("survey.dat", old);
    const auto after = std::chrono::duration_cast<std::chrono::microseconds>(time * i / runs);
    const int status = runKilled({"import", "points.tvo", "-o", "survey.dat"},
                                 static_cast<unsigned>(after.count()));
    killed += status == -SIGKILL ? 1 : 0;
    const std::string left = read("survey.dat");
    EXPECT_TRUE(left == fresh || (left == old && status != 0)) << i << " " << status;
    for (const std::string& name : temporaryFiles()) std::filesystem::remove(name);
  }
  EXPECT_GT(killed, 0);
}
#endif

TEST_F(FilesTest, ImportWithoutRecordsWritesNothing) {
  const std::string data = read("survey.dat");
  const ToolResult result = run({"import", "-", "-o", "survey.dat"}, "; nothing\n");
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "tavo: there is no record to store; 'survey.dat' is not written\n");
  EXPECT_EQ(read("survey.dat"), data);
  EXPECT_EQ(temporaryFiles(), Arguments{});
}

TEST_F(FilesTest, OutputsReplaceOnlyTheirLike) {
  write("survey.tvo", text_);
  const std::string log = "line 0003  : error E2500   : 'ABC'                  : syntax error\n";
  const struct {
    const char* name;
    std::string bytes;
    bool text, log;
  } targets[] = {
      {"empty", "", true, true},
      {"letter", "Dear Sir,\nDATABASE\n", false, false},
      {"text", "  ; a comment\n\nOPERATIONS\n", true, false},
      {"text with CR LF", "HEADER\r\nEND HEADER\r\n", true, false},
      {"inner block", "POINTS (PointNo)\n", false, false},
      {"comments", "; a = 1\n", false, false},
      {"log", log, false, true},
      {"log without findings", "\nold.tvo - 0 error(s), 0 warning(s)\n", false, true},
      {"log of a long path", std::string(127, 'x') + "\n - 0 error(s), 0 warning(s)\n", false,
       true},
  };
  const Arguments verbs[] = {{"check", "survey.tvo", "--log", "out"},
                             {"format", "survey.tvo", "-o", "out"},
                             {"build", "survey.dat", "-o", "out"},
                             {"import", "survey.tvo", "-o", "out"}};
  for (const auto& target : targets) {
    for (Arguments verb : verbs) {
      write("out", target.bytes);
      const bool fits = verb[0] == "check" ? target.log : verb[0] != "import" && target.text;
      const bool replaces = fits || target.bytes.empty();
      const ToolResult result = run(verb);
      EXPECT_EQ(result.status, replaces ? 0 : 2) << target.name << ' ' << verb[0] << result.err;
      EXPECT_EQ(read("out") == target.bytes, !replaces) << target.name << ' ' << verb[0];
      EXPECT_EQ(result.err.find("use --overwrite") == std::string::npos, replaces) << result.err;
      verb.push_back("--overwrite");
      write("out", target.bytes);
      EXPECT_EQ(run(verb).status, 0) << target.name << ' ' << verb[0];
      EXPECT_NE(read("out"), target.bytes);
    }
  }
  // A text may be written in its own place; nothing else is its own input.
  expectOutput(0, {"format", "survey.tvo", "-o", "./survey.tvo"});
  expectOutput(0, {"check", "survey.tvo"});
  for (const Arguments& verb : {Arguments{"check", "survey.tvo", "--log", "./survey.tvo"},
                                {"import", "survey.tvo", "-o", "survey.tvo"},
                                {"build", "survey.dat", "-o", "survey.dat"}}) {
    const ToolResult result = run(verb);
    EXPECT_EQ(result.status, 2);
    EXPECT_NE(result.err.find("is the input itself"), std::string::npos) << result.err;
  }
  EXPECT_EQ(temporaryFiles(), Arguments{});
}

TEST_F(FilesTest, WhatIsNoPlainTextIsSaid) {
  std::string wide;
  for (const char c : text_) wide += {c, '\0'};
  std::string old = text_;
  std::replace(old.begin(), old.end(), '\n', '\r');
  const struct {
    std::string bytes;
    int status;
    const char* what;
  } rows[] = {
      {"", 0, "the file is empty"},
      {" \n\t; DATABASE\r\n;\n\x1A"
       "DATABASE",
       0, "there is nothing in it but comments and blank lines"},
      {"\xEF\xBB\xBF" + text_, 1, "it begins with a byte-order mark, which hides its first word"},
      {"\xFF\xFE" + wide, 1, "it is UTF-16 text; save it as UTF-8 without a byte-order mark"},
      {wide, 1, "it is UTF-16 text; save it as UTF-8 without a byte-order mark"},
      {old, 1, "its lines end in carriage returns alone; save it with line feeds"},
      {"\x1F\x8B\x08\0\0\0\0\0\0\x03"s, 1, "it is compressed (gzip); unpack it first"},
      {"\x7F"
       "ELF\x02\x01\x01\0\0\0\0\0\0\0\0\0\x03\0>\0\x01\0\0\0"s,
       1, "it is binary data, not a text"},
      {text_, 0, nullptr},
  };
  for (const auto& row : rows) {
    const std::string out = expectOutput(row.status, {"check", "-"}, row.bytes);
    const ToolResult dump = run({"dump", "-"}, row.bytes);
    EXPECT_EQ(dump.status, row.status);
    const auto json = nlohmann::json::parse(
        expectOutput(row.status, {"check", "--format", "json", "-"}, row.bytes));
    if (row.what == nullptr) {
      EXPECT_EQ(out.find("note"), out.npos) << out;
      EXPECT_FALSE(json.contains("notes"));
      EXPECT_EQ(dump.err, "");
    } else {
      EXPECT_NE(out.find("(standard input): note: "s + row.what + "\n"), out.npos) << out;
      EXPECT_NE(dump.err.find("tavo: (standard input): "s + row.what + "\n"), out.npos) << dump.err;
      EXPECT_EQ(json["notes"], nlohmann::json::array({row.what}));
    }
  }
}

// Lines and hashes that these tell are a text's; what is built of the data file has them.
TEST_F(FilesTest, VerbsOfTextsSayWhatADataFileIs) {
  const Arguments verbs[] = {{"check"},
                             {"timeline"},
                             {"format", "-o", "out.tvo"},
                             {"import", "-o", "out.dat"},
                             {"export", "-o", "out.csv"},
                             {"plot", "-o", "out.svg"},
                             {"report", "-o", "out.html"}};
  const std::string data = read("survey.dat");
  const std::string text = expectOutput(0, {"build", "survey.dat", "-o", "-"});
  for (const Arguments& verb : verbs) {
    for (const std::string file : {"survey.dat", "-"}) {
      Arguments call = verb;
      call.push_back(file);
      const ToolResult result = run(call, file == "-" ? data : "");
      if (result.err.find("this build makes no reports") != std::string::npos) continue;
      EXPECT_EQ(result.status, 2) << verb[0];
      EXPECT_NE(result.err.find(" is a data file, not a text (see 'tavo dump' and 'tavo build')"),
                std::string::npos)
          << result.err;
      EXPECT_FALSE(verb.size() > 1 && exists(verb[2]));
      if (file == "-") expectOutput(0, call, text);
    }
  }
}

TEST_F(FilesTest, NothingReachesTheTerminalRaw) {
  // Controls of either range as single bytes and as UTF-8, an old umlaut, and a line that is cut
  // amid a character by the reader (the 129th byte) and by the display.
  const std::string words = "A\x9B\xC2\x9B\x1B\x7F\xE4";
  std::string line = "\"";
  while (line.size() < 300) line += "\xC3\xA4";
  write("odd.tvo",
        "DATABASE\nJOBS (JobNo)\n" + words + ";\n" + line + "\nEND JOBS\nEND DATABASE\n");
  const std::string out = expectOutput(1, {"check", "odd.tvo"});
  EXPECT_NE(out.find("syntax error: 'A????\xC3\xA4'\n    A????\xC3\xA4;\n"), out.npos) << out;
  std::string kept = "'\"", shown = "    \"";
  while (kept.size() < 130) kept += "\xC3\xA4";
  while (shown.size() < 133) shown += "\xC3\xA4";
  EXPECT_NE(out.find("exceeds line: " + kept + "'\n" + shown + " ...\n"), out.npos) << out;
  const std::string json = expectOutput(1, {"check", "--format", "json", "odd.tvo"});
  EXPECT_NE(json.find("\"A\\u009b\\u009b\\u001b\\u007f\xC3\xA4\""), out.npos) << json;
  write("name.tvo",
        "DATABASE\nJOBS (JobNo,Name)\n1,\"\xC2\x9B\x9B\xC2\xA0\";\nEND JOBS\nEND DATABASE\n");
  const std::string dump = expectOutput(0, {"dump", "name.tvo"});
  EXPECT_NE(dump.find("\"\\u009b\\u009b\xC2\xA0\""), dump.npos) << dump;
}

}  // namespace

}  // namespace tavo::test
