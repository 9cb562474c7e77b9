// Large chunks of memory.
#include "platform/memory.h"

#include <new>

#if defined(__linux__)
#include <sys/mman.h>
#endif

namespace tavo::platform {

namespace {
constexpr std::align_val_t kAlignment{kLargeChunk};
}

void FreeLargeChunk::operator()(uint8_t* chunk) const { ::operator delete(chunk, kAlignment); }

LargeChunk tryLargeChunk() {
  LargeChunk chunk(static_cast<uint8_t*>(::operator new(kLargeChunk, kAlignment, std::nothrow)));
#if defined(__linux__)
  // Only a hint: a refusal changes nothing.
  if (chunk != nullptr) madvise(chunk.get(), kLargeChunk, MADV_HUGEPAGE);
#endif
  return chunk;
}

LargeChunk makeLargeChunk() {
  LargeChunk chunk = tryLargeChunk();
  if (chunk == nullptr) throw std::bad_alloc();
  return chunk;
}

}  // namespace tavo::platform
