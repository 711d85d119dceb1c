// Hashes of dictionary keys.
//
// They depend on a secret of the process, so that nobody who supplies keys can choose ones that
// collide, and every bit of a hash depends on every byte of the key, whatever its length.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "frame/base/byte_words.h"
#include "frame/base/compiler.h"

namespace NPOSObjectImpl {

// Each word hides one factor of a product. None is ever a constant of the source or the length of a
// key, since a factor that is known lets keys be chosen that collide.
struct HashSecret {
  std::uint64_t first = 0;
  std::uint64_t second = 0;
  std::uint64_t third = 0;
  std::uint64_t last = 0;  // 0: not drawn yet
};
extern constinit HashSecret g_hashSecret;

// Draws the secret of the process if that has not been done; before the first hash.
void DrawHashSecret() noexcept;

// Both halves of a product, folded: every bit of the result depends on every bit of both factors.
inline std::uint64_t FoldedProduct(std::uint64_t left, std::uint64_t right) noexcept {
  const ZEL_T_NMT::WideProduct product = ZEL_T_NMT::Multiply(left, right);
  return product.high ^ product.low;
}

// The hash of the last bytes of a key, of which `head` and `tail` are made; `hash` of those before.
inline std::uint32_t HashEnds(std::uint64_t head, std::uint64_t tail, std::uint64_t hash,
                              std::size_t length) noexcept {
  hash = FoldedProduct(head ^ g_hashSecret.second, tail ^ hash) ^ g_hashSecret.third ^ length;
#if ZEL_HAS_128_BITS
  hash = FoldedProduct(hash, g_hashSecret.last);
#else
  // One product of 32 bits in place of four.
  hash = (hash & 0xFFFFFFFFu) * (hash >> 32);
#endif
  return static_cast<std::uint32_t>(hash ^ (hash >> 32));
}

// The hash of a key of any other length than HashKey takes in by itself.
std::uint32_t HashOtherKey(const char* key, std::size_t length) noexcept;

inline std::uint32_t HashKey(const char* key, std::size_t length) noexcept {
  using ZEL_T_NMT::kWordSize;
  if (length - kWordSize > kWordSize) return HashOtherKey(key, length);
  // The two words overlap where the key is shorter than both.
  return HashEnds(ZEL_T_NMT::LoadWord(key), ZEL_T_NMT::LoadWord(key + length - kWordSize),
                  g_hashSecret.first, length);
}

}  // namespace NPOSObjectImpl
