// The record store beside two embedded engines, in one run: 200,000 points under the same four keys
// (record number, sort code, point number, identifier) are written, read through in sort-code order
// and found by number and by identifier, in random order. The engines take turns, so that what else
// goes on meets all of them, and every case ends in a ratio of the medians.
//
// LMDB keeps the same packed record as the store in one tree and the record numbers under the keys
// in three more; SQLite keeps the record structure as a blob, once with its own defaults and once
// with a cache as small as the store's page buffers. Both write in one transaction, without journal
// and syncs. Times are those of the processor: nobody waits for the disk, and other work on the
// machine counts least.
//
// store_bench [rounds]; files are made in the current folder and removed.
#include <lmdb.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "bench/sqlite_file.h"
#include "store/engine/record.h"
#include "store/record_store.h"

namespace {

using tavo::bench::require;

using Points = std::vector<PointRecord>;

constexpr uint32_t kPoints = 200'000;
constexpr uint16_t kSortCode = 10022;

// Points as a survey has them: coordinates, class and code, most other columns empty.
Points makePoints() {
  Points list(kPoints);
  std::mt19937 random(1);
  const auto metres = [&random](uint32_t range) {
    return static_cast<double>(random() % (range * 1000)) / 1000;
  };
  for (uint32_t i = 0; i < kPoints; ++i) {
    PointRecord& point = list[i];
    memset(&point, 0, sizeof(point));
    point.PointNo = i + 1;
    snprintf(point.PointID, sizeof(point.PointID), "P%06u", i + 1);
    point.JobNo = 1;
    point.SYS = 1;
    point.CLASS = TVO_ENUM_MEAS;
    point.East = 600000 + metres(1000);
    point.North = 200000 + metres(1000);
    point.Elevation = 400 + metres(100);
    snprintf(point.Code, sizeof(point.Code), "C%u", static_cast<unsigned>(random() % 50));
    point.LayerNo = static_cast<uint16_t>(random() % 20);
  }
  return list;
}

class Engine {
 public:
  virtual ~Engine() = default;
  // A new file with these points.
  virtual void write(const Points& list) = 0;
  // All points of the file; returns their number and adds to `sum`.
  virtual uint32_t readThrough(double& sum) = 0;
  // Each of the points, by the number or the identifier alone.
  virtual void find(const Points& list, bool byNumber, double& sum) = 0;
  virtual uint64_t fileSize() const = 0;
};

class Store final : public Engine {
 public:
  ~Store() override { std::filesystem::remove(kPath); }

  void write(const Points& list) override {
    require(store_.setDataFile(kPath) == 0, "creating the data file");
    for (const PointRecord& point : list) {
      require(store_.write(TVO_RECORD_POINTS, &point) == 0, "writing a point");
    }
    require(store_.close() == 0, "closing the data file");
  }

  uint32_t readThrough(double& sum) override {
    require(store_.openDataFile(kPath) == 0, "opening the data file");
    RecordType type = 0;
    void* record = nullptr;
    uint32_t count = 0;
    for (uint32_t move = TVO_FIRST; store_.read(move, &type, &record) == 0; move = TVO_NEXT) {
      PointRecord point;
      memcpy(&point, record, sizeof(point));
      sum += point.East;
      ++count;
    }
    store_.closeDataFile();
    return count;
  }

  void find(const Points& list, bool byNumber, double& sum) override {
    require(store_.openDataFile(kPath) == 0, "opening the data file");
    PointRecord point;
    for (const PointRecord& sought : list) {
      point.PointNo = sought.PointNo;
      memcpy(point.PointID, sought.PointID, sizeof(point.PointID));
      require(store_.find(TVO_RECORD_POINTS, &point,
                          byNumber ? tavo::store::kByNumber : tavo::store::kById) == 0,
              "finding a point");
      sum += point.East;
    }
    store_.closeDataFile();
  }

  uint64_t fileSize() const override { return std::filesystem::file_size(kPath); }

 private:
  static constexpr char kPath[] = "store_bench.dat";
  tavo::store::RecordStore store_;
};

class Lmdb final : public Engine {
 public:
  Lmdb() {
    static constexpr uint8_t kKeyTypes[tavo::engine::kIndexNumbers] = {0, 10, 10, 5, 0};
    require(plan_.make(form_->fields(), kKeyTypes), "planning a record");
  }
  ~Lmdb() override { remove(); }

  void write(const Points& list) override {
    remove();
    open(0);
    uint32_t number = 0;
    for (const PointRecord& point : list) {
      ++number;
      form_->load(TVO_RECORD_POINTS, &point);
      uint32_t size = 0;
      require(
          tavo::engine::packRecord(plan_, TVO_RECORD_POINTS, packed_, sizeof(packed_), size) == 0,
          "packing a point");
      put(kRecords, &number, sizeof(number), packed_, size);
      put(kBySortCode, &kSortCode, sizeof(kSortCode), &number, sizeof(number));
      put(kByNumber, &point.PointNo, sizeof(point.PointNo), &number, sizeof(number));
      put(kById, point.PointID, strlen(point.PointID), &number, sizeof(number));
    }
    require(mdb_txn_commit(transaction_) == 0, "committing to LMDB");
    mdb_env_close(environment_);
  }

