// A SQLite database with the points as the benchmarks keep them: the record structure as a blob
// under the same keys as the store's. What goes wrong ends the program.
#pragma once

#include <sqlite3.h>

#include <cstdio>
#include <cstdlib>

#include "schema/catalogue.h"
#include "tavo/records.h"

namespace tavo::bench {

inline void require(bool good, const char* what) {
  if (good) return;
  fprintf(stderr, "%s failed\n", what);
  exit(1);
}

class SqliteFile {
 public:
  void open(const char* path) { require(sqlite3_open(path, &db_) == SQLITE_OK, "opening SQLite"); }
  void close() { sqlite3_close(db_); }
  void run(const char* sql) {
    require(sqlite3_exec(db_, sql, nullptr, nullptr, nullptr) == SQLITE_OK, sql);
  }
  sqlite3_stmt* prepare(const char* sql) {
    sqlite3_stmt* statement = nullptr;
    require(sqlite3_prepare_v2(db_, sql, -1, &statement, nullptr) == SQLITE_OK, sql);
    return statement;
  }

  // Writes the points to a new table in one transaction.
  template <class Points>
  void fill(const Points& points) {
    const int sortCode = schema::recordDef(TVO_RECORD_POINTS).sortCode;
    run("CREATE TABLE records(id INTEGER PRIMARY KEY, sort INTEGER, number INTEGER, name TEXT,"
        " type INTEGER, record BLOB);"
        "CREATE INDEX by_sort ON records(sort);"
        "CREATE INDEX by_number ON records(number);"
        "CREATE INDEX by_name ON records(name);"
        "BEGIN");
    sqlite3_stmt* insert =
        prepare("INSERT INTO records(sort, number, name, type, record) VALUES(?, ?, ?, ?, ?)");
    for (const PointRecord& point : points) {
      sqlite3_bind_int(insert, 1, sortCode);
      sqlite3_bind_int64(insert, 2, point.PointNo);
      sqlite3_bind_text(insert, 3, point.PointID, -1, SQLITE_STATIC);
      sqlite3_bind_int(insert, 4, TVO_RECORD_POINTS);
      sqlite3_bind_blob(insert, 5, &point, sizeof(point), SQLITE_STATIC);
      require(sqlite3_step(insert) == SQLITE_DONE, "inserting a point");
      sqlite3_reset(insert);
    }
    sqlite3_finalize(insert);
    run("COMMIT");
  }

 private:
  sqlite3* db_ = nullptr;
};

}  // namespace tavo::bench
