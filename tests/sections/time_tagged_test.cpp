// TIME_TAGGED_CODES: the fixed layout of its lines, field ends, value kinds and continuation.
#include <gtest/gtest.h>

#include "support/analysis.h"

namespace tavo::tests {
namespace {

std::string codes(const std::string& lines) {
  return "TIME_TAGGED_CODES\n" + lines + "END TIME_TAGGED_CODES\n";
}

const std::string kTag = "01-02-1999/10:20:30.5";
const std::string kHead = "\"A12\"," + kTag + ",7";
const std::string kRecord = "91 \"A12\" 1999-02-01/10:20:30.50 7";

TEST(TimeTaggedCodes, GoodLines) {
  expectAll({
      {"none", codes(""), "", ""},
      {"two values", codes(kHead + ",\"Height\",1.5,\"Name\",\"x\"; y\n"), "",
       kRecord + " Height=REAL 1.5 Name=\"x\"\n"},
      {"no value", codes(kHead + ";\n" + kHead + ",;\n"), "", repeated(kRecord + "\n", 2)},
      {"kinds",
       codes(kHead + ",\"a\",15,\"b\",15.0,\"c\",-1e3,\"d\",99999999999,\"e\",\"15\",\"f\",;\n"),
       "", kRecord + " a=INT 15 b=REAL 15 c=INT -1000 d=INT 2147483647 e=\"15\" f=INT 0\n"},
      {"continued entries", codes(kHead + ", \n\n;\n\"a\",1,\n ; x\n \"b\",2;\n"), "",
       kRecord + " a=INT 1 b=INT 2\n"},
  });
  // Twenty entries end the record; what follows on their line is ignored.
  const std::string line =
      kHead + ",\n" + repeated("\"n\",1,", 18) + "\n" + repeated("\"n\",1,", 6) + "\"n\",1;\n";
  expectAnalysis("25 entries", codes(line), "", kRecord + repeated(" n=INT 1", 20) + "\n");
}

TEST(TimeTaggedCodes, FieldEndsAndBadFields) {
  expectAll({
      // Only entries are continued: fields before them are missing where their line is used up.
      {"used up behind the code", codes("\"A12\",\n\"n\",7;\n"), "2 E2500 \n2 E2500 \n2 E2500 \n",
       "91 \"A12\" 0000-00-00/00:00:00.00 0 n=INT 7\n"},
      {"empty code and tag", codes(",,7;\n"), "2 E2500 ,,7;\n2 E2500 ,7;\n",
       "91 \"\" 0000-00-00/00:00:00.00 7\n"},
      {"empty number", codes("\"A12\"," + kTag + ",;\n"), "",
       "91 \"A12\" 1999-02-01/10:20:30.50 0\n"},
      {"empty name", codes(kHead + ",,5;\n"), "2 E2500 ,5;\n", kRecord + " =INT 5\n"},
      // The parsers' own reports do not withhold the record; a terminator too early does.
      {"bad code", codes("A," + kTag + ",7;\n\"123456789\"," + kTag + ",8;\n"),
       "2 E2500 A\n3 E2001 \"123456789\"\n",
       "91 \"\" 1999-02-01/10:20:30.50 7\n91 \"12345678\" 1999-02-01/10:20:30.50 8\n"},
      {"bad tag and number", codes("\"A\",1,x;\n"), "2 E2500 1\n2 E2500 x\n",
       "91 \"A\" 0000-00-00/00:00:00.00 0\n"},
      {"terminator behind the code", codes("\"A\";\n"), "2 E2500 ;\n", ""},
      {"terminator behind the tag", codes("\"A\"," + kTag + ";\n"), "2 E2500 ;\n", ""},
      {"terminator behind a name", codes(kHead + ",\"n\";\n"), "2 E2500 ;\n", ""},
      {"a continuation takes the END", codes(kHead + ",\n"),
       "3 E2500 END TIME_TAGGED ...\n"
       "3 E2500 END TIME_TAGGED ...\n3 E2500 \n3 E2500 \n3 E2012 TIME_TAGGED_CODES\n",
       ""},
      {"bad values", codes(kHead + ",\"a\",x,\"b\",2;\n" + kHead + ",\"a\",\"x;\n" + "\"b\",1;\n"),
       "2 E2500 x\n3 E2500 \"x;\n3 E2500 \n", ""},
      {"foreign ENDs and keywords", codes("END DATABASE;\nEND FOO;\nPOINTS;\n"),
       "2 E2500 END DATABASE\n2 E2500 END DATABASE\n2 E2500 ;\n3 E2500 END FOO\n3 E2500 END FOO\n"
       "3 E2500 ;\n4 E2500 POINTS\n4 E2500 POINTS\n4 E2500 ;\n",
       ""},
      {"overlong lines",
       codes(std::string(130, 'x') + "\n" + kHead + ",\n" + std::string(130, 'y') + "\n" + kHead +
             ";\n"),
       "2 E2000 xxxxxxxxxxxxxxx ...\n4 E2000 yyyyyyyyyyyyyyy ...\n", kRecord + "\n"},
      {"end of the input", "TIME_TAGGED_CODES\n" + kHead + ",\n", "2 E2012 TIME_TAGGED_CODES\n",
       ""},
      {"unknown date order",
       "HEADER\nUNITS\nTIME X\nEND UNITS\nEND HEADER\n" + codes(kHead + ";\n"), "3 W7014 X\n",
       "2(TIME)\n6 TIME=UNKNOWN\n91 \"A12\" 0000-00-00/00:00:00.00 7\n"},
  });
}

// The error limit ends a line, and not always: the section is read on to its END.
TEST(TimeTaggedCodes, ErrorLimit) {
  const std::string good = kHead + ";\n";
  expectAll({
      {"good lines are still delivered",
       codes("\"A\";\n" + good + "x;\n" + good),
       "",
       repeated(kRecord + "\n", 2),
       {0}},
      {"the end of the input", "TIME_TAGGED_CODES\n" + good, "", kRecord + "\n", {0}},
      {"an overlong line", codes(std::string(130, 'x') + "\n" + good), "", "", {0}},
      {"a bad number", codes("\"A\"," + kTag + ",x;\n" + good), "", kRecord + "\n", {0}},
      {"an empty name", codes(kHead + ",,1;\n" + good), "", kRecord + "\n", {0}},
      // A line that is used up behind a name passes nothing over, and the record goes on.
      {"the end of a line",
       codes(kHead + ",\"N\"\n\"M\",2;\n" + good),
       "",
       kRecord + " N=INT 0 M=INT 2\n" + kRecord + "\n",
       {0}},
      {"the same below the limit", codes(kHead + ",\"N\"\n\"M\",2;\n"), "2 E2500 \n2 E2500 \n",
       kRecord + " N=INT 0 M=INT 2\n"},
  });
}

}  // namespace
}  // namespace tavo::tests
