// The catalogue of blocks, one row a block: where it may stand, how it is read and written, which
// records it delivers and how a data file keeps them. A new block is a new row; whatever is asked
// about keywords and record types is computed from the rows at compile time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "schema/fields.h"
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

// What is looked up before a record of a type is stored.
enum class WriteCheck : uint8_t {
  kUnknownType,  // no such record type
  kNotStorable,  // the type is not kept
  kNone,         // stored as often as it is written
  kOncePerFile,  // stored only when no record of the type is there
  kUniqueKey,    // stored only when its number, or without a number its identifier, is new
};

// How a data file keeps the records of a type: the sort code decides where they stand among the
// others. By default it does not.
struct Kept {
  uint16_t sortCode = 0;
  WriteCheck check = WriteCheck::kNotStorable;
};

// Offsets of the members that a data file indexes; kNotKept where the record has none.
struct KeyMembers {
  uint16_t listNo = kNotKept;      // 16-bit number of a subject, layer, code, job ...
  uint16_t number = kNotKept;      // 32-bit number of a point, line, polygon, station or target
  uint16_t identifier = kNotKept;  // text beside that number
};

// How the data record of a block is laid out.
struct Layout {
  const FieldDef* fields =
      nullptr;        // ends with kEndMark; null where lines have a form of their own
  uint16_t size = 0;  // bytes of the packed structure
  KeyMembers keys{};
};

// What only some blocks have, or have otherwise.
struct Oddities {
  KeywordId alsoIn = kUnknownSection;    // a second block that it may stand in
  const FieldDef* definition = nullptr;  // its columns are checked against this table instead
  RecordType extraData = 0;              // a second data record for every line, of extraSize bytes
  uint16_t extraSize = 0;                //   and kept under the first one's sort code
  RecordType writtenUnder = 0;  // it completes its parent's records; a source opens it with this
                                //   columns record, which readers and data files do not know
  int unknownKey = 0;           // error for a completing line whose key no record has
  uint8_t valuesAt = 0;         // item values are written that far behind their line's indentation;
                                //   0: two blanks behind the longest name
  bool continues = false;       // is written without an empty line in front
  bool searched = true;         // a data file offers lookups, without which nothing is a duplicate
  bool readBack = true;         // what a data file keeps makes the whole record again
};

struct BlockDef {
  KeywordId keyword;
  KeywordId parent;  // kUnknownSection: top level
  BlockKind kind;
  RecordType columns = 0;  // 0: delivers no records, or those of its parent
  RecordType data = 0;
  Layout layout{};  // of the data record
  Kept columnsKept{};
  Kept dataKept{};
  Oddities odd{};
};

// How the bytes of a record type are laid out and kept. All columns records have the same layout.
struct RecordDef {
  RecordType type = 0;               // 0: the number is not used
  uint16_t size = 0;                 // bytes of the packed structure
  bool columns = false;              // a ColumnsRecord; fields then describes its block's columns
  const FieldDef* fields = nullptr;  // ends with kEndMark; null where no field table exists
  const BlockDef* block = nullptr;   // the first row that delivers it
  uint16_t sortCode = 0;             // 0: not storable
  WriteCheck check = WriteCheck::kUnknownType;
  bool searched = false;
};

// All rows.
std::span<const BlockDef> blocks();

// Highest record type that a row delivers.
extern const RecordType kLastRecordType;

// The entry of a record type, with type 0 for a number that is not used or out of range.
const RecordDef& recordDef(RecordType type);

// The row of a keyword inside a block (kUnknownSection: at top level), or null where it may not
// stand.
const BlockDef* findBlock(uint32_t parent, uint32_t keyword);

// Whether any keyword may stand inside the blocks of this keyword.
bool hasSubSections(uint32_t keyword);

// The keyword of the block that a keyword stands in by default: kUnknownSection for a section and
// for what is no block, else the parent in its first row.
uint32_t parentOf(uint32_t keyword);

// The row that delivers this columns record type, or null.
const BlockDef* blockOfColumns(RecordType columns);

// The row that a writer opens at this columns record type: that of blockOfColumns, or one that
// completes its parent's records.
const BlockDef* writtenBlock(RecordType columns);

// The columns record type that goes with a data record type, or 0.
RecordType columnsOf(RecordType data);

// The table that a columns record type's definition line is checked against, or null.
const FieldDef* definitionTable(RecordType columns);

// FindField in that table. Status 2 for a record type without a table.
int FieldTableFor(RecordType columns, std::string_view name, FieldDef* field);

}  // namespace tavo::schema
