// Widths of the columns of data lines, measured over the records of a run. A column remembers what
// it has covered, so that hardly any number is formatted only to be counted: that, and nothing
// else, was half of the cost of alignment.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "writers/value.h"

namespace tavo::writers {

// Columns beyond the last measured one have width 0.
class ColumnWidths {
 public:
  void clear() {
    widths_.fill(0);
    forget();
  }
  // The values' form has changed: widths stay, but say nothing of values seen so far.
  void forget() { covered_ = {}; }
  // Makes room for the values of a record.
  void raise(const ColumnList& columns, const OutputState& state, const char* record);
  size_t operator[](size_t column) const { return widths_[column]; }

 private:
  static constexpr size_t kMeasured = schema::kMaxListed;
  // By sign, minus last: numbers of a smaller magnitude are no longer than the column is wide. Of
  // enumerations first the latest one and 1.
  using Covered = std::array<uint64_t, 2>;

  std::array<uint8_t, kMeasured + 1> widths_{};
  std::array<Covered, kMeasured> covered_{};
};

}  // namespace tavo::writers
