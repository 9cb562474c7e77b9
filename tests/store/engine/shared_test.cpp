// Files that several openers share: sharing rules, slots, gates, locks and change detection, in one
// process and among several.
#include <chrono>
#include <fstream>
#include <sstream>
#include <thread>

#include "child_process.h"
#include "engine_fixture.h"

namespace tavo::engine::test {
namespace {

Options shared(char sharing = 'S', int access = 2) {
  Options options;
  options.sharing = sharing;
  options.access = access;
  return options;
}

// One opener with buffers of its own, as another process has them.
struct Opener {
  PageCache cache;
  Store store{cache};
};

void makeFile(const char* path, std::uint32_t records = 0) {
  Opener maker;
  ASSERT_EQ(maker.store.create(path, kIndexes), kOk);
  ASSERT_EQ(maker.store.setWriteMode(0), kOk);
  Sample sample;
  for (std::uint32_t n = 1; n <= records; ++n) {
    sample.set(1, n, "made");
    ASSERT_EQ(maker.store.insert(sample.fields, kSampleType), kOk);
  }
  ASSERT_EQ(maker.store.close(), kOk);
}

TEST(Shared, SharingRules) {
  const TempFile file;
  makeFile(file.path());
  const struct {
    Options first, second;
    int expected;
    char became;
  } cases[] = {
      {{}, {}, kNotFound, 'E'},
      {{}, shared(), kNotFound, 'S'},
      {shared(), {}, kNotFound, 'E'},
      {shared(), shared(), kOk, 'S'},
      {shared(), shared('S', 1), kOk, 'S'},
      {shared('D'), shared('S', 1), kOk, 'S'},
      {shared('D'), shared(), kNotFound, 'S'},
      {shared('S', 1), shared('D'), kOk, 'D'},
      {shared(), shared('D'), kNotFound, 'D'},
  };
  for (std::size_t i = 0; i < std::size(cases); ++i) {
    Opener first;
    Opener second;
    ASSERT_EQ(first.store.open(file.path(), kIndexes, cases[i].first), kOk) << i;
    EXPECT_EQ(second.store.open(file.path(), kIndexes, cases[i].second), cases[i].expected) << i;
    EXPECT_EQ(second.store.block().sharing, cases[i].became) << i;
    EXPECT_FALSE(removeFile(file.path())) << i;
  }
  Opener maker;
  EXPECT_EQ(maker.store.create(file.path(), kIndexes, shared()), kNotFound);
  EXPECT_TRUE(removeFile(file.path()));
  ASSERT_EQ(maker.store.create(file.path(), kIndexes, shared()), kOk);
  EXPECT_EQ(maker.store.block().slot, 0);
  Opener other;
  EXPECT_EQ(other.store.open(file.path(), kIndexes, shared()), kOk);
  EXPECT_EQ(other.store.block().slot, 1);
  // A shared file is flushed at the end of each change.
  EXPECT_EQ(other.store.writeMode(), 1);
  for (const int mode : {2, 3}) {
    EXPECT_EQ(other.store.setWriteMode(mode), kOk);
    EXPECT_EQ(other.store.writeMode(), 1);
  }
}

TEST(Shared, ChangesAreSeenByOthers) {
  const TempFile file;
  makeFile(file.path(), 3);
  Opener a;
  Opener b;
  ASSERT_EQ(a.store.open(file.path(), kIndexes, shared()), kOk);
  ASSERT_EQ(b.store.open(file.path(), kIndexes, shared()), kOk);
  Sample sample;
  ASSERT_EQ(b.store.position(3, kLast), kOk);
  // Both write in turns; each finds what the other did, from where its index stood.
  for (std::uint32_t n = 10; n < 200; n += 2) {
    sample.set(1, n, "a");
    ASSERT_EQ(a.store.insert(sample.fields, kSampleType), kOk);
    ASSERT_EQ(b.store.position(3, kNext), kOk);
    ASSERT_EQ(b.store.read(sample.fields), kOk);
    ASSERT_EQ(sample.number, n);
    sample.set(1, n + 1, "b");
    ASSERT_EQ(b.store.insert(sample.fields, kSampleType), kOk);
  }
  const std::uint32_t last = 199;
  EXPECT_EQ(a.store.find(3, &last, 4, kEqual), kOk);
  EXPECT_EQ(a.store.close(), kOk);
  EXPECT_EQ(b.store.close(), kOk);
  VerifyReport report;
  EXPECT_EQ(findings(file.path(), &report), "");
  EXPECT_EQ(report.records, 193u);
}

TEST(Shared, RecordsAreLockedForChanges) {
  const TempFile file;
  makeFile(file.path(), 5);
  Opener a;
  Opener b;
  ASSERT_EQ(a.store.open(file.path(), kIndexes, shared()), kOk);
  ASSERT_EQ(b.store.open(file.path(), kIndexes, shared()), kOk);
  Sample sample;
  for (Opener* const o : {&a, &b}) ASSERT_EQ(o->store.position(3, kFirst), kOk);
  ASSERT_EQ(a.store.read(sample.fields), kOk);
  EXPECT_EQ(a.store.replace(sample.fields), kNotLocked);
  EXPECT_EQ(a.store.lockRecord(), kOk);
  EXPECT_EQ(a.store.lockRecord(), kOk);
  EXPECT_EQ(b.store.lockRecord(), kNotLocked);
  EXPECT_EQ(b.store.unlockRecord(), kNotLocked);
  EXPECT_EQ(b.store.remove(sample.fields), kNotLocked);
  EXPECT_EQ(b.store.read(sample.fields), kOk);
  EXPECT_EQ(a.store.replace(sample.fields), kOk);
  EXPECT_EQ(a.store.unlockRecord(), kOk);
  EXPECT_EQ(b.store.lockRecord(), kOk);
  EXPECT_EQ(b.store.remove(sample.fields), kOk);
  // Closing releases what is still locked.
  ASSERT_EQ(b.store.position(3, kLast), kOk);
  EXPECT_EQ(b.store.lockRecord(), kOk);
  EXPECT_EQ(b.store.close(), kOk);
  ASSERT_EQ(a.store.position(3, kLast), kOk);
  EXPECT_EQ(a.store.lockRecord(), kOk);
  EXPECT_EQ(a.store.close(), kOk);
  VerifyReport report;
  EXPECT_EQ(findings(file.path(), &report), "");
  EXPECT_EQ(report.entries[kRecordLocks], 0u);
}

TEST(Shared, AllSlotsTaken) {
  const TempFile file;
  makeFile(file.path());
  Opener a;
  ASSERT_EQ(a.store.open(file.path(), kIndexes, shared()), kOk);
  // Slot 0 is ours; another handle takes the rest.
  const auto other = platform::nativeFileSystem().open(file.path(), platform::Access::kReadWrite,
                                                       platform::Sharing::kReadWrite);
  ASSERT_NE(other, nullptr);
  ASSERT_TRUE(other->tryLock(kSlotBytes + 1, kSlots - 1));
  Opener b;
  EXPECT_EQ(b.store.open(file.path(), kIndexes, shared()), kNoSlot);
  ASSERT_TRUE(other->unlock(kSlotBytes + 1, kSlots - 1));
  ASSERT_TRUE(other->tryLock(kSlotBytes + 1, 7));
  EXPECT_EQ(b.store.open(file.path(), kIndexes, shared()), kOk);
  EXPECT_EQ(b.store.block().slot, 8);
}

TEST(Shared, OpenMarkerIsWaitedForAndCleared) {
  const TempFile file;
  makeFile(file.path());
  auto bytes = file.bytes();
  storeU32(bytes.data() + kOpenMarker, kMarkerValue);
  file.write(bytes);
  TestFiles files;
  PageCache cache;
  Store store(cache, files);
  ASSERT_EQ(store.open(file.path(), kIndexes), kOk);  // exclusive openers don't look
  ASSERT_EQ(store.close(), kOk);
  files.logging = true;
  ASSERT_EQ(store.open(file.path(), kIndexes, shared()), kOk);
  int waits = 0;
  for (const auto& operation : files.log)
    waits += operation.kind == 'r' && operation.position == kOpenMarker ? 1 : 0;
  EXPECT_EQ(waits, 5000);
  ASSERT_EQ(store.close(), kOk);
  EXPECT_EQ(loadU32(file.bytes().data() + kOpenMarker), 0u);
  // An opener that only reads cannot clear it and goes on.
  file.write(bytes);
  ASSERT_EQ(store.open(file.path(), kIndexes, shared('S', 1)), kOk);
  ASSERT_EQ(store.close(), kOk);
  EXPECT_EQ(loadU32(file.bytes().data() + kOpenMarker), kMarkerValue);
}

// Whatever ends of read transactions are not matched by beginnings, no reader byte stays locked.
TEST(Shared, UnmatchedEndsOfReading) {
  const TempFile file;
  makeFile(file.path(), 3);
  Opener a;
  ASSERT_EQ(a.store.open(file.path(), kIndexes, shared()), kOk);
  const auto other = platform::nativeFileSystem().open(file.path(), platform::Access::kReadWrite,
                                                       platform::Sharing::kReadWrite);
  ASSERT_NE(other, nullptr);
  const auto readersAreGone = [&] {
    return other->tryLock(kReaderBytes, kSlots) && other->unlock(kReaderBytes, kSlots);
  };
  // The count is one byte.
  for (const int begins : {0, 1, 256, 257}) {
    for (int i = 0; i < begins; ++i) ASSERT_EQ(a.store.beginRead(), kOk);
    EXPECT_EQ(readersAreGone(), begins == 0);
    EXPECT_EQ(a.store.endRead(), begins == 0 ? kNoTransaction : kOk);
    EXPECT_TRUE(readersAreGone()) << begins;
    EXPECT_EQ(a.store.endRead(), kNoTransaction);
    ASSERT_EQ(a.store.position(3, kFirst), kOk);
    EXPECT_TRUE(readersAreGone()) << begins;
  }
}

// A writer that dies in the middle of a long transaction leaves a file that others can go on with.
TEST(Shared, HeaderKeepsUpWithTheRecordNumbers) {
  const TempFile file;
  makeFile(file.path(), 20);
  TestFiles files;
  {
    PageCache cache;
    Store dying(cache, files);
    ASSERT_EQ(dying.open(file.path(), kIndexes, shared()), kOk);
    Sample sample;
    ASSERT_EQ(dying.position(3, kFirst), kOk);
    ASSERT_EQ(dying.lockRecord(), kOk);
    ASSERT_EQ(dying.remove(sample.fields), kOk);
    ASSERT_EQ(dying.beginWrite(), kOk);
    for (std::uint32_t n = 100; n < 400; ++n) {
      const std::uint32_t number = dying.block().header.nextRecord;
      sample.set(1, 30000 + n * 7919 % 10007, "dying", 300);
      ASSERT_EQ(dying.insert(sample.fields, kSampleType), kOk);
      std::uint8_t header[kHeaderSize];
      ASSERT_EQ(dying.block().file->readAt(0, header, sizeof header), platform::Transfer::kDone);
      // The first one had a number that waited for reuse.
      EXPECT_EQ(loadU32(header + 44), n == 100 ? 21u : number + 1);
      EXPECT_GE(loadU32(header + 52), n == 100 ? 0u : dying.block().header.pagesInUse);
    }
    files.writesUntilFault = 0;
    files.lasting = true;
  }
  Opener next;
  ASSERT_EQ(next.store.open(file.path(), kIndexes, shared()), kOk);
  Sample sample;
  for (std::uint32_t n = 20000; n < 20050; ++n) {
    sample.set(1, n, "next", 100);
    EXPECT_NE(next.store.insert(sample.fields, kSampleType), kCorrupt) << n;
  }
}

// A lock whose holder is gone is taken over; the holder's slot byte is only looked at.
TEST(Shared, SlotOfADeadOpenerStaysFree) {
  const TempFile file;
  makeFile(file.path(), 3);
  Opener a;
  ASSERT_EQ(a.store.open(file.path(), kIndexes, shared()), kOk);
  {
    TestFiles files;
    PageCache cache;
    Store dying(cache, files);
    ASSERT_EQ(dying.open(file.path(), kIndexes, shared()), kOk);
    ASSERT_EQ(dying.block().slot, 1);
    ASSERT_EQ(dying.position(3, kFirst), kOk);
    ASSERT_EQ(dying.lockRecord(), kOk);
    files.writesUntilFault = 0;
    files.lasting = true;
  }
  ASSERT_EQ(a.store.position(3, kFirst), kOk);
  ASSERT_EQ(a.store.lockRecord(), kOk);
  Opener b;
  ASSERT_EQ(b.store.open(file.path(), kIndexes, shared()), kOk);
  EXPECT_EQ(b.store.block().slot, 1);
}

TEST(Shared, SafeWriteAmongOpeners) {
  const TempFile file;
  makeFile(file.path(), 3);
  Opener a;
  Opener b;
  ASSERT_EQ(a.store.open(file.path(), kIndexes, shared()), kOk);
  ASSERT_EQ(b.store.open(file.path(), kIndexes, shared()), kOk);
  ASSERT_EQ(a.store.setWriteMode(4), kOk);
  Sample sample;
  ASSERT_EQ(a.store.beginRead(), kOk);
  EXPECT_EQ(a.store.block().readerState, 2);
  ASSERT_EQ(a.store.beginWrite(), kOk);
  EXPECT_EQ(a.store.block().gate, 'L');
  for (std::uint32_t n = 10; n < 60; ++n) {
    sample.set(1, n, "safe");
    ASSERT_EQ(a.store.insert(sample.fields, kSampleType), kOk);
  }
  ASSERT_EQ(a.store.endWrite(), kOk);
  EXPECT_EQ(a.store.block().readerState, 2);  // the read transaction goes on
  EXPECT_EQ(a.store.block().gate, 'U');
  ASSERT_EQ(a.store.endRead(), kOk);
  EXPECT_EQ(a.store.block().readerState, 1);
  EXPECT_EQ(a.store.endRead(), kNoTransaction);
  EXPECT_EQ(a.store.endWrite(), kNoTransaction);
  EXPECT_EQ(b.store.recordCount(), 3u);  // as of its last transaction
  ASSERT_EQ(b.store.position(1, kLast), kOk);
  EXPECT_EQ(b.store.recordCount(), 53u);
}

// --- Among processes. A child's argument: role, path, number, and what it is to do.

struct Part {
  std::string role, path;
  std::uint32_t number = 0, count = 0;
};

Part part() {
  Part p;
  std::istringstream in(ChildProcess::argument());
  in >> p.role >> p.path >> p.number >> p.count;
  return p;
}

std::string argument(const char* role, const char* path, std::uint32_t number,
                     std::uint32_t count) {
  return std::string(role) + " " + path + " " + std::to_string(number) + " " +
         std::to_string(count);
}

// Inserts its own numbers and changes some of them; every tenth transaction holds several.
void writePart(const Part& p, Store& store) {
  Sample sample;
  for (std::uint32_t i = 0; i < p.count; ++i) {
    const std::uint32_t number = p.number * 100000 + i;
    if (i % 10 == 0) {
      ASSERT_EQ(store.beginWrite(), kOk);
    }
    sample.set(static_cast<int>(p.number), number, "written", 100);
    ASSERT_EQ(store.insert(sample.fields, kSampleType), kOk) << number;
    if (i % 7 == 3) {
      sample.set(static_cast<int>(p.number), number, "changed", static_cast<int>(i % 300));
      ASSERT_EQ(store.replace(sample.fields), kNotLocked);
      ASSERT_EQ(store.lockRecord(), kOk);
      ASSERT_EQ(store.replace(sample.fields), kOk);
      ASSERT_EQ(store.unlockRecord(), kOk);
    }
    if (i % 10 == 4) {
      ASSERT_EQ(store.endWrite(), kOk);
    }
  }
  while (store.block().writeNest != 0) ASSERT_EQ(store.endWrite(), kOk);
}

// Scans the file again and again until all records are there; every scan is in order and every
// record whole.
void readPart(Store& store, std::uint32_t expected) {
  Sample sample;
  std::uint32_t seen = 0;
  while (seen < expected) {
    seen = 0;
    std::uint32_t before = 0;
    int code = store.position(3, kFirst);
    for (; code == kOk; code = store.position(3, kNext)) {
      ASSERT_EQ(store.read(sample.fields), kOk);
      ASSERT_TRUE(before < sample.number || before == 0);
      ASSERT_TRUE(sample.intact());
      before = sample.number;
      ++seen;
    }
    ASSERT_EQ(code, kNotFound);
  }
}

TEST(SharedChild, DISABLED_Play) {
  const Part p = part();
  Opener opener;
  Options options = shared('S', p.role == "reader" ? 1 : 2);
  options.queuedGate = p.role == "queued";
  ASSERT_EQ(opener.store.open(p.path.c_str(), kIndexes, options), kOk);
  if (p.role == "reader") {
    readPart(opener.store, p.count);
  } else if (p.role == "holder") {
    // Locks a record and waits for its death.
    ASSERT_EQ(opener.store.position(3, kFirst), kOk);
    ASSERT_EQ(opener.store.lockRecord(), kOk);
    std::ofstream(p.path + ".ready") << "ready";
    std::this_thread::sleep_for(std::chrono::seconds(60));
  } else {
    writePart(p, opener.store);
  }
  ASSERT_EQ(opener.store.close(), kOk);
}

TEST(SharedProcesses, ReadersAndWritersOnOneFile) {
  for (const char* const role : {"writer", "queued"}) {
    const TempFile file(role);
    makeFile(file.path());
    constexpr std::uint32_t kWriters = 3;
    constexpr std::uint32_t kRecordsEach = 150;
    {
      std::vector<std::unique_ptr<ChildProcess>> children;
      for (std::uint32_t w = 1; w <= kWriters; ++w)
        children.push_back(std::make_unique<ChildProcess>(
            "SharedChild.*", argument(role, file.path(), w, kRecordsEach)));
      for (std::uint32_t r = 0; r < 2; ++r)
        children.push_back(std::make_unique<ChildProcess>(
            "SharedChild.*", argument("reader", file.path(), r, kWriters * kRecordsEach)));
      for (const auto& child : children) EXPECT_EQ(child->wait(), 0);
    }
    VerifyReport report;
    EXPECT_EQ(findings(file.path(), &report), "");
    EXPECT_EQ(report.records, kWriters * kRecordsEach);
    EXPECT_EQ(report.entries[kRecordLocks], 0u);
    Opener opener;
    ASSERT_EQ(opener.store.open(file.path(), kIndexes), kOk);
    for (std::uint32_t w = 1; w <= kWriters; ++w) {
      for (std::uint32_t i = 0; i < kRecordsEach; ++i) {
        const std::uint32_t number = w * 100000 + i;
        ASSERT_EQ(opener.store.find(3, &number, 4, kEqual), kOk) << number;
      }
    }
  }
}

TEST(SharedProcesses, KilledOpenersLeaveSlotsAndLocks) {
  const TempFile file;
  const std::string ready = std::string(file.path()) + ".ready";
  makeFile(file.path(), 3);
  std::remove(ready.c_str());
  Opener a;
  ASSERT_EQ(a.store.open(file.path(), kIndexes, shared()), kOk);
  {
    ChildProcess holder("SharedChild.*", argument("holder", file.path(), 0, 0));
    for (int i = 0; i < 600 && !std::ifstream(ready).good(); ++i)
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
    ASSERT_EQ(a.store.position(3, kFirst), kOk);
    EXPECT_EQ(a.store.lockRecord(), kNotLocked);
    holder.kill();
    EXPECT_NE(holder.wait(), 0);
  }
  std::remove(ready.c_str());
  // The next opener gets the dead one's slot and clears its locks.
  Opener b;
  ASSERT_EQ(b.store.open(file.path(), kIndexes, shared()), kOk);
  EXPECT_EQ(b.store.block().slot, 1);
  ASSERT_EQ(a.store.position(3, kFirst), kOk);
  EXPECT_EQ(a.store.lockRecord(), kOk);
  Sample sample;
  EXPECT_EQ(a.store.remove(sample.fields), kOk);
  EXPECT_EQ(a.store.close(), kOk);
  EXPECT_EQ(b.store.close(), kOk);
  EXPECT_EQ(findings(file.path()), "");
}

}  // namespace
}  // namespace tavo::engine::test
