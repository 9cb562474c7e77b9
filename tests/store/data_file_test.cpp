// Data files as files: their bytes, recognition and check, damage, and a failing disk.
#include "store/data_file.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "platform/passing_file.h"
#include "store/engine/format.h"
#include "store/sample_records.h"
#include "support/analysis.h"

namespace tavo::store {
namespace {

constexpr char kDataFile[] = "data_file_test.dat";

Bytes fileBytes(const char* path) {
  const std::string bytes = tests::readFile(path);
  return {bytes.begin(), bytes.end()};
}

void setFileBytes(const char* path, const Bytes& bytes) {
  tests::writeFile(path, {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
}

// A file of all types, with enough points for several levels of pages.
void fill(RecordStore& store, uint32_t points) {
  for (const RecordType type : typesInOrder()) {
    if (type != 34) store.write(type, sampleRecord(type, 1).data());
  }
  for (uint32_t number = 1; number <= points; ++number) {
    const PointRecord record = point(number * 7919 % 10007 + 1, std::to_string(number).c_str());
    store.write(TVO_RECORD_POINTS, &record);
  }
}

std::vector<std::string> findings(DataFileStatistics* statistics = nullptr) {
  std::vector<std::string> list;
  DataFileStatistics own;
  const int result = verifyDataFile(
      kDataFile, [&list](const DataFileFinding& finding) { list.push_back(finding.text); },
      statistics != nullptr ? statistics : &own);
  if (result != 0) list.push_back("result " + std::to_string(result));
  return list;
}

class DataFileTest : public testing::Test {
 protected:
  ~DataFileTest() override { remove(kDataFile); }
};

TEST_F(DataFileTest, BytesOfASmallFile) {
  RecordStore store;
  ASSERT_EQ(store.setDataFile(kDataFile), 0u);
  SubjectRecord subject{7, "AB"};
  ASSERT_EQ(store.write(TVO_RECORD_SUBJECTS, &subject), 0u);
  ASSERT_EQ(store.close(), 0);
  const Bytes file = fileBytes(kDataFile);
  ASSERT_GE(file.size(), 2048u);
  EXPECT_EQ(file.size() % 1024, 0u);
  EXPECT_EQ(engine::loadU32(&file[44]), 2u);  // next record number
  EXPECT_EQ(engine::loadU32(&file[68]), 1u);  // records
  EXPECT_EQ(engine::loadU32(&file[8]), 1u);   // order word
  const Bytes keyTypes(file.begin() + 193, file.begin() + 197);
  EXPECT_EQ(keyTypes, (Bytes{10, 10, 5, 0}));

  // Entries: index, piece, record number, then key or packed record.
  const Bytes entries = {8, 1, 0x80, 1, 0, 0, 0, 0xD2, 0x07,  // sort code 2002
                         8, 2, 0x80, 1, 0, 0, 0, 7,    0};    // SubjectNo
  const Bytes record = {26, 19, 0x80, 1, 0, 0, 0};
  const Bytes packed = {16, 0, 0, 0xD2, 0x07, 1, 0, 7, 0, 2, 0, 'A', 'B', 0, 0xFF, 0xFF};
  const uint8_t* page = &file[1024];
  EXPECT_EQ(engine::page::count(page), 3);
  EXPECT_EQ(engine::page::freeBytes(page), 1006 - 9 - 9 - 27);
  const uint8_t* at = page + engine::kPageHead;
  EXPECT_EQ(Bytes(at, at + 18), entries);
  EXPECT_EQ(Bytes(at + 18, at + 25), record);
  EXPECT_EQ(Bytes(at + 29, at + 45), packed);  // behind the packed record's head of 4 bytes
}

// Both platforms run this, so a file of one can be read by the other. The sum changes only when the
// file format does, or the choice of pages to split and reserve.
TEST_F(DataFileTest, BytesAreTheSameOnEveryPlatform) {
  RecordStore store;
  ASSERT_EQ(store.setDataFile(kDataFile), 0u);
  fill(store, 1500);
  Bytes room(sizeof(ProjectRecord));
  for (const uint32_t move : {TVO_FIRST, TVO_LAST, TVO_FIRST}) {
    readRecord(store, move);
    store.remove(room.data());
  }
  ASSERT_EQ(store.close(), 0);
  uint32_t sum = 2166136261u;
  for (const unsigned char byte : fileBytes(kDataFile)) sum = (sum ^ byte) * 16777619u;
  EXPECT_EQ(sum, 1210672769u);
}

TEST_F(DataFileTest, Recognition) {
  EXPECT_FALSE(isDataFile(kDataFile));
  RecordStore store;
  ASSERT_EQ(store.setDataFile(kDataFile), 0u);
  store.closeDataFile();
  EXPECT_TRUE(isDataFile(kDataFile));
  Bytes file = fileBytes(kDataFile);
  ++file[4];
  setFileBytes(kDataFile, file);
  EXPECT_FALSE(isDataFile(kDataFile));
  EXPECT_EQ(store.openDataFile(kDataFile), 0xFFFF0000u | TVO_ERR_DATA_FILE);
  EXPECT_EQ(findings(), std::vector<std::string>{"result -5"});
  setFileBytes(kDataFile, Bytes(100, 'x'));
  EXPECT_FALSE(isDataFile(kDataFile));
}

TEST_F(DataFileTest, CheckOfASoundFile) {
  RecordStore store;
  ASSERT_EQ(store.setDataFile(kDataFile), 0u);
  fill(store, 500);
  ASSERT_EQ(store.close(), 0);
  DataFileStatistics statistics;
  EXPECT_EQ(findings(&statistics), std::vector<std::string>{});
  EXPECT_EQ(statistics.recordsByType[34], 500u);
  EXPECT_EQ(statistics.recordsByType[91], 1u);
  EXPECT_EQ(statistics.records, 500u + typesInOrder().size() - 1);
  EXPECT_EQ(statistics.height, 3u);
  EXPECT_GT(statistics.fillFactor, 0.5);
  EXPECT_LE(statistics.fillFactor, 1.0);
}

TEST_F(DataFileTest, CheckFindsWrongTypesAndKeys) {
  // Made with the engine itself, which knows no record types.
  engine::PageCache cache;
  engine::Store file(cache);
  ASSERT_EQ(file.create(kDataFile, kIndexes), 0);
  RecordForm form(TVO_RECORD_SUBJECTS);
  const Bytes subject = sampleRecord(TVO_RECORD_SUBJECTS, 1);
  form.load(TVO_RECORD_SUBJECTS, subject.data());
  ASSERT_EQ(file.insert(form.fields(), 80), 0);
  ASSERT_EQ(file.insert(form.fields(), TVO_RECORD_LAYERS), 0);
  std::vector<engine::Field> fields(form.fields(), form.fields() + 4);
  fields[1].index = 0;
  fields[1].keyRole = 'N';
  ASSERT_EQ(file.insert(fields.data(), TVO_RECORD_SUBJECTS), 0);
  ASSERT_EQ(file.close(), 0);

  const std::vector<std::string> list = findings();
  const auto reported = [&list](const char* part) {
    return std::ranges::any_of(
        list, [part](const std::string& text) { return text.find(part) != std::string::npos; });
  };
  EXPECT_TRUE(reported("): type 80 is not a storable record type"));
  EXPECT_TRUE(reported("record 2 (type 17, LAYERS): has sort code 2002 instead of 2022"));
  EXPECT_TRUE(reported("3")) << "the record without its key in index 2";
  EXPECT_GE(list.size(), 3u);

  // The store itself hands out what it can.
  RecordStore store;
  ASSERT_EQ(store.openDataFile(kDataFile), 0u);
  EXPECT_EQ(readRecord(store, TVO_FIRST).status, TVO_ERR_RECORD_TYPE);
}

// Everything a host can do, whatever the file is like; statuses don't matter, only that it ends.
void useEverything(RecordStore& store) {
  Bytes room(sizeof(ProjectRecord));
  for (const uint32_t move : {TVO_NEXT, TVO_PREVIOUS}) {
    readRecord(store, move == TVO_NEXT ? TVO_FIRST : TVO_LAST);
    for (int i = 0; i < 700; ++i) readRecord(store, move);
  }
  for (const RecordType type : {1u, 34u, 53u, 54u, 57u, 63u, 76u}) store.find(type, room.data());
  for (uint32_t number = 1; number < 40; ++number) {
    PointRecord record = point(number * 31, "id");
    if (store.find(34, &record, kByNumber) == 0) store.update(&record);
    if (number % 3 == 0) store.remove(room.data());
    store.write(34, &record);
    store.write(54, sampleRecord(54, number).data());
  }
}

TEST_F(DataFileTest, DamagedFilesNeverCrash) {
  RecordStore maker;
  ASSERT_EQ(maker.setDataFile(kDataFile), 0u);
  fill(maker, 250);
  ASSERT_EQ(maker.close(), 0);
  const Bytes sound = fileBytes(kDataFile);
  std::mt19937 random(4711);
  for (int round = 0; round < 250 * TAVO_TEST_EFFORT / 100; ++round) {
    Bytes file = sound;
    const size_t changes = 1 + random() % 8;
    for (size_t i = 0; i < changes; ++i) {
      // Mostly where it hurts: the header, the heads of pages and of their first entries.
      size_t at = random() % file.size();
      if (random() % 3 == 0) at = 28 + random() % 320;
      if (random() % 2 == 0) at = at / 1024 * 1024 + random() % 40;
      file[at] = static_cast<unsigned char>(random() % 3 == 0 ? 0xFF : random());
    }
    // Page counts in the millions would only make the rounds long.
    for (const size_t at : {38u, 39u, 54u, 55u}) file[at] = 0;
    if (round % 10 == 0) file.resize(random() % file.size());
    setFileBytes(kDataFile, file);
    findings();
    RecordStore store;
    if (store.openDataFile(kDataFile) != 0) continue;
    useEverything(store);
    store.closeDataFile();
    findings();
  }
}

// The operating system's files, but one transfer fails or comes up short, and all later ones when
// the disk stays full.
class FailingFiles : public platform::FileSystem {
 public:
  int failAt = -1;  // counts transfers down
  bool readsToo = false, stays = false;
  platform::Transfer how = platform::Transfer::kFailed;
  bool failed = false;

  std::unique_ptr<platform::File> create(const char* path) override {
    return wrap(platform::nativeFileSystem().create(path));
  }
  std::unique_ptr<platform::File> open(const char* path, platform::Access access,
                                       platform::Sharing sharing) override {
    return wrap(platform::nativeFileSystem().open(path, access, sharing));
  }
  bool remove(const char* path) override { return platform::nativeFileSystem().remove(path); }

 private:
  struct Wrapped : platform::PassingFile {
    FailingFiles& owner;
    Wrapped(FailingFiles& files, std::unique_ptr<platform::File> inner)
        : PassingFile(std::move(inner)), owner(files) {}
    platform::Transfer readAt(uint64_t position, void* bytes, uint32_t count) override {
      if (owner.readsToo && owner.failsNow()) return owner.how;
      return PassingFile::readAt(position, bytes, count);
    }
    platform::Transfer writeAt(uint64_t position, const void* bytes, uint32_t count) override {
      return owner.failsNow() ? owner.how : PassingFile::writeAt(position, bytes, count);
    }
    // What stayed in memory would not come here.
    bool gather(bool) override { return true; }
  };

  std::unique_ptr<platform::File> wrap(std::unique_ptr<platform::File> file) {
    if (file == nullptr) return nullptr;
    return std::make_unique<Wrapped>(*this, std::move(file));
  }
  bool failsNow() {
    const bool fails = failAt == 0 || (stays && failed);
    if (failAt >= 0) --failAt;
    failed = failed || fails;
    return fails;
  }
};

// A search that fails has not found that there is nothing: no duplicate gets in behind it.
TEST_F(DataFileTest, FailedSearchIsNoMissingRecord) {
  {
    RecordStore store;
    ASSERT_EQ(store.setDataFile(kDataFile), 0u);
    fill(store, 2000);
    ASSERT_EQ(store.close(), 0);
  }
  const PointRecord stored = point(777 * 7919 % 10007 + 1, "777");
  for (const auto how : {platform::Transfer::kFailed, platform::Transfer::kShort}) {
    for (const bool writes : {false, true}) {
      int failures = 0;
      for (int failAt = 0;; ++failAt) {
        FailingFiles files;
        RecordStore store(files);
        ASSERT_EQ(store.openDataFile(kDataFile), 0u);
        files.how = how;
        files.readsToo = true;
        files.failAt = failAt;
        PointRecord record = stored;
        const uint32_t status = writes ? store.write(TVO_RECORD_POINTS, &record)
                                       : store.find(TVO_RECORD_POINTS, &record, kByNumber);
        if (!files.failed) {
          EXPECT_EQ(status, writes ? uint32_t{TVO_ERR_DUPLICATE} : 0u);
          break;
        }
        EXPECT_EQ(TVO_CODE(status), TVO_ERR_NO_RECORD) << failAt;
        ++failures;
      }
      EXPECT_GT(failures, 2);
    }
  }
}

TEST_F(DataFileTest, FullDiskGivesTheWriteError) {
  FailingFiles files;
  RecordStore store(files);
  ASSERT_EQ(store.setDataFile(kDataFile), 0u);
  fill(store, 200);
  files.how = platform::Transfer::kShort;
  files.stays = true;
  files.failAt = 0;
  uint32_t status = 0;
  for (uint32_t number = 20000; status == 0 && number < 21000; ++number) {
    const PointRecord record = point(number, "");
    status = store.write(TVO_RECORD_POINTS, &record);
  }
  EXPECT_EQ(status, 0xFFFF0000u | TVO_ERR_WRITE);
  EXPECT_NE(store.close(), 0);
  EXPECT_FALSE(store.isOpen());
}

TEST_F(DataFileTest, EveryTransferMayFail) {
  for (int failAt = 0; failAt < 400; failAt += 1 + failAt / 20) {
    SCOPED_TRACE(failAt);
    FailingFiles files;
    files.failAt = failAt;
    files.readsToo = failAt % 2 == 0;
    files.stays = failAt % 3 == 0;
    files.how = failAt % 5 == 0 ? platform::Transfer::kShort : platform::Transfer::kFailed;
    RecordStore store(files);
    const uint32_t created = store.setDataFile(kDataFile);
    if (created != 0) {
      EXPECT_EQ(TVO_CODE(created), TVO_ERR_OPEN);
      EXPECT_FALSE(store.isOpen());
    }
    fill(store, 120);
    useEverything(store);
    const bool failedBefore = files.failed;
    const int closed = store.close();
    if (files.failed && !failedBefore && !files.readsToo) {
      EXPECT_NE(closed, 0);
    }
    findings();
    if (!files.failed) break;
  }
}

}  // namespace
}  // namespace tavo::store
