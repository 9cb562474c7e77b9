// The written text, line by line: HEADER, comments, definitions, data lines, nesting.
#include <gtest/gtest.h>

#include <limits>

#include "support/replay.h"

namespace tavo::tests {
namespace {

constexpr writers::BuildSettings kAligned{true, {4, 4, 10}};

std::string write(Replay& records, const writers::BuildSettings& settings = kPlain) {
  TextKeeper keeper;
  writers::writeText(keeper, records, settings);
  return keeper.text;
}

TEST(Header, Bytes) {
  Replay records;
  records.columns(1, {1, 2, 3, 4, 99}, "made\nby hand");
  records.add(5, HeaderRecord{2.0F, "S \"x\"", '|', '#'});
  records.columns(2, {14, 15, 16, 17, 18, 19, 99}, "units");
  records.add(6, UnitsRecord{4, 0.5, 14, 0.3048, 20, 12.123456789, 30, 42, 53});
  records.columns(3, {45, 46, 47});
  records.add(7, OffsetsRecord{30.48, -1234567.8, 0});
  records.columns(4, {5, 6, 7, 8, 9, 10, 11, 12, 13, 19, 52, 1});
  ProjectRecord project = {};
  strcpy(project.NAME, "N");
  strcpy(project.FIELD_DATE, "May");
  project.CREATION_DATE = {1999, 2, 1, 10, 20, 30, 59};
  records.add(8, project);
  records.columns(9, {21, 22});
  records.add(16, SubjectRecord{1, "a"});
  EXPECT_EQ(write(records),
            "; made\n"
            "; by hand\n"
            "HEADER\n"
            "  VERSION      1.31\n"
            "  SYSTEM       \"S \\\"x\\\"\"\n"
            "  SEPARATOR    '|'\n"
            "  TERMINATOR   '#'\n"
            "  UNKNOWN KEYWORD\n"
            "  ; units\n"
            "  UNITS\n"
            "    ANGULAR    USER 0.50000000\n"
            "    LINEAR     USER 0.30480000\n"
            "    GEOCRD     USER 12.12345679\n"
            "    TEMP       CELSIUS\n"
            "    PRESS      HPA\n"
            "    TIME       YMD\n"
            "    UNKNOWN KEYWORD\n"
            "  END UNITS\n"
            "  OFFSETS\n"
            "    EAST         100.000\n"
            "    NORTH     -4050419.291\n"
            "    ELEVATION      0.000\n"
            "  END OFFSETS\n"
            "  PROJECT\n"
            "    NAME           \"N\"\n"
            "    FIELD_DATE     \"May\"\n"
            "    FIELD_PARTY    \"\"\n"
            "    OPERATOR       \"\"\n"
            "    CLIENT         \"\"\n"
            "    ADDRESS        \"\"\n"
            "    CITY           \"\"\n"
            "    MAPREF         \"\"\n"
            "    REFERENCE      \"\"\n"
            "    CREATION_DATE  1999-02-01/10:20:30.5\n"
            "    DESCRIPTION    \"\"\n"
            "    UNKNOWN KEYWORD\n"
            "  END PROJECT\n"
            "END HEADER\n"
            "\n\n"
            "DEFINITIONS\n"
            "  SUBJECTS (SubjectNo|Name)\n"
            "    1|  \"a\"#\n"
            "  END SUBJECTS\n"
            "END DEFINITIONS\n");
}

TEST(Header, PartsWithoutTheirRecords) {
  Replay records;
  records.columns(4, {19}, "not for HEADER").add(8, ProjectRecord{});
  records.columns(2, {14, 15}).add(6, UnitsRecord{777, 0, 4, 0, 0, 0, 0, 0, 0});
  records.columns(3, {45}).columns(1, {1});
  EXPECT_EQ(write(records),
            "HEADER\n"
            "  ; not for HEADER\n"
            "  PROJECT\n"
            "  END PROJECT\n"
            "  UNITS\n"
            "    ANGULAR    UNKNOWN\n"
            "    LINEAR     USER\n"
            "  END UNITS\n"
            "  OFFSETS\n"
            "  END OFFSETS\n"
            "END HEADER\n");
}

// A text gives up the gap in front of it and the indentation before anything of it is cut.
TEST(Header, KeepsLongTextsWhole) {
  const std::string text(60, '"');
  const auto quoted = [](int quotes) {
    std::string item = "\"";
    while (quotes-- > 0) item += "\\\"";
    return item + "\"\n";
  };
  Replay records;
  ProjectRecord project = {};
  memcpy(project.NAME, text.data(), text.size());
  memcpy(project.CITY, text.data(), 54);
  memcpy(project.DESCRIPTION, text.data(), text.size());
  records.columns(4, {TVO_FIELD_NAME, TVO_FIELD_CITY, 52}).add(8, project);
  CodeListRecord list = {};
  memcpy(list.AUTHOR, text.data(), text.size());
  records.columns(13, {TVO_FIELD_OPERATOR}).add(20, list);
  EXPECT_EQ(write(records),
            "HEADER\n"
            "  PROJECT\n"
            "  NAME " +
                quoted(60) + "    CITY           " + quoted(54) +
                // Not even the whole line holds the last three.
                " DESCRIPTION " + quoted(57) +
                "  END PROJECT\n"
                "END HEADER\n\n\n"
                "DEFINITIONS\n"
                "  CODELIST\n"
                "AUTHOR " +
                quoted(60) +
                "  END CODELIST\n"
                "END DEFINITIONS\n");
}

// No reader gets beyond a byte 26.
TEST(Header, TakesNoSeparatorThatEndsTheText) {
  for (const char c : {'\x1a', '\n', '\r', '\0'}) {
    Replay records;
    records.columns(1, {TVO_FIELD_SEPARATOR, TVO_FIELD_TERMINATOR})
        .add(5, HeaderRecord{0, "", c, c});
    records.columns(9, {21, 22}).add(16, SubjectRecord{1, "a"});
    EXPECT_EQ(write(records),
              "HEADER\nEND HEADER\n\n\nDEFINITIONS\n  SUBJECTS (SubjectNo,Name)\n    1,  \"a\";\n"
              "  END SUBJECTS\nEND DEFINITIONS\n");
  }
}

// The second line of what a comment is written as, or nothing.
TEST(Comments, AreCutAtSpacesAndLineFeeds) {
  const std::string word(60, 'w');
  struct Case {
    std::string comment, lines;
  };
  const std::string begin = "METEO\n";
  const std::string longest(123, 'x');
  const Case cases[] = {
      {"", ""},
      {longest, "  ; " + longest + "\n"},
      {longest + "\ny", "  ; " + longest + "\n  ; y\n"},
      {longest + "y", "  ; " + longest + "\n  ; y\n"},
      {word + " " + word + " tail", "  ; " + word + " " + word + "\n  ; tail\n"},
      {word + "  " + word + "zz", "  ; " + word + "\n  ;  " + word + "zz\n"},
      {word + " " + word + "zzz", "  ; " + word + "\n  ; " + word + "zzz\n"},
      {"a\n\nb\n", "  ; a\n  ; \n  ; b\n"},
      {"a\rb\x1a", "  ; a b \n"},
  };
  for (const Case& c : cases) {
    Replay records;
    records.columns(TVO_RECORD_ELEMENTS_COLUMNS, {TVO_FIELD_StnNo}, c.comment);
    EXPECT_EQ(write(records), begin + c.lines + "  ELEMENTS (StnNo)\n  END ELEMENTS\nEND METEO\n");
  }
}

TEST(Definitions, BreakBefore127UnderTheFirstName) {
  Replay records;
  records.columns(
      TVO_RECORD_POINTS_COLUMNS,
      {TVO_FIELD_Description, TVO_FIELD_Description, TVO_FIELD_Description, TVO_FIELD_Description,
       TVO_FIELD_Description, TVO_FIELD_Description, TVO_FIELD_Description, TVO_FIELD_Description,
       TVO_FIELD_Description, TVO_FIELD_X, TVO_FIELD_PointNo, TVO_FIELD_JobName});
  std::string names;
  for (int i = 0; i < 9; ++i) names += "Description,";
  // 10 + 108 + 2 characters are taken; PointNo would be the 127th.
  EXPECT_EQ(write(records), "DATABASE\n  POINTS (" + names +
                                "X,\n          PointNo,UNKNOWN)\n  END POINTS\nEND DATABASE\n");
}

PointRecord point(uint32_t number, const char* id, double east) {
  PointRecord record = {};
  record.PointNo = number;
  strcpy(record.PointID, id);
  record.East = east;
  return record;
}

TEST(DataLines, AlignValuesOfEveryKind) {
  Replay records;
  records.columns(24, {TVO_FIELD_PointID, TVO_FIELD_East, TVO_FIELD_Date, TVO_FIELD_CLASS,
                       TVO_FIELD_SymDim1, TVO_FIELD_PointFlags, TVO_FIELD_JobName});
  PointRecord first = point(1, "a\"'\\\n", -1.5);
  first.Date = {2001, 12, 31, 1, 2, 3, 99};
  first.CLASS = TVO_ENUM_MEAS;
  first.SymDim1 = 99999.5F;
  first.Flags = 5;
  records.add(34, first);
  PointRecord second = point(2, "", 12345.00005);
  second.CLASS = TVO_ENUM_YES;  // not a class of points
  second.SymDim1 = 123456;
  records.add(34, second);
  records.add(34, point(3, "x", std::numeric_limits<double>::quiet_NaN()));
  EXPECT_EQ(write(records, kAligned),
            "DATABASE\n"
            "  POINTS (PointID,East,Date,CLASS,SymDim1,Flags,UNKNOWN)\n"
            "    \"a\\\"\\'\\\\ \",     -1.5000,  31-12-2001/01:02:03.9,  MEAS,     99999.5,  "
            "0000000000000101,  ;\n"
            "    \"\",          12345.0001,  ,                       UNKNOWN,  1.2e+05,  "
            "0000000000000000,  ;\n"
            "    \"x\",             0.0000,  ,                       ,             0.0,  "
            "0000000000000000,  ;\n"
            "  END POINTS\n"
            "END DATABASE\n");
}

// Without alignment a text is followed by as many blanks as it differs from two characters, and at
// least by one; the rest by two.
TEST(DataLines, PadUnalignedTextsByTheirLength) {
  Replay records;
  records.columns(24, {TVO_FIELD_PointID, TVO_FIELD_Code, TVO_FIELD_PointNo, TVO_FIELD_SYS});
  records.add(34, point(7, "", 0)).add(34, point(7, "a", 0)).add(34, point(7, "abcd", 0));
  EXPECT_EQ(write(records),
            "DATABASE\n"
            "  POINTS (PointID,Code,PointNo,SYS)\n"
            "    \"\", \"\", 7,  0;\n"
            "    \"a\", \"\", 7,  0;\n"
            "    \"abcd\",    \"\", 7,  0;\n"
            "  END POINTS\n"
            "END DATABASE\n");
}

std::string lastLines(Replay& records, const writers::BuildSettings& settings) {
  const std::string text = write(records, settings);
  const size_t begin = text.find(")\n") + 2;
  return text.substr(begin, text.find("    END ") - begin);
}

TEST(DataLines, BreakBefore127AndNeverPassTheReadersLimit) {
  struct Case {
    size_t length;
    const writers::BuildSettings& settings;
    std::string expected;
  };
  const auto item = [](size_t length) { return "\"" + std::string(length, 't') + "\""; };
  const Case cases[] = {
      // Aligned: used + width + 3 must stay below 127.
      {100, kAligned, "      " + item(100) + ",  11111,  \n      22222;\n"},
      {99, kAligned, "      " + item(99) + ",  11111,  22222;\n"},
      // Unaligned padding follows the text's length, but no further than a reader looks.
      {20, kPlain, "      " + item(20) + "," + std::string(20, ' ') + "11111,  22222;\n"},
      {56, kPlain, "      " + item(56) + "," + std::string(56, ' ') + "11111,  \n      22222;\n"},
      {60, kPlain, "      " + item(60) + "," + std::string(60, ' ') + "\n      11111,  22222;\n"},
      {100, kPlain, "      " + item(100) + "," + std::string(20, ' ') + "\n      11111,  22222;\n"},
  };
  for (const Case& c : cases) {
    Replay one;
    one.columns(94, {TVO_FIELD_TextItem, TVO_FIELD_LineNo, TVO_FIELD_TextBoxNo});
    TextItemRecord record = {0, 22222, 0, 11111, {}};
    memset(record.TextItem, 't', c.length);
    one.add(97, record);
    EXPECT_EQ(lastLines(one, c.settings), c.expected);
  }
}

TEST(DataLines, GiveATextTheWholeLine) {
  Replay records;
  records.columns(26, {TVO_FIELD_PointNo, TVO_FIELD_Value});
  ThemInfoRecord record = {};
  record.Value.kind = TVO_ENUM_TEXT;
  memset(record.Value.text, 't', 126);
  records.add(36, record);
  const std::string text = "\"" + std::string(126, 't') + "\"";
  EXPECT_NE(write(records).find("\n      0,  \n" + text + ";\n"), std::string::npos);
  records.columns(26, {TVO_FIELD_Value}).add(36, record);
  EXPECT_NE(write(records).find("(Value)\n" + text + ";\n"), std::string::npos);
}

TEST(DataLines, AlignFreeValuesByTheirKind) {
  Replay records;
  records.columns(26, {TVO_FIELD_Value, TVO_FIELD_PointNo});
  ThemInfoRecord record = {};
  for (const EnumId kind : {0U, 100U, 101U, 102U, 7U}) {
    record.Value = {kind, "abc", 1, -5};
    records.add(36, record);
  }
  const auto lines = [](const std::string& text) {
    const size_t begin = text.find("(Value,PointNo)\n") + 16;
    return text.substr(begin, text.find("    END THEMINFO") - begin);
  };
  EXPECT_EQ(lines(write(records)),
            "      ,  0;\n"
            "      \"abc\",   0;\n"
            "      1.0000000000,  0;\n"
            "      -5,  0;\n"
            "      ,  0;\n");
  EXPECT_EQ(lines(write(records, kAligned)),
            "      ,              0;\n"
            "      \"abc\",         0;\n"
            "      1.0000000000,  0;\n"
            "                -5,  0;\n"
            "      ,              0;\n");
}

// A line of the terminator alone would be passed over.
TEST(DataLines, NeverConsistOfTheTerminatorAlone) {
  Replay records;
  records.columns(23, {TVO_FIELD_Date}).add(33, JobRecord{});
  records.columns(24, {TVO_FIELD_CLASS}).add(34, PointRecord{});
  const std::string text = write(records);
  EXPECT_NE(text.find("    00-00-0000/00:00:00.0;\n"), std::string::npos);
  EXPECT_NE(text.find("    UNKNOWN;\n"), std::string::npos);
}

// A date whose numbers do not fit the digits that a reader looks at is written as an empty one.
TEST(DataLines, WriteNoDateThatWouldBeMisread) {
  struct Case {
    DateTime date;
    const char* text;
  };
  const Case cases[] = {{{2000, 99, 1, 0, 0, 0, 0}, "01-99-2000/00:00:00.0"},
                        {{2000, 100, 1, 0, 0, 0, 0}, ""},
                        {{2000, -9, 1, 0, 0, 0, 0}, "01--9-2000/00:00:00.0"},
                        {{2000, 1, -10, 0, 0, 0, 0}, ""},
                        {{2000, 1, 1, 0, 0, 100, 0}, ""},
                        {{10000, 1, 1, 0, 0, 0, 0}, ""},
                        {{2000, 1, 1, 0, 0, 0, 100}, ""}};
  for (const Case& c : cases) {
    Replay records;
    JobRecord job = {};
    job.Date = c.date;
    records.columns(23, {TVO_FIELD_JobNo, TVO_FIELD_Date}).add(33, job);
    EXPECT_NE(write(records).find(std::string("    0,  ") + c.text + ";\n"), std::string::npos);
  }
}

TEST(DataLines, KeepAllDigitsOfWhatIsNotConverted) {
  Replay records;
  records.columns(2, {TVO_FIELD_ANGULAR})
      .add(6, UnitsRecord{TVO_ENUM_RADS, 0, 0, 0, 0, 0, 0, 0, 0});
  SlopeRecord slope = {};
  slope.Hz = 3.141592653589793;
  slope.SDist = 1234567890123456.5F;
  records.columns(49, {TVO_FIELD_Hz, TVO_FIELD_SDist}).add(54, slope);
  const std::string text = write(records, {false, {15, 0, 0}});
  EXPECT_NE(text.find("    3.141592653589793,  1234567948140544;\n"), std::string::npos) << text;
}

// An item that is listed stays one: an empty date is a date of zeros, in day numbers the first day
// of the year 0.
TEST(Sections, CodeListKeepsAnEmptyDate) {
  const std::pair<EnumId, const char*> cases[] = {
      {TVO_ENUM_DMY, "    DATE         00-00-0000/00:00:00.0\n"},
      {TVO_ENUM_MJD, "    DATE         -678941.0000000000\n"},
      {TVO_ENUM_UNKNOWN, "CODELIST\n  END CODELIST\n"}};
  for (const auto& [order, line] : cases) {
    Replay records;
    records.columns(2, {TVO_FIELD_Date}).add(6, UnitsRecord{0, 0, 0, 0, 0, 0, 0, 0, order});
    records.columns(13, {TVO_FIELD_Date}).add(20, CodeListRecord{});
    EXPECT_NE(write(records).find(line), std::string::npos) << write(records);
  }
}

TEST(Nesting, OpensAndClosesBlocksAsTheRecordsAsk) {
  struct Case {
    std::vector<RecordType> types;
    const char* text;
  };
  const Case cases[] = {
      // Sub-sections inside the block they belong to, more lines of it behind them.
      {{24, 34, 25, 35, 26, 58, 34, 27, 28},
       "DATABASE\n  POINTS (PointNo)\n    0;\n    PNT_ACCURACY (PointNo)\n      0;\n"
       "    END PNT_ACCURACY\n    THEMINFO (PointNo)\n    END THEMINFO\n"
       "    ANNOTATIONS (PointNo)\n    END ANNOTATIONS\n    0;\n  END POINTS\n\n"
       "  LINES (LineNo)\n    EDGES (LineNo)\n    END EDGES\n  END LINES\nEND DATABASE\n"},
      // A sub-section without its block gets one around it.
      {{31, 41},
       "DATABASE\n  POLYGONS (PolygonNo)\n    EDGES (LineNo)\n      0;\n    END EDGES\n"
       "  END POLYGONS\nEND DATABASE\n"},
      // That one takes no lines: the records of such lines would lose what it does not declare.
      {{26, 34},
       "DATABASE\n  POINTS (PointNo)\n    THEMINFO (PointNo)\n    END THEMINFO\n  END POINTS\n"
       "END DATABASE\n\n\n"},
      {{92, 93, 94, 23},
       "DATABASE\n  TEXT\n    PROPERTIES (TextPropertyNo)\n    END PROPERTIES\n\n    BOXES\n"
       "      BOX_ON_POINT (TextBoxNo)\n      END BOX_ON_POINT\n    END BOXES\n\n"
       "    ITEMS (TextItemNo)\n    END ITEMS\n  END TEXT\n\n  JOBS (JobNo)\n  END JOBS\n"
       "END DATABASE\n"},
      {{46, 51, 47, 52, 51, 45, 47},
       "THEODOLITE\n  CONFIGS (CfgNo)\n    0;\n    APRIORI_ERRORS (CfgNo)\n      0;\n"
       "    END APRIORI_ERRORS\n    0;\n  END CONFIGS\n\n  INSTRUMENTS (Name)\n"
       "  END INSTRUMENTS\n  APRIORI_ERRORS (CfgNo)\n  END APRIORI_ERRORS\nEND THEODOLITE\n"},
      {{72, 65, 66, 9},
       "DEFINITIONS\n  TRANSFORM_PARAMS\n    APPROX1D (TrfNo)\n    END APPROX1D\n"
       "  END TRANSFORM_PARAMS\n\n  MAPPRJ_PARAMS\n    UTM (MapPrjNo)\n    END UTM\n\n"
       "    LAMBERT (MapPrjNo)\n    END LAMBERT\n  END MAPPRJ_PARAMS\n\n"
       "  SUBJECTS (SubjectNo)\n  END SUBJECTS\nEND DEFINITIONS\n"},
      // A code list whose codes come first, as a reader delivers it, and a second one.
      {{14, 21, 13, 20, 14, 13, 20},
       "DEFINITIONS\n  CODELIST\n    CODES (CodeNo)\n      0;\n    END CODES\n"
       "    NAME         \"\"\n  END CODELIST\n\n  CODELIST\n    CODES (CodeNo)\n    END CODES\n"
       "    NAME         \"\"\n  END CODELIST\nEND DEFINITIONS\n"},
      // As a store sorts it.
      {{13, 20, 14, 21, 15, 64},
       "DEFINITIONS\n  CODELIST\n    NAME         \"\"\n    CODES (CodeNo)\n      0;\n"
       "    END CODES\n\n    ATTRIBUTES (Attribute)\n    END ATTRIBUTES\n  END CODELIST\n\n"
       "  ELLIPSOIDS (EllipsoidNo)\n  END ELLIPSOIDS\nEND DEFINITIONS\n"},
      {{13, 20, 14, 13, 20},
       "DEFINITIONS\n  CODELIST\n    NAME         \"\"\n  END CODELIST\n\n  CODELIST\n"
       "    CODES (CodeNo)\n    END CODES\n    NAME         \"\"\n  END CODELIST\n"
       "END DEFINITIONS\n"},
      // Two in a store, which keeps one columns record and sorts the rest behind it.
      {{13, 20, 20, 14, 21, 64},
       "DEFINITIONS\n  CODELIST\n    NAME         \"\"\n  END CODELIST\n\n  CODELIST\n"
       "    NAME         \"\"\n    CODES (CodeNo)\n      0;\n    END CODES\n  END CODELIST\n\n"
       "  ELLIPSOIDS (EllipsoidNo)\n  END ELLIPSOIDS\nEND DEFINITIONS\n"},
      // Codes in front of such a further one are its own, too.
      {{13, 20, 14, 21, 20},
       "DEFINITIONS\n  CODELIST\n    NAME         \"\"\n  END CODELIST\n\n  CODELIST\n"
       "    CODES (CodeNo)\n      0;\n    END CODES\n    NAME         \"\"\n  END CODELIST\n"
       "END DEFINITIONS\n"},
      // Without any columns record there is no list.
      {{14, 20},
       "DEFINITIONS\n  CODELIST\n    CODES (CodeNo)\n    END CODES\n  END CODELIST\n"
       "END DEFINITIONS\n\n\n"},
      // EXTRAINFO takes the data records of the block around it, until another block follows.
      {{24, 34, 109, 34, 34, 109, 26, 34, 27, 37, 110, 37, 30, 40, 111, 40},
       "DATABASE\n  POINTS (PointNo)\n    0;\n    EXTRAINFO (PointNo)\n      0;\n      0;\n"
       "    END EXTRAINFO\n    EXTRAINFO (PointNo)\n    END EXTRAINFO\n    THEMINFO (PointNo)\n"
       "    END THEMINFO\n    0;\n  END POINTS\n\n"
       "  LINES (LineNo)\n    0;\n    EXTRAINFO (LineNo)\n      0;\n    END EXTRAINFO\n"
       "  END LINES\n\n"
       "  POLYGONS (PolygonNo)\n    0;\n    EXTRAINFO (PolygonNo)\n      0;\n    END EXTRAINFO\n"
       "  END POLYGONS\nEND DATABASE\n"},
      {{23, 110},
       "DATABASE\n  JOBS (JobNo)\n  END JOBS\n\n  LINES (LineNo)\n    EXTRAINFO (LineNo)\n"
       "    END EXTRAINFO\n  END LINES\nEND DATABASE\n"},
      {{48, 53, 49, 54},
       "THEODOLITE\n  SETUP\n    STN_NO   0\n  END SETUP\n\n  SLOPE (TgtNo)\n    0;\n"
       "  END SLOPE\nEND THEODOLITE\n"},
      // A record of another section ends this one.
      {{23, 16}, "DATABASE\n  JOBS (JobNo)\n  END JOBS\nEND DATABASE\n\n\n"},
  };
  for (const Case& c : cases) {
    Replay records;
    for (const RecordType type : c.types) {
      // The fields of EXTRAINFO are those of the block around it.
      const schema::RecordDef& def = schema::recordDef(type > 108 ? 24 + 3 * (type - 109) : type);
      const char zeros[1024] = {};
      if (def.columns) records.columns(type, {def.fields[0].id});
      if (!def.columns) records.add(type, static_cast<const void*>(zeros));
    }
    EXPECT_EQ(write(records), c.text);
    EXPECT_EQ(write(records, kAligned), c.text);
  }
}

TEST(Sections, Operations) {
  Replay records;
  records.columns(55, {TVO_FIELD_PointNo, TVO_FIELD_PointID});
  records.add(56, OperationRecord{3});
  records.add(57, OperationPointsRecord{{{17, "P17"}, {18, "P\"18"}, {19, "unused"}}});
  records.add(56, OperationRecord{0});  // its points are missing
  records.add(56, OperationRecord{1}).add(57, OperationPointsRecord{{{5, ""}}});
  EXPECT_EQ(write(records),
            "OPERATIONS\n"
            "  CIRCLE_CENT\n"
            "    17,\"P17\",18,\"P\\\"18\";\n"
            "  CIRCLE_RADIUS\n"
            "    5,\"\";\n"
            "END OPERATIONS\n");
}

TEST(Sections, TimeTaggedCodesBreakInFrontOfNames) {
  TimeTaggedEntry entries[3] = {};
  memset(entries[0].name, 'n', 30);
  entries[0].kind = TVO_ENUM_TEXT;
  memset(entries[0].text, 't', 30);
  strcpy(entries[1].name, "Height");
  entries[1].kind = TVO_ENUM_REAL;
  entries[1].real = 12345678.5;
  entries[2] = entries[1];
  entries[2].kind = TVO_ENUM_INT;
  entries[2].integer = -15;
  Replay records;
  records.columns(90, {});
  records.add(91, TimeTaggedRecord{"A12", {1999, 2, 1, 10, 20, 30, 50}, 7, 3, entries});
  records.add(91, TimeTaggedRecord{"", {}, 8, 0, nullptr});
  const std::string first = "\"" + std::string(30, 'n') + "\",\"" + std::string(30, 't') + "\"";
  writers::BuildSettings settings = kPlain;
  settings.decimals.geographic = 0;
  EXPECT_EQ(write(records, settings),
            "TIME_TAGGED_CODES\n"
            "  \"A12\",01-02-1999/10:20:30.5,7," +
                first +
                ",\"Height\",12345678.5,\n"
                "  \"Height\",-15;\n"
                "  \"\",00-00-0000/00:00:00.0,8;\n"
                "END TIME_TAGGED_CODES\n");
}

}  // namespace
}  // namespace tavo::tests
