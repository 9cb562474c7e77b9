// The frame of all blocks: top-level lines, ENDs, keywords out of place, skipping, missing ENDs and
// the error limit at every depth.
#include <gtest/gtest.h>

#include "support/analysis.h"

namespace tavo::tests {
namespace {

constexpr const char* kNoDatabase = "DATABASE\nEND DATABASE\n";

TEST(Frame, TopLevelLines) {
  const std::string empty = kNoDatabase;
  expectAll({
      {"before any section",
       "x\n; y\nPOINTS (PointNo)\nEND DATABASE\nEND\ndatabase\n" + empty + "DATABASE;\n" + empty,
       "1 E2500 x\n3 E2500 POINTS (PointNo)\n4 E2150 END DATABASE\n5 E2150 END\n6 E2500 database\n"
       "9 W7011 DATABASE;\nnote line 9 will be ignored\n",
       ""},
      {"overlong lines are looked at",
       std::string(130, 'x') + "\nDATABASE " + std::string(130, 'x') + "\nEND DATABASE\n" +
           std::string(130, 'y') + "\n" + empty,
       "1 E2000 xxxxxxxxxxxxxxx ...\n1 E2500 xxxxxxxxxxxxxxx ...\n2 E2000 DATABASE xxxxxx ...\n"
       "4 E2000 yyyyyyyyyyyyyyy ...\n4 W7011 yyyyyyyyyyyyyyy ...\nnote line 4 will be ignored\n",
       ""},
      {"ENDs between sections", empty + "END DATABASE\nEND FOO\n" + empty,
       "3 E2150 END DATABASE\n4 E2150 END FOO\n", ""},
      {"unknown section",
       empty + "FOO(x)\n1;\n" + std::string(150, 'z') + "\nEND FOO\nEND DATABASE\n;\n\n" + empty,
       "5 E2000 zzzzzzzzzzzzzzz ...\n3 W7011 FOO\nnote lines 3 - 9 will be ignored\n", ""},
      {"unknown section at the end", empty + "FOO\nBAR\nEND FOO\n", "", ""},
      {"sub-sections at top level", empty + "POINTS (PointNo)\n1;\nEND POINTS\nJOBS\n" + empty,
       "3 E2104 POINTS\nnote lines 3 - 5 will be ignored\n6 E2104 JOBS\n"
       "note line 6 will be ignored\n",
       ""},
      {"sections repeat in any order",
       empty + "METEO\nEND METEO\n" + empty + "HEADER\nVERSION 2;\nEND HEADER\n", "",
       "1(VERSION)\n5 VERSION=2\n"},
      // At the limit the note still follows the report that is no longer written.
      {"limit at a skip",
       empty + "POINTS\n1;\n" + empty + "x\n",
       "note lines 3 - 4 will be ignored\n",
       "",
       {0}},
  });
}

TEST(Frame, ContainersAtEveryDepth) {
  const std::string jobs = "JOBS (JobNo)\n1;\nEND JOBS\n";
  const std::string job = "23(JobNo)\n33 JobNo=1\n";
  const auto database = [](const std::string& lines) {
    return "DATABASE\n" + lines + "END DATABASE\n";
  };
  expectAll({
      {"END of others", database("END JOBS\nEND END\nEND FOO\nEND\n" + jobs),
       "2 E2150 END JOBS\n3 E2150 END END\n", job},
      {"data where none is due", database("1,2;\n3;\n" + jobs),
       "2 W7011 1,2;\nnote lines 2 - 3 will be ignored\n", job},
      {"skipped to the own END", database("FOO\nEND FOO\n"),
       "2 W7011 FOO\nnote lines 2 - 3 will be ignored\n", ""},
      {"out of place", database("EDGES (LineNo)\n1;\nEND EDGES\n" + jobs),
       "2 E2104 EDGES\nnote lines 2 - 4 will be ignored\n", job},
      {"out of place twice", database("EDGES\nHEADER\nSETUP\n" + jobs),
       "2 E2104 EDGES\nnote line 2 will be ignored\n3 E2104 HEADER\nnote line 3 will be ignored\n"
       "4 E2104 SETUP\nnote line 4 will be ignored\n",
       job},
      {"overlong line", database(std::string(140, 'x') + "\n" + jobs),
       "2 E2000 xxxxxxxxxxxxxxx ...\n", job},
      {"a forgotten END costs one error", database("JOBS (JobNo)\n1;\n" + jobs), "4 E2012 JOBS\n",
       job + job},
      {"END of another in a block", database("JOBS (JobNo)\nEND DATABASE\n1;\nEND JOBS\n"),
       "3 E2150 END DATABASE\n", job},
      {"the next section in a block",
       "DATABASE\nJOBS (JobNo)\n1;\nMETEO\nEND METEO\nEND DATABASE\n",
       "4 E2012 JOBS\n4 E2104 METEO\nnote lines 4 - 5 will be ignored\n", job},
      {"TEXT and BOXES",
       database("TEXT\nBOX_ON_POINT\nBOXES\nITEMS (TextItemNo)\n1;\n"
                "BOX_ON_POINT (TextBoxNo)\n2;\nEND BOXES\nEND BOX_ON_POINT\nEND BOXES\n"
                "ITEMS (TextItemNo)\n3;\nEND TEXT\nEND ITEMS\nEND TEXT\n"),
       "3 E2104 BOX_ON_POINT\nnote line 3 will be ignored\n5 E2104 ITEMS\n"
       "note lines 5 - 6 will be ignored\n9 E2150 END BOXES\n14 E2150 END TEXT\n",
       "93(TextBoxNo)\n96 TextBoxNo=2\n94(TextItemNo)\n97 TextItemNo=3\n"},
  });
}

TEST(Frame, MissingEndsAtTheEndOfTheInput) {
  const struct {
    const char* opened;
    const char* names;  // innermost first
    const char* records;
  } rows[] = {
      {"DATABASE", "DATABASE", ""},
      {"DATABASE|POINTS (PointNo)|1;", "POINTS DATABASE", "24(PointNo)\n34 PointNo=1\n"},
      {"DATABASE|POINTS (PointNo)|1;|EXTRAINFO (PointNo)", "EXTRAINFO POINTS DATABASE",
       "24(PointNo)\n34 PointNo=1\n"},
      {"DATABASE|LINES (LineNo)|EDGES (LineNo)|1;", "EDGES LINES DATABASE",
       "27(LineNo)\n28(LineNo)\n38 LineNo=1\n"},
      {"DATABASE|TEXT|BOXES|BOX_ON_POINT (Units)", "BOX_ON_POINT BOXES TEXT DATABASE",
       "93(Units)\n"},
      {"DEFINITIONS|CODELIST|NAME \"n\"|CODES (CodeNo)", "CODES CODELIST DEFINITIONS",
       "14(CodeNo)\n13(NAME)\n20 NAME=\"n\"\n"},
      {"DEFINITIONS|MAPPRJ_PARAMS|UTM (ZoneNo)", "UTM MAPPRJ_PARAMS DEFINITIONS", "65(ZoneNo)\n"},
      {"THEODOLITE|CONFIGS (CfgNo)|APRIORI_ERRORS (CfgNo)|1;", "APRIORI_ERRORS CONFIGS THEODOLITE",
       "46(CfgNo)\n47(CfgNo)\n52 CfgNo=1\n"},
      {"THEODOLITE|SETUP|STN_NO 1", "SETUP THEODOLITE", "48(STN_NO)\n53 STN_NO=1\n"},
      {"METEO|ELEMENTS (StnNo)", "ELEMENTS METEO", "43(StnNo)\n"},
      {"TIME_TAGGED_CODES", "TIME_TAGGED_CODES", ""},
      {"OPERATIONS|ARC_3PTS", "OPERATIONS", ""},
  };
  for (const auto& row : rows) {
    std::string text = row.opened + std::string("\n");
    std::replace(text.begin(), text.end(), '|', '\n');
    const auto last = std::to_string(std::count(text.begin(), text.end(), '\n'));
    std::string findings;
    uint16_t depth = 0;
    for (std::string names = row.names; !names.empty(); ++depth) {
      // At a lower limit the outermost reports are missing. The first one that no longer fits ends
      // the run, also before points that wait for their EXTRAINFO are delivered.
      const Analysed cut = analyse(text, {depth});
      EXPECT_EQ(cut.findings, findings);
      if (depth > 0) {
        EXPECT_EQ(cut.records, row.records);
      }
      const size_t end = std::min(names.find(' '), names.size());
      std::string name = names.substr(0, end);
      findings += last + " E2012 " + name + "\n";
      names.erase(0, end + 1);
    }
    expectAnalysis(row.opened, text, findings, row.records);
  }
}

// Mistakes in every kind of block: a limit cuts the log in front of the first error beyond it.
TEST(Frame, ErrorLimitInsideNestedBlocks) {
  const std::string text =
      "x\nDEFINITIONS\nSUBJECTS (SubjectNo)\nx;\nEND LAYERS\n1,2;\nCODELIST\nNAME x;\nCODES "
      "(OBJTYPE)\n"
      "NO;\nEND CODES\nEND CODELIST\nMAPPRJ_PARAMS\nUTM (HEMISPHERE,ZoneNo)\nNO,\nx;\nNO,1;\nFOO\n"
      "END UTM\nEND UTM\nEND MAPPRJ_PARAMS\nEND DEFINITIONS\nDATABASE\nPOINTS (PointNo,SYS,CLASS)\n"
      "1,300,NO;\n1,1,NO;\n2,2,FIX;\nEXTRAINFO (SYS)\nEXTRAINFO (PointNo,Code)\n9,\"x\";\nEND FOO\n"
      "2,x;\nTHEMINFO (PointNo,)\n1;\nEND THEMINFO\nEND JOBS\nANNOTATIONS (TYPE)\nNO;\n" +
      std::string(140, 'y') +
      "\nEND ANNOTATIONS\nEXTRAINFO (PointNo)\nEND POINTS\nLINES\nEND LINES\nTEXT\nITEMS "
      "(Foo)\nx,;\n"
      "END TEXT\nEND ITEMS\nEND TEXT\nEND DATABASE\nTHEODOLITE\nSETUP\nSTN_NO -1;\nSLOPE (Hz,\n"
      "SLOPE (Hz)\nEND SLOPE\nSLOPE (Hz)\nx;\nx,\nEND SLOPE\nEND THEODOLITE\nEND THEODOLITE\n"
      "OPERATIONS\nFOO\nARC_3PTS 1\n1,2,3;\nRECTANGLE x\n1,2;\nARC_3PTS\n1,2;\nEND OPERATIONS\n"
      "DATABASE\nJOBS (JobNo)\n1,\n";
  const Analysed whole = analyse(text);
  ASSERT_GT(whole.counts.errors, 30);
  std::string before;  // findings in front of the next error
  uint16_t limit = 0;
  for (size_t at = 0; at < whole.findings.size();) {
    const size_t end = whole.findings.find('\n', at) + 1;
    const std::string line = whole.findings.substr(at, end - at);
    if (line.find(" E") != std::string::npos && line.rfind("note", 0) != 0) {
      const Analysed cut = analyse(text, {limit});
      SCOPED_TRACE(limit);
      EXPECT_EQ(cut.findings.substr(0, before.size()), before);
      // A skip writes its note also where its report no longer fits.
      const std::string rest = cut.findings.substr(std::min(before.size(), cut.findings.size()));
      EXPECT_TRUE(rest.empty() || (line.find("E2104") != std::string::npos &&
                                   whole.findings.compare(end, rest.size(), rest) == 0))
          << rest;
      EXPECT_EQ(cut.counts.errors, limit);
      EXPECT_EQ(cut.status, limit == 0 ? 0U : uint32_t{TVO_ERR_ERRORS_FOUND});
      EXPECT_EQ(whole.records.compare(0, cut.records.size(), cut.records), 0) << cut.records;
      ++limit;
    }
    before += line;
    at = end;
  }
  EXPECT_EQ(limit, whole.counts.errors);
  EXPECT_EQ(analyse(text, {limit}).findings, whole.findings);
}

TEST(Frame, FilesThatCannotBeOpened) {
  api::Library library;
  api::AnalysisRequest request;
  request.sink = {[](void*, RecordType, const void*) { return uint32_t{0}; }, nullptr};
  api::AnalysisCounts counts = {7, 7, 7, 7};
  const auto run = [&](const char* input, const char* log) {
    request.inputPath = input;
    request.logPath = log;
    return library.analyse(request, &counts);
  };
  writeFile("frame.input", "x\n");
  EXPECT_EQ(run("no such file", "frame.log"), TVO_ERR_OPEN);
  EXPECT_EQ(readFile("frame.log"), "");
  EXPECT_EQ(run("frame.input", "no such folder/frame.log"), TVO_ERR_OPEN);
  EXPECT_EQ(run("frame.input", "frame.input"), TVO_ERR_OPEN);
  EXPECT_EQ(readFile("frame.input"), "x\n");
  EXPECT_EQ(counts.errors, 7);
  EXPECT_EQ(run("frame.input", "frame.log"), TVO_ERR_ERRORS_FOUND);
  EXPECT_EQ(counts.errors, 1);
}

}  // namespace
}  // namespace tavo::tests
