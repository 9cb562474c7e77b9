// The journal file: its bytes, what is taken back by it, what is refused, and what happens when it
// cannot be written.
#include "engine_fixture.h"
#include "machine.h"
#include "store/engine/journal_format.h"

namespace tavo::engine::test {
namespace {

Options with(const char* journal, char sharing = 'E', int access = 2) {
  Options options;
  options.sharing = sharing;
  options.access = access;
  options.journal = journal;
  return options;
}

// One opener of the file with a process of its own.
struct Opener {
  explicit Opener(Machine& machine, int killed = -1)
      : process(machine, killed), store(cache, process) {}
  int insert(std::uint32_t number) {
    sample.set(1, number, "n" + std::to_string(number), 100);
    return store.insert(sample.fields, kSampleType);
  }
  Sample sample;
  Process process;
  PageCache cache;
  Store store;
};

std::uint32_t records(Machine& machine, const Options& options) {
  Opener opener(machine);
  EXPECT_EQ(opener.store.open(kPath, kIndexes, options), kOk);
  return opener.store.recordCount();
}

class JournalTest : public ::testing::Test {
 protected:
  // Two records, then a third one whose insert ends behind its first write to the data file.
  void SetUp() override {
    make(base_);
    for (int k = 0; k < 500; ++k) {
      machine_ = std::make_unique<Machine>(base_);
      Opener opener(*machine_, k);
      if (opener.store.open(kPath, kIndexes, with(kJournal)) != kOk) continue;
      ASSERT_NE(opener.insert(3), kOk);
      // Page 0, which every one of its entries goes to.
      if (!std::equal(base_.files[kPath]->now.begin() + kPageSize,
                      base_.files[kPath]->now.begin() + 2 * kPageSize,
                      bytes(kPath).begin() + kPageSize))
        return;
    }
    FAIL();
  }
  static void make(Machine& machine) {
    Opener maker(machine);
    ASSERT_EQ(maker.store.create(kPath, kIndexes, with(kJournal)), kOk);
    ASSERT_EQ(maker.insert(1), kOk);
    ASSERT_EQ(maker.insert(2), kOk);
    ASSERT_EQ(maker.store.close(), kOk);
  }
  Bytes& bytes(const char* path) { return machine_->files[path]->now; }
  void expectRefused(const Options& options = with(kJournal)) {
    const Bytes data = bytes(kPath);
    const Bytes journal = bytes(kJournal);
    Opener opener(*machine_);
    EXPECT_EQ(opener.store.open(kPath, kIndexes, options), kBadJournal);
    EXPECT_EQ(bytes(kPath), data);
    EXPECT_EQ(bytes(kJournal), journal);
  }

