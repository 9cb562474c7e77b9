// Finds the records of a damaged store file: in the leaf chain, then in every page that the chain
// does not reach, then in whatever is left of pages that are no pages any more.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>

#include "platform/file.h"

namespace tavo::engine {

struct SalvageHooks {
  // Whether these bytes are the packed form of a record; `order` says where it belongs (records of
  // equal order stand in the order of their numbers).
  std::function<bool(const std::uint8_t* packed, std::size_t size, std::uint32_t* order)> sound;
  // A sound record, in that order. Another result than 0 ends the salvage with it.
  std::function<int(std::int32_t number, const std::uint8_t* packed, std::size_t size)> record;
  // A further sound record of a number, passed over when it is the same as one before.
  std::function<void(std::int32_t number, std::uint8_t type)> twice;
  // A record that was there but is not sound, with the bytes of its first piece, or without any,
  // and its key in index 1, or none.
  std::function<void(std::int32_t number, const std::uint8_t* piece, std::size_t size,
                     const std::uint8_t* key, std::size_t keySize)>
      lost;
};

struct SalvageReport {
  std::uint32_t records = 0;  // sound ones
  std::uint32_t lost = 0;
  std::uint32_t recordCount = 0;  // by the header, 0 where that cannot be read
  bool whole = false;  // the leaf chain is sound, so that records it does not have were never there
};

// 0 when all of the file was looked at, else the Code with which it could not be read, or the
// hook's. The file's header need not be sound.
int salvage(const char* path, const SalvageHooks& hooks, SalvageReport& report,
            platform::FileSystem& files = platform::nativeFileSystem());

}  // namespace tavo::engine
