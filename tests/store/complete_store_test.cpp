// Complete data files: texts come back record by record, and damaged files of both kinds give back
// what is whole in them.
#include "store/complete_store.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <set>

#include "store/data_file.h"
#include "store/engine/format.h"
#include "store/record_store.h"
#include "store/repair.h"
#include "support/analysis.h"
#include "support/random_records.h"

namespace tavo::store {
namespace {

namespace fs = std::filesystem;

using tests::readFile;
using tests::writeFile;

constexpr char kCompleteFile[] = "complete_store_test.dat";
constexpr char kRepaired[] = "complete_store_test_new.dat";

// A record with all that a complete file keeps of it; of a time-tagged code the pointer is replaced
// by the values that it leads to.
struct Kept {
  RecordType type;
  uint64_t line, given;
  uint32_t block;
  std::string bytes;

  friend bool operator==(const Kept&, const Kept&) = default;
  friend void PrintTo(const Kept& kept, std::ostream* out) {
    *out << "type " << kept.type << " line " << kept.line << " block " << kept.block;
  }
};

template <class Record>
Kept keep(const Record& record) {
  Kept kept = {record.type,
               record.line,
               record.given,
               record.block,
               {static_cast<const char*>(record.bytes), schema::recordDef(record.type).size}};
  if (record.type == TVO_RECORD_TIME_TAGGED_CODES) {
    TimeTaggedRecord code;
    memcpy(&code, record.bytes, sizeof code);
    kept.bytes.resize(offsetof(TimeTaggedRecord, entries));
    kept.bytes.append(reinterpret_cast<const char*>(code.entries),
                      code.EntryCount * sizeof(TimeTaggedEntry));
  }
  return kept;
}

// What the analysis of a text delivers goes into the list and into the store.
struct Sink {
  std::vector<Kept>* kept;
  CompleteStore* store;

  static uint32_t take(void* context, const reader::DeliveredRecord& record) {
    const auto* sink = static_cast<Sink*>(context);
    sink->kept->push_back(keep(record));
    const CompleteRecord complete = {record.type, record.bytes, record.line, record.given,
                                     record.block};
    EXPECT_EQ(sink->store->write(complete), 0u);
    return TVO_OK;
  }
};

std::vector<Kept> import(const char* path, CompleteStore& store) {
  std::vector<Kept> kept;
  Sink sink = {&kept, &store};
  reader::OperationColumns operations;
  reader::Run run({&Sink::take, &sink, true}, &operations);
  EXPECT_TRUE(run.diagnostics.open("complete_store_test.log", UINT16_MAX, nullptr));
  EXPECT_TRUE(run.source.open(path)) << path;
  static_cast<void>(sections::readSections(run));
  return kept;
}

std::vector<Kept> walk(CompleteStore& store, uint32_t begin, uint32_t step) {
  std::vector<Kept> kept;
  CompleteRecord record;
  for (uint32_t move = begin; store.read(move, &record) == TVO_OK; move = step) {
    kept.push_back(keep(record));
  }
  return kept;
}

std::string findings(const char* path) {
  std::string text;
  DataFileStatistics statistics;
  const int code = verifyDataFile(
      path, [&text](const DataFileFinding& finding) { text += finding.text + "\n"; }, &statistics);
  EXPECT_EQ(code, 0);
  return text;
}

class CompleteStoreTest : public testing::Test {
 protected:
  ~CompleteStoreTest() override {
    for (const char* path : {kCompleteFile, kRepaired, "complete_store_test.log"}) remove(path);
  }

