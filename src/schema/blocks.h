// The tree of blocks: which keyword may stand in which block, what the block holds and which record
// types it delivers. A new block is a new row.
#pragma once

#include <cstdint>
#include <string_view>

#include "schema/keywords.h"
#include "schema/types.h"

namespace tavo::schema {

enum class BlockKind : uint8_t {
  kContainer,        // sub-sections only
  kItemLines,        // item lines, perhaps with sub-sections
  kDataLines,        // data lines under a column definition, perhaps with sub-sections
  kCollected,        // data lines held back until a sub-section or the END comes
  kCompletion,       // data lines that complete the records held back by the parent
  kTimeTaggedLines,  // lines of fixed layout
  kOperationLines,   // pairs of an operation line and a points line
};

struct BlockDef {
  KeywordId keyword;
  KeywordId parent;  // kUnknownSection: top level
  BlockKind kind;
  RecordType columns;  // 0: delivers no records, or those of its parent
  RecordType data;
};

// The row of a keyword inside a block (kUnknownSection: at top level), or null where it may not
// stand.
const BlockDef* findBlock(uint32_t parent, uint32_t keyword);

// Whether any keyword may stand inside the blocks of this keyword.
bool hasSubSections(uint32_t keyword);

// The row that delivers this columns record type, or null.
const BlockDef* blockOfColumns(RecordType columns);

// The columns record type that goes with a data record type (OPERATIONS has two), or 0.
RecordType columnsOf(RecordType data);

}  // namespace tavo::schema
