// The store's operations: what comes back, in which order, and every status.
#include "store/record_store.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <set>

#include "store/engine/machine.h"
#include "store/sample_records.h"

namespace tavo::store {
namespace {

// A status for which the engine's end of index or missing entry stands behind a code.
constexpr uint32_t afterNotFound(uint16_t code) { return 0xFFFF0000u | code; }

class RecordStoreTest : public testing::Test {
 protected:
  RecordStoreTest() { EXPECT_EQ(store.setDataFile(kPath), 0u); }
  ~RecordStoreTest() override {
    store.closeDataFile();
    remove(kPath);
  }

  template <typename Record>
  uint32_t write(RecordType type, const Record& record) {
    return store.write(type, &record);
  }
  uint32_t writeSample(RecordType type, uint32_t seed) {
    return store.write(type, sampleRecord(type, seed).data());
  }
  size_t count() { return typesAlong(store, TVO_FIRST, TVO_NEXT).size(); }

  static constexpr char kPath[] = "store_test.dat";
  RecordStore store;
};

TEST_F(RecordStoreTest, EveryTypeComesBackAsItWasWritten) {
  for (const RecordType type : typesInOrder()) {
    SCOPED_TRACE(type);
    ASSERT_EQ(store.createDefault(), 0u);
    const Bytes record = sampleRecord(type, 7);
    ASSERT_EQ(store.write(type, record.data()), 0u);
    if (type == TVO_RECORD_TIME_TAGGED_CODES) {
      // Its fixed part is stored, but no record can be made of it again.
      EXPECT_EQ(readRecord(store, TVO_CURRENT).status, TVO_ERR_RECORD_TYPE);
      EXPECT_EQ(readRecord(store, TVO_FIRST).status, TVO_ERR_RECORD_TYPE);
      Bytes room(record.size());
      EXPECT_EQ(store.update(room.data()), TVO_ERR_RECORD_TYPE);
      EXPECT_EQ(store.remove(room.data()), TVO_ERR_RECORD_TYPE);
      continue;
    }
    const Delivered current = readRecord(store, TVO_CURRENT);
    EXPECT_EQ(current.type, type);
    EXPECT_EQ(current.bytes, record);

    store.closeDataFile();
    ASSERT_EQ(store.openDataFile(kPath), 0u);
    EXPECT_EQ(readRecord(store, TVO_FIRST).bytes, record);
    Bytes found(record.size());
    if (type <= 76) {
      EXPECT_EQ(store.find(type, found.data()), 0u);
      EXPECT_EQ(found, record);
    } else {
      EXPECT_EQ(store.find(type, found.data()), TVO_ERR_NOT_STORABLE);
    }
  }
}

TEST_F(RecordStoreTest, EveryByteOfARecordIsKept) {
  for (const RecordType type : typesInOrder()) {
    SCOPED_TRACE(type);
    size_t end = 0;
    for (const RecordForm::Member& member : RecordForm::membersOf(type)) {
      EXPECT_EQ(member.offset, end);
      end = member.offset + member.length;
    }
    EXPECT_EQ(end, type == 91 ? offsetof(TimeTaggedRecord, entries) : sizeOf(type));
    EXPECT_LE(RecordForm(type).packedLimit(), 1024u);
  }
}

TEST_F(RecordStoreTest, RecordsComeInSortCodeOrderAndThenAsWritten) {
  std::vector<RecordType> types = typesInOrder();
  std::erase(types, RecordType{TVO_RECORD_TIME_TAGGED_CODES});
  // Written back to front; types that share a sort code therefore come back that way round.
  std::ranges::reverse(types);
  for (const RecordType type : types) ASSERT_EQ(writeSample(type, 1), 0u);
  std::ranges::stable_sort(types, {}, [](RecordType t) { return schema::recordDef(t).sortCode; });

  EXPECT_EQ(typesAlong(store, TVO_FIRST, TVO_NEXT), types);
  EXPECT_EQ(readRecord(store, TVO_NEXT).status, afterNotFound(TVO_ERR_STORE));
  EXPECT_EQ(readRecord(store, TVO_CURRENT).status & 0xFFFFu, TVO_ERR_STORE);
  std::ranges::reverse(types);
  EXPECT_EQ(typesAlong(store, TVO_LAST, TVO_PREVIOUS), types);
  for (const uint32_t move : {5u, 100u, 0x80000000u, 0xFFFFFFFFu}) {
    EXPECT_EQ(TVO_CODE(readRecord(store, move).status), TVO_ERR_STORE) << move;
  }
}

TEST_F(RecordStoreTest, WriteChecksByRecordType) {
  const std::set<RecordType> once = {1,  2,  3,  4,  9,  10, 11, 12, 13, 14, 15, 23, 24, 25, 26,
                                     27, 28, 29, 30, 31, 32, 43, 45, 46, 47, 55, 58, 60, 61, 64,
                                     65, 66, 67, 68, 69, 70, 71, 72, 73, 74, 75, 76, 34};
  size_t stored = 0;
  for (RecordType type = 0; type <= 300; ++type) {
    SCOPED_TRACE(type);
    const bool known = type >= 1 && type <= 107;
    const bool storable =
        known && type < 103 && !(type >= 77 && type <= 89) && !(type >= 92 && type <= 97);
    const Bytes record = storable ? sampleRecord(type, 1) : Bytes(1000);
    const uint32_t first = !known      ? uint32_t{TVO_ERR_RECORD_TYPE}
                           : !storable ? uint32_t{TVO_ERR_NOT_STORABLE}
                                       : uint32_t{TVO_OK};
    EXPECT_EQ(store.write(type, record.data()), first);
    const uint32_t second = once.count(type) != 0 ? uint32_t{TVO_ERR_DUPLICATE} : first;
    EXPECT_EQ(store.write(type, record.data()), second);
    stored += static_cast<size_t>(first == TVO_OK) + static_cast<size_t>(second == TVO_OK);
  }
  // Records of type 91 stand last and can't be read; types 98 to 102 are columns records that are
  // stored twice all the same.
  EXPECT_EQ(count(), stored - 2);
  for (const RecordType type : {98u, 102u, 48u, 90u}) {
    EXPECT_EQ(std::ranges::count(typesAlong(store, TVO_FIRST, TVO_NEXT), type), 2) << type;
  }
}

TEST_F(RecordStoreTest, PointsAreUniqueByNumberOrElseByIdentifier) {
  // Other types may have the number and identifier of a point.
  PointAccuracyRecord accuracy{};
  accuracy.PointNo = 5;
  snprintf(accuracy.PointID, sizeof(accuracy.PointID), "A");
  EXPECT_EQ(write(TVO_RECORD_PNT_ACCURACY, accuracy), 0u);
  EXPECT_EQ(write(TVO_RECORD_POINTS, point(5, "A")), 0u);
  EXPECT_EQ(write(TVO_RECORD_POINTS, point(5, "B")), TVO_ERR_DUPLICATE);
  EXPECT_EQ(write(TVO_RECORD_POINTS, point(6, "A")), 0u);
  EXPECT_EQ(write(TVO_RECORD_POINTS, point(0, "A")), TVO_ERR_DUPLICATE);
  EXPECT_EQ(write(TVO_RECORD_POINTS, point(0, "C")), 0u);
  EXPECT_EQ(write(TVO_RECORD_POINTS, point(0, "D")), 0u);
  EXPECT_EQ(write(TVO_RECORD_POINTS, point(0, "C")), TVO_ERR_DUPLICATE);
  // The refusal leaves the stored point as the current record.
  EXPECT_EQ(readRecord(store, TVO_CURRENT).bytes, bytesOf(point(0, "C")));

  PointRecord open = point(0, "");
  memset(open.PointID, 'x', sizeof(open.PointID));
  EXPECT_EQ(write(TVO_RECORD_POINTS, open), 0u);
  EXPECT_EQ(readRecord(store, TVO_CURRENT).bytes, bytesOf(point(0, "xxxxxxxxxxxxxxxx")));
  EXPECT_EQ(write(TVO_RECORD_POINTS, open), TVO_ERR_DUPLICATE);
}

TEST_F(RecordStoreTest, ValuesThatAreEasilyLost) {
  PointRecord record = point(1, "P");
  record.East = -0.0;
  record.North = std::numeric_limits<double>::quiet_NaN();
  record.Elevation = std::numeric_limits<double>::denorm_min();
  record.X = -std::numeric_limits<double>::infinity();
  record.SymDim1 = -0.0f;
  record.Date = {0, 0, 0, 0, 0, 0, 1};
  ASSERT_EQ(write(TVO_RECORD_POINTS, record), 0u);
  EXPECT_EQ(readRecord(store, TVO_CURRENT).bytes, bytesOf(record));

  // An empty record behind a full one must not show the full one's values.
  ASSERT_EQ(write(TVO_RECORD_POINTS, point(2, "")), 0u);
  EXPECT_EQ(readRecord(store, TVO_CURRENT).bytes, bytesOf(point(2, "")));
  JobRecord blankDate{};
  memset(&blankDate.Date, ' ', sizeof(blankDate.Date));
  ASSERT_EQ(write(TVO_RECORD_JOBS, blankDate), 0u);
  EXPECT_EQ(readRecord(store, TVO_CURRENT).bytes, bytesOf(blankDate));
  ColumnsRecord columns{};
  columns.fields[0] = TVO_FIELD_End;
  columns.fields[40] = 9;
  ASSERT_EQ(write(TVO_RECORD_POINTS_COLUMNS, columns), 0u);
  EXPECT_EQ(readRecord(store, TVO_CURRENT).bytes, bytesOf(columns));
}

TEST_F(RecordStoreTest, FindByLookup) {
  Bytes room(sizeof(ProjectRecord));
  EXPECT_EQ(store.find(TVO_RECORD_HEADER, room.data()), afterNotFound(TVO_ERR_NOT_FOUND));
  for (const uint32_t type : {0u, 108u, 0xFFFFFFFFu}) {
    EXPECT_EQ(store.find(type, room.data()), TVO_ERR_RECORD_TYPE);
  }
  for (const uint32_t type : {77u, 90u, 91u, 98u, 107u}) {
    EXPECT_EQ(store.find(type, room.data()), TVO_ERR_NOT_STORABLE);
  }
  for (const RecordType type : {TVO_RECORD_JOBS_COLUMNS, TVO_RECORD_HEADER, TVO_RECORD_PROJECT}) {
    for (const Lookup lookup : {kByListNo, kByNumber, kById}) {
      EXPECT_EQ(store.find(type, room.data(), lookup), TVO_ERR_LOOKUP);
    }
  }

  // Setups and slopes share a sort code: each is found among the other, columns records too.
  for (uint32_t seed = 1; seed <= 40; ++seed) ASSERT_EQ(writeSample(TVO_RECORD_SLOPE, seed), 0u);
  Bytes setup = sampleRecord(TVO_RECORD_SETUP, 41);
  EXPECT_EQ(store.find(TVO_RECORD_SETUP, room.data()), afterNotFound(TVO_ERR_NOT_FOUND));
  ASSERT_EQ(store.write(TVO_RECORD_SETUP, setup.data()), 0u);
  ASSERT_EQ(writeSample(TVO_RECORD_OPERATIONS, 42), 0u);
  Bytes found(setup.size());
  EXPECT_EQ(store.find(TVO_RECORD_SETUP, found.data()), 0u);
  EXPECT_EQ(found, setup);
  EXPECT_EQ(readRecord(store, TVO_CURRENT).bytes, setup);
  // Reading goes on behind what was found.
  EXPECT_EQ(readRecord(store, TVO_NEXT).type, RecordType{TVO_RECORD_OPERATIONS});
  // A search that fails leaves no current record, like a move over the end.
  EXPECT_EQ(store.find(TVO_RECORD_SETUP_COLUMNS, room.data()), afterNotFound(TVO_ERR_NOT_FOUND));
  EXPECT_EQ(TVO_CODE(readRecord(store, TVO_CURRENT).status), TVO_ERR_STORE);
  EXPECT_EQ(readRecord(store, TVO_PREVIOUS).type, RecordType{TVO_RECORD_OPERATIONS});
}

TEST_F(RecordStoreTest, FindAmongOtherTypesOfTheSameKey) {
  JobRecord job{};
  LayerRecord layer{};
  LineRecord line{};
  for (uint16_t number = 1; number <= 300; ++number) {
    layer.LayerNo = job.JobNo = number;
    snprintf(job.Name, sizeof(job.Name), "job %d", number);
    line.LineNo = number;
    ASSERT_EQ(write(TVO_RECORD_LAYERS, layer), 0u);
    ASSERT_EQ(write(TVO_RECORD_JOBS, job), 0u);
    ASSERT_EQ(write(TVO_RECORD_LINES, line), 0u);
    ASSERT_EQ(write(TVO_RECORD_POINTS, point(number, job.Name)), 0u);
  }
  JobRecord wanted{};
  wanted.JobNo = 258;
  EXPECT_EQ(store.find(TVO_RECORD_JOBS, &wanted, kByListNo), 0u);
  EXPECT_STREQ(wanted.Name, "job 258");
  PointRecord byId = point(0, "job 77");
  EXPECT_EQ(store.find(TVO_RECORD_POINTS, &byId, kById), 0u);
  EXPECT_EQ(byId.PointNo, 77u);
  ChoiceRecord choice{};
  choice.ListNo = 258;
  EXPECT_EQ(TVO_CODE(store.find(TVO_RECORD_CHOICELIST, &choice, kByListNo)), TVO_ERR_NOT_FOUND);
  EXPECT_EQ(TVO_CODE(readRecord(store, TVO_CURRENT).status), TVO_ERR_STORE);
}

TEST_F(RecordStoreTest, UpdateReplacesTheCurrentRecordAndItsKeys) {
  PointRecord record = point(1, "old");
  EXPECT_EQ(TVO_CODE(store.update(&record)), TVO_ERR_STORE);
  ASSERT_EQ(write(TVO_RECORD_POINTS, record), 0u);
  ASSERT_EQ(write(TVO_RECORD_POINTS, point(2, "other")), 0u);
  PointRecord wanted = point(1, "");
  ASSERT_EQ(store.find(TVO_RECORD_POINTS, &wanted, kByNumber), 0u);
  record = point(900, "new and longer");
  record.EllHeight = 1;
  snprintf(record.Description, sizeof(record.Description), "also longer than before");
  EXPECT_EQ(store.update(&record), 0u);
  EXPECT_EQ(readRecord(store, TVO_CURRENT).bytes, bytesOf(record));
  PointRecord old = point(1, "old");
  EXPECT_EQ(TVO_CODE(store.find(TVO_RECORD_POINTS, &old, kByNumber)), TVO_ERR_NOT_FOUND);
  EXPECT_EQ(TVO_CODE(store.find(TVO_RECORD_POINTS, &old, kById)), TVO_ERR_NOT_FOUND);
  old = point(900, "");
  EXPECT_EQ(store.find(TVO_RECORD_POINTS, &old, kByNumber), 0u);
  EXPECT_EQ(bytesOf(old), bytesOf(record));
  // The buffer that reading delivered may be changed and handed back.
  RecordType type = 0;
  void* buffer = nullptr;
  ASSERT_EQ(store.read(TVO_CURRENT, &type, &buffer), 0u);
  record.Color = 77;
  memcpy(buffer, &record, sizeof(record));
  EXPECT_EQ(store.update(buffer), 0u);
  EXPECT_EQ(readRecord(store, TVO_CURRENT).bytes, bytesOf(record));
  // An update does not end open texts as a write does; it refuses them and changes nothing.
  PointRecord open = record;
  memset(open.Description, 'x', sizeof(open.Description));
  EXPECT_EQ(store.update(&open), static_cast<uint32_t>(engine::kTooLong));
  EXPECT_EQ(readRecord(store, TVO_CURRENT).bytes, bytesOf(record));
  EXPECT_EQ(count(), 2u);
}

TEST_F(RecordStoreTest, RemoveHandsTheRecordBack) {
  Bytes room(sizeof(PointRecord));
  EXPECT_EQ(TVO_CODE(store.remove(room.data())), TVO_ERR_STORE);
  for (uint32_t number = 1; number <= 3; ++number) {
    ASSERT_EQ(write(TVO_RECORD_POINTS, point(number, "")), 0u);
  }
  PointRecord wanted = point(2, "");
  ASSERT_EQ(store.find(TVO_RECORD_POINTS, &wanted, kByNumber), 0u);
  EXPECT_EQ(store.remove(room.data()), 0u);
  EXPECT_EQ(room, bytesOf(point(2, "")));
  EXPECT_EQ(TVO_CODE(readRecord(store, TVO_CURRENT).status), TVO_ERR_STORE);
  EXPECT_EQ(TVO_CODE(store.remove(room.data())), TVO_ERR_STORE);
  EXPECT_EQ(TVO_CODE(store.update(room.data())), TVO_ERR_STORE);
  EXPECT_EQ(count(), 2u);
  // The number is free again, and so is the record number: the new point takes the old one's place.
  ASSERT_EQ(write(TVO_RECORD_POINTS, point(2, "again")), 0u);
  readRecord(store, TVO_FIRST);
  EXPECT_EQ(readRecord(store, TVO_NEXT).bytes, bytesOf(point(2, "again")));
}

TEST_F(RecordStoreTest, PathsAndOpenState) {
  EXPECT_STREQ(RecordStore().path(), "C:\\TMPTVODB.DAT");
  EXPECT_EQ(store.setDataFile("other.dat"), TVO_ERR_DATA_FILE_OPEN);
  EXPECT_STREQ(store.path(), kPath);
  EXPECT_EQ(store.openExisting(), TVO_ERR_DATA_FILE_OPEN);
  ASSERT_EQ(writeSample(1, 1), 0u);
  // The same path again: nothing is reopened, the current record stays.
  EXPECT_EQ(store.openDataFile(kPath), 0u);
  EXPECT_EQ(readRecord(store, TVO_CURRENT).type, 1u);

  // Another path closes the file, whether it can be opened or not.
  EXPECT_EQ(store.openDataFile("missing.dat"), afterNotFound(TVO_ERR_DATA_FILE));
  EXPECT_FALSE(store.isOpen());
  EXPECT_STREQ(store.path(), "missing.dat");
  EXPECT_EQ(TVO_CODE(readRecord(store, TVO_FIRST).status), TVO_ERR_DATA_FILE);
  Bytes room(sizeof(ProjectRecord));
  EXPECT_EQ(TVO_CODE(store.find(80, room.data())), TVO_ERR_DATA_FILE);
  EXPECT_EQ(TVO_CODE(store.update(room.data())), TVO_ERR_DATA_FILE);
  EXPECT_EQ(TVO_CODE(store.remove(room.data())), TVO_ERR_DATA_FILE);
  EXPECT_EQ(store.openDataFile(kPath), 0u);
  EXPECT_EQ(count(), 1u);

  // Reading opens the file at the path; writing starts a new one, even for a record it refuses.
  EXPECT_EQ(store.closeDataFile(), 0u);
  EXPECT_EQ(store.closeDataFile(), 0u);
  EXPECT_EQ(readRecord(store, TVO_LAST).type, 1u);
  store.closeDataFile();
  EXPECT_EQ(store.write(80, room.data()), TVO_ERR_NOT_STORABLE);
  EXPECT_TRUE(store.isOpen());
  EXPECT_EQ(count(), 0u);

  // A file that another store has open can be neither opened nor replaced.
  RecordStore second;
  EXPECT_EQ(TVO_CODE(second.openDataFile(kPath)), TVO_ERR_DATA_FILE);
  EXPECT_EQ(TVO_CODE(second.setDataFile(kPath)), TVO_ERR_OPEN);
  EXPECT_EQ(TVO_CODE(second.write(1, sampleRecord(1, 1).data())), TVO_ERR_DATA_FILE);
  EXPECT_EQ(TVO_CODE(second.setDataFile("no_such_folder/x.dat")), TVO_ERR_OPEN);
}

TEST_F(RecordStoreTest, LongPathsAreRefusedNotCut) {
  const std::string longest(RecordStore::kMaxPath, 'p');
  EXPECT_EQ(TVO_CODE(store.openDataFile((longest + "p").c_str())), TVO_ERR_DATA_FILE);
  EXPECT_TRUE(store.isOpen());
  store.closeDataFile();
  EXPECT_EQ(TVO_CODE(store.setDataFile((longest + "p").c_str())), TVO_ERR_OPEN);
  EXPECT_STREQ(store.path(), kPath);
  // One that fits is taken over whole, though no file system has such a name.
  EXPECT_EQ(TVO_CODE(store.setDataFile(longest.c_str())), TVO_ERR_OPEN);
  EXPECT_EQ(store.path(), longest);
}

// With a journal every record that was written is there, wherever the machine stopped.
TEST_F(RecordStoreTest, WritesWithAJournalAreDurable) {
  using engine::test::Machine;
  using engine::test::Process;
  EXPECT_FALSE(store.setJournal(std::string(2000, 'j').c_str()));
  for (int k = 0;; k += TAVO_TEST_EFFORT >= 100 ? 3 : 29) {
    SCOPED_TRACE(k);
    Machine machine;
    std::mt19937 random(static_cast<uint32_t>(k));
    uint32_t written = 0;
    bool created = false;
    bool done = false;
    {
      Process process(machine, k);
      RecordStore durable(process);
      ASSERT_TRUE(durable.setJournal("journal"));
      created = durable.setDataFile("data") == 0;
      while (created && written < 20) {
        const PointRecord record = point(written + 1, "durable");
        if (durable.write(TVO_RECORD_POINTS, &record) != 0) break;
        ++written;
      }
      done = created && durable.close() == 0;
    }
    machine.stop(random);
    if (!created) continue;
    Process process(machine);
    RecordStore durable(process);
    ASSERT_TRUE(durable.setJournal("journal"));
    ASSERT_EQ(durable.openDataFile("data"), 0u);
    const size_t found = typesAlong(durable, TVO_FIRST, TVO_NEXT).size();
    EXPECT_TRUE(found == written || found == written + 1) << found << " of " << written;
    if (done || HasFailure()) break;
  }
}

TEST_F(RecordStoreTest, NullArguments) {
  EXPECT_EQ(store.write(1, nullptr), static_cast<uint32_t>(engine::kBadArgument));
  EXPECT_EQ(store.find(1, nullptr), static_cast<uint32_t>(engine::kBadArgument));
  EXPECT_EQ(store.update(nullptr), static_cast<uint32_t>(engine::kBadArgument));
  ASSERT_EQ(writeSample(1, 1), 0u);
  EXPECT_EQ(store.read(TVO_FIRST, nullptr, nullptr), 0u);
  EXPECT_EQ(store.remove(nullptr), 0u);
  EXPECT_EQ(store.openDataFile(nullptr), TVO_ERR_DATA_FILE);
  store.closeDataFile();
  EXPECT_EQ(store.setDataFile(nullptr), TVO_ERR_OPEN);
}

}  // namespace
}  // namespace tavo::store
