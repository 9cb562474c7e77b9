// The verbs that print, store and write records: dump, import, verify, build, format, timeline.
#include <algorithm>
#include <cstring>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "support/survey.h"
#include "tools/tool_fixture.h"

#if defined(__linux__)
#include <sys/resource.h>
#endif

namespace tavo::test {

namespace {

using Arguments = std::vector<std::string>;
using namespace std::string_literals;

class RecordsTest : public ToolTest {
 protected:
  // Largest memory of all tools that were run so far, in kilobytes; 0 where that is not known.
  static long peakMemory() {
#if defined(__linux__) && !defined(__SANITIZE_ADDRESS__)
    rusage usage = {};
    getrusage(RUSAGE_CHILDREN, &usage);
    return usage.ru_maxrss;
#else
    return 0;
#endif
  }
  // Lines of a dump behind its head, in any order.
  static Arguments records(const std::string& path) {
    Arguments lines = linesOf(expectOutput(0, {"dump", path}));
    lines.erase(lines.begin());
    std::sort(lines.begin(), lines.end());
    return lines;
  }
  // Those that a data file keeps of the survey: no texts, and no data of its definitions.
  static Arguments keptRecords(const std::string& path) {
    Arguments lines = records(path);
    std::erase_if(lines, [](const std::string& line) {
      return line.find("DATABASE/TEXT") != line.npos || line.find("DEFINITIONS/") != line.npos;
    });
    return lines;
  }
};

TEST_F(RecordsTest, DumpPrintsTheRecordsOfTheCases) {
  for (const char* name : {"values-free", "extrainfo-completes-points", "time-tagged-codes",
                           "operations", "texts-in-other-encodings"}) {
    const std::string path = TAVO_CASES_DIR "/" + std::string(name);
    const ToolResult result = run({"dump", "--units", "si", path + ".tvo"});
    EXPECT_EQ(result.out.substr(result.out.find('\n') + 1), read(path + ".jsonl"));
    // The errors, if there are any, are left to `tavo check`.
    EXPECT_EQ(result.status, result.err.empty() ? 0 : 1) << result.err;
  }
}

TEST_F(RecordsTest, DumpOfExamplesIsJson) {
  for (const char* name : {"survey.tvo", "all-sections.tvo"}) {
    for (const std::string& line : linesOf(expectOutput(0, {"dump", "--all", example(name)}))) {
      EXPECT_TRUE(nlohmann::json::accept(line)) << line;
    }
  }
  EXPECT_EQ(run({"dump", example("mistakes.tvo")}).status, 1);
  EXPECT_EQ(run({"dump", "none.tvo"}).status, 2);
}

TEST_F(RecordsTest, FormattedTextKeepsItsRecordsAndItsForm) {
  const Arguments layouts[] = {{}, {"--columns", "off"}, {"--decimals", "6,5,12"}};
  for (const char* name : {"survey.tvo", "all-sections.tvo", "mistakes.tvo"}) {
    for (const Arguments& layout : layouts) {
      Arguments first{"format", "--force", example(name), "-o", "once.tvo"};
      Arguments second{"format", "once.tvo", "-o", "twice.tvo"};
      first.insert(first.end(), layout.begin(), layout.end());
      second.insert(second.end(), layout.begin(), layout.end());
      expectOutput(0, first);
      expectOutput(0, second);
      EXPECT_EQ(read("once.tvo"), read("twice.tvo")) << name;
    }
    if (name != std::string("mistakes.tvo")) {
      EXPECT_EQ(records("twice.tvo"), records(example(name)));
    }
  }
  EXPECT_EQ(temporaryFiles(), Arguments{});
}

// More records than fit in memory at once, of many sizes; a check holds the points back, too.
TEST_F(RecordsTest, FormatNeedsNoMoreMemoryThanCheck) {
  std::string text = "DATABASE\nPOINTS (PointNo,PointID,East,Code)\n";
  for (int i = 0; i < 20000; ++i) {
    text += std::to_string(i) + ",\"" + std::string(static_cast<size_t>(i) % 16, 'p') + "\"," +
            (i % 3 == 0 ? "" : "0.25") + ",;\n";
  }
  text += "END POINTS\nEND DATABASE\nTIME_TAGGED_CODES\n";
  for (int i = 0; i < 1000; ++i) {
    text += "\"C\",15-06-2024/10:30:00.0," + std::to_string(i) + ",\"a\",\"b\";\n";
  }
  write("large.tvo", text + "END TIME_TAGGED_CODES\n");
  expectOutput(0, {"check", "large.tvo"});
  const long checked = peakMemory();
  expectOutput(0, {"format", "large.tvo", "-o", "once.tvo"});
  const long formatted = peakMemory();
  EXPECT_LE(formatted, checked + checked / 4);
  EXPECT_TRUE(records("once.tvo") == records("large.tvo"));
  EXPECT_TRUE(expectOutput(0, {"format", "once.tvo", "-o", "-"}) == readText("once.tvo"));
}

TEST_F(RecordsTest, FormatRefusesWhatWouldLoseSomething) {
  const std::string lossy = "OPERATIONS\nCIRCLE_RADIUS 12.5\n7;\nEND OPERATIONS\n";
  write("lossy.tvo", lossy);
  write("wrapped.tvo", "DATABASE\nJOBS (JobNo)\n65537;\nEND JOBS\nEND DATABASE\n");
  write("old.tvo", "HEADER\nold");
  std::filesystem::create_directory("folder");
  const struct {
    Arguments arguments;
    int status;
    const char* message;
  } cases[] = {
      {{"format", "lossy.tvo", "-o", "old.tvo"}, 1, "size of 1 operation"},
      {{"format", "wrapped.tvo", "-o", "old.tvo"}, 1, "wrapped.tvo:3:1: note: '65537'"},
      {{"format", example("mistakes.tvo"), "-o", "old.tvo"}, 1, "33 errors, 6 warnings"},
      {{"format", "lossy.tvo", "-o", "folder"}, 2, "not a regular file"},
      {{"format", "none.tvo", "-o", "old.tvo"}, 2, "cannot read"},
      {{"format", "lossy.tvo", "-o", "no-such-folder/a.tvo", "--force"}, 2, "cannot write"},
      {{"format", "lossy.tvo", "-o", "old.tvo", "--decimals", "1,2"}, 2, "--decimals"},
  };
  for (const auto& row : cases) {
    const ToolResult result = run(row.arguments);
    EXPECT_EQ(result.status, row.status) << testing::PrintToString(row.arguments) << result.err;
    EXPECT_NE(result.err.find(row.message), std::string::npos) << result.err;
  }
  EXPECT_EQ(read("old.tvo"), "HEADER\nold");
  EXPECT_EQ(read("lossy.tvo"), lossy);
  EXPECT_EQ(temporaryFiles(), Arguments{});
}

TEST_F(RecordsTest, FormatCountsWhatItDoesNotKeep) {
  write("digits.tvo",
        "; one\nDATABASE ; two\nPOINTS (PointNo,East,SymDim1)\n1,8.0000000000000015,0.5;\n"
        "2,0.25,1234.5678;\nEND POINTS\nEND DATABASE\n");
  const ToolResult result = run({"format", "digits.tvo", "-o", "digits-new.tvo"});
  EXPECT_EQ(result.status, 0);
  EXPECT_NE(result.err.find("tavo: digits.tvo: 2 comments left out\n"
                            "tavo: digits.tvo: 2 real numbers with more digits than are kept, "
                            "the first on line 4: 8.0000000000000015\n"),
            std::string::npos)
      << result.err;
}

// A second section of operations comes without a columns record, codes come without any. Sections
// that follow each other are one.
TEST_F(RecordsTest, FormatKeepsRepeatedSectionsAndForeignDelimiters) {
  write("odd.tvo",
        "HEADER\nSEPARATOR '|'\nTERMINATOR '#'\nUNITS\nANGULAR DMS\nLINEAR US_SURVEY_FEET\n"
        "TIME MJD\nEND UNITS\nEND HEADER\n"
        "OPERATIONS\nARC_3PTS\n1|\"a\"|2|\"b\"|3|\"c\"#\nEND OPERATIONS\n"
        "TIME_TAGGED_CODES\n\"A\"|51544.25|1|\"n\"|2#\nEND TIME_TAGGED_CODES\n"
        "DATABASE\nPOINTS (PointNo|PointID|Date)\n1|\"a;,|#\"|51544.5#\n2|\"\\\\\\\"\"|#\n"
        "END POINTS\nEND DATABASE\n"
        "OPERATIONS\nCIRCLE_CENT\n1|\"a\"|2|\"b\"#\nEND OPERATIONS\n"
        "OPERATIONS\nCIRCLE_CENT\n3|\"c\"|4|\"d\"#\nEND OPERATIONS\n"
        "TIME_TAGGED_CODES\n\"B\"|51545|2|\"n\"|2.5#\nEND TIME_TAGGED_CODES\n");
  expectOutput(0, {"format", "odd.tvo", "-o", "odd-new.tvo"});
  EXPECT_EQ(records("odd.tvo"), records("odd-new.tvo"));
  EXPECT_NE(read("odd-new.tvo").find("\"B\"|51545.0000000000|2|\"n\"|2.5"), std::string::npos);
}

// EXTRAINFO blocks list a column again and again; a definition has room for each once.
TEST_F(RecordsTest, FormatDeclaresEveryColumnOnce) {
  std::string text = "DATABASE\nPOINTS (PointNo)\n1;\n";
  for (int i = 0; i < 50; ++i) text += "EXTRAINFO (PointNo,SYS)\n1,7;\nEND EXTRAINFO\n";
  write("extra.tvo", text + "END POINTS\nEND DATABASE\n");
  expectOutput(0, {"format", "extra.tvo", "-o", "extra-new.tvo"});
  EXPECT_NE(read("extra-new.tvo").find("(PointNo,SYS)"), std::string::npos);
}

// Of a complete data file everything comes back: the text in the library's layout to the byte, and
// the same records as from the text.
TEST_F(RecordsTest, CompleteDataFilesGiveBackTheText) {
  write("twice.tvo", tests::kSurvey + "HEADER\nUNITS\nLINEAR INT_FEET\nEND UNITS\nEND HEADER\n"s +
                         tests::kSurvey);
  for (const std::string& text :
       {example("survey.tvo"), example("all-sections.tvo"), "twice.tvo"s}) {
    expectOutput(0, {"import", text, "-o", "all.dat"});
    EXPECT_NE(expectOutput(0, {"verify", "all.dat"}).find("  complete data file"),
              std::string::npos);
    expectOutput(0, {"build", "all.dat", "-o", "built.tvo"});
    expectOutput(0, {"format", "--force", text, "-o", "formatted.tvo"});
    EXPECT_EQ(read("built.tvo"), read("formatted.tvo"));
    EXPECT_EQ(records("all.dat"), records(text));
  }
}

// A compatible file is made only where the TVO functions could build a text from it.
TEST_F(RecordsTest, CompatibleImportRefusesWhatItCannotGiveBack) {
  const std::string old = "HEADER\nVERSION 1.3\nEND HEADER\n";
  const struct {
    const char* text;
    const char* message;
  } cases[] = {
      {"HEADER\nVERSION 1.3\nSYSTEM \"a\"\nVERSION 1.4\nEND HEADER\n",
       "refused.tvo:1: HEADER has VERSION twice, which a compatible"},
      {"HEADER\nVERSION 1.3\nEND HEADER\nHEADER\nVERSION 1.3\nEND HEADER\n",
       "refused.tvo:4: HEADER comes again"},
      {"HEADER\nUNITS\nTIME DMY\nEND UNITS\nUNITS\nTIME MDY\nEND UNITS\nEND HEADER\n",
       "refused.tvo:5: UNITS comes again"},
  };
  write("old.tvo", old);
  expectOutput(0, {"import", "--compatible", "old.tvo", "-o", "kept.dat"});
  const std::string kept = read("kept.dat");
  for (const auto& row : cases) {
    write("refused.tvo", row.text);
    const ToolResult result = run({"import", "--compatible", "refused.tvo", "-o", "kept.dat"});
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.err.find(row.message), std::string::npos) << result.err;
    EXPECT_EQ(read("kept.dat"), kept);
    expectOutput(0, {"import", "refused.tvo", "-o", "complete.dat"});
  }
  EXPECT_EQ(temporaryFiles(), Arguments{});
}

TEST_F(RecordsTest, RepairSavesWhatIsWholeAndSaysWhatIsMissing) {
  for (const std::string& kind : {"complete"s, "compatible"s}) {
    Arguments import = {"import", example("survey.tvo"), "-o", "survey.dat"};
    if (kind == "compatible") import.push_back("--compatible");
    expectOutput(0, import);
    expectOutput(0, {"repair", "survey.dat", "-o", "new.dat"});
    EXPECT_EQ(records("new.dat"), records("survey.dat"));
    std::string damaged = read("survey.dat");
    for (size_t page = 8; page < 12; ++page) damaged.replace(page * 1024, 700, 700, 'x');
    write("damaged.dat", damaged);
    const std::string text = expectOutput(1, {"repair", "damaged.dat", "-o", "new.dat"});
    EXPECT_NE(text.find("  missing: "), std::string::npos) << text;
    EXPECT_NE(text.find("of type  34  POINTS\n"), std::string::npos) << text;
    const auto json = nlohmann::json::parse(
        expectOutput(1, {"repair", "--format", "json", "damaged.dat", "-o", "new.dat"}));
    EXPECT_EQ(json["kind"], kind);
    EXPECT_EQ(json["status"], "incomplete");
    EXPECT_EQ(json["findings"].size(), json["damaged"].get<size_t>() + json["twice"].get<size_t>());
    size_t found = 0;
    for (const auto& type : json["recordsByType"]) found += type["found"].get<size_t>();
    EXPECT_EQ(json["found"], found);
    expectOutput(0, {"verify", "new.dat"});
    EXPECT_EQ(records("new.dat").size(), found);
    // What has lost its columns stands in no text.
    expectOutput(0, {"build", "--force", "new.dat", "-o", "new.tvo"});
    EXPECT_EQ(read("damaged.dat"), damaged);
  }
  const struct {
    Arguments arguments;
    const char* message;
  } cases[] = {
      {{"repair", "none.dat", "-o", "new.dat"}, "cannot read 'none.dat'"},
      {{"repair", "new.tvo", "-o", "new.dat"}, "there is no record of a data file in 'new.tvo'"},
      {{"repair", "new.dat", "-o", "./new.dat"}, "is the input itself"},
      {{"repair", "damaged.dat", "-o", "new.tvo"}, "is there and is no data file"},
  };
  const std::string before = read("new.dat");
  for (const auto& row : cases) {
    const ToolResult result = run(row.arguments);
    EXPECT_EQ(result.status, 2);
    EXPECT_NE(result.err.find(row.message), std::string::npos) << result.err;
  }
  EXPECT_EQ(read("new.dat"), before);
  EXPECT_EQ(temporaryFiles(), Arguments{});
}

TEST_F(RecordsTest, ImportAndBuildGiveBackWhatADataFileKeeps) {
  const std::string text = example("survey.tvo");
  const std::string out = expectOutput(0, {"import", "--compatible", text, "-o", "survey.dat"});
  EXPECT_NE(out.find("3 BOX_ON_POINT, 4 ITEMS"), std::string::npos) << out;
  EXPECT_NE(expectOutput(0, {"verify", "survey.dat"}).find("survey.dat: sound\n"),
            std::string::npos);
  expectOutput(0, {"build", "survey.dat", "-o", "built.tvo"});
  const Arguments kept = keptRecords(text);
  EXPECT_EQ(keptRecords("built.tvo"), kept);
  EXPECT_EQ(keptRecords("survey.dat"), kept);
  // Again into the same file, but not over something else.
  expectOutput(0, {"import", text, "-o", "survey.dat"});
  EXPECT_EQ(run({"import", "built.tvo", "-o", "built.tvo"}).status, 2);
  EXPECT_EQ(run({"import", text, "-o", "built.tvo"}).status, 2);
  EXPECT_EQ(run({"import", "survey.dat", "-o", "other.dat"}).status, 2);
  EXPECT_EQ(run({"build", "built.tvo", "-o", "other.tvo"}).status, 2);
  EXPECT_EQ(run({"build", "survey.dat", "-o", "survey.dat"}).status, 2);
  EXPECT_EQ(run({"check", "survey.dat"}).status, 2);
  EXPECT_FALSE(exists("other.dat") || exists("other.tvo"));
  EXPECT_EQ(keptRecords("built.tvo"), kept);
}

TEST_F(RecordsTest, ImportTellsOfErrorsAndRepeatedPoints) {
  write("twice.tvo",
        "DATABASE\nPOINTS (PointNo,East)\n1,1;\n1,2;\nx,3;\nEND POINTS\nEND DATABASE\n"
        "TIME_TAGGED_CODES\n\"A\",01-02-1999/10:20:30.5,1,\"n\",2;\nEND TIME_TAGGED_CODES\n");
  const std::string out =
      expectOutput(1, {"import", "--compatible", "twice.tvo", "-o", "twice.dat"});
  EXPECT_NE(out.find("twice.tvo:5:1: error E2500"), std::string::npos) << out;
  EXPECT_NE(out.find("already: 1 POINTS\n"), std::string::npos) << out;
  EXPECT_NE(out.find("their values: 1 TIME_TAGGED_CODES\n"), std::string::npos) << out;
  // The data file has the code, but not the values that it points to.
  for (const Arguments& verb :
       {Arguments{"dump", "twice.dat"}, Arguments{"build", "twice.dat", "-o", "built.tvo"}}) {
    const ToolResult result = run(verb);
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.err.find("2 of 3 records; a data file cannot give back the others"),
              std::string::npos)
        << result.err;
  }
  EXPECT_NE(read("built.tvo").find("1,  1.0000;"), std::string::npos) << read("built.tvo");
}

