// Records: field checks, packing, unique keys and rollback, replace, remove and the reuse of
// numbers.
#include "engine_fixture.h"
#include "store/engine/record.h"

namespace tavo::engine::test {
namespace {

class RecordsTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(store_.create(file_.path(), kIndexes), kOk); }
  int insert(int kind, std::uint32_t number, const std::string& name, int blob = 0) {
    sample_.set(kind, number, name, blob);
    return store_.insert(sample_.fields, kSampleType);
  }
  int findNumber(std::uint32_t number) { return store_.find(3, &number, 4, kEqual); }
  void expectSound(std::uint32_t records) {
    VerifyReport report;
    EXPECT_EQ(store_.close(), kOk);
    EXPECT_EQ(findings(file_.path(), &report), "");
    EXPECT_EQ(report.records, records);
    ASSERT_EQ(store_.open(file_.path(), kIndexes), kOk);
  }

  TempFile file_;
  PageCache cache_;
  Store store_{cache_};
  Sample sample_;
};

TEST_F(RecordsTest, FieldListsAreChecked) {
  char text[4] = "abc";
  const Field good = {'S', 0, 'D', 4, 4, text};
  ASSERT_EQ(findings("no such file"), "code -1");
  const struct {
    void (*spoil)(Field&);
    int full, light;
  } cases[] = {{[](Field&) {}, kOk, kOk},
               {[](Field& f) { f.type = 'Z'; }, kBadFieldType, kBadFieldType},
               {[](Field& f) { f.keyRole = 5; }, kBadKeyRole, kBadKeyRole},
               {[](Field& f) { f.keyRole = 'S'; }, kOk, kOk},
               {[](Field& f) { f.keyRole = 'S', f.index = 3; }, kBadKeyRole, kBadKeyRole},
               {[](Field& f) { f.keyRole = 'E', f.index = 3; }, kOk, kOk},
               {[](Field& f) { f.duplicates = 'X'; }, kBadDuplicates, kBadDuplicates},
               {[](Field& f) { f.length = -1; }, kBadFieldLength, kOk},
               {[](Field& f) { f.length = 31233; }, kBadFieldLength, kOk},
               {[](Field& f) { f.index = 16; }, kBadIndexNumber, kBadIndexNumber},
               {[](Field& f) { f.length = 3; }, kTooLong, kOk},
               {[](Field& f) { f.length = 0; }, kTooLong, kOk}};
  for (std::size_t i = 0; i < std::size(cases); ++i) {
    Field fields[] = {good, {'E', 0, 'N', 0, 0, nullptr}};
    cases[i].spoil(fields[0]);
    // The same list all the time, in other words each time.
    const RecordPlan* const plan = store_.block().planOf(fields);
    EXPECT_EQ(plan->check(true), cases[i].full) << i;
    EXPECT_EQ(plan->check(false), cases[i].light) << i;
  }
}

