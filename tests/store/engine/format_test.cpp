// The bytes of a store file, and which files are taken for one.
#include "engine_fixture.h"

namespace tavo::engine::test {
namespace {

std::uint32_t word(const std::vector<std::uint8_t>& bytes, std::size_t offset) {
  return loadU32(bytes.data() + offset);
}

TEST(Format, FreshFileHasHeaderBlockAndEmptyPage) {
  const TempFile file;
  PageCache cache;
  Store store(cache);
  ASSERT_EQ(store.create(file.path(), kIndexes), kOk);
  std::vector<std::uint8_t> expected(2048);
  const std::pair<std::size_t, std::uint32_t> words[] = {
      {0, 1},     {4, 86},    {8, 1},          {16, 65},       {20, 76},
      {24, 73},   {28, 1},    {32, 68},        {36, 1},        {40, 65},
      {44, 1},    {48, 84},   {52, 0},         {56, 49},       {60, 0xFFFFFFFFu},
      {340, ~0u}, {344, ~0u}, {1024 + 4, ~0u}, {1024 + 8, ~0u}};
  for (const auto& [offset, value] : words) storeU32(expected.data() + offset, value);
  expected[192 + 1] = 10;
  expected[192 + 3] = 5;
  expected[212] = 2;
  storeU16(expected.data() + 1024 + 16, 1006);
  EXPECT_EQ(bytesOf(store), expected);

  // A file is never created over another, and is closed with a write transaction.
  Store other(cache);
  EXPECT_EQ(other.create(file.path(), kIndexes), kNotFound);
  EXPECT_EQ(store.close(), kOk);
  EXPECT_EQ(word(file.bytes(), 0), 2u);
  EXPECT_EQ(store.close(), kNotOpen);
  EXPECT_EQ(findings(file.path()), "");
}

TEST(Format, OrderModes) {
  const std::pair<int, std::uint32_t> modes[] = {{1, 1}, {3, 1}, {2, 0x01000000}};
  PageCache cache;
  for (const auto& [mode, expected] : modes) {
    const TempFile file;
    Store store(cache);
    Options options;
    options.orderMode = mode;
    ASSERT_EQ(store.create(file.path(), kIndexes, options), kOk);
    EXPECT_EQ(word(bytesOf(store), 8), expected);
  }
  for (const int mode : {0, 4, -1}) {
    const TempFile file;
    Store store(cache);
    Options options;
    options.orderMode = mode;
    EXPECT_EQ(store.create(file.path(), kIndexes, options), kBadOrderMode);
    EXPECT_TRUE(file.bytes().empty());
  }
}

TEST(Format, EverySignatureWordCounts) {
  const TempFile file;
  PageCache cache;
  Store store(cache);
  ASSERT_EQ(store.create(file.path(), kIndexes), kOk);
  ASSERT_EQ(store.close(), kOk);
  const std::vector<std::uint8_t> good = file.bytes();
  for (const std::size_t offset : {4U, 16U, 20U, 24U, 32U, 40U, 48U, 56U}) {
    for (std::size_t byte = 0; byte < 4; ++byte) {
      std::vector<std::uint8_t> bad = good;
      bad[offset + byte] ^= 0x10;
      file.write(bad);
      EXPECT_EQ(store.open(file.path(), kIndexes), kBadSignature) << offset + byte;
    }
  }
  file.write({good.begin(), good.begin() + 347});
  EXPECT_EQ(store.open(file.path(), kIndexes), kShortRead);
  file.write(good);
  EXPECT_EQ(store.open(file.path(), kIndexes), kOk);
}

TEST(Format, KeptWordsAndUserArea) {
  const TempFile file;
  PageCache cache;
  Store store(cache);
  ASSERT_EQ(store.create(file.path(), kIndexes), kOk);
  std::uint8_t area[101];
  for (std::size_t i = 0; i < sizeof area; ++i) area[i] = static_cast<std::uint8_t>(i + 1);
  EXPECT_EQ(store.setUserArea(area, 101), kBadArgument);
  EXPECT_EQ(store.setUserArea(area, 100), kOk);
  ASSERT_EQ(store.close(), kOk);
  std::vector<std::uint8_t> bytes = file.bytes();
  EXPECT_EQ(std::memcmp(bytes.data() + 92, area, 100), 0);
  // Words without a meaning come back as they were; a byte between them does not.
  for (const std::size_t offset : {12u, 28u, 60u, 214u, 235u, 240u, 336u, 340u, 344u})
    bytes[offset] = 0x5A;
  bytes[80] = 0x5A;
  storeU32(bytes.data() + 72, 101);
  file.write(bytes);
  ASSERT_EQ(store.open(file.path(), kIndexes), kOk);
  EXPECT_EQ(store.userArea(area, 100), 0u);
  ASSERT_EQ(store.close(), kOk);
  const std::vector<std::uint8_t> after = file.bytes();
  for (const std::size_t offset : {12u, 28u, 60u, 214u, 235u, 240u, 336u, 340u, 344u})
    EXPECT_EQ(after[offset], 0x5A) << offset;
  EXPECT_EQ(after[80], 0);
  EXPECT_EQ(after[92], 0);
  EXPECT_EQ(word(after, 72), 0u);
}

TEST(Format, FirstInsertReservesPagesAndStoresEntries) {
  const TempFile file;
  PageCache cache;
  Store store(cache);
  ASSERT_EQ(store.create(file.path(), kIndexes), kOk);
  Sample sample;
  sample.set(0x1234, 0x01020304, "Ab", 3);
  ASSERT_EQ(store.insert(sample.fields, 0x55), kOk);
  ASSERT_EQ(store.close(), kOk);
  const std::vector<std::uint8_t> bytes = file.bytes();
  EXPECT_EQ(word(bytes, 36), 1u);
  // Height 1, three indexed fields: (1 + 1) * (3 + 1) in reserve.
  EXPECT_EQ(word(bytes, 52), 9u);
  EXPECT_EQ(word(bytes, 44), 2u);
  EXPECT_EQ(word(bytes, 68), 1u);
  EXPECT_EQ(bytes.size(), 1024u * 10);
  // kind, number, name under their indexes, then the packed record under index 19.
  const std::vector<std::uint8_t> entries = {8,  1,  0x80, 1, 0, 0, 0, 0x34, 0x12,        //
                                             10, 3,  0x80, 1, 0, 0, 0, 4,    3,    2, 1,  //
                                             9,  4,  0x80, 1, 0, 0, 0, 'A',  'b',  0,     //
                                             45, 19, 0x80, 1, 0, 0, 0};
  const std::uint8_t* const page = bytes.data() + 1024;
  EXPECT_EQ(page::count(page), 4);
  EXPECT_EQ(std::vector<std::uint8_t>(page + 18, page + 18 + entries.size()), entries);
  const std::uint8_t* const packed = page + 18 + entries.size();
  EXPECT_EQ(packed[4], 0x55);
  std::vector<std::uint8_t> values = {0, 0, 0x34, 0x12, 1, 0, 4, 3, 2, 1, 2, 0, 'A', 'b', 0, 3, 0};
  values.resize(values.size() + 8);
  std::memcpy(values.data() + 17, &sample.real, 8);
  const std::uint8_t rest[] = {4,   0,  3, 0, sample.blob[2], sample.blob[3], sample.blob[4],
                               255, 255};
  values.insert(values.end(), std::begin(rest), std::end(rest));
  EXPECT_EQ(std::vector<std::uint8_t>(packed + 5, packed + 5 + values.size()), values);
  EXPECT_EQ(5 + values.size(), 45u - 6);
  EXPECT_EQ(page::freeBytes(page), 1006 - (9 + 11 + 10 + 46));
  EXPECT_EQ(findings(file.path()).find("type 85") != std::string::npos, true);
}

TEST(Format, OpenChecksTheIndexDefinitions) {
  const TempFile file;
  PageCache cache;
  Store store(cache);
  ASSERT_EQ(store.create(file.path(), kIndexes), kOk);
  ASSERT_EQ(store.close(), kOk);
  KeySegment none[] = {{31, 0, 0}};
  KeySegment wild[] = {{24, 0, 0}, {31, 0, 0}};
  const struct {
    IndexDef defs[2];
    int expected;
  } cases[] = {{{{1, 10, nullptr}, {0, 0, nullptr}}, kOk},
               {{{1, 4, nullptr}, {0, 0, nullptr}}, kBadKeyType},
               {{{1, 24, nullptr}, {0, 0, nullptr}}, kBadKeyType},
               {{{16, 10, nullptr}, {0, 0, nullptr}}, kBadIndexNumber},
               {{{1, 10, none}, {0, 0, nullptr}}, kBadSegments},
               {{{1, 10, wild}, {0, 0, nullptr}}, kBadSegments}};
  for (const auto& c : cases) {
    EXPECT_EQ(store.open(file.path(), c.defs), c.expected);
    if (store.isOpen()) store.close();
  }
  EXPECT_EQ(store.open(file.path(), nullptr), kBadKeyType);
}

TEST(Format, PathsAreTakenWholeOrRefused) {
  PageCache cache;
  Store store(cache);
  EXPECT_EQ(store.create(std::string(1024, 'x').c_str(), kIndexes), kBadArgument);
  EXPECT_EQ(store.open("", kIndexes), kBadArgument);
  EXPECT_EQ(store.open("no such file.dat", kIndexes), kNotFound);
  EXPECT_EQ(store.open(".", kIndexes), kNotFound);
  EXPECT_FALSE(removeFile("no such file.dat"));
}

TEST(Format, DamagedControlBlockIsRefused) {
  const TempFile file;
  PageCache cache;
  Store store(cache);
  Sample sample;
  EXPECT_EQ(store.insert(sample.fields, kSampleType), kNotOpen);
  ASSERT_EQ(store.create(file.path(), kIndexes), kOk);
  store.block().guard3 = 'x';
  EXPECT_EQ(store.insert(sample.fields, kSampleType), kBadBlock);
  EXPECT_EQ(store.position(1, kFirst), kBadBlock);
  EXPECT_EQ(store.close(), kBadBlock);
  store.block().guard3 = 'I';
  EXPECT_EQ(store.close(), kOk);
}

}  // namespace
}  // namespace tavo::engine::test
