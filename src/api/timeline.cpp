// The sort by time.
#include "api/timeline.h"

#include <algorithm>
#include <bit>
#include <utility>

namespace tavo::api {

namespace {

constexpr std::ptrdiff_t kPiece = 16;

bool before(const TimeOrder& a, const TimeOrder& b) { return a.key < b.key; }

int32_t median(int32_t a, int32_t b, int32_t c) {
  return std::max(std::min(a, b), std::min(std::max(a, b), c));
}

// Leaves pieces of at most kPiece entries, none of which belongs into another piece. Input that
// defeats the choice of the pivot is sorted by heap instead.
void partition(TimeOrder* first, TimeOrder* last, int depth) {
  while (last - first > kPiece) {
    if (depth-- == 0) {
      std::make_heap(first, last, before);
      std::sort_heap(first, last, before);
      return;
    }
    const int32_t pivot = median(first->key, first[(last - first) / 2].key, last[-1].key);
    TimeOrder* low = first;
    TimeOrder* high = last - 1;
    for (;;) {
      while (low->key < pivot) ++low;
      while (pivot < high->key) --high;
      if (low >= high) break;
      std::swap(*low++, *high--);
    }
    partition(low, last, depth);
    last = low;
  }
}

// Moves an entry down to its place. One with no greater key stands somewhere before it.
void insertUnguarded(TimeOrder* entry) {
  const TimeOrder moved = *entry;
  for (; moved.key < entry[-1].key; --entry) *entry = entry[-1];
  *entry = moved;
}

void insertionSort(TimeOrder* first, TimeOrder* last) {
  for (TimeOrder* entry = first + (first == last ? 0 : 1); entry < last; ++entry) {
    if (entry->key < first->key) {
      std::rotate(first, entry, entry + 1);
    } else {
      insertUnguarded(entry);
    }
  }
}

}  // namespace

int32_t timeKey(const DateTime& time) {
  const int16_t parts[] = {time.year,   time.month,  time.day,       time.hour,
                           time.minute, time.second, time.hundredths};
  constexpr uint32_t kFactors[] = {12, 31, 24, 60, 60, 100};
  uint32_t key = static_cast<uint32_t>(int32_t{parts[0]});
  for (size_t i = 0; i < std::size(kFactors); ++i) {
    key = key * kFactors[i] + static_cast<uint32_t>(int32_t{parts[i + 1]});
  }
  return static_cast<int32_t>(key);
}

void sortByTime(std::span<TimeOrder> order) {
  TimeOrder* const first = order.data();
  TimeOrder* const last = first + order.size();
  partition(first, last, 2 * static_cast<int>(std::bit_width(order.size())));
  if (last - first <= kPiece) {
    insertionSort(first, last);
    return;
  }
  insertionSort(first, first + kPiece);
  for (TimeOrder* entry = first + kPiece; entry < last; ++entry) insertUnguarded(entry);
}

}  // namespace tavo::api
