// The line reader where a survey could not show it: bytes that no editor writes, and very long
// files.
#include <gtest/gtest.h>

#include "support/analysis.h"

namespace tavo::tests {
namespace {

using namespace std::string_literals;

std::string jobs(std::string_view lines) { return inBlock("DATABASE", "JOBS (JobNo,Name)", lines); }

TEST(Lines, ZeroEndsItsLineAndByte26TheInput) {
  const std::string head = "23(JobNo Name)\n";
  expectAll({
      {"zero behind data", jobs("1,\"A\";\0 \"\n"s), "", head + "33 JobNo=1 Name=\"A\"\n"},
      {"zero before the terminator", jobs("1,\"A\"\0;\n"s), "3 E2051 1,\"A\"\n", head},
      {"zero first",
       jobs("\0"
            "1,2\n  \0x\n"s),
       "", head},
      {"zeros count for the limit", jobs("1,\"A\";" + std::string(124, '\0') + "\n"),
       "3 E2000 1,\"A\";\n", head},
      // What a zero empties is no last line, nor is it counted.
      {"zero alone", "\0"s, "", ""},
      {"zeros alone", std::string(200, '\0'), "", ""},
      {"zero behind all", "HEADER\nVERSION 1\n\0 x"s, "2 E2012 HEADER\n",
       "1(VERSION)\n5 VERSION=1\n"},
      {"26", "DATABASE\nJOBS (JobNo)\n1;\n2;\x1a\nEND JOBS\n", "4 E2012 JOBS\n4 E2012 DATABASE\n",
       "23(JobNo)\n33 JobNo=1\n33 JobNo=2\n"},
      {"26 first",
       "\x1a"
       "DATABASE",
       "", ""},
      {"26 behind the last END", "DATABASE\nEND DATABASE\x1a", "", ""},
      {"carriage return behind the last END", "DATABASE\nEND DATABASE\r", "", ""},
  });
}

TEST(Lines, SkippedLinesCountAndNumbersWrap) {
  expectAnalysis("skipped lines", jobs("\n \t\r\n;x,;\n  ;\n\x01\x1f\nx,;\n"), "8 E2500 x\n",
                 "23(JobNo Name)\n");
  expectAnalysis("wrapped", jobs(repeated("\n", 65533) + "x,;\ny,;\n"), "0 E2500 x\n1 E2500 y\n",
                 "23(JobNo Name)\n");
}

TEST(Lines, CommentsAreCounted) {
  const struct {
    const char* text;
    uint64_t comments;
  } rows[] = {
      {"", 0},
      {";\n  ; \t\n", 0},
      {"; one\n;;\n", 2},
      {"JOBS (JobNo) ; one\n1; two\n2;\n\"a;b\";\n;three", 3},
      {"END DATABASE ; at the end", 1},
  };
  for (const auto& row : rows) EXPECT_EQ(analyse(row.text).counts.comments, row.comments);
}

TEST(Lines, EmptyInputsYieldTheSummaryAlone) {
  for (const char* text : {"", "\n", " \n\t\n", ";\n", "\x1a"}) {
    EXPECT_EQ(analyse(text).log, "\nanalysis.input - 0 error(s), 0 warning(s)\n");
  }
}

}  // namespace
}  // namespace tavo::tests
