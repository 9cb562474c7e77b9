// Encodes and decodes the blocks of a journal file.
#include "store/engine/journal_format.h"

namespace tavo::engine {
namespace {

constexpr std::uint32_t kStateOffset = 12;
constexpr std::uint32_t kBlockSaltOffset = 16;
constexpr std::uint32_t kHeaderOffset = 24;
constexpr std::uint32_t kBlockSumOffset = kPageSize - 8;
constexpr std::uint32_t kPlaceOffset = 4;
constexpr std::uint32_t kSaltOffset = 8;
constexpr std::uint32_t kSumOffset = 16;

std::uint64_t loadU64(const std::uint8_t* p) {
  return loadU32(p) | std::uint64_t{loadU32(p + 4)} << 32;
}

void storeU64(std::uint8_t* p, std::uint64_t v) {
  storeU32(p, static_cast<std::uint32_t>(v));
  storeU32(p + 4, static_cast<std::uint32_t>(v >> 32));
}

// FNV-1a. It has to tell a block that was written as a whole from one that was not.
std::uint64_t checksum(const std::uint8_t* p, std::uint32_t size,
                       std::uint64_t sum = 0xCBF29CE484222325u) {
  for (std::uint32_t i = 0; i < size; ++i) sum = (sum ^ p[i]) * 0x100000001B3u;
  return sum;
}

std::uint64_t imageChecksum(const std::uint8_t* bytes) {
  return checksum(bytes + kJournalHead, kPageSize, checksum(bytes, kSumOffset));
}

}  // namespace

void encodeJournalBlock(const JournalBlock& block, std::uint8_t bytes[kPageSize]) {
  std::memset(bytes, 0, kPageSize);
  std::memcpy(bytes, kJournalSignature, kJournalSignatureSize);
  storeU32(bytes + kStateOffset, block.unfinished ? 1 : 0);
  storeU64(bytes + kBlockSaltOffset, block.salt);
  std::memcpy(bytes + kHeaderOffset, block.header, kHeaderSize);
  storeU64(bytes + kBlockSumOffset, checksum(bytes, kBlockSumOffset));
}

bool decodeJournalBlock(const std::uint8_t bytes[kPageSize], JournalBlock& block) {
  block.salt = loadU64(bytes + kBlockSaltOffset);
  std::memcpy(block.header, bytes + kHeaderOffset, kHeaderSize);
  const bool whole = loadU64(bytes + kBlockSumOffset) == checksum(bytes, kBlockSumOffset);
  block.unfinished = whole && loadU32(bytes + kStateOffset) == 1;
  return whole;
}

void sealJournalImage(std::int32_t page, std::uint32_t k, std::uint64_t salt,
                      std::uint8_t bytes[kJournalImageSize]) {
  storeU32(bytes, static_cast<std::uint32_t>(page));
  storeU32(bytes + kPlaceOffset, k);
  storeU64(bytes + kSaltOffset, salt);
  storeU64(bytes + kSumOffset, imageChecksum(bytes));
}

bool isJournalImage(const std::uint8_t bytes[kJournalImageSize], std::uint32_t k,
                    std::uint64_t salt) {
  return loadU32(bytes + kPlaceOffset) == k && loadU64(bytes + kSaltOffset) == salt &&
         loadU64(bytes + kSumOffset) == imageChecksum(bytes);
}

}  // namespace tavo::engine
