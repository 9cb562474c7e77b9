/* A host in plain C: analyses a survey with a callback of its own and with TVO_Write, works on the
 * stored records, and builds a text again with TVO_Read. Argument: the library's path. */
#include <string.h>

#include "host_api.h"
#include "host_checks.h"

static unsigned recordCounts[256];
static unsigned recordsUntilAbort;
static PointRecord lastPoint;

static uint32_t TVO_CALL countRecord(uint32_t recordType, const void* record) {
  if (recordType < 256) ++recordCounts[recordType];
  if (recordType == TVO_RECORD_POINTS) memcpy(&lastPoint, record, sizeof lastPoint);
  if (recordsUntilAbort != 0 && --recordsUntilAbort == 0) return TVO_ERR_ABORTED;
  return TVO_OK;
}

static long sizeOf(const char* path) {
  FILE* const file = fopen(path, "rb");
  long size = -1;
  if (file == NULL) return -1;
  if (fseek(file, 0, SEEK_END) == 0) size = ftell(file);
  fclose(file);
  return size;
}

static uint32_t analyse(const HostApi* api, const char* input, TVO_RecordSink callback) {
  uint16_t errors = 99;
  uint16_t warnings = 99;
  const uint32_t status = api->analyse(input, "host.log", callback, 10, &errors, &warnings);
  CHECK(errors == 0);
  CHECK(warnings == 0);
  return status;
}

static void checkAnalysis(const HostApi* api) {
  double north = 0;
  memset(recordCounts, 0, sizeof recordCounts);
  CHECK(analyse(api, "host.tvo", countRecord) == TVO_OK);
  CHECK(sizeOf("host.log") > 0);
  CHECK(recordCounts[TVO_RECORD_HEADER] == 1);
  CHECK(recordCounts[TVO_RECORD_POINTS_COLUMNS] == 1);
  CHECK(recordCounts[TVO_RECORD_POINTS] == 2);
  memcpy(&north, &lastPoint.North, sizeof north);
  CHECK(north == 2010.5);
  CHECK(strcmp(lastPoint.PointID, "A2") == 0);

  recordsUntilAbort = 1;
  CHECK(TVO_CODE(analyse(api, "host.tvo", countRecord)) == TVO_ERR_ABORTED);
  recordsUntilAbort = 0;
}

static void checkStore(const HostApi* api) {
  uint32_t recordType = 0;
  void* record = NULL;
  PointRecord point;
  CHECK(api->setDataFile("host.dat") == TVO_OK);
  CHECK(TVO_CODE(api->setDataFile("other.dat")) == TVO_ERR_DATA_FILE_OPEN);
  CHECK(api->closeDataFile() == TVO_OK);
  remove("host.dat");

  /* The library makes the data file only when it recognises its own TVO_Write. */
  CHECK(analyse(api, "host.tvo", api->write) == TVO_OK);
  CHECK(sizeOf("host.dat") >= 2 * 1024);

  CHECK(api->openDataFile("host.dat") == TVO_OK);
  CHECK(api->read(TVO_FIRST, &recordType, &record) == TVO_OK);
  CHECK(recordType != 0);
  CHECK(record != NULL);
  memset(&point, 0, sizeof point);
  CHECK(api->find(TVO_RECORD_POINTS, &point) == TVO_OK);
  CHECK(strcmp(point.PointID, "A1") == 0 || strcmp(point.PointID, "A2") == 0);
  CHECK(api->closeDataFile() == TVO_OK);
}

static void checkBuild(const HostApi* api) {
  TVO_Decimals decimals = {0, 0, 0};
  CHECK(api->getDecimals(&decimals) == 0);
  CHECK(decimals.angular == 4 && decimals.linear == 4 && decimals.geographic == 10);
  decimals.linear = 3;
  CHECK(api->setDecimals(&decimals) == 0);
  CHECK(api->setColumns(0) == 0);

  /* The data file is closed: the library opens it only when it recognises its own TVO_Read. */
  CHECK(api->build("host_built.tvo", api->read) == TVO_OK);
  CHECK(sizeOf("host_built.tvo") > 0);
  memset(recordCounts, 0, sizeof recordCounts);
  CHECK(analyse(api, "host_built.tvo", countRecord) == TVO_OK);
  CHECK(recordCounts[TVO_RECORD_POINTS] == 2);
}

int main(int argc, char** argv) {
  HostApi api;
  if (!bindHostApi(argc > 1 ? argv[1] : "", &api)) return 1;
  writeSurvey("host.tvo");
  checkAnalysis(&api);
  checkStore(&api);
  checkBuild(&api);
  if (hostFailures == 0) puts("host: all checks passed");
  return hostFailures == 0 ? 0 : 1;
}
