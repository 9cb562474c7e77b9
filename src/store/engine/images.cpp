// Keeps old images of pages in buffers that are used again.
#include "store/engine/images.h"

#include <cassert>
#include <cstring>
#include <new>

namespace tavo::engine {

BufferPool::~BufferPool() {
  while (free_ != nullptr) {
    PageBuffer* const b = free_;
    free_ = b->next;
    delete b;
  }
}

PageBuffer* BufferPool::take() {
  PageBuffer* const b = free_;
  if (b == nullptr) return new (std::nothrow) PageBuffer;
  free_ = b->next;
  b->next = nullptr;
  return b;
}

void BufferPool::give(PageBuffer* b) {
  b->owner = nullptr;
  b->next = free_;
  free_ = b;
}

void PageImages::end() {
  while (PageBuffer* const b = takeFirst()) pool_->give(b);
  serial_ = 0;
}

PageBuffer* PageImages::find(std::int32_t page) const {
  PageBuffer* b = first_;
  while (b != nullptr && b->page != page) b = b->next;
  return b;
}

PageBuffer* PageImages::add(std::int32_t page, const std::uint8_t* image) {
  assert(open() && find(page) == nullptr);
  PageBuffer* const b = pool_->take();
  if (b == nullptr) return nullptr;
  b->page = page;
  b->dirty = image != nullptr;
  if (image != nullptr)
    std::memcpy(b->image, image, kPageSize);
  else
    std::memset(b->image, 0, kPageSize);
  b->next = first_;
  first_ = b;
  return b;
}

PageBuffer* PageImages::takeFirst() {
  PageBuffer* const b = first_;
  if (b != nullptr) first_ = b->next;
  return b;
}

}  // namespace tavo::engine
