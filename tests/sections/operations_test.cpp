// OPERATIONS: operation lines and their points lines, and the point columns that the first points
// line of a library's life defines.
#include <gtest/gtest.h>

#include "support/analysis.h"

namespace tavo::tests {
namespace {

std::string operations(const std::string& lines) {
  return "OPERATIONS\n" + lines + "END OPERATIONS\n";
}

TEST(Operations, PairsOfLines) {
  const std::string numbers = "55(#41)\n";
  expectAll({
      {"all",
       operations("ARC_3PTS\n1,2,3;\nCIRCLE_RADIUS 2.5;\n4;\nCIRCLE_DIAM ; x\n1,2;\nCIRCLE_CENT\n"
                  "1,2;\nCIRCLE_3PTS\n1,2,3;\nSQUARE_LEFT\n1,2;\nSQUARE_RIGHT\n1,2;\nRECTANGLE "
                  "-1e3\n1,2;\n"
                  "PARALLELOGRAM\n 1 , 2, 3 ; x\n"),
       "",
       numbers + "56 ARC_3PTS\n57 1 2 3\n56 CIRCLE_RADIUS\n"
                 "57 4\n56 CIRCLE_DIAM\n57 1 2\n56 CIRCLE_CENT\n57 1 2\n56 CIRCLE_3PTS\n57 1 2 3\n"
                 "56 SQUARE_LEFT\n57 1 2\n56 SQUARE_RIGHT\n57 1 2\n56 RECTANGLE\n57 1 2\n56 "
                 "PARALLELOGRAM\n"
                 "57 1 2 3\n"},
      {"wrong counts",
       operations("ARC_3PTS\n1,2;\nCIRCLE_RADIUS 1\n1,2;\nRECTANGLE 1\n1;\nSQUARE_LEFT\n" +
                  repeated("1,", 9) + "1;\nSQUARE_LEFT\n" + repeated("1,", 10) +
                  "1;\nSQUARE_LEFT\n1,2;\n"),
       "3 E2051 1,2;\n5 E2051 1,2;\n7 E2051 1;\n9 E2051 " + repeated("1,", 9) + "1;\n",
       numbers + "56 SQUARE_LEFT\n57 1 2\n"},
      // A bad size is reported by the number's parser and with its line.
      {"sizes",
       operations("CIRCLE_RADIUS;\n1;\nRECTANGLE abc\n1,2;\nCIRCLE_RADIUS\n1;\nRECTANGLE 1 2\n"
                  "1,2;\nARC_3PTS 1;\n1,2,3;\nRECTANGLE 1x;\n1,2;\n"),
       "2 E2102 CIRCLE_RADIUS;\n3 E2102 1;\n4 E2500 abc\n4 E2500 RECTANGLE abc\n6 E2500 "
       "CIRCLE_RADIUS\n"
       "8 E2500 RECTANGLE 1 2\n10 E2500 ARC_3PTS 1;\n12 E2500 1x\n12 E2500 RECTANGLE 1x;\n",
       ""},
      {"unknown words", operations("arc_3pts\n1,2,3;\nPOINTS (PointNo)\nEND POINTS\nUKNOWN\n1;\n"),
       "2 E2102 arc_3pts\n3 E2102 1,2,3;\n4 E2102 POINTS (PointNo)\n5 E2102 END POINTS\n", ""},
      {"no points line", operations("ARC_3PTS\nSQUARE_LEFT\n1,2;\nARC_3PTS 1\n"),
       "3 E2500 ARC_3PTS\n5 E2500 ARC_3PTS 1\n6 E2500 ARC_3PTS 1\n",
       numbers + "56 SQUARE_LEFT\n57 1 2\n"},
      {"lines passed over",
       operations("SQUARE_LEFT\n1,2;\n3\nJOBS\nEND POINTS\n\nSQUARE_RIGHT\n1,2;\n"
                  "FOO\n"),
       "", numbers + "56 SQUARE_LEFT\n57 1 2\n56 SQUARE_RIGHT\n57 1 2\n"},
      {"overlong lines",
       operations("SQUARE_LEFT\n" + std::string(130, '1') + "\n1,2;\nSQUARE_LEFT\n1,2;\n" +
                  std::string(130, '2') + "\n3;\nSQUARE_RIGHT\n4,5;\n"),
       "3 E2000 111111111111111 ...\n4 E2102 1,2;\n7 E2000 222222222222222 ...\n8 E2102 3;\n",
       numbers + "56 SQUARE_LEFT\n57 1 2\n56 SQUARE_RIGHT\n57 4 5\n"},
      {"bad points",
       operations("SQUARE_LEFT\n1,x;\nSQUARE_LEFT\n1,2\nSQUARE_LEFT\n1,2,\nSQUARE_LEFT\n"
                  "1;2;\n"),
       "3 E2500 1,x;\n5 E2500 1,2\n7 E2500 1,2,\n9 E2051 1;\n", numbers},
      {"empty fields",
       operations("SQUARE_LEFT\n1,2;\nSQUARE_LEFT\n,2;\nSQUARE_LEFT\n1,;\nSQUARE_LEFT\n1, ,\n"),
       "5 E2500 ,2;\n7 E2500 1,;\n9 E2500 1, ,\n", numbers + "56 SQUARE_LEFT\n57 1 2\n"},
      {"end of the input", "OPERATIONS\nSQUARE_LEFT\n1,2;\n", "3 E2012 OPERATIONS\n",
       numbers + "56 SQUARE_LEFT\n57 1 2\n"},
      {"limit",
       operations("SQUARE_LEFT\n1,2;\nFOO\nSQUARE_LEFT\n1;\nSQUARE_LEFT\n3,4;\n"),
       "",
       numbers + "56 SQUARE_LEFT\n57 1 2\n",
       {0}},
  });
}

TEST(Operations, ColumnsOfTheFirstPointsLine) {
  const std::string id17 = "\"12345678901234567\"";
  const auto radius = [](const std::string& points) {
    return operations("CIRCLE_RADIUS 1\n" + points + "\n");
  };
  expectAll({
      {"number", radius("17;"), "", "55(#41)\n56 CIRCLE_RADIUS\n57 17\n"},
      {"identifier", radius(" \"P17\" ;"), "", "55(#42)\n56 CIRCLE_RADIUS\n57 0\"P17\"\n"},
      {"both", radius("17,\"P17\";"), "", "55(#41 #42)\n56 CIRCLE_RADIUS\n57 17\"P17\"\n"},
      {"both, turned", radius("\"P17\",17;"), "", "55(#42 #41)\n56 CIRCLE_RADIUS\n57 17\"P17\"\n"},
      {"two of a kind", radius("1,2;"), "3 E2051 1,2;\n", "55(#41)\n"},
      {"longest identifier", radius(id17 + ";"), "",
       "55(#42)\n56 CIRCLE_RADIUS\n57 0" + id17 + "\n"},
      {"too long", radius("\"123456789012345678\";"), "3 E2500 \"12345678901234 ...\n", ""},
      {"neither", radius("x;"), "3 E2500 x;\n", ""},
      {"empty", radius("1,;"), "3 E2500 1,;\n", ""},
      {"open quote", radius("\"P;"), "3 E2500 \"P;\n", ""},
      {"undefined, then defined", operations("CIRCLE_RADIUS 1\n1.5;\nCIRCLE_RADIUS 1\n2;\n"),
       "3 E2500 1.5;\n", "55(#41)\n56 CIRCLE_RADIUS\n57 2\n"},
      {"both for every point",
       operations("CIRCLE_DIAM\n1,\"A\",2,\"B\";\nCIRCLE_DIAM\n1,2;\n"
                  "CIRCLE_DIAM\n1;\nCIRCLE_DIAM\n1,\"A\",\"B\",2;\nCIRCLE_DIAM\n1,"
                  "\"123456789012345678\",2,\"B\";\n"),
       "5 E2500 2\n7 E2500 1;\n9 E2500 \"B\"\n11 E2001 \"123456789012345678\"\n",
       "55(#41 #42)\n56 CIRCLE_DIAM\n57 1\"A\" 2\"B\"\n"},
      {"limit", radius("x;"), "", "", {0}},
  });
}

// Defined once in the life of a library: its later analyses neither deliver nor change them.
TEST(Operations, ColumnsOutliveTheAnalysis) {
  api::Library library;
  const std::string text = operations("CIRCLE_RADIUS 1\n17;\n");
  const std::string pair = "56 CIRCLE_RADIUS\n57 17\n";
  expectAnalysis("first", text, "", "55(#41)\n" + pair, {9, 0, &library});
  expectAnalysis("second", text, "", pair, {9, 0, &library});
  expectAnalysis("other kind", operations("CIRCLE_RADIUS 1\n\"P\";\n"), "3 E2500 \"P\"\n", "",
                 {9, 0, &library});
}

}  // namespace
}  // namespace tavo::tests
