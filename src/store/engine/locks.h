// Record locks of shared files: entries of index 20 under the record's number, carrying the
// holder's slot.
#pragma once

#include <cstdint>

#include "store/engine/control_block.h"

namespace tavo::engine {

// All of these run inside a transaction of the caller; what changes locks, inside its Change.

// kOk when this opener holds the lock of a record, else kNotLocked.
int checkRecordLock(ControlBlock& file, std::int32_t record);
// kNotLocked when another opener has it.
int takeRecordLock(ControlBlock& file, std::int32_t record);
int releaseRecordLock(ControlBlock& file, std::int32_t record);
// Whether any lock is left under this opener's slot, and their removal.
int anyRecordLock(ControlBlock& file, bool& any);
int releaseRecordLocks(ControlBlock& file);

}  // namespace tavo::engine
