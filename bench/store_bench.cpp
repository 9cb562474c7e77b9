// The record store beside SQLite, in one run: the same points under the same keys (record number,
// sort code, point number, identifier) are written, then all are read in sort-code order. SQLite
// keeps the record structure as a blob, without journal and syncs, in one transaction; once with a
// cache as small as the store's (10 pages of 1024 bytes) and once with its own defaults.
//
// Ratios and file sizes follow the times. Files are made in the current folder and removed.
#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "store/record_store.h"

namespace {

constexpr uint32_t kPoints = 200'000;
constexpr char kStorePath[] = "store_bench.dat";
constexpr char kSqlitePath[] = "store_bench.sqlite";
constexpr char kSmallCache[] = "PRAGMA page_size=1024; PRAGMA cache_size=10;";
constexpr char kDefaultCache[] = "";

std::map<std::string, uint64_t>& fileSizes() {
  static std::map<std::string, uint64_t> sizes;
  return sizes;
}

// Points as a survey has them: coordinates, class and code, most other columns empty.
std::vector<PointRecord> points(bool shuffled) {
  std::vector<PointRecord> list(kPoints);
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
  if (shuffled) std::shuffle(list.begin(), list.end(), random);
  return list;
}

void require(bool good, const char* what) {
  if (good) return;
  fprintf(stderr, "store_bench: %s failed\n", what);
  abort();
}

void writeStore(tavo::store::RecordStore& store, const std::vector<PointRecord>& list) {
  require(store.setDataFile(kStorePath) == 0, "creating the data file");
  for (const PointRecord& point : list) {
    require(store.write(TVO_RECORD_POINTS, &point) == 0, "writing a point");
  }
  require(store.close() == 0, "closing the data file");
}

void BM_StoreWrite(benchmark::State& state) {
  const std::vector<PointRecord> list = points(state.range(0) != 0);
  for (auto _ : state) {
    tavo::store::RecordStore store;
    writeStore(store, list);
  }
  fileSizes()[state.range(0) != 0 ? "store shuffled" : "store ascending"] =
      std::filesystem::file_size(kStorePath);
  std::filesystem::remove(kStorePath);
}

void BM_StoreRead(benchmark::State& state) {
  tavo::store::RecordStore store;
  writeStore(store, points(state.range(0) != 0));
  for (auto _ : state) {
    require(store.openDataFile(kStorePath) == 0, "opening the data file");
    RecordType type = 0;
    void* record = nullptr;
    double sum = 0;
    uint32_t count = 0;
    for (uint32_t move = TVO_FIRST; store.read(move, &type, &record) == 0; move = TVO_NEXT) {
      PointRecord point;
      memcpy(&point, record, sizeof(point));
      sum += point.East;
      ++count;
    }
    benchmark::DoNotOptimize(sum);
    require(count == kPoints, "reading all points");
    store.closeDataFile();
  }
  std::filesystem::remove(kStorePath);
}

class Sqlite {
 public:
  explicit Sqlite(const std::string& settings) {
    require(sqlite3_open(kSqlitePath, &db_) == SQLITE_OK, "opening SQLite");
    run((settings + "PRAGMA journal_mode=OFF; PRAGMA synchronous=OFF;").c_str());
  }
  ~Sqlite() { sqlite3_close(db_); }
  Sqlite(const Sqlite&) = delete;
  Sqlite& operator=(const Sqlite&) = delete;

  void run(const char* sql) {
    require(sqlite3_exec(db_, sql, nullptr, nullptr, nullptr) == SQLITE_OK, sql);
  }
  sqlite3_stmt* prepare(const char* sql) {
    sqlite3_stmt* statement = nullptr;
    require(sqlite3_prepare_v2(db_, sql, -1, &statement, nullptr) == SQLITE_OK, sql);
    return statement;
  }