  uint32_t readThrough(double& sum) override {
    open(MDB_RDONLY);
    MDB_cursor* cursor = nullptr;
    require(mdb_cursor_open(transaction_, trees_[kBySortCode], &cursor) == 0, "an LMDB cursor");
    uint32_t count = 0;
    MDB_val key;
    MDB_val number;
    for (MDB_cursor_op move = MDB_FIRST; mdb_cursor_get(cursor, &key, &number, move) == 0;
         move = MDB_NEXT) {
      sum += record(number)->East;
      ++count;
    }
    mdb_cursor_close(cursor);
    close();
    return count;
  }

  void find(const Points& list, bool byNumber, double& sum) override {
    open(MDB_RDONLY);
    for (const PointRecord& sought : list) {
      MDB_val key{sizeof(sought.PointNo), const_cast<uint32_t*>(&sought.PointNo)};
      if (!byNumber) key = {strlen(sought.PointID), const_cast<char*>(sought.PointID)};
      MDB_val number;
      require(mdb_get(transaction_, trees_[byNumber ? kByNumber : kById], &key, &number) == 0,
              "finding a point in LMDB");
      sum += record(number)->East;
    }
    close();
  }

  uint64_t fileSize() const override { return std::filesystem::file_size(kPath); }

 private:
  enum Tree { kRecords, kBySortCode, kByNumber, kById, kTrees };
  static constexpr char kPath[] = "store_bench.mdb";

  static void remove() {
    std::filesystem::remove(kPath);
    std::filesystem::remove(std::string(kPath) + "-lock");
  }

  void open(unsigned access) {
    const unsigned create = access == MDB_RDONLY ? 0 : MDB_CREATE;
    constexpr unsigned kNumbers = MDB_DUPSORT | MDB_DUPFIXED | MDB_INTEGERDUP;
    require(mdb_env_create(&environment_) == 0, "an LMDB environment");
    mdb_env_set_mapsize(environment_, size_t{1} << 30);
    mdb_env_set_maxdbs(environment_, kTrees);
    require(mdb_env_open(environment_, kPath, MDB_NOSUBDIR | MDB_NOSYNC | access, 0644) == 0,
            "opening LMDB");
    require(mdb_txn_begin(environment_, nullptr, access, &transaction_) == 0, "beginning LMDB");
    const struct {
      const char* name;
      unsigned flags;
    } trees[kTrees] = {{"records", MDB_INTEGERKEY},
                       {"sort code", kNumbers},
                       {"number", kNumbers | MDB_INTEGERKEY},
                       {"identifier", kNumbers}};
    for (int i = 0; i < kTrees; ++i) {
      require(mdb_dbi_open(transaction_, trees[i].name, trees[i].flags | create, &trees_[i]) == 0,
              "opening an LMDB tree");
    }
  }

  void close() {
    mdb_txn_abort(transaction_);
    mdb_env_close(environment_);
  }

  void put(Tree tree, const void* key, size_t keySize, const void* value, size_t size) {
    MDB_val k{keySize, const_cast<void*>(key)};
    MDB_val v{size, const_cast<void*>(value)};
    require(mdb_put(transaction_, trees_[tree], &k, &v, 0) == 0, "putting into LMDB");
  }

  // The record under a record number, unpacked.
  const PointRecord* record(MDB_val number) {
    MDB_val packed;
    require(mdb_get(transaction_, trees_[kRecords], &number, &packed) == 0, "reading LMDB");
    form_->clear();
    require(tavo::engine::unpackRecord(plan_, static_cast<const uint8_t*>(packed.mv_data),
                                       static_cast<uint32_t>(packed.mv_size)) == 0,
            "unpacking a point");
    form_->finishRead();
    return static_cast<const PointRecord*>(form_->record());
  }

  tavo::store::RecordForms forms_;
  tavo::store::RecordForm* const form_ = forms_.of(TVO_RECORD_POINTS);
  tavo::engine::RecordPlan plan_;
  uint8_t packed_[1024];
  MDB_env* environment_ = nullptr;
  MDB_txn* transaction_ = nullptr;
  MDB_dbi trees_[kTrees] = {};
};

class Sqlite final : public Engine {
 public:
  explicit Sqlite(std::string settings)
      : settings_(std::move(settings) + "PRAGMA journal_mode=OFF; PRAGMA synchronous=OFF;") {}
  ~Sqlite() override { std::filesystem::remove(kPath); }

  void write(const Points& list) override {
    std::filesystem::remove(kPath);
    open();
    db_.fill(list);
    db_.close();
  }

  uint32_t readThrough(double& sum) override {
    open();
    db_.run("BEGIN");
    sqlite3_stmt* select = db_.prepare("SELECT type, record FROM records ORDER BY sort, id");
    uint32_t count = 0;
    for (; sqlite3_step(select) == SQLITE_ROW; ++count) add(select, sum);
    close(select);
    return count;
  }