TEST_F(RecordsTest, DamagedDataFilesAreFoundAndHarmless) {
  expectOutput(0, {"import", example("survey.tvo"), "-o", "survey.dat"});
  const std::string sound = read("survey.dat");
  constexpr size_t kPage = 1024;
  for (size_t page = 3; page < 60; page += 14) {
    std::string damaged = sound;
    for (size_t i = 0; i < 64; ++i) damaged[page * kPage + i] = static_cast<char>(7 * i + page);
    write("damaged.dat", damaged);
    const std::string out = expectOutput(1, {"verify", "damaged.dat"});
    EXPECT_NE(out.find("damaged.dat: damaged, "), std::string::npos) << out;
    for (const Arguments& verb :
         {Arguments{"dump", "damaged.dat"}, Arguments{"build", "damaged.dat", "-o", "no.tvo"}}) {
      EXPECT_EQ(expectOutput(1, verb), "");
    }
  }
  EXPECT_FALSE(exists("no.tvo"));
}

// The records whose pages are cut off are counted as lost; those before can be had.
TEST_F(RecordsTest, OfADamagedDataFileWhatCanBeReadIsWrittenOnlyOnDemand) {
  const std::string text = example("survey.tvo");
  expectOutput(0, {"import", "--compatible", text, "-o", "survey.dat"});
  write("cut.dat", read("survey.dat").substr(0, 40000));
  expectOutput(0, {"import", text, "-o", "survey.dat"});
  write("complete.dat", read("survey.dat").substr(0, 40000));
  std::filesystem::remove("cut.tvo");
  const struct {
    Arguments arguments;
    const char* count;
    size_t lines;  // of what is dumped, with the head
  } cases[] = {
      {{"dump", "cut.dat"}, "145 of 402 records can be read", 146},
      // A record whose columns are lost has no place in a text.
      {{"build", "cut.dat", "-o", "cut.tvo"}, "144 of 402 records can be read", 145},
      {{"dump", "complete.dat"}, "131 of 417 records can be read", 132},
      {{"build", "complete.dat", "-o", "cut.tvo"}, "131 of 417 records can be read", 132},
  };
  for (const auto& row : cases) {
    const ToolResult refused = run(row.arguments);
    EXPECT_EQ(refused.status, 1);
    EXPECT_EQ(refused.out, "");
    EXPECT_NE(refused.err.find("is damaged"), std::string::npos) << refused.err;
    EXPECT_NE(refused.err.find(row.count), std::string::npos) << refused.err;
    EXPECT_NE(refused.err.find("--force"), std::string::npos) << refused.err;
    EXPECT_FALSE(exists("cut.tvo"));
    Arguments forced = row.arguments;
    forced.push_back("--force");
    const ToolResult written = run(forced);
    EXPECT_EQ(written.status, 1);
    EXPECT_NE(written.err.find(row.count), std::string::npos) << written.err;
    const bool dumped = row.arguments[0] == "dump";
    const Arguments lines = linesOf(dumped ? written.out : expectOutput(0, {"dump", "cut.tvo"}));
    EXPECT_EQ(lines.size(), row.lines);
    std::filesystem::remove("cut.tvo");
  }
}

