#include "pos/key_hash.h"

#include <chrono>
#include <cstring>

#include "frame/base/byte_words.h"
#include "frame/base/compiler.h"
#include "pos/system_random.h"

namespace NPOSObjectImpl {
namespace {

using ZEL_T_NMT::kWordSize;
using ZEL_T_NMT::LoadWord;

// Both halves of a product, folded: every bit of the result depends on every bit of both factors.
std::uint64_t Mix(std::uint64_t left, std::uint64_t right) noexcept {
  const ZEL_T_NMT::WideProduct product = ZEL_T_NMT::Multiply(left, right);
  return product.high ^ product.low;
}

// Each word hides one factor of a product. None is ever a constant of the source or the length of a
// key, since a factor that is known lets keys be chosen that collide.
struct Secret {
  std::uint64_t first = 0;
  std::uint64_t second = 0;
  std::uint64_t third = 0;
  std::uint64_t last = 0;
  bool isDrawn = false;
};
constinit Secret g_secret;

// For a system that has no random bytes: where it has put code and stack, and the time to its
// finest unit, are hard to know from outside.
Secret SecretOfCircumstances() noexcept {
  constexpr std::uint64_t kOdd = 0x9E3779B97F4A7C15u;
  const auto now =
      static_cast<std::uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count());
  const auto stack = static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(&now));
  const auto code = static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(&g_secret));
  Secret secret;
  secret.first = Mix(now ^ kOdd, stack + kOdd);
  secret.second = Mix(secret.first ^ code, now + kOdd);
  secret.third = Mix(secret.second + kOdd, secret.first ^ stack);
  secret.last = Mix(secret.third ^ kOdd, secret.second + code);
  return secret;
}

void DrawSecret() noexcept {
  std::uint64_t words[4];
  if (FillWithSystemRandom(words, sizeof words)) {
    g_secret = {words[0], words[1], words[2], words[3]};
  } else {
    g_secret = SecretOfCircumstances();
  }
  g_secret.last |= 1;  // a product with it loses nothing
  g_secret.isDrawn = true;
}

std::uint32_t LoadHalfWord(const char* bytes) noexcept {
  std::uint32_t half;
  std::memcpy(&half, bytes, sizeof half);
  return half;
}

std::uint64_t Byte(char byte) noexcept { return static_cast<unsigned char>(byte); }

}  // namespace

std::uint32_t HashKey(const char* key, std::size_t length) noexcept {
  if (!g_secret.isDrawn) [[unlikely]] {
    DrawSecret();
  }
  const char* const end = key + length;

  // Head and tail of what one product takes in; they overlap where the key is shorter.
  std::uint64_t head = 0;
  std::uint64_t tail = 0;
  std::uint64_t hash = g_secret.first;
  if (length >= kWordSize) {
    for (const char* block = key; static_cast<std::size_t>(end - block) > 2 * kWordSize;
         block += 2 * kWordSize) {
      hash = Mix(LoadWord(block) ^ g_secret.second, LoadWord(block + kWordSize) ^ hash);
    }
    head = LoadWord(length > 2 * kWordSize ? end - 2 * kWordSize : key);
    tail = LoadWord(end - kWordSize);
  } else if (length >= kWordSize / 2) {
    head = LoadHalfWord(key);
    tail = LoadHalfWord(end - kWordSize / 2);
  } else if (length > 0) {
    head = Byte(key[0]) << 16 | Byte(key[length / 2]) << 8 | Byte(end[-1]);
  }
  hash = Mix(head ^ g_secret.second, tail ^ hash);
  hash = Mix(hash ^ g_secret.third ^ length, g_secret.last);
  return static_cast<std::uint32_t>(hash ^ (hash >> 32));
}

}  // namespace NPOSObjectImpl
