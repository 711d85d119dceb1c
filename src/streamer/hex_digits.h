// Hexadecimal digits to and from values.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace NPOSStreamerImpl::NTypeAImpl {

inline constexpr char kUpperHexDigits[] = "0123456789ABCDEF";
inline constexpr char kLowerHexDigits[] = "0123456789abcdef";

// The value of each digit in either case, and -1 for every other byte.
inline constexpr std::array<std::int16_t, 256> kHexValues = [] {
  std::array<std::int16_t, 256> values{};
  values.fill(-1);
  for (std::size_t value = 0; value < 16; ++value) {
    values[static_cast<unsigned char>(kUpperHexDigits[value])] = static_cast<std::int16_t>(value);
    values[static_cast<unsigned char>(kLowerHexDigits[value])] = static_cast<std::int16_t>(value);
  }
  return values;
}();

// The value of two digits, the high half first; negative when one is no digit.
inline int HexPairValue(char high, char low) noexcept {
  const int highValue = kHexValues[static_cast<unsigned char>(high)];
  const int lowValue = kHexValues[static_cast<unsigned char>(low)];
  return highValue < 0 || lowValue < 0 ? -1 : highValue * 16 + lowValue;
}

// The value of four digits, likewise.
inline int HexGroupValue(const char* digits) noexcept {
  const int high = HexPairValue(digits[0], digits[1]);
  const int low = HexPairValue(digits[2], digits[3]);
  return high < 0 || low < 0 ? -1 : high * 256 + low;
}

}  // namespace NPOSStreamerImpl::NTypeAImpl
