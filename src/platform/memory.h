// Memory for data that grows to many megabytes: chunks of the size and alignment of the system's
// large pages, which cost one page fault each where the system hands large pages out.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

namespace tavo::platform {

inline constexpr size_t kLargeChunk = size_t{1} << 21;

struct FreeLargeChunk {
  void operator()(uint8_t* chunk) const;
};
using LargeChunk = std::unique_ptr<uint8_t[], FreeLargeChunk>;

// kLargeChunk bytes, undefined. Throws std::bad_alloc.
LargeChunk makeLargeChunk();
// The same; null when memory is short.
LargeChunk tryLargeChunk();

}  // namespace tavo::platform
