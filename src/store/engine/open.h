// Creates, opens and closes store files.
#pragma once

#include "store/engine/control_block.h"

namespace tavo::engine {

int createFile(ControlBlock& file, const char* path, const IndexDef* indexes,
               const Options& options);
int openFile(ControlBlock& file, const char* path, const IndexDef* indexes, const Options& options);
// The file of an exclusive opener once more, after its handle was given away; null on failure.
std::unique_ptr<platform::File> openHandleAgain(ControlBlock& file);
// Writes everything that is pending; the file is closed afterwards whatever the result.
int closeFile(ControlBlock& file);

}  // namespace tavo::engine
