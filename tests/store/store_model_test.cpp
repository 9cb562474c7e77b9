// Random operations on a store, followed step by step in a simple model, and checked afterwards.
#include <gtest/gtest.h>

#include <map>
#include <random>
#include <set>

#include "store/data_file.h"
#include "store/sample_records.h"

namespace tavo::store {
namespace {

constexpr char kModelFile[] = "model_test.dat";

// Records by sort code and record number; numbers of removed records are used again, lowest first.
class Model {
 public:
  using Place = std::pair<uint16_t, int32_t>;
  struct Kept {
    RecordType type;
    Bytes bytes;
  };
  std::map<Place, Kept> records;
  const Place* current = nullptr;

  void write(RecordType type, const Bytes& bytes) {
    int32_t number = next_;
    if (free_.empty()) {
      ++next_;
    } else {
      number = *free_.begin();
      free_.erase(free_.begin());
    }
    const auto at =
        records.emplace(Place{schema::recordDef(type).sortCode, number}, Kept{type, bytes}).first;
    current = &at->first;
  }

  void removeCurrent() {
    free_.insert(current->second);
    records.erase(*current);
    current = nullptr;
  }

  std::map<Place, Kept>::const_iterator first(RecordType type) const {
    auto at = records.begin();
    while (at != records.end() && at->second.type != type) ++at;
    return at;
  }

 private:
  int32_t next_ = 1;
  std::set<int32_t> free_;
};

class Session {
 public:
  explicit Session(uint32_t seed) : random_(seed) { EXPECT_EQ(store_.setDataFile(kModelFile), 0u); }
  ~Session() {
    store_.closeDataFile();
    remove(kModelFile);
  }

  void step() {
    const uint32_t kind = upTo(100);
    if (kind < 45) return write();
    if (kind < 60) return find();
    if (kind < 72) return update();
    if (kind < 90) return removeCurrent();
    if (kind < 99) return walk();
    store_.closeDataFile();
    model_.current = nullptr;
    EXPECT_EQ(store_.openDataFile(kModelFile), 0u);
  }

  // The file holds exactly the model's records, in its order.
  void compare() {
    auto at = model_.records.begin();
    for (uint32_t move = TVO_FIRST;; move = TVO_NEXT, ++at) {
      const Delivered record = readRecord(store_, move);
      if (record.status != 0) break;
      ASSERT_NE(at, model_.records.end());
      ASSERT_EQ(record.type, at->second.type);
      ASSERT_EQ(record.bytes, at->second.bytes);
    }
    EXPECT_EQ(at, model_.records.end());
    model_.current = nullptr;
  }

  void verify() {
    ASSERT_EQ(store_.close(), 0);
    DataFileStatistics statistics;
    const auto report = [](const DataFileFinding& finding) { ADD_FAILURE() << finding.text; };
    ASSERT_EQ(verifyDataFile(kModelFile, report, &statistics), 0);
    std::array<uint32_t, schema::kRecordTypes> byType{};
    for (const auto& [place, record] : model_.records) ++byType[record.type];
    EXPECT_EQ(statistics.recordsByType, byType);
    EXPECT_EQ(statistics.records, model_.records.size());
    EXPECT_EQ(statistics.findings, 0u);
    EXPECT_EQ(statistics.fileSize, 1024u * (1u + statistics.pagesInFile));
    EXPECT_EQ(store_.openDataFile(kModelFile), 0u);
  }

 private:
  uint32_t upTo(uint32_t n) { return static_cast<uint32_t>(random_() % n); }

  RecordType randomType() {
    static constexpr RecordType kTypes[] = {34, 34, 34, 36, 41, 54, 53, 57, 16, 8, 102, 1, 22, 5};
    return kTypes[upTo(std::size(kTypes))];
  }

  // Few numbers and texts, so that keys repeat; texts of up to their whole width.
  Bytes randomRecord(RecordType type) {
    Bytes record = sampleRecord(type, upTo(30));
    if (type == TVO_RECORD_POINTS) {
      const uint32_t number = upTo(4) == 0 ? 0 : 1 + upTo(400);
      memcpy(record.data(), &number, sizeof(number));
      const std::string id(upTo(17), static_cast<char>('a' + upTo(3)));
      putText(record, offsetof(PointRecord, PointID), sizeof(PointRecord::PointID), id);
      const std::string text(upTo(31), 'd');
      putText(record, offsetof(PointRecord, Description), sizeof(PointRecord::Description), text);
      if (upTo(2) == 0) memset(record.data() + offsetof(PointRecord, East), 0, 72);
    }
    return record;
  }

