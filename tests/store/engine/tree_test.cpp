// Entries in the tree: splits, pieces, order by key type, searches and moves.
#include <algorithm>
#include <limits>
#include <numeric>
#include <random>

#include "engine_fixture.h"
#include "store/engine/change.h"
#include "store/engine/key.h"
#include "store/engine/tree.h"

namespace tavo::engine::test {
namespace {

class TreeTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(store_.create(file_.path(), kIndexes), kOk); }
  // A leaf entry straight into the tree, under index 19 with data.
  int insertPiece(std::int32_t record, std::uint32_t size) {
    const std::vector<std::uint8_t> data(size, 1);
    Probe probe;
    probe.index = kRecords;
    probe.record = record;
    ControlBlock& block = store_.block();
    const Change change(block);
    int code = reservePages(block, 20);
    if (code == kOk) code = insertEntry(block, probe, true, data.data(), size);
    return code;
  }
  WorkPage& page(std::int32_t number) {
    WorkPage* w = nullptr;
    EXPECT_EQ(store_.block().cache->load(store_.block(), number, w), kOk);
    return *w;
  }
  int bytesUsed(std::int32_t number) { return kPageRoom - page(number).freeBytes(); }

  TempFile file_;
  PageCache cache_;
  Store store_{cache_};
};

TEST_F(TreeTest, AscendingLoadLeavesFullPages) {
  // 100 bytes per entry: ten fill a page, the eleventh is cut off the end.
  for (int i = 1; i <= 21; ++i) ASSERT_EQ(insertPiece(i, 93), kOk);
  // The root stays page 0; its entries moved to page 1 first, which page 2 and 3 continue.
  EXPECT_EQ(page(0).level(), 1);
  EXPECT_EQ(page::firstChild(page(0).bytes), 1u);
  EXPECT_EQ(page(1).count, 10);
  EXPECT_EQ(page(2).count, 10);
  EXPECT_EQ(page(3).count, 1);
  EXPECT_EQ(page(2).next(), 3);
  EXPECT_EQ(page(2).previous(), 1);
  const std::uint8_t* const separator = page(0).at(0);
  EXPECT_EQ(entry::size(separator), 11u);
  EXPECT_EQ(entry::index(separator), kRecords);
  EXPECT_EQ(entry::record(separator), 11);
  EXPECT_EQ(entry::child(separator), 2u);
}

TEST_F(TreeTest, PageWithRightNeighbourIsSplitInHalf) {
  for (int i = 1; i <= 11; ++i) ASSERT_EQ(insertPiece(i * 10, 93), kOk);
  // Entries of 100 bytes stay as long as they make less than 503: five of eleven.
  ASSERT_EQ(insertPiece(15, 93), kOk);
  EXPECT_EQ(page(1).count, 5);
  EXPECT_EQ(page(3).count, 6);
  EXPECT_EQ(page(1).next(), 3);
  EXPECT_EQ(page(3).next(), 2);
  EXPECT_EQ(page(2).previous(), 3);
  EXPECT_EQ(bytesUsed(1), 500);
}

TEST_F(TreeTest, ThresholdIsExclusive) {
  // 1006 bytes exactly fill the page; when it splits, an entry that would make 1006 goes right.
  for (int i = 1; i <= 3; ++i) ASSERT_EQ(insertPiece(i, 244), kOk);
  ASSERT_EQ(insertPiece(4, 1006 - 3 * 251 - 7), kOk);
  EXPECT_EQ(bytesUsed(0), 1006);
  ASSERT_EQ(insertPiece(5, 1), kOk);
  EXPECT_EQ(page(1).count, 3);
  EXPECT_EQ(page(2).count, 2);
}

TEST_F(TreeTest, NothingIsSplitWithoutReserve) {
  ControlBlock& block = store_.block();
  for (int i = 1; i <= 10; ++i) ASSERT_EQ(insertPiece(i, 93), kOk);
  // The reserve is topped up before a split; when that fails, nothing has changed.
  block.header.pagesInUse = block.header.pagesInFile = kMaxPages;
  Probe probe;
  probe.index = kRecords;
  probe.record = 11;
  const std::uint8_t data[93] = {};
  const Change change(block);
  EXPECT_EQ(insertEntry(block, probe, true, data, sizeof data), kNoRoom);
  EXPECT_EQ(page(0).count, 10);
  EXPECT_EQ(page(0).level(), 0);
}