  Machine base_;
  std::unique_ptr<Machine> machine_;
};

TEST_F(JournalTest, Layout) {
  const std::uint8_t* const at = bytes(kJournal).data();
  EXPECT_EQ(std::memcmp(at, "TAVOJRNL\1\0\0\0\1\0\0\0", 16), 0);
  EXPECT_EQ(std::memcmp(at + 24, base_.files[kPath]->now.data(), kHeaderSize), 0);
  JournalBlock block;
  EXPECT_TRUE(decodeJournalBlock(at, block));
  EXPECT_NE(block.fileId(), 0u);
  EXPECT_EQ(loadU32(bytes(kPath).data() + 12), block.fileId());
  // Page 0 as it was, then the header to come.
  const std::uint8_t* const image = at + 1024;
  EXPECT_EQ(loadI32(image), 0);
  EXPECT_EQ(loadU32(image + 4), 0u);
  EXPECT_EQ(std::memcmp(image + 8, at + 16, 8), 0);
  EXPECT_EQ(std::memcmp(image + 24, base_.files[kPath]->now.data() + kPageSize, kPageSize), 0);
  EXPECT_TRUE(isJournalImage(image, 0, block.salt));
  EXPECT_EQ(loadI32(at + 1024 + 1048), -1);
  EXPECT_EQ(loadU32(at + 1024 + 1048 + 4), 1u);
  EXPECT_FALSE(isJournalImage(image, 0, block.salt - 1));
  bytes(kJournal)[1024 + 500] ^= 1;
  EXPECT_FALSE(isJournalImage(image, 0, block.salt));
}

TEST_F(JournalTest, TakenBackByWhoeverOpens) {
  for (const Options& options : {with(kJournal), with(kJournal, 'S'), with(kJournal, 'E', 1),
                                 with(kJournal, 'S', 1), with(kJournal, 'D')}) {
    Machine machine(*machine_);
    EXPECT_EQ(records(machine, options), 2u);
    // By then there is nothing to take back, also for one that knows no journal.
    Process looker(machine);
    EXPECT_EQ(findings(kPath, nullptr, looker), "");
  }
  // One that reads alone cannot when somebody denies writing.
  const auto denying =
      Process(*machine_).open(kPath, platform::Access::kRead, platform::Sharing::kRead);
  Opener reader(*machine_);
  EXPECT_EQ(reader.store.open(kPath, kIndexes, with(kJournal, 'S', 1)), kInterrupted);
}

TEST_F(JournalTest, FirstImageOfAPageCounts) {
  Bytes& journal = bytes(kJournal);
  JournalBlock block;
  ASSERT_TRUE(decodeJournalBlock(journal.data(), block));
  std::uint32_t k = 0;
  while (journalPosition(k) + kJournalImageSize <= journal.size() &&
         isJournalImage(journal.data() + journalPosition(k), k, block.salt))
    ++k;
  journal.resize(static_cast<std::size_t>(journalPosition(k + 3)), 0xEE);
  sealJournalImage(0, k, block.salt, journal.data() + journalPosition(k));
  // What does not follow at once is an earlier transaction's.
  sealJournalImage(0, k + 2, block.salt, journal.data() + journalPosition(k + 2));
  EXPECT_EQ(records(*machine_, with(kJournal)), 2u);
  Process looker(*machine_);
  EXPECT_EQ(findings(kPath, nullptr, looker), "");
}

TEST_F(JournalTest, OfAnotherFileOrAnotherStateIsRefused) {
  // A page number that no file has.
  Machine kept(*machine_);
  Bytes& journal = bytes(kJournal);
  JournalBlock block;
  ASSERT_TRUE(decodeJournalBlock(journal.data(), block));
  sealJournalImage(0x7FFFFFFF, 0, block.salt, journal.data() + journalPosition(0));
  expectRefused();
  journal = kept.files[kJournal]->now;
  // Made in the same way, but another file.
  Machine other;
  make(other);
  EXPECT_EQ(other.files[kPath]->now.size(), base_.files[kPath]->now.size());
  bytes(kPath) = other.files[kPath]->now;
  expectRefused();
  expectRefused(with(kJournal, 'S'));
  // A file there already is not made anew, and a new one does not take it.
  machine_->files.erase(kPath);
  Opener maker(*machine_);
  EXPECT_EQ(maker.store.create(kPath, kIndexes, with(kJournal)), kBadJournal);
  EXPECT_EQ(machine_->files.count(kPath), 0u);
  // Changed by one that did not know of it.
  machine_ = std::make_unique<Machine>(kept);
  {
    Opener ignorant(*machine_);
    ASSERT_EQ(ignorant.store.open(kPath, kIndexes), kOk);
    ignorant.insert(4);
    ignorant.store.close();
  }
  expectRefused();
  // An earlier copy of the file.
  bytes(kPath) = base_.files[kPath]->flushed;
  bytes(kPath)[0] ^= 0x40;
  expectRefused();
}

TEST_F(JournalTest, NoJournalIsRefusedAndAnIdleOneTakenOver) {
  *machine_->files[kPath] = *base_.files[kPath];
  for (const char* const text : {"TAVO text", "TAVOJRNL\2\0\0\0", "TAVO"}) {
    Bytes& journal = bytes(kJournal);
    journal.assign(text, text + std::strlen(text));
    if (journal.size() != 4) expectRefused();
    journal.resize(2000);
    expectRefused();
  }
  // What is left of one that was stopped while it was made.
  for (const std::size_t size : {0u, 5u, 1024u}) {
    bytes(kJournal).assign(size, 0);
    if (size != 0) bytes(kJournal)[0] = 'T';
    EXPECT_EQ(records(*machine_, with(kJournal)), 2u) << size;
    EXPECT_GE(bytes(kJournal).size(), 1024u);
  }
  // Nothing is lost with an idle journal of another file, as long as nobody uses it.
  Machine other;
  make(other);
  bytes(kJournal) = other.files[kJournal]->now;
  machine_->files["other"] = other.files[kPath];
  {
    Opener user(*machine_);
    ASSERT_EQ(user.store.open("other", kIndexes, with(kJournal, 'S')), kOk);
    expectRefused(with(kJournal, 'S'));
  }
  EXPECT_EQ(records(*machine_, with(kJournal, 'S')), 2u);
}

TEST_F(JournalTest, AFailedFlushEndsAllChanges) {
  Machine machine(base_);
  for (int when = 0; when < 2; ++when) {
    Opener opener(machine);
    ASSERT_EQ(opener.store.open(kPath, kIndexes, with(kJournal)), kOk);
    opener.process.flushes = false;
    EXPECT_EQ(opener.insert(5), kNotFound);
    EXPECT_TRUE(opener.store.systemFailed());
    opener.process.flushes = true;
    EXPECT_EQ(opener.insert(6), kNotFound);
    EXPECT_EQ(opener.store.recordCount(), 2u);
    EXPECT_EQ(opener.store.close(), kHeaderTransfer);
  }
  EXPECT_EQ(records(machine, with(kJournal)), 2u);
}

TEST_F(JournalTest, EveryTransactionIsFlushedInOrder) {
  const TempFile file;
  const TempFile journal(".journal");
  TestFiles files;
  PageCache cache;
  Store store(cache, files);
  ASSERT_EQ(store.create(file.path(), kIndexes, with(journal.path())), kOk);
  for (const int mode : {0, 1, 2, 3, 4}) {
    ASSERT_EQ(store.setWriteMode(mode), kOk);
    Sample sample;
    sample.set(1, static_cast<std::uint32_t>(mode), "n");
    if (mode == 0) {
      ASSERT_EQ(store.insert(sample.fields, kSampleType), kOk);
      sample.number = 77;
    }
    files.log.clear();
    files.logging = true;
    ASSERT_EQ(store.insert(sample.fields, kSampleType), kOk);
    files.logging = false;
    std::string kinds;
    for (const auto& operation : files.log) kinds += operation.kind;
    // Header; page 0 and new header; flush; header and page; flush; nothing to take back; flush.
    EXPECT_EQ(kinds, std::string(mode == 4 ? "r" : "") + "rwwwfwwfwf") << mode;
    EXPECT_EQ(loadU16(bytesOf(store).data() + kModifiedMarker), 0);
  }
  EXPECT_EQ(store.close(), kOk);
  EXPECT_EQ(findings(file.path()), "");
}

}  // namespace
}  // namespace tavo::engine::test
