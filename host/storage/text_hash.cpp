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

}  // namespace zelhost
