// The bytes of a journal file: a block about the transaction, then the old images of the pages that
// it changes. All numbers are little-endian; nothing in it depends on the machine that wrote it.
#pragma once

#include <cstdint>

#include "store/engine/format.h"

namespace tavo::engine {

// Block 0, kPageSize bytes:
//
//   0    12 bytes   "TAVOJRNL" and the u32 1, the version of this layout
//   12   u32        1 while the transaction may have to be taken back, else 0
//   16   u64        the salt of the transaction, which no earlier one in the file had
//   24   348 bytes  the header of the data file as it was at the begin of the transaction
//   1016 u64        checksum of the bytes before it
constexpr std::uint8_t kJournalSignature[] = {'T', 'A', 'V', 'O', 'J', 'R', 'N', 'L', 1, 0, 0, 0};
constexpr std::uint32_t kJournalSignatureSize = sizeof kJournalSignature;

struct JournalBlock {
  bool unfinished = false;
  std::uint64_t salt = 0;
  std::uint8_t header[kHeaderSize] = {};  // of the data file

  // Names the data file; the same in every block of a journal.
  std::uint32_t fileId() const { return loadU32(header + kFileIdOffset); }
};

void encodeJournalBlock(const JournalBlock& block, std::uint8_t bytes[kPageSize]);
// False when the block is not whole, as after a write that did not get through. Salt and header are
// what the bytes say even then; `unfinished` is not.
bool decodeJournalBlock(const std::uint8_t bytes[kPageSize], JournalBlock& block);

// Image k of a transaction stands at 1024 + 1048 k: 24 bytes of bookkeeping and the page.
//
//   0    i32        page number; -1: the image is the header that the transaction is going to write
//   4    u32        k
//   8    u64        salt of the transaction
//   16   u64        checksum of the bookkeeping before it and of the image
//   24   1024 bytes the page as it was, or the 348 bytes of the header and zeroes
//
// The images of a transaction end with the first place that holds no such image. Of several images
// of a page the first one counts.
constexpr std::uint32_t kJournalHead = 24;
constexpr std::uint32_t kJournalImageSize = kJournalHead + kPageSize;
constexpr std::int32_t kHeaderImage = -1;

constexpr std::uint64_t journalPosition(std::uint32_t k) {
  return kPageSize + std::uint64_t{kJournalImageSize} * k;
}

// Puts the bookkeeping before an image that stands in `bytes` already.
void sealJournalImage(std::int32_t page, std::uint32_t k, std::uint64_t salt,
                      std::uint8_t bytes[kJournalImageSize]);
// Whether this is image k of the transaction.
bool isJournalImage(const std::uint8_t bytes[kJournalImageSize], std::uint32_t k,
                    std::uint64_t salt);

}  // namespace tavo::engine
