// Hashes of dictionary keys.
//
// They depend on a secret of the process, so that nobody who supplies keys can choose ones that
// collide, and every bit of a hash depends on every byte of the key, whatever its length.
#pragma once

#include <cstddef>
#include <cstdint>

namespace NPOSObjectImpl {

std::uint32_t HashKey(const char* key, std::size_t length) noexcept;

}  // namespace NPOSObjectImpl
