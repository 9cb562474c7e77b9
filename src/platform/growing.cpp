// Growing memory: on Linux the pages of a large piece move to where there is more room; on Windows
// address space is reserved ahead and filled as it is needed.
#include "platform/growing.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

#if defined(_WIN32)
#include <windows.h>
#else
#include <sys/mman.h>
#endif

namespace tavo::platform {

#if defined(_WIN32)

void GrowingMemory::grow(size_t least) {
  constexpr size_t kPiece = 65536;
  const size_t room = (std::max(least, room_ + room_ / 8) + kPiece - 1) / kPiece * kPiece;
  if (room <= reserved_) {
    if (VirtualAlloc(bytes_, room, MEM_COMMIT, PAGE_READWRITE) == nullptr) throw std::bad_alloc();
    room_ = room;
    return;
  }
  const size_t reserved = 2 * room;
  auto* const moved =
      static_cast<uint8_t*>(VirtualAlloc(nullptr, reserved, MEM_RESERVE, PAGE_READWRITE));
  if (moved == nullptr) throw std::bad_alloc();
  if (VirtualAlloc(moved, room, MEM_COMMIT, PAGE_READWRITE) == nullptr) {
    VirtualFree(moved, 0, MEM_RELEASE);
    throw std::bad_alloc();
  }
  // Piece by piece, the old one given back as soon as the new one is filled.
  for (size_t at = 0; at < room_; at += kPiece) {
    std::memcpy(moved + at, bytes_ + at, std::min(kPiece, room_ - at));
    VirtualFree(bytes_ + at, kPiece, MEM_DECOMMIT);
  }
  if (bytes_ != nullptr) VirtualFree(bytes_, 0, MEM_RELEASE);
  bytes_ = moved;
  reserved_ = reserved;
  room_ = room;
}

GrowingMemory::~GrowingMemory() {
  if (bytes_ != nullptr) VirtualFree(bytes_, 0, MEM_RELEASE);
}

#else

namespace {

// Large pages where the system has them: filling small ones costs as much as reading the survey.
constexpr size_t kLarge = size_t{1} << 21;
// From here on; what is smaller comes from the heap, so that a small survey stays small.
constexpr size_t kFirstLarge = kLarge / 4;

// Address space in whole large pages, since only those move without being taken apart.
uint8_t* reserve(size_t size) {
  constexpr int kAccess = PROT_READ | PROT_WRITE;
  constexpr int kKind = MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE;
  void* const wide = mmap(nullptr, size + kLarge, kAccess, kKind, -1, 0);
  if (wide == MAP_FAILED) throw std::bad_alloc();
  auto* const first = static_cast<uint8_t*>(wide);
  const size_t before = (kLarge - reinterpret_cast<uintptr_t>(first) % kLarge) % kLarge;
  if (before > 0) munmap(first, before);
  munmap(first + before + size, kLarge - before);
  madvise(first + before, size, MADV_HUGEPAGE);
  return first + before;
}

}  // namespace

void GrowingMemory::grow(size_t least) {
  // Room beyond the bytes asked for costs address space only, until it is written.
  constexpr size_t kSmallest = 4096;
  size_t room = std::max({least, room_ + room_ / 2, kSmallest});
  uint8_t* bytes = nullptr;
  if (room < kFirstLarge) {
    bytes = static_cast<uint8_t*>(std::realloc(bytes_, room));
    if (bytes == nullptr) throw std::bad_alloc();
  } else {
    room = (room + kLarge - 1) / kLarge * kLarge;
    bytes = reserve(room);
    if (room_ < kFirstLarge) {
      std::copy_n(bytes_, size_, bytes);
      std::free(bytes_);
    } else if (mremap(bytes_, room_, room, MREMAP_MAYMOVE | MREMAP_FIXED, bytes) == MAP_FAILED) {
      munmap(bytes, room);
      throw std::bad_alloc();
    }
  }
  bytes_ = bytes;
  room_ = room;
}

GrowingMemory::~GrowingMemory() {
  if (room_ < kFirstLarge) {
    std::free(bytes_);
  } else {
    munmap(bytes_, room_);
  }
}

#endif

}  // namespace tavo::platform