TEST_F(RecordsTest, VerifySaysWhatAFileIs) {
  expectOutput(0, {"import", example("survey.tvo"), "-o", "survey.dat"});
  write("short.dat", read("survey.dat").substr(0, 100));
  write("empty.dat", "");
  const struct {
    std::string file;
    const char* message;
  } cases[] = {
      {example("survey.tvo"), "is a text, not a data file (see 'tavo check')"},
      {"short.dat", "'short.dat' is not a data file"},
      {"empty.dat", "'empty.dat' is empty, not a data file"},
      {"none.dat", "cannot read 'none.dat'"},
  };
  for (const auto& row : cases) {
    const ToolResult result = run({"verify", row.file});
    EXPECT_EQ(result.status, 2);
    EXPECT_NE(result.err.find(row.message), std::string::npos) << result.err;
    EXPECT_EQ(result.err.find("another program"), std::string::npos) << result.err;
  }
  // Room that was allocated ahead is worth a note and no more.
  write("ahead.dat", read("survey.dat") + std::string(3000, '\0'));
  EXPECT_NE(expectOutput(0, {"verify", "ahead.dat"}).find("note: 3000 bytes allocated ahead"),
            std::string::npos);
}

// What the decimals take from a value is counted, what the conversion of its unit changes is not.
TEST_F(RecordsTest, FormatCountsEachRoundedValue) {
  const struct {
    const char* unit;
    const char* column;
    const char* value;
    const char* note;
  } cases[] = {
      {"METRE", "East", "1234567.89123", "1 value of POINTS East written with other digits"},
      {"METRE", "East", "8123456789.12345", "1 value of POINTS East written with other digits"},
      {"METRE", "Geoid", "1.23456", "1 value of POINTS Geoid written with other digits"},
      {"METRE", "East", "1234567.8912", ""},
      {"METRE", "Geoid", "1.2345", ""},
      {"US_SURVEY_FEET", "East", "1234567.8912", ""},
      {"INT_FEET", "East", "3333333.3333", ""},
  };
  for (const auto& [unit, column, value, note] : cases) {
    write("digits.tvo", std::string("HEADER\nUNITS\nLINEAR ") + unit +
                            "\nEND UNITS\nEND HEADER\nDATABASE\nPOINTS (PointNo," + column +
                            ")\n1," + value + ";\nEND POINTS\nEND DATABASE\n");
    const ToolResult result = run({"format", "digits.tvo", "-o", "digits-new.tvo"});
    EXPECT_EQ(result.status, 0);
    EXPECT_NE(result.err.find(note), std::string::npos) << value << ": " << result.err;
    EXPECT_EQ(result.err.empty(), *note == '\0') << value << ": " << result.err;
  }
}

