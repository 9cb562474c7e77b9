// The log byte for byte: finding lines, quoting, the error limit, the summary.
#include "reader/diagnostics.h"

#include <gtest/gtest.h>

#include "support/analysis.h"

namespace tavo::tests {
namespace {

constexpr const char* kPath = "diagnostics.log";

template <class Report>
std::string logOf(uint16_t maxErrors, Report report) {
  reader::Diagnostics diagnostics;
  EXPECT_TRUE(diagnostics.open(kPath, maxErrors, nullptr));
  report(diagnostics);
  diagnostics.close();
  EXPECT_FALSE(diagnostics.ioError());
  std::string log = readFile(kPath);
  std::erase(log, '\r');
  return log;
}

TEST(Diagnostics, LineFormats) {
  const auto error = [](int number, uint32_t line, const char* text) {
    return logOf(1, [=](auto& log) {
      EXPECT_EQ(log.reportError(number, {line}, text), reader::Step::kGoOn);
      EXPECT_EQ(log.reportError(number, {line}, text), reader::Step::kStop);
    });
  };
  EXPECT_EQ(error(2500, 12, "ABC"),
            "line 0012  : error E2500   : 'ABC'                  : syntax error\n");
  EXPECT_EQ(error(2500, 12345, ""),
            "line 12345  : error E2500   : ''                     : syntax error\n");
  EXPECT_EQ(error(1, 65537, "x\ny"),
            "line 0001  : error E   1   : 'x'                    : internal error\n");
  EXPECT_EQ(error(2000, 1, "12345678901234567890"),
            "line 0001  : error E2000   : '12345678901234567890'  : exceeds line\n");
  EXPECT_EQ(error(2000, 1, "123456789012345678901"),
            "line 0001  : error E2000   : '123456789012345 ...'  : exceeds line\n");
  EXPECT_EQ(error(2000, 1, "12345678901234567890\n1"),
            "line 0001  : error E2000   : '12345678901234567890'  : exceeds line\n");
  const std::string warnings = logOf(0, [](auto& log) {
    log.reportWarning(7014, {3}, "a");
    log.reportWarning(7000, {4}, "lines 4 - 10 will be ignored, however long it is");
    log.reportWarning(7099, {5}, "123456789012345");
    EXPECT_EQ(log.warningCount(), 2);
  });
  EXPECT_EQ(warnings,
            "line 0003  : warning W7014 : 'a'                    : unknown option\n"
            "                                                    : lines 4 - 10 will be ignored, "
            "however long it is\n"
            "line 0005  : warning W7099 : '123456789012345'      : ?\n");
}

TEST(Diagnostics, NotesAreNeverCut) {
  const std::string margin(52, ' ');
  for (const size_t length : {0U, 105U, 106U, 5000U}) {
    const std::string note(length, 'n');
    const std::string log = logOf(0, [&](auto& diagnostics) {
      diagnostics.reportWarning(7000, {1}, note);
      diagnostics.reportWarning(7000, {1}, std::string_view("ab", 1));
    });
    EXPECT_EQ(log, (margin + ": ").append(note) + "\n" + margin + ": a\n");
  }
}

// Numbers that no survey brings about.
TEST(Diagnostics, MessagesThatNeverCome) {
  const auto messageOf = [](int number) {
    const std::string log = logOf(1, [&](auto& diagnostics) {
      if (number >= 7000) return diagnostics.reportWarning(number, {1}, "");
      EXPECT_EQ(diagnostics.reportError(number, {1}, ""), reader::Step::kGoOn);
    });
    return log.substr(log.rfind(" : ") + 3);
  };
  EXPECT_EQ(messageOf(2105), "unknown section end\n");
  EXPECT_EQ(messageOf(7013), "unknown operation\n");
}

// What of the path stands before the summary's line feed, for paths around the lengths of pieces.
TEST(Diagnostics, SummaryCutsLongPaths) {
  const struct {
    size_t length, before;
  } rows[] = {{0, 0},     {97, 0},    {98, 98},   {127, 127}, {128, 127}, {224, 127},
              {225, 225}, {254, 254}, {255, 254}, {351, 254}, {352, 352}};
  for (const auto& row : rows) {
    std::string path;
    for (size_t i = 0; i < row.length; ++i) path += static_cast<char>('a' + i % 26);
    const std::string log = logOf(9, [&](auto& diagnostics) {
      diagnostics.reportWarning(7000, {1}, "note");
      diagnostics.summary(path);
    });
    EXPECT_EQ(log.substr(59), path.substr(0, row.before) + "\n" + path.substr(row.before) +
                                  " - 0 error(s), 0 warning(s)\n")
        << row.length;
  }
}

}  // namespace
}  // namespace tavo::tests
