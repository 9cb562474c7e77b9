/* A host without a C library, so that it needs nothing but the two libraries: its exit code is the
 * number of the first step that went wrong. */
#include "tavo/survey.h"
#include "tavo/tavo.h"

static int counted;

static uint32_t TVO_CALL count(uint32_t type, const void* record) {
  (void)type;
  (void)record;
  ++counted;
  return 0;
}

static uint32_t take(const tavo_record* record, void* user) {
  (void)record;
  ++*(int*)user;
  return 0;
}

int host(void) {
  static const char text[] =
      "DATABASE\nPOINTS (PointNo,East,North)\n1,2,3;\nEND POINTS\nEND DATABASE\n";
  tavo_input input = TAVO_INPUT_INIT;
  tavo_analysis_options options = TAVO_ANALYSIS_OPTIONS_INIT;
  TVO_Decimals decimals;
  int records = 0;
  input.bytes = text;
  input.size = sizeof text - 1;
  options.on_record = take;
  options.record_user = &records;
  if (tavo_analyse(&input, &options, 0) != TAVO_OK) return 1;
  if (records != 2) return 2;
  if (TVO_GetDecimals(&decimals) != TVO_OK) return 3;
  /* A path that names nothing: the call comes back with its code and the stack as it was. */
  if (TVO_Analyse("no such file", "no such folder/log", count, 1, 0, 0) != TVO_ERR_OPEN) return 4;
  return counted == 0 ? 0 : 5;
}
