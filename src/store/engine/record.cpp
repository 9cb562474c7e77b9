// Packs and unpacks records by the plans of their field lists.
#include "store/engine/record.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace tavo::engine {
namespace {

using Kind = FieldStep::Kind;

constexpr std::uint8_t kZero[8] = {};

// Copies a value; the sizes of numbers are known to the compiler.
inline void copyValue(void* to, const std::uint8_t* from, std::uint32_t size) {
  switch (size) {
    case 1:
      std::memcpy(to, from, 1);
      return;
    case 2:
      std::memcpy(to, from, 2);
      return;
    case 4:
      std::memcpy(to, from, 4);
      return;
    case 8:
      std::memcpy(to, from, 8);
      return;
    default:
      std::memcpy(to, from, size);
  }
}

bool allBlank(const std::uint8_t* bytes, std::uint32_t size) {
  return std::all_of(bytes, bytes + size, [](std::uint8_t byte) { return byte == ' '; });
}

// The value of a field as it stands in memory; kTooLong when it does not fit its field.
inline int memoryValue(const FieldStep& step, Value& value) {
  value.bytes = step.value;
  switch (step.kind) {
    case Kind::kText:
      value.size = textLength(step) + 1;
      return value.size > step.room ? kTooLong : kOk;
    case Kind::kBytes:
    case Kind::kAnyBytes:
      value.size = 2u + loadU16(step.value);
      return value.size - 2 > step.room ? kTooLong : kOk;
    case Kind::kUnknown:
      return kBadFieldType;
    default:
      value.size = step.room;
      return kOk;
  }
}

// Whether a value is none, so that it need not be stored when it is no key.
inline bool isEmpty(const FieldStep& step, const Value& value) {
  switch (step.kind) {
    case Kind::kBytes:
      return value.size == 2;
    case Kind::kFilled:
      return allBlank(value.bytes, value.size);
    case Kind::kText:
      return value.size == 1;
    case Kind::kReal:
      // Negative zero has a bit to keep.
      return std::memcmp(value.bytes, kZero, 8) == 0;
    default:
      return false;
  }
}

// The value of a field that holds nothing, as far as a key can hold it. Types that always take room
// have none.
Value emptyValue(const FieldStep& step) {
  static constexpr std::array<std::uint8_t, 256> kBlanks = [] {
    std::array<std::uint8_t, 256> blanks{};
    blanks.fill(' ');
    return blanks;
  }();
  switch (step.kind) {
    case Kind::kBytes:
      return {kZero, 2};
    case Kind::kFilled:
      return {kBlanks.data(), std::min<std::uint32_t>(step.room, kBlanks.size())};
    case Kind::kText:
      return {kZero, 1};
    case Kind::kReal:
      return {kZero, 8};
    default:
      return {};
  }
}

// Size of a field's value at the start of `room` packed bytes; false when it does not fit.
inline bool packedSize(const FieldStep& step, const std::uint8_t* bytes, std::uint32_t room,
                       std::uint32_t& size) {
  switch (step.kind) {
    case Kind::kText: {
      const void* const end = room == 0 ? nullptr : std::memchr(bytes, 0, room);
      if (end == nullptr) return false;
      size = static_cast<std::uint32_t>(static_cast<const std::uint8_t*>(end) - bytes) + 1;
      return size == 1 || size <= step.room;
    }
    case Kind::kBytes:
    case Kind::kAnyBytes:
      if (room < 2) return false;
      size = 2u + loadU16(bytes);
      return size - 2 <= step.room && size <= room;
    default:
      size = step.room;
      return size <= room;
  }
}

inline void clearValue(const FieldStep& step) {
  switch (step.kind) {
    case Kind::kText:
      if (step.room != 0) *step.value = 0;
      return;
    case Kind::kBytes:
    case Kind::kAnyBytes:
      std::memset(step.value, 0, 2);
      return;
    case Kind::kFilled:
    case Kind::kUnknown:
      if (step.room != 0) std::memset(step.value, ' ', step.room);
      return;
    default:
      copyValue(step.value, kZero, step.room);
  }
}

// Walks a packed record along its field list: `present` gets the fields that are there, `absent`
// those that hold nothing.
template <typename Present, typename Absent>
int walkPacked(const RecordPlan& plan, const std::uint8_t* packed, std::uint32_t size,
               Present&& present, Absent&& absent) {
  const FieldStep* const first = plan.begin();
  const FieldStep* const end = plan.end();
  std::uint32_t at = kRecordHead;
  for (const FieldStep* step = first;; ++step) {
    if (at + 2 > size) return kCorrupt;
    const std::uint32_t number = loadU16(packed + at);
    at += 2;
    // The end mark is above every number.
    const FieldStep* const there = number < plan.count() ? first + number : end;
    for (; step < there; ++step) absent(*step);
    if (number == kRecordEnd) return kOk;
    std::uint32_t length = 0;
    if (there == end || step != there || !packedSize(*step, packed + at, size - at, length))
      return kCorrupt;
    present(*step, packed + at, length);
    at += length;
  }
}

}  // namespace

