// Column definitions and data lines: the list of columns that a block declares, and the splitting
// of its data lines into values at their places in a record.
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "reader/run.h"
#include "schema/catalogue.h"
#include "schema/types.h"

namespace tavo::reader {

using schema::kMaxColumns;

// One declared column. offset is its value's place in what a data line is parsed into; kNotKept for
// a column that is checked and dropped.
struct Column {
  FieldId id;
  schema::DataType type;
  uint8_t width;
  schema::EnumGroup group;
  schema::UnitKind unit;
  uint16_t offset;
  bool repeats;          // an earlier column has the same place: only a value overwrites it
  bool plain;            // the value goes to its place as it is read
  uint64_t bit;          // the field's place in the block's table; none for an unknown column
  uint64_t through = 0;  // the bits of this column and of those in front of it
};

// The declared columns of a block, in order.
class Columns {
 public:
  std::span<const Column> span() const { return {columns_.data(), count_}; }
  std::span<Column> span() { return {columns_.data(), count_}; }
  size_t size() const { return count_; }
  bool full() const { return count_ == kMaxColumns; }
  void add(const Column& column) {
    columns_[count_] = column;
    columns_[count_].through = declared() | column.bit;
    ++count_;
  }
  // The fields that are declared.
  uint64_t declared() const { return count_ == 0 ? 0 : columns_[count_ - 1].through; }
  void clear() { count_ = 0; }
  // Whether a column has its value at the offset.
  bool hasPlace(uint16_t offset) const;
  // The list as a columns record, its comment empty.
  ColumnsRecord record() const;

 private:
  std::array<Column, kMaxColumns> columns_;
  size_t count_ = 0;
};

// Parses the column definition that the current line begins, looking names up in the definition
// table of columnsType; offsets are those of the record type dataType. Result: kGoOn; otherwise the
// block is over and its reader returns the result: kStop, kEndOfInput (the input ended inside the
// list, which leaves the block open), or an error number. A definition without "(" leaves the
// block's lines to the enclosing reader; after the other errors they have been passed over up to
// the END of keyword.
int parseColumns(Run& run, uint32_t keyword, RecordType columnsType, RecordType dataType,
                 Columns* columns);

// What became of a data line.
enum class DataLine {
  kGood,
  kBad,       // reported; delivers no record
  kLimit,     // the error limit is reached
  kInputEnd,  // the input ended inside a continuation
  kBlockEnd,  // the block's END stood where a continuation was due
};

// Splits the current line and its continuations into the columns' values below target, and says
// where they come from. The END of keyword is no continuation.
DataLine parseDataLine(Run& run, uint32_t keyword, std::span<const Column> columns, uint8_t* target,
                       Origin* origin);

// Reports the missing END of a block: kEndOfInput, or kStop at the error limit.
int reportOpenBlock(Run& run, uint32_t keyword);

// Passes lines over up to the END of keyword; kGoOn, kStop or kEndOfInput.
int passOver(Run& run, uint32_t keyword);

}  // namespace tavo::reader
