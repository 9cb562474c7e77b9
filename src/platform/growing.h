// Memory that grows to hundreds of megabytes as one contiguous piece without ever being held twice:
// its pages move, its bytes are not copied.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tavo::platform {

class GrowingMemory {
 public:
  GrowingMemory() = default;
  GrowingMemory(const GrowingMemory&) = delete;
  GrowingMemory& operator=(const GrowingMemory&) = delete;
  ~GrowingMemory();

  // Appends `count` undefined bytes and returns them; addresses given before may be stale. Throws
  // std::bad_alloc, and then nothing has changed.
  uint8_t* append(size_t count) {
    if (count > room_ - size_) grow(size_ + count);
    uint8_t* const bytes = bytes_ + size_;
    size_ += count;
    return bytes;
  }
  uint8_t* data() { return bytes_; }
  const uint8_t* data() const { return bytes_; }
  size_t size() const { return size_; }

 private:
  void grow(size_t least);

  uint8_t* bytes_ = nullptr;
  size_t size_ = 0;
  size_t room_ = 0;
#if defined(_WIN32)
  size_t reserved_ = 0;  // bytes of address space behind bytes_
#endif
};

}  // namespace tavo::platform
