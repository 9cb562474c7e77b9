// The line reader: limits, line ends, terminators and quotes, odd bytes, line numbers.
#include <gtest/gtest.h>

#include "support/analysis.h"

namespace tavo::tests {
namespace {

using namespace std::string_literals;

std::string jobs(std::string_view lines) { return inBlock("DATABASE", "JOBS (JobNo,Name)", lines); }

// A line of that length: a good data line, filled up behind its terminator.
std::string longLine(size_t length) {
  const std::string line = R"(1,"A";)";
  return line + std::string(length - line.size(), '#');
}

TEST(Lines, LimitIs129CharactersWithEitherLineEnd) {
  const std::string first = "23(JobNo Name)\n";
  const std::string good = first + "33 JobNo=1 Name=\"A\"\n";
  for (const std::string end : {"\n", "\r\n"}) {
    for (const size_t length : {128U, 129U}) {
      expectAnalysis(end.c_str(), jobs(longLine(length) + end), "", good);
      expectAnalysis("blanks count", jobs(std::string(100, ' ') + longLine(length - 100) + end), "",
                     good);
    }
    for (const size_t length : {130U, 131U, 257U, 258U, 259U, 387U, 1000U}) {
      expectAnalysis(end.c_str(), jobs("\n  " + longLine(length - 2) + end + "x,;" + end),
                     "4 E2000 1,\"A\";######### ...\n5 E2500 x\n", first);
    }
  }
}

TEST(Lines, LastLineWithoutLineFeedIsTakenAsItStands) {
  const std::string open = "DATABASE\nJOBS (JobNo)\n1;\n";
  const std::string records = "23(JobNo)\n33 JobNo=1\n";
  const std::string missing = "4 E2012 JOBS\n4 E2012 DATABASE\n";
  expectAll({
      {"END behind blanks", open + "END JOBS\n \t END DATABASE", "", records},
      {"END and a carriage return", open + "END JOBS\nEND DATABASE\r", "", records},
      {"END before the end mark", open + "END JOBS\nEND DATABASE\x1a", "", records},
      {"data with comment", open + "  2; comment", missing, records + "33 JobNo=2\n"},
      {"quoted with blanks and comment", open + " 1,2; and so on",
       "4 E2051  1,2; and so on\n" + missing, records},
      {"129 characters", open + std::string(128, ' ') + "x", "4 E2500 x\n" + missing, records},
      {"the last piece of more", open + std::string(2 * 129, '#') + "2;x", missing,
       records + "33 JobNo=2\n"},
      {"a line of blanks", open + "END JOBS\nEND DATABASE\n   ", "", records},
      {"a terminator alone", open + "END JOBS\nEND DATABASE\n;", "", records},
  });
}

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
  });
}

TEST(Lines, QuotesAndBackslashesAroundTheTerminator) {
  const std::string head = "23(JobNo Name)\n";
  struct Row {
    const char* line;
    const char* name;  // as read; null: no record
    const char* findings;
  };
  for (const Row& row : {
           Row{R"(1,"a;b"; x)", "a;b", ""},
           {R"(1,"a\";b"; x)", R"(a";b)", ""},
           {R"(1,"a\\"; x";)", R"(a\)", ""},
           // A quote behind two backslashes always counts, so the third one's text is cut open.
           {R"(1,"a\\\"b"; x)", R"(a\"b)", ""},
           {R"(1,"a\\\";b"; x)", nullptr, "3 E2500 \"a\\\\\\\";\n"},
           {R"(1,"a\)", nullptr, "3 E2500 \"a\\\n"},
           // Single quotes toggle as well, although texts are never in single quotes.
           {R"(1,"it's"; x)", "it's", ""},
           {R"(1,"it's;"; x)", nullptr, "3 E2500 \"it's;\n"},
           {R"(1,'a;b';)", nullptr, "3 E2500 'a\n3 E2500 'a\n"},
           {R"(1,"open;)", nullptr, "3 E2500 \"open;\n"},
       }) {
    std::string records = head;
    if (row.name != nullptr) records += "33 JobNo=1 Name=\"" + std::string(row.name) + "\"\n";
    expectAnalysis(row.line, jobs(row.line + "\n"s), row.findings, records);
  }
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
