// The object interface: what is collected, the order in time, cursors, and the ownership of copies.
#include "tavo/itavo.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "api/timeline.h"
#include "support/analysis.h"
#include "tavo/records.h"

namespace tavo {
namespace {

struct DeleteTavo {
  void operator()(ITavo* object) const { object->Delete(); }
};

// An object that has analysed a text.
class Timeline {
 public:
  Timeline() : object_(GetITavo()) {}
  ITavo* operator->() const { return object_.get(); }

  void analyse(const std::string& text) {
    tests::writeFile("itavo.tvo", text);
    uint16_t errors = 99;
    uint16_t warnings = 99;
    EXPECT_EQ(object_->Analyse("itavo.tvo", "itavo.log", 100, &errors, &warnings), 0);
    EXPECT_EQ(errors + warnings, 0) << tests::readFile("itavo.log");
  }

 private:
  std::unique_ptr<ITavo, DeleteTavo> object_;
};

// The entry on which the cursor stands: its kind, and what tells it apart.
std::string entryText(TimeCursor* cursor) {
  const void* record = &cursor;
  switch (cursor->Get(&record)) {
    case 1:
      return "P" + std::to_string(static_cast<const PointRecord*>(record)->PointNo);
    case 2:
      return "S" + std::to_string(static_cast<const SlopeRecord*>(record)->TgtNo);
    case 3: {
      const auto& code = *static_cast<const TimeTaggedRecord*>(record);
      std::string text = std::string("C") + code.Code;
      for (int i = 0; i < code.EntryCount; ++i) text += std::string("/") + code.entries[i].name;
      return text;
    }
    default:
      return record == nullptr ? "-" : "not null";
  }
}

std::string walk(TimeCursor* cursor, bool forward) {
  std::string text;
  forward ? cursor->First() : cursor->Last();
  for (; cursor->IsValid(); forward ? cursor->Next() : cursor->Previous()) {
    text += entryText(cursor) + " ";
  }
  return text;
}

// Dates of the summer of 2024 have keys that do not turn negative when they wrap.
const char kMoments[] =
    "DATABASE\nPOINTS (PointNo,Date)\n"
    "1,03-06-2024/10:00:00.0;\n"
    "2,;\n"
    "3,01-06-2024/08:00:00.00;\n"
    "4,01-06-2024/08:00:00.01;\n"
    "END POINTS\nEND DATABASE\n"
    "THEODOLITE\nSETUP\nSTN_NO 7\nEND SETUP\nSLOPE (TgtNo,Date)\n"
    "11,01-06-2024/08:00:00.00;\n"
    "12,02-06-2024/00:00:00.0;\n"
    "END SLOPE\nEND THEODOLITE\n"
    "TIME_TAGGED_CODES\n"
    "\"T1\",01-06-2024/08:00:00.00,1,\"a\",1,\"b\",\"x\";\n"
    "\"T2\",04-06-2024/08:00:00.00,1,\"c\",2.5;\n"
    "END TIME_TAGGED_CODES\n";

TEST(ITavo, WalksPointsSetupsAndCodesInTimeOrder) {
  Timeline timeline;
  timeline.analyse(kMoments);
  TimeCursor* const cursor = timeline->CreateCursor();
  EXPECT_EQ(cursor->IsValid(), 0U);
  EXPECT_EQ(entryText(cursor), "-");
  // Equal times: points, then setups, then codes. Records without a time are not collected.
  EXPECT_EQ(walk(cursor, true), "P3 S11 CT1/a/b P4 S12 P1 CT2/c ");
  EXPECT_EQ(walk(cursor, false), "CT2/c P1 S12 P4 P3 S11 CT1/a/b ");
  // The second slots do what the first do; a cursor that ran out starts again.
  EXPECT_EQ(cursor->NextEntry(), 1U);
  EXPECT_EQ(entryText(cursor), "P3");
  EXPECT_EQ(cursor->PreviousEntry(), 1U);
  EXPECT_EQ(cursor->Get(nullptr), 2U);  // only the points have moved back
  cursor->Reserved();
}

TEST(ITavo, CursorsKeepTheirAddressAndTheCountsOfTheirMaking) {
  Timeline timeline;
  TimeCursor* const early = timeline->CreateCursor();
  EXPECT_EQ(early->First(), 0U);
  EXPECT_EQ(entryText(early), "-");
  timeline.analyse(kMoments);
  TimeCursor* const first = timeline->CreateCursor();
  std::vector<TimeCursor*> others(100);
  for (TimeCursor*& other : others) other = timeline->CreateCursor();
  timeline.analyse(kMoments);  // appends
  EXPECT_EQ(early->Last(), 0U);
  const std::string once = walk(first, true);
  const std::string twice = walk(timeline->CreateCursor(), true);
  EXPECT_EQ(std::count(once.begin(), once.end(), ' '), 7);
  EXPECT_EQ(std::count(twice.begin(), twice.end(), ' '), 14);
  EXPECT_EQ(walk(others[99], true), once);
}

TEST(ITavo, KeysWrapAndNegativeOnesCountAsAbsent) {
  const auto key = [](int16_t year, int16_t month, int16_t day) {
    return api::timeKey({year, month, day, 0, 0, 0, 0});
  };
  EXPECT_EQ(api::timeKey({0, 0, 0, 0, 0, 1, 2}), 102);
  EXPECT_EQ(key(1, 2, 3), ((1 * 12 + 2) * 31 + 3) * 8640000LL - (1LL << 32));
  EXPECT_LT(key(2024, 1, 1), 0);
  EXPECT_GT(key(2024, 6, 1), 0);

  // Entries of negative keys are passed over in both directions and hide no others.
  const std::string points = "DATABASE\nPOINTS (PointNo,Date)\n1,01-01-2024/00:00:00.0;\n";
  const std::string end = "END POINTS\nEND DATABASE\n";
  Timeline timeline;
  timeline.analyse(points + end);
  TimeCursor* const none = timeline->CreateCursor();
  EXPECT_EQ(walk(none, true) + walk(none, false), "");
  timeline.analyse(points + "2,01-06-2024/00:00:00.0;\n3,02-06-2024/00:00:00.0;\n" + end +
                   "TIME_TAGGED_CODES\n\"A\",02-01-2024/00:00:00.0,1;\n"
                   "\"B\",01-06-2024/12:00:00.0,1;\nEND TIME_TAGGED_CODES\n");
  TimeCursor* const cursor = timeline->CreateCursor();
  EXPECT_EQ(walk(cursor, true), "P2 CB P3 ");
  EXPECT_EQ(walk(cursor, false), "P3 CB P2 ");
  EXPECT_EQ(walk(none, true) + walk(none, false), "");  // still sees one entry of three
}

TEST(ITavo, ReportsTheAnalysisThroughLogAndCounters) {
  const std::unique_ptr<ITavo, DeleteTavo> object(GetITavo());
  tests::writeFile("itavo.tvo", "rubbish\n");
  uint16_t errors = 99;
  uint16_t warnings = 99;
  EXPECT_EQ(object->Analyse("itavo.tvo", "itavo.log", 1, &errors, &warnings), 0);
  EXPECT_EQ(errors, 1);
  EXPECT_EQ(warnings, 0);
  EXPECT_EQ(object->Analyse("missing.tvo", "itavo.log", 1, &errors, &warnings), 0);
}

TEST(SortByTime, OrdersInputOfEveryShape) {
  std::mt19937 random(7);
  for (const size_t size : {0U, 1U, 2U, 15U, 16U, 17U, 33U, 1000U, 20000U}) {
    for (int shape = 0; shape < 5; ++shape) {
      std::vector<api::TimeOrder> order(size);
      for (size_t i = 0; i < size; ++i) {
        const auto n = static_cast<int32_t>(i);
        const int32_t keys[] = {n, -n, 5, static_cast<int32_t>(random()),
                                std::min(n, static_cast<int32_t>(size) - n)};
        order[i] = {keys[shape], static_cast<uint32_t>(i)};
      }
      api::sortByTime(order);
      ASSERT_TRUE(std::is_sorted(order.begin(), order.end(),
                                 [](const auto& a, const auto& b) { return a.key < b.key; }))
          << size << " entries of shape " << shape;
      std::vector<bool> seen(size);
      for (const api::TimeOrder& entry : order) seen[entry.entry] = true;
      ASSERT_EQ(std::count(seen.begin(), seen.end(), true), static_cast<std::ptrdiff_t>(size));
    }
  }
}

}  // namespace
}  // namespace tavo
