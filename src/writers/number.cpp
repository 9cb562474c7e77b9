// Fixed notation by scaling to a whole number wherever that is exact.
#include "writers/number.h"

#include <charconv>
#include <cmath>
#include <cstring>

namespace tavo::writers {

namespace {

constexpr double kLongest = 1e30;  // from here on fixed notation would fill lines with digits

constexpr double kPowers[] = {1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                              1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
constexpr int kLastPower = 15;

size_t putWhole(uint64_t value, char* out) {
  // The 32-bit division is the fast one on 32-bit machines.
  const auto low = static_cast<uint32_t>(value);
  const auto end = low == value ? std::to_chars(out, out + kNumberSize, low)
                                : std::to_chars(out, out + kNumberSize, value);
  return static_cast<size_t>(end.ptr - out);
}

// Digits of a whole number of units of the last decimal, with the point in its place.
size_t putScaled(uint64_t units, int decimals, char* out) {
  const auto n = static_cast<size_t>(decimals);
  size_t digits = putWhole(units, out);
  if (n == 0) return digits;
  if (digits <= n) {
    const size_t zeros = n + 1 - digits;
    memmove(out + zeros, out, digits);
    memset(out, '0', zeros);
    digits = n + 1;
  }
  memmove(out + digits - n + 1, out + digits - n, n);
  out[digits - n] = '.';
  return digits + 1;
}

// size >= 0. False when the product is too large to be a whole number of units, or may stand on the
// other side of a tie than the exact value.
bool roundToUnits(double size, int decimals, uint64_t* units) {
  if (decimals > kLastPower) return false;
  const double scaled = size * kPowers[decimals];
  if (!(scaled < 0x1p52)) return false;
  const auto whole = static_cast<uint64_t>(scaled);
  const double rest = scaled - static_cast<double>(whole);
  if (rest == 0.5) return false;
  *units = whole + (rest > 0.5 ? 1 : 0);
  return true;
}

}  // namespace

size_t putUnsigned(uint32_t value, char* out) {
  return static_cast<size_t>(std::to_chars(out, out + kNumberSize, value).ptr - out);
}

size_t putSigned(int32_t value, char* out) {
  return static_cast<size_t>(std::to_chars(out, out + kNumberSize, value).ptr - out);
}

size_t putFixed(double value, int significant, int decimals, char* out) {
  if (!std::isfinite(value)) value = 0;
  if (std::fabs(value) >= kLongest) return putExponent(value, 16, out);
  size_t n = 0;
  uint64_t units = 0;
  if (roundToUnits(std::fabs(value), significant, &units)) {
    if (std::signbit(value)) out[n++] = '-';
    n += putScaled(units, significant, out + n);
  } else {
    const auto end =
        std::to_chars(out, out + kNumberSize, value, std::chars_format::fixed, significant);
    n = static_cast<size_t>(end.ptr - out);
  }
  if (significant == 0 && decimals > 0) out[n++] = '.';
  for (int i = significant; i < decimals; ++i) out[n++] = '0';
  return n;
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