  void find(const Points& list, bool byNumber, double& sum) override {
    open();
    db_.run("BEGIN");
    sqlite3_stmt* select =
        db_.prepare(byNumber ? "SELECT type, record FROM records WHERE number = ?"
                             : "SELECT type, record FROM records WHERE name = ?");
    for (const PointRecord& sought : list) {
      if (byNumber)
        sqlite3_bind_int64(select, 1, sought.PointNo);
      else
        sqlite3_bind_text(select, 1, sought.PointID, -1, SQLITE_STATIC);
      require(sqlite3_step(select) == SQLITE_ROW, "finding a point in SQLite");
      add(select, sum);
      sqlite3_reset(select);
    }
    close(select);
  }

  uint64_t fileSize() const override { return std::filesystem::file_size(kPath); }

 private:
  static constexpr char kPath[] = "store_bench.sqlite";

  void open() {
    db_.open(kPath);
    db_.run(settings_.c_str());
  }
  void close(sqlite3_stmt* statement) {
    sqlite3_finalize(statement);
    db_.run("COMMIT");
    db_.close();
  }
  static void add(sqlite3_stmt* select, double& sum) {
    PointRecord point;
    require(sqlite3_column_int(select, 0) == TVO_RECORD_POINTS, "reading a type");
    memcpy(&point, sqlite3_column_blob(select, 1), sizeof(point));
    sum += point.East;
  }

  std::string settings_;
  tavo::bench::SqliteFile db_;
};

double processorSeconds() {
  timespec now = {};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

enum Case { kWriteAscending, kWriteShuffled, kReadThrough, kFindNumber, kFindId, kCases };
constexpr const char* kCaseNames[kCases] = {"write, ascending", "write, shuffled", "read through",
                                            "find by number", "find by ID"};

// One turn of an engine: the file of the ascending points is kept for reading and finding.
std::array<double, kCases> turn(Engine& engine, const Points& ascending, const Points& shuffled,
                                double& sum, uint64_t sizes[2]) {
  std::array<double, kCases> times{};
  for (const Case what : {kWriteShuffled, kWriteAscending, kReadThrough, kFindNumber, kFindId}) {
    const double start = processorSeconds();
    if (what == kWriteAscending || what == kWriteShuffled) {
      engine.write(what == kWriteAscending ? ascending : shuffled);
      sizes[what] = engine.fileSize();
    } else if (what == kReadThrough) {
      require(engine.readThrough(sum) == kPoints, "reading all points");
    } else {
      engine.find(shuffled, what == kFindNumber, sum);
    }
    times[what] = (processorSeconds() - start) / kPoints * 1e9;
  }
  return times;
}

double median(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

}  // namespace

int main(int argc, char** argv) {
  const int rounds = argc > 1 ? std::max(1, atoi(argv[1])) : 5;
  const Points ascending = makePoints();
  Points shuffled = ascending;
  std::shuffle(shuffled.begin(), shuffled.end(), std::mt19937(2));

  struct Side {
    const char* name;
    std::unique_ptr<Engine> engine;
    std::array<std::vector<double>, kCases> times;
    uint64_t sizes[2] = {};
  };
  std::array<Side, 4> sides;
  sides[0] = {"store", std::make_unique<Store>(), {}, {}};
  sides[1] = {"LMDB", std::make_unique<Lmdb>(), {}, {}};
  sides[2] = {"SQLite, defaults", std::make_unique<Sqlite>(""), {}, {}};
  sides[3] = {"SQLite, 10 pages",
              std::make_unique<Sqlite>("PRAGMA page_size=1024; PRAGMA cache_size=10;"),
              {},
              {}};
  for (int round = 0; round < rounds; ++round) {
    double sums[sides.size()] = {};
    for (size_t i = 0; i < sides.size(); ++i) {
      const auto times = turn(*sides[i].engine, ascending, shuffled, sums[i], sides[i].sizes);
      for (int c = 0; c < kCases; ++c) sides[i].times[c].push_back(times[c]);
      require(sums[i] == sums[0], "reading the same values from all");
    }
  }

  printf(
      "%u points, medians of %d rounds, ns of processor time a record; in brackets how many\n"
      "times the store is as fast\n\n%-18s %9s",
      kPoints, rounds, "", sides[0].name);
  for (size_t i = 1; i < sides.size(); ++i) printf("  %17s", sides[i].name);
  for (int c = 0; c < kCases; ++c) {
    const double ours = median(sides[0].times[c]);
    printf("\n%-18s %9.0f", kCaseNames[c], ours);
    for (size_t i = 1; i < sides.size(); ++i) {
      const double theirs = median(sides[i].times[c]);
      printf("  %8.0f (%6.2f)", theirs, theirs / ours);
    }
  }
  for (const Case what : {kWriteAscending, kWriteShuffled}) {
    printf("\n%-18s %5llu KiB", what == kWriteAscending ? "size, ascending" : "size, shuffled",
           static_cast<unsigned long long>(sides[0].sizes[what] >> 10));
    for (size_t i = 1; i < sides.size(); ++i)
      printf("  %13llu KiB", static_cast<unsigned long long>(sides[i].sizes[what] >> 10));
  }
  printf("\n");
  return 0;
}
