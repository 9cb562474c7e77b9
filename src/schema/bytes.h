// Values out of bytes that need not be aligned, and looks at eight bytes at once.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace tavo::schema {

static_assert(std::endian::native == std::endian::little, "records and packed records are");

template <class T>
T load(const void* bytes) {
  T value;
  memcpy(&value, bytes, sizeof value);
  return value;
}

// Eight bytes at once, the first one in the lowest place: the highest bit of each byte that is less
// than `limit` (at most 128), or equal to `wanted`. Behind the first marked byte there may be marks
// in error.
constexpr uint64_t kEveryByte = 0x0101010101010101;
constexpr uint64_t kEveryMark = 0x80 * kEveryByte;
constexpr uint64_t markBytesBelow(uint64_t bytes, uint8_t limit) {
  return (bytes - kEveryByte * limit) & ~bytes & kEveryMark;
}
constexpr uint64_t markBytes(uint64_t bytes, char wanted) {
  return markBytesBelow(bytes ^ kEveryByte * static_cast<uint8_t>(wanted), 1);
}
// Index of the first marked byte; 8 without one.
constexpr size_t firstMarked(uint64_t marks) {
  return static_cast<size_t>(std::countr_zero(marks)) / 8;
}

}  // namespace tavo::schema
