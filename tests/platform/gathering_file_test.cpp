// Gathered transfers against the bytes that they are to come to, on a file in memory that can run
// out of room and fail.
#include "platform/gathering_file.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <vector>

namespace tavo::platform {
namespace {

constexpr std::uint64_t kPage = 1024;

// What becomes of the file in memory, which lives longer than the one opened on it.
struct Medium {
  std::vector<std::uint8_t> bytes;
  std::uint64_t room = kMaxPosition;
  bool writesFail = false;
  bool readsFail = false;
  int reads = 0, writes = 0, flushes = 0;
};

class MemoryFile final : public NativeFile {
 public:
  explicit MemoryFile(Medium& medium) : m_(medium) {}
  Transfer readAt(std::uint64_t position, void* bytes, std::uint32_t count) override {
    ++m_.reads;
    if (m_.readsFail) return Transfer::kFailed;
    if (position + count > m_.bytes.size()) return Transfer::kShort;
    std::memcpy(bytes, m_.bytes.data() + position, count);
    return Transfer::kDone;
  }
  Transfer writeAt(std::uint64_t position, const void* bytes, std::uint32_t count) override {
    ++m_.writes;
    if (m_.writesFail || position + count > m_.room) return Transfer::kFailed;
    if (position + count > m_.bytes.size())
      m_.bytes.resize(static_cast<std::size_t>(position + count));
    std::memcpy(m_.bytes.data() + position, bytes, count);
    return Transfer::kDone;
  }
  bool flush() override { return ++m_.flushes != 0; }
  bool tryLock(std::uint32_t, std::uint32_t) override { return true; }
  bool lockWaiting(std::uint32_t, std::uint32_t) override { return true; }
  bool unlock(std::uint32_t, std::uint32_t) override { return true; }
  bool size(std::uint64_t& bytes) override {
    bytes = m_.bytes.size();
    return true;
  }
  bool extend(std::uint64_t from, std::uint64_t to) override {
    EXPECT_EQ(from, m_.bytes.size());
    // As much of it as there is room for, as some systems do.
    m_.bytes.resize(static_cast<std::size_t>(std::min(to, m_.room)));
    return to <= m_.room;
  }
  bool truncate(std::uint64_t size) override {
    m_.bytes.resize(static_cast<std::size_t>(size));
    return true;
  }
  bool close() override { return true; }

