// Keys: how they are made of field values and how they are ordered.
#pragma once

#include <cstdint>

#include "store/engine/control_block.h"
#include "store/engine/record.h"

namespace tavo::engine {

// Order of two stored keys of an index: below, equal or above 0. Keys of a damaged file may be any
// bytes; they have some order too.
int compareKeys(const ControlBlock& file, int index, const std::uint8_t* a, std::uint32_t aLength,
                const std::uint8_t* b, std::uint32_t bLength);

// The key that field number `number` of a record makes in its index.
int makeKey(const ControlBlock& file, const RecordValues& values, std::uint32_t number, Key& key);
// The key of a plain value, as find() takes it.
int makeKey(const ControlBlock& file, int index, const void* value, std::uint32_t length, Key& key);

// Whether a key segment list is one; kBadSegments when not.
int checkSegments(const KeySegment* segments, std::uint32_t& count);

}  // namespace tavo::engine
