// The operations on the records of a file. Each is a transaction of its own; what changes something
// is a change that happens as a whole or not at all.
#pragma once

#include <cstdint>

#include "store/engine/control_block.h"

namespace tavo::engine {

// Stores a record, which becomes the current one.
int insertRecord(ControlBlock& file, const Field* fields, std::uint8_t typeByte);
// On the current record.
int replaceRecord(ControlBlock& file, const Field* fields);
int removeRecord(ControlBlock& file, const Field* fields);
int readRecord(ControlBlock& file, const Field* fields);
int readTypeByte(ControlBlock& file, std::uint8_t* type);

}  // namespace tavo::engine
