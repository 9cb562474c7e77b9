// A host in C++: collects a survey's dated points through the object interface and walks them in
// time order.
#include <cstdio>
#include <cstring>

#include "host_checks.h"
#include "tavo/itavo.h"
#include "tavo/records.h"

namespace {

void checkPoint(TimeCursor* cursor, const char* id) {
  const void* record = nullptr;
  CHECK(cursor->IsValid() == 1);
  CHECK(cursor->Get(&record) == 1);
  if (record == nullptr) return;
  PointRecord point;
  std::memcpy(&point, record, sizeof point);
  CHECK(std::strcmp(point.PointID, id) == 0);
}

}  // namespace

int main() {
  writeSurvey("object.tvo");
  ITavo* const tavo = GetITavo();
  CHECK(tavo != nullptr);
  if (tavo == nullptr) return 1;
  uint16_t errors = 99;
  uint16_t warnings = 99;
  CHECK(tavo->Analyse("object.tvo", "object.log", 10, &errors, &warnings) == 0);
  CHECK(errors == 0 && warnings == 0);

  TimeCursor* const cursor = tavo->CreateCursor();
  CHECK(cursor != nullptr);
  if (cursor == nullptr) return 1;
  const void* record = cursor;
  CHECK(cursor->IsValid() == 0);
  CHECK(cursor->Get(&record) == 0 && record == nullptr);
  cursor->First();
  checkPoint(cursor, "A2");
  cursor->Next();
  checkPoint(cursor, "A1");
  cursor->Next();
  CHECK(cursor->IsValid() == 0);
  cursor->Last();
  checkPoint(cursor, "A1");
  tavo->Delete();
  if (hostFailures == 0) std::puts("host: all checks passed");
  return hostFailures == 0 ? 0 : 1;
}
