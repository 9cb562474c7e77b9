// HEADER: its item lines, what they set for the lines behind them, and its sub-sections.
#include <gtest/gtest.h>

#include "support/analysis.h"

namespace tavo::tests {
namespace {

std::string header(const std::string& lines) { return "HEADER\n" + lines + "END HEADER\n"; }

TEST(Header, ItemLines) {
  const std::string text61(61, 't');
  expectAll({
      {"nothing", header(""), "", ""},
      {"all items", header(" VERSION 1.5; x\nSYSTEM \"S\";\nSEPARATOR ','\nTERMINATOR ';';\n"), "",
       "1(VERSION SYSTEM SEPARATOR TERMINATOR)\n"
       "5 VERSION=1.5 SYSTEM=\"S\" SEPARATOR=',' TERMINATOR=';'\n"},
      {"unknown items", header("FOO 1;\nversion 1;\nVERSION;\nSYSTEM\"S\";\nEND FOO\n"),
       "2 W7010 FOO\n3 W7010 version\n4 W7010 VERSION;\n5 W7010 SYSTEM\"S\";\n", ""},
      {"empty values", header("VERSION \nVERSION ;\nSYSTEM\nSEPARATOR ,\n"), "", ""},
      {"bad values", header("VERSION x;\nSYSTEM S1;\nSYSTEM \"" + text61 + "\";\nSEPARATOR ab;\n"),
       "2 E2500 x\n3 E2500 S1\n3 E2500 S1\n4 E2001 \"tttttttttttttt ...\n5 E2500 ab\n", ""},
      // Text behind a value is reported, but the item counts.
      {"text behind", header("VERSION 1.5, x\nSYSTEM \"S\", 2;\nVERSION 2 x;\n"),
       "2 E2500 VERSION 1.5, x\n3 E2500 SYSTEM \"S\", 2;\n4 E2500 2 x\n",
       "1(VERSION SYSTEM)\n5 VERSION=1.5 SYSTEM=\"S\"\n"},
      {"twice", header("VERSION 1;\nVERSION 2;\n"), "", "1(VERSION VERSION)\n5 VERSION=2\n"},
      {"overlong line", header("VERSION 1; " + std::string(130, 'x') + "\nVERSION 2;\n"),
       "2 E2000 VERSION 1; xxxx ...\n", "1(VERSION)\n5 VERSION=2\n"},
      {"more items than are listed", header(repeated("VERSION 1;\n", 45) + "SYSTEM \"S\";\n"), "",
       "1(" + repeated("VERSION ", 39) + "VERSION)\n5 VERSION=1 SYSTEM=\"S\"\n"},
  });
}

TEST(Header, EndsAndForeignKeywords) {
  const std::string pair = "1(VERSION)\n5 VERSION=1\n";
  expectAll({
      {"END of another", header("END UNITS\nVERSION 1;\n"), "2 E2150 END UNITS\n", pair},
      {"no END", "HEADER\nVERSION 1;\n", "2 E2012 HEADER\n", pair},
      {"END with its terminator names no block", "HEADER\nEND HEADER;\nVERSION 1;\nEND HEADER", "",
       pair},
      {"keyword out of place",
       header("JOBS (JobNo)\n1;\nVERSION 2;\nPROJECT\nEND PROJECT\nVERSION 1;\n"),
       "2 E2104 JOBS\nnote lines 2 - 4 will be ignored\n", pair},
      {"skipped up to the END", header("VERSION 1;\nDATABASE\n"),
       "3 E2104 DATABASE\nnote line 3 will be ignored\n", pair},
      {"skipped to the end of the input", "HEADER\nVERSION 1;\nDATABASE\nEND DATABASE\n",
       "4 E2012 HEADER\n", pair},
      {"sub-section without END", header("PROJECT\nNAME \"N\";\nUNITS\nVERSION 1;\n"),
       "4 E2012 PROJECT\n5 W7010 VERSION\n6 E2012 UNITS\n", "4(NAME)\n8 NAME=\"N\"\n"},
      {"sub-sections END words", header("UNITS\nEND OFFSETS\nEND FOO\nPRESS HPA\nEND UNITS\n"),
       "3 E2150 END OFFSETS\n4 W7010 END\n", "2(PRESS)\n6 PRESS=HPA\n"},
      {"end of the input two deep", "HEADER\nVERSION 1;\nUNITS\nPRESS HPA\n",
       "4 E2012 UNITS\n4 E2012 HEADER\n", "2(PRESS)\n6 PRESS=HPA\n" + pair},
      // What was read is delivered at the error limit as well.
      {"error limit", header("VERSION 1;\nVERSION x;\nVERSION 2;\n"), "", pair, {0}},
      {"error limit two deep",
       header("VERSION 1;\nUNITS\nPRESS HPA\nPRESS DMY\n"),
       "",
       "2(PRESS)\n6 PRESS=HPA\n" + pair,
       {0}},
      {"error limit at the END", "HEADER\nVERSION 1;\n", "", pair, {0}},
  });
}

TEST(Header, SeparatorAndTerminatorChangeAtOnce) {
  const std::string jobs = "23(JobNo TimeZone)\n33 JobNo=1 TimeZone=2.5\n";
  expectAll({
      {"both",
       header("SEPARATOR | ; x\nTERMINATOR ! ; still\nVERSION 2 !\n") +
           "DATABASE ! x\nJOBS (JobNo|TimeZone) ! x\n!\n1|2.5! ; x\n1|\n2.5|\n!\nEND JOBS\nEND "
           "DATABASE\n",
       "",
       "1(SEPARATOR TERMINATOR VERSION)\n5 VERSION=2 SEPARATOR='|' TERMINATOR='!'\n" + jobs +
           "33 JobNo=1 TimeZone=2.5\n"},
      {"swapped in quotes",
       header("SEPARATOR ';';\nTERMINATOR ','\n") +
           inBlock("DATABASE", "JOBS (JobNo;TimeZone)", "1;2.5,\n"),
       "", "1(SEPARATOR TERMINATOR)\n5 SEPARATOR=';' TERMINATOR=','\n" + jobs},
      // Where the quote separates, no text begins with it: every such field is empty.
      {"quote",
       header("SEPARATOR '\"'\n") +
           inBlock("DATABASE", "JOBS (JobNo\"Name\"TimeZone)", "1\"\"2.5;\n1\"\"x\"\"2.5;\n"),
       "7 E2500 x\n",
       "1(SEPARATOR)\n5 SEPARATOR='\"'\n23(JobNo Name TimeZone)\n33 JobNo=1 TimeZone=2.5\n"},
      {"numbers end at any separator",
       header("SEPARATOR .;\n") + inBlock("DATABASE", "JOBS (JobNo.TimeZone)", "1.2;\n1.2.5;\n"),
       "7 E2051 1.2.5;\n",
       "1(SEPARATOR)\n5 SEPARATOR='.'\n23(JobNo TimeZone)\n33 JobNo=1 TimeZone=2\n"},
  });
  // The next run of the same library starts with the reset characters and units.
  api::Library library;
  analyse(header("SEPARATOR |;\nTERMINATOR !;\nUNITS\nLINEAR LINKS!\nEND UNITS\n"),
          {9, 0, &library});
  expectAnalysis("reset", header("VERSION 1;\nOFFSETS\nEAST 2;\nEND OFFSETS\n"), "",
                 "3(EAST)\n7 EAST=2\n1(VERSION)\n5 VERSION=1\n", {9, 0, &library});
}

TEST(Header, UnitsAndTheirGroups) {
  struct Row {
    const char* line;
    const char* findings;
    const char* record;  // behind "2(ITEM)\n6 "; null: no record
  };
  for (const Row& row : {
           Row{"ANGULAR DMS;", "", ""},  // unit 0
           {"ANGULAR DEGS; x", "", "ANGULAR=DEGS"},
           {"ANGULAR RADS", "", "ANGULAR=RADS"},
           {"ANGULAR USER 0.5;", "", "ANGULAR=USER4 +=0.5"},
           {"ANGULAR METRE", "3 E2050 ANGULAR METRE\n", nullptr},
           {"LINEAR METRE", "", "LINEAR=METRE"},
           {"LINEAR LINKS", "", "LINEAR=LINKS"},
           {"LINEAR USER \t 0.3048 ; x", "", "LINEAR=USER14 +=0.3048"},
           {"LINEAR USER", "", nullptr},
           {"LINEAR USER;", "", nullptr},
           {"LINEAR USER x;", "", nullptr},
           {"LINEAR USER 1x;", "", nullptr},
           {"LINEAR GRADS;", "3 E2050 LINEAR GRADS;\n", nullptr},
           {"GEOCRD DEGS", "", "GEOCRD=DEGS"},
           {"GEOCRD USER 2", "", "GEOCRD=USER20 +=2"},
           {"GEOCRD LINKS", "3 E2050 GEOCRD LINKS\n", nullptr},
           {"TEMP FAHRENHEIT", "", "TEMP=FAHRENHEIT"},
           {"TEMP USER 2", "3 E2050 TEMP USER 2\n", nullptr},
           {"PRESS MMHG", "", "PRESS=MMHG"},
           {"PRESS CELSIUS", "3 E2050 PRESS CELSIUS\n", nullptr},
           {"TIME YMD", "", "TIME=YMD"},
           {"TIME HPA", "3 E2050 TIME HPA\n", nullptr},
           {"LINEAR metre", "3 W7014 metre\n", "LINEAR=UNKNOWN"},
           {"TIME UNKNOWN", "", "TIME=UNKNOWN"},
           {"LINEAR ", "", nullptr},
           {"SIZE 1", "3 W7010 SIZE\n", nullptr},
       }) {
    const std::string line = row.line;
    std::string records;
    if (row.record != nullptr) {
      const std::string space = *row.record == 0 ? "" : " ";
      records = "2(" + line.substr(0, line.find(' ')) + ")\n6" + space + row.record + "\n";
    }
    expectAnalysis(row.line, header("UNITS\n" + line + "\nEND UNITS\n"), row.findings, records);
  }
  expectAnalysis(
      "all factors",
      header("UNITS\nLINEAR USER 2\nANGULAR USER 3\nGEOCRD USER 4\nTEMP CELSIUS\nPRESS HPA\n"
             "TIME DMY\nEND UNITS\n"),
      "",
      "2(LINEAR ANGULAR GEOCRD TEMP PRESS TIME)\n6 ANGULAR=USER4 LINEAR=USER14 "
      "GEOCRD=USER20 TEMP=CELSIUS PRESS=HPA TIME=DMY +=3 +=2 +=4\n");
}

TEST(Header, OffsetsTakeTheUnitInForce) {
  const auto offset = [](const std::string& unit, const char* value) {
    return AnalysisCase{value,
                        header("UNITS\nLINEAR " + unit +
                               "\nEND UNITS\nOFFSETS\nEAST 100;\n"
                               "END OFFSETS\n"),
                        "", "3(EAST)\n7 EAST=" + std::string(value) + "\n"};
  };
  for (const AnalysisCase& row :
       {offset("INT_FEET", "30.48"), offset("US_SURVEY_FEET", "30.48006096"),
        offset("LINKS", "20.1168"), offset("USER 0.5", "50")}) {
    const std::string records = analyse(row.text).records;
    EXPECT_EQ(records.substr(records.find("3(")), row.records);
  }
  expectAnalysis("unit behind the offsets",
                 header("OFFSETS\nNORTH 1;\nELEVATION -2;\nHEIGHT 3;\nEAST x;\nEND OFFSETS\n"
                        "UNITS\nLINEAR LINKS\nEND UNITS\nOFFSETS\nNORTH 1;\nEND OFFSETS\n"),
                 "5 W7010 HEIGHT\n6 E2500 x\n",
                 "3(NORTH ELEVATION)\n7 NORTH=1 ELEVATION=-2\n2(LINEAR)\n6 LINEAR=LINKS\n"
                 "3(NORTH)\n7 NORTH=0.201168\n");
}

TEST(Header, UnitsMayNotMakeValuesInfinite) {
  expectAnalysis(
      "factors too large",
      header("UNITS\nLINEAR USER 1e30\nANGULAR USER -1e300\nEND UNITS\nOFFSETS\nEAST 1e300\n"
             "NORTH 1e270\nEND OFFSETS\n") +
          "THEODOLITE\nSLOPE (TgtNo,SDist,RefHt,Hz)\n1,1e278,1e8,-1e8;\n2,1e300 ,2,2;\n"
          "3,1,1e9,2;\n4,1,-1e9,-1e9;\n5,,,;\nEND SLOPE\nEND THEODOLITE\n",
      "7 E2500 1e300\n14 E2500 1e300\n15 E2500 1e9\n16 E2500 -1e9\n16 E2500 -1e9\n",
      "2(LINEAR ANGULAR)\n6 ANGULAR=USER4 LINEAR=USER14 +=-1e+300 +=1e+30\n3(NORTH)\n"
      "7 NORTH=1e+300\n49(TgtNo SDist RefHt Hz)\n"
      "54 TgtNo=1 Hz=1e+308 SDist=1e+308 RefHt=1e+38\n54 TgtNo=5\n");
}

TEST(Header, ProjectItems) {
  expectAnalysis(
      "all items",
      header(
          "PROJECT\nNAME \"a\";\nFIELD_DATE \"yesterday\"\nCREATION_DATE 01-02-2003/04:05:06.7;\n"
          "FIELD_PARTY \"b\";\nOPERATOR \"c\";\nCLIENT \"d\";\nADDRESS \"e;f\"; x\nCITY \"g\";\n"
          "MAPREF \"h\";\nREFERENCE \"i\";\nDESCRIPTION \"\";\nDATE 1;\nEND PROJECT\n"),
      "14 W7010 DATE\n",
      "4(NAME FIELD_DATE CREATION_DATE FIELD_PARTY OPERATOR CLIENT ADDRESS CITY MAPREF REFERENCE "
      "DESCRIPTION)\n8 NAME=\"a\" FIELD_DATE=\"yesterday\" CREATION_DATE=2003-02-01/04:05:06.70 "
      "FIELD_PARTY=\"b\" OPERATOR=\"c\" CLIENT=\"d\" ADDRESS=\"e;f\" CITY=\"g\" MAPREF=\"h\" "
      "REFERENCE=\"i\"\n");
}

}  // namespace
}  // namespace tavo::tests
