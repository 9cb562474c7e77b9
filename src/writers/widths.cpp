// Measuring.
#include "writers/widths.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <optional>

#include "schema/bytes.h"

namespace tavo::writers {

namespace {

using schema::DataType;
using schema::load;

// The order of reals ends where another notation may begin, which is shorter.
constexpr double kLongestFixed = 1e15;
constexpr double kLongestGeneral = 99999;

// Where a number stands among those of its column: an order in which the length never falls.
// Doubles of one sign are ordered as their bits.
struct Rank {
  uint64_t magnitude;
  bool negative = false;
  bool real = false;
};

// First magnitude behind those that certainly take no more digits than this one.
uint64_t endOf(const Rank& rank) {
  if (!rank.real) {
    uint64_t power = 10;
    while (power <= rank.magnitude) power *= 10;
    return power;
  }
  const auto size = std::bit_cast<double>(rank.magnitude);
  double power = 10;
  while (power <= size) power *= 10;
  // What is less than this is not rounded to a further digit.
  return std::max(rank.magnitude + 1, std::bit_cast<uint64_t>(power - 1));
}

std::optional<Rank> rankOf(const ColumnPlan& column, const OutputState& state, double value) {
  const bool general = column.precision == schema::DecimalKind::kGeneral;
  // The larger a value is the fewer digits are significant, so if it is rounded to a further digit
  // a larger one is, too.
  if (!general && column.unit != schema::UnitKind::kNone) {
    value = schema::toWritten(state.units, column.unit, value, column.decimals).value;
  }
  const double size = std::fabs(value);
  if (!(size < (general ? kLongestGeneral : kLongestFixed))) return std::nullopt;
  return Rank{std::bit_cast<uint64_t>(size), std::signbit(value), true};
}

std::optional<Rank> rankOf(const ColumnPlan& column, const OutputState& state, const char* bytes) {
  switch (column.type) {
    case DataType::kUint8:
      return Rank{load<uint8_t>(bytes)};
    case DataType::kUint16:
      return Rank{load<uint16_t>(bytes)};
    case DataType::kUint32:
      return Rank{load<uint32_t>(bytes)};
    case DataType::kFloat:
      // A length is written as what a reader makes of it, which need not keep the order.
      if (column.unit == schema::UnitKind::kLinear) return std::nullopt;
      return rankOf(column, state, static_cast<double>(load<float>(bytes)));
    case DataType::kDouble:
      return rankOf(column, state, load<double>(bytes));
    default:
      return std::nullopt;
  }
}

}  // namespace

void ColumnWidths::raise(const ColumnList& columns, const OutputState& state, const char* record) {
  const size_t count = std::min(columns.count, kMeasured);
  for (size_t i = 0; i < count; ++i) {
    const ColumnPlan& column = columns.columns[i];
    if (column.offset == schema::kNotKept) continue;
    const char* const bytes = record + column.offset;
    if (column.type == DataType::kEnum) {
      // Neighbours mostly have the same one.
      const uint64_t mark = uint64_t{load<EnumId>(bytes)} + 1;
      if (mark == covered_[i][0]) continue;
      covered_[i][0] = mark;
    } else if (const auto rank = rankOf(column, state, bytes)) {
      uint64_t& covered = covered_[i][rank->negative ? 1 : 0];
      if (rank->magnitude < covered) continue;
      covered = endOf(*rank);
    }
    const auto width = static_cast<uint8_t>(measure(column, state, record));
    widths_[i] = std::max(widths_[i], width);
  }
}

}  // namespace tavo::writers
