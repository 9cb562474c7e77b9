// Creates, opens and closes store files.
#pragma once

#include "store/engine/control_block.h"

namespace tavo::engine {

int createFile(ControlBlock& file, const char* path, const IndexDef* indexes,
               const Options& options);
int openFile(ControlBlock& file, const char* path, const IndexDef* indexes, const Options& options);
// Writes everything that is pending; the file is closed afterwards whatever the result.
int closeFile(ControlBlock& file);

}  // namespace tavo::engine
