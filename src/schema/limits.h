// The limits of the format, each once: what readers accept, what writers produce, and the room that
// the tables and buffers between them have.
#pragma once

#include <cstddef>
#include <iterator>

#include "tavo/records.h"

namespace tavo::schema {

// Longest line, in characters without its line feed.
inline constexpr size_t kMaxLine = 129;
// A written line is broken before it reaches this many characters.
inline constexpr size_t kLineBreak = 127;

// Columns that a definition may declare.
inline constexpr size_t kMaxColumns = 39;
// Fields that a columns record lists in front of its end mark, and columns that writers align.
inline constexpr size_t kMaxListed = TVO_COLUMNS_ROOM - 1;

// Named values of a time-tagged code, and points of an operation.
inline constexpr size_t kMaxCodeValues = 20;
inline constexpr size_t kMaxOperationPoints = std::size(OperationPointsRecord{}.points);

// Blocks inside each other, the section counted.
inline constexpr size_t kMaxDepth = 4;

// Room for a name of the tables with its end mark, and entries that a lookup looks at.
inline constexpr size_t kNameSize = 127;
inline constexpr size_t kMaxLookups = 1000;

// Room for any record of a block.
inline constexpr size_t kRecordRoom = 640;
// Values that a record consists of: a default or a free value counts as several.
inline constexpr size_t kMaxMembers = 40;
// Record types are numbers below this one: a data file has a byte for them.
inline constexpr size_t kRecordTypes = 256;

}  // namespace tavo::schema
