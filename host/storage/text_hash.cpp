#include "storage/text_hash.h"

#include <chrono>
#include <random>

namespace zelhost {

TextHasher TextHasher::New() noexcept {
  TextHasher hasher;
  // In case that the system has no random numbers.
  hasher.secret_[0] = reinterpret_cast<std::uintptr_t>(&hasher);
  hasher.secret_[1] =
      static_cast<std::uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count());
  try {
    std::random_device device;
    for (std::uint64_t& secret : hasher.secret_) {
      secret ^= std::uint64_t{device()} << 32 | device();
    }
  } catch (...) {
    return hasher;
  }
  return hasher;
}

// The last sixteen bytes may overlap with those before.
std::uint32_t TextHasher::OfLong(const char* text, std::size_t length) const noexcept {
  std::uint64_t hash = secret_[0] ^ length;
  const char* const last = text + length - 16;
  for (; text < last; text += 16) {
    hash = MixWide(LoadWord<std::uint64_t>(text) ^ secret_[1],
                   LoadWord<std::uint64_t>(text + 8) ^ hash);
  }
  return Mix(LoadWord<std::uint64_t>(last) ^ hash, LoadWord<std::uint64_t>(last + 8) ^ secret_[1]);
}

}  // namespace zelhost