TEST_F(RecordsTest, TimelineIsInTheOrderOfTime) {
  const Arguments lines = linesOf(expectOutput(0, {"timeline", example("all-sections.tvo")}));
  ASSERT_EQ(lines.size(), 35u);
  for (size_t i = 1; i < lines.size(); ++i) {
    EXPECT_LE(lines[i - 1].substr(7, 22), lines[i].substr(7, 22));
  }
  EXPECT_EQ(lines[2],
            "slope  2024-10-09 07:14:37.80        11  T1                "
            "Hz 303.9273 gon  Vz 83.7219 gon  SDist 120.1564 m");
  // Nothing is hidden, whatever the time.
  write("early.tvo",
        "DATABASE\nPOINTS (PointNo,Date)\n1,15-03-2024/00:00:00.0;\n2,01-01-0001/00:00:00.0;\n"
        "END POINTS\nEND DATABASE\n");
  EXPECT_EQ(expectOutput(0, {"timeline", "early.tvo"}),
            "point  0001-01-01 00:00:00.00         2\npoint  2024-03-15 00:00:00.00         1\n");
}

// Every value in the unit that the head names, whichever the library delivers.
TEST_F(RecordsTest, DumpConvertsToTheUnitsAskedFor) {
  write("units.tvo",
        "HEADER\nUNITS\nANGULAR DEGS\nLINEAR INT_FEET\nGEOCRD DEGS\nEND UNITS\n"
        "OFFSETS\nEAST 10\nEND OFFSETS\nEND HEADER\n"
        "DATABASE\nPOINTS (PointNo,East,Longitude)\n1,100,180;\nEND POINTS\nEND DATABASE\n"
        "THEODOLITE\nSLOPE (TgtNo,Hz,SDist)\n1,90,1000;\nEND SLOPE\nEND THEODOLITE\n"
        "HEADER\nUNITS\nANGULAR RADS\nEND UNITS\nEND HEADER\n"
        "THEODOLITE\nSLOPE (TgtNo,Hz)\n1,1.25;\nEND SLOPE\nEND THEODOLITE\n");
  const auto values = [](const char* units) {
    std::string all;
    for (const std::string& line :
         linesOf(expectOutput(0, {"dump", "--units", units, "units.tvo"}))) {
      const auto json = nlohmann::json::parse(line);
      if (json.contains("in")) all += json["in"]["angular"].get<std::string>() + "\n";
      if (json.contains("fields") && json["name"] != "UNITS") all += json["fields"].dump() + "\n";
    }
    return all;
  };
  EXPECT_EQ(values("file"),
            "DEGS\n{\"EAST\":10.0}\n{\"East\":100.0,\"Longitude\":180.0,\"PointNo\":1}\n"
            "{\"Hz\":90.0,\"SDist\":1000.0,\"TgtNo\":1}\nRADS\n{\"Hz\":1.25,\"TgtNo\":1}\n");
  EXPECT_EQ(values("si"),
            "radian\n{\"EAST\":3.048}\n{\"East\":30.48,\"Longitude\":3.1415926535898,"
            "\"PointNo\":1}\n{\"Hz\":1.5707963267948966,\"SDist\":304.8,\"TgtNo\":1}\n"
            "{\"Hz\":1.25,\"TgtNo\":1}\n");
}

}  // namespace

}  // namespace tavo::test
