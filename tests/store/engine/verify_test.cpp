// What the verifier finds: each kind of damage by its finding, and files whose writer was killed.
#include <algorithm>
#include <functional>

#include "store/engine/engine_fixture.h"

namespace tavo::engine::test {
namespace {

using Bytes = std::vector<std::uint8_t>;

// Inserts samples from one number to another; the result of the first refused one.
int load(Store& store, std::uint32_t from, std::uint32_t to) {
  Sample sample;
  int code = kOk;
  for (std::uint32_t i = from; i < to && code == kOk; ++i) {
    sample.set(static_cast<int>(i % 5), i * 7919 % 10007, std::string(20 + i % 50, 'n'),
               static_cast<int>(i % 90));
    code = store.insert(sample.fields, kSampleType);
  }
  return code;
}

class VerifyTest : public ::testing::Test {
 protected:
  void make(std::uint32_t records) {
    PageCache cache;
    Store store(cache);
    ASSERT_EQ(store.create(file_.path(), kIndexes), kOk);
    store.setWriteMode(0);
    ASSERT_EQ(load(store, 0, records), kOk);
    ASSERT_EQ(store.close(), kOk);
  }

  TempFile file_;
};

// Offset of a page's image in the file.
std::size_t at(std::int32_t page) { return static_cast<std::size_t>(pagePosition(page)); }

TEST_F(VerifyTest, EachDamageIsFound) {
  make(90);
  const Bytes sound = file_.bytes();
  ASSERT_EQ(findings(file_.path()), "");
  FileHeader header;
  ASSERT_TRUE(decodeHeader(sound.data(), header));
  ASSERT_EQ(sound.size(), at(static_cast<std::int32_t>(header.pagesInFile)));
  const auto reserve = static_cast<std::int32_t>(header.pagesInUse);
  ASSERT_LT(header.pagesInUse, header.pagesInFile);
  ASSERT_EQ(page::level(&sound[at(0)]), 1);
  // The leaves from left to right.
  std::vector<std::int32_t> leaves = {static_cast<std::int32_t>(page::firstChild(&sound[at(0)]))};
  for (; page::next(&sound[at(leaves.back())]) != kNoPage;)
    leaves.push_back(page::next(&sound[at(leaves.back())]));
  const std::size_t first = at(leaves[0]);
  const std::size_t second = at(leaves[1]);
  const std::size_t last = at(leaves.back());

  const struct {
    const char* finding;
    std::function<void(Bytes&)> damage;
  } rows[] = {
      {"next page is 0, not ", [=](Bytes& b) { storeU32(&b[second + 4], 0); }},
      {"next page is -1, not ", [=](Bytes& b) { storeU32(&b[second + 4], 0xFFFFFFFF); }},
      {"at the end of the level", [=](Bytes& b) { storeU32(&b[last + 4], 1); }},
      {"previous page is 0, not ", [=](Bytes& b) { storeU32(&b[second + 8], 0); }},
      {"previous page is 5, not -1", [=](Bytes& b) { storeU32(&b[first + 8], 5); }},
      {"free bytes are ", [=](Bytes& b) { ++b[second + 16]; }},
      {"level 1 where 0 belongs", [=](Bytes& b) { b[second + 12] = 1; }},
      {"entries do not fit the page", [=](Bytes& b) { b[second + 14] = 144; }},
      {"link to a page that is not in use", [=](Bytes& b) { storeU32(&b[at(0)], 5000); }},
      {"page is reached more than once", [=](Bytes& b) { storeU32(&b[at(0)], 0); }},
      {"in use but not reached", [=](Bytes& b) { storeU32(&b[at(0)], 5000); }},
      {"entry 1 is not behind the one before",
       [=](Bytes& b) { b[second + kPageHead + b[second + kPageHead] + 2] = 1; }},
      {"before the page's separator", [=](Bytes& b) { b[last + kPageHead + 1] = 1; }},
      {"lacks its key in index 1", [=](Bytes& b) { b[first + kPageHead + kEntryHead] = 0xFF; }},
      {"has a key that is not its own in index 1",
       [=](Bytes& b) { b[first + kPageHead + kEntryHead] = 0xFF; }},
      {"header counts 91 records, there are 90", [](Bytes& b) { storeU32(&b[68], 91); }},
      {"header counts 2 free numbers, there are 0", [](Bytes& b) { storeU32(&b[64], 2); }},
      {"record number 90 was never given out", [](Bytes& b) { storeU32(&b[44], 90); }},
      {"index 3 has key type 6 instead of 5", [](Bytes& b) { b[195] = 6; }},
      {"in the middle of a write", [](Bytes& b) { storeU16(&b[1010], kMarkerValue); }},
      {"while it was being created", [](Bytes& b) { storeU32(&b[1020], kMarkerValue); }},
      {"reserve page is not empty", [=](Bytes& b) { b[at(reserve) + 1000] = 1; }},
      {"page is behind the end of the file", [=](Bytes& b) { b.resize(at(reserve) - 1); }},
      {"bytes, with the pages that the header counts", [](Bytes& b) { b.pop_back(); }},
      {"page stands behind those that the header counts",
       [](Bytes& b) { b.resize(b.size() + 5 * kPageSize), b.back() = 1; }},
      {"stand behind those that the header counts", [](Bytes& b) { b.resize(b.size() + 5000, 1); }},
      {"page stands behind those that the header counts", [](Bytes& b) { b.push_back(1); }},
  };
  for (const auto& row : rows) {
    Bytes damaged = sound;
    row.damage(damaged);
    file_.write(damaged);
    VerifyReport report;
    const std::string found = findings(file_.path(), &report);
    EXPECT_NE(found.find(row.finding), std::string::npos) << row.finding << ":\n" << found;
    EXPECT_EQ(report.fileSize, damaged.size());
    // One fault has few findings: what follows from a lost page is not told again.
    EXPECT_LE(report.findings, 8u) << found;
  }
}

TEST_F(VerifyTest, RoomAllocatedAheadIsNoFinding) {
  make(50);
  Bytes bytes = file_.bytes();
  for (const std::size_t room : {0U, 1U, 1024U, 3000U}) {
    Bytes longer = bytes;
    longer.resize(bytes.size() + room);
    file_.write(longer);
    VerifyReport report;
    EXPECT_EQ(findings(file_.path(), &report), "");
    EXPECT_EQ(report.roomAhead, room);
    EXPECT_TRUE(report.keysCompared);
    PageCache cache;
    Store store(cache);
    ASSERT_EQ(store.open(file_.path(), kIndexes), kOk);
    store.setWriteMode(0);
    EXPECT_EQ(load(store, 100, 300), kOk);
    EXPECT_EQ(store.close(), kOk);
    EXPECT_EQ(findings(file_.path()), "");
  }
}

// Whether anything but zeroes stands behind the pages that the header counts.
bool holdsMoreThanCounted(const Bytes& bytes) {
  FileHeader header;
  if (bytes.size() < kPageSize || !decodeHeader(bytes.data(), header)) return false;
  const std::size_t end = at(static_cast<std::int32_t>(std::max(1u, header.pagesInFile)));
  return std::any_of(bytes.begin() + static_cast<std::ptrdiff_t>(std::min(end, bytes.size())),
                     bytes.end(), [](std::uint8_t byte) { return byte != 0; });
}

// A load of which only the first `writes` writes reach the file; false when it needs no more.
bool killedLoad(const char* path, int mode, int writes) {
  TestFiles files;
  PageCache cache;
  Store store(cache, files);
  files.writesUntilFault = writes;
  files.lasting = true;
  EXPECT_EQ(store.open(path, kIndexes), kOk);
  store.setWriteMode(mode);
  load(store, 20, 140);
  store.close();
  return files.writesUntilFault == 0;
}

// Whatever a killed load left behind, a file without findings is one that takes further records.
TEST_F(VerifyTest, KilledLoadIsFoundOrHarmless) {
  const struct {
    std::uint32_t before;  // records that the file had
    int mode;
    int step;
  } loads[] = {{0, 0, 1}, {20, 0, 1}, {20, 3, 29}};
  for (const auto& [before, mode, step] : loads) {
    std::remove(file_.path());
    make(before);
    const Bytes old = file_.bytes();
    int beyond = 0;
    int sound = 0;
    int writes = 0;
    for (bool killed = true; killed; writes += step) {
      SCOPED_TRACE(std::to_string(before) + " records, mode " + std::to_string(mode) +
                   ", killed at write " + std::to_string(writes));
      file_.write(old);
      killed = killedLoad(file_.path(), mode, writes);
      const std::string found = findings(file_.path());
      if (holdsMoreThanCounted(file_.bytes())) {
        ++beyond;
        ASSERT_NE(found, "");
      }
      if (!found.empty()) continue;
      ++sound;
      PageCache cache;
      Store store(cache);
      ASSERT_EQ(store.open(file_.path(), kIndexes), kOk);
      store.setWriteMode(0);
      ASSERT_EQ(load(store, 1000, 1100), kOk);
      ASSERT_EQ(store.close(), kOk);
      ASSERT_EQ(findings(file_.path()), "");
    }
    EXPECT_GT(writes, 60);
    EXPECT_GT(beyond, mode == 0 ? 20 : -1);
    EXPECT_GT(sound, 3);
  }
}

}  // namespace
}  // namespace tavo::engine::test
