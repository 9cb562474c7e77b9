// Memory that runs out: every allocation that an export makes is made to fail in turn. No exception
// may leave it, and it must work again afterwards.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <initializer_list>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "callbacks.h"
#include "support/analysis.h"
#include "support/failing_allocations.h"
#include "tavo/itavo.h"
#include "tavo/records.h"
#include "tavo/tavo.h"

namespace tavo {
namespace {

using tests::failsOn;
using tests::failures;
using tests::ignore;
using tests::untilFailure;

const char kSurvey[] =
    "DATABASE\n  POINTS (PointNo,PointID,Date)\n"
    "    1,  \"A1\",  15-06-2024/10:30:00.0;\n    2,  \"A2\",  15-06-2024/10:20:00.0;\n"
    "  END POINTS\nEND DATABASE\n";
// More columns come with EXTRAINFO, and an entry of the object interface has values of its own.
const std::string kLarge =
    "DATABASE\nPOINTS (PointNo,Date)\n1,15-06-2024/10:30:00.0;\nEXTRAINFO (PointNo,East,North)\n"
    "1,2.0,3.0;\nEND EXTRAINFO\nEND POINTS\nEND DATABASE\nTIME_TAGGED_CODES\n"
    "\"C\",15-06-2024/10:30:00.0,1,\"a\",\"b\";\nEND TIME_TAGGED_CODES\n";

uint32_t analyse(const char* input, TVO_RecordSink sink) {
  return TVO_Analyse(input, "memory.log", sink, 10, nullptr, nullptr);
}

// Calls the operation with its first, second, ... allocation failing until none fails any more and
// it succeeds. A failure has one of the codes, and so has success where memory was not vital.
template <class Prepare, class Operation>
void expectSurvived(const char* name, std::initializer_list<uint16_t> codes, Prepare prepare,
                    Operation operation) {
  SCOPED_TRACE(name);
  for (const bool on : {false, true}) {
    for (size_t k = 1;; ++k) {
      ASSERT_LT(k, 10000U);
      prepare();
      failures = 0;
      failsOn = on;
      untilFailure = k;
      const uint32_t status = operation();
      untilFailure = 0;
      if (failures == 0) {
        EXPECT_EQ(status, TVO_OK);
        break;
      }
      const bool known = std::ranges::find(codes, TVO_CODE(status)) != codes.end();
      EXPECT_TRUE(known || status == TVO_OK) << "allocation " << k << ": " << TVO_CODE(status);
    }
  }
}

class Memory : public testing::Test {
 protected:
  // The exports are first called by the tests, since the library's state is made by the first call.
  void SetUp() override {
    tests::writeFile("memory.tvo", kSurvey);
    tests::writeFile("large.tvo", kLarge);
  }

  static void closed() { TVO_CloseDataFile(); }
  static void filled() {
    TVO_CloseDataFile();
    ASSERT_EQ(TVO_SetDataFile("memory.dat"), TVO_OK);
    TVO_CloseDataFile();
    ASSERT_EQ(analyse("memory.tvo", TVO_Write), TVO_OK);
  }
  static void onLast() {
    filled();
    ASSERT_EQ(TVO_Read(TVO_LAST, nullptr, nullptr), TVO_OK);
  }
};

constexpr uint16_t kNoMemory = 65502;  // of the store engine

TEST_F(Memory, RunsShortInAnalysisAndBuild) {
  const auto nothing = [] {};
  expectSurvived("analyse", {TVO_ERR_WRITE}, nothing, [] { return analyse("large.tvo", ignore); });
  filled();
  expectSurvived("into store", {TVO_ERR_WRITE, TVO_ERR_OPEN}, closed,
                 [] { return analyse("memory.tvo", TVO_Write); });
  expectSurvived("build", {TVO_ERR_WRITE, TVO_ERR_NO_DATA_FILE}, filled,
                 [] { return TVO_Build("memory.out", TVO_Read); });
  std::string built = tests::readFile("memory.out");
  std::erase(built, '\r');
  EXPECT_EQ(built, kSurvey);
}

TEST_F(Memory, RunsShortInTheStore) {
  PointRecord point = {};
  point.PointNo = 7;
  expectSurvived("set", {TVO_ERR_OPEN}, closed, [] { return TVO_SetDataFile("memory.dat"); });
  expectSurvived("open", {TVO_ERR_DATA_FILE}, closed,
                 [] { return TVO_OpenDataFile("memory.dat"); });
  expectSurvived("write", {TVO_ERR_DATA_FILE, kNoMemory}, closed,
                 [&] { return TVO_Write(TVO_RECORD_POINTS, &point); });
  expectSurvived("find", {TVO_ERR_DATA_FILE, kNoMemory}, filled,
                 [&] { return TVO_Find(TVO_RECORD_POINTS, &point); });
  expectSurvived("read", {TVO_ERR_DATA_FILE, kNoMemory}, filled,
                 [] { return TVO_Read(TVO_FIRST, nullptr, nullptr); });
  expectSurvived("update", {TVO_ERR_DATA_FILE, kNoMemory}, onLast,
                 [&] { return TVO_Update(&point); });
  expectSurvived("delete", {TVO_ERR_DATA_FILE, kNoMemory}, onLast,
                 [&] { return TVO_Delete(&point); });
  expectSurvived("close", {}, onLast, [] { return TVO_CloseDataFile(); });
}

TEST_F(Memory, RunsShortInTheObjectInterface) {
  std::unique_ptr<ITavo, void (*)(ITavo*)> object(nullptr, [](ITavo* made) { made->Delete(); });
  expectSurvived(
      "object", {1}, [] {},
      [&] {
        object.reset(GetITavo());
        return object == nullptr ? 1U : 0U;
      });
  expectSurvived(
      "cursor", {1}, [] {}, [&] { return object->CreateCursor() == nullptr ? 1U : 0U; });
#if !defined(_WIN32)
  // A collection that lacks records ends the program.
  const auto collect = [](size_t k) {
    ITavo* const made = GetITavo();
    untilFailure = k;
    made->Analyse("large.tvo", "memory.log", 10, nullptr, nullptr);
    const size_t left = std::exchange(untilFailure, 0);
    made->Delete();
    return k - left;
  };
  collect(0);  // makes the library's state
  failsOn = false;
  const size_t allocations = collect(10000);
  EXPECT_GT(allocations, 5U);
  for (size_t k = 1; k <= allocations; ++k) EXPECT_DEATH(collect(k), "out of memory");
#endif
}

}  // namespace
}  // namespace tavo
