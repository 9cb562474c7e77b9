// Sets up the control block of a file.
#include "store/engine/control_block.h"

#include <cstring>
#include <new>

#include "store/engine/key.h"
#include "store/engine/page_cache.h"

namespace tavo::engine {

Store::ControlBlock::ControlBlock(PageCache::Impl* pages, platform::FileSystem& system)
    : files(system), cache(pages), images(pages == nullptr ? nullptr : &pages->pool()) {}

void Store::ControlBlock::invalidatePositions() {
  ++stamp;
  for (Hint& hint : hints) hint.page = kNoPage;
}

int keepSegments(ControlBlock& file, const IndexDef* indexes) {
  for (const IndexDef* def = indexes; def != nullptr && def->index != 0; ++def) {
    std::uint32_t count = 0;
    if (def->segments == nullptr || checkSegments(def->segments, count) != kOk) continue;
    auto& kept = file.segments[def->index];
    kept.reset(new (std::nothrow) KeySegment[count + 1]);
    if (kept == nullptr) return kNoMemory;
    std::memcpy(kept.get(), def->segments, (count + 1) * sizeof(KeySegment));
  }
  return kOk;
}

}  // namespace tavo::engine
