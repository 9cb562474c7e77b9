// The scan for a line's terminator outside quotes. Every byte of the input passes through it, so it
// looks at 16 bytes at a time where the processor has the instructions.
#pragma once

#include <cstddef>
#include <cstdint>

#if defined(__SSE2__)
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

#if defined(__SSE2__)

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
      if ((static_cast<unsigned>(__builtin_parity(quotes & before)) ^ quoted) == 0) {
        return p + __builtin_ctz(found);
      }
    }
    quoted ^= static_cast<unsigned>(__builtin_parity(quotes));
  }
  return nullptr;
}

#else

inline const char* findTerminator(const char* begin, const char* end, char terminator) {
  return findTerminatorPlain(begin, end, terminator);
}

#endif

}  // namespace tavo::reader
