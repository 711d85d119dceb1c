#include "pos/key_hash.h"

#include <chrono>
#include <cstring>

namespace NPOSObjectImpl {
namespace {

// Both halves of the product of two 64-bit values, folded: every bit of the result depends on every
// bit of both.
std::uint64_t Mix(std::uint64_t left, std::uint64_t right) noexcept {
#if defined(__SIZEOF_INT128__)
  __extension__ using Wide = unsigned __int128;
  const Wide product = static_cast<Wide>(left) * right;
  return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
#else
  const std::uint64_t lowLeft = left & 0xFFFFFFFFu;
  const std::uint64_t highLeft = left >> 32;
  const std::uint64_t lowRight = right & 0xFFFFFFFFu;
  const std::uint64_t highRight = right >> 32;
  const std::uint64_t middle = highLeft * lowRight + ((lowLeft * lowRight) >> 32);
  const std::uint64_t other = lowLeft * highRight + (middle & 0xFFFFFFFFu);
  const std::uint64_t high = highLeft * highRight + (middle >> 32) + (other >> 32);
  return (left * right) ^ high;
#endif
}

struct Secret {
  std::uint64_t first = 0;  // 0 until drawn
  std::uint64_t second = 0;
};
constinit Secret g_secret;

// Where the system has put code and stack, and the time to its finest unit, are not to be known
// from outside.
void DrawSecret() noexcept {
  constexpr std::uint64_t kOdd = 0x9E3779B97F4A7C15u;
  const auto now =
      static_cast<std::uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count());
  const auto stack = static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(&now));
  const auto code = static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(&g_secret));
  g_secret.first = Mix(now ^ kOdd, stack + kOdd) | 1;
  g_secret.second = Mix(g_secret.first ^ code, now + kOdd) | 1;
}

}  // namespace

std::uint32_t HashKey(const char* key) noexcept {
  if (g_secret.first == 0) [[unlikely]] {
    DrawSecret();
  }
  std::size_t left = std::strlen(key);
  std::uint64_t hash = g_secret.second ^ left;
  for (; left >= sizeof(std::uint64_t);
       left -= sizeof(std::uint64_t), key += sizeof(std::uint64_t)) {
    std::uint64_t word;
    std::memcpy(&word, key, sizeof word);
    hash = Mix(word ^ g_secret.first, hash ^ g_secret.second);
  }
  std::uint64_t rest = 0;
  std::memcpy(&rest, key, left);
  hash = Mix(rest ^ g_secret.first, hash ^ g_secret.second);
  return static_cast<std::uint32_t>(hash ^ (hash >> 32));
}

}  // namespace NPOSObjectImpl
