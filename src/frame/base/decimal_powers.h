// Powers of ten and of five for the reading of decimal numbers.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

namespace ZEL_T_NMT {

inline constexpr std::array<std::uint64_t, 19> kPowersOfTen = [] {
  std::array<std::uint64_t, 19> powers{1};
  for (std::size_t i = 1; i < powers.size(); ++i) powers[i] = powers[i - 1] * 10;
  return powers;
}();

// 5^n = significand * 2^exponent; the significand's top bit is set and what it has no room for is
// cut off.
struct PowerOfFive {
  std::uint64_t significand;
  std::int32_t exponent;
};

inline constexpr std::int32_t kLeastPower = -32;
inline constexpr std::int32_t kGreatestPower = 27;  // the last one that fits in 64 bits

inline constexpr std::array<PowerOfFive, kGreatestPower - kLeastPower + 1> kPowersOfFive = [] {
  std::array<PowerOfFive, kGreatestPower - kLeastPower + 1> powers{};
  std::uint64_t whole = 1;
  for (std::size_t i = -kLeastPower; i < powers.size(); ++i, whole *= 5) {
    const int shift = std::countl_zero(whole);
    powers[i] = {whole << shift, -shift};
  }
  // The negative powers are 2^159 divided by 5 time and again; the lowest limb comes first.
  std::array<std::uint32_t, 5> limbs{0, 0, 0, 0, 0x80000000u};
  for (std::size_t i = -kLeastPower; i-- > 0;) {
    std::uint64_t rest = 0;
    for (std::size_t limb = limbs.size(); limb-- > 0;) {
      const std::uint64_t part = rest << 32 | limbs[limb];
      limbs[limb] = static_cast<std::uint32_t>(part / 5);
      rest = part % 5;
    }
    std::size_t top = limbs.size() - 1;
    while (limbs[top] == 0) --top;
    const int shift = std::countl_zero(limbs[top]);
    const std::uint64_t high = std::uint64_t{limbs[top]} << 32 | limbs[top - 1];
    powers[i] = {high << shift | std::uint64_t{limbs[top - 2]} << shift >> 32,
                 static_cast<std::int32_t>(top) * 32 - 32 - shift - 159};
  }
  return powers;
}();

}  // namespace ZEL_T_NMT
