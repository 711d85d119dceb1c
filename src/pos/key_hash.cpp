#include "pos/key_hash.h"

#include <chrono>
#include <cstring>

#include "frame/base/byte_words.h"
#include "pos/system_random.h"

namespace NPOSObjectImpl {

constinit HashSecret g_hashSecret;

namespace {

using ZEL_T_NMT::kWordSize;
using ZEL_T_NMT::LoadWord;

// For a system that has no random bytes: where it has put code and stack, and the time to its
// finest unit, are hard to know from outside.
HashSecret SecretOfCircumstances() noexcept {
  constexpr std::uint64_t kOdd = 0x9E3779B97F4A7C15u;
  const auto now =
      static_cast<std::uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count());
  const auto stack = static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(&now));
  const auto code = static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(&g_hashSecret));
  HashSecret secret;
  secret.first = FoldedProduct(now ^ kOdd, stack + kOdd);
  secret.second = FoldedProduct(secret.first ^ code, now + kOdd);
  secret.third = FoldedProduct(secret.second + kOdd, secret.first ^ stack);
  secret.last = FoldedProduct(secret.third ^ kOdd, secret.second + code);
  return secret;
}

std::uint32_t LoadHalfWord(const char* bytes) noexcept {
  std::uint32_t half;
  std::memcpy(&half, bytes, sizeof half);
  return half;
}

std::uint64_t Byte(char byte) noexcept { return static_cast<unsigned char>(byte); }

}  // namespace

void DrawHashSecret() noexcept {
  if (g_hashSecret.last != 0) return;
  std::uint64_t words[4];
  if (FillWithSystemRandom(words, sizeof words)) {
    g_hashSecret = {words[0], words[1], words[2], words[3]};
  } else {
    g_hashSecret = SecretOfCircumstances();
  }
  g_hashSecret.last |= 1;  // a product with it loses nothing
}

std::uint32_t HashOtherKey(const char* key, std::size_t length) noexcept {
  const char* const end = key + length;
  if (length >= kWordSize) {
    std::uint64_t hash = g_hashSecret.first;
    for (; static_cast<std::size_t>(end - key) > 2 * kWordSize; key += 2 * kWordSize) {
      hash = FoldedProduct(LoadWord(key) ^ g_hashSecret.second, LoadWord(key + kWordSize) ^ hash);
    }
    return HashEnds(LoadWord(end - 2 * kWordSize), LoadWord(end - kWordSize), hash, length);
  }
  std::uint64_t head = 0;
  std::uint64_t tail = 0;
  if (length >= kWordSize / 2) {
    head = LoadHalfWord(key);
    tail = LoadHalfWord(end - kWordSize / 2);
  } else if (length > 0) {
    head = Byte(key[0]) << 16 | Byte(key[length / 2]) << 8 | Byte(end[-1]);
  }
  return HashEnds(head, tail, g_hashSecret.first, length);
}

}  // namespace NPOSObjectImpl
