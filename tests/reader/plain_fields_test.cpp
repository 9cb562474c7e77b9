// The fast way through a data line against the field parsers: a blank in front of every delimiter
// changes no value, but leaves each field to its parser. And the two scans for a terminator.
#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "reader/plain_fields.h"
#include "reader/scan.h"
#include "support/analysis.h"

namespace tavo::tests {
namespace {

using Random = std::mt19937;

std::string oneOf(Random& random, std::initializer_list<const char*> words) {
  return words.begin()[random() % words.size()];
}

std::string digits(Random& random, size_t most) {
  std::string text;
  for (size_t n = random() % (most + 1); n > 0; --n) text += static_cast<char>('0' + random() % 10);
  return text;
}

std::string real(Random& random) {
  const std::string end = random() % 16 == 0 ? oneOf(random, {"e3", "E-2", "e", ".", "x"}) : "";
  const std::string point = random() % 4 == 0 ? "" : "." + digits(random, 10);
  return oneOf(random, {"", "", "", "-", "+"}) + digits(random, 10) + point + end;
}

std::string quoted(Random& random) {
  std::string text = "\"";
  for (size_t n = random() % (random() % 4 == 0 ? 20 : 9); n > 0; --n) {
    text += random() % 30 == 0 ? oneOf(random, {"\\\"", "\\\\", "'", ",", ";", "\x9c", "\xff"})
                               : oneOf(random, {"a", "Z", "7", "-", "("});
  }
  return text + '"';
}

// Now and then with something wrong or unusual in it.
std::string date(Random& random, const std::string& order) {
  if (order == "MJD") return real(random);
  const std::string year = std::to_string(1900 + random() % 200);
  std::string text = order == "YMD" ? year + "-07-12/" : "07-12-" + year + "/";
  text += "01:59:0" + std::to_string(random() % 10) + ".";
  text += std::to_string(random() % (random() % 4 == 0 ? 120 : 10));
  if (random() % 16 == 0) text[random() % text.size()] = "0-/:. +x"[random() % 8];
  if (random() % 32 == 0) text.resize(random() % (text.size() + 1));
  return text;
}

// The same values twice, the second time with blanks in front of the delimiters.
struct Twice {
  std::string plain, blanks;
  void add(const std::string& text) {
    plain += text;
    blanks += text;
  }
  // Left out when it would be too long.
  void line(std::initializer_list<std::string> fields, const std::string& separator) {
    std::string one;
    std::string two;
    size_t left = fields.size();
    for (const std::string& field : fields) {
      const std::string behind = --left > 0 ? separator : ";\n";
      one += field + behind;
      two.append(field).append(" ").append(behind);
    }
    if (two.size() > 128) return;
    plain += one;
    blanks += two;
  }
};

// Lines and numbers of the findings, without the texts, which may be cut at other places.
std::string numbersOf(const std::string& findings) {
  std::string numbers;
  for (size_t at = 0; at < findings.size(); at = findings.find('\n', at) + 1) {
    numbers += findings.substr(at, findings.find(' ', findings.find(' ', at) + 1) - at) + '\n';
  }
  return numbers;
}

Twice anySurvey(Random& random) {
  const std::string separator = oneOf(random, {",", ",", ",", ",", ",", "|", "/", ":"});
  const std::string order = oneOf(random, {"DMY", "MDY", "YMD", "MJD"});
  Twice text;
  text.add("HEADER\nSEPARATOR '" + separator + "'\nUNITS\nANGULAR " +
           oneOf(random, {"DMS", "DEGS", "GRADS", "RADS", "USER 1e300"}) + "\nLINEAR " +
           oneOf(random, {"METRE", "INT_FEET", "USER 1e305"}) + "\nTIME " + order +
           "\nEND UNITS\nEND HEADER\nTHEODOLITE\n");
  const auto columns = [&](std::string names) {
    for (char& c : names) c = c == ',' ? separator[0] : c;
    text.add(names);
  };
  columns("SLOPE (TgtNo,TgtID,Hz,SDist,RefHt,CfgNo,Date)\n");
  for (int i = 0; i < 50; ++i) {
    text.line({digits(random, 12), quoted(random), real(random), real(random), real(random),
               digits(random, 6), date(random, order)},
              separator);
  }
  text.add("END SLOPE\nEND THEODOLITE\nDATABASE\n");
  columns("POINTS (PointNo,Code,CLASS,Date,East,PointID)\n");
  for (int i = 0; i < 50; ++i) {
    text.line({std::to_string(i), quoted(random), oneOf(random, {"MEAS", "FIX", "", "ME", "BW"}),
               date(random, order), real(random), quoted(random)},
              separator);
  }
  text.add("END POINTS\nEND DATABASE\n");
  return text;
}

TEST(PlainFields, AsTheParsers) {
  Random random(1);
  size_t records = 0;
  for (int i = 0; i < 4 * TAVO_TEST_EFFORT; ++i) {
    const Twice text = anySurvey(random);
    const bool observed = random() % 2 == 0;
    const Analysed plain = analyse(text.plain, {.observed = observed});
    const Analysed blanks = analyse(text.blanks, {.observed = observed});
    ASSERT_EQ(plain.records, blanks.records) << text.plain;
    ASSERT_EQ(numbersOf(plain.findings), numbersOf(blanks.findings)) << text.plain;
    ASSERT_EQ(plain.losses, blanks.losses) << text.plain;
    records += static_cast<size_t>(plain.counts.records);
  }
  EXPECT_GT(records, 100U);
}

// What stands behind the end, here to the last readable byte, is neither taken nor read beyond.
TEST(PlainFields, StayInTheText) {
  const reader::Settings settings;
  for (const schema::DataType type :
       {schema::DataType::kUint32, schema::DataType::kFloat, schema::DataType::kDouble,
        schema::DataType::kText, schema::DataType::kDateTime, schema::DataType::kEnum}) {
    for (const std::string_view text : {"1", "-", "-.", "\"", "\"a", "1.", "MEAS", "07-12-19"}) {
      for (const char* const behind :
           {"9999999999999999", "99999999.9999999", "\",99999999999999"}) {
        std::vector<char> bytes(text.begin(), text.end());
        bytes.insert(bytes.end(), behind, behind + reader::kScanSlack);
        bytes.shrink_to_fit();
        reader::Column column{};
        column.type = type;
        column.width = 17;
        column.plain = true;
        uint8_t target[32];
        const char* at = bytes.data();
        EXPECT_EQ(
            reader::takePlainFields<false>(settings, {&column, 1}, &at, at + text.size(), target),
            0U);
        EXPECT_EQ(at, bytes.data());
      }
    }
  }
}

TEST(Scan, BothWaysFindTheSameTerminator) {
  Random random(2);
  for (int i = 0; i < 20000; ++i) {
    std::string text;
    for (size_t n = random() % 60; n > 0; --n)
      text += oneOf(random, {"a", "\"", "'", "\\", ";", " "});
    const size_t size = text.size();
    text.append(reader::kScanSlack, ';');
    const char* const begin = text.data();
    ASSERT_EQ(reader::findTerminator(begin, begin + size, ';'),
              reader::findTerminatorPlain(begin, begin + size, ';'))
        << text;
  }
}

}  // namespace
}  // namespace tavo::tests
