/* The functions looked up by their plain names in a library that is loaded at run time. */
#include <stdio.h>
#include <string.h>

#include "host_api.h"

#ifdef _WIN32
#include <windows.h>

static void* openLibrary(const char* path) { return (void*)LoadLibraryA(path); }

static int lookUp(void* library, const char* name, void* function) {
  const FARPROC found = GetProcAddress((HMODULE)library, name);
  memcpy(function, &found, sizeof found);
  return found != NULL;
}
#else
#include <dlfcn.h>

static void* openLibrary(const char* path) { return dlopen(path, RTLD_NOW | RTLD_LOCAL); }

static int lookUp(void* library, const char* name, void* function) {
  void* const found = dlsym(library, name);
  memcpy(function, &found, sizeof found);
  return found != NULL;
}
#endif

int bindHostApi(const char* library, HostApi* api) {
  struct {
    const char* name;
    void* function;
  } const table[] = {{"TVO_Analyse", &api->analyse},
                     {"TVO_Build", &api->build},
                     {"TVO_SetColumns", &api->setColumns},
                     {"TVO_SetDecimals", &api->setDecimals},
                     {"TVO_GetDecimals", &api->getDecimals},
                     {"TVO_Find", &api->find},
                     {"TVO_Update", &api->update},
                     {"TVO_Delete", &api->erase},
                     {"TVO_Read", &api->read},
                     {"TVO_Write", &api->write},
                     {"TVO_SetDataFile", &api->setDataFile},
                     {"TVO_OpenDataFile", &api->openDataFile},
                     {"TVO_CloseDataFile", &api->closeDataFile}};
  void* const handle = openLibrary(library);
  if (handle == NULL) {
    fprintf(stderr, "cannot load %s\n", library);
    return 0;
  }
  for (size_t i = 0; i < sizeof table / sizeof table[0]; ++i) {
    if (!lookUp(handle, table[i].name, table[i].function)) {
      fprintf(stderr, "%s is not exported\n", table[i].name);
      return 0;
    }
  }
  return 1;
}