int packRecord(const RecordPlan& plan, std::uint8_t typeByte, std::uint8_t* out, std::uint32_t room,
               std::uint32_t& size) {
  if (room < kRecordHead + 2) return kBufferTooSmall;
  storeU16(out, plan.mark());
  storeU16(out + 2, 0);
  out[kRecordType] = typeByte;
  std::uint32_t at = kRecordHead;
  std::uint16_t number = 0;
  for (const FieldStep& step : plan) {
    Value value;
    const int code = memoryValue(step, value);
    if (code != kOk) return code;
    if (step.key || !isEmpty(step, value)) {
      if (value.size + 4 > room - at) return kBufferTooSmall;
      storeU16(out + at, number);
      copyValue(out + at + 2, value.bytes, value.size);
      at += 2 + value.size;
    }
    ++number;
  }
  storeU16(out + at, kRecordEnd);
  size = at + 2;
  return kOk;
}

int unpackRecord(const RecordPlan& plan, const std::uint8_t* packed, std::uint32_t size) {
  return walkPacked(
      plan, packed, size,
      [](const FieldStep& step, const std::uint8_t* value, std::uint32_t length) {
        if (step.kind != Kind::kText || step.room != 0) copyValue(step.value, value, length);
      },
      clearValue);
}

int checkPacked(const RecordPlan& plan, const std::uint8_t* packed, std::uint32_t size) {
  if (size < kRecordHead || loadU16(packed) != plan.mark()) return kCorrupt;
  return walkPacked(
      plan, packed, size, [](const FieldStep&, const std::uint8_t*, std::uint32_t) {},
      [](const FieldStep&) {});
}

Value RecordValues::get(std::uint32_t number) const {
  Value value;
  const FieldStep& step = plan_.step(number);
  if (packed_ == nullptr) {
    if (memoryValue(step, value) != kOk) value = Value();
    return value;
  }
  if (number < nextNumber_) {
    offset_ = kRecordHead;
    nextNumber_ = 0;
  }
  while (offset_ + 2 <= size_) {
    const std::uint32_t found = loadU16(packed_ + offset_);
    // Numbers ascend and the end mark is the largest, so a greater number means that this one is
    // not there.
    if (found > number || found < nextNumber_) break;
    std::uint32_t length = 0;
    if (!packedSize(plan_.step(found), packed_ + offset_ + 2, size_ - offset_ - 2, length)) break;
    if (found == number) {
      value.bytes = packed_ + offset_ + 2;
      value.size = length;
      break;
    }
    nextNumber_ = found + 1;
    offset_ += 2 + length;
  }
  if (value.bytes == nullptr && !step.key) value = emptyValue(step);
  return value;
}

}  // namespace tavo::engine
