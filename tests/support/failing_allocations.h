// Allocations that fail when a test wants it. It replaces the program's operators, so one source of
// a program includes it.
#pragma once

#include <cstdlib>
#include <new>

namespace tavo::tests {

// How many allocations there still are until one fails, and whether all behind it fail, too; 0
// while nothing is to fail.
inline size_t untilFailure = 0;
inline bool failsOn = false;
inline size_t failures = 0;

inline bool allocationFails() {
  if (untilFailure == 0 || --untilFailure > 0) return false;
  ++failures;
  if (failsOn) untilFailure = 1;
  return true;
}

inline void* allocate(size_t size) noexcept {
  return allocationFails() ? nullptr : std::malloc(size > 0 ? size : 1);
}

inline void* allocateOrThrow(size_t size) {
  void* const memory = allocate(size);
  return memory != nullptr ? memory : throw std::bad_alloc();
}

}  // namespace tavo::tests

// None is inlined: the compiler would see malloc() paired with delete.
[[gnu::noinline]] void* operator new(size_t size) { return tavo::tests::allocateOrThrow(size); }
[[gnu::noinline]] void* operator new[](size_t size) { return tavo::tests::allocateOrThrow(size); }
[[gnu::noinline]] void* operator new(size_t size, const std::nothrow_t&) noexcept {
  return tavo::tests::allocate(size);
}
[[gnu::noinline]] void* operator new[](size_t size, const std::nothrow_t&) noexcept {
  return tavo::tests::allocate(size);
}
[[gnu::noinline]] void operator delete(void* memory) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete[](void* memory) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete(void* memory, size_t) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete[](void* memory, size_t) noexcept { std::free(memory); }
