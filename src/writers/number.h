// Numbers as text: the forms of the C library's printf in the C locale, without its cost.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tavo::writers {

// Room that any number needs.
inline constexpr size_t kNumberSize = 80;

// Decimals beyond this are not written: a double holds no more information, and a number must stay
// short enough for a line.
inline constexpr int kMaxDecimals = 30;

// Each writes to `out`, which has room for kNumberSize characters and gets no end mark, and returns
// the number of characters.
size_t putUnsigned(uint32_t value, char* out);
size_t putSigned(int32_t value, char* out);

// As "%.*f" with `decimals` (0 to kMaxDecimals) decimals, of which only the first `significant` are
// computed and the others are zeros. From 1e30 on the form of putExponent with 16 decimals. A value
// that is not finite is written as 0, which every reader accepts.
size_t putFixed(double value, int significant, int decimals, char* out);

// As "%.*e". Not finite: 0.
size_t putExponent(double value, int decimals, char* out);

// As "%.1f" below 100000.0 and as "%.1e" from there on.
size_t putGeneral(double value, char* out);

}  // namespace tavo::writers
