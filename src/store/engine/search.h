// Searches for keys and moves along the indexes of an open file. Both make a record the current one
// and leave the index positioned.
#pragma once

#include "store/engine/control_block.h"

namespace tavo::engine {

// Looks a key up by a SearchMode in a read transaction of its own.
int findKey(ControlBlock& file, int index, const Key& key, int mode);
// Moves by a Position, inside a read transaction of the caller.
int moveAlong(ControlBlock& file, int index, int how);
// Whether the entry that the index is positioned on has the key of the last search, which was in
// this index.
bool atSoughtKey(const ControlBlock& file, int index);

}  // namespace tavo::engine