TEST_F(RecordsTest, EveryLetterComesBack) {
  struct Values {
    char s[6] = "text", c[4] = {'c', ' ', 'x', ' '}, n[3] = {' ', '7', ' '};
    std::uint8_t b[2 + 3] = {2, 0, 9, 8}, m[2 + 3] = {}, h = 0x81;
    std::int16_t i = -5;
    std::uint16_t u = 0xFFFE;
    std::uint32_t l = 0x89ABCDEF;
    float f = -1.5f;
    double d = -0.0;
    std::uint8_t p[6] = {1, 2, 3, 4, 5, 6}, x[8] = {8, 7, 6, 5, 4, 3, 2, 1};
  };
  static const auto list = [](Values& v) {
    return std::vector<Field>{
        {'S', 'N', 'N', 6, 0, v.s},  {'C', 'N', 'N', 4, 0, v.c},    {'N', 'N', 'N', 3, 0, v.n},
        {'B', 'N', 'N', 3, 0, v.b},  {'M', 'N', 'N', 3, 0, v.m},    {'H', 'N', 'N', 1, 0, &v.h},
        {'I', 'N', 'N', 2, 0, &v.i}, {'U', 'N', 'N', 2, 0, &v.u},   {'L', 'N', 'N', 4, 0, &v.l},
        {'F', 'N', 'N', 4, 0, &v.f}, {'D', 'N', 'N', 8, 0, &v.d},   {'P', 'N', 'N', 6, 0, v.p},
        {'X', 'N', 'N', 8, 0, v.x},  {'E', 'N', 'N', 0, 0, nullptr}};
  };
  Values full;
  Values empty;
  std::memset(empty.s, 0, 6), std::memset(empty.c, ' ', 4), std::memset(empty.n, ' ', 3);
  std::memset(empty.b, 0, 5), empty.h = 0, empty.d = 0;
  for (Values* const v : {&full, &empty}) {
    ASSERT_EQ(store_.insert(list(*v).data(), 9), kOk);
    Values read;
    std::memset(static_cast<void*>(&read), 0x55, sizeof read);
    std::uint8_t type = 0;
    EXPECT_EQ(store_.typeByte(&type), kOk);
    EXPECT_EQ(type, 9);
    ASSERT_EQ(store_.read(list(read).data()), kOk);
    EXPECT_STREQ(read.s, v->s);
    EXPECT_EQ(std::memcmp(read.c, v->c, 4), 0);
    EXPECT_EQ(std::memcmp(read.n, v->n, 3), 0);
    EXPECT_EQ(std::memcmp(read.b, v->b, 2 + loadU16(v->b)), 0);
    EXPECT_EQ(loadU16(read.m), 0);
    EXPECT_EQ(read.h, v->h);
    EXPECT_EQ(read.i, v->i);
    EXPECT_EQ(read.u, v->u);
    EXPECT_EQ(read.l, v->l);
    EXPECT_EQ(read.f, v->f);
    EXPECT_EQ(std::memcmp(&read.d, &v->d, 8), 0);
    EXPECT_EQ(std::memcmp(read.p, v->p, 6), 0);
    EXPECT_EQ(std::memcmp(read.x, v->x, 8), 0);
  }
  // Nothing but numbers and the empty M is left of the empty record: B, C, N, S and D take no room.
  std::uint8_t packed[200];
  std::uint32_t size = 0;
  ASSERT_EQ(packRecord(*store_.block().planOf(list(empty).data()), 9, packed, sizeof packed, size),
            kOk);
  EXPECT_EQ(size, 5u + 4 + 3 + 4 + 4 + 6 + 6 + 8 + 10 + 2);
}

TEST_F(RecordsTest, RefusedInsertLeavesNoTrace) {
  ASSERT_EQ(insert(1, 100, "first"), kOk);
  ASSERT_EQ(insert(1, 100, "second"), kNotFound);
  EXPECT_EQ(store_.recordCount(), 1u);
  EXPECT_EQ(store_.currentRecord(), 1);
  EXPECT_EQ(store_.find(4, "second", 7, kEqual), kNotFound);
  expectSound(1);
  // Its number waits for reuse.
  ASSERT_EQ(insert(1, 101, "third"), kOk);
  EXPECT_EQ(store_.currentRecord(), 2);
  // A record that does not fit the work buffer gets no number.
  ASSERT_EQ(insert(1, 102, "huge", 1024), kBufferTooSmall);
  ASSERT_EQ(insert(1, 102, "next", 900), kOk);
  EXPECT_EQ(store_.currentRecord(), 3);
  expectSound(3);
}

TEST_F(RecordsTest, RemovedNumbersAreReusedLowestFirst) {
  for (std::uint32_t n = 1; n <= 6; ++n) ASSERT_EQ(insert(1, n, "n"), kOk);
  for (const std::uint32_t n : {5u, 2u}) {
    ASSERT_EQ(findNumber(n), kOk);
    ASSERT_EQ(store_.remove(sample_.fields), kOk);
    EXPECT_EQ(sample_.number, n);
    EXPECT_EQ(store_.currentRecord(), 0);
    EXPECT_EQ(store_.remove(sample_.fields), kNoCurrentRecord);
  }
  expectSound(4);
  for (const int expected : {2, 5, 7}) {
    ASSERT_EQ(insert(1, static_cast<std::uint32_t>(100 + expected), "again"), kOk);
    EXPECT_EQ(store_.currentRecord(), expected);
  }
  expectSound(7);
  // A number that was made the current one by hand has no record.
  ASSERT_EQ(store_.setCurrentRecord(55), kOk);
  EXPECT_EQ(store_.read(sample_.fields), kRecordMissing);
  EXPECT_EQ(store_.replace(sample_.fields), kRecordMissing);
  EXPECT_EQ(store_.remove(sample_.fields), kRecordMissing);
}

