/* What the host programs share: a check that counts failures, and the survey that they use. */
#ifndef TAVO_HOST_CHECKS_H
#define TAVO_HOST_CHECKS_H

#include <stdio.h>

static int hostFailures = 0;

#define CHECK(condition)                                                      \
  do {                                                                        \
    if (!(condition)) {                                                       \
      ++hostFailures;                                                         \
      fprintf(stderr, "%s:%d: failed: %s\n", __FILE__, __LINE__, #condition); \
    }                                                                         \
  } while (0)

static const char kSurvey[] =
    "HEADER\n"
    "  VERSION 1.31\n"
    "  UNITS\n"
    "    TIME DMY\n"
    "  END UNITS\n"
    "END HEADER\n"
    "DATABASE\n"
    "  POINTS(PointNo, PointID, East, North, Elevation, Date)\n"
    "    1, \"A1\", 1000.25, 2000.5, 100.125, 15-06-2024/10:30:00.00;\n"
    "    2, \"A2\", 1010.25, 2010.5, 101.125, 15-06-2024/10:20:00.00;\n"
    "  END POINTS\n"
    "END DATABASE\n";

static void writeSurvey(const char* path) {
  FILE* const file = fopen(path, "w");
  CHECK(file != NULL);
  if (file == NULL) return;
  CHECK(fputs(kSurvey, file) >= 0);
  CHECK(fclose(file) == 0);
}

#endif
