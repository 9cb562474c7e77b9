// The bytes of a store file: header words, lock and marker area, page layout. All numbers are
// little-endian and are put together byte by byte.
#pragma once

#include <cstdint>
#include <cstring>

namespace tavo::engine {

inline std::uint16_t loadU16(const std::uint8_t* p) {
  return static_cast<std::uint16_t>(p[0] | p[1] << 8);
}
inline std::uint32_t loadU32(const std::uint8_t* p) {
  return std::uint32_t{p[0]} | std::uint32_t{p[1]} << 8 | std::uint32_t{p[2]} << 16 |
         std::uint32_t{p[3]} << 24;
}
inline std::int16_t loadI16(const std::uint8_t* p) { return static_cast<std::int16_t>(loadU16(p)); }
inline std::int32_t loadI32(const std::uint8_t* p) { return static_cast<std::int32_t>(loadU32(p)); }
inline void storeU16(std::uint8_t* p, std::uint16_t v) {
  p[0] = static_cast<std::uint8_t>(v);
  p[1] = static_cast<std::uint8_t>(v >> 8);
}
inline void storeU32(std::uint8_t* p, std::uint32_t v) {
  p[0] = static_cast<std::uint8_t>(v);
  p[1] = static_cast<std::uint8_t>(v >> 8);
  p[2] = static_cast<std::uint8_t>(v >> 16);
  p[3] = static_cast<std::uint8_t>(v >> 24);
}

// --- Blocks: block 0 is the header's, page n is block n + 1.
constexpr std::uint32_t kPageSize = 1024;
constexpr std::uint32_t kHeaderSize = 348;
// The last page whose block ends at a position that both platforms can reach.
constexpr std::uint32_t kMaxPages = 2097150;

constexpr std::uint64_t pagePosition(std::int32_t page) {
  return kPageSize + std::uint64_t{kPageSize} * static_cast<std::uint32_t>(page);
}

// --- Lock and marker area, byte positions in the file
constexpr int kSlots = 210;                // openers that can share a file
constexpr std::uint32_t kSlotBytes = 349;  // one byte per opener, locked while it has the file open
constexpr std::uint32_t kReaderBytes =
    559;  // one byte per slot, locked while it reads; all while one writes
constexpr std::uint32_t kGateByte = 769;         // locked by the one opener that may start to write
constexpr int kQueuePlaces = 210;                // places behind the gate byte
constexpr std::uint32_t kModifiedMarker = 1010;  // u16, set while a safe write is incomplete
constexpr std::uint32_t kOpenMarker = 1020;  // u32, set while a creating opener sets the file up
constexpr std::uint16_t kMarkerValue = 0x33BD;
constexpr std::uint64_t kBytesPerRecord = 16;  // every record takes more than this

// --- Indexes
constexpr int kUserIndexes = 15;   // user indexes are numbered 1 to 15
constexpr int kIndexNumbers = 22;  // entries of the header's index tables
constexpr int kLastIndex = 20;     // largest index number of an entry
constexpr std::uint8_t kMaxKeyType = 23;
constexpr std::uint8_t kSegmentKey = 8;
constexpr std::uint32_t kMaxKeyBytes = 241;  // of a key, a length byte before it not counted

// Word 12 is 0, or the number that names the file to its journal.
constexpr std::uint32_t kFileIdOffset = 12;

struct FileHeader {
  std::uint32_t changeCounter;
  std::uint8_t order[4];
  std::uint32_t fileId;
  std::uint32_t word28;
  std::uint32_t pagesInUse;
  std::uint32_t nextRecord;
  std::uint32_t pagesInFile;
  std::uint32_t word60;
  std::uint32_t freeCount;
  std::uint32_t recordCount;
  std::uint32_t userLength;
  std::uint8_t user[100];
  std::uint8_t keyType[kIndexNumbers];
  std::uint8_t indexFlag[kIndexNumbers];
  std::uint32_t indexWord[25];
  std::uint32_t word340;
  std::uint32_t word344;

