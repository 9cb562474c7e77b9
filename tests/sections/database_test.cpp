// Blocks of many points that wait for EXTRAINFO.
#include <gtest/gtest.h>

#include "support/analysis.h"

namespace tavo::tests {
namespace {

std::string database(const std::string& lines) { return "DATABASE\n" + lines + "END DATABASE\n"; }

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

}  // namespace
}  // namespace tavo::tests
