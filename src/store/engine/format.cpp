// Encodes and decodes the file header.
#include "store/engine/format.h"

#include <array>

namespace tavo::engine {
namespace {

// The validity mark of a file, scattered between the data words.
struct Signature {
  std::uint32_t offset;
  std::uint32_t value;
};
constexpr std::array<Signature, 8> kSignatures = {
    {{4, 86}, {16, 65}, {20, 76}, {24, 73}, {32, 68}, {40, 65}, {48, 84}, {56, 49}}};

constexpr std::uint32_t kUserOffset = 92;
constexpr std::uint32_t kKeyTypeOffset = 192;
constexpr std::uint32_t kFlagOffset = 214;
constexpr std::uint32_t kIndexWordOffset = 240;

// The plain 32-bit words and where they stand.
struct Word {
  std::uint32_t offset;
  std::uint32_t FileHeader::*member;
};
constexpr std::array<Word, 12> kWords = {{{0, &FileHeader::changeCounter},
                                          {kFileIdOffset, &FileHeader::fileId},
                                          {28, &FileHeader::word28},
                                          {36, &FileHeader::pagesInUse},
                                          {44, &FileHeader::nextRecord},
                                          {52, &FileHeader::pagesInFile},
                                          {60, &FileHeader::word60},
                                          {64, &FileHeader::freeCount},
                                          {68, &FileHeader::recordCount},
                                          {72, &FileHeader::userLength},
                                          {340, &FileHeader::word340},
                                          {344, &FileHeader::word344}}};

}  // namespace

FileHeader freshHeader(int orderMode) {
  FileHeader header = {};
  header.changeCounter = 1;
  header.order[orderMode == 2 ? 3 : 0] = 1;
  header.word28 = 1;
  header.pagesInUse = 1;
  header.nextRecord = 1;
  header.word60 = header.word340 = header.word344 = 0xFFFFFFFF;
  header.keyType[20] = 2;
  return header;
}

void encodeHeader(const FileHeader& header, std::uint8_t bytes[kHeaderSize]) {
  std::memset(bytes, 0, kHeaderSize);
  for (const Signature& s : kSignatures) storeU32(bytes + s.offset, s.value);
  for (const Word& w : kWords) storeU32(bytes + w.offset, header.*w.member);
  std::memcpy(bytes + 8, header.order, sizeof header.order);
  std::memcpy(bytes + kUserOffset, header.user, header.userLength);
  std::memcpy(bytes + kKeyTypeOffset, header.keyType, sizeof header.keyType);
  std::memcpy(bytes + kFlagOffset, header.indexFlag, sizeof header.indexFlag);
  for (std::uint32_t i = 0; i < 25; ++i)
    storeU32(bytes + kIndexWordOffset + 4 * i, header.indexWord[i]);
}

bool decodeHeader(const std::uint8_t bytes[kHeaderSize], FileHeader& header) {
  for (const Signature& s : kSignatures) {
    if (loadU32(bytes + s.offset) != s.value) return false;
  }
  for (const Word& w : kWords) header.*w.member = loadU32(bytes + w.offset);
  if (header.userLength > sizeof header.user) header.userLength = 0;
  std::memcpy(header.order, bytes + 8, sizeof header.order);
  std::memset(header.user, 0, sizeof header.user);
  std::memcpy(header.user, bytes + kUserOffset, header.userLength);
  std::memcpy(header.keyType, bytes + kKeyTypeOffset, sizeof header.keyType);
  std::memcpy(header.indexFlag, bytes + kFlagOffset, sizeof header.indexFlag);
  for (std::uint32_t i = 0; i < 25; ++i)
    header.indexWord[i] = loadU32(bytes + kIndexWordOffset + 4 * i);
  return true;
}

}  // namespace tavo::engine
