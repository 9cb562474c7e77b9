// Pictures and pages: what is drawn, what may be replaced, and the data that a page carries. How a
// page behaves in a browser is tested by tests/report.
#include <nlohmann/json.hpp>

#include "tools/tool_fixture.h"

namespace tavo::test {

namespace {

using Arguments = std::vector<std::string>;

bool has(const std::string& text, const std::string& part) { return text.find(part) != text.npos; }

constexpr char kNoPlace[] = "DATABASE\nJOBS (JobNo)\n1;\nEND JOBS\nEND DATABASE\n";

TEST_F(ToolTest, PicturesShowWhatIsAskedFor) {
  const std::string survey = example("survey.tvo");
  const std::string all = example("all-sections.tvo");
  const struct {
    Arguments arguments;  // behind plot -o -
    int status;
    Arguments shown, hidden, said;
  } rows[] = {
      {{survey},
       0,
       {"width=\"1200\" height=\"800\"", "UTM zone 32 · 151 points, 4 lines, 14 polygons", ">RDED<",
        ">CHURCH<", ">H1<", ">100 m<", ">St. Gallus<", "Mill Lane, renewal"},
       {},
       {}},
      {{survey, "--size", "640x480"}, 0, {"width=\"640\" height=\"480\""}, {}, {}},
      {{survey, "--size", "640"}, 2, {}, {"<svg"}, {"'640' is no size"}},
      {{survey, "--size", "100x100"}, 2, {}, {"<svg"}, {"is no size"}},
      {{survey, "--size", "640x480x3"}, 2, {}, {"<svg"}, {"is no size"}},
      {{survey, "--layer", "60"}, 0, {">SEWER<", ">MANH<"}, {">H1<", ">CHURCH<", ">RDED<"}, {}},
      {{survey, "--layer", "30,20"}, 0, {">H1<", ">RDED<"}, {">SEWER<"}, {}},
      {{survey, "--layer", "polygons", "--layer", "30"}, 0, {">H1<"}, {">7/41<", ">ROAD-L<"}, {}},
      {{survey, "--layer", "points"}, 0, {">CHURCH<"}, {">H1<", ">SEWER<", ">St. Gallus<"}, {}},
      {{survey, "--layer", "roads"}, 2, {}, {"<svg"}, {"layer 'roads'", " 30,", " findings"}},
      // A layer by its name; a code's layer is that of its points. One file, two systems.
      {{all, "--layer", "Targets"}, 0, {">T1<"}, {">CREST<"}, {"is not drawn (--map 2 does)"}},
      {{all, "--map", "2"}, 0, {"heights by plane · 1 point"}, {">T1<"}, {}},
      {{all, "--map", "9"}, 2, {}, {"<svg"}, {"no map 9, only 2 maps"}},
      {{example("mistakes.tvo")}, 1, {"Examples of mistakes"}, {}, {"33 errors"}},
      {{"nothing.tvo"}, 1, {}, {"<svg"}, {"nothing in it has coordinates"}},
      {{"absent.tvo"}, 2, {}, {"<svg"}, {"no such file"}},
  };
  write("nothing.tvo", kNoPlace);
  for (const auto& row : rows) {
    Arguments call = {"plot", "-o", "-"};
    call.insert(call.end(), row.arguments.begin(), row.arguments.end());
    const ToolResult result = run(call);
    SCOPED_TRACE(row.arguments.back() + ": " + result.err);
    EXPECT_EQ(result.status, row.status);
    for (const std::string& part : row.shown) EXPECT_TRUE(has(result.out, part)) << part;
    for (const std::string& part : row.hidden) EXPECT_FALSE(has(result.out, part)) << part;
    for (const std::string& part : row.said) EXPECT_TRUE(has(result.err, part)) << part;
  }
}

TEST_F(ToolTest, PagesAndPicturesReplaceOnlyTheirLike) {
  const std::string page = "<!DOCTYPE html>\n<!-- Report made by tavo report -->\n<html>";
  const std::string picture = "<?xml version=\"1.0\"?>\r\n<!-- Map drawn by tavo plot -->\r\n<svg>";
  for (const std::string& there :
       {page, picture, std::string(), std::string("<!DOCTYPE html>\n<p>mine")}) {
    for (const std::string verb : {"report", "plot"}) {
      const bool fits = there.empty() || there == (verb == "report" ? page : picture);
      write("out", there);
      const Arguments call = {verb, example("survey.tvo"), "-o", "out"};
      const ToolResult result = run(call);
      if (has(result.err, "this build makes no reports")) continue;
      EXPECT_EQ(result.status, fits ? 0 : 2) << verb << there << result.err;
      EXPECT_EQ(read("out") == there, !fits);
      EXPECT_EQ(has(result.err, "use --overwrite"), !fits) << result.err;
    }
  }
  write("own.tvo", read(example("survey.tvo")));
  EXPECT_TRUE(has(run({"plot", "own.tvo", "-o", "./own.tvo", "--overwrite"}).err, "input itself"));
  EXPECT_EQ(temporaryFiles(), Arguments{});
}

TEST_F(ToolTest, PageCarriesTheSurvey) {
  write("nothing.tvo", kNoPlace);
  const ToolResult result = run(
      {"report", example("all-sections.tvo"), "-", example("mistakes.tvo"), "-o", "-"}, kNoPlace);
  if (has(result.err, "this build makes no reports")) GTEST_SKIP() << result.err;
  EXPECT_EQ(result.status, 1) << result.err;
  const auto dataOf = [&](const std::string& id) {
    const std::string head = "<script type=\"application/json\" id=\"" + id + "\">";
    const size_t begin = result.out.find(head) + head.size();
    const size_t end = result.out.find("</script>", begin);
    return nlohmann::json::parse(result.out.substr(begin, end - begin));
  };
  const nlohmann::json all = dataOf("survey-0");
  EXPECT_EQ(all["schema"], "tavo-report/1");
  EXPECT_EQ(all["maps"].size(), 2U);
  EXPECT_EQ(all["points"]["rows"], 9);
  EXPECT_EQ(all["sightings"]["rows"], 24);
  EXPECT_EQ(all["pairs"]["rows"], 12);
  EXPECT_EQ(all["times"]["slopes"]["rows"], 24);
  EXPECT_EQ(all["maps"][0]["axes"], (Arguments{"East", "North", "Elevation"}));
  // East of pillar S1 is 409950.44 with the header's offset: columns hold steps from a whole
  // number.
  EXPECT_EQ(all["points"]["place"]["x"]["type"], "i32");
  EXPECT_EQ(dataOf("survey-1")["maps"].size(), 0U);
  EXPECT_EQ(dataOf("survey-1")["file"], "(standard input)");
  const nlohmann::json findings = dataOf("survey-2")["findings"];
  EXPECT_EQ(findings[0]["code"], "E2500");
  EXPECT_EQ(findings[0]["source"], (Arguments{"", "SURVEY", ""}));
  EXPECT_EQ(dataOf("points-1"), nlohmann::json::array());
  // Nothing that is not whole is written, and one text that cannot be read leaves no page.
  EXPECT_EQ(run({"report", example("survey.tvo"), "absent.tvo", "-o", "none.html"}).status, 2);
  EXPECT_FALSE(exists("none.html"));
}

}  // namespace

}  // namespace tavo::test
