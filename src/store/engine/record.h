// Records as they are stored: packing and unpacking.
#pragma once

#include <cstdint>

#include "store/engine/format.h"
#include "store/engine/record_plan.h"

namespace tavo::engine {

// A packed record: u16 of the field list, two unused bytes, the type byte, then the fields, each a
// u16 number and its value, and the end mark.
constexpr std::uint32_t kRecordType = 4;
constexpr std::uint32_t kRecordHead = 5;
constexpr std::uint16_t kRecordEnd = 0xFFFF;

// One value in packed form; bytes is null for a value that takes no room.
struct Value {
  const std::uint8_t* bytes = nullptr;
  std::uint32_t size = 0;
};

// The values of a record, taken from the field list's memory or from a packed record: the same from
// both, so that keys can be made of either. Asking for fields in ascending order is cheap.
class RecordValues {
 public:
  explicit RecordValues(const RecordPlan& plan) : plan_(plan) {}
  RecordValues(const RecordPlan& plan, const std::uint8_t* packed, std::uint32_t size)
      : plan_(plan), packed_(packed), size_(size) {}
  const RecordPlan& plan() const { return plan_; }
  // A field that was left out of the packed form has the value that it is read back with.
  Value get(std::uint32_t number) const;
  // What it means that there is no value: a text too long for its field, or a damaged record.
  int missing() const { return packed_ == nullptr ? kTooLong : kCorrupt; }

 private:
  const RecordPlan& plan_;
  const std::uint8_t* packed_ = nullptr;
  std::uint32_t size_ = 0;
  mutable std::uint32_t offset_ = kRecordHead;  // where the walk through the packed form stands
  mutable std::uint32_t nextNumber_ = 0;
};

int packRecord(const RecordPlan& plan, std::uint8_t typeByte, std::uint8_t* out, std::uint32_t room,
               std::uint32_t& size);
// Fills the list's values from a packed record; kCorrupt when it is none of that list.
int unpackRecord(const RecordPlan& plan, const std::uint8_t* packed, std::uint32_t size);
// The same without values: kCorrupt when the record was not packed by this list.
int checkPacked(const RecordPlan& plan, const std::uint8_t* packed, std::uint32_t size);

}  // namespace tavo::engine
