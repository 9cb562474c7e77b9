// Time keys, the sort by time and the storage of the object interface's entries.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "platform/text_file.h"
#include "tavo/itavo.h"
#include "tavo/records.h"

namespace tavo::api {

// Orders date-times. Computed in 32 bits that wrap, on purpose: hosts rely on the order that
// results for real years, where the product is larger than 32 bits.
int32_t timeKey(const DateTime& time);

// An entry's key and its position in the storage.
struct TimeOrder {
  int32_t key;
  uint32_t entry;
};

// Sorts by key: quicksort down to pieces of 16, then one insertion sort over all. Not stable.
void sortByTime(std::span<TimeOrder> order);

// Grows by chunks, so that entries keep their addresses.
template <class Entry>
class Chunks {
 public:
  size_t size() const { return size_; }
  // Throws std::bad_alloc.
  Entry& append() {
    if (size_ == chunks_.size() * kChunk) chunks_.push_back(std::make_unique<Entry[]>(kChunk));
    return (*this)[size_++];
  }
  Entry& operator[](size_t i) { return chunks_[i / kChunk][i % kChunk]; }
  const Entry& operator[](size_t i) const { return chunks_[i / kChunk][i % kChunk]; }

 private:
  static constexpr size_t kChunk = 1024;
  std::vector<std::unique_ptr<Entry[]>> chunks_;
  size_t size_ = 0;
};

// ITavo::Analyse of a text that is no file, without a log. The timeline is one of GetITavo.
void analyseInput(ITavo& timeline, platform::TextInput& input);

}  // namespace tavo::api
