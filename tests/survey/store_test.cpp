// Data files through the public interface: both kinds, texts that come back whole from a complete
// file, and repair.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <numeric>

#include "schema/catalogue.h"
#include "support/analysis.h"
#include "support/random_records.h"
#include "support/survey.h"
#include "survey/handles.h"
#include "tavo/survey.hpp"

namespace tavo::tests {
namespace {

namespace fs = std::filesystem;
using Kind = Store::Kind;
using Lookup = Store::Lookup;
using Mode = Store::Mode;

constexpr char kPath[] = "store_test.dat";
constexpr char kOther[] = "other.dat";
constexpr char kJournal[] = "store.journal";

PointRecord point(uint32_t number, const char* id) {
  PointRecord record = {};
  record.PointNo = number;
  strcpy(record.PointID, id);
  return record;
}

tavo_record recordOf(uint32_t type, const void* bytes, uint64_t line, tavo_given given,
                     uint32_t block = 0) {
  return {type, 0, bytes, line, given, block};
}

// A record with its place, as a line of text that differs where anything does.
std::string lineOf(const tavo_record& record) {
  std::string line = std::to_string(record.type) + " line " + std::to_string(record.line) +
                     " given " + std::to_string(record.given) + " block " +
                     std::to_string(record.block) + ": ";
  const char* bytes = static_cast<const char*>(record.bytes);
  size_t size = record.size;
  EXPECT_EQ(size, schema::recordDef(record.type).size);
  if (record.type == TVO_RECORD_TIME_TAGGED_CODES) {
    TimeTaggedRecord code;
    std::memcpy(&code, bytes, sizeof code);
    line.append(reinterpret_cast<const char*>(code.entries),
                code.EntryCount * sizeof(TimeTaggedEntry));
    size = offsetof(TimeTaggedRecord, entries);
  }
  return line.append(bytes, size) + "\n";
}

std::string walk(Store& store) {
  std::string lines;
  for (auto record = store.read(TVO_FIRST); record; record = store.read(TVO_NEXT)) {
    lines += lineOf(*record);
  }
  return lines;
}

std::string buildFrom(Store& store) {
  const auto fetch = [](uint32_t move, tavo_record* record, void* user) {
    return tavo_store_read(static_cast<tavo_store*>(user), move, record);
  };
  char* memory = nullptr;
  size_t size = 0;
  tavo_target target = TAVO_TARGET_INIT;
  target.memory = &memory;
  target.memory_size = &size;
  if (tavo_build(&target, fetch, store.handle(), nullptr) != TAVO_OK) return "failed";
  const std::string text(memory, size);
  tavo_free(memory);
  return text;
}

std::vector<std::string> findings(const char* path, tavo_store_statistics* statistics) {
  std::vector<std::string> found;
  const auto take = [](const tavo_store_finding* finding, void* user) {
    static_cast<std::vector<std::string>*>(user)->push_back(finding->text);
  };
  *statistics = TAVO_STORE_STATISTICS_INIT;
  EXPECT_EQ(tavo_store_verify(path, take, &found, statistics), uint32_t{TAVO_OK});
  return found;
}

class Stores : public testing::Test {
 protected:
  Stores() { clean(); }
  ~Stores() override { clean(); }
  static void clean() {
    for (const char* path : {kPath, kOther, kJournal}) {
      fs::remove(path);
    }
  }

  static Store made(Kind kind, const char* path = kPath) {
    return Store(path, Mode::kCreate, 10, {}, kind);
  }

