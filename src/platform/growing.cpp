// Growing memory: the C library moves large pieces page by page on Linux; on Windows address space
// is reserved ahead and filled as it is needed.
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
void askForLargePages(uint8_t* bytes, size_t size) {
#if defined(MADV_HUGEPAGE)
  constexpr size_t kLarge = size_t{1} << 21;
  constexpr size_t kPage = 4096;
  if (size < 4 * kLarge) return;
  // From the page on that the piece begins in: it is moved as a whole or not at all.
  const size_t before = reinterpret_cast<uintptr_t>(bytes) % kPage;
  madvise(bytes - before, (before + size + kPage - 1) / kPage * kPage, MADV_HUGEPAGE);
#endif
}

}  // namespace

void GrowingMemory::grow(size_t least) {
  // Room beyond the bytes asked for costs address space only, until it is written.
  constexpr size_t kSmallest = 4096;
  const size_t room = std::max({least, room_ + room_ / 2, kSmallest});
  auto* const bytes = static_cast<uint8_t*>(std::realloc(bytes_, room));
  if (bytes == nullptr) throw std::bad_alloc();
  askForLargePages(bytes, room);
  bytes_ = bytes;
  room_ = room;
}

GrowingMemory::~GrowingMemory() { std::free(bytes_); }

#endif

}  // namespace tavo::platform