  bool nativeOrder() const { return order[0] == 1; }
};

// A new file's header; order mode 1 or 3 native, 2 byte-swapped.
FileHeader freshHeader(int orderMode);
void encodeHeader(const FileHeader& header, std::uint8_t bytes[kHeaderSize]);
// False when one of the eight signature words is wrong.
bool decodeHeader(const std::uint8_t bytes[kHeaderSize], FileHeader& header);

// --- Pages
constexpr std::uint32_t kPageHead = 18;
constexpr int kPageRoom = static_cast<int>(kPageSize - kPageHead);
constexpr int kSplitHalf = kPageRoom / 2;
constexpr int kMaxEntries = 143;
constexpr int kMaxHeight = 32;  // levels of the tree
constexpr std::int32_t kNoPage = -1;

namespace page {
inline std::uint32_t firstChild(const std::uint8_t* p) { return loadU32(p); }
inline std::int32_t next(const std::uint8_t* p) { return loadI32(p + 4); }
inline std::int32_t previous(const std::uint8_t* p) { return loadI32(p + 8); }
inline int level(const std::uint8_t* p) { return loadI16(p + 12); }
inline int count(const std::uint8_t* p) { return loadI16(p + 14); }
inline int freeBytes(const std::uint8_t* p) { return loadI16(p + 16); }
inline void setFirstChild(std::uint8_t* p, std::uint32_t v) { storeU32(p, v); }
inline void setNext(std::uint8_t* p, std::int32_t v) {
  storeU32(p + 4, static_cast<std::uint32_t>(v));
}
inline void setPrevious(std::uint8_t* p, std::int32_t v) {
  storeU32(p + 8, static_cast<std::uint32_t>(v));
}
inline void setLevel(std::uint8_t* p, int v) { storeU16(p + 12, static_cast<std::uint16_t>(v)); }
inline void setCount(std::uint8_t* p, int v) { storeU16(p + 14, static_cast<std::uint16_t>(v)); }
inline void setFreeBytes(std::uint8_t* p, int v) {
  storeU16(p + 16, static_cast<std::uint16_t>(v));
}
// Makes it an empty page of a level without neighbours.
inline void clear(std::uint8_t* p, int pageLevel) {
  std::memset(p, 0, kPageSize);
  setNext(p, kNoPage);
  setPrevious(p, kNoPage);
  setLevel(p, pageLevel);
  setFreeBytes(p, kPageRoom);
}
}  // namespace page

// --- Entries: length byte L, index number, piece byte, record number, then key and data piece
// (leaf) or key and page number (inner page). `e` points to the length byte.
constexpr std::uint32_t kEntryHead = 7;  // length byte included
constexpr std::uint32_t kChildSize = 4;
constexpr std::uint32_t kPieceRoom = 244;  // key and data of one leaf entry
constexpr int kMaxPieces = 128;
constexpr std::uint8_t kLastPiece = 0x80;
constexpr std::uint32_t kMaxEntrySize = 256;

namespace entry {
inline std::uint32_t size(const std::uint8_t* e) { return e[0] + 1u; }
inline int index(const std::uint8_t* e) { return e[1]; }
inline int piece(const std::uint8_t* e) { return e[2] & 0x7F; }
inline bool isLastPiece(const std::uint8_t* e) { return (e[2] & kLastPiece) != 0; }
inline std::int32_t record(const std::uint8_t* e) { return loadI32(e + 3); }
inline const std::uint8_t* key(const std::uint8_t* e) { return e + kEntryHead; }
// Stored length of the key. Only indexes 18 and up carry data; their keys are empty but for the
// record locks', whose key is length-prefixed.
inline std::uint32_t keyLength(const std::uint8_t* e, bool leaf) {
  const std::uint32_t rest = size(e) - kEntryHead;
  if (!leaf) return rest - kChildSize;
  if (e[1] < 18) return rest;
  if (e[1] < 20 || rest == 0) return 0;
  const std::uint32_t length = e[kEntryHead] + 1u;
  return length < rest ? length : rest;
}
inline std::uint32_t child(const std::uint8_t* e) { return loadU32(e + size(e) - kChildSize); }
}  // namespace entry

}  // namespace tavo::engine
