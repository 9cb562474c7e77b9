// DATABASE: points, lines and polygons that wait for EXTRAINFO, and the plain blocks among them.
#include <gtest/gtest.h>

#include <chrono>

#include "support/analysis.h"

namespace tavo::tests {
namespace {

std::string database(const std::string& lines) { return "DATABASE\n" + lines + "END DATABASE\n"; }
std::string points(const std::string& lines) {
  return database("POINTS (PointNo,PointID)\n1,\"A\";\n2,\"B\";\n3,\"B\";\n" + lines +
                  "END POINTS\n");
}

TEST(Database, ExtraInfoCompletesPendingRecords) {
  const std::string three =
      "34 PointNo=1 PointID=\"A\"\n34 PointNo=2 PointID=\"B\"\n"
      "34 PointNo=3 PointID=\"B\"\n";
  const std::string plain = "24(PointNo PointID)\n" + three;
  expectAll({
      {"nothing waits long", points(""), "", plain},
      {"by number", points("EXTRAINFO (PointNo,Code)\n2,\"x\";\n9,\"y\";\nEND EXTRAINFO\n"),
       "8 E2100 9,\"y\";\n",
       "24(PointNo PointID Code)\n34 PointNo=1 PointID=\"A\"\n"
       "34 PointNo=2 PointID=\"B\" Code=\"x\"\n34 PointNo=3 PointID=\"B\"\n"},
      {"by ID, the first match wins",
       points("EXTRAINFO (PointID,Code)\n\"B\",\"x\";\n\"b\",\"y\";\n"
              "\"B \",\"z\";\nEND EXTRAINFO\n"),
       "8 E2100 \"b\",\"y\";\n9 E2100 \"B \",\"z\";\n",
       "24(PointNo PointID Code)\n34 PointNo=1 PointID=\"A\"\n34 PointNo=2 PointID=\"B\" "
       "Code=\"x\"\n"
       "34 PointNo=3 PointID=\"B\"\n"},
      // The key finds the record; the other key field is overwritten, and found under its new
      // value.
      {"keys are overwritten",
       points("EXTRAINFO (PointNo,PointID,SYS)\n1,\"B\",7;\nEND EXTRAINFO\n"
              "EXTRAINFO (PointID,Geoid,East)\n\"B\",2.5,\n1;\n\"A\",1,1;\nEND EXTRAINFO\n"),
       "12 E2100 \"A\",1,1;\n",
       "24(PointNo PointID SYS Geoid East)\n"
       "34 PointNo=1 PointID=\"B\" SYS=7 East=1 Geoid=2.5\n34 PointNo=2 PointID=\"B\"\n"
       "34 PointNo=3 PointID=\"B\"\n"},
      {"empty values overwrite",
       points("EXTRAINFO (PointNo,SYS)\n1,7;\n1,;\n2,8;\nEND EXTRAINFO\n"), "",
       "24(PointNo PointID SYS)\n34 PointNo=1 PointID=\"A\"\n34 PointNo=2 PointID=\"B\" SYS=8\n"
       "34 PointNo=3 PointID=\"B\"\n"},
      {"bad lines change nothing",
       points("EXTRAINFO (PointNo,CLASS,Foo)\n1,NO,;\n1,FIX,x;\n2,FIX;\n"
              "3,ADJ,1;\nEND EXTRAINFO\n"),
       "6 W7012 Foo\n7 E2050 NO\n8 E2500 x\n9 E2051 2,FIX;\n",
       "24(PointNo PointID CLASS #0)\n"
       "34 PointNo=1 PointID=\"A\"\n34 PointNo=2 PointID=\"B\"\n34 PointNo=3 PointID=\"B\" "
       "CLASS=ADJ\n"},
      // The lines of a refused EXTRAINFO are then looked at by POINTS.
      {"key not first", points("EXTRAINFO (SYS,PointNo)\n4,\"C\";\nEND EXTRAINFO\n"),
       "6 E2500 EXTRAINFO (SYS, ...\n8 E2150 END EXTRAINFO\n",
       plain + "34 PointNo=4 PointID=\"C\"\n"},
      {"key of another kind", points("EXTRAINFO (LineNo,SYS)\nEND POINTS\n"),
       "6 W7012 LineNo\n6 E2500 EXTRAINFO (Line ...\n8 E2150 END POINTS\n", plain},
      {"no list", points("EXTRAINFO\n"), "6 E2010 EXTRAINFO\n", plain},
      {"bad list", points("EXTRAINFO (PointNo,)\n1;\nEND EXTRAINFO\n"),
       "6 E2500 EXTRAINFO (PointNo,)\n", plain},
      {"nothing waits",
       database("POINTS (PointNo)\nEXTRAINFO (PointNo,SYS)\n1;\nEND EXTRAINFO\n"
                "END POINTS\n"),
       "3 E2500 EXTRAINFO (Poin ...\n5 E2150 END EXTRAINFO\n", "24(PointNo)\n34 PointNo=1\n"},
      {"ENDs",
       points("EXTRAINFO (PointNo,SYS)\nEND FOO\nEND POINTS\nEND\n1,2;\n"
              "THEMINFO (PointNo)\n1;\nEND THEMINFO\n"),
       "7 E2150 END FOO\n8 E2150 END POINTS\n9 E2150 END\n11 E2012 EXTRAINFO\n",
       "24(PointNo PointID SYS)\n34 PointNo=1 PointID=\"A\" SYS=2\n34 PointNo=2 PointID=\"B\"\n"
       "34 PointNo=3 PointID=\"B\"\n26(PointNo)\n36 PointNo=1\n"},
      {"listed again",
       points("EXTRAINFO (PointNo,SYS)\n1,7;\nEND EXTRAINFO\n"
              "EXTRAINFO (PointID,SYS,Foo,PointNo,SYS)\n\"B\",8,,2,9;\nEND EXTRAINFO\n"),
       "9 W7012 Foo\n",
       "24(PointNo PointID SYS SYS #0 SYS)\n34 PointNo=1 PointID=\"A\" SYS=7\n"
       "34 PointNo=2 PointID=\"B\" SYS=9\n34 PointNo=3 PointID=\"B\"\n"},
      {"key that the block did not declare",
       database("POINTS (SYS)\n1;\n2;\n"
                "EXTRAINFO (PointNo,JobNo)\n1,5;\n0,6;\nEND EXTRAINFO\nEND POINTS\n"),
       "6 E2100 1,5;\n", "24(SYS JobNo)\n34 JobNo=6 SYS=1\n34 SYS=2\n"},
  });
}

TEST(Database, FlushesAtTheFirstOtherKeyword) {
  const std::string one = "24(PointNo)\n34 PointNo=1\n";
  const auto block = [](const std::string& lines) {
    return database("POINTS (PointNo)\n1;\n" + lines + "END POINTS\n");
  };
  expectAll({
      {"empty block", database("POINTS (PointNo)\nEND POINTS\n"), "", "24(PointNo)\n"},
      {"behind a sub-section",
       block("THEMINFO (PointNo)\n1;\nEND THEMINFO\nEXTRAINFO (PointNo,SYS)\n"
             "2;\nEND EXTRAINFO\n"),
       "7 E2500 EXTRAINFO (Poin ...\n9 E2150 END EXTRAINFO\n",
       one + "26(PointNo)\n36 PointNo=1\n34 PointNo=2\n"},
      {"data behind a flush",
       block("END FOO\n2;\nEXTRAINFO (PointNo,SYS)\n1,5;\n2,6;\nEND EXTRAINFO\n"
             "PNT_ACCURACY (Mo)\n1.5;\nEND PNT_ACCURACY\n3;\n"),
       "7 E2100 1,5;\n", one + "34 PointNo=2 SYS=6\n25(Mo)\n35 Mo=1.5\n34 PointNo=3\n"},
      {"out of place", block("EDGES (LineNo)\n2;\nEND EDGES\nEND FOO\n"),
       "4 E2104 EDGES\nnote lines 4 - 7 will be ignored\n", one},
      {"END of another", block("END JOBS\n2;\n"), "4 E2150 END JOBS\n", one + "34 PointNo=2\n"},
      {"the next block",
       "DATABASE\nPOINTS (PointNo)\n1;\nLINES (LineNo)\n2;\nEND LINES\nEND DATABASE\n",
       "7 E2012 POINTS\n7 E2012 DATABASE\n", one},
      {"overlong and bad lines", block(std::string(130, '2') + "\nx;\n2,3;\n"),
       "4 E2000 222222222222222 ...\n5 E2500 x\n6 E2051 2,3;\n", one},
      {"limit", block("x;\n"), "", "", {0}},
      {"own END as continuation",
       "DATABASE\nPOINTS (PointNo,SYS)\n1,2;\n2,\nEND POINTS\nEND DATABASE\n",
       "5 E2051 END POINTS\n", "24(PointNo SYS)\n34 PointNo=1 SYS=2\n"},
  });
}

// The end of the input delivers before its reports, so that the error limit costs no records.
TEST(Database, EndOfInputDeliversWhateverIsOpen) {
  const std::string begin = "DATABASE\nPOINTS (PointNo)\n1;\nEXTRAINFO (PointNo,";
  const struct {
    const char* name;
    std::string text;
    std::string column;
    const char* findings;
  } rows[] = {
      {"in EXTRAINFO", begin + "SYS)\n", " SYS", "4 E2012 EXTRAINFO\n4 E2012 POINTS\n"},
      {"in its line", begin + "SYS)\n1,\n", " SYS", "5 E2012 EXTRAINFO\n5 E2012 POINTS\n"},
      {"in its list", begin, "", "4 E2012 EXTRAINFO\n4 E2012 POINTS\n"},
  };
  for (const auto& row : rows) {
    const std::string records = "24(PointNo" + row.column + ")\n34 PointNo=1\n";
    const std::string findings = row.findings + std::string(row.findings, 1) + " E2012 DATABASE\n";
    expectAnalysis(row.name, row.text, findings, records);
    expectAnalysis(row.name, row.text, "", records, {0});
    // A callback that stops there leaves the rest unsaid.
    expectAnalysis(row.name, row.text, "", records, {9, 2});
  }
}

TEST(Database, FieldsAddedByExtraInfoFillTheList) {
  // Listing stops where the room of a columns record is full; values arrive all the same.
  std::string lines = "EXTRAINFO (PointNo";
  for (const char* name : {"SYS", "JobNo", "CLASS", "East", "North", "Elevation", "X", "Y", "Z"}) {
    lines += ",\n" + std::string(name);
  }
  lines += ")\n1,2,3,FIX,4,5,6,7,8,9;\nEND EXTRAINFO\n";
  expectAnalysis("added", database("POINTS (PointNo)\n1;\n" + lines + "END POINTS\n"), "",
                 "24(PointNo SYS JobNo CLASS East North Elevation X Y Z)\n"
                 "34 PointNo=1 JobNo=3 CLASS=FIX SYS=2 East=4 North=5 Elevation=6 X=7 Y=8 Z=9\n");
  const std::string full = database("POINTS (" + repeated("PointNo,\n", 38) + "PointNo)\n" +
                                    repeated("1,\n", 38) + "1;\n" + lines + "END POINTS\n");
  const std::string columns = analyse(full).records;
  EXPECT_EQ(columns,
            "24(" + repeated("PointNo ", 39) +
                "SYS)\n34 PointNo=1 JobNo=3 CLASS=FIX SYS=2 East=4 North=5 Elevation=6 X=7 Y=8 "
                "Z=9\n");
}

// Long lists are looked up by hash; what they answer is what a search from the start finds.
TEST(Database, LongListsAnswerAsShortOnes) {
  for (const size_t count : {1U, 31U, 32U, 33U, 64U, 1000U, 5000U}) {
    std::string text = "POINTS (PointNo,PointID)\n";
    for (size_t i = 0; i < count; ++i) {
      text += std::to_string(i % 700) + ",\"P" + std::to_string(i % 900) + "\";\n";
    }
    text += "EXTRAINFO (PointNo,SYS)\n";
    for (size_t i = 0; i < 40; ++i)
      text += std::to_string(i * 31) + "," + std::to_string(i) + ";\n";
    text +=
        "END EXTRAINFO\nEXTRAINFO (PointNo,PointID)\n0,\"Q\";\nEND EXTRAINFO\n"
        "EXTRAINFO (PointID,JobNo)\n\"P0\",9;\n\"Q\",8;\n\"P5\",7;\nEND EXTRAINFO\nEND POINTS\n";
    std::string records = "24(PointNo PointID SYS JobNo)\n";
    bool p0 = false;
    for (size_t i = 0; i < count; ++i) {
      records += "34";
      if (i % 700 != 0) records += " PointNo=" + std::to_string(i % 700);
      records += i == 0 ? " PointID=\"Q\"" : " PointID=\"P" + std::to_string(i % 900) + "\"";
      const bool first = i != 0 && i % 900 == 0 && !p0;
      p0 = p0 || first;
      if (i == 0) records += " JobNo=8";
      if (first) records += " JobNo=9";
      if (i == 5) records += " JobNo=7";
      if (i < 700 && i % 31 == 0 && i / 31 < 40 && i != 0) {
        records += " SYS=" + std::to_string(i / 31);
      }
      records += "\n";
    }
    const Analysed result = analyse(database(text));
    SCOPED_TRACE(count);
    EXPECT_TRUE(result.records == records);
    const size_t known = std::min<size_t>(40, (std::min<size_t>(count, 700) + 30) / 31);
    EXPECT_EQ(result.counts.errors, 40 - known + (count > 900 ? 0 : 1) + (count > 5 ? 0 : 1));
  }
}

// A block keyed by one field may write the other one, which is then found under its new value only.
TEST(Database, KeysChangedAfterTheirFirstLookup) {
  const std::string text =
      database("POINTS (PointNo,PointID)\n" + repeated("7,\"x\";\n", 100) +
               "1,\"A\";\n2,\"B\";\nEXTRAINFO (PointID,SYS)\n\"A\",1;\nEND EXTRAINFO\n"
               "EXTRAINFO (PointNo,PointID)\n1,\"C\";\nEND EXTRAINFO\n"
               "EXTRAINFO (PointID,PointNo,SYS)\n\"A\",9,9;\n\"C\",3,2;\nEND EXTRAINFO\n"
               "EXTRAINFO (PointNo,SYS)\n1,9;\n3,4;\n2,5;\nEND EXTRAINFO\nEND POINTS\n");
  const Analysed result = analyse(text);
  EXPECT_EQ(result.findings, "112 E2100 \"A\",9,9;\n116 E2100 1,9;\n");
  EXPECT_EQ(result.records, "24(PointNo PointID SYS SYS SYS)\n" +
                                repeated("34 PointNo=7 PointID=\"x\"\n", 100) +
                                "34 PointNo=3 PointID=\"C\" SYS=4\n34 PointNo=2 PointID=\"B\" "
                                "SYS=5\n");
}

TEST(Database, AlternatingKeysCostNoMoreThanOneKind) {
  const auto seconds = [](const char* first, const char* second) {
    std::string text = "POINTS (PointNo,PointID)\n";
    for (int i = 0; i < 50000; ++i) {
      text += std::to_string(i) + ",\"" + std::to_string(i) + "\";\n";
    }
    for (int i = 0; i < 1000; ++i) text += std::string(first) + second;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(analyse(database(text + "END POINTS\n"), {0, 1}).status, TVO_ERR_ABORTED);
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  };
  const char* const number = "EXTRAINFO (PointNo,PointID,SYS)\n40000,\"40000\",1;\nEND EXTRAINFO\n";
  const char* const identifier = "EXTRAINFO (PointID,SYS)\n\"40000\",1;\nEND EXTRAINFO\n";
  // Far from any noise: a new index for every block takes a hundred times as long.
  EXPECT_LT(seconds(number, identifier), 5 * seconds(number, number) + 0.1);
}

TEST(Database, LinesPolygonsAndTheirSubSections) {
  expectAll({
      {"lines",
       database(
           "LINES (LineNo,LineID)\n1,\"L\";\nEXTRAINFO (LineID,Flags1,CurveFactor)\n"
           "\"L\",1000000000000000,200;\n\"M\",,;\nEND EXTRAINFO\nEDGES "
           "(LineNo,StartPt,EndPtID,LINETYPE)\n"
           "1,2,\"E\",ARC_CENT;\n1,2,\"E\",FIX;\nEND EDGES\nTHEMINFO (LineNo,Attribute,Value)\n"
           "1,\"A\",1.5;\nEND THEMINFO\nANNOTATIONS "
           "(LineNo,TYPE,Annotation)\n1,NOTE2,\"n\";\n1,FIX,\"n\";\n"
           "END ANNOTATIONS\nPNT_ACCURACY (Mo)\n1;\nEND LINES\n"),
       "6 E2101 \"M\",,;\n10 E2050 FIX\n17 E2050 FIX\n19 E2104 PNT_ACCURACY\n"
       "note lines 19 - 20 will be ignored\n",
       "27(LineNo LineID Flags1 CurveFactor)\n37 LineNo=1 LineID=\"L\" CurveFactor=200 "
       "Flags1=0x8000\n"
       "28(LineNo StartPt EndPtID LINETYPE)\n38 LineNo=1 StartPt=2 EndPtID=\"E\" "
       "LINETYPE=ARC_CENT\n"
       "29(LineNo Attribute Value)\n39 PointNo=1 Attribute=\"A\" Value=REAL 1.5\n"
       "60(LineNo TYPE Annotation)\n62 LineNo=1 TYPE=NOTE2 Annotation=\"n\"\n"},
      {"polygons",
       database("POLYGONS (PolygonID,PolygonNo)\n\"P\",4;\nEXTRAINFO (PolygonNo,HatchDir)\n"
                "4,2.5;\n5,;\nEND EXTRAINFO\nEDGES (PolygonNo)\n4;\nEND EDGES\nTHEMINFO "
                "(PolygonNo,Value)\n4,3;\n"
                "END THEMINFO\nANNOTATIONS (PolygonNo)\n4;\nEND ANNOTATIONS\nEND POLYGONS\n"),
       "6 E2103 5,;\n",
       "30(PolygonID PolygonNo HatchDir)\n40 PolygonNo=4 PolygonID=\"P\" "
       "HatchDir=2.5\n31(PolygonNo)\n"
       "41 PolygonNo=4\n32(PolygonNo Value)\n42 PointNo=4 Value=INT 3\n61(PolygonNo)\n"
       "63 PolygonNo=4\n"},
  });
}

}  // namespace
}  // namespace tavo::tests
