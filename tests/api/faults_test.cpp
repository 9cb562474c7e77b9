// The exported functions on a failing disk: any one transfer of the data file, or all from one on,
// fail, come up short or find no room.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "api/library.h"
#include "platform/text_file.h"
#include "store/data_file.h"
#include "support/analysis.h"
#include "support/test_files.h"
#include "tavo/records.h"
#include "tavo/tavo.h"

#ifndef _WIN32
#include <sys/resource.h>

#include <csignal>
#endif

namespace tavo {
namespace {

using tests::readFile;
using tests::TestFiles;
using tests::writeFile;

constexpr char kPath[] = "faults.dat";
constexpr uint32_t kPoints = 2500;
constexpr uint32_t kMore = 30;

PointRecord point(uint32_t number) {
  PointRecord record{};
  record.PointNo = number;
  snprintf(record.PointID, sizeof(record.PointID), "point %u", number * 3571 % 10007);
  record.East = number * 1.5;
  return record;
}

// All records, as bytes with their types, behind one another.
std::string contents() {
  std::string all;
  uint32_t type = 0;
  void* record = nullptr;
  uint16_t status = TVO_Read(TVO_FIRST, &type, &record);
  for (; status == TVO_OK; status = TVO_Read(TVO_NEXT, &type, &record)) {
    all += std::to_string(type) + ":";
    all.append(static_cast<const char*>(record), schema::recordDef(type).size);
  }
  return status == TVO_ERR_STORE ? all : "unreadable";
}

// The library's store on other files than the system's, for as long as it lives.
class StoreOn {
 public:
  explicit StoreOn(platform::FileSystem& files) { make(files); }
  ~StoreOn() { make(platform::nativeFileSystem()); }
  StoreOn(const StoreOn&) = delete;
  StoreOn& operator=(const StoreOn&) = delete;

 private:
  static void make(platform::FileSystem& files) {
    store::RecordStore& store = api::library().store;
    std::destroy_at(&store);
    std::construct_at(&store, files);
  }
};

struct Operation {
  const char* name;
  uint32_t (*run)();
  uint32_t failed;  // what it returns when a write fails
};

const Operation kOperations[] = {
    {"write",
     [] {
       const PointRecord record = point(4000);
       return TVO_Write(TVO_RECORD_POINTS, &record);
     },
     0xFFFF0000U | TVO_ERR_WRITE},
    {"update",
     [] {
       const PointRecord record = point(3000);
       return TVO_Update(&record);
     },
     static_cast<uint32_t>(engine::kWriteFailed)},
    {"delete", [] { return TVO_Delete(nullptr); }, static_cast<uint32_t>(engine::kWriteFailed)},
};

struct Fault {
  bool write, shortened, lasting, full;
};
constexpr Fault kFaults[] = {{true, false, false, false}, {true, true, false, false},
                             {true, false, true, false},  {true, true, true, false},
                             {true, false, false, true},  {false, false, false, false},
                             {false, true, false, false}, {false, false, true, false}};

class Faults : public testing::Test {
 protected:
  void SetUp() override {
    TVO_CloseDataFile();
    ASSERT_EQ(TVO_SetDataFile(kPath), TVO_OK);
    for (uint32_t n = 1; n <= kPoints; ++n) {
      const PointRecord record = point(n * 7 % 2503 + 1);
      ASSERT_EQ(TVO_Write(TVO_RECORD_POINTS, &record), TVO_OK);
    }
    TVO_CloseDataFile();
    base_ = readFile(kPath);
  }
  void TearDown() override { TVO_CloseDataFile(); }

  // The file on its 30th point, with more pages still to be written than there are buffers.
  void start() {
    writeFile(kPath, base_);
    ASSERT_EQ(TVO_OpenDataFile(kPath), TVO_OK);
    for (uint32_t n = 0; n < kMore; ++n) {
      const PointRecord record = point(5000 + n * 97 % 1009);
      ASSERT_EQ(TVO_Write(TVO_RECORD_POINTS, &record), TVO_OK);
    }
    select();
  }
  static void select() {
    PointRecord record = point(30);
    ASSERT_EQ(TVO_Find(TVO_RECORD_POINTS, &record), TVO_OK);
  }
  static uint32_t findings(uint32_t* records = nullptr) {
    store::DataFileStatistics statistics;
    const int code = store::verifyDataFile(kPath, {}, &statistics);
    if (records != nullptr) *records = statistics.records;
    return code == 0 ? statistics.findings : 1;
  }
  static void set(TestFiles& files, const Fault& fault, int k) {
    files.shortened = fault.shortened;
    files.lasting = fault.lasting;
    if (fault.full) {
      files.full = std::uint64_t{1024} * (readFile(kPath).size() / 1024 + static_cast<unsigned>(k));
    } else {
      (fault.write ? files.writesUntilFault : files.readsUntilFault) = k;
    }
  }
  // Ends the faults; whether there was any.
  static bool clear(TestFiles& files, const Fault& fault, int k) {
    const int left = fault.write ? files.writesUntilFault : files.readsUntilFault;
    const bool happened = fault.full ? k < 8 : left < (fault.lasting ? 1 : 0);
    files.writesUntilFault = files.readsUntilFault = -1;
    files.full = ~0ull;
    return happened;
  }
  static int step(int k) { return TAVO_TEST_EFFORT >= 100 ? 1 : 1 + k % 5 + 20 / TAVO_TEST_EFFORT; }

