// Changes that fail halfway: any one transfer, or all from one on, fail or come up short, and the
// file is what it was.
#include "engine_fixture.h"
#include "machine.h"
#include "store/engine/tree.h"

namespace tavo::engine::test {
namespace {

// Everything that can be seen of the records: all entries of all indexes but the free numbers, all
// values, and whether each number is a record's or a free one.
std::string contents(Store& store) {
  std::string all;
  Sample sample;
  for (const int index : {1, 3, 4, kRecords, kRecordLocks}) {
    int code = store.position(index, kFirst);
    for (; code == kOk; code = store.position(index, kNext)) {
      const Cursor& at = store.block().cursors[index];
      all += "\n" + std::to_string(index) + " " + std::to_string(at.record) + "." +
             std::to_string(at.piece) + " ";
      all.append(reinterpret_cast<const char*>(at.key), at.keyLength);
      if (index != 3) continue;
      if (store.read(sample.fields) != kOk || !sample.intact()) all += "damaged";
      all += std::string(sample.name) + " " + std::to_string(sample.blobSize());
    }
    all += code == kNotFound ? "\n" : "\nfailed\n";
  }
  const FileHeader& header = store.block().header;
  all += std::to_string(header.recordCount);
  if (header.nextRecord - 1 != header.recordCount + header.freeCount) all += " numbers lost";
  return all;
}

enum Operation { kInsert, kReplace, kRemove, kRefused };

// The same file each time, with pages that are still to be written, at which one operation is done.
class Attempt {
 public:
  Attempt(const Machine& base, const Setting& setting, std::uint32_t records)
      : machine_(base), cache_(setting.buffers), store(cache_, files) {
    Options options = optionsOf(setting);
    options.workBufferSize = 3000;
    EXPECT_EQ(store.open(kPath, kIndexes, options), kOk);
    store.setWriteMode(setting.mode);
    for (std::uint32_t n = 0; n < 4; ++n) {
      sample_.set(1, 900 + n, name(n * 7), 100);
      EXPECT_EQ(store.insert(sample_.fields, kSampleType), kOk);
    }
    const std::uint32_t number = records / 2;
    EXPECT_EQ(store.find(3, &number, 4, kEqual), kOk);
    if (setting.sharing != 'E') {
      EXPECT_EQ(store.lockRecord(), kOk);
    }
  }
  static std::string name(std::uint32_t n) {
    return std::string(60 + n * 31 % 120, static_cast<char>('a' + n % 26)) + std::to_string(n);
  }
  int run(Operation operation) {
    sample_.set(9, operation == kRefused ? 900 : 5000, name(14), 1800);
    if (operation == kReplace) return store.replace(sample_.fields);
    return operation == kRemove ? store.remove(sample_.fields)
                                : store.insert(sample_.fields, kSampleType);
  }

  std::string findings(VerifyReport* report = nullptr) {
    return test::findings(kPath, report, process);
  }

 private:
  Machine machine_;

 public:
  Process process{machine_};
  TestFiles files{process};

 private:
  Sample sample_;
  PageCache cache_;

