// Page buffers, write modes and markers, and what is left when transfers fail.
#include <map>

#include "engine_fixture.h"
#include "store/engine/tree.h"

namespace tavo::engine::test {
namespace {

// A file of some leaf pages, made by a plain load.
void fill(Store& store, std::uint32_t from, std::uint32_t to) {
  Sample sample;
  for (std::uint32_t n = from; n < to; ++n) {
    sample.set(static_cast<int>(n % 5), n * 7919 % 10007, "name " + std::to_string(n * 31 % 1009),
               static_cast<int>(n % 200));
    ASSERT_EQ(store.insert(sample.fields, kSampleType), kOk);
  }
}

class CacheTest : public ::testing::Test {
 protected:
  void make(Store& store, const char* path, int mode = 0, std::uint32_t records = 300) {
    ASSERT_EQ(store.create(path, kIndexes), kOk);
    ASSERT_EQ(store.setWriteMode(mode), kOk);
    fill(store, 1, 1 + records);
  }
  void load(Store& store, std::int32_t number) {
    WorkPage* w = nullptr;
    ASSERT_EQ(store.block().cache->load(store.block(), number, w), kOk);
  }
  void startLog() {
    files_.log.clear();
    files_.logging = true;
  }

  TempFile file_;
  TestFiles files_;
};

TEST_F(CacheTest, ElevenPagesThroughTenBuffers) {
  PageCache cache;
  Store store(cache, files_);
  make(store, file_.path());
  ASSERT_EQ(store.close(), kOk);
  ASSERT_EQ(store.open(file_.path(), kIndexes), kOk);
  startLog();
  for (std::int32_t n = 1; n <= 11; ++n) load(store, n);
  EXPECT_EQ(files_.count('r'), 11);
  load(store, 2);
  EXPECT_EQ(files_.count('r'), 11);
  load(store, 1);
  ASSERT_EQ(files_.count('r'), 12);
  EXPECT_EQ(files_.log.back().position, pagePosition(1));
  EXPECT_EQ(files_.count('w'), 0);
}

TEST_F(CacheTest, DirtyBufferGoesToItsOwnFileFirst) {
  const TempFile other("_other");
  PageCache cache;
  Store store(cache, files_);
  Store second(cache, files_);
  make(second, other.path());
  ASSERT_EQ(second.close(), kOk);
  ASSERT_EQ(second.open(other.path(), kIndexes), kOk);
  ASSERT_EQ(store.create(file_.path(), kIndexes), kOk);
  ASSERT_EQ(store.setWriteMode(0), kOk);
  fill(store, 1, 2);
  startLog();
  // The first file's only page is pushed out by the second file's pages.
  std::int32_t n = 1;
  for (; files_.count('w') == 0 && n < 30; ++n) load(second, n);
  EXPECT_GT(n, 10);
  ASSERT_LT(n, 30);
  ASSERT_EQ(files_.count('w'), 1);
  const auto& log = files_.log;
  EXPECT_EQ(log[log.size() - 2].kind, 'w');
  EXPECT_EQ(log[log.size() - 2].position, pagePosition(0));
  EXPECT_EQ(log.back().position, pagePosition(n - 1));
  EXPECT_EQ(page::count(bytesOf(store).data() + 1024), 4);
}

// Many pages of one kind are worked on when a page becomes one of that kind.
TEST_F(CacheTest, PageThatChangesItsLevelFindsRoom) {
  const TempFile other("_other");
  PageCache cache;
  Store a(cache, files_);
  Store b(cache, files_);
  ASSERT_EQ(a.create(file_.path(), kIndexes), kOk);
  ASSERT_EQ(b.create(other.path(), kIndexes), kOk);
  for (Store* const store : {&a, &b}) ASSERT_EQ(store->setWriteMode(0), kOk);
  const auto insert = [](Store& store, std::uint32_t n) {
    Sample sample;
    sample.set(1, n * 7919 % 10007, std::string(170, 'k') + std::to_string(n * 7919 % 10007));
    ASSERT_EQ(store.insert(sample.fields, kSampleType), kOk);
  };
  for (std::uint32_t n = 1; n <= 3000; ++n) insert(a, n);
  for (std::uint32_t n = 1; n <= 60; ++n) insert(b, n);
  for (Store* const store : {&a, &b}) ASSERT_EQ(store->close(), kOk);
  for (const char* const path : {file_.path(), other.path()}) EXPECT_EQ(findings(path), "");
}

TEST_F(CacheTest, BufferCountsAllGiveTheSameFile) {
  std::vector<std::uint8_t> expected;
  for (const unsigned buffers : {10u, 0u, 1u, 3u, 100u}) {
    for (const int mode : {0, 3}) {
      const TempFile file;
      PageCache cache(buffers);
      Store store(cache, files_);
      make(store, file.path(), mode, 400);
      ASSERT_EQ(store.close(), kOk);
      if (expected.empty()) expected = file.bytes();
      EXPECT_EQ(file.bytes(), expected) << buffers;
      EXPECT_EQ(findings(file.path()), "");
    }
  }
  // The same on every platform.
  std::uint32_t hash = 2166136261u;
  for (const std::uint8_t byte : expected) hash = (hash ^ byte) * 16777619u;
  EXPECT_EQ(hash, 1789886031u);
}

TEST_F(CacheTest, WriteModes) {
  PageCache cache;
  Store store(cache, files_);
  make(store, file_.path(), 0);
  EXPECT_EQ(store.setWriteMode(5), kNotFound);
  EXPECT_EQ(store.setWriteMode(-1), kNotFound);
  EXPECT_EQ(store.writeMode(), 0);
  for (const int mode : {0, 1, 2, 3, 4}) {
    ASSERT_EQ(store.setWriteMode(mode), kOk);
    startLog();
    fill(store, 2000 + static_cast<std::uint32_t>(mode), 2001 + static_cast<std::uint32_t>(mode));
    int header = 0;
    int marker = 0;
    for (const auto& operation : files_.log) {
      header += operation.kind == 'w' && operation.position == 0 ? 1 : 0;
      marker += operation.kind == 'w' && operation.position == kModifiedMarker ? 1 : 0;
    }
    EXPECT_EQ(header > 0, mode != 0) << mode;
    EXPECT_EQ(marker, mode == 4 ? 2 : 0);
    EXPECT_EQ(files_.count('f') > 0, mode != 0) << mode;
    if (mode == 4) {
      // Marker and flush, the header, pages, flush, and the marker again.
      EXPECT_EQ(files_.log.back().kind, 'f');
      EXPECT_EQ(loadU16(bytesOf(store).data() + kModifiedMarker), 0);
    }
  }
  ASSERT_EQ(store.close(), kOk);
  EXPECT_EQ(findings(file_.path()), "");
}

// Mode 2 writes leaf pages at once and no others, which close writes.
TEST_F(CacheTest, LeafPagesAreWrittenAtOnceInnerPagesLater) {
  PageCache cache;
  Store store(cache, files_);
  make(store, file_.path(), 2, 20);
  startLog();
  fill(store, 100, 400);
  files_.logging = false;
  std::map<std::int32_t, int> written;
  for (const auto& operation : files_.log) {
    if (operation.kind == 'w' && operation.position >= kPageSize)
      ++written[static_cast<std::int32_t>(operation.position / kPageSize) - 1];
  }
  int leaves = 0;
  const auto pages = static_cast<std::int32_t>(store.block().header.pagesInUse);
  const auto inFile = bytesOf(store);
  for (std::int32_t n = 0; n < pages; ++n) {
    WorkPage* w = nullptr;
    ASSERT_EQ(store.block().cache->load(store.block(), n, w), kOk);
    const std::uint8_t* const image = inFile.data() + pagePosition(n);
    if (w->level() == 0) {
      ++leaves;
      EXPECT_EQ(std::memcmp(w->bytes, image, kPageSize), 0) << n;
    } else {
      EXPECT_NE(std::memcmp(w->bytes, image, kPageSize), 0) << n;
      EXPECT_LE(written[n], 2) << n;  // as a leaf, and to make it a reserve page
    }
  }
  EXPECT_GT(leaves, 30);
  ASSERT_EQ(store.close(), kOk);
  EXPECT_EQ(findings(file_.path()), "");
}

// Whether the marker in the file is set, as another program would see it.
bool marked(Store& store) {
  std::uint8_t marker[2] = {};
  store.block().file->readAt(kModifiedMarker, marker, sizeof marker);
  return loadU16(marker) == kMarkerValue;
}

TEST_F(CacheTest, MarkerBelongsToTheTransaction) {
  PageCache cache;
  Store store(cache, files_);
  make(store, file_.path(), 0);
  ASSERT_EQ(store.setWriteMode(4), kOk);
  // Pages of the mode before are pushed out between transactions: no transaction, no marker.
  for (std::int32_t n = 1; n <= 40; ++n) load(store, n);
  EXPECT_FALSE(marked(store));
  for (const int mode : {4, 0}) {
    ASSERT_EQ(store.beginWrite(), kOk);
    // From the first page that is written to the end, whatever mode is set meanwhile.
    fill(store, 1000 + static_cast<std::uint32_t>(mode) * 100,
         1080 + static_cast<std::uint32_t>(mode) * 100);
    EXPECT_TRUE(marked(store));
    ASSERT_EQ(store.setWriteMode(mode), kOk);
    ASSERT_EQ(store.endWrite(), kOk);
    EXPECT_FALSE(marked(store));
  }
  ASSERT_EQ(store.close(), kOk);
  EXPECT_EQ(loadU16(file_.bytes().data() + kModifiedMarker), 0);
  EXPECT_EQ(findings(file_.path()), "");
}

TEST_F(CacheTest, FailedCloseIsReported) {
  PageCache cache;
  Store store(cache, files_);
  make(store, file_.path(), 0);
  files_.writesUntilFault = 3;
  EXPECT_EQ(store.close(), kHeaderTransfer);
  EXPECT_FALSE(store.isOpen());
}

// The pages of a store that can no longer be closed go with it.
TEST_F(CacheTest, DamagedControlBlockLeavesNoPages) {
  const TempFile other("_other");
  PageCache cache;
  Store store(cache, files_);
  make(store, file_.path());
  {
    Store damaged(cache, files_);
    make(damaged, other.path());
    damaged.block().guard3 = 'x';
  }
  fill(store, 2000, 2300);
  ASSERT_EQ(store.close(), kOk);
  EXPECT_EQ(findings(file_.path()), "");
}

TEST_F(CacheTest, InterruptedSafeWriteIsReadAndNotWritten) {
  PageCache cache;
  Store store(cache);
  make(store, file_.path(), 4, 20);
  ASSERT_EQ(store.close(), kOk);
  auto bytes = file_.bytes();
  storeU16(bytes.data() + kModifiedMarker, kMarkerValue);
  file_.write(bytes);
  ASSERT_EQ(store.open(file_.path(), kIndexes), kOk);
  ASSERT_EQ(store.setWriteMode(4), kOk);
  Sample sample;
  EXPECT_EQ(store.position(1, kFirst), kOk);
  EXPECT_EQ(store.read(sample.fields), kOk);
  EXPECT_EQ(store.replace(sample.fields), kInterrupted);
  EXPECT_EQ(store.close(), kOk);
  EXPECT_EQ(file_.bytes(), bytes);
}

TEST_F(CacheTest, FullDiskRefusesAndLosesNothing) {
  for (const int mode : {0, 1, 2, 3, 4}) {
    const TempFile file(std::to_string(mode));
    PageCache cache;
    Store store(cache, files_);
    ASSERT_EQ(store.create(file.path(), kIndexes), kOk);
    ASSERT_EQ(store.setWriteMode(mode), kOk);
    files_.full = 60 * 1024 + 500;
    files_.shortened = true;
    Sample sample;
    std::uint32_t n = 0;
    int code = kOk;
    while (code == kOk) {
      ++n;
      sample.set(1, n, "name" + std::to_string(n % 37), 100);
      code = store.insert(sample.fields, kSampleType);
      ASSERT_LT(n, 1000u);
    }
    EXPECT_EQ(code, kWriteFailed);
    EXPECT_EQ(store.recordCount(), n - 1);
    EXPECT_EQ(store.insert(sample.fields, kSampleType), kWriteFailed);
    // Removing makes no room in the file, but it goes.
    ASSERT_EQ(store.position(1, kFirst), kOk);
    EXPECT_EQ(store.remove(sample.fields), kOk);
    files_.full = ~0ull;
    sample.set(1, n, "again");
    EXPECT_EQ(store.insert(sample.fields, kSampleType), kOk);
    ASSERT_EQ(store.close(), kOk);
    EXPECT_EQ(findings(file.path()), "");
  }
}

TEST_F(CacheTest, PagesThatACrashKeptOutOfTheHeaderAreNotOverwritten) {
  {
    PageCache cache;
    Store store(cache, files_);
    make(store, file_.path(), 0, 400);
    files_.writesUntilFault = 0;
    files_.lasting = true;
  }
  files_.writesUntilFault = -1;
  const auto before = file_.bytes();
  PageCache cache;
  Store store(cache);
  ASSERT_EQ(store.open(file_.path(), kIndexes), kOk);
  Sample sample;
  sample.set(1, 1, "new");
  EXPECT_EQ(store.insert(sample.fields, kSampleType), kCorrupt);
  store.close();
  const auto after = file_.bytes();
  ASSERT_EQ(after.size(), before.size());
  EXPECT_TRUE(std::equal(before.begin() + 1024, before.end(), after.begin() + 1024));
}

// One transfer fails, at every place of a small load in turn: the operation is refused, all others
// hold.
TEST_F(CacheTest, AnyOneFailedTransferIsSurvived) {
  for (const unsigned buffers : {10u, 2u, 0u}) {
    for (const int mode : {0, 2, 3, 4}) {
      for (int fault = 0; fault < 4000; fault += fault < 60 ? 3 : 97) {
        const TempFile file;
        PageCache cache(buffers);
        Store store(cache, files_);
        ASSERT_EQ(store.create(file.path(), kIndexes), kOk);
        ASSERT_EQ(store.setWriteMode(mode), kOk);
        files_.writesUntilFault = fault;
        Sample sample;
        std::uint32_t stored = 0;
        int failures = 0;
        for (std::uint32_t n = 1; n <= 150; ++n) {
          sample.set(1, n * 7919 % 10007, "n" + std::to_string(n * 31 % 97), 120);
          const int code = store.insert(sample.fields, kSampleType);
          if (code == kOk) ++stored;
          failures += code == kOk ? 0 : 1;
        }
        const bool happened = files_.writesUntilFault < 0;
        files_.writesUntilFault = -1;
        EXPECT_LE(failures, 1) << mode << " " << fault;
        EXPECT_EQ(store.recordCount(), stored) << mode << " " << fault;
        EXPECT_EQ(store.close(), kOk);
        VerifyReport report;
        ASSERT_EQ(findings(file.path(), &report), "") << buffers << " " << mode << " " << fault;
        EXPECT_EQ(report.records, stored);
        if (!happened) break;
      }
    }
  }
}

// All writes from some moment on are lost, as when the machine stops.
TEST_F(CacheTest, CrashLeavesWhatTheWriteModePromises) {
  for (const int mode : {3, 4}) {
    for (int crash = 0; crash < 3000; crash += crash < 40 ? 1 : 61) {
      const TempFile file;
      std::uint32_t stored = 0;
      bool happened = false;
      {
        PageCache cache;
        Store store(cache, files_);
        ASSERT_EQ(store.create(file.path(), kIndexes), kOk);
        ASSERT_EQ(store.setWriteMode(mode), kOk);
        files_.writesUntilFault = crash;
        files_.lasting = true;
        Sample sample;
        for (std::uint32_t n = 1; n <= 150; ++n) {
          sample.set(1, n, "n" + std::to_string(n * 31 % 97), 120);
          if (store.insert(sample.fields, kSampleType) != kOk) break;
          ++stored;
        }
        happened = files_.writesUntilFault == 0;
      }
      files_.writesUntilFault = -1;
      files_.lasting = false;
      PageCache cache;
      Store store(cache, files_);
      ASSERT_EQ(store.open(file.path(), kIndexes), kOk);
      ASSERT_EQ(store.setWriteMode(mode), kOk);
      // Written through at once, every record that was reported stored is found by its number.
      Sample sample;
      const bool marked = loadU16(bytesOf(store).data() + kModifiedMarker) == kMarkerValue;
      for (std::uint32_t n = 1; n <= stored && !(mode == 4 && marked); ++n) {
        ASSERT_EQ(store.find(3, &n, 4, kEqual), kOk) << mode << " " << crash << " " << n;
        ASSERT_EQ(store.read(sample.fields), kOk) << mode << " " << crash << " " << n;
        ASSERT_TRUE(sample.intact());
      }
      sample.set(1, 1000, "more");
      const int code = store.insert(sample.fields, kSampleType);
      EXPECT_TRUE(mode != 4 || code == (marked ? kInterrupted : kOk)) << code;
      EXPECT_EQ(store.close(), kOk);
      EXPECT_TRUE(mode != 4 || marked || findings(file.path()).empty()) << crash;
      if (!happened) break;
    }
  }
}

// The native files gather transfers in mode 0, those of the tests do not: the bytes are the same.
TEST_F(CacheTest, GatheredTransfersLeaveTheSameBytes) {
  const TempFile other("_gathered");
  Sample sample;
  for (const bool gathered : {false, true}) {
    const char* const path = gathered ? other.path() : file_.path();
    PageCache cache;
    Store store(cache, gathered ? platform::nativeFileSystem() : files_);
    make(store, path, 0, 3000);
    for (std::uint32_t n = 1; n < 3000; n += 3) {
      const std::uint32_t key = n * 7919 % 10007;
      if (store.find(3, &key, 4, kEqual) != kOk) continue;
      ASSERT_EQ(store.read(sample.fields), kOk);
      EXPECT_EQ(sample.number, key);
      if (n % 2 == 0) {
        ASSERT_EQ(store.remove(sample.fields), kOk);
        continue;
      }
      sample.set(1, sample.number, "again", static_cast<int>(n % 700));
      ASSERT_EQ(store.replace(sample.fields), kOk);
    }
    // Another mode finds everything in the file.
    ASSERT_EQ(store.setWriteMode(3), kOk);
    fill(store, 3001, 3300);
    ASSERT_EQ(store.close(), kOk);
  }
  EXPECT_EQ(file_.bytes(), other.bytes());
  EXPECT_EQ(findings(other.path()), "");
}

}  // namespace
}  // namespace tavo::engine::test