 private:
  sqlite3* db_ = nullptr;
};

void writeSqlite(const char* settings, const std::vector<PointRecord>& list) {
  std::filesystem::remove(kSqlitePath);
  Sqlite db(settings);
  db.run(
      "CREATE TABLE records(id INTEGER PRIMARY KEY, sort INTEGER, number INTEGER, name TEXT,"
      " type INTEGER, record BLOB);"
      "CREATE INDEX by_sort ON records(sort);"
      "CREATE INDEX by_number ON records(number);"
      "CREATE INDEX by_name ON records(name);"
      "BEGIN");
  sqlite3_stmt* insert =
      db.prepare("INSERT INTO records(sort, number, name, type, record) VALUES(?, ?, ?, ?, ?)");
  for (const PointRecord& point : list) {
    sqlite3_bind_int(insert, 1, 10022);
    sqlite3_bind_int64(insert, 2, point.PointNo);
    sqlite3_bind_text(insert, 3, point.PointID, -1, SQLITE_STATIC);
    sqlite3_bind_int(insert, 4, TVO_RECORD_POINTS);
    sqlite3_bind_blob(insert, 5, &point, sizeof(point), SQLITE_STATIC);
    require(sqlite3_step(insert) == SQLITE_DONE, "inserting a point");
    sqlite3_reset(insert);
  }
  sqlite3_finalize(insert);
  db.run("COMMIT");
}

void BM_SqliteWrite(benchmark::State& state, const char* settings, const char* name) {
  const std::vector<PointRecord> list = points(state.range(0) != 0);
  for (auto _ : state) writeSqlite(settings, list);
  fileSizes()[name + std::string(state.range(0) != 0 ? " shuffled" : " ascending")] =
      std::filesystem::file_size(kSqlitePath);
  std::filesystem::remove(kSqlitePath);
}

void BM_SqliteRead(benchmark::State& state, const char* settings) {
  writeSqlite(settings, points(state.range(0) != 0));
  for (auto _ : state) {
    Sqlite db(settings);
    db.run("BEGIN");
    sqlite3_stmt* select = db.prepare("SELECT type, record FROM records ORDER BY sort, id");
    double sum = 0;
    uint32_t count = 0;
    while (sqlite3_step(select) == SQLITE_ROW) {
      PointRecord point;
      require(sqlite3_column_int(select, 0) == TVO_RECORD_POINTS, "reading a type");
      memcpy(&point, sqlite3_column_blob(select, 1), sizeof(point));
      sum += point.East;
      ++count;
    }
    benchmark::DoNotOptimize(sum);
    require(count == kPoints, "reading all points");
    sqlite3_finalize(select);
    db.run("COMMIT");
  }
  std::filesystem::remove(kSqlitePath);
}

void eachOrder(benchmark::internal::Benchmark* benchmark) {
  benchmark->Arg(0)->Arg(1)->ArgName("shuffled");
  benchmark->Unit(benchmark::kMillisecond)->Iterations(1)->Repetitions(3);
}

BENCHMARK(BM_StoreWrite)->Apply(eachOrder);
BENCHMARK_CAPTURE(BM_SqliteWrite, small_cache, kSmallCache, "sqlite_small")->Apply(eachOrder);
BENCHMARK_CAPTURE(BM_SqliteWrite, default_cache, kDefaultCache, "sqlite_default")->Apply(eachOrder);
BENCHMARK(BM_StoreRead)->Apply(eachOrder);
BENCHMARK_CAPTURE(BM_SqliteRead, small_cache, kSmallCache)->Apply(eachOrder);
BENCHMARK_CAPTURE(BM_SqliteRead, default_cache, kDefaultCache)->Apply(eachOrder);

// Keeps the best processor time of each benchmark, which other work on the machine disturbs least;
// neither side waits for the disk.
class Reporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.run_type != Run::RT_Iteration) continue;
      const std::string name = run.run_name.function_name + "/" + run.run_name.args;
      double& best = best_.try_emplace(name, 1e300).first->second;
      best = std::min(best, run.GetAdjustedCPUTime());
    }
    ConsoleReporter::ReportRuns(runs);
  }

  void Finalize() override {
    for (const char* order : {"/shuffled:0", "/shuffled:1"}) {
      for (const char* what : {"Write", "Read"}) {
        for (const char* cache : {"small_cache", "default_cache"}) {
          const auto ours = best_.find(std::string("BM_Store") + what + order);
          const auto theirs = best_.find(std::string("BM_Sqlite") + what + "/" + cache + order);
          if (ours == best_.end() || theirs == best_.end()) continue;
          printf("%-5s %s: SQLite, %-13s, takes %5.2f times the store's time\n", what, order + 1,
                 cache, theirs->second / ours->second);
        }
      }
    }
    for (const auto& [name, size] : fileSizes()) {
      printf("file size %-26s %9.1f KiB\n", name.c_str(), static_cast<double>(size) / 1024);
    }
  }

 private:
  std::map<std::string, double> best_;
};

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  Reporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  return 0;
}
