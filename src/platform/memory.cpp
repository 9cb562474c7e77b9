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

LargeChunk makeLargeChunk() {
  LargeChunk chunk(static_cast<uint8_t*>(::operator new(kLargeChunk, kAlignment)));
#if defined(__linux__)
  madvise(chunk.get(), kLargeChunk, MADV_HUGEPAGE);  // only a hint: a refusal changes nothing
#endif
  return chunk;
}

}  // namespace tavo::platform
