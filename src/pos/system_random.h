// The operating system's source of random bytes.
#pragma once

#include <cstddef>

namespace NPOSObjectImpl {

// Fills a block with bytes that nobody can predict; at most 256. False, with the block unchanged or
// partly filled, where the system has none to give at once.
bool FillWithSystemRandom(void* block, std::size_t size) noexcept;

}  // namespace NPOSObjectImpl
