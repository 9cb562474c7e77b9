// Checks, packs and unpacks records by their field lists.
#include "store/engine/record.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace tavo::engine {
namespace {

constexpr int kMaxFieldLength = 31232;

// Size of the fixed-size types by letter; -1 for unknown letters, 0 for the types whose size is in
// the value or the list.
constexpr std::array<std::int8_t, 256> kFixedSizes = [] {
  std::array<std::int8_t, 256> sizes{};
  sizes.fill(-1);
  for (const char c : {'S', 'B', 'M', 'C', 'N'}) sizes[static_cast<std::uint8_t>(c)] = 0;
  sizes['H'] = 1;
  sizes['I'] = sizes['U'] = 2;
  sizes['L'] = sizes['F'] = 4;
  sizes['P'] = 6;
  sizes['D'] = sizes['X'] = 8;
  return sizes;
}();

inline int fixedSize(char type) { return kFixedSizes[static_cast<std::uint8_t>(type)]; }

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

std::uint32_t roomOf(const Field& field) {
  return field.length > 0 ? static_cast<std::uint32_t>(field.length) : 0;
}

// Length of a text without its end mark; a text without one fills its field.
std::uint32_t textLength(const Field& field) {
  const std::uint32_t room = roomOf(field);
  if (room == 0) return 0;
  const void* const end = std::memchr(field.value, 0, room);
  return end == nullptr ? room
                        : static_cast<std::uint32_t>(static_cast<const char*>(end) -
                                                     static_cast<const char*>(field.value));
}

bool allBlank(const std::uint8_t* bytes, std::uint32_t size) {
  for (std::uint32_t i = 0; i < size; ++i) {
    if (bytes[i] != ' ') return false;
  }
  return true;
}

// The value of a field as it stands in memory; kTooLong when it does not fit its field.
int memoryValue(const Field& field, Value& value) {
  const auto* const bytes = static_cast<const std::uint8_t*>(field.value);
  value.bytes = bytes;
  const int fixed = fixedSize(field.type);
  if (fixed > 0) {
    value.size = static_cast<std::uint32_t>(fixed);
    return kOk;
  }
  switch (field.type) {
    case 'S':
      value.size = textLength(field) + 1;
      return value.size > roomOf(field) ? kTooLong : kOk;
    case 'B':
    case 'M':
      value.size = 2u + loadU16(bytes);
      return value.size - 2 > roomOf(field) ? kTooLong : kOk;
    case 'C':
    case 'N':
      value.size = roomOf(field);
      return kOk;
    default:
      return kBadFieldType;
  }
}

bool isEmpty(const Field& field, const Value& value) {
  switch (field.type) {
    case 'B':
      return value.size == 2;
    case 'C':
    case 'N':
      return allBlank(value.bytes, value.size);
    case 'S':
      return value.size == 1;
    case 'D':
      // Negative zero has a bit to keep.
      return std::memcmp(value.bytes, "\0\0\0\0\0\0\0", 8) == 0;
    default:
      return false;
  }
}

// The value of a field that holds nothing, as far as a key can hold it. Types that always take room
// have none.
Value emptyValue(const Field& field) {
  static constexpr std::array<std::uint8_t, 256> kBlanks = [] {
    std::array<std::uint8_t, 256> blanks{};
    blanks.fill(' ');
    return blanks;
  }();
  static constexpr std::uint8_t kZero[8] = {};
  switch (field.type) {
    case 'B':
      return {kZero, 2};
    case 'C':
    case 'N':
      return {kBlanks.data(), std::min<std::uint32_t>(roomOf(field), kBlanks.size())};
    case 'S':
      return {kZero, 1};
    case 'D':
      return {kZero, 8};
    default:
      return {};
  }
}

// Size of a field's value at the start of `room` packed bytes; false when it does not fit.
inline bool packedSize(const Field& field, const std::uint8_t* bytes, std::uint32_t room,
                       std::uint32_t& size) {
  const int fixed = fixedSize(field.type);
  if (fixed > 0) {
    size = static_cast<std::uint32_t>(fixed);
  } else if (field.type == 'S') {
    const void* const end = room == 0 ? nullptr : std::memchr(bytes, 0, room);
    if (end == nullptr) return false;
    size = static_cast<std::uint32_t>(static_cast<const std::uint8_t*>(end) - bytes) + 1;
    if (size > 1 && size > roomOf(field)) return false;
  } else if (field.type == 'B' || field.type == 'M') {
    if (room < 2) return false;
    size = 2u + loadU16(bytes);
    if (size - 2 > roomOf(field)) return false;
  } else {
    size = roomOf(field);
  }
  return size <= room;
}

void clearValue(const Field& field) {
  const int fixed = fixedSize(field.type);
  if (fixed > 0) {
    static constexpr std::uint8_t kZero[8] = {};
    copyValue(field.value, kZero, static_cast<std::uint32_t>(fixed));
  } else if (field.type == 'B' || field.type == 'M') {
    std::memset(field.value, 0, 2);
  } else if (roomOf(field) != 0) {
    if (field.type == 'S')
      *static_cast<char*>(field.value) = 0;
    else
      std::memset(field.value, ' ', roomOf(field));
  }
}

// Walks a packed record along its field list: `present` gets the fields that are there, `absent`
// those that hold nothing.
template <typename Present, typename Absent>
int walkPacked(const Field* fields, const std::uint8_t* packed, std::uint32_t size,
               Present&& present, Absent&& absent) {
  std::uint32_t at = kRecordHead;
  std::uint32_t place = 0;
  for (const Field* f = fields;; ++f, ++place) {
    if (at + 2 > size) return kCorrupt;
    const std::uint32_t number = loadU16(packed + at);
    at += 2;
    // The end mark is above every number.
    for (; f->type != 'E' && place < number; ++f, ++place) absent(*f);
    if (number == kRecordEnd) return kOk;
    std::uint32_t length = 0;
    if (f->type == 'E' || place != number || !packedSize(*f, packed + at, size - at, length))
      return kCorrupt;
    present(*f, packed + at, length);
    at += length;
  }
}

}  // namespace

