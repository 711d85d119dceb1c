// Reading decimal numbers that take more than a few steps: by the standard library, or in whole
// numbers alone where that reads no doubles, which takes microseconds.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <limits>

namespace ZEL_T_NMT {

// A whole number, which stays above 0 from the first digit on.
class WholeNumber {
 public:
  // Of a mantissa: no double lies in the middle between two texts of so many digits, nor is one the
  // middle of two doubles unless its further digits are 0.
  static constexpr std::int64_t kDigits = 800;
  static constexpr std::int64_t kLeastPower = -1140;
  static constexpr std::int64_t kGreatestPower = 310;

  void TimesPlus(std::uint32_t factor, std::uint32_t addend) noexcept {
    std::uint64_t carry = addend;
    for (std::size_t i = 0; i < size_; ++i) {
      carry += std::uint64_t{limbs_[i]} * factor;
      limbs_[i] = static_cast<std::uint32_t>(carry);
      carry >>= 32;
    }
    if (carry != 0) limbs_[size_++] = static_cast<std::uint32_t>(carry);
  }

  // Multiplies by 10^power and a power of two, whose negative exponent is returned. `more` becomes
  // true where a part of 1 is left out. At least three limbs are there afterwards.
  std::int64_t TimesPowerOfTen(std::int64_t power, bool& more) noexcept {
    const std::int64_t divisorBits = power < 0 ? -power * 7 / 3 : 0;  // 5^3 < 2^7
    const auto room = static_cast<std::size_t>(3 + (divisorBits + 31) / 32);
    std::copy_backward(limbs_.begin(), limbs_.begin() + size_, limbs_.begin() + size_ + room);
    std::fill_n(limbs_.begin(), room, 0u);
    size_ += room;
    std::int64_t rest = power;
    for (; rest >= kStep; rest -= kStep) TimesPlus(kFives, 0);
    for (; rest > 0; --rest) TimesPlus(5, 0);
    for (; rest <= -kStep; rest += kStep) more = Divide(kFives) || more;
    for (; rest < 0; ++rest) more = Divide(5) || more;
    return power - 32 * static_cast<std::int64_t>(room);
  }

  // The double next to (this number + a part of 1, if `more`) * 2^exponent, an even one where two
  // are next. There are at least three limbs.
  double Nearest(std::int64_t exponent, bool more) const noexcept {
    const std::uint64_t upper =
        std::uint64_t{limbs_[size_ - 1]} << 32 | std::uint64_t{limbs_[size_ - 2]};
    const int shift = std::countl_zero(upper);
    const std::uint64_t lower = std::uint64_t{limbs_[size_ - 3]} << shift;
    const std::uint64_t top = upper << shift | lower >> 32;
    more = more || static_cast<std::uint32_t>(lower) != 0 ||
           std::any_of(limbs_.begin(), limbs_.begin() + (size_ - 3),
                       [](std::uint32_t limb) { return limb != 0; });
    exponent += 32 * (static_cast<std::int64_t>(size_) - 2) - shift;

    // The bits to cut off: 11 and, of the smallest doubles, more.
    const std::int64_t cut = std::max(std::int64_t{11}, -1074 - exponent);
    if (cut > 64) return 0;
    const std::uint64_t half = std::uint64_t{1} << (cut - 1);
    const std::uint64_t below = top & (half | (half - 1));
    std::uint64_t significand = top >> (cut - 1) >> 1;
    if (below > half || (below == half && (more || significand % 2 != 0))) ++significand;
    // The significand's top bit, which a double does not store, adds 1 to the exponent.
    const std::uint64_t bits =
        (static_cast<std::uint64_t>(exponent + cut + 1074) << 52) + significand;
    return std::bit_cast<double>(
        std::min(bits, std::bit_cast<std::uint64_t>(std::numeric_limits<double>::infinity())));
  }

 private:
  static constexpr std::uint32_t kFives = 1220703125;  // 5^13, the last power of 32 bits
  static constexpr std::int64_t kStep = 13;

  // Returns whether there is a remainder.
  bool Divide(std::uint32_t divisor) noexcept {
    std::uint64_t rest = 0;
    for (std::size_t i = size_; i-- > 0;) {
      const std::uint64_t part = rest << 32 | limbs_[i];
      limbs_[i] = static_cast<std::uint32_t>(part / divisor);
      rest = part % divisor;
    }
    if (limbs_[size_ - 1] == 0) --size_;
    return rest != 0;
  }

  // Bits of the digits, of the divisor and of three limbs more, each rounded up.
  std::array<std::uint32_t, (kDigits * 10 / 3 - kLeastPower * 7 / 3) / 32 + 6> limbs_;
  std::size_t size_ = 0;
};

// The double next to mantissa * 10^exponent, an infinity or 0 where it is out of range. The
// mantissa consists of digits and at most one point; `exponent` and its length are far from the
// limits of 64 bits.
inline double NearestDouble(const char* mantissa, const char* end, std::int64_t exponent) noexcept {
  WholeNumber number;
  std::int64_t digits = 0;
  bool more = false;
  bool behindPoint = false;
  std::uint32_t chunk = 0;
  std::uint32_t scale = 1;
  for (const char* cursor = mantissa; cursor != end; ++cursor) {
    if (*cursor == '.') {
      behindPoint = true;
      continue;
    }
    if (behindPoint) --exponent;
    const auto digit = static_cast<std::uint32_t>(*cursor - '0');
    if (digits == WholeNumber::kDigits) {
      more = more || digit != 0;
      ++exponent;
    } else if (digits != 0 || digit != 0) {
      ++digits;
      chunk = chunk * 10 + digit;
      scale *= 10;
      if (scale == 1000000000) {
        number.TimesPlus(scale, chunk);
        chunk = 0;
        scale = 1;
      }
    }
  }
  number.TimesPlus(scale, chunk);

  // The number is less than 10^places and at least a tenth of it.
  const std::int64_t places = exponent + digits;
  if (digits == 0 || places < WholeNumber::kLeastPower + WholeNumber::kDigits) return 0;
  if (places > WholeNumber::kGreatestPower) return std::numeric_limits<double>::infinity();
  const std::int64_t binary = number.TimesPowerOfTen(exponent, more);
  return number.Nearest(binary, more);
}

// The same of the number from `begin` to `end`, whose mantissa ends at `mantissaEnd`, and which has
// no sign.
double ReadAny(const char* begin, const char* mantissaEnd, const char* end,
               std::int64_t exponent) noexcept;

}  // namespace ZEL_T_NMT