TEST_F(TreeTest, PiecesOf244Bytes) {
  // The sample packs to 34 bytes without name and blob bytes, of which the name's end mark is one.
  const struct {
    int blob;
    std::vector<int> lengths;  // of the pieces' data
  } cases[] = {
      {244 - 34, {244}}, {245 - 34, {244, 1}}, {488 - 34, {244, 244}}, {900, {244, 244, 244, 202}}};
  std::int32_t number = 0;
  for (const auto& c : cases) {
    Sample sample;
    sample.set(1, static_cast<std::uint32_t>(++number), "", c.blob);
    ASSERT_EQ(store_.insert(sample.fields, kSampleType), kOk);
    Probe probe;
    probe.index = kRecords;
    probe.record = number;
    for (std::size_t i = 0; i < c.lengths.size(); ++i) {
      probe.piece = static_cast<int>(i);
      Place at;
      ASSERT_EQ(seek(store_.block(), probe, at), kOk);
      ASSERT_TRUE(at.exact);
      EXPECT_EQ(entry::size(at.entry()) - kEntryHead, static_cast<std::uint32_t>(c.lengths[i]));
      EXPECT_EQ(entry::isLastPiece(at.entry()), i + 1 == c.lengths.size());
    }
    Sample read;
    ASSERT_EQ(store_.read(read.fields), kOk);
    EXPECT_EQ(read.blobSize(), c.blob);
    EXPECT_TRUE(read.intact());
  }
}

TEST_F(TreeTest, RandomLoadIsOrderedAndSound) {
  std::vector<std::uint32_t> numbers(5000);
  std::iota(numbers.begin(), numbers.end(), 1u);
  std::shuffle(numbers.begin(), numbers.end(), std::mt19937(1));
  ASSERT_EQ(store_.setWriteMode(0), kOk);
  Sample sample;
  for (const std::uint32_t n : numbers) {
    sample.set(static_cast<int>(n % 3), n, "name " + std::to_string(n % 100),
               static_cast<int>(n % 300));
    ASSERT_EQ(store_.insert(sample.fields, kSampleType), kOk);
  }
  std::uint32_t expected = 0;
  int code = store_.position(3, kFirst);
  for (; code == kOk; code = store_.position(3, kNext)) {
    ASSERT_EQ(store_.read(sample.fields), kOk);
    ASSERT_EQ(sample.number, ++expected);
    ASSERT_TRUE(sample.intact());
  }
  EXPECT_EQ(code, kNotFound);
  EXPECT_EQ(expected, 5000u);
  // Backward along the names: equal names in the order of record numbers.
  std::string before = "~";
  std::int32_t recordBefore = 0;
  for (code = store_.position(4, kLast); code == kOk; code = store_.position(4, kPrevious)) {
    ASSERT_EQ(store_.read(sample.fields), kOk);
    ASSERT_TRUE(sample.name < before ||
                (sample.name == before && store_.currentRecord() < recordBefore));
    before = sample.name;
    recordBefore = store_.currentRecord();
    --expected;
  }
  EXPECT_EQ(expected, 0u);
  ASSERT_EQ(store_.close(), kOk);
  VerifyReport report;
  EXPECT_EQ(findings(file_.path(), &report), "");
  EXPECT_EQ(report.records, 5000u);
  EXPECT_EQ(report.height, 3u);
}

TEST_F(TreeTest, SearchModes) {
  Sample sample;
  for (const std::uint32_t n : {10u, 20u, 20u, 30u}) {
    sample.set(static_cast<int>(n), store_.recordCount(), "x");
    ASSERT_EQ(store_.insert(sample.fields, kSampleType), kOk);
  }
  const struct {
    int key, mode, code, record;
  } cases[] = {{20, kEqual, 0, 2},          {15, kEqual, -1, 0},
               {20, kGreater, 0, 4},        {15, kGreater, 0, 2},
               {30, kGreater, -1, 0},       {20, kGreaterOrEqual, 0, 2},
               {21, kGreaterOrEqual, 2, 4}, {31, kGreaterOrEqual, -1, 0},
               {20, kLess, 0, 1},           {10, kLess, -1, 0},
               {99, kLess, 0, 4},           {20, kLessOrEqual, 0, 2},
               {29, kLessOrEqual, 3, 3},    {9, kLessOrEqual, -1, 0},
               {99, kLessOrEqual, 3, 4},    {20, 0, kBadArgument, 0},
               {20, 6, kBadArgument, 0}};
  for (const auto& c : cases) {
    const auto key = static_cast<std::uint16_t>(c.key);
    EXPECT_EQ(store_.find(1, &key, 2, c.mode), c.code) << c.key << " mode " << c.mode;
    EXPECT_EQ(store_.currentRecord(), c.record) << c.key << " mode " << c.mode;
    EXPECT_EQ(store_.read(sample.fields), c.record == 0 ? kNoCurrentRecord : kOk);
  }
  const std::uint16_t key = 20;
  EXPECT_EQ(store_.find(0, &key, 2, kEqual), kBadKeyRole);
  EXPECT_EQ(store_.find(21, &key, 2, kEqual), kBadKeyRole);
  EXPECT_EQ(store_.position(0, kFirst), kBadArgument);
  EXPECT_EQ(store_.position(1, 5), kBadArgument);
  EXPECT_EQ(store_.find(4, std::string(300, 'x').c_str(), 300, kEqual), kTooLong);
  // Walking the records of one key.
  ASSERT_EQ(store_.find(1, &key, 2, kEqual), kOk);
  EXPECT_TRUE(store_.atSoughtKey(1));
  ASSERT_EQ(store_.position(1, kNext), kOk);
  EXPECT_TRUE(store_.atSoughtKey(1));
  ASSERT_EQ(store_.position(1, kNext), kOk);
  EXPECT_FALSE(store_.atSoughtKey(1));
  sample.set(20, 0, "");
  EXPECT_EQ(store_.find(1, sample.fields, kEqual), kOk);
  EXPECT_EQ(store_.find(2, sample.fields, kEqual), kBadKeyRole);
}

