// The inner loops of the reader: the scan for a line's terminator outside quotes, and the reading
// of digits. Both look at many bytes at a time.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>

#include "schema/compiler.h"

#if defined(TAVO_SSE2)
#include <emmintrin.h>
#endif

namespace tavo::reader {

// Bytes behind a text that the scan may read, but does not look at.
inline constexpr size_t kScanSlack = 16;

// Quotes of both kinds toggle one state. A quote behind a backslash does not count, unless another
// backslash precedes that one.
inline const char* findTerminatorPlain(const char* begin, const char* end, char terminator) {
  bool quoted = false;
  for (const char* p = begin; p != end; ++p) {
    if (*p == terminator && !quoted) return p;
    if (*p != '"' && *p != '\'') continue;
    const bool escaped = p - begin >= 1 && p[-1] == '\\' && !(p - begin >= 2 && p[-2] == '\\');
    if (!escaped) quoted = !quoted;
  }
  return nullptr;
}

#if defined(TAVO_SSE2)

// The first terminator outside quotes, or null. kScanSlack bytes behind end must be readable.
inline const char* findTerminator(const char* begin, const char* end, char terminator) {
  const __m128i ends = _mm_set1_epi8(terminator);
  const __m128i doubles = _mm_set1_epi8('"');
  const __m128i singles = _mm_set1_epi8('\'');
  const __m128i escapes = _mm_set1_epi8('\\');
  unsigned quoted = 0;
  for (const char* p = begin; p < end; p += 16) {
    const unsigned valid = end - p >= 16 ? 0xFFFFU : (1U << (end - p)) - 1;
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    const auto mask = [&](__m128i equal) {
      return static_cast<unsigned>(_mm_movemask_epi8(equal)) & valid;
    };
    if (mask(_mm_cmpeq_epi8(bytes, escapes)) != 0) {
      return findTerminatorPlain(begin, end, terminator);
    }
    const unsigned quotes =
        mask(_mm_or_si128(_mm_cmpeq_epi8(bytes, doubles), _mm_cmpeq_epi8(bytes, singles)));
    unsigned found = mask(_mm_cmpeq_epi8(bytes, ends));
    for (; found != 0; found &= found - 1) {
      const unsigned before = (found & (0U - found)) - 1;
      if (((static_cast<unsigned>(std::popcount(quotes & before)) ^ quoted) & 1) == 0) {
        return p + std::countr_zero(found);
      }
    }
    quoted ^= static_cast<unsigned>(std::popcount(quotes));
  }
  return nullptr;
}

#else

inline const char* findTerminator(const char* begin, const char* end, char terminator) {
  return findTerminatorPlain(begin, end, terminator);
}

#endif

inline constexpr uint64_t kPowersOfTen[] = {1,      10,      100,      1000,     10000,
                                            100000, 1000000, 10000000, 100000000};

// The number that eight digits make, one a byte as 0 to 9 with the first in the lowest.
inline uint32_t eightDigits(uint64_t digits) {
  digits = digits * 10 + (digits >> 8);  // pairs
  return static_cast<uint32_t>((((digits & 0x000000FF000000FFU) * 0x000F424000000064U) +
                                (((digits >> 16) & 0x000000FF000000FFU) * 0x0000271000000001U)) >>
                               32);
}

// Reads the digits at p behind those already in *value, which wraps at 64 bits. Returns the place
// behind the last digit.
inline const char* scanDigits(const char* p, const char* end, uint64_t* value) {
  uint64_t number = *value;
  while (end - p >= 8) {
    // Eight characters as the bytes of a word, the first one lowest; digits become 0 to 9.
    uint64_t digits = 0;
    std::memcpy(&digits, p, sizeof digits);
    digits ^= 0x3030303030303030U;
    const uint64_t others = ((digits + 0x7676767676767676U) | digits) & 0x8080808080808080U;
    const int count = others == 0 ? 8 : std::countr_zero(others) / 8;
    if (count == 0) break;
    digits <<= 8 * (8 - count);
    number = number * kPowersOfTen[count] + eightDigits(digits);
    p += count;
    if (count < 8) break;
  }
  // The last characters of a text one by one; behind a shorter run of digits none is left.
  for (; p != end && *p >= '0' && *p <= '9'; ++p) {
    number = number * 10 + static_cast<uint64_t>(*p - '0');
  }
  *value = number;
  return p;
}

// Decimal numbers whose digits and power of ten are exact in the type: their quotient is rounded
// once, and so correctly.
template <class Real>
struct Exact;
template <>
struct Exact<double> {
  static constexpr uint64_t kLargest = uint64_t{1} << 53;
  static constexpr double kPowers[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                       1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                       1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
};
template <>
struct Exact<float> {
  static constexpr uint64_t kLargest = uint64_t{1} << 24;
  static constexpr float kPowers[] = {1e0F, 1e1F, 1e2F, 1e3F, 1e4F, 1e5F,
                                      1e6F, 1e7F, 1e8F, 1e9F, 1e10F};
};

// The short forms that survey files are full of: digits with at most one point, no exponent, and as
// a whole number no larger than kLargest, which is exact. Null for any other text.
template <class Real, uint64_t kLargest = Exact<Real>::kLargest>
inline const char* scanShortReal(const char* p, const char* end, Real* value) {
  constexpr std::ptrdiff_t kMostDigits = 18;
  uint64_t mantissa = 0;
  const char* const start = p;
  p = scanDigits(p, end, &mantissa);
  std::ptrdiff_t digits = p - start;
  size_t decimals = 0;
  if (p != end && *p == '.') {
    const char* const fraction = ++p;
    p = scanDigits(p, end, &mantissa);
    decimals = static_cast<size_t>(p - fraction);
    digits += p - fraction;
  }
  if (digits == 0 || digits > kMostDigits || mantissa > kLargest ||
      decimals >= std::size(Exact<Real>::kPowers) || (p != end && (*p == 'e' || *p == 'E'))) {
    return nullptr;
  }
  *value = static_cast<Real>(static_cast<int64_t>(mantissa)) / Exact<Real>::kPowers[decimals];
  return p;
}

}  // namespace tavo::reader
