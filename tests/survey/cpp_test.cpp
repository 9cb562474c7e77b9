// The C++ interface: typed records, exceptions of a host's functions, and data files by handle.
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

#include "tavo/survey.hpp"

namespace tavo::tests {
namespace {

constexpr std::string_view kHostText =
    "HEADER\r\n VERSION 1.31\r\nEND HEADER\r\n"
    "DATABASE\r\n"
    " POINTS(PointNo, PointID, East, North, Date)\r\n"
    "  1, \"A1\", 10.5, 0, 17-09-2024/09:05:00.0;\r\n"
    "  2, \"\", , 7.25, ;\r\n"
    " END POINTS\r\n"
    "END DATABASE\r\n";

TEST(Cpp, EmptyColumnsAndDeclaredZerosDiffer) {
  const Survey survey = Survey::read(Input::memory(kHostText));
  const Records<Point> points = survey.points();
  ASSERT_EQ(points.size(), 2u);
  EXPECT_EQ(points[0].PointID(), "A1");
  EXPECT_EQ(points[0].East(), 10.5);
  EXPECT_EQ(points[0].North(), 0.0);
  EXPECT_EQ(points[0].Elevation(), std::nullopt);
  using namespace std::chrono;
  EXPECT_EQ(points[0].Date(), local_days(2024y / 9 / 17) + 9h + 5min);
  EXPECT_EQ(points[0].line(), 6u);
  EXPECT_EQ(points[1].East(), std::nullopt);
  EXPECT_EQ(points[1].Date(), std::nullopt);
  EXPECT_EQ(std::distance(points.begin(), points.end()), 2);
  EXPECT_EQ(points.bytes().size(), 2 * sizeof(PointRecord));
}

TEST(Cpp, ImpossibleTimesAreNone) {
  TVO_DateTime date{};
  EXPECT_EQ(timeOf(date), std::nullopt);
  date.year = 2023;
  date.month = 2;
  date.day = 29;
  EXPECT_EQ(timeOf(date), std::nullopt);
  date.day = 28;
  EXPECT_TRUE(timeOf(date).has_value());
  date.hundredths = 100;
  EXPECT_EQ(timeOf(date), std::nullopt);
}

// What a host's function throws comes out of the call, whichever of them it was.
TEST(Cpp, ExceptionsOfAHostEndTheRun) {
  struct Stop : std::runtime_error {
    Stop() : std::runtime_error("stop") {}
  };
  const std::string broken(std::string(kHostText) + "DATABASE\r\n POINTS(PointNo)\r\n x;\r\n");
  int calls = 0;
  const auto stop = [&](const auto&...) {
    ++calls;
    throw Stop();
  };
  AnalysisOptions options[3];
  options[0].onRecord = stop;
  options[1].onFinding = stop;
  options[2].onProgress = [&](uint64_t, uint64_t) -> bool { throw Stop(); };
  for (const AnalysisOptions& chosen : options) {
    EXPECT_THROW(Survey::read(Input::memory(broken), chosen), Stop);
    EXPECT_THROW(analyse(Input::memory(broken), chosen), Stop);
  }
  EXPECT_EQ(calls, 4);
  EXPECT_THROW(Survey::read("no such file"), Error);
}

TEST(Cpp, ASurveyIsBuiltAndReadAgain) {
  const Survey survey = Survey::read(Input::memory(kHostText));
  const std::string text = survey.build();
  const Survey again = Survey::read(Input::memory(text));
  EXPECT_EQ(again.findingCount(), 0u);
  EXPECT_EQ(again.points()[0].East(), 10.5);
  EXPECT_EQ(again.build(), text);
}

class CppStore : public ::testing::Test {
 protected:
  static constexpr char kPath[] = "cpp_store.dat", kJournal[] = "cpp_store.journal";
  CppStore() { clear(); }
  ~CppStore() override { clear(); }
  static void clear() {
    for (const char* path : {kPath, kJournal}) std::remove(path);
  }
  static PointRecord point(uint32_t number, const char* id) {
    PointRecord record{};
    record.PointNo = number;
    std::snprintf(record.PointID, sizeof record.PointID, "%s", id);
    return record;
  }
};

TEST_F(CppStore, RecordsAreWrittenFoundChangedAndRemoved) {
  Store store(kPath, Store::Mode::kCreate);
  for (uint32_t number = 1; number <= 3; ++number) {
    const PointRecord record = point(number, ("P" + std::to_string(number)).c_str());
    store.write(Point::kType, &record);
  }
  PointRecord record = point(2, "P2");
  try {
    store.write(Point::kType, &record);
    FAIL() << "a number was stored twice";
  } catch (const Error& error) {
    EXPECT_EQ(error.status(), tavo_status{TVO_ERR_DUPLICATE});
  }
  ASSERT_TRUE(store.find(Point::kType, Store::Lookup::kId, &record));
  record.Elevation = 4.5;
  store.update(&record);
  ASSERT_TRUE(store.find(Point::kType, Store::Lookup::kNumber, &record));
  EXPECT_EQ(double{record.Elevation}, 4.5);
  store.remove();
  EXPECT_FALSE(store.find(Point::kType, Store::Lookup::kNumber, &record));
  EXPECT_EQ(store.size(), 2u);
  EXPECT_TRUE(store.read(TVO_FIRST).has_value());
  EXPECT_TRUE(store.read(TVO_NEXT).has_value());
  EXPECT_FALSE(store.read(TVO_NEXT).has_value());
  EXPECT_EQ(tavo_store_engine_code(store.handle()), TAVO_ENGINE_NONE);
  store.close();
  EXPECT_THROW(Store(kPath, Store::Mode::kCreate), Error);

  Store reader(kPath, Store::Mode::kReadOnly);
  EXPECT_EQ(reader.size(), 2u);
  EXPECT_THROW(reader.write(Point::kType, &record), Error);
}

// A part of the file that is gone is a failure, not its end.
TEST_F(CppStore, AFailureToReadIsNotTheEnd) {
  {
    Store store(kPath, Store::Mode::kCreate);
    for (uint32_t number = 1; number <= 2000; ++number) {
      const PointRecord record = point(number, "cut");
      store.write(Point::kType, &record);
    }
    store.close();
  }
  std::filesystem::resize_file(kPath, std::filesystem::file_size(kPath) / 2);
  Store store(kPath, Store::Mode::kReadOnly);
  EXPECT_THROW(
      {
        auto record = store.read(TVO_FIRST);
        while (record) record = store.read(TVO_NEXT);
      },
      Error);
}

TEST_F(CppStore, TheJournalIsTheOneThatIsNamed) {
  Store store(kPath, Store::Mode::kCreate, 10, kJournal);
  const PointRecord record = point(7, "durable");
  store.write(Point::kType, &record);
  EXPECT_TRUE(std::filesystem::exists(kJournal));
  store.close();
  std::ofstream(kJournal) << "no journal, but something that somebody may need";
  try {
    const Store refused(kPath, Store::Mode::kOpen, 10, kJournal);
    FAIL() << "a file that is no journal was taken for one";
  } catch (const Error& error) {
    EXPECT_EQ(error.status(), tavo_status{TVO_ERR_DATA_FILE});
  }
  EXPECT_THROW(Store(kPath, Store::Mode::kOpen, 10, std::string(2000, 'j')), Error);
}

}  // namespace
}  // namespace tavo::tests
