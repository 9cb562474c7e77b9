// Blocks of many points that wait for EXTRAINFO.
#include <gtest/gtest.h>

#include <chrono>

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

}  // namespace
}  // namespace tavo::tests
