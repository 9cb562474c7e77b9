// What the surveys of tests/cases cannot show: numbers behind words that are spelled alike, and
// what one analysis leaves to the next of the same library.
#include <gtest/gtest.h>

#include "support/analysis.h"

namespace tavo::tests {
namespace {

TEST(Units, UserUnitsHaveANumberOfTheirOwnInEachGroup) {
  expectAnalysis("user units",
                 "HEADER\nUNITS\nLINEAR USER 2\nANGULAR USER 3\nGEOCRD USER 4\nEND UNITS\n"
                 "END HEADER\n",
                 "",
                 "2(LINEAR ANGULAR GEOCRD)\n"
                 "6 ANGULAR=USER4 LINEAR=USER14 GEOCRD=USER20 +=3 +=2 +=4\n");
}

TEST(RepeatedAnalyses, BeginWithTheResetCharactersAndUnits) {
  api::Library library;
  analyse("HEADER\nSEPARATOR |;\nTERMINATOR !;\nUNITS\nLINEAR LINKS!\nEND UNITS\nEND HEADER\n",
          {9, 0, &library});
  expectAnalysis("reset", "HEADER\nVERSION 1;\nOFFSETS\nEAST 2;\nEND OFFSETS\nEND HEADER\n", "",
                 "3(EAST)\n7 EAST=2\n1(VERSION)\n5 VERSION=1\n", {9, 0, &library});
}

// Defined once in the life of a library: its later analyses neither deliver nor change them.
TEST(RepeatedAnalyses, KeepThePointColumnsOfOperations) {
  api::Library library;
  const std::string text = "OPERATIONS\nCIRCLE_RADIUS 1\n17;\nEND OPERATIONS\n";
  const std::string pair = "56 CIRCLE_RADIUS\n57 17\n";
  expectAnalysis("first", text, "", "55(#41)\n" + pair, {9, 0, &library});
  expectAnalysis("second", text, "", pair, {9, 0, &library});
  expectAnalysis("other kind", "OPERATIONS\nCIRCLE_RADIUS 1\n\"P\";\nEND OPERATIONS\n",
                 "3 E2500 \"P\"\n", "", {9, 0, &library});
}

}  // namespace
}  // namespace tavo::tests