TEST_F(TreeTest, MovesOverTheEndsAndChanges) {
  Sample sample;
  EXPECT_EQ(store_.position(1, kNext), kNotFound);
  EXPECT_EQ(store_.position(1, kLast), kNotFound);
  for (std::uint32_t n = 1; n <= 5; ++n) {
    sample.set(1, n, "n");
    ASSERT_EQ(store_.insert(sample.fields, kSampleType), kOk);
  }
  const auto move = [this](int how) {
    const int code = store_.position(1, how);
    return code == kOk ? store_.currentRecord() : code;
  };
  EXPECT_EQ(move(kPrevious), 4);  // a new record is where its indexes stand
  EXPECT_EQ(move(kFirst), 1);
  EXPECT_EQ(move(kPrevious), kNotFound);
  EXPECT_EQ(move(kPrevious), kNotFound);
  EXPECT_EQ(move(kNext), 1);
  EXPECT_EQ(move(kLast), 5);
  EXPECT_EQ(move(kNext), kNotFound);
  EXPECT_EQ(store_.currentRecord(), 0);
  EXPECT_EQ(move(kPrevious), 5);
  EXPECT_EQ(move(kPrevious), 4);
  ASSERT_EQ(store_.remove(sample.fields), kOk);
  EXPECT_EQ(sample.number, 4u);
  EXPECT_EQ(move(kNext), 5);
  EXPECT_EQ(move(kPrevious), 3);
  ASSERT_EQ(store_.remove(sample.fields), kOk);
  EXPECT_EQ(move(kPrevious), 2);
  EXPECT_EQ(move(kNext), 5);
}