TEST_F(RecordsTest, ReplaceMovesKeysAndPieces) {
  for (std::uint32_t n = 1; n <= 30; ++n) ASSERT_EQ(insert(1, n, "n" + std::to_string(n), 50), kOk);
  EXPECT_EQ(findNumber(7), kOk);
  // Growing, shrinking and staying within the same pieces; name and number change.
  for (const int blob : {50, 900, 300, 301, 0}) {
    sample_.set(2, 1000 + static_cast<std::uint32_t>(blob), "new" + std::to_string(blob), blob);
    ASSERT_EQ(store_.replace(sample_.fields), kOk);
    EXPECT_EQ(store_.currentRecord(), 7);
    Sample read;
    ASSERT_EQ(store_.read(read.fields), kOk);
    EXPECT_EQ(read.blobSize(), blob);
    EXPECT_TRUE(read.intact());
    expectSound(30);
    EXPECT_EQ(findNumber(7), kNotFound);
    EXPECT_EQ(store_.find(4, "n7", 3, kEqual), kNotFound);
    ASSERT_EQ(findNumber(1000 + static_cast<std::uint32_t>(blob)), kOk);
  }
  // Another record's unique number, or a record that does not fit: all stays as it was.
  sample_.set(3, 8, "taken", 100);
  EXPECT_EQ(store_.replace(sample_.fields), kNotFound);
  sample_.set(3, 2000, "huge", 1100);
  EXPECT_EQ(store_.replace(sample_.fields), kBufferTooSmall);
  EXPECT_EQ(store_.currentRecord(), 7);
  ASSERT_EQ(store_.read(sample_.fields), kOk);
  EXPECT_EQ(sample_.number, 1000u);
  expectSound(30);
}

// A record whose page cannot be read as one is not there; nothing is changed around it.
TEST_F(RecordsTest, RecordInAnUnreadablePageIsMissing) {
  for (std::uint32_t n = 1; n <= 40; ++n) ASSERT_EQ(insert(1, n, "n", 200), kOk);
  ASSERT_EQ(store_.close(), kOk);
  const auto good = file_.bytes();
  for (std::uint32_t at = kPageSize; at < good.size(); at += kPageSize) {
    // The root, and every leaf that begins with pieces of records.
    const std::uint8_t* const p = good.data() + at;
    const bool pieces = page::level(p) == 0 && page::count(p) != 0 && p[kPageHead + 1] == kRecords;
    if (at != kPageSize && !pieces) continue;
    auto bad = good;
    page::setCount(bad.data() + at, kMaxEntries + 1);
    file_.write(bad);
    ASSERT_EQ(store_.open(file_.path(), kIndexes), kOk);
    store_.setCurrentRecord(pieces ? entry::record(p + kPageHead) : 1);
    if (pieces && entry::piece(p + kPageHead) != 0) store_.setCurrentRecord(0);
    if (store_.currentRecord() != 0) {
      std::uint8_t type = 0;
      EXPECT_EQ(store_.typeByte(&type), kRecordMissing);
      EXPECT_EQ(store_.read(sample_.fields), kRecordMissing);
      EXPECT_EQ(store_.replace(sample_.fields), kRecordMissing);
      EXPECT_EQ(store_.remove(sample_.fields), kRecordMissing);
      EXPECT_EQ(store_.recordCount(), 40u);
    }
    ASSERT_EQ(store_.close(), kOk);
  }
}

// Keys that are equal but not the same: the index follows the record.
TEST(Keys, ZeroBecomesNegativeZero) {
  for (const char duplicates : {'U', 'D'}) {
    const TempFile file(std::string(1, duplicates));
    PageCache cache;
    Store store(cache);
    const IndexDef defs[] = {{5, 7, nullptr}, {0, 0, nullptr}};
    ASSERT_EQ(store.create(file.path(), defs), kOk);
    double value = 0.0;
    const Field fields[] = {{'D', 7, duplicates, 8, 5, &value}, {'E', 0, 'N', 0, 0, nullptr}};
    ASSERT_EQ(store.insert(fields, 1), kOk);
    for (const double next : {-0.0, 0.0, 1.0, -0.0}) {
      value = next;
      ASSERT_EQ(store.replace(fields), kOk) << next;
      ASSERT_EQ(store.find(5, &value, 8, kEqual), kOk);
      EXPECT_EQ(std::memcmp(store.block().cursors[5].key, &value, 8), 0);
    }
    EXPECT_EQ(store.remove(fields), kOk);
    EXPECT_EQ(store.position(5, kFirst), kNotFound);
  }
}

