// Fixed notation by scaling to a whole number wherever that is exact, and digits eight at a time: a
// text is mostly numbers, and the C library's digit loops took half of the time of writing it.
#include "writers/number.h"

#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>

#include "schema/compiler.h"

namespace tavo::writers {

namespace {

constexpr double kLongest = 1e30;  // from here on fixed notation would fill lines with digits

constexpr double kPowers[] = {1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                              1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
constexpr int kLastPower = 15;

constexpr int kEight = 8;
constexpr uint32_t kEightDigits = 100000000;

// The digits of a number below 10^8, one a byte with the first in the lowest, leading zeros
// included. Halves, pairs and digits are split in all lanes at once; the multiplications divide by
// 100 and by 10, exactly for what the lanes hold.
inline uint64_t digitsOf(uint32_t value) {
  const uint64_t halves = value / 10000 | uint64_t{value % 10000} << 32;
  const uint64_t hundreds = (halves * 10486) >> 20 & 0x0000007f0000007f;
  const uint64_t pairs = ((halves - 100 * hundreds) << 16) + hundreds;
  const uint64_t tens = (pairs * 103) >> 10 & 0x000f000f000f000f;
  return ((pairs - 10 * tens) << 8) + tens;
}

static_assert(std::endian::native == std::endian::little, "the first digit in the lowest byte");
constexpr uint64_t kZeros = 0x3030303030303030;

// Each puts eight characters, of which those that count come first.
void putEight(uint64_t characters, char* out) { memcpy(out, &characters, sizeof characters); }

inline size_t putBelow(uint32_t value, char* out) {
  const uint64_t digits = digitsOf(value);
  // The last one stands even when it is a zero.
  const auto zeros = static_cast<unsigned>(std::countr_zero(digits | uint64_t{1} << 56)) / 8;
  putEight((digits | kZeros) >> (8 * zeros), out);
  return kEight - zeros;
}

// The last `count` (1 to 8) digits.
inline char* putLast(uint32_t value, int count, char* out) {
  putEight((digitsOf(value) | kZeros) >> (8 * (kEight - count)), out);
  return out + count;
}

// Below 10^16.
size_t putLarge(uint64_t value, char* out) {
  const size_t n = putBelow(static_cast<uint32_t>(value / kEightDigits), out);
  putLast(static_cast<uint32_t>(value % kEightDigits), kEight, out + n);
  return n + kEight;
}

inline size_t putWhole(uint64_t value, char* out) {
  return value < kEightDigits ? putBelow(static_cast<uint32_t>(value), out) : putLarge(value, out);
}

// `count` digits, 1 to 15, of a number that has no more.
char* putDecimals(uint64_t value, int count, char* out) {
  if (count > kEight) {
    out = putLast(static_cast<uint32_t>(value / kEightDigits), count - kEight, out);
    value %= kEightDigits;
    count = kEight;
  }
  return putLast(static_cast<uint32_t>(value), count, out);
}

struct Split {
  uint64_t whole;
  uint64_t rest;  // in units of the last decimal
};

// Whether size * 10^decimals, of which `below` and a half is the rounded product, is to be rounded
// up: the halves go to the even number. Both are scaled to whole numbers whose difference is less
// than 10^(decimals + 1), so their low halves tell it.
bool roundsTieUp(double size, int64_t unitsOfOne, int64_t below) {
  constexpr int kMantissaBits = 52;
  const auto bits = std::bit_cast<uint64_t>(size);
  const int shift = 1023 + kMantissaBits - static_cast<int>(bits >> kMantissaBits);
  const uint64_t implied = uint64_t{1} << kMantissaBits;
  const uint64_t mantissa = (bits & (implied - 1)) | implied;
  const uint64_t exact = mantissa * 2 * static_cast<uint64_t>(unitsOfOne);
  const uint64_t tie = shift < 64 ? (2 * static_cast<uint64_t>(below) + 1) << shift : 0;
  const auto difference = static_cast<int64_t>(exact - tie);
  return difference > 0 || (difference == 0 && below % 2 != 0);
}

// size >= 0. False when it has too many digits or is no number. The product with the power, which
// is exact, is rounded, but never across a half, which is a double itself.
inline bool splitRounded(double size, int decimals, Split* split) {
  if (decimals > kLastPower) return false;
  const double power = kPowers[decimals];
  const double scaled = size * power;
  if (!(scaled < 0x1p52)) return false;
  const auto unitsOfOne = static_cast<int64_t>(power);
  const auto below = static_cast<int64_t>(scaled);
  const double rest = scaled - static_cast<double>(below);
  const bool up = rest == 0.5 ? roundsTieUp(size, unitsOfOne, below) : rest > 0.5;
  const int64_t units = below + (up ? 1 : 0);
  const auto whole = static_cast<int64_t>(size);
  const int64_t decimal = units - whole * unitsOfOne;
  const bool carry = decimal == unitsOfOne;
  split->whole = static_cast<uint64_t>(carry ? whole + 1 : whole);
  split->rest = static_cast<uint64_t>(carry ? 0 : decimal);
  return true;
}

// The decimals that are not computed.
char* putZeros(int significant, int decimals, char* out) {
  if (significant == 0 && decimals > 0) *out++ = '.';
  for (int i = significant; i < decimals; ++i) *out++ = '0';
  return out;
}

TAVO_COLD char* putSplit(uint64_t whole, uint64_t rest, int significant, int decimals, char* out) {
  out += putWhole(whole, out);
  if (significant > 0) {
    *out++ = '.';
    out = putDecimals(rest, significant, out);
  }
  return putZeros(significant, decimals, out);
}

TAVO_COLD size_t putSlowly(double value, int significant, int decimals, char* out) {
  if (!std::isfinite(value)) value = 0;
  if (std::fabs(value) >= kLongest) return putExponent(value, 16, out);
  char* const end =
      std::to_chars(out, out + kNumberSize, value, std::chars_format::fixed, significant).ptr;
  return static_cast<size_t>(putZeros(significant, decimals, end) - out);
}

}  // namespace

size_t putUnsigned(uint32_t value, char* out) { return putWhole(value, out); }

size_t putSigned(int32_t value, char* out) {
  if (value >= 0) return putUnsigned(static_cast<uint32_t>(value), out);
  *out = '-';
  return 1 + putUnsigned(0 - static_cast<uint32_t>(value), out + 1);
}

size_t putFixed(double value, int significant, int decimals, char* out) {
  Split split;
  if (!splitRounded(std::fabs(value), significant, &split)) {
    return putSlowly(value, significant, decimals, out);
  }
  *out = '-';
  char* p = out + (std::signbit(value) ? 1 : 0);
  // One group of digits on each side of the point.
  if (split.whole < kEightDigits && significant == decimals && decimals > 0 && decimals <= kEight) {
    p += putBelow(static_cast<uint32_t>(split.whole), p);
    *p = '.';
    return static_cast<size_t>(putLast(static_cast<uint32_t>(split.rest), decimals, p + 1) - out);
  }
  return static_cast<size_t>(putSplit(split.whole, split.rest, significant, decimals, p) - out);
}

size_t putExponent(double value, int decimals, char* out) {
  if (!std::isfinite(value)) value = 0;
  const auto end =
      std::to_chars(out, out + kNumberSize, value, std::chars_format::scientific, decimals);
  return static_cast<size_t>(end.ptr - out);
}

size_t putGeneral(double value, char* out) {
  return std::isfinite(value) && value >= 100000.0 ? putExponent(value, 1, out)
                                                   : putFixed(value, 1, 1, out);
}

}  // namespace tavo::writers
