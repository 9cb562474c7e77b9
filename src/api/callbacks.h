// Recognises the library's own exports among the callbacks that hosts pass.
#pragma once

namespace tavo::api {

// Whether callback, as a host compiled apart sees it, is the export: its address in the library,
// its address for a host that is not position-independent, or a jump of an import table to it.
bool isExport(const void* callback, const void* local, const void* visible);

}  // namespace tavo::api
