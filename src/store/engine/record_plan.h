// Field lists as they are worked with: checked once, with the fields sorted out by what has to be
// done with them.
#pragma once

#include <array>
#include <cstdint>
#include <cstring>
#include <memory>

#include "store/engine/engine.h"
#include "store/engine/format.h"

namespace tavo::engine {

// What happens to one field.
struct FieldStep {
  enum Kind : std::uint8_t {
    kUnknown,
    kByte,      // H
    kWord,      // I, U
    kLong,      // L, F
    kSix,       // P
    kEight,     // X
    kReal,      // D
    kText,      // S
    kBytes,     // B
    kAnyBytes,  // M, which is there also when it is empty
    kFilled,    // C, N
  };
  Kind kind;
  bool key;            // it is in any case stored
  std::uint16_t room;  // bytes that the value has, of numbers and C and N; else may have
  std::uint8_t* value;
};

// A field list with all that follows from it alone. The values are where the list says.
class RecordPlan {
 public:
  // Whether it was made of a list that is the same in every respect.
  bool isOf(const Field* fields) const;
  // False when memory is short.
  bool make(const Field* fields, const std::uint8_t keyTypes[kIndexNumbers]);

  // Checks the list; the full check also looks at lengths and texts.
  int check(bool full) const;

  std::uint32_t count() const { return count_; }
  const Field& field(std::uint32_t number) const { return fields_[number]; }
  const FieldStep& step(std::uint32_t number) const { return steps_[number]; }
  const FieldStep* begin() const { return steps_.get(); }
  const FieldStep* end() const { return steps_.get() + count_; }
  // The fields that are keys; their number and the n-th of them.
  std::uint32_t keys() const { return keys_; }
  std::uint32_t keyField(std::uint32_t n) const { return keyFields_[n]; }
  // Fields that name an index.
  std::uint32_t indexed() const { return indexed_; }
  // A number that differs between field lists that pack differently.
  std::uint16_t mark() const { return mark_; }

 private:
  std::uint32_t count_ = 0;
  std::uint32_t keys_ = 0;
  std::uint32_t indexed_ = 0;
  std::uint16_t mark_ = 0;
  int checks_[2] = {};         // results of the light and the full check, texts left out
  std::uint32_t checked_ = 0;  // fields in front of the one that the full check found fault with
  std::unique_ptr<Field[]> fields_;  // with the end entry
  std::unique_ptr<FieldStep[]> steps_;
  std::unique_ptr<std::uint32_t[]> keyFields_;
};

// The plans of the lists used last. A caller's list is taken for the one that it was only after
// comparing, so it may be changed or another one at any time.
class RecordPlans {
 public:
  // The plan of a list; null when memory is short. It stays until the next call.
  const RecordPlan* of(const Field* fields, const std::uint8_t keyTypes[kIndexNumbers]);
  // The index definitions of the file are others now.
  void forget();

 private:
  struct Place {
    const Field* list = nullptr;
    RecordPlan plan;
  };
  std::array<Place, 32> places_;
};

// Length of the text in a field, its end mark not counted; a text without one fills its field.
inline std::uint32_t textLength(const FieldStep& text) {
  // Most texts of most records are empty.
  if (text.room == 0 || text.value[0] == 0) return 0;
  const void* const end = std::memchr(text.value, 0, text.room);
  return end == nullptr
             ? text.room
             : static_cast<std::uint32_t>(static_cast<const std::uint8_t*>(end) - text.value);
}

}  // namespace tavo::engine
