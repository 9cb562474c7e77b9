// SHA-256 of a text as hexadecimal digits, by which reports name their input (FIPS 180-4).
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace tavo::tool {

class Sha256 {
 public:
  void add(std::string_view bytes);
  // 64 digits. Nothing may be added afterwards.
  std::string digits();

 private:
  static constexpr size_t kBlock = 64;
  void addBlock(const uint8_t* block);

  std::array<uint32_t, 8> state_ = {0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a,
                                    0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19};
  std::array<uint8_t, kBlock> rest_{};
  uint64_t size_ = 0;
};

}  // namespace tavo::tool