  // All that a text delivers, into a new complete file.
  static std::string import(const std::string& text) {
    Store store = made(Kind::kComplete);
    std::string lines;
    AnalysisOptions options;
    options.onRecord = [&](const tavo_record& record) {
      lines += lineOf(record);
      store.append(record);
    };
    analyse(Input::memory(text), options);
    store.close();
    return lines;
  }
};

// Every record comes back with its place, and the text that is built is that of the survey in
// memory, to the byte.
TEST_F(Stores, TextsComeBackWholeFromACompleteFile) {
  std::vector<std::string> texts = {kSurvey, std::string(kSurvey) + kSurvey};
  for (const char* const folder : {TAVO_CASES_DIR, TAVO_EXAMPLES_DIR}) {
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
      if (entry.path().extension() == ".tvo")
        texts.push_back(readFile(entry.path().string().c_str()));
    }
  }
  for (uint32_t seed = 0; seed < 20 * TAVO_TEST_EFFORT / 100 + 1; ++seed) {
    texts.push_back(generatedText(100 * seed, 3));
  }
  ASSERT_GT(texts.size(), 50U);
  for (const std::string& text : texts) {
    SCOPED_TRACE(text.substr(0, 500));
    clean();
    const std::string delivered = import(text);
    Store store(kPath, Mode::kReadOnly);
    EXPECT_EQ(store.kind(), Kind::kComplete);
    ASSERT_EQ(walk(store), delivered);
    EXPECT_EQ(buildFrom(store), buildText(readSurvey(text).get()));
  }
}

// Sections of OPERATIONS and TIME_TAGGED_CODES begin again behind other records, and an operation's
// section that holds none is none.
TEST_F(Stores, SectionsGetTheirColumnsWhereTheyBegin) {
  const std::string operations = "OPERATIONS\n  CIRCLE_CENT\n  1,\"a\",2,\"b\";\nEND OPERATIONS\n";
  const std::string codes =
      "TIME_TAGGED_CODES\n\"A\",01-02-1999/10:20:30.5,1,\"n\",2;\nEND TIME_TAGGED_CODES\n";
  const std::string jobs = "DATABASE\nJOBS (JobNo)\n1;\nEND JOBS\nEND DATABASE\n";
  const std::string empty = "OPERATIONS\n  CIRCLE_CENT\n  x;\nEND OPERATIONS\n";
  import(codes + codes + operations + jobs + operations + operations + codes + operations);
  Store store(kPath);
  const std::string built = buildFrom(store);
  size_t sections = 0;
  for (size_t at = 0; (at = built.find("\nEND OPERATIONS", at)) != built.npos; ++at) ++sections;
  EXPECT_EQ(sections, 3U) << built;
  store.close();
  clean();
  import(empty + jobs);
  Store second(kPath);
  EXPECT_EQ(buildFrom(second).find("OPERATIONS"), std::string::npos);
}

TEST_F(Stores, BothKindsAreChangedAndSearchedAlike) {
  for (const Kind kind : {Kind::kCompatible, Kind::kComplete}) {
    clean();
    const bool complete = kind == Kind::kComplete;
    {
      Store store(kPath, Mode::kCreate, 10, kJournal, kind);
      const SubjectRecord subject = {7, "AB"};
      store.write(TVO_RECORD_SUBJECTS, &subject);
      for (uint32_t number = 1; number <= 50; ++number) {
        const PointRecord record = point(number, "");
        store.append(recordOf(TVO_RECORD_POINTS, &record, 10 + number, 3, 4));
      }
      store.close();
    }
    EXPECT_EQ(fs::exists(kJournal), true);
    Store store(kPath, Mode::kOpen, 10, kJournal);
    EXPECT_EQ(store.kind(), kind);
    PointRecord record = point(42, "");
    ASSERT_TRUE(store.find(TVO_RECORD_POINTS, Lookup::kNumber, &record));
    record.East = 12.5;
    store.update(&record);
    const auto now = [&] { return *store.read(TVO_CURRENT); };
    EXPECT_EQ(now().line, complete ? 52U : 0U);
    EXPECT_EQ(now().given, complete ? 3U : TAVO_GIVEN_UNKNOWN);
    EXPECT_EQ(now().block, complete ? 4U : 0U);
    record.North = 13.5;
    store.replace(recordOf(TVO_RECORD_POINTS, &record, 1000, 7));
    EXPECT_EQ(now().line, complete ? 1000U : 0U);
    EXPECT_EQ(now().block, complete ? 4U : 0U);
    EXPECT_EQ(std::memcmp(now().bytes, &record, sizeof record), 0);
    const JobRecord job = {};
    EXPECT_THROW(store.replace(recordOf(TVO_RECORD_JOBS, &job, 1, 1)), Error);
    PointRecord removed = {};
    store.remove(&removed);
    EXPECT_EQ(double{removed.North}, 13.5);
    EXPECT_FALSE(store.find(TVO_RECORD_POINTS, Lookup::kNumber, &record));
    EXPECT_EQ(store.size(), 50U);
    SubjectRecord found = {};
    ASSERT_TRUE(store.find(TVO_RECORD_SUBJECTS, Lookup::kType, &found));
    EXPECT_EQ(found.SubjectNo, 7);
    EXPECT_EQ(tavo_store_append(store.handle(), nullptr), uint32_t{TAVO_ERR_ARGUMENT});
    store.close();
    tavo_store_statistics statistics;
    EXPECT_EQ(findings(kPath, &statistics), std::vector<std::string>{});
    EXPECT_EQ(statistics.kind, static_cast<uint32_t>(kind));
  }
}

// Blocks are counted for whoever has no numbers: a columns record begins one, and so does a record
// of another block.
TEST_F(Stores, RecordsWithoutABlockGetOne) {
  Store store = made(Kind::kComplete);
  const ColumnsRecord columns = {{}, {TVO_FIELD_PointNo, TVO_FIELD_End}};
  const PointRecord record = point(1, "");
  const OperationRecord operation = {};
  const OperationPointsRecord points = {};
  const struct {
    uint32_t type;
    const void* bytes;
    uint32_t block;
  } records[] = {{TVO_RECORD_POINTS_COLUMNS, &columns, 1}, {TVO_RECORD_POINTS, &record, 1},
                 {TVO_RECORD_POINTS, &record, 1},          {TVO_RECORD_POINTS_COLUMNS, &columns, 2},
                 {TVO_RECORD_POINTS, &record, 2},          {TVO_RECORD_OPERATIONS, &operation, 3},
                 {TVO_RECORD_OPERATION_POINTS, &points, 3}};
  for (const auto& row : records) store.write(row.type, row.bytes);
  for (const auto& row : records) {
    const auto read = store.read(&row == records ? TVO_FIRST : TVO_NEXT);
    ASSERT_TRUE(read);
    EXPECT_EQ(read->type, row.type);
    EXPECT_EQ(read->block, row.block);
    EXPECT_EQ(read->given, TAVO_GIVEN_UNKNOWN);
  }
  EXPECT_NE(buildFrom(store).find("END OPERATIONS"), std::string::npos);
}

// Initialisers of the first version go on making what they made.
TEST_F(Stores, OldOptionsMakeACompatibleFile) {
  tavo_store_options options = TAVO_STORE_OPTIONS_INIT;
  options.version = 1;
  options.mode = TAVO_STORE_CREATE;
  options.kind = TAVO_STORE_COMPLETE;  // not theirs
  tavo_store* store = nullptr;
  ASSERT_EQ(tavo_store_open(&store, kPath, &options), uint32_t{TAVO_OK});
  EXPECT_EQ(tavo_store_kind(store), uint32_t{TAVO_STORE_COMPATIBLE});
  const HeaderRecord header = {};
  EXPECT_EQ(tavo_store_write(store, TVO_RECORD_HEADER, &header), uint32_t{TAVO_OK});
  EXPECT_EQ(tavo_store_close(store), uint32_t{TAVO_OK});
  options = TAVO_STORE_OPTIONS_INIT;
  options.kind = 2;
  EXPECT_EQ(tavo_store_open(&store, kOther, &options), uint32_t{TAVO_ERR_ARGUMENT});
  tavo_store_statistics statistics = TAVO_STORE_STATISTICS_INIT;
  statistics.version = 1;
  statistics.kind = 99;
  EXPECT_EQ(tavo_store_verify(kPath, nullptr, nullptr, &statistics), uint32_t{TAVO_OK});
  EXPECT_EQ(statistics.kind, 99U);
  EXPECT_EQ(statistics.records, 1U);
}

TEST_F(Stores, AWalkOverAFileTellsAndMayBeEnded) {
  import(kSurvey);
  writeFile(kOther, "stays");
  struct Told {
    uint64_t calls, last, until;
  };
  const auto tell = [](uint64_t done, uint64_t total, void* user) {
    auto& [calls, last, until] = *static_cast<Told*>(user);
    EXPECT_GT(done, last);
    EXPECT_EQ(total, 0U);
    last = done;
    return ++calls == until ? 1 : 0;
  };
  for (const bool repairs : {false, true}) {
    const auto walk = [&](Told* told) {
      tavo_store_statistics statistics = TAVO_STORE_STATISTICS_INIT;
      tavo_store_repair_report report = TAVO_STORE_REPAIR_INIT;
      (repairs ? report.on_progress : statistics.on_progress) = tell;
      (repairs ? report.progress_user : statistics.progress_user) = told;
      return repairs ? tavo_store_repair(kPath, kOther, nullptr, nullptr, &report)
                     : tavo_store_verify(kPath, nullptr, nullptr, &statistics);
    };
    for (uint64_t until = 1;; ++until) {
      Told told = {0, 0, until};
      const tavo_status status = walk(&told);
      if (status == TAVO_OK) {
        EXPECT_LT(told.calls, until);
        break;
      }
      ASSERT_EQ(status, uint32_t{TAVO_ERR_CANCELLED}) << until;
      EXPECT_EQ(told.calls, until);
      EXPECT_EQ(readFile(kOther), "stays");
    }
  }
}

TEST_F(Stores, RepairReportsByRecordType) {
  import(kSurvey);
  const std::string file = readFile(kPath);
  tavo_store_repair_report report = repair(kPath, kOther);
  EXPECT_EQ(report.kind, uint32_t{TAVO_STORE_COMPLETE});
  EXPECT_EQ(report.found[TVO_RECORD_POINTS], 2U);
  {
    Store first(kPath, Mode::kReadOnly), second(kOther, Mode::kReadOnly);
    EXPECT_EQ(walk(first), walk(second));
  }
  // A damaged record, and a copy of its page, which the chain has, too.
  std::string damaged = file;
  const size_t place = damaged.find(std::string{5, 0, 'P', '2', 0});
  ASSERT_NE(place, damaged.npos);
  damaged[place] ^= 64;
  damaged += damaged.substr(place / 1024 * 1024, 1024);
  std::ofstream(kPath, std::ios::binary) << damaged;
  std::vector<tavo_store_finding> found;
  const auto take = [](const tavo_store_finding* finding, void* user) {
    static_cast<std::vector<tavo_store_finding>*>(user)->push_back(*finding);
  };
  report = TAVO_STORE_REPAIR_INIT;
  ASSERT_EQ(tavo_store_repair(kPath, kOther, take, &found, &report), uint32_t{TAVO_OK});
  const auto sum = [](const uint32_t(&counts)[128]) {
    return std::accumulate(counts, counts + 128, size_t{0});
  };
  EXPECT_EQ(report.found[TVO_RECORD_POINTS], 1U);
  EXPECT_EQ(report.damaged[TVO_RECORD_POINTS], 1U);
  EXPECT_EQ(sum(report.damaged), 1U);
  EXPECT_GT(sum(report.twice), 0U);
  EXPECT_EQ(found.size(), sum(report.damaged) + sum(report.twice));
  EXPECT_EQ(readFile(kPath), damaged);
  tavo_store_statistics statistics;
  EXPECT_EQ(findings(kOther, &statistics), std::vector<std::string>{});

  // What fails leaves the target as it was.
  const std::string target = readFile(kOther);
  EXPECT_EQ(tavo_store_repair(kPath, kPath, nullptr, nullptr, nullptr), uint32_t{TVO_ERR_OPEN});
  EXPECT_EQ(tavo_store_repair("no such file", kOther, nullptr, nullptr, nullptr),
            uint32_t{TVO_ERR_DATA_FILE});
  std::ofstream(kPath, std::ios::binary) << std::string(5000, 'x');
  EXPECT_EQ(tavo_store_repair(kPath, kOther, nullptr, nullptr, nullptr),
            uint32_t{TVO_ERR_NO_RECORD});
  EXPECT_EQ(tavo_store_repair(kPath, "no such folder/x", nullptr, nullptr, nullptr),
            uint32_t{TVO_ERR_NO_RECORD});
  EXPECT_EQ(tavo_store_repair(kOther, "no such folder/x", nullptr, nullptr, nullptr),
            uint32_t{TVO_ERR_WRITE});
  EXPECT_EQ(readFile(kOther), target);
}

}  // namespace
}  // namespace tavo::tests