 private:
  Medium& m_;
};

std::unique_ptr<File> open(Medium& medium, Access access = Access::kReadWrite) {
  auto file = makeGatheringFile(std::make_unique<MemoryFile>(medium), access);
  EXPECT_TRUE(file->gather(true));
  return file;
}

// Pages read and written at random in a file of more blocks than stay in memory, and what is not
// aligned to anything.
TEST(GatheringFile, HoldsWhatWasWritten) {
  Medium medium;
  std::vector<std::uint8_t> expected(5000);
  for (std::size_t i = 0; i < expected.size(); ++i) expected[i] = static_cast<std::uint8_t>(i * 7);
  medium.bytes = expected;
  auto file = open(medium);
  std::mt19937 random(5);
  std::vector<std::uint8_t> bytes(9000);
  std::vector<std::uint8_t> found(9000);
  for (unsigned i = 0; i < 60000; ++i) {
    if (i % 20000 == 10000) {
      ASSERT_TRUE(i == 10000 ? file->gather(false) : file->flush());
      ASSERT_EQ(medium.bytes, expected);
      ASSERT_TRUE(file->gather(true));
    }
    const auto count = static_cast<std::uint32_t>(i % 10 == 0 ? random() % 9000 : kPage);
    const std::uint64_t end = expected.size();
    const std::uint64_t position =
        random() % 4 != 0 ? end : random() % (end / kPage) * kPage + (i % 10 == 0 ? i % 7U : 0);
    if (random() % 3 == 0) {
      const bool there = position + count <= end;
      ASSERT_EQ(file->readAt(position, found.data(), count),
                there ? Transfer::kDone : Transfer::kShort);
      if (there) {
        ASSERT_EQ(std::memcmp(found.data(), expected.data() + position, count), 0);
      }
      continue;
    }
    std::fill_n(bytes.begin(), count, static_cast<std::uint8_t>(random()));
    if (position + count > end) expected.resize(static_cast<std::size_t>(position + count));
    std::copy_n(bytes.begin(), count, expected.begin() + static_cast<std::ptrdiff_t>(position));
    ASSERT_EQ(file->writeAt(position, bytes.data(), count), Transfer::kDone);
  }
  EXPECT_GT(expected.size(), std::size_t{33} << 20);
  ASSERT_TRUE(file->close());
  EXPECT_EQ(medium.bytes, expected);
  EXPECT_EQ(medium.flushes, 2);
}

TEST(GatheringFile, TransfersLargerPieces) {
  Medium medium;
  auto file = open(medium);
  const std::vector<std::uint8_t> zero(kPage);
  const std::vector<std::uint8_t> page(kPage, 0x5A);
  constexpr int kPages = 4096;
  for (std::uint64_t i = 0; i < kPages; ++i) {
    ASSERT_EQ(file->writeAt(i * kPage, zero.data(), kPage), Transfer::kDone);
    ASSERT_EQ(file->writeAt(i * kPage, page.data(), kPage), Transfer::kDone);
  }
  EXPECT_EQ(medium.reads + medium.writes, 0);
  ASSERT_TRUE(file->close());
  EXPECT_EQ(medium.reads, 0);
  EXPECT_EQ(medium.writes, kPages / 64);
  EXPECT_EQ(medium.bytes, std::vector<std::uint8_t>(kPages * kPage, 0x5A));
  file = open(medium, Access::kRead);
  std::vector<std::uint8_t> found(kPage);
  for (std::uint64_t i = 0; i < kPages; ++i)
    ASSERT_EQ(file->readAt(i * kPage, found.data(), kPage), Transfer::kDone);
  EXPECT_LT(medium.reads, kPages / 50);
  EXPECT_EQ(file->writeAt(0, page.data(), kPage), Transfer::kFailed);
}

// The write that has no room says so, not the close.
TEST(GatheringFile, LackOfRoomShowsAtOnce) {
  Medium medium;
  medium.room = 200 * kPage + 100;
  auto file = open(medium);
  const std::vector<std::uint8_t> page(kPage, 1);
  std::uint64_t pages = 0;
  while (file->writeAt(pages * kPage, page.data(), kPage) == Transfer::kDone) ++pages;
  EXPECT_EQ(pages, 200u);
  EXPECT_EQ(file->writeAt(pages * kPage, page.data(), kPage), Transfer::kFailed);
  EXPECT_EQ(file->writeAt(pages * kPage, page.data(), 100), Transfer::kDone);
  EXPECT_EQ(file->writeAt(0, page.data(), kPage), Transfer::kDone);
  ASSERT_TRUE(file->close());
  EXPECT_EQ(medium.bytes, std::vector<std::uint8_t>(200 * kPage + 100, 1));
}

// What cannot be written stays in memory until it can; what finds no memory any more fails itself.
TEST(GatheringFile, FailuresLoseNothing) {
  Medium medium;
  auto file = open(medium);
  std::vector<std::uint8_t> page(kPage);
  std::vector<std::uint8_t> found(kPage);
  constexpr std::uint32_t kPages = 40 << 10;
  const auto fill = [&](std::uint32_t i) {
    std::memset(page.data(), static_cast<int>(i % 251), kPage);
  };
  medium.writesFail = true;
  std::uint32_t failed = 0;
  for (std::uint32_t i = 0; i < kPages; ++i) {
    fill(i);
    const Transfer transfer = file->writeAt(i * kPage, page.data(), kPage);
    ASSERT_EQ(transfer, i < (32u << 10) ? Transfer::kDone : Transfer::kFailed) << i;
    failed += transfer == Transfer::kDone ? 0 : 1;
  }
  EXPECT_EQ(failed, 8u << 10);
  EXPECT_FALSE(file->flush());
  EXPECT_FALSE(file->gather(false));
  medium.writesFail = false;
  for (std::uint32_t i = 32 << 10; i < kPages; ++i) {
    fill(i);
    ASSERT_EQ(file->writeAt(i * kPage, page.data(), kPage), Transfer::kDone);
  }
  ASSERT_TRUE(file->flush());
  medium.readsFail = true;
  EXPECT_EQ(file->readAt(0, found.data(), kPage), Transfer::kFailed);
  medium.readsFail = false;
  for (std::uint32_t i = 0; i < kPages; ++i) {
    fill(i);
    ASSERT_EQ(file->readAt(i * kPage, found.data(), kPage), Transfer::kDone);
    ASSERT_EQ(found, page) << i;
  }
}

}  // namespace
}  // namespace tavo::platform
