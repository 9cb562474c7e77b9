// What the engine's tests share: a sample record and a file that is removed afterwards.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "store/engine/control_block.h"
#include "store/engine/engine.h"
#include "store/engine/page_cache.h"
#include "store/engine/transaction.h"
#include "store/engine/verify.h"
#include "support/test_files.h"

namespace tavo::engine::test {

constexpr char kPath[] = "data";
constexpr char kJournal[] = "journal";

// How a file is opened and changed.
struct Setting {
  int mode;
  char sharing;
  bool journal;
  unsigned buffers = 10;
};

inline Options optionsOf(const Setting& setting, const char* journal = kJournal) {
  Options options;
  options.sharing = setting.sharing;
  if (setting.journal) options.journal = journal;
  return options;
}

using tests::TestFiles;

constexpr std::uint8_t kSampleType = 7;
inline const IndexDef kIndexes[] = {
    {1, 10, nullptr}, {3, 5, nullptr}, {4, 0, nullptr}, {0, 0, nullptr}};

// A record under a shared kind, a unique number and a name, with a blob that follows from the
// number.
struct Sample {
  std::uint16_t kind = 0;
  std::uint32_t number = 0;
  char name[200] = {};
  double real = 0;
  std::uint8_t blob[2 + 2000] = {};
  Field fields[6];

  Sample()
      : fields{{'U', 10, 'D', 2, 1, &kind},    {'L', 5, 'U', 4, 3, &number},
               {'S', 0, 'D', 200, 4, name},    {'D', 'N', 'N', 8, 0, &real},
               {'B', 'N', 'N', 2000, 0, blob}, {'E', 'N', 'N', 0, 0, nullptr}} {}
  Sample(const Sample&) = delete;
  Sample& operator=(const Sample&) = delete;

  void set(int newKind, std::uint32_t newNumber, const std::string& newName, int blobSize = 0) {
    kind = static_cast<std::uint16_t>(newKind);
    number = newNumber;
    std::snprintf(name, sizeof name, "%s", newName.c_str());
    real = newNumber / 2.0;
    storeU16(blob, static_cast<std::uint16_t>(blobSize));
    for (int i = 0; i < blobSize; ++i) blob[2 + i] = blobByte(i);
  }
  int blobSize() const { return loadU16(blob); }
  // Whether the values are those that set() gave this number.
  bool intact() const {
    if (blobSize() > 2000 || real != number / 2.0) return false;
    for (int i = 0; i < blobSize(); ++i) {
      if (blob[2 + i] != blobByte(i)) return false;
    }
    return true;
  }

 private:
  std::uint8_t blobByte(int i) const {
    return static_cast<std::uint8_t>(number * 31 + static_cast<std::uint32_t>(i) * 7);
  }
};

// A path in the working folder, named after the test, that no file has before and after.
class TempFile {
 public:
  explicit TempFile(const std::string& suffix = "") {
    const auto* const info = ::testing::UnitTest::GetInstance()->current_test_info();
    path_ = std::string(info->test_suite_name()) + "_" + info->name() + suffix + ".dat";
    for (char& c : path_) c = c == '/' ? '_' : c;
    std::remove(path_.c_str());
  }
  ~TempFile() { std::remove(path_.c_str()); }
  TempFile(const TempFile&) = delete;
  TempFile& operator=(const TempFile&) = delete;

  const char* path() const { return path_.c_str(); }
  std::vector<std::uint8_t> bytes() const {
    std::ifstream in(path_, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
  }
  void write(const std::vector<std::uint8_t>& bytes) const {
    std::ofstream out(path_, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(bytes.data()),
              static_cast<std::streamsize>(bytes.size()));
  }

 private:
  std::string path_;
};

// The bytes of an open file; an exclusive one can be read by its own opener only.
inline std::vector<std::uint8_t> bytesOf(Store& store) {
  std::vector<std::uint8_t> bytes;
  std::uint8_t block[kPageSize];
  platform::File& file = *store.block().file;
  while (file.readAt(bytes.size(), block, kPageSize) == platform::Transfer::kDone)
    bytes.insert(bytes.end(), block, block + kPageSize);
  return bytes;
}

// What the verifier finds, at most a few lines of it; empty for a sound file.
inline std::string findings(const char* path, VerifyReport* report = nullptr,
                            platform::FileSystem& files = platform::nativeFileSystem()) {
  static Sample sample;
  VerifyReport local;
  std::string text;
  VerifyHooks hooks;
  hooks.finding = [&text](const VerifyFinding& finding) {
    if (text.size() < 1000)
      text += "page " + std::to_string(finding.page) + ", record " +
              std::to_string(finding.record) + ": " + finding.what + "\n";
  };
  hooks.fields = [](std::uint8_t type) { return type == kSampleType ? sample.fields : nullptr; };
  const int code = verify(path, local, hooks, kIndexes, files);
  if (code != kOk) text += "code " + std::to_string(code);
  if (report != nullptr) *report = local;
  return text;
}

}  // namespace tavo::engine::test