int checkFieldList(const Field* fields, const std::uint8_t keyTypes[kIndexNumbers], bool full) {
  if (fields == nullptr) return kBadFieldType;
  std::uint32_t count = 0;
  for (const Field* f = fields; f->type != 'E'; ++f) {
    if (fixedSize(f->type) < 0 || ++count >= kRecordEnd) return kBadFieldType;
    if (f->keyRole != 'N' && f->keyRole != 'E' && f->index <= kUserIndexes) {
      const std::uint8_t keyType = keyTypes[f->index];
      if (f->keyRole != keyType && !(f->keyRole == 'S' && keyType == 0)) return kBadKeyRole;
    }
    if (f->duplicates != 'D' && f->duplicates != 'U' && f->duplicates != 'N') return kBadDuplicates;
    if (full && (f->length < 0 || f->length > kMaxFieldLength)) return kBadFieldLength;
    if (f->index > kUserIndexes) return kBadIndexNumber;
    if (full && f->type == 'S' && textLength(*f) == roomOf(*f)) return kTooLong;
  }
  return kOk;
}

std::uint16_t fieldListMark(const Field* fields) {
  std::uint32_t mark = 5381;
  for (const Field* f = fields; f->type != 'E'; ++f) {
    const std::uint32_t shape = static_cast<std::uint8_t>(f->type) | std::uint32_t{f->index} << 8 |
                                static_cast<std::uint32_t>(f->length) << 16;
    mark = (mark ^ shape) * 16777619u;
  }
  return static_cast<std::uint16_t>(mark >> 16);
}

int packRecord(const Field* fields, std::uint8_t typeByte, std::uint8_t* out, std::uint32_t room,
               std::uint32_t& size) {
  if (room < kRecordHead + 2) return kBufferTooSmall;
  storeU16(out, fieldListMark(fields));
  storeU16(out + 2, 0);
  out[kRecordType] = typeByte;
  std::uint32_t at = kRecordHead;
  std::uint16_t number = 0;
  for (const Field* f = fields; f->type != 'E'; ++f, ++number) {
    Value value;
    const int code = memoryValue(*f, value);
    if (code != kOk) return code;
    if (f->keyRole == 'N' && isEmpty(*f, value)) continue;
    if (value.size + 4 > room - at) return kBufferTooSmall;
    storeU16(out + at, number);
    copyValue(out + at + 2, value.bytes, value.size);
    at += 2 + value.size;
  }
  storeU16(out + at, kRecordEnd);
  size = at + 2;
  return kOk;
}

int unpackRecord(const Field* fields, const std::uint8_t* packed, std::uint32_t size) {
  return walkPacked(
      fields, packed, size,
      [](const Field& f, const std::uint8_t* value, std::uint32_t length) {
        if (f.type != 'S' || roomOf(f) != 0) copyValue(f.value, value, length);
      },
      clearValue);
}

int checkPacked(const Field* fields, const std::uint8_t* packed, std::uint32_t size) {
  if (size < kRecordHead || loadU16(packed) != fieldListMark(fields)) return kCorrupt;
  return walkPacked(
      fields, packed, size, [](const Field&, const std::uint8_t*, std::uint32_t) {},
      [](const Field&) {});
}

Value RecordValues::get(std::uint32_t number) const {
  Value value;
  if (packed_ == nullptr) {
    if (memoryValue(fields_[number], value) != kOk) value = Value();
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
    if (!packedSize(fields_[found], packed_ + offset_ + 2, size_ - offset_ - 2, length)) break;
    if (found == number) {
      value.bytes = packed_ + offset_ + 2;
      value.size = length;
      break;
    }
    nextNumber_ = found + 1;
    offset_ += 2 + length;
  }
  if (value.bytes == nullptr && fields_[number].keyRole == 'N') value = emptyValue(fields_[number]);
  return value;
}

}  // namespace tavo::engine
