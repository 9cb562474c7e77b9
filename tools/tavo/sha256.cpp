// The hash's rounds.
#include "sha256.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace tavo::tool {

namespace {

// The first 32 bits of the fractions of the cube roots of the first 64 primes.
constexpr uint32_t kRound[64] = {
    0x428a2f98, 0x71374491, 0xb5c0fbcf, 0xe9b5dba5, 0x3956c25b, 0x59f111f1, 0x923f82a4, 0xab1c5ed5,
    0xd807aa98, 0x12835b01, 0x243185be, 0x550c7dc3, 0x72be5d74, 0x80deb1fe, 0x9bdc06a7, 0xc19bf174,
    0xe49b69c1, 0xefbe4786, 0x0fc19dc6, 0x240ca1cc, 0x2de92c6f, 0x4a7484aa, 0x5cb0a9dc, 0x76f988da,
    0x983e5152, 0xa831c66d, 0xb00327c8, 0xbf597fc7, 0xc6e00bf3, 0xd5a79147, 0x06ca6351, 0x14292967,
    0x27b70a85, 0x2e1b2138, 0x4d2c6dfc, 0x53380d13, 0x650a7354, 0x766a0abb, 0x81c2c92e, 0x92722c85,
    0xa2bfe8a1, 0xa81a664b, 0xc24b8b70, 0xc76c51a3, 0xd192e819, 0xd6990624, 0xf40e3585, 0x106aa070,
    0x19a4c116, 0x1e376c08, 0x2748774c, 0x34b0bcb5, 0x391c0cb3, 0x4ed8aa4a, 0x5b9cca4f, 0x682e6ff3,
    0x748f82ee, 0x78a5636f, 0x84c87814, 0x8cc70208, 0x90befffa, 0xa4506ceb, 0xbef9a3f7, 0xc67178f2,
};

}  // namespace

void Sha256::addBlock(const uint8_t* block) {
  uint32_t w[64];
  for (size_t i = 0; i < 16; ++i) {
    const uint8_t* const b = block + 4 * i;
    w[i] = uint32_t{b[0]} << 24 | uint32_t{b[1]} << 16 | uint32_t{b[2]} << 8 | uint32_t{b[3]};
  }
  for (size_t i = 16; i < 64; ++i) {
    const uint32_t a = w[i - 15], b = w[i - 2];
    w[i] = w[i - 16] + (std::rotr(a, 7) ^ std::rotr(a, 18) ^ (a >> 3)) + w[i - 7] +
           (std::rotr(b, 17) ^ std::rotr(b, 19) ^ (b >> 10));
  }
  std::array<uint32_t, 8> s = state_;
  for (size_t i = 0; i < 64; ++i) {
    const uint32_t big1 = std::rotr(s[4], 6) ^ std::rotr(s[4], 11) ^ std::rotr(s[4], 25);
    const uint32_t choice = (s[4] & s[5]) ^ (~s[4] & s[6]);
    const uint32_t first = s[7] + big1 + choice + kRound[i] + w[i];
    const uint32_t big0 = std::rotr(s[0], 2) ^ std::rotr(s[0], 13) ^ std::rotr(s[0], 22);
    const uint32_t majority = (s[0] & s[1]) ^ (s[0] & s[2]) ^ (s[1] & s[2]);
    s = {first + big0 + majority, s[0], s[1], s[2], s[3] + first, s[4], s[5], s[6]};
  }
  for (size_t i = 0; i < 8; ++i) state_[i] += s[i];
}

void Sha256::add(std::string_view bytes) {
  size_t used = size_ % kBlock;
  size_ += bytes.size();
  while (!bytes.empty()) {
    const size_t taken = std::min(kBlock - used, bytes.size());
    std::memcpy(rest_.data() + used, bytes.data(), taken);
    bytes.remove_prefix(taken);
    used += taken;
    if (used < kBlock) return;
    addBlock(rest_.data());
    used = 0;
  }
}

std::string Sha256::digits() {
  const uint64_t bits = size_ * 8;
  add({"\x80", 1});
  while (size_ % kBlock != kBlock - 8) add({"\0", 1});
  for (int shift = 56; shift >= 0; shift -= 8) {
    const char byte = static_cast<char>(bits >> shift);
    add({&byte, 1});
  }
  std::string text;
  for (const uint32_t word : state_) {
    for (int shift = 28; shift >= 0; shift -= 4) text += "0123456789abcdef"[word >> shift & 15];
  }
  return text;
}

}  // namespace tavo::tool
