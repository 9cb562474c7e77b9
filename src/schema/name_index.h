// Compile-time hash index over the names of a constant table, for lookups on the data-line path.
// Finds what a scan of the table in order would find: the first entry with exactly that name.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace tavo::schema {

// N counts the table's entries with its end mark, which is not indexed.
template <size_t N>
class NameIndex {
 public:
  template <class Entry>
  explicit consteval NameIndex(const Entry (&table)[N]) {
    for (size_t i = 0; i + 1 < N; ++i) {
      const std::string_view name(table[i].name);
      size_t slot = hash(name) & kMask;
      bool taken = false;
      while (slots_[slot] != 0 && !taken) {
        taken = std::string_view(table[slots_[slot] - 1U].name) == name;
        slot = (slot + 1) & kMask;
      }
      if (!taken) slots_[slot] = static_cast<uint8_t>(i + 1);
      lengths_[i] = static_cast<uint8_t>(name.size());
      starts_[static_cast<uint8_t>(name.front())] = true;
    }
  }

  // Whether any name begins with the character.
  bool begins(char c) const { return starts_[static_cast<uint8_t>(c)]; }

  // Position of the name in the table, or N when it is not there.
  template <class Entry>
  size_t find(const Entry (&table)[N], std::string_view name) const {
    if (name.empty() || !begins(name.front())) return N;
    for (size_t slot = hash(name) & kMask; slots_[slot] != 0; slot = (slot + 1) & kMask) {
      const size_t i = slots_[slot] - 1U;
      if (lengths_[i] == name.size() && name == std::string_view(table[i].name, lengths_[i])) {
        return i;
      }
    }
    return N;
  }

 private:
  static constexpr size_t kSlots = 256;
  static constexpr size_t kMask = kSlots - 1;
  static_assert(N < kSlots / 2, "the index must stay sparse, it is probed until an empty slot");

  // The names of a table differ enough in length, first, middle and last characters.
  static constexpr size_t hash(std::string_view name) {
    const size_t n = name.size();
    const auto at = [name](size_t i) { return size_t{static_cast<uint8_t>(name[i])}; };
    return n + at(0) * 5 + at(n / 2) * 17 + at(n - 1) * 61;
  }

  std::array<uint8_t, kSlots> slots_{};  // table position + 1, 0 = empty
  std::array<uint8_t, N> lengths_{};     // of the names
  std::array<bool, 256> starts_{};       // characters that a name begins with
};

}  // namespace tavo::schema