  bool refused(RecordType type, const Bytes& bytes) const {
    for (const auto& [place, record] : model_.records) {
      if (record.type != type) continue;
      if (type == 1) return true;
      if (type != TVO_RECORD_POINTS) return false;
      const size_t from = memcmp(bytes.data(), "\0\0\0\0", 4) == 0 ? 4 : 0;
      const size_t size = from == 0 ? 4 : sizeof(PointRecord::PointID);
      if (memcmp(record.bytes.data() + from, bytes.data() + from, size) == 0) return true;
    }
    return false;
  }

  void write() {
    const RecordType type = randomType();
    const Bytes bytes = randomRecord(type);
    const bool expectRefusal = refused(type, bytes);
    const uint32_t status = store_.write(type, bytes.data());
    ASSERT_EQ(status, expectRefusal ? uint32_t{TVO_ERR_DUPLICATE} : 0u);
    if (expectRefusal) return find(type);
    model_.write(type, bytes);
    checkCurrent();
  }

  void find() { find(randomType()); }
  void find(RecordType type) {
    Bytes room(sizeOf(type));
    const uint32_t status = store_.find(type, room.data());
    const auto expected = model_.first(type);
    if (type > 76 || expected == model_.records.end()) {
      ASSERT_EQ(TVO_CODE(status), type > 76 ? TVO_ERR_NOT_STORABLE : TVO_ERR_NOT_FOUND);
      if (type <= 76) model_.current = nullptr;
      return;
    }
    ASSERT_EQ(status, 0u);
    ASSERT_EQ(room, expected->second.bytes);
    model_.current = &expected->first;
  }

  void update() {
    if (model_.current == nullptr) return;
    Model::Kept& kept = model_.records.at(*model_.current);
    kept.bytes = randomRecord(kept.type);
    ASSERT_EQ(store_.update(kept.bytes.data()), 0u);
    checkCurrent();
  }

  void removeCurrent() {
    Bytes room(sizeof(ProjectRecord));
    if (model_.current == nullptr) {
      ASSERT_EQ(TVO_CODE(store_.remove(room.data())), TVO_ERR_STORE);
      return;
    }
    const Model::Kept kept = model_.records.at(*model_.current);
    ASSERT_EQ(store_.remove(room.data()), 0u);
    room.resize(kept.bytes.size());
    ASSERT_EQ(room, kept.bytes);
    model_.removeCurrent();
  }

  // From an end some records inwards, and perhaps back.
  void walk() {
    if (model_.records.empty()) return;
    const bool forward = upTo(2) == 0;
    auto at = forward ? model_.records.begin() : std::prev(model_.records.end());
    Delivered record = readRecord(store_, forward ? TVO_FIRST : TVO_LAST);
    for (uint32_t steps = upTo(60);; --steps) {
      ASSERT_EQ(record.status, 0u);
      ASSERT_EQ(record.bytes, at->second.bytes);
      const bool back = forward == (upTo(4) == 0);
      if (steps == 0 ||
          (back ? at == model_.records.begin() : std::next(at) == model_.records.end()))
        break;
      record = readRecord(store_, back ? TVO_PREVIOUS : TVO_NEXT);
      back ? --at : ++at;
    }
    model_.current = &at->first;
  }

  void checkCurrent() {
    const Delivered record = readRecord(store_, TVO_CURRENT);
    const Model::Kept& kept = model_.records.at(*model_.current);
    ASSERT_EQ(record.type, kept.type);
    ASSERT_EQ(record.bytes, kept.bytes);
  }

  std::mt19937 random_;
  RecordStore store_;
  Model model_;
};

TEST(StoreModelTest, RandomOperations) {
  for (uint32_t seed = 1; seed <= 1 + 5 * TAVO_TEST_EFFORT / 100 && !testing::Test::HasFailure();
       ++seed) {
    SCOPED_TRACE(seed);
    Session session(seed);
    for (int step = 1; step <= 4000 && !testing::Test::HasFatalFailure(); ++step) {
      session.step();
      if (step % 500 == 0) {
        session.compare();
        session.verify();
      }
    }
  }
}

}  // namespace
}  // namespace tavo::store
