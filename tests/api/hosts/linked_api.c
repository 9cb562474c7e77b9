/* The functions as the linker resolves them. In a program that is not position-independent their
 * addresses are the program's own. */
#include "host_api.h"

int bindHostApi(const char* library, HostApi* api) {
  (void)library;
  api->analyse = TVO_Analyse;
  api->build = TVO_Build;
  api->setColumns = TVO_SetColumns;
  api->setDecimals = TVO_SetDecimals;
  api->getDecimals = TVO_GetDecimals;
  api->find = TVO_Find;
  api->update = TVO_Update;
  api->erase = TVO_Delete;
  api->read = TVO_Read;
  api->write = TVO_Write;
  api->setDataFile = TVO_SetDataFile;
  api->openDataFile = TVO_OpenDataFile;
  api->closeDataFile = TVO_CloseDataFile;
  return 1;
}
