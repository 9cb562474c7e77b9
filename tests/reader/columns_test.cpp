// Column definitions and how data lines are matched against them.
#include <gtest/gtest.h>

#include "support/analysis.h"

namespace tavo::tests {
namespace {

// A JOBS block by its definition's lines, one job in it and one more block behind it.
AnalysisCase definition(const char* name, const std::string& lines, const std::string& findings,
                        const std::string& records) {
  return {name, "DATABASE\n" + lines + "\n7;\nEND JOBS\nJOBS (JobNo)\n8;\nEND JOBS\nEND DATABASE\n",
          findings, records + "23(JobNo)\n33 JobNo=8\n"};
}

TEST(Columns, Definitions) {
  const std::string good = "23(JobNo)\n33 JobNo=7\n";
  const std::string over = "JOBS (JobNo," + std::string(118, '#');
  expectAll({
      definition("no blank", "JOBS(JobNo)", "", good),
      definition("blanks everywhere", "  JOBS \t ( \t JobNo ) ; it", "", good),
      definition("over lines", "JOBS ; x)\n( JobNo)",
                 "2 E2010 JOBS ;\n3 W7011 \n"
                 "note lines 3 - 5 will be ignored\n",
                 ""),
      definition("comments inside", "JOBS ( ; (first,\n  ; second\nJobNo ; third)\n) ; fourth", "",
                 good),
      definition("unknown name", "JOBS (jobNo)", "2 W7012 jobNo\n", "23(#0)\n33\n"),
      definition("empty list", "JOBS ( )", "2 E2500 JOBS ( )\n", ""),
      definition("empty first name", "JOBS (,JobNo)", "2 E2500 JOBS (,JobNo)\n", ""),
      definition("empty last name", "JOBS (JobNo,)", "2 E2500 JOBS (JobNo,)\n", ""),
      definition("empty name over a line end", "JOBS (JobNo,\n,Name)", "3 E2500 ,Name)\n", ""),
      definition("two names", "JOBS (JobNo Name)", "2 E2500 JOBS (JobNo Name)\n", ""),
      definition("two names over a line end", "JOBS (JobNo\nName)", "3 E2500 Name)\n", ""),
      definition("text behind", "JOBS (JobNo) x", "2 E2500 JOBS (JobNo) x\n", ""),
      definition("text behind, own line", "JOBS (JobNo\n) x ;", "3 E2500 ) x ;\n", ""),
      definition("warnings come first", "JOBS (No,\nOne,,",
                 "2 W7012 No\n3 W7012 One\n3 E2500 One,,\n", ""),
      definition("keyword in the list", "JOBS (JobNo,\nLINES (LineNo)\n1;\nEND LINES",
                 "3 E2011 LINES (LineNo)\n", ""),
      definition("END of another block", "JOBS (JobNo,\nEND LINES", "3 E2011 END LINES\n", ""),
      definition("too long a line", over,
                 "2 E2000 JOBS (JobNo,### ...\n3 W7011 7;\n"
                 "note lines 3 - 4 will be ignored\n",
                 ""),
      definition("too long a line inside", "JOBS (JobNo,\n" + over, "3 E2000 JOBS (JobNo,### ...\n",
                 ""),
  });
}

TEST(Columns, DefinitionCutShort) {
  const std::string ends = "23(JobNo)\n33 JobNo=8\n";
  expectAll({
      {"own END in the list",
       "DATABASE\nJOBS (JobNo,\nEND JOBS\nJOBS (JobNo)\n8;\nEND JOBS\n"
       "END DATABASE\n",
       "3 E2011 END JOBS\n", ends},
      {"END of the section in the list", "DATABASE\nJOBS (JobNo,\nEND DATABASE\n",
       "3 E2011 END DATABASE\n3 E2012 DATABASE\n", ""},
      {"end of the input in the list", "DATABASE\nJOBS (JobNo,\n",
       "2 E2012 JOBS\n2 E2012 DATABASE\n", ""},
      {"end of the input in what is passed over", "DATABASE\nJOBS (JobNo,)\n1;\nx\n",
       "2 E2500 JOBS (JobNo,)\n4 E2012 DATABASE\n", ""},
      {"list behind the terminator of a last line", "DATABASE\nJOBS ; (JobNo)",
       "2 E2010 JOBS ; (JobNo)\n2 E2012 DATABASE\n", ""},
      {"list in a last line", "DATABASE\nJOBS (JobNo) ; (it)", "2 E2012 JOBS\n2 E2012 DATABASE\n",
       "23(JobNo)\n"},
      {"the error limit", "DATABASE\nJOBS (,\n1;\nEND JOBS\nEND DATABASE\nx\n", "", "", {0}},
      {"passing over stops at an overlong line beyond the limit",
       "DATABASE\nJOBS (,\n" + std::string(200, 'x') + "\nEND JOBS\nJOBS (JobNo)\n",
       "2 E2500 JOBS (,\n",
       "",
       {1}},
  });
}

TEST(Columns, AtMost39) {
  const std::string names = repeated("JobNo,\n", 38) + "JobNo";
  const std::string values = repeated("1,\n", 38) + "5";
  expectAnalysis("39",
                 "DATABASE\nJOBS (" + names + ")\n" + values + ";\n" + values + ",\n;\n" + values +
                     ",6;\nEND JOBS\nEND DATABASE\n",
                 "158 E2051 5,6;\n",
                 "23(" + repeated("JobNo ", 38) + "JobNo)\n" + repeated("33 JobNo=5\n", 2));
  expectAnalysis("40", "DATABASE\nJOBS (" + names + "\n,x\n) ; end\n1;\nEND JOBS\nEND DATABASE\n",
                 "42 E2011 ) ;\n", "");
}

TEST(Columns, DataLines) {
  const std::string head = "23(JobNo Name TimeZone)\n";
  const std::string good = "33 JobNo=1 Name=\"a\" TimeZone=2\n";
  const auto row = [&](const char* lines, const std::string& findings, int count) {
    return AnalysisCase{
        lines,
        inBlock("DATABASE", "JOBS (JobNo,Name,TimeZone)", lines + std::string("\n1,\"a\",2;\n")),
        findings, head + repeated(good, static_cast<size_t>(count) + 1)};
  };
  expectAll({
      row(R"( 1 , "a" , 2 ; comment)", "", 1),
      row("1,\n\"a\",\n2;", "", 1),
      // A comment line begins with the terminator and so ends the continued line.
      row("1, \t\n\n  ; x\nx,\"a\",2;", "5 E2051 ;\n6 E2500 x\n", 0),
      row("1,\n\n \"a\",2,\n\n ; comment", "", 1),
      row(R"(1,"a",2,;)", "", 1),
      row(R"(1,"a",2, ; comment)", "", 1),
      row(R"(1,"a";)", "3 E2051 1,\"a\";\n", 0),
      row(R"(1,"a",2,3;)", "3 E2051 1,\"a\",2,3;\n", 0),
      row("1,\"a\",2,\n3;", "4 E2051 3;\n", 0),
      row(R"(1,"a",2)", "3 E2051 1,\"a\",2\n", 0),
      row("1,\"a\"\n2,;", "3 E2051 1,\"a\"\n4 E2051 2,;\n", 0),
      row("1,\n;", "4 E2051 ;\n", 0),
      // A field error takes the place of a mismatch; all fields are still looked at.
      row(R"(x,"a";)", "3 E2500 x\n", 0),
      row(R"(x,"a",y;)", "3 E2500 x\n3 E2500 y\n", 0),
      row("x,\n\"a\",\ny,;", "3 E2500 x\n5 E2500 y\n", 0),
      // Another block's keyword, or END of an unknown word, is a value where one is due.
      row("1,\nLINES", "4 E2500 LINES\n4 E2500 LINES\n", 0),
      row("1,\"a\",\nEND FOO;", "4 E2500 END FOO\n", 0),
      row("END FOO;", "3 E2500 END FOO\n", 0),
  });
  const std::string over(130, 'x');
  expectAll({
      {"overlong continuation",
       inBlock("DATABASE", "JOBS (JobNo,TimeZone)", "1,\n" + over + "\n2,3;\n"),
       "4 E2000 xxxxxxxxxxxxxxx ...\n", "23(JobNo TimeZone)\n33 JobNo=2 TimeZone=3\n"},
      {"overlong line", inBlock("DATABASE", "JOBS (JobNo)", over + "\n2;\n"),
       "3 E2000 xxxxxxxxxxxxxxx ...\n", "23(JobNo)\n33 JobNo=2\n"},
      {"own END as continuation",
       "DATABASE\nJOBS (JobNo,Name)\n1,\nEND JOBS\nJOBS (JobNo)\n2;\n"
       "END JOBS\nEND DATABASE\n",
       "4 E2051 END JOBS\n", "23(JobNo Name)\n23(JobNo)\n33 JobNo=2\n"},
      {"own END behind a bad field", "DATABASE\nJOBS (JobNo,Name)\nx,\nEND JOBS\nEND DATABASE\n",
       "3 E2500 x\n", "23(JobNo Name)\n"},
      {"end of the input as continuation", "DATABASE\nJOBS (JobNo,Name)\n1,\n",
       "3 E2012 JOBS\n3 E2012 DATABASE\n", "23(JobNo Name)\n"},
      {"unknown columns take free values",
       inBlock("DATABASE", "JOBS (Foo,JobNo,Bar)", "\"x\",1,-1.5;\n,2,;\nx,3,;\n"),
       "2 W7012 Foo\n2 W7012 Bar\n5 E2500 x\n", "23(#0 JobNo #0)\n33 JobNo=1\n33 JobNo=2\n"},
  });
}

TEST(Columns, GroupsAreCheckedBehindAWholeLine) {
  expectAnalysis("groups",
                 inBlock("DEFINITIONS", "CODELIST",
                         "ATTRIBUTES (MANDATORY,HIDDEN,ListNo)\nYES,NO,1;\nNORTH,FIX,2;\n"
                         "NORTH,NO,x;\nNORTH,NO;\nUNKNOWN,,3;\nEND ATTRIBUTES\n"),
                 "5 E2050 NORTH\n5 E2050 FIX\n6 E2500 x\n7 E2051 NORTH,NO;\n",
                 "15(MANDATORY HIDDEN ListNo)\n22 ListNo=1 MANDATORY=YES HIDDEN=NO\n"
                 "22 ListNo=3 MANDATORY=UNKNOWN HIDDEN=UNKNOWN\n");
}

}  // namespace
}  // namespace tavo::tests