 public:
  Store store;
};

void makeBase(Machine& machine, std::uint32_t records) {
  Process process(machine);
  PageCache cache;
  Store store(cache, process);
  Options options;
  options.workBufferSize = 3000;
  ASSERT_EQ(store.create(kPath, kIndexes, options), kOk);
  store.setWriteMode(0);
  Sample sample;
  for (std::uint32_t n = 0; n < records; ++n) {
    sample.set(static_cast<int>(n % 3), n * 7 % records, Attempt::name(n),
               static_cast<int>(n % 4 * 500));
    ASSERT_EQ(store.insert(sample.fields, kSampleType), kOk);
  }
  // One number waits for reuse.
  sample.set(1, 9999, "removed");
  ASSERT_EQ(store.insert(sample.fields, kSampleType), kOk);
  if (records % 2 == 0) {
    ASSERT_EQ(store.remove(sample.fields), kOk);
  }
  ASSERT_EQ(store.close(), kOk);
}

struct Fault {
  bool write, shortened, lasting;
};

// Fails every transfer of an operation in turn; returns how many there were.
int failEach(const Machine& base, const Setting& setting, std::uint32_t records, Operation op,
             const Fault& fault) {
  const auto clean = [&](bool done) {
    Attempt attempt(base, setting, records);
    if (done) {
      EXPECT_EQ(attempt.run(op), op == kRefused ? kNotFound : kOk);
    }
    return contents(attempt.store);
  };
  const std::string before = clean(false);
  const std::string after = clean(true);
  EXPECT_EQ(before.find("damaged"), std::string::npos);
  EXPECT_EQ(after.find("lost"), std::string::npos);
  const int sparsely = fault.lasting || TAVO_TEST_EFFORT < 100 ? 1 : 0;
  for (int k = 0; !::testing::Test::HasFailure(); k += 1 + sparsely * k / 6) {
    SCOPED_TRACE(testing::Message() << "transfer " << k);
    Attempt attempt(base, setting, records);
    const std::int32_t current = attempt.store.currentRecord();
    TestFiles& files = attempt.files;
    files.shortened = fault.shortened;
    files.lasting = fault.lasting;
    int& countdown = fault.write ? files.writesUntilFault : files.readsUntilFault;
    countdown = k;
    const int code = attempt.run(op);
    const bool happened = countdown < (fault.lasting ? 1 : 0);
    countdown = -1;
    if (code != kOk) {
      EXPECT_EQ(attempt.store.currentRecord(), current);
    }
    if (code == kNotFound && op != kRefused) {
      EXPECT_TRUE(attempt.store.systemFailed());
    }
    // A mode that writes at once has written the old pages at once, too, or knows that it owes it.
    const ControlBlock& block = attempt.store.block();
    const bool atOnce = setting.mode == 3 && !setting.journal;
    EXPECT_FALSE(atOnce && !block.owesWrites && block.cache->anyDirty(block));
    EXPECT_EQ(contents(attempt.store), code == kOk ? after : before);
    // What failed can be done again.
    attempt.store.setCurrentRecord(current);
    if (code != kOk) {
      EXPECT_EQ(attempt.run(op), op == kRefused ? kNotFound : kOk);
    }
    EXPECT_EQ(contents(attempt.store), after);
    EXPECT_FALSE(atOnce && block.cache->anyDirty(block));
    EXPECT_EQ(attempt.store.close(), kOk);
    EXPECT_EQ(attempt.findings(), "");
    if (!happened) return k;
  }
  return 0;
}

constexpr Setting kSettings[] = {{0, 'E', false, 10}, {0, 'E', false, 1}, {2, 'E', false, 3},
                                 {3, 'E', false, 10}, {3, 'E', false, 0}, {4, 'E', false, 2},
                                 {1, 'S', false, 10}, {0, 'E', true, 10}, {3, 'E', true, 2},
                                 {1, 'S', true, 3}};

TEST(Change, AnyTransferMayFailAndNothingIsHalfDone) {
  int transfers = 0;
  for (const std::uint32_t records : {6u, 48u}) {
    if (records > 6 && TAVO_TEST_EFFORT < 10) break;
    Machine base;
    makeBase(base, records);
    for (const Setting& setting : kSettings) {
      for (const Operation op : {kInsert, kReplace, kRemove, kRefused}) {
        for (int f = 0; f < 5; ++f) {
          const Fault fault = {(f & 1) == 0, (f & 2) != 0, f == 4};
          // Lasting failures leave a shared file to whoever comes next.
          if (fault.lasting && setting.sharing != 'E') continue;
          SCOPED_TRACE(testing::Message()
                       << records << " records, " << setting.buffers << " buffers, mode "
                       << setting.mode << ", operation " << op << ", fault " << f);
          transfers += failEach(base, setting, records, op, fault);
          if (HasFailure()) return;
        }
      }
    }
  }
  EXPECT_GT(transfers, 200);
}

// A close that could not write everything says so, and what is missing then is a finding.
TEST(Change, AFailedCloseIsToldAndNamed) {
  Machine base;
  makeBase(base, 48);
  int failures = 0;
  for (const Setting& setting : kSettings) {
    for (int f = 0; f < 4; ++f) {
      for (int k = 0;; k += TAVO_TEST_EFFORT >= 100 ? 1 : 3) {
        SCOPED_TRACE(testing::Message() << "mode " << setting.mode << setting.sharing << ", fault "
                                        << f << ", transfer " << k);
        Attempt attempt(base, setting, 48);
        attempt.files.shortened = (f & 1) != 0;
        attempt.files.lasting = (f & 2) != 0;
        attempt.files.writesUntilFault = k;
        const int code = attempt.store.close();
        const bool happened = attempt.files.writesUntilFault < (attempt.files.lasting ? 1 : 0);
        EXPECT_TRUE(code == kOk || code == kHeaderTransfer || code == kWriteFailed) << code;
        failures += code != kOk ? 1 : 0;
        attempt.files.lasting = false;
        attempt.files.writesUntilFault = -1;
        if (setting.journal) {
          // What was finished before stays finished.
          PageCache cache;
          Store next(cache, attempt.process);
          Options options;
          options.journal = kJournal;
          ASSERT_EQ(next.open(kPath, kIndexes, options), kOk);
          EXPECT_EQ(next.recordCount(), 52u);
          ASSERT_EQ(next.close(), kOk);
        }
        VerifyReport report;
        const bool sound = attempt.findings(&report).empty();
        EXPECT_TRUE(sound || (code != kOk && !setting.journal));
        EXPECT_TRUE(!sound || report.records == 52u || (report.records == 48u && code != kOk));
        if (HasFailure()) return;
        if (!happened) break;
      }
    }
  }
  EXPECT_GT(failures, 20);
}

}  // namespace
}  // namespace tavo::engine::test
