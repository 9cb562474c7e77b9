// Single durable updates beside SQLite, in one run: 10,000 points of 20,000, drawn at random, are
// found by their numbers and updated one at a time, and each is on the medium before the next one
// begins. Ours is the record store with a journal. SQLite keeps the record structure as a blob
// under the same keys with a rollback journal and full synchronisation, once with the journal
// deleted after each transaction, as is its default, once with it kept, which is what ours does.
//
// The engines take turns, three rounds; medians and ratios are printed. Files are made in the
// current folder, which should be on the kind of disk that matters, and removed.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "bench/sqlite_file.h"
#include "store/record_store.h"

namespace {

using tavo::bench::require;

constexpr uint32_t kPoints = 20'000;
constexpr int kUpdates = 10'000;
constexpr int kRounds = 3;

PointRecord point(uint32_t number, double east) {
  PointRecord record;
  memset(&record, 0, sizeof(record));
  record.PointNo = number;
  snprintf(record.PointID, sizeof(record.PointID), "P%06u", number);
  record.JobNo = 1;
  record.CLASS = TVO_ENUM_MEAS;
  record.East = east;
  record.North = 200000 + number * 0.25;
  record.Elevation = 400;
  snprintf(record.Code, sizeof(record.Code), "C%u", number % 50);
  return record;
}

class Engine {
 public:
  virtual ~Engine() = default;
  virtual const char* name() const = 0;
  virtual void fill() = 0;
  virtual void update(const PointRecord& record) = 0;
};

class Ours final : public Engine {
 public:
  Ours() { remove(); }
  ~Ours() override {
    store_.closeDataFile();
    remove();
  }
  const char* name() const override { return "store with journal"; }
  void fill() override {
    require(store_.setDataFile(kPath) == 0, "creating the data file");
    for (uint32_t n = 1; n <= kPoints; ++n) {
      const PointRecord record = point(n, n);
      require(store_.write(TVO_RECORD_POINTS, &record) == 0, "writing a point");
    }
    require(store_.close() == 0 && store_.setJournal(kJournal), "closing the data file");
    require(store_.openDataFile(kPath) == 0, "opening with a journal");
  }
  void update(const PointRecord& record) override {
    PointRecord sought = record;
    require(store_.find(TVO_RECORD_POINTS, &sought, tavo::store::kByNumber) == 0, "finding");
    require(store_.update(&record) == 0, "updating a point");
  }

 private:
  static constexpr char kPath[] = "durable_bench.dat";
  static constexpr char kJournal[] = "durable_bench.journal";
  static void remove() {
    std::filesystem::remove(kPath);
    std::filesystem::remove(kJournal);
  }
  tavo::store::RecordStore store_;
};

class Sqlite final : public Engine {
 public:
  Sqlite(const char* name, const char* mode) : name_(name), mode_(mode) {
    std::filesystem::remove(kPath);
  }
  ~Sqlite() override {
    sqlite3_finalize(update_);
    db_.close();
    std::filesystem::remove(kPath);
    std::filesystem::remove(std::string(kPath) + "-journal");
  }
  const char* name() const override { return name_; }
  void fill() override {
    db_.open(kPath);
    db_.run("PRAGMA synchronous=FULL;");
    db_.run(mode_);
    std::vector<PointRecord> points;
    for (uint32_t n = 1; n <= kPoints; ++n) points.push_back(point(n, n));
    db_.fill(points);
    update_ = db_.prepare("UPDATE records SET record = ?2 WHERE number = ?1");
  }
  void update(const PointRecord& record) override {
    sqlite3_bind_int64(update_, 1, record.PointNo);
    sqlite3_bind_blob(update_, 2, &record, sizeof(record), SQLITE_STATIC);
    require(sqlite3_step(update_) == SQLITE_DONE, "updating in SQLite");
    sqlite3_reset(update_);
  }

 private:
  static constexpr char kPath[] = "durable_bench.sqlite";
  const char* name_;
  const char* mode_;
  tavo::bench::SqliteFile db_;
  sqlite3_stmt* update_ = nullptr;
};

// Seconds for all updates.
double timeUpdates(Engine& engine) {
  engine.fill();
  std::mt19937 random(1);
  const auto start = std::chrono::steady_clock::now();
  for (int i = 0; i < kUpdates; ++i) {
    engine.update(point(static_cast<uint32_t>(random() % kPoints) + 1, 600000 + i));
  }
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

}  // namespace

int main() {
  std::vector<double> times[3];
  std::string names[3];
  for (int round = 0; round < kRounds; ++round) {
    for (int i = 0; i < 3; ++i) {
      std::unique_ptr<Engine> engine;
      if (i == 0) engine = std::make_unique<Ours>();
      if (i == 1) engine = std::make_unique<Sqlite>("SQLite, DELETE", "PRAGMA journal_mode=DELETE");
      if (i == 2)
        engine = std::make_unique<Sqlite>("SQLite, PERSIST", "PRAGMA journal_mode=PERSIST");
      times[i].push_back(timeUpdates(*engine));
      names[i] = engine->name();
    }
  }
  printf("%d single durable updates, median of %d rounds\n", kUpdates, kRounds);
  for (std::vector<double>& each : times) std::sort(each.begin(), each.end());
  for (int i = 0; i < 3; ++i) {
    const double median = times[i][kRounds / 2];
    printf("%-20s %7.2f s, %7.1f us each, %5.2f times the store's time\n", names[i].c_str(), median,
           median * 1e6 / kUpdates, median / times[0][kRounds / 2]);
  }
  return 0;
}
