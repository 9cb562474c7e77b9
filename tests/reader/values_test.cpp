// Field values of every type, through data lines: what is taken, what is refused and how it is
// reported.
#include <gtest/gtest.h>

#include "support/analysis.h"

namespace tavo::tests {
namespace {

// A column's text, the findings on it (without their line number) and the member it gives. A null
// value: the line gives no record.
struct Row {
  const char* text;
  const char* findings;
  const char* value;
};

// The column's fields as second column of POINTS; the last of them has no number.
template <size_t N>
void expectPoints(const std::string& column, const Row (&rows)[N]) {
  for (const Row& row : rows) {
    const std::string text = row.text;
    std::string records = "24(PointNo " + column + ")\n";
    if (row.value != nullptr) {
      records += "34 PointNo=1" + std::string(*row.value == 0 ? "" : " " + column + "=") +
                 row.value + "\n";
    }
    std::string findings;
    for (std::string rest = row.findings; !rest.empty();) {
      const size_t end = rest.find('|');
      findings += "3 " + rest.substr(0, end) + "\n";
      rest = end == std::string::npos ? "" : rest.substr(end + 1);
    }
    expectAnalysis((column + ": " + text).c_str(),
                   inBlock("DATABASE", "POINTS (PointNo," + column + ")", "1," + text + ";\n"),
                   findings, records);
  }
}

TEST(Values, UnsignedNumbers) {
  expectPoints("JobNo", {{"", "", ""},
                         {" \t ", "", ""},
                         {" 12  ", "", "12"},
                         {"+7", "", "7"},
                         {"007", "", "7"},
                         {"65535", "", "65535"},
                         {"65537", "", "1"},
                         {"99999999999999999999999", "", "65535"},
                         {"-3", "E2500 -3", nullptr},
                         {"- 3", "E2500 - 3", nullptr},
                         {"+-3", "E2500 +-3", nullptr},
                         {"12x ", "E2500 12x", nullptr},
                         {"1 2", "E2500 1 2", nullptr},
                         {"1.0", "E2500 1.0", nullptr},
                         {"0x10", "E2500 0x10", nullptr},
                         {"\"1\"", "E2500 \"1\"", nullptr},
                         {"\xb2", "E2500 \xb2", nullptr}});
  expectPoints(
      "Color",
      {{"4294967295", "", "4294967295"}, {"4294967298", "", "2"}, {"-0", "E2500 -0", nullptr}});
}

// The range check of small numbers takes the low 16 bits for a signed number.
TEST(Values, SmallNumbersWithTheirRangeCheck) {
  expectPoints("SYS", {{"255", "", "255"},
                       {"256", "E2001 256", nullptr},
                       {"300 ", "E2001 300", nullptr},
                       {"32767", "E2001 32767", nullptr},
                       {"32768", "", ""},
                       {"32769", "", "1"},
                       {"65535", "", "255"},
                       {"65540", "", "4"},
                       {"65836", "E2001 65836", nullptr},
                       {"-1", "E2500 -1", nullptr},
                       {"300x", "E2500 300x", nullptr}});
}

TEST(Values, Reals) {
  expectPoints("East", {{"", "", ""},
                        {"1.5", "", "1.5"},
                        {" -.25 ", "", "-0.25"},
                        {"+5.", "", "5"},
                        {"1e3", "", "1000"},
                        {"1.25E-2", "", "0.0125"},
                        {"123456789.1", "", "123456789.1"},
                        {"1e308", "", "1e+308"},
                        {"1e309", "E2500 1e309", nullptr},
                        {"1e-400", "", ""},
                        {".", "E2500 .", nullptr},
                        {"-", "E2500 -", nullptr},
                        {"+-1", "E2500 +-1", nullptr},
                        {"1e", "E2500 1e", nullptr},
                        {"1.5.2", "E2500 1.5.2", nullptr},
                        {"1 .5", "E2500 1 .5", nullptr},
                        {"inf", "E2500 inf", nullptr},
                        {"nan", "E2500 nan", nullptr},
                        {"0x1p3", "E2500 0x1p3", nullptr}});
  expectPoints("Geoid", {{"1e38", "", "1e+38"},
                         {"-1e39", "E2500 -1e39", nullptr},
                         {"1e-60", "", ""},
                         {"16777217", "", "1.677722e+07"},
                         {"2.5m", "E2500 2.5m", nullptr}});
}

TEST(Values, BitFields) {
  expectPoints("Flags", {{"", "", ""},
                         {"1000000000000001", "", "0x8001"},
                         {" 0000 0000 0001 0010 ", "", "0x0012"},
                         {"100000000000000", "E2500 100000000000000", nullptr},
                         {"10000000000000011", "E2500 10000000000000011", nullptr},
                         {"1000000000000002", "E2500 1000000000000002", nullptr}});
  const std::string head = "10(LayerNo Flags)\n";
  expectAnalysis(
      "8 bits",
      inBlock("DEFINITIONS", "LAYERS (LayerNo,Flags)", "1,1000 0001;\n2,100000011;\n3,0000000;\n"),
      "4 E2500 100000011\n5 E2500 0000000\n", head + "17 LayerNo=1 Flags=0x81\n");
}

TEST(Values, Texts) {
  expectPoints("Description",
               {{"", "", ""},
                {"\"\"", "", ""},
                {" \"a\" ", "", "\"a\""},
                {R"("a,b\"c\\d\e")", "", R"("a,b"c\de")"},
                {"\"123456789012345678901234567890\"", "", "\"123456789012345678901234567890\""},
                {"\"1234567890123456789012345678901\"", "E2001 \"12345678901234 ...", nullptr},
                {R"("12345678901234567890123456789\"")", "", R"("12345678901234567890123456789"")"},
                {R"("open)", "E2500 \"open;", nullptr},
                {R"("a"b)", "E2500 \"a\"b", nullptr},
                {R"("a" "b")", "E2500 \"a\" \"b\"", nullptr},
                // What a text without quotes leaves behind its first character is reported again.
                {"a", "E2500 a", nullptr},
                {"a ", "E2500 a", nullptr},
                {"ab", "E2500 ab|E2500 ab", nullptr},
                {"a b ", "E2500 a b|E2500 a b", nullptr},
                {"'a'", "E2500 'a'|E2500 'a'", nullptr},
                {"\"1234567890123456789012345678901\"x",
                 "E2001 \"12345678901234 ...|E2500 \"12345678901234 ...", nullptr}});
}

TEST(Values, EnumerationWords) {
  expectPoints("CLASS", {{"FIX", "", "FIX"},
                         {" EST ", "", "EST"},
                         {"FIX or so", "", "FIX"},
                         {"UNKNOWN", "", "UNKNOWN"},
                         {"", "", "UNKNOWN"},
                         {"fix it", "W7014 fix", "UNKNOWN"},
                         {"FIX2", "W7014 FIX2", "UNKNOWN"},
                         {"\"FIX\"", "W7014 \"FIX\"", "UNKNOWN"},
                         {"NOTE1", "E2050 NOTE1", nullptr},
                         {"USER", "E2050 USER", nullptr}});
}

TEST(Values, DatesInAllOrders) {
  const struct {
    const char* order;
    const char* text;
    const char* date;  // null: refused
  } rows[] = {{"DMY", "31-12-1998/23:59:59.99", "1998-12-31/23:59:59.99"},
              {"DMY", "1-2-1999/3:4:5.5", "1999-02-01/03:04:05.50"},
              {"DMY", "01-02-1999/10:20:30.05", "1999-02-01/10:20:30.05"},
              {"DMY",
               "\x01"
               "01-\t02-\v1999/\f10:\r20: 30.05",
               "1999-02-01/10:20:30.05"},
              {"DMY",
               "01-\x01"
               "02-1999/10:20:30.05",
               nullptr},
              {"DMY",
               "01-02-1999/10:20:30.\x1f"
               "05",
               nullptr},
              {"DMY", " 1- 2- 99/ 3: 4: 5. 6 ", "0099-02-01/03:04:05.60"},
              {"DMY", "99-99-9999/99:99:99.99", "9999-99-99/99:99:99.99"},
              {"DMY", "01-02-1999/10:20:30", nullptr},
              {"DMY", "01-02-1999/10:20:30.", nullptr},
              {"DMY", "01-02-1999/10:20:30.123", nullptr},
              {"DMY", "01-02-1999/10:20:30.12x", nullptr},
              {"DMY", "01-02-1999 10:20:30.12", nullptr},
              {"DMY", "01 -02-1999/10:20:30.12", nullptr},
              {"DMY", "01-02-19990/10:20:30.12", nullptr},
              {"DMY", "1998-12-31/23:59:59.9", nullptr},
              {"DMY", "51178.5", nullptr},
              {"MDY", "12-31-1998/23:59:59.9", "1998-12-31/23:59:59.90"},
              {"MDY", "31-12-1998/23:59:59.99", nullptr},
              {"YMD", "1998-12-31/23:59:59.9", "1998-12-31/23:59:59.90"},
              {"YMD", "1998-12-31/23:59:59.99", nullptr},
              {"MJD", "51178.75", "1998-12-31/18:00:00.00"},
              {"MJD", "51178.9999999999", "1999-01-01/00:00:00.00"},
              {"MJD", "0", "1858-11-17/00:00:00.00"},
              {"MJD", "-0.5", "1858-11-16/12:00:00.00"},
              {"MJD", "51603", "2000-02-29/00:00:00.00"},
              {"MJD", "1e9", nullptr},
              {"MJD", "1d", nullptr},
              {"MJD", "1998-12-31/23:59:59.9", nullptr}};
  for (const auto& row : rows) {
    std::string text = row.text;
    const std::string order = row.order;
    const Analysed result = analyse("HEADER\nUNITS\nTIME " + order + ";\nEND UNITS\nEND HEADER\n" +
                                    inBlock("DATABASE", "JOBS (Date)", text + ";\n;\n"));
    SCOPED_TRACE(order + " " + text);
    std::string records = "2(TIME)\n6 TIME=" + order + "\n23(Date)\n";
    if (row.date != nullptr) records += "33 Date=" + std::string(row.date) + "\n";
    EXPECT_EQ(result.records, records);
    if (text.size() > 20) text = text.substr(0, 15) + " ...";
    EXPECT_EQ(result.findings, row.date != nullptr ? "" : "8 E2500 " + text + "\n");
  }
  // An unknown order: no field of the file can be a date.
  expectAnalysis("unknown order",
                 "HEADER\nUNITS\nTIME DYM;\nEND UNITS\nEND HEADER\n" +
                     inBlock("DATABASE", "JOBS (JobNo,Date)", "1,1;\n2,;\n"),
                 "3 W7014 DYM\n8 E2051 1,1;\n",
                 "2(TIME)\n6 TIME=UNKNOWN\n23(JobNo Date)\n33 JobNo=2\n");
}

TEST(Values, FreeAndDefaultValues) {
  const std::string most(126, 'v');
  expectAnalysis(
      "free values",
      inBlock("DATABASE", "POINTS (PointNo)",
              "THEMINFO (PointNo,Value)\n1,\"15\";\n2,15;\n3,15.0;\n4,1e3;\n5,99999999999;\n"
              "6,-99999999999;\n7,;\n8,x;\n9,1.5.1;\n10,-7.9;\n11,\n\"" +
                  most + "\";\n12,\n\"a\",2;\nEND THEMINFO\n"),
      "11 E2500 x\n12 E2500 1.5.1\n17 E2051 \"a\",2;\n",
      "24(PointNo)\n26(PointNo Value)\n36 PointNo=1 Value=\"15\"\n36 PointNo=2 Value=INT 15\n"
      "36 PointNo=3 Value=REAL 15\n36 PointNo=4 Value=INT 1000\n36 PointNo=5 Value=INT 2147483647\n"
      "36 PointNo=6 Value=INT -2147483648\n36 PointNo=7\n36 PointNo=10 Value=REAL -7.9\n"
      "36 PointNo=11 Value=\"" +
          most + "\"\n");
  const std::string forty(40, 'd');
  expectAnalysis(
      "default values",
      inBlock(
          "DEFINITIONS", "CODELIST",
          "ATTRIBUTES (Attribute,Default)\n\"A\",\"15\";\n\"B\",15;\n\"C\",;\n\"D\",x;\n\"E\",\"" +
              forty + "\";\n\"F\",\"" + forty + "+\";\nEND ATTRIBUTES\n"),
      "7 E2500 x\n9 E2001 \"dddddddddddddd ...\n",
      "15(Attribute Default)\n22 Attribute=\"A\" Default=\"15\"\n"
      "22 Attribute=\"B\" Default=REAL 15\n22 Attribute=\"C\"\n22 Attribute=\"E\" Default=\"" +
          forty + "\"\n");
}

TEST(Values, ObserversAreToldWhatRecordsDoNotKeep) {
  const struct {
    const char* column;
    const char* text;
    const char* loss;  // null: none
  } rows[] = {
      {"JobNo", "65535", nullptr},
      {"JobNo", "65536 ", "number 65536"},
      {"JobNo", "00000000000000000000065535", nullptr},
      {"JobNo", "18446744073709551617", "number 18446744073709551617"},  // 1 in 64 bits
      {"JobNo", "+65537", "number +65537"},
      {"Color", "4294967296", "number 4294967296"},
      {"SymDir", "65535", nullptr},  // a real
      {"Class", "1", nullptr},       // an unknown column, which is dropped
      // Fifteen digits are always safe in 64 bits, more of them sometimes.
      {"East", "123456.789012345", nullptr},
      {"East", "-0.1234567890123456", nullptr},
      {"East", "8.0000000000000015", "digits 8.0000000000000015"},
      {"East", "9007199254740993", "digits 9007199254740993"},
      {"East", "9007199254740992", nullptr},
      {"East", "123456789012345000000000.000", nullptr},
      {"East", "000.10000000000000000000", nullptr},
      {"East", "0.12345678901234567890", "digits 0.12345678901234567890"},
      {"East", "1e-400", "digits 1e-400"},
      {"East", "0.0e9", nullptr},
      {"SymDim1", "1.23456", nullptr},
      {"SymDim1", "0.3333333", nullptr},
      {"SymDim1", "16777217", "digits 16777217"},
      {"SymDim1", "1234.5678 ", "digits 1234.5678"},
      {"SymDim1", "12x", nullptr},
  };
  for (const auto& row : rows) {
    const std::string text = inBlock("DATABASE", "POINTS (PointNo," + std::string(row.column) + ")",
                                     "1," + std::string(row.text) + ";\n");
    const Analysed seen = analyse(text, {.observed = true});
    const Analysed unseen = analyse(text);
    const std::string loss = row.loss == nullptr ? "" : "3 " + std::string(row.loss) + "\n";
    EXPECT_EQ(seen.losses, loss) << row.column << " " << row.text;
    EXPECT_EQ(seen.log, unseen.log);
    EXPECT_EQ(seen.records, unseen.records);
  }
  // The other places and types.
  EXPECT_EQ(analyse("HEADER\nVERSION 1\nEND HEADER\nDATABASE\nPOINTS (PointNo)\n1;\n"
                    "THEMINFO (PointNo,Attribute,Value)\n1,\"a\",2147483648;\n1,\"b\",125e-1;\n"
                    "1,\"c\",2147483647;\n1,\"d\",1.5;\nEND THEMINFO\nEND POINTS\nEND DATABASE\n"
                    "TIME_TAGGED_CODES\n\"C\",01-01-2024/00:00:00.0,65536,\"e\",-2147483649;\n"
                    "END TIME_TAGGED_CODES\n",
                    {.observed = true})
                .losses,
            "8 number 2147483648\n9 number 125e-1\n16 number 65536\n16 number -2147483649\n");
}

}  // namespace
}  // namespace tavo::tests
