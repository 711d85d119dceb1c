#include "streamer/number_text.h"

#include <charconv>
#include <cmath>
#include <cstdint>

namespace NPOSStreamerImpl::NTypeAImpl {

size_t FormatNumber(double value, char* buffer) noexcept {
  constexpr double kExactWholes = 9007199254740992;  // 2^53
  char* const end = buffer + kNumberTextCapacity;
  // Most numbers are small and whole: their digits are all that is written. -0 keeps its sign.
  if (std::fabs(value) < kExactWholes) {
    const auto whole = static_cast<int64_t>(value);
    if (static_cast<double>(whole) == value && (whole != 0 || !std::signbit(value))) {
      return static_cast<size_t>(std::to_chars(buffer, end, whole).ptr - buffer);
    }
  }
  constexpr int kSignificantDigits = 32;
  const std::to_chars_result result =
      std::to_chars(buffer, end, value, std::chars_format::general, kSignificantDigits);
  return static_cast<size_t>(result.ptr - buffer);
}

}  // namespace NPOSStreamerImpl::NTypeAImpl
