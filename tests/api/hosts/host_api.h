/* The exported functions as a host gets hold of them: linked against the library, or looked up in
 * it at run time. Both give the same table, so one host program serves for both ways. */
#ifndef TAVO_HOST_API_H
#define TAVO_HOST_API_H

#include "tavo/records.h"
#include "tavo/tavo.h"

typedef struct HostApi {
  uint32_t(TVO_CALL* analyse)(const char*, const char*, TVO_RecordSink, uint16_t, uint16_t*,
                              uint16_t*);
  uint16_t(TVO_CALL* build)(const char*, TVO_RecordSource);
  uint32_t(TVO_CALL* setColumns)(uint8_t);
  uint32_t(TVO_CALL* setDecimals)(const TVO_Decimals*);
  uint32_t(TVO_CALL* getDecimals)(TVO_Decimals*);
  uint32_t(TVO_CALL* find)(uint32_t, void*);
  uint32_t(TVO_CALL* update)(const void*);
  uint32_t(TVO_CALL* erase)(void*);
  TVO_RecordSource read;
  TVO_RecordSink write;
  uint32_t(TVO_CALL* setDataFile)(const char*);
  uint32_t(TVO_CALL* openDataFile)(const char*);
  uint32_t(TVO_CALL* closeDataFile)(void);
} HostApi;

/* Fills the table; library is the path that a host which loads the library opens. 1 on success. */
int bindHostApi(const char* library, HostApi* api);

#endif