  std::string base_;
};

// The promised code, nothing half done, and done when it is tried again.
TEST_F(Faults, AnOperationThatFailsLeavesEverythingAsItWas) {
  for (const Operation& operation : kOperations) {
    TestFiles files;
    const StoreOn store(files);
    start();
    const std::string before = contents();
    select();
    ASSERT_EQ(operation.run(), TVO_OK);
    const std::string after = contents();
    ASSERT_NE(before, after);
    TVO_CloseDataFile();
    int failures = 0;
    for (const Fault& fault : kFaults) {
      bool happened = true;
      for (int k = 0; happened && !HasFatalFailure(); k += step(k)) {
        SCOPED_TRACE(testing::Message()
                     << operation.name << ", fault " << &fault - kFaults << ", transfer " << k);
        start();
        set(files, fault, k);
        const uint32_t status = operation.run();
        happened = clear(files, fault, k);
        if (status != TVO_OK) {
          ++failures;
          if (fault.write) {
            EXPECT_EQ(status, operation.failed);
          }
          EXPECT_EQ(contents(), before);
          select();
          EXPECT_EQ(operation.run(), TVO_OK);
        }
        EXPECT_EQ(contents(), after);
        TVO_CloseDataFile();
        EXPECT_EQ(findings(), 0u);
        if (HasFailure()) return;
      }
    }
    EXPECT_GT(failures, TAVO_TEST_EFFORT >= 100 ? 8 : 2) << operation.name;
  }
}

// Closing tells the layer above what it cannot tell a host, and what is missing then is a finding.
TEST_F(Faults, AFailedCloseIsAFinding) {
  TestFiles files;
  const StoreOn store(files);
  for (const Fault& fault : kFaults) {
    bool happened = fault.write;
    for (int k = 0; happened; k += step(k)) {
      SCOPED_TRACE(testing::Message() << "fault " << &fault - kFaults << ", transfer " << k);
      start();
      set(files, fault, k);
      const int code = api::library().store.close();
      happened = clear(files, fault, k);
      uint32_t records = 0;
      const bool sound = findings(&records) == 0;
      // A sound file has what it had when it was opened, or everything.
      EXPECT_TRUE(!sound || records == kPoints + kMore || (records == kPoints && code != 0));
      EXPECT_TRUE(sound || code != engine::kOk);
      EXPECT_TRUE(code == engine::kOk || code == engine::kHeaderTransfer) << code;
      EXPECT_EQ(TVO_CloseDataFile(), TVO_OK);
      if (HasFailure()) return;
    }
  }
}

#ifndef _WIN32
// The system's own files, which gather transfers: the write that needs the room finds none.
TEST_F(Faults, AFullDiskIsSaidAtOnce) {
  const auto before = signal(SIGXFSZ, SIG_IGN);
  rlimit none = {};
  getrlimit(RLIMIT_FSIZE, &none);
  for (const unsigned more : {0U, 1000U, 5000U, 70000U}) {
    SCOPED_TRACE(more);
    start();
    const rlimit small = {platform::fileInfo(kPath).size + more, none.rlim_max};
    setrlimit(RLIMIT_FSIZE, &small);
    uint32_t written = 0;
    uint32_t status = TVO_OK;
    while (status == TVO_OK && written < 5000) {
      const PointRecord record = point(10000 + written);
      status = TVO_Write(TVO_RECORD_POINTS, &record);
      written += status == TVO_OK ? 1 : 0;
    }
    EXPECT_EQ(TVO_CODE(status), TVO_ERR_WRITE);
    // What there is can be deleted and closed on a full disk.
    select();
    EXPECT_EQ(TVO_Delete(nullptr), TVO_OK);
    TVO_CloseDataFile();
    setrlimit(RLIMIT_FSIZE, &none);
    uint32_t records = 0;
    EXPECT_EQ(findings(&records), 0u);
    EXPECT_EQ(records, kPoints + kMore + written - 1);
  }
  signal(SIGXFSZ, before);
}
#endif

}  // namespace
}  // namespace tavo
