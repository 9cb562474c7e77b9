// tavo export into CSV, which every build writes.
#include "tools/tool_fixture.h"

namespace tavo::test {

namespace {

class ExportTest : public ToolTest {};

constexpr char kFeet[] =
    "HEADER\n  UNITS\n    LINEAR INT_FEET\n    ANGULAR DEGS\n  END UNITS\n"
    "  OFFSETS\n    EAST 1000\n  END OFFSETS\nEND HEADER\n"
    "DATABASE\n"
    "  POINTS (PointNo,PointID,East,North,Elevation,X)\n"
    "    1,\"A\",10,20,,100;\n"
    "    2,\"B,2\",0,,3,;\n"
    "    THEMINFO (PointNo,Attribute,Value)\n"
    "      2,\"Girth\",12.5;\n      2,\"Girth\",13;\n"
    "    END THEMINFO\n"
    "  END POINTS\n"
    "  LINES (LineNo)\n    7;\n"
    "    EDGES (LineNo,StartPt,EndPt)\n      7,1,1;\n    END EDGES\n"
    "  END LINES\n"
    "END DATABASE\n"
    "THEODOLITE\n  SLOPE (TgtNo,Hz,SDist)\n    1,90,100;\n  END SLOPE\nEND THEODOLITE\n";

TEST_F(ExportTest, ValuesHaveTheUnitsOfTheHead) {
  write("feet.tvo", kFeet);
  EXPECT_EQ(expectOutput(0, {"export", "feet.tvo", "-o", "-", "--layer", "observations"}),
            "survey,TgtNo,Hz [gon],SDist [m]\nfeet,1,100,30.48\n");
  // An offset is no coordinate that has it added.
  EXPECT_EQ(expectOutput(0, {"export", "feet.tvo", "-o", "-", "--layer", "offsets"}),
            "survey,EAST [m]\nfeet,304.8\n");
  const ToolResult points = run({"export", "feet.tvo", "-o", "-"});
  EXPECT_EQ(points.status, 0) << points.err;
  EXPECT_NE(points.err.find("2 theminfo, 1 lines, 1 edges"), std::string::npos) << points.err;
  EXPECT_EQ(points.out,
            "survey,PointNo,PointID,East [m],North [m],Elevation [m],X [m],a_Girth\n"
            "feet,1,A,307.848,6.096,,30.48,\n"
            "feet,2,\"B,2\",304.8,,0.9144,,12.5; 13\n");
}

TEST_F(ExportTest, SurveysAreAddedAndReplaced) {
  const auto survey = [](const std::string& columns, const std::string& line) {
    return "DATABASE\n  POINTS (" + columns + ")\n    " + line + ";\n  END POINTS\nEND DATABASE\n";
  };
  write("a.tvo", survey("PointNo,Code", "1,\"TREE\""));
  write("b.tvo", survey("PointNo,East", "2,5.5"));
  expectOutput(0, {"export", "a.tvo", "b.tvo", "-o", "out.csv"});
  EXPECT_EQ(readText("out.csv"), "survey,PointNo,East [m],Code\na,1,,TREE\nb,2,5.5,\n");
  EXPECT_EQ(run({"export", "b.tvo", "-o", "out.csv", "--append"}).status, 2);
  write("a.tvo", survey("PointNo,Description", "9,\"say \\\"no\\\"\""));
  expectOutput(0, {"export", "a.tvo", "-o", "out.csv", "--replace"});
  EXPECT_EQ(readText("out.csv"),
            "survey,PointNo,Description,East [m],Code\nb,2,,5.5,\na,9,\"say \"\"no\"\"\",,\n");
  EXPECT_TRUE(temporaryFiles().empty());
}

TEST_F(ExportTest, WrongCallsWriteNothing) {
  write("good.tvo", "DATABASE\n  POINTS (PointNo)\n    1;\n  END POINTS\nEND DATABASE\n");
  write("bad.tvo", "DATABASE\n  POINTS (PointNo)\n    1;\n    x;\n  END POINTS\nEND DATABASE\n");
  write("theirs.csv", "number;east\n");
  const struct {
    std::vector<std::string> words;
    int status;
    const char* says;
  } kCalls[] = {
      {{"good.tvo", "-o", "theirs.csv"}, 2, "is no csv export"},
      {{"good.tvo", "-o", "none.csv", "--layer", "roads"}, 2, "csv has no layer 'roads'"},
      {{"good.tvo", "-o", "none.csv", "--to-crs", "EPSG:25832"}, 2, "names no reference system"},
      {{"good.tvo", "-o", "none.csv", "--layer", "lines"}, 1, "nothing to write"},
      {{"bad.tvo", "-o", "none.csv", "--strict"}, 1, "1 error, "},
      {{"good.tvo", "-o", "out.txt"}, 2, "names no format"},
      {{"good.tvo", "bad.tvo", "-o", "none.csv", "--survey", "x"}, 2, "names one survey"},
  };
  for (const auto& call : kCalls) {
    std::vector<std::string> words = {"export"};
    words.insert(words.end(), call.words.begin(), call.words.end());
    const ToolResult result = run(words);
    EXPECT_EQ(result.status, call.status) << call.says;
    EXPECT_NE(result.err.find(call.says), std::string::npos) << result.err;
    EXPECT_FALSE(exists("none.csv"));
  }
  EXPECT_EQ(read("theirs.csv"), "number;east\n");
}

}  // namespace

}  // namespace tavo::test
