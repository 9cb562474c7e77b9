// Records that are to be written: packed structures side by side, each with the fields that it
// gives.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "losses.h"
#include "tavo/survey.h"

namespace tavo::gdal {

class Rows {
 public:
  explicit Rows(uint32_t type);

  uint32_t type() const { return type_; }
  const tavo_schema_block& block() const { return *block_; }
  size_t size() const { return given_.size(); }
  const char* at(size_t row) const { return bytes_.data() + row * size_; }
  tavo_given given(size_t row) const { return given_[row]; }

  // Appends one that gives nothing.
  size_t add();
  bool has(size_t row, TVO_FieldId id) const;
  void drop(size_t row, TVO_FieldId id);
  // `bytes` are those of the member. A field that the block does not have changes nothing.
  void put(size_t row, TVO_FieldId id, const void* bytes, size_t size);
  template <class T>
  void set(size_t row, TVO_FieldId id, T value) {
    put(row, id, &value, sizeof value);
  }
  // A text as long as the field holds it, in characters that a line can hold.
  void setText(size_t row, TVO_FieldId id, std::string_view text, Losses& losses);
  template <class T>
  T get(size_t row, TVO_FieldId id) const {
    T value{};
    size_t place = 0;
    if (const tavo_schema_field* const field = find(id, place)) {
      std::memcpy(&value, at(row) + field->offset, sizeof value);
    }
    return value;
  }
  std::string_view text(size_t row, TVO_FieldId id) const;

 private:
  const tavo_schema_field* find(TVO_FieldId id, size_t& place) const;

  uint32_t type_;
  const tavo_schema_block* block_;
  size_t size_;
  std::vector<const tavo_schema_field*> fields_;  // by place
  std::vector<char> bytes_;
  std::vector<tavo_given> given_;
};

// The text without what a line cannot hold, of at most `room` bytes; never ends within a character.
std::string fitted(std::string_view text, size_t room, Losses& losses);

}  // namespace tavo::gdal
