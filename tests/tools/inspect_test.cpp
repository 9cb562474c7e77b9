// The verbs that look: tavo check --deep, explain, info, diff, schema and the tables of dump.
#include <nlohmann/json.hpp>

#include "tavo/survey.h"
#include "tools/tool_fixture.h"

namespace tavo::test {

namespace {

using Json = nlohmann::json;

class InspectTest : public ToolTest {
 protected:
  // Codes and counts of a deep check.
  static Json deepCounts(const std::string& text, std::vector<std::string> options = {}) {
    options.insert(options.begin(), {"check", "--deep", "--format", "json"});
    options.push_back("-");
    return Json::parse(run(options, text).out)["counts"];
  }
};

// A person checks every changed line: TAVO_WRITE_CASES=1 writes the findings anew.
TEST_F(InspectTest, EveryRuleOfTheDeepCheckHasItsInstance) {
  const std::string folder = TAVO_CASES_DIR "/";
  const std::string survey = read(folder + "deep-rules.tvo");
  const std::vector<std::string> call{"check", "--deep", "--rule", "T128=note", "-"};
  const std::string found = expectOutput(0, call, survey);
  if (std::getenv("TAVO_WRITE_CASES") != nullptr) write(folder + "deep-rules.findings", found);
  EXPECT_EQ(found, read(folder + "deep-rules.findings"));
  const Json counts = deepCounts(survey, {"--rule", "T128=note"});
  size_t rules = 0;
  const Json all = Json::parse(expectOutput(0, {"explain", "--all", "--format", "json"}));
  for (const Json& topic : all["topics"]) {
    if (topic["kind"] != "rule") continue;
    ++rules;
    EXPECT_TRUE(counts.contains(topic["code"])) << topic["code"];
  }
  EXPECT_GE(rules, 30U);
}

TEST_F(InspectTest, SoundSurveysGetNoMoreThanIsRight) {
  const std::pair<const char*, Json> rows[] = {
      {"survey.tvo", {{"T114", 2}}},
      {"all-sections.tvo", {{"T110", 1}, {"T135", 2}, {"T171", 15}}},
      {"projections/utm.tvo", Json::object()},
      {"projections/special.tvo", Json::object()},
  };
  for (const auto& [name, counts] : rows) {
    EXPECT_EQ(deepCounts(read(example(name))), counts) << name;
  }
}

TEST_F(InspectTest, RulesCanBeSwitched) {
  const char kTwins[] = "DATABASE\nPOINTS (PointNo)\n1;\n1;\nEND POINTS\nEND DATABASE\n";
  const struct {
    std::vector<std::string> options;
    int status;
    const char* shown;
  } rows[] = {
      {{}, 0, "<stdin>"},
      {{"--deep"}, 0, " warning T101: doubled number: PointNo 1 is given before, on line 3\n"},
      {{"--deep", "--fail-on", "warning"}, 1, " warning T101"},
      {{"--deep", "--rule", "T101=note"}, 0, " note T101"},
      {{"--deep", "--rule", "T102=off,T101=error"}, 1, "1 error, 0 warnings"},
      {{"--deep", "--rule", "101=off"}, 0, ": 0 errors, 0 warnings; 6 lines"},
      {{"--deep", "--rule", "T101=loud"}, 2, "T101 can be off, note, warning or error"},
      {{"--deep", "--rule", "T999=off"}, 2, "'T999' is no rule"},
      {{"--deep", "--rule", "E2500=off"}, 2, "'E2500' is no rule"},
  };
  for (const auto& row : rows) {
    std::vector<std::string> call{"check"};
    call.insert(call.end(), row.options.begin(), row.options.end());
    call.push_back("-");
    const ToolResult result = run(call, kTwins);
    EXPECT_EQ(result.status, row.status) << row.shown;
    const std::string shown = result.out + result.err;
    const bool plain = row.options.empty();
    EXPECT_EQ(shown.find(plain ? "T101" : row.shown) == shown.npos, plain) << shown;
  }
}

// Boundaries by their points, of which the last edge leads back to the first one of its ring.
TEST_F(InspectTest, BoundariesThatMeetThemselvesAreFound) {
  const struct {
    const char* what;
    std::vector<std::vector<std::pair<int, int>>> rings;
    bool crosses;
  } rows[] = {
      {"a square", {{{0, 0}, {9, 0}, {9, 9}, {0, 9}}}, false},
      {"a bow tie", {{{0, 0}, {9, 9}, {9, 0}, {0, 9}}}, true},
      {"a hole", {{{0, 0}, {9, 0}, {9, 9}, {0, 9}}, {{2, 2}, {4, 2}, {4, 4}}}, false},
      {"a hole that touches", {{{0, 0}, {9, 0}, {9, 9}, {0, 9}}, {{0, 0}, {4, 2}, {2, 4}}}, false},
      {"a hole that crosses", {{{0, 0}, {9, 0}, {9, 9}, {0, 9}}, {{5, 5}, {12, 5}, {5, 7}}}, true},
      {"a corner on a side", {{{0, 0}, {9, 0}, {9, 9}, {5, 0}, {0, 9}}}, true},
      {"a corner twice", {{{0, 0}, {9, 0}, {5, 5}, {9, 9}, {0, 9}, {5, 5}}}, true},
      {"a spike", {{{0, 0}, {9, 0}, {12, 0}, {9, 0}, {9, 9}}}, true},
      {"upright sides", {{{0, 0}, {0, 9}, {3, 9}, {3, 5}, {6, 5}, {6, 9}, {9, 9}, {9, 0}}}, false},
      {"a corner on the next line but one", {{{0, 0}, {9, 0}, {9, 5}, {4, 5}, {4, 3}}}, false},
  };
  for (const auto& row : rows) {
    std::string points, edges;
    int number = 0;
    for (const auto& ring : row.rings) {
      const int first = number + 1;
      for (const auto& [x, y] : ring) {
        points += std::to_string(++number) + "," + std::to_string(x) + "," + std::to_string(y);
        points += ";\n";
        const bool last = number - first + 1 == static_cast<int>(ring.size());
        edges += "1," + std::to_string(number) + "," + std::to_string(last ? first : number + 1);
        edges += ";\n";
      }
    }
    const std::string text = "DATABASE\nPOINTS (PointNo,East,North)\n" + points +
                             "END POINTS\nPOLYGONS (PolygonNo)\n1;\n"
                             "EDGES (PolygonNo,StartPt,EndPt)\n" +
                             edges + "END EDGES\nEND POLYGONS\nEND DATABASE\n";
    EXPECT_EQ(deepCounts(text).contains("T124"), row.crosses) << row.what;
  }
}

TEST_F(InspectTest, FindingsPointAtTheirValues) {
  // A value on a continuation line, behind a quoted separator, with delimiters of its own.
  const std::string out =
      expectOutput(0, {"check", "--deep", "--format", "json", "-"},
                   "HEADER\n  SEPARATOR '|'\n  TERMINATOR '!'\nEND HEADER\n"
                   "DATABASE\n  POINTS (PointNo|PointID|Description|East|North)\n"
                   "    1|\"A|B\"|\"\"|0.0|5.0!\n  END POINTS\n  LINES (LineNo|LineID)\n"
                   "    5|\"!|\"!\n    EDGES (LineNo|StartPt|EndPt)\n      5|1|\n         77!\n"
                   "    END EDGES\n  END LINES\nEND DATABASE\n");
  const Json found = Json::parse(out)["findings"];
  ASSERT_EQ(found.size(), 1U) << out;
  EXPECT_EQ(found[0]["code"], "T103");
  EXPECT_EQ(found[0]["line"], 13);
  EXPECT_EQ(found[0]["column"], 10);
  EXPECT_EQ(found[0]["text"], "77");
  EXPECT_EQ(found[0]["owner"]["block"], "DATABASE/LINES/EDGES");
  EXPECT_EQ(found[0]["owner"]["number"], 5);
  EXPECT_EQ(found[0]["owner"]["y"], 5.0);
}

TEST_F(InspectTest, EveryNumberIsExplained) {
  const tavo_schema_message* message = nullptr;
  for (size_t i = 0; (message = tavo_schema_message_at(i)) != nullptr; ++i) {
    const std::string out = expectOutput(0, {"explain", std::to_string(message->number)});
    EXPECT_NE(out.find(std::to_string(message->number) + ": "), out.npos) << out;
    for (const std::string& line : linesOf(out)) EXPECT_LE(line.size(), 80U) << line;
  }
  EXPECT_TRUE(expectOutput(0, {"explain", "t101"}).starts_with("T101: doubled number (warning)"));
  EXPECT_NE(expectOutput(0, {"explain", "2571"}).find("could not be opened"), std::string::npos);
  for (const char* unknown : {"E9999", "2600", "x", "E2500x", "W2500", ""}) {
    EXPECT_EQ(run({"explain", unknown}).status, 2) << unknown;
  }
  EXPECT_EQ(run({"explain"}).status, 2);
}

TEST_F(InspectTest, InfoTellsOfTextsAndDataFiles) {
  run({"import", example("survey.tvo"), "-o", "survey.dat", "--overwrite"});
  const std::vector<std::string> lines =
      linesOf(run({"info", "--format", "json", example("survey.tvo"), "survey.dat"}).out);
  ASSERT_EQ(lines.size(), 2U);
  for (const std::string& line : lines) {
    const Json told = Json::parse(line);
    EXPECT_EQ(told["header"]["SYSTEM"], "FIELD BOOK 4");
    EXPECT_EQ(told["units"]["angular"], "GRADS");
    EXPECT_EQ(told["records"]["DATABASE/POINTS"], 151);
    EXPECT_EQ(told["time"]["first"], "2024-09-17T07:42:29.60");
    EXPECT_DOUBLE_EQ(told["extents"][0]["east"][1], 419808.9198);
    EXPECT_EQ(told["extents"][0]["points"], 151);
  }
  EXPECT_EQ(Json::parse(lines[0])["sets"][0]["projection"], "UTM");
  EXPECT_EQ(run({"info", "none.tvo"}).status, 2);
}

TEST_F(InspectTest, DiffMatchesRecordsByTheirKeys) {
  const auto survey = [](const char* units, const std::string& points, const char* slopes) {
    return "HEADER\nUNITS\nLINEAR " + std::string(units) + "\nEND UNITS\nEND HEADER\n" +
           "DATABASE\nPOINTS (PointNo,PointID,East,JobNo)\n" + points +
           "END POINTS\nEND DATABASE\nTHEODOLITE\nSLOPE (TgtNo,SDist)\n" + slopes +
           "END SLOPE\nEND THEODOLITE\n";
  };
  const char kSlopes[] = "1,10.0;\n1,11.0;\n";
  const std::string base = survey("METRE", "1,\"A\",1.5,1;\n2,\"B\",2.5,;\n", kSlopes);
  const struct {
    std::string other;
    std::vector<std::string> options;
    int status;
    const char* shown;
  } rows[] = {
      {base, {}, 0, "0 records added, 0 removed, 0 changed, 5 the same\n"},
      {survey("METRE", "2,\"B\",2.5,0;\n1,\"A\",1.5,1;\n", kSlopes), {}, 0, " 5 the same"},
      {survey("METRE", "1,\"A\",1.501,1;\n2,\"B\",2.5,;\n", kSlopes),
       {},
       1,
       "! DATABASE/POINTS 1 \"A\" (line 8, now 8)\n    East           1.5 -> 1.501\n"},
      {survey("METRE", "1,\"A\",1.501,1;\n2,\"B\",2.5,;\n", kSlopes),
       {"--tolerance", "0.001"},
       0,
       "5 the same"},
      {survey("METRE", "1,\"A\",1.501,1;\n2,\"B\",2.5,;\n", kSlopes),
       {"--tolerance", "0.01,East=0.0001"},
       1,
       "1 changed"},
      {survey("METRE", "1,\"A\",1.5,1;\n3,\"C\",2.5,;\n", kSlopes),
       {},
       1,
       "- DATABASE/POINTS 2 \"B\" (line 9)\n+ DATABASE/POINTS 3 \"C\" (line 9)\n"},
      {survey("METRE", "1,\"A\",1.5,1;\n2,\"B\",,;\n", kSlopes), {}, 1, "2.5 -> (none)"},
      // One more in front shifts nothing.
      {survey("METRE", "1,\"A\",1.5,1;\n2,\"B\",2.5,;\n", "1,9.0;\n1,10.0;\n1,11.0;\n"),
       {},
       1,
       "+ THEODOLITE/SLOPE TgtNo 1 (line 14)\n1 record added, 0 removed, 0 changed, 5 the same\n"},
      {survey("INT_FEET", "1,\"A\",1.5,1;\n2,\"B\",2.5,;\n", kSlopes), {}, 1, "1.5 -> 0.4572\n"},
      {"DATABASE\nPOINTS (PointNo)\nx;\nEND POINTS\nEND DATABASE\n", {}, 2, "5 removed"},
      {base, {"--tolerance", "East=x"}, 2, "--tolerance"},
      {base, {"--tolerance", "Weast=1"}, 2, "'Weast' is no field"},
  };
  write("before.tvo", base);
  for (const auto& row : rows) {
    write("after.tvo", row.other);
    std::vector<std::string> call{"diff", "before.tvo", "after.tvo"};
    call.insert(call.end(), row.options.begin(), row.options.end());
    const ToolResult result = run(call);
    EXPECT_EQ(result.status, row.status) << row.shown << result.out;
    EXPECT_NE((result.out + result.err).find(row.shown), std::string::npos)
        << row.shown << result.out << result.err;
  }
  run({"import", "before.tvo", "-o", "before.dat", "--overwrite"});
  EXPECT_EQ(run({"diff", "before.tvo", "before.dat"}).status, 0);
}

TEST_F(InspectTest, DumpMakesTablesOfBlocks) {
  write("a.tvo", "DATABASE\nJOBS (JobNo,Name)\n1,\"say \"\"x\"\", y\";\nEND JOBS\nEND DATABASE\n");
  write("b.tvo",
        "DATABASE\nJOBS (Name,JobNo)\n\"one, \\\"two\\\"\",2;\nEND JOBS\n"
        "POINTS (PointNo,East)\n7,1.5;\nEND POINTS\nEND DATABASE\n");
  EXPECT_EQ(run({"dump", "--type", "JOBS", "--format", "csv", "b.tvo", "b.tvo"}).out,
            "file,name,JobNo,Name\nb.tvo,JOBS,2,\"one, \"\"two\"\"\"\n"
            "b.tvo,JOBS,2,\"one, \"\"two\"\"\"\n");
  EXPECT_EQ(run({"dump", "--type", "POINTS,JOBS", "--format", "csv", "b.tvo"}).out,
            "file,name,JobNo,Name,PointNo,East\nb.tvo,JOBS,2,\"one, \"\"two\"\"\",,\n"
            "b.tvo,POINTS,,,7,1.5\n");
  const std::vector<std::string> lines = linesOf(run({"dump", "--type", "34", "b.tvo"}).out);
  ASSERT_EQ(lines.size(), 2U);
  EXPECT_EQ(Json::parse(lines[1])["fields"], (Json{{"PointNo", 7}, {"East", 1.5}}));
  for (const std::vector<std::string>& wrong : std::vector<std::vector<std::string>>{
           {"--type", "SHAPES"}, {"--format", "csv"}, {"--type", ""}}) {
    std::vector<std::string> call{"dump", "b.tvo"};
    call.insert(call.end(), wrong.begin(), wrong.end());
    EXPECT_EQ(run(call).status, 2) << wrong.front();
  }
}

TEST_F(InspectTest, SchemaTellsKeysAndReferences) {
  const Json told = Json::parse(expectOutput(0, {"schema", "EDGES", "--format", "json"}));
  ASSERT_EQ(told["blocks"].size(), 2U);
  EXPECT_EQ(told["blocks"][0]["block"], "DATABASE/LINES/EDGES");
  EXPECT_EQ(told["blocks"][0]["fields"][0]["refersTo"], "LINES LineNo");
  const std::string text = expectOutput(0, {"schema", "PROJECTION_SETS"});
  EXPECT_NE(text.find("-> MAPPRJ_PARAMS MapPrjNo"), std::string::npos) << text;
  for (const char* call : {"POINTS", "ATTRIBUTES"}) {
    for (const std::string& line : linesOf(expectOutput(0, {"schema", call}))) {
      EXPECT_LE(line.size(), 80U) << line;
    }
  }
  EXPECT_EQ(run({"schema", "SHAPES"}).status, 2);
}

}  // namespace

}  // namespace tavo::test
