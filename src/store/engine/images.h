// Old images of the pages that a change touches. They are kept outside the page buffers, so that
// keeping them and putting them back costs no transfer.
#pragma once

#include <cstdint>
#include <memory>

#include "store/engine/engine.h"
#include "store/engine/format.h"

namespace tavo::engine {

struct PageBuffer {
  Store::ControlBlock* owner = nullptr;
  std::uint32_t openId = 0;
  std::int32_t page = kNoPage;
  bool dirty = false;  // the file may hold other bytes than the image
  PageBuffer* next = nullptr;
  std::uint8_t image[kPageSize];
};

// Buffers beside the cache's list, for old images and for pages that found no place in the list.
// What is given back is used again, so a change allocates only when it touches more pages than any
// before it.
class BufferPool {
 public:
  BufferPool() = default;
  ~BufferPool();
  BufferPool(const BufferPool&) = delete;
  BufferPool& operator=(const BufferPool&) = delete;

  // Null when memory is short.
  PageBuffer* take();
  void give(PageBuffer* b);
  // A number that no change had before; never 0.
  std::uint64_t nextSerial() { return ++serial_; }

 private:
  PageBuffer* free_ = nullptr;
  std::uint64_t serial_ = 0;
};

// The images of one file's change, each taken before the page was first touched. That of a page
// which the change took from the reserve is all zeros, and not dirty while none of its writes was
// tried. Whatever puts images back or saves them elsewhere walks them from first() along `next`.
class PageImages {
 public:
  explicit PageImages(BufferPool* pool) : pool_(pool) {}
  ~PageImages() { end(); }
  PageImages(const PageImages&) = delete;
  PageImages& operator=(const PageImages&) = delete;

  void begin() {
    end();
    serial_ = pool_->nextSerial();
  }
  void end();
  bool open() const { return serial_ != 0; }
  // Of the change that is open, 0 when none is.
  std::uint64_t serial() const { return serial_; }

  PageBuffer* first() const { return first_; }
  PageBuffer* find(std::int32_t page) const;
  // Keeps an image; without one the page is from the reserve. Null when memory is short.
  PageBuffer* add(std::int32_t page, const std::uint8_t* image);
  // Hands the first image over to the caller; null when there are no more.
  PageBuffer* takeFirst();

 private:
  BufferPool* pool_;
  PageBuffer* first_ = nullptr;
  std::uint64_t serial_ = 0;
};

}  // namespace tavo::engine