// Keys of each type in ascending order, with both orders of the file.
TEST(Keys, OrderByKeyType) {
  struct Case {
    int keyType;
    char letter;
    std::vector<std::vector<std::uint8_t>> values;
  };
  const auto number = [](auto v) {
    std::vector<std::uint8_t> bytes(sizeof v);
    std::memcpy(bytes.data(), &v, sizeof v);
    return bytes;
  };
  const auto u16 = [&](int v) { return number(static_cast<std::uint16_t>(v)); };
  const auto u32 = [&](long long v) { return number(static_cast<std::uint32_t>(v)); };
  const auto u8 = [&](int v) { return number(static_cast<std::uint8_t>(v)); };
  const auto text = [](const char* s) {
    return std::vector<std::uint8_t>(s, s + std::strlen(s) + 1);
  };
  const auto blob = [](std::vector<std::uint8_t> v) {
    v.insert(v.begin(), {static_cast<std::uint8_t>(v.size()), 0});
    return v;
  };
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const Case cases[] = {
      {10, 'U', {u16(0), u16(1), u16(255), u16(256), u16(65535)}},
      {4, 'I', {u16(-32768), u16(-1), u16(0), u16(300), u16(32767)}},
      {5, 'L', {u32(0), u32(255), u32(256), u32(0x7FFFFFFF), u32(0xFFFFFFFF)}},
      {3, 'L', {u32(-2147483648LL), u32(-1), u32(0), u32(256), u32(0x7FFFFFFF)}},
      {6, 'L', {u32(-256), u32(-1), u32(5)}},
      {23, 'L', {u32(-256), u32(-1), u32(5)}},
      {7,
       'D',
       {number(-1e300), number(-1.5), number(0.0), number(1e-300), number(2.0), number(nan)}},
      {9, 'P', {{9, 9, 9, 9, 9, 0}, {0, 0, 0, 0, 0, 1}, {1, 0, 0, 0, 0, 1}, {0, 0, 0, 0, 0, 200}}},
      {0, 'S', {text(""), text("A"), text("AB"), text("B"), text("\xC4")}},
      {1, 'S', {text("a"), text("aa"), text("b")}},
      {2, 'B', {blob({}), blob({0}), blob({0, 0}), blob({0, 1}), blob({1})}},
      {16, 'B', {blob({1, 2}), blob({1, 2, 0}), blob({200})}},
      {21, 'H', {u8(0), u8(127), u8(128), u8(255)}},
      {22, 'H', {u8(128), u8(255), u8(0), u8(127)}}};
  PageCache cache;
  for (const int orderMode : {1, 2}) {
    for (const Case& c : cases) {
      const TempFile file;
      Store store(cache);
      Options options;
      options.orderMode = orderMode;
      const IndexDef defs[] = {{1, static_cast<std::uint8_t>(c.keyType), nullptr}, {0, 0, nullptr}};
      ASSERT_EQ(store.create(file.path(), defs, options), kOk);
      ASSERT_EQ(store.setWriteMode(0), kOk);
      std::uint8_t value[32] = {};
      const Field fields[] = {{c.letter, static_cast<std::uint8_t>(c.keyType), 'D', 30, 1, value},
                              {'E', 0, 'N', 0, 0, nullptr}};
      // Last to first, so that the order is none of the record numbers'.
      for (auto v = c.values.rbegin(); v != c.values.rend(); ++v) {
        std::memcpy(value, v->data(), v->size());
        ASSERT_EQ(store.insert(fields, 1), kOk);
      }
      int code = store.position(1, kFirst);
      for (const auto& v : c.values) {
        ASSERT_EQ(code, kOk) << c.keyType;
        ASSERT_EQ(store.read(fields), kOk);
        EXPECT_EQ(std::memcmp(value, v.data(), v.size()), 0) << c.keyType << " mode " << orderMode;
        const std::size_t skip = c.letter == 'B' ? 2 : 0;
        ASSERT_EQ(
            store.find(1, v.data() + skip, static_cast<std::uint32_t>(v.size() - skip), kEqual),
            kOk)
            << c.keyType << " mode " << orderMode;
        code = store.position(1, kNext);
      }
      EXPECT_EQ(code, kNotFound);
    }
  }
}

TEST(Keys, SegmentsAreCutFilledAndBounded) {
  const TempFile file;
  PageCache cache;
  Store store(cache);
  KeySegment segments[] = {{0, 1, 3}, {10, 0, 0}, {2, 2, 2}, {31, 0, 0}};
  const IndexDef defs[] = {{2, 8, segments}, {0, 0, nullptr}};
  ASSERT_EQ(store.create(file.path(), defs), kOk);
  std::uint16_t number = 0x0102;
  char name[300] = "Name";
  std::uint8_t blob[2 + 4] = {3, 0, 7, 8, 9};
  const Field fields[] = {{'U', 8, 'D', 2, 2, &number},
                          {'S', 'N', 'N', 300, 0, name},
                          {'B', 'N', 'N', 4, 0, blob},
                          {'E', 0, 'N', 0, 0, nullptr}};
  Key key;
  ASSERT_EQ(makeKey(store.block(), RecordValues(*store.block().planOf(fields)), 0, key), kOk);
  const std::vector<std::uint8_t> expected = {9, 'N', 'a', 'm', 0, 2, 1, 2, 7, 8};
  EXPECT_EQ(std::vector<std::uint8_t>(key.bytes, key.bytes + key.length), expected);
  for (const char* n : {"Nb", "Na", "Nam", "N"}) {
    std::snprintf(name, sizeof name, "%s", n);
    ASSERT_EQ(store.insert(fields, 1), kOk);
  }
  std::string order;
  for (int code = store.position(2, kFirst); code == kOk; code = store.position(2, kNext)) {
    ASSERT_EQ(store.read(fields), kOk);
    order += std::string(name) + " ";
  }
  EXPECT_EQ(order, "N Na Nam Nb ");
  store.block().segments[2][0].maxLength = 0;
  std::memset(name, 'x', 299);
  EXPECT_EQ(store.insert(fields, 1), kTooLong);
  store.block().segments[2][0].type = 11;
  EXPECT_EQ(store.insert(fields, 1), kBadSegments);
  EXPECT_EQ(store.recordCount(), 4u);
}

}  // namespace
}  // namespace tavo::engine::test
