// Key construction and the order of keys by key type.
#include "store/engine/key.h"

#include <algorithm>

namespace tavo::engine {
namespace {

// How the bytes of a key type are ordered.
enum class Order : std::uint8_t {
  kBytes,     // bytewise, then by length; texts too, since their end mark is the smallest byte
  kPrefixed,  // the same behind a length byte
  kSegments,
  kU16,
  kI16,
  kU32,
  kI32,
  kReal,
  kSix,  // six bytes, most significant last
  kU8,
  kI8,
};

constexpr Order kOrders[32] = {
    Order::kBytes,    Order::kBytes,    Order::kPrefixed, Order::kI32,      Order::kI16,
    Order::kU32,      Order::kI32,      Order::kReal,     Order::kSegments, Order::kSix,
    Order::kU16,      Order::kBytes,    Order::kBytes,    Order::kBytes,    Order::kBytes,
    Order::kBytes,    Order::kPrefixed, Order::kPrefixed, Order::kPrefixed, Order::kPrefixed,
    Order::kPrefixed, Order::kU8,       Order::kI8,       Order::kI32,      Order::kBytes,
    Order::kBytes,    Order::kBytes,    Order::kBytes,    Order::kBytes,    Order::kBytes,
    Order::kBytes,    Order::kBytes};

Order orderOf(std::uint8_t keyType) { return kOrders[keyType & 31]; }

std::uint32_t sizeOf(Order order) {
  switch (order) {
    case Order::kU8:
    case Order::kI8:
      return 1;
    case Order::kU16:
    case Order::kI16:
      return 2;
    case Order::kU32:
    case Order::kI32:
      return 4;
    case Order::kSix:
      return 6;
    case Order::kReal:
      return 8;
    default:
      return 0;
  }
}

// A key of one field that is made with a length byte before the value.
bool hasLengthByte(std::uint8_t keyType) {
  return keyType == 2 || (keyType >= 16 && keyType <= kMaxKeyType);
}

template <typename T>
int threeWay(T a, T b) {
  return a < b ? -1 : a > b ? 1 : 0;
}

int compareBytes(const std::uint8_t* a, std::uint32_t aLength, const std::uint8_t* b,
                 std::uint32_t bLength) {
  const std::uint32_t common = std::min(aLength, bLength);
  const int c = common == 0 ? 0 : std::memcmp(a, b, common);
  return c != 0 ? c : threeWay(aLength, bLength);
}

std::uint64_t number(const std::uint8_t* p, std::uint32_t size, bool native) {
  std::uint64_t value = 0;
  for (std::uint32_t i = 0; i < size; ++i) value = value << 8 | (native ? p[size - 1 - i] : p[i]);
  return value;
}

// Reals that are no numbers come after all others, in some fixed order.
int compareReals(std::uint64_t a, std::uint64_t b) {
  double x;
  double y;
  std::memcpy(&x, &a, sizeof x);
  std::memcpy(&y, &b, sizeof y);
  const bool xNumber = x == x;
  const bool yNumber = y == y;
  if (xNumber && yNumber) return threeWay(x, y);
  return xNumber ? -1 : yNumber ? 1 : threeWay(a, b);
}

int compareFixed(Order order, bool native, const std::uint8_t* a, const std::uint8_t* b) {
  switch (order) {
    case Order::kU16:
      if (native) return threeWay(loadU16(a), loadU16(b));
      return threeWay(number(a, 2, false), number(b, 2, false));
    case Order::kU32:
      if (native) return threeWay(loadU32(a), loadU32(b));
      return threeWay(number(a, 4, false), number(b, 4, false));
    case Order::kI16:
      return threeWay(static_cast<std::int16_t>(number(a, 2, native)),
                      static_cast<std::int16_t>(number(b, 2, native)));
    case Order::kI32:
      return threeWay(static_cast<std::int32_t>(number(a, 4, native)),
                      static_cast<std::int32_t>(number(b, 4, native)));
    case Order::kReal:
      return compareReals(number(a, 8, native), number(b, 8, native));
    case Order::kI8:
      return threeWay(static_cast<std::int8_t>(*a), static_cast<std::int8_t>(*b));
    default:
      return threeWay(number(a, sizeOf(order), native), number(b, sizeOf(order), native));
  }
}

// Bytes that a segment takes at the start of what is left of a key.
std::uint32_t segmentSize(Order order, const std::uint8_t* p, std::uint32_t rest) {
  if (rest == 0) return 0;
  if (order == Order::kPrefixed) return std::min(rest, p[0] + 1u);
  if (order != Order::kBytes) return std::min(rest, sizeOf(order));
  const void* const end = std::memchr(p, 0, rest);
  return end == nullptr ? rest
                        : static_cast<std::uint32_t>(static_cast<const std::uint8_t*>(end) - p) + 1;
}

int comparePart(Order order, bool native, const std::uint8_t* a, std::uint32_t aSize,
                const std::uint8_t* b, std::uint32_t bSize) {
  if (order == Order::kPrefixed && aSize != 0 && bSize != 0)
    return compareBytes(a + 1, aSize - 1, b + 1, bSize - 1);
  const std::uint32_t size = sizeOf(order);
  if (size != 0 && aSize == size && bSize == size) return compareFixed(order, native, a, b);
  return compareBytes(a, aSize, b, bSize);
}

int compareSegments(const ControlBlock& file, int index, const std::uint8_t* a,
                    std::uint32_t aLength, const std::uint8_t* b, std::uint32_t bLength) {
  const KeySegment* segment = index <= kUserIndexes ? file.segments[index].get() : nullptr;
  if (segment == nullptr || aLength == 0 || bLength == 0)
    return compareBytes(a, aLength, b, bLength);
  ++a;
  ++b;
  --aLength;
  --bLength;
  for (; segment->type != 31 && aLength != 0 && bLength != 0; ++segment) {
    const Order order = orderOf(segment->type);
    const std::uint32_t aSize = segmentSize(order, a, aLength);
    const std::uint32_t bSize = segmentSize(order, b, bLength);
    const int c = comparePart(order, file.header.nativeOrder(), a, aSize, b, bSize);
    if (c != 0) return c;
    a += aSize;
    b += bSize;
    aLength -= aSize;
    bLength -= bSize;
  }
  return compareBytes(a, aLength, b, bLength);
}

int append(Key& key, const std::uint8_t* bytes, std::uint32_t size) {
  if (key.length + size > kMaxKeyBytes + 1) return kTooLong;
  std::memcpy(key.bytes + key.length, bytes, size);
  key.length += size;
  return kOk;
}

// A fixed-size number, in the order that the file keeps its keys in; a value too short for it is
// filled up with zeros.
int appendNumber(const ControlBlock& file, Order order, Value value, Key& key) {
  const std::uint32_t size = sizeOf(order);
  std::uint8_t bytes[8] = {};
  if (value.size != 0) std::memcpy(bytes, value.bytes, std::min(size, value.size));
  if (!file.header.nativeOrder()) std::reverse(bytes, bytes + size);
  return append(key, bytes, size);
}

// What of a packed value is the value itself: bytes without their count, text without its end mark.
Value plainValue(char type, Value value) {
  if ((type == 'B' || type == 'M') && value.size >= 2) return {value.bytes + 2, value.size - 2};
  if (type == 'S' && value.size != 0) return {value.bytes, value.size - 1};
  return value;
}

int appendSegment(const ControlBlock& file, const KeySegment& segment, Value value, Key& key) {
  const std::uint32_t most = segment.maxLength == 0 ? 242 : segment.maxLength;
  const Order order = orderOf(segment.type);
  if (segment.type > kMaxKeyType || order == Order::kSegments ||
      (segment.type >= 11 && segment.type <= 15))
    return kBadSegments;
  if (order == Order::kBytes || order == Order::kPrefixed) {
    if (order == Order::kBytes && value.size != 0) {
      const void* const end = std::memchr(value.bytes, 0, value.size);
      if (end != nullptr)
        value.size =
            static_cast<std::uint32_t>(static_cast<const std::uint8_t*>(end) - value.bytes);
    }
    const std::uint32_t size = std::min(value.size, most);
    const auto mark = static_cast<std::uint8_t>(order == Order::kBytes ? 0 : size);
    int code = order == Order::kPrefixed ? append(key, &mark, 1) : kOk;
    if (code == kOk && size != 0) code = append(key, value.bytes, size);
    if (code == kOk && order == Order::kBytes) code = append(key, &mark, 1);
    return code;
  }
  return appendNumber(file, order, value, key);
}

int makeSegmentKey(const ControlBlock& file, const RecordValues& values, int index, Key& key) {
  const KeySegment* segment = index <= kUserIndexes ? file.segments[index].get() : nullptr;
  if (segment == nullptr) return kBadSegments;
  const RecordPlan& plan = values.plan();
  key.length = 1;
  for (; segment->type != 31; ++segment) {
    if (segment->field >= plan.count()) return kBadSegments;
    const Value value = values.get(segment->field);
    if (value.bytes == nullptr) return values.missing();
    const int code =
        appendSegment(file, *segment, plainValue(plan.field(segment->field).type, value), key);
    if (code != kOk) return code;
  }
  key.bytes[0] = static_cast<std::uint8_t>(key.length - 1);
  return kOk;
}

// A key of one value: a length byte where the key type wants one, then the value. Numbers go in the
// file's order.
int makePlainKey(const ControlBlock& file, std::uint8_t role, int index, Value value, Key& key) {
  const Order order = orderOf(file.header.keyType[index]);
  const bool prefixed = hasLengthByte(role);
  key.length = 0;
  if (value.size > kMaxKeyBytes) return kTooLong;
  if (prefixed) key.bytes[key.length++] = static_cast<std::uint8_t>(value.size);
  if (value.size == 0) return kOk;
  if (sizeOf(order) == value.size) return appendNumber(file, order, value, key);
  return append(key, value.bytes, value.size);
}

}  // namespace

int compareKeys(const ControlBlock& file, int index, const std::uint8_t* a, std::uint32_t aLength,
                const std::uint8_t* b, std::uint32_t bLength) {
  const std::uint8_t keyType = file.header.keyType[index];
  const Order order = orderOf(keyType);
  if (order == Order::kBytes) return compareBytes(a, aLength, b, bLength);
  if (order == Order::kSegments) return compareSegments(file, index, a, aLength, b, bLength);
  const std::uint32_t size = sizeOf(order);
  if (size != 0 && hasLengthByte(keyType) && aLength == size + 1 && bLength == size + 1)
    return compareFixed(order, file.header.nativeOrder(), a + 1, b + 1);
  return comparePart(order, file.header.nativeOrder(), a, aLength, b, bLength);
}

int makeKey(const ControlBlock& file, const RecordValues& values, std::uint32_t number, Key& key) {
  const Field& field = values.plan().field(number);
  if (field.index >= kIndexNumbers) return kBadArgument;
  if (field.keyRole == kSegmentKey) return makeSegmentKey(file, values, field.index, key);
  Value value = values.get(number);
  if (value.bytes == nullptr) return values.missing();
  if (hasLengthByte(field.keyRole)) value = plainValue(field.type, value);
  return makePlainKey(file, field.keyRole, field.index, value, key);
}

int makeKey(const ControlBlock& file, int index, const void* value, std::uint32_t length,
            Key& key) {
  const std::uint8_t keyType = file.header.keyType[index];
  Value plain{static_cast<const std::uint8_t*>(value), length};
  if (keyType == kSegmentKey) {
    if (length > kMaxKeyBytes) return kTooLong;
    key.bytes[0] = static_cast<std::uint8_t>(length);
    key.length = 1;
    return length == 0 ? kOk : append(key, plain.bytes, length);
  }
  if (keyType != 0 && keyType != 1) return makePlainKey(file, keyType, index, plain, key);
  const void* const end = length == 0 ? nullptr : std::memchr(value, 0, length);
  if (end != nullptr)
    plain.size = static_cast<std::uint32_t>(static_cast<const std::uint8_t*>(end) - plain.bytes);
  if (plain.size + 1 > kMaxKeyBytes) return kTooLong;
  if (plain.size != 0) std::memcpy(key.bytes, plain.bytes, plain.size);
  key.bytes[plain.size] = 0;
  key.length = plain.size + 1;
  return kOk;
}

int checkSegments(const KeySegment* segments, std::uint32_t& count) {
  count = 0;
  for (const KeySegment* s = segments; s->type != 31; ++s) {
    if (s->type > kMaxKeyType || ++count > 243) return kBadSegments;
  }
  return count == 0 ? kBadSegments : kOk;
}

}  // namespace tavo::engine
