#include <sys/random.h>

#include "pos/system_random.h"

namespace NPOSObjectImpl {

// So few bytes come whole or not at all, and no signal cuts them short.
bool FillWithSystemRandom(void* block, std::size_t size) noexcept {
  return getrandom(block, size, GRND_NONBLOCK) == static_cast<ssize_t>(size);
}

}  // namespace NPOSObjectImpl
