// The text that a number is written as.
#pragma once

#include <cstddef>

namespace NPOSStreamerImpl::NTypeAImpl {

inline constexpr std::size_t kNumberTextCapacity = 64;

// Stores the number with 32 significant digits as the C library's "%.32g" gives it in the C locale,
// without a terminator, and returns its length. `buffer` has kNumberTextCapacity bytes.
std::size_t FormatNumber(double value, char* buffer) noexcept;

}  // namespace NPOSStreamerImpl::NTypeAImpl