  // Into a new file and back, from either end.
  static void roundTrip(const char* path) {
    SCOPED_TRACE(path);
    remove(kCompleteFile);
    CompleteStore store;
    ASSERT_EQ(store.create(kCompleteFile), 0u);
    std::vector<Kept> delivered = import(path, store);
    ASSERT_EQ(store.close(), 0);
    EXPECT_EQ(findings(kCompleteFile), "");
    ASSERT_EQ(store.open(kCompleteFile, CompleteStore::Access::kReadOnly), 0u);
    EXPECT_EQ(store.count(), delivered.size());
    EXPECT_EQ(walk(store, TVO_FIRST, TVO_NEXT), delivered);
    std::ranges::reverse(delivered);
    EXPECT_EQ(walk(store, TVO_LAST, TVO_PREVIOUS), delivered);
  }
};

TEST_F(CompleteStoreTest, TextsComeBackWithEveryRecord) {
  for (uint32_t seed = 0; seed < 10 * TAVO_TEST_EFFORT / 100 + 1; ++seed) {
    writeFile("complete_store_test.tvo", tests::generatedText(seed, 3));
    roundTrip("complete_store_test.tvo");
  }
  remove("complete_store_test.tvo");
  int texts = 0;
  for (const char* folder : {TAVO_EXAMPLES_DIR, TAVO_CASES_DIR}) {
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
      if (entry.path().extension() != ".tvo") continue;
      roundTrip(entry.path().string().c_str());
      ++texts;
    }
  }
  EXPECT_GT(texts, 20);
}

PointRecord point(uint32_t number, const char* id) {
  PointRecord record = {};
  record.PointNo = number;
  strcpy(record.PointID, id);
  return record;
}

TEST_F(CompleteStoreTest, FindsChangesAndAppends) {
  CompleteStore store;
  ASSERT_EQ(store.create(kCompleteFile), 0u);
  const SubjectRecord subject = {7, "AB"};
  LayerRecord layer = {};
  layer.LayerNo = 7;
  ASSERT_EQ(store.write({TVO_RECORD_SUBJECTS, &subject, 3, 1, 2}), 0u);
  for (uint32_t number = 1; number <= 500; ++number) {
    const PointRecord record = point(number % 100, "twin");
    ASSERT_EQ(store.write({TVO_RECORD_POINTS, &record, number, 3, 4}), 0u);
  }
  CompleteRecord found;
  PointRecord key = point(42, "twin");
  EXPECT_EQ(store.find(TVO_RECORD_POINTS, &key, kByNumber, &found), 0u);
  EXPECT_EQ(found.line, 42u);
  EXPECT_EQ(store.find(TVO_RECORD_POINTS, &key, kById, &found), 0u);
  EXPECT_EQ(found.line, 1u);
  EXPECT_EQ(store.find(TVO_RECORD_POINTS, nullptr, kBySortCode, &found), 0u);
  EXPECT_EQ(found.line, 1u);
  EXPECT_EQ(store.find(TVO_RECORD_SUBJECTS, &subject, kByListNo, &found), 0u);
  EXPECT_EQ(found.block, 2u);
  EXPECT_EQ(TVO_CODE(store.find(TVO_RECORD_LAYERS, &layer, kByListNo, &found)), TVO_ERR_NOT_FOUND);
  EXPECT_EQ(TVO_CODE(store.find(TVO_RECORD_LINES, nullptr, kBySortCode, &found)),
            TVO_ERR_NOT_FOUND);
  EXPECT_EQ(store.find(TVO_RECORD_SUBJECTS, &subject, kById, &found), TVO_ERR_LOOKUP);
  EXPECT_EQ(store.write({250, &subject, 1, 1, 1}), TVO_ERR_RECORD_TYPE);

  // A changed record keeps its place, the numbers of deleted ones are no places.
  ASSERT_EQ(store.find(TVO_RECORD_POINTS, &key, kByNumber, &found), 0u);
  EXPECT_EQ(store.update({TVO_RECORD_SUBJECTS, &subject, 1, 1, 1}), TVO_ERR_RECORD_TYPE);
  key = point(1000, "changed");
  EXPECT_EQ(store.update({TVO_RECORD_POINTS, &key, 4200, 7, 9}), 0u);
  key = point(50, "");
  ASSERT_EQ(store.find(TVO_RECORD_POINTS, &key, kByNumber, &found), 0u);
  EXPECT_EQ(store.remove(), 0u);
  EXPECT_FALSE(store.onRecord());
  ASSERT_EQ(store.close(), 0);
  ASSERT_EQ(store.open(kCompleteFile), 0u);
  ASSERT_EQ(store.write({TVO_RECORD_POINTS, &key, 501, 3, 4}), 0u);
  ASSERT_EQ(store.write({TVO_RECORD_POINTS, &key, 502, 3, 4}), 0u);
  std::vector<Kept> kept = walk(store, TVO_FIRST, TVO_NEXT);
  ASSERT_EQ(kept.size(), 502u);
  EXPECT_EQ(kept[42].line, 4200u);
  EXPECT_EQ(kept[42].block, 4u);
  EXPECT_EQ(kept[50].line, 51u);
  EXPECT_EQ(kept[500].line, 501u);
  EXPECT_EQ(kept[501].line, 502u);
  ASSERT_EQ(store.close(), 0);
  EXPECT_EQ(findings(kCompleteFile), "");
}

TEST_F(CompleteStoreTest, KindsAreToldApart) {
  CompleteStore complete;
  ASSERT_EQ(complete.create(kCompleteFile), 0u);
  EXPECT_EQ(complete.open(kCompleteFile), TVO_ERR_DATA_FILE_OPEN);
  ASSERT_EQ(complete.close(), 0);
  EXPECT_EQ(dataFileKind(kCompleteFile), FileKind::kComplete);
  RecordStore compatible;
  EXPECT_EQ(TVO_CODE(compatible.openDataFile(kCompleteFile)), TVO_ERR_DATA_FILE);
  ASSERT_EQ(compatible.setDataFile(kCompleteFile), 0u);
  ASSERT_EQ(compatible.close(), 0);
  EXPECT_EQ(dataFileKind(kCompleteFile), FileKind::kCompatible);
  EXPECT_EQ(TVO_CODE(complete.open(kCompleteFile)), TVO_ERR_DATA_FILE);
  EXPECT_EQ(TVO_CODE(complete.create(kCompleteFile)), TVO_ERR_DATA_FILE);
  CompleteRecord record;
  EXPECT_EQ(TVO_CODE(complete.read(TVO_FIRST, &record)), TVO_ERR_DATA_FILE);
  EXPECT_EQ(dataFileKind("no such file"), std::nullopt);
}

TEST_F(CompleteStoreTest, FindingsNameRecordAndBlock) {
  CompleteStore store;
  ASSERT_EQ(store.create(kCompleteFile), 0u);
  const PointRecord record = point(258, "id");
  ASSERT_EQ(store.write({TVO_RECORD_POINTS, &record, 9, 3, 4}), 0u);
  ASSERT_EQ(store.close(), 0);
  std::string bytes = readFile(kCompleteFile);
  // The record's key in the index of numbers.
  const std::string entry = {10, kByNumber, '\x80', 1, 0, 0, 0, 2, 1, 0, 0};
  const size_t at = bytes.find(entry);
  ASSERT_NE(at, std::string::npos);
  bytes[at + 7] = 3;
  writeFile(kCompleteFile, bytes);
  const std::string found = findings(kCompleteFile);
  EXPECT_NE(found.find("record 1 (type 34, POINTS, block 4): lacks its key in index 3"),
            std::string::npos)
      << found;
}

// The packed records of a sound file by their numbers, with the bytes of the file that hold them.
struct Packed {
  std::string bytes;
  std::vector<size_t> places;
};
std::map<int32_t, Packed> packedRecords(const std::string& file) {
  const auto* const bytes = reinterpret_cast<const uint8_t*>(file.data());
  // By record and piece: a later piece may stand on an earlier page.
  std::map<std::pair<int32_t, int>, size_t> pieces;
  for (size_t page = 1024; page < file.size(); page += 1024) {
    if (engine::page::level(bytes + page) != 0) continue;
    const uint8_t* e = bytes + page + engine::kPageHead;
    for (int i = engine::page::count(bytes + page); i > 0; --i, e += engine::entry::size(e)) {
      if (engine::entry::index(e) != engine::kRecords) continue;
      pieces[{engine::entry::record(e), engine::entry::piece(e)}] = static_cast<size_t>(e - bytes);
    }
  }
  std::map<int32_t, Packed> records;
  for (const auto& [piece, at] : pieces) {
    Packed& packed = records[piece.first];
    const size_t size = engine::entry::size(bytes + at);
    packed.bytes += file.substr(at + engine::kEntryHead, size - engine::kEntryHead);
    for (size_t k = 0; k < size; ++k) packed.places.push_back(at + k);
  }
  return records;
}

std::multiset<std::string> formsOf(const std::string& file) {
  std::multiset<std::string> forms;
  for (const auto& [number, packed] : packedRecords(file)) forms.insert(packed.bytes);
  return forms;
}

// Damages the file, keeping what it can of its length.
std::string damaged(std::string file, std::mt19937& random) {
  const auto any = [&random](size_t limit) { return random() % limit; };
  switch (any(5)) {
    case 0:  // single bytes
      for (size_t i = 1 + any(30); i > 0; --i) file[any(file.size())] = static_cast<char>(random());
      break;
    case 1:  // a sector
      for (size_t at = any(file.size()) / 512 * 512, i = 0; i < 512; ++i)
        file[at + i] = static_cast<char>(any(2) * random());
      break;
    case 2:  // heads of pages
      for (size_t i = 1 + any(4); i > 0; --i)
        file[any(file.size() / 1024) * 1024 + any(40)] = static_cast<char>(random());
      break;
    case 3:  // the header
      for (size_t i = 0; i < 348; ++i) file[i] = static_cast<char>(random());
      break;
    case 4:  // the end
      file.resize(file.size() - 1 - any(file.size() / 2));
      break;
  }
  return file;
}

void importCompatible(const char* path) {
  std::vector<Kept> kept;
  RecordStore store;
  ASSERT_EQ(store.setDataFile(kCompleteFile), 0u);
  reader::OperationColumns operations;
  const auto take = [](void* to, const reader::DeliveredRecord& record) -> uint32_t {
    static_cast<RecordStore*>(to)->write(record.type, record.bytes);
    return TVO_OK;
  };
  reader::Run run({take, &store}, &operations);
  ASSERT_TRUE(run.diagnostics.open("complete_store_test.log", UINT16_MAX, nullptr));
  ASSERT_TRUE(run.source.open(path));
  static_cast<void>(sections::readSections(run));
  ASSERT_EQ(store.close(), 0);
}

TEST_F(CompleteStoreTest, RepairSavesEveryWholeRecord) {
  std::mt19937 random(20261125);
  for (const FileKind kind : {FileKind::kComplete, FileKind::kCompatible}) {
    for (const char* name : {"/all-sections.tvo", "/survey.tvo"}) {
      const std::string path = std::string(TAVO_EXAMPLES_DIR) + name;
      remove(kCompleteFile);
      if (kind == FileKind::kComplete) {
        CompleteStore store;
        ASSERT_EQ(store.create(kCompleteFile), 0u);
        import(path.c_str(), store);
        ASSERT_EQ(store.close(), 0);
      } else {
        importCompatible(path.c_str());
      }
      const std::string sound = readFile(kCompleteFile);
      const std::map<int32_t, Packed> records = packedRecords(sound);
      for (int round = 0; round < 50 * TAVO_TEST_EFFORT / 100 + 1; ++round) {
        const std::string file = round == 0 ? sound : damaged(sound, random);
        writeFile(kCompleteFile, file);
        remove(kRepaired);
        RepairReport report;
        ASSERT_EQ(repairDataFile(kCompleteFile, kRepaired, nullptr, &report), 0) << round;
        EXPECT_EQ(report.kind, kind);
        std::multiset<std::string> saved = formsOf(readFile(kRepaired));
        EXPECT_EQ(saved.size(), report.total(report.found));
        EXPECT_EQ(findings(kRepaired), "") << round;
        for (const auto& [number, packed] : records) {
          const bool whole = std::ranges::all_of(
              packed.places, [&](size_t at) { return at < file.size() && file[at] == sound[at]; });
          const auto it = saved.find(packed.bytes);
          if (!whole) continue;
          ASSERT_NE(it, saved.end()) << name << " round " << round << " record " << number;
          saved.erase(it);
        }
        EXPECT_TRUE(report.total(report.found) >= records.size() || !report.complete()) << round;
        EXPECT_TRUE(round > 0 || report.complete());
      }
    }
  }
}

TEST_F(CompleteStoreTest, RepairNeedsADataFile) {
  RepairReport report;
  EXPECT_NE(repairDataFile("no such file", kRepaired, nullptr, &report), 0);
  writeFile(kCompleteFile, std::string(5000, 'x'));
  EXPECT_EQ(repairDataFile(kCompleteFile, kRepaired, nullptr, &report), engine::kBadSignature);
  EXPECT_FALSE(fs::exists(kRepaired));
}

}  // namespace
}  // namespace tavo::store
