// Takes arbitrary bytes for a data file: verifies it, walks it both ways, finds, changes and
// verifies again. Whatever it is like, this ends; a file without findings does all it is asked for.
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "platform/file.h"
#include "schema/fields.h"
#include "store/data_file.h"
#include "store/record_store.h"

namespace {

using namespace tavo;
using platform::Transfer;

constexpr char kPath[] = "memory";
constexpr size_t kRoom = 8u << 20;  // bytes, enough for what is written here
// Where the header counts pages, 32 bits each. Counts in the millions only make the runs long.
constexpr size_t kPageCounts[] = {36, 52};

void require(bool holds) {
  if (!holds) std::abort();
}

// One file, which is not on any disk.
class MemoryFiles final : public platform::FileSystem {
 public:
  explicit MemoryFiles(std::vector<uint8_t> bytes) : bytes_(std::move(bytes)) {}

  std::unique_ptr<platform::File> create(const char*) override { return nullptr; }
  std::unique_ptr<platform::File> open(const char*, platform::Access, platform::Sharing) override {
    return std::make_unique<MemoryFile>(bytes_);
  }
  bool remove(const char*) override { return false; }

 private:
  class MemoryFile final : public platform::File {
   public:
    explicit MemoryFile(std::vector<uint8_t>& bytes) : bytes_(bytes) {}

    Transfer readAt(uint64_t position, void* to, uint32_t count) override {
      if (position + count > platform::kMaxPosition) return Transfer::kSeekFailed;
      if (position + count > bytes_.size()) return Transfer::kShort;
      std::memcpy(to, bytes_.data() + position, count);
      return Transfer::kDone;
    }
    Transfer writeAt(uint64_t position, const void* from, uint32_t count) override {
      if (position + count > platform::kMaxPosition) return Transfer::kSeekFailed;
      if (position + count > kRoom) return Transfer::kShort;
      if (position + count > bytes_.size()) bytes_.resize(position + count);
      std::memcpy(bytes_.data() + position, from, count);
      return Transfer::kDone;
    }
    bool flush() override { return true; }
    bool tryLock(uint32_t, uint32_t) override { return true; }
    bool lockWaiting(uint32_t, uint32_t) override { return true; }
    bool unlock(uint32_t, uint32_t) override { return true; }
    bool close() override { return true; }

   private:
    std::vector<uint8_t>& bytes_;
  };

  std::vector<uint8_t> bytes_;
};

class Session {
 public:
  explicit Session(std::vector<uint8_t> bytes) : size_(bytes.size()), files_(std::move(bytes)) {}

  void run() {
    verify();
    sound_ = result_ == 0 && statistics_.findings == 0;
    const uint32_t opened = store_.openDataFile(kPath);
    expect(opened == TVO_OK);
    if (opened != TVO_OK) return;
    walk(TVO_FIRST, TVO_NEXT);
    walk(TVO_LAST, TVO_PREVIOUS);
    findAgain();
    change();
    expect(store_.close() == 0);
    verify();
    expect(result_ == 0 && statistics_.findings == 0 && statistics_.records == records_);
  }

 private:
  // Of a file without findings.
  void expect(bool holds) const { require(holds || !sound_); }

  void verify() {
    statistics_ = {};
    result_ = store::verifyDataFile(kPath, nullptr, &statistics_, files_);
    require(statistics_.fillFactor >= 0 && statistics_.fillFactor <= 1);
  }

  // An entry has at least 7 bytes, and there may be twice as many as now when records are written.
  void walk(uint32_t first, uint32_t onward) {
    records_ = 0;
    RecordType type = 0;
    void* record = nullptr;
    uint32_t move = first;
    for (size_t steps = size_ / 3 + 1000; steps > 0; --steps, move = onward) {
      const uint32_t status = store_.read(move, &type, &record);
      if (status == TVO_OK) keep(type, record);
      if (status != TVO_OK && TVO_CODE(status) != TVO_ERR_RECORD_TYPE) break;
      ++records_;
    }
    expect(records_ == statistics_.records);
  }

  void keep(RecordType type, const void* record) {
    const uint32_t size = schema::recordDef(type).size;
    seen_[type].assign(static_cast<const char*>(record), static_cast<const char*>(record) + size);
  }

  void findAgain() {
    for (RecordType type = 1; type < seen_.size(); ++type) {
      if (seen_[type].empty()) continue;
      const uint32_t status = store_.find(type, seen_[type].data());
      expect(status == TVO_OK || status == TVO_ERR_NOT_STORABLE);
      for (const store::Lookup lookup : {store::kByListNo, store::kByNumber, store::kById}) {
        const uint32_t other = store_.find(type, seen_[type].data(), lookup);
        expect(other == TVO_OK || TVO_CODE(other) == TVO_ERR_LOOKUP ||
               other == TVO_ERR_NOT_STORABLE);
      }
    }
  }

  void change() {
    std::vector<char> room(sizeof(ProjectRecord) + sizeof(ColumnsRecord));
    for (uint32_t number = 1; number <= 60; ++number) {
      PointRecord point{};
      point.PointNo = number * 37;
      std::memset(point.PointID, 'a' + static_cast<int>(number % 26), number % 12);
      const uint32_t written = store_.write(TVO_RECORD_POINTS, &point);
      expect(written == TVO_OK || written == TVO_ERR_DUPLICATE);
      records_ += written == TVO_OK ? 1 : 0;
      if (number % 3 == 0) {
        const uint32_t found = store_.find(TVO_RECORD_POINTS, &point, store::kByNumber);
        expect(found == TVO_OK);
        point.East = number;
        point.PointID[0] = 'z';
        if (found == TVO_OK) expect(store_.update(&point) == TVO_OK);
      }
      if (number % 4 == 0) {
        store_.read(number % 8 == 0 ? TVO_FIRST : TVO_LAST, nullptr, nullptr);
        const uint32_t removed = store_.remove(room.data());
        expect(removed == TVO_OK || TVO_CODE(removed) == TVO_ERR_RECORD_TYPE);
        records_ -= removed == TVO_OK ? 1 : 0;
      }
    }
  }

  size_t size_;
  MemoryFiles files_;
  store::RecordStore store_{files_};
  store::DataFileStatistics statistics_;
  int result_ = 0;
  bool sound_ = false;
  uint32_t records_ = 0;
  std::array<std::vector<char>, schema::kRecordTypes> seen_;  // the last of each type
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::vector<uint8_t> bytes(data, data + size);
  for (const size_t count : kPageCounts) {
    if (bytes.size() >= count + 4) bytes[count + 2] = bytes[count + 3] = 0;
    if (bytes.size() >= count + 4) bytes[count + 1] &= 0x0F;
  }
  std::make_unique<Session>(std::move(bytes))->run();
  return 0;
}