// Fields that hold nothing are left out of the packed record, and their keys are the same all the
// same.
TEST(Keys, SegmentsOverEmptyFields) {
  const TempFile file;
  PageCache cache;
  Store store(cache);
  const KeySegment segments[] = {{0, 1, 0},  {2, 2, 0}, {7, 2, 0},
                                 {16, 3, 0}, {1, 4, 0}, {31, 0, 0}};
  const IndexDef defs[] = {{2, 8, segments}, {0, 0, nullptr}};
  ASSERT_EQ(store.create(file.path(), defs), kOk);
  std::uint16_t number = 1;
  char code[10];
  double real = 0;
  std::uint8_t blob[2 + 4] = {};
  char text[5] = "";
  const Field fields[] = {{'U', 8, 'U', 2, 2, &number}, {'C', 'N', 'N', 10, 0, code},
                          {'D', 'N', 'N', 8, 0, &real}, {'B', 'N', 'N', 4, 0, blob},
                          {'S', 'N', 'N', 5, 0, text},  {'E', 0, 'N', 0, 0, nullptr}};
  for (int round = 0; round < 3; ++round) {
    std::memset(code, ' ', sizeof code);
    real = 0;
    ASSERT_EQ(store.insert(fields, 1), kOk) << round;
    EXPECT_EQ(store.insert(fields, 1), kNotFound);
    ASSERT_EQ(store.find(2, fields, kEqual), kOk);
    if (round == 1) {
      code[0] = 'x';
      real = 2;
      ASSERT_EQ(store.replace(fields), kOk);
      EXPECT_EQ(store.find(2, fields, kEqual), kOk);
    }
    ASSERT_EQ(store.remove(fields), kOk);
    EXPECT_EQ(store.position(2, kFirst), kNotFound);
  }
}

TEST_F(RecordsTest, ReadOnlyFilesAreNotChanged) {
  ASSERT_EQ(insert(1, 1, "a"), kOk);
  ASSERT_EQ(store_.close(), kOk);
  const auto before = file_.bytes();
  Options options;
  options.access = 1;
  ASSERT_EQ(store_.open(file_.path(), kIndexes, options), kOk);
  EXPECT_EQ(insert(1, 2, "b"), kReadOnly);
  ASSERT_EQ(findNumber(1), kOk);
  EXPECT_EQ(store_.replace(sample_.fields), kReadOnly);
  EXPECT_EQ(store_.remove(sample_.fields), kReadOnly);
  EXPECT_EQ(store_.read(sample_.fields), kOk);
  ASSERT_EQ(store_.close(), kOk);
  EXPECT_EQ(file_.bytes(), before);
}

TEST_F(RecordsTest, LargeRecordsUpTo128Pieces) {
  static std::uint8_t blob[2 + 31232];
  const Field fields[] = {{'B', 'N', 'N', 31232, 0, blob}, {'E', 'N', 'N', 0, 0, nullptr}};
  ASSERT_EQ(store_.close(), kOk);
  Options options;
  options.workBufferSize = 40000;
  ASSERT_EQ(store_.open(file_.path(), kIndexes, options), kOk);
  for (const int size : {31232 - 11, 31232 - 10}) {
    storeU16(blob, static_cast<std::uint16_t>(size));
    for (int i = 0; i < size; ++i) blob[2 + i] = static_cast<std::uint8_t>(i * i);
    const bool fits = size + 11 <= 128 * 244;
    EXPECT_EQ(store_.insert(fields, 1), fits ? kOk : kBadArgument);
  }
  ASSERT_EQ(store_.position(kRecords, kFirst), kOk);
  ASSERT_EQ(store_.read(fields), kOk);
  EXPECT_EQ(loadU16(blob), 31232 - 11);
  EXPECT_EQ(blob[2 + 5000], static_cast<std::uint8_t>(5000 * 5000));
  EXPECT_EQ(store_.close(), kOk);
  EXPECT_EQ(findings(file_.path()).find("lacks piece"), std::string::npos);
}

}  // namespace
}  // namespace tavo::engine::test
