#include "streamer/number_text.h"

#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

#include "frame/base/compiler.h"

namespace NPOSStreamerImpl::NTypeAImpl {
namespace {

constexpr int kSignificantDigits = 32;
constexpr std::uint64_t kHalf = std::uint64_t{1} << 63;

// "00" to "99".
constexpr std::array<char, 200> kPairs = [] {
  std::array<char, 200> pairs{};
  for (std::size_t i = 0; i < 100; ++i) {
    pairs[2 * i] = static_cast<char>('0' + i / 10);
    pairs[2 * i + 1] = static_cast<char>('0' + i % 10);
  }
  return pairs;
}();

void PutPair(char* place, std::uint32_t value) noexcept {
  std::memcpy(place, &kPairs[std::size_t{2} * value], 2);
}

constexpr std::uint32_t kSmallWholes = 10000;

// Puts a whole number less than kSmallWholes and returns the place behind it.
char* PutSmallWhole(char* place, std::uint32_t value) noexcept {
  const std::uint32_t hundreds = value / 100;
  const std::uint32_t first = hundreds != 0 ? hundreds : value;
  if (first < 10) {
    *place++ = static_cast<char>('0' + first);
  } else {
    PutPair(place, first);
    place += 2;
  }
  if (hundreds == 0) return place;
  PutPair(place, value % 100);
  return place + 2;
}

constexpr int kGroupDigits = 8;
constexpr std::array<std::uint32_t, kGroupDigits + 1> kPowersOfTen = {
    1, 10, 100, 1000, 10000, 100000, 1000000, 10000000, 100000000};

void PutGroup(char* place, std::uint32_t value) noexcept {
  const std::uint32_t high = value / 10000;
  const std::uint32_t low = value % 10000;
  PutPair(place, high / 100);
  PutPair(place + 2, high % 100);
  PutPair(place + 4, low / 100);
  PutPair(place + 6, low % 100);
}

// A fraction in units of 2^-64, from which digits are taken from the front.
class Fraction {
 public:
  explicit Fraction(std::uint64_t bits) noexcept : bits_(bits) {}
  bool IsZero() const noexcept { return bits_ == 0; }

  // Number of zeros behind the point; the fraction is not 0.
  int LeadingZeros() const noexcept {
    constexpr std::uint64_t kMost = std::numeric_limits<std::uint64_t>::max();
    int zeros = 0;
    for (std::uint64_t limit = kMost / 10; bits_ <= limit; limit /= 10) ++zeros;
    return zeros;
  }

  // Multiplies by a power of ten and takes the whole part; what is left is exact.
  std::uint32_t Take(std::uint32_t powerOfTen) noexcept {
    const std::uint64_t low = (bits_ & 0xFFFFFFFFu) * powerOfTen;
    const std::uint64_t high = (bits_ >> 32) * powerOfTen + (low >> 32);
    bits_ = high << 32 | (low & 0xFFFFFFFFu);
    return static_cast<std::uint32_t>(high >> 32);
  }

  // Whether what is left makes the digit before it one more: half of it goes to the even digit.
  bool RoundsUp(char digit) const noexcept {
    return bits_ > kHalf || (bits_ == kHalf && (digit & 1) != 0);
  }

 private:
  std::uint64_t bits_;
};

// Puts a fraction that is not 0, rounded to `count` digits of which not all become 0 or 9, without
// the zeros at the end.
char* PutFraction(char* place, Fraction fraction, int count) noexcept {
  while (count >= kGroupDigits && !fraction.IsZero()) {
    PutGroup(place, fraction.Take(kPowersOfTen[kGroupDigits]));
    place += kGroupDigits;
    count -= kGroupDigits;
  }
  if (count < kGroupDigits) {
    // The group's other digits, zeros, are replaced by what comes next.
    const std::uint32_t rest = fraction.Take(kPowersOfTen[static_cast<std::size_t>(count)]);
    PutGroup(place, rest * kPowersOfTen[static_cast<std::size_t>(kGroupDigits - count)]);
    place += count;
    if (fraction.RoundsUp(place[-1])) {
      char* digit = place - 1;
      for (; *digit == '9'; --digit) *digit = '0';
      ++*digit;
    }
  }
  while (place[-1] == '0') --place;
  return place;
}

// Apart from FormatNumber, which has no frame of its own so.
ZEL_NEVER_INLINE std::size_t FormatAnyNumber(double value, char* buffer) noexcept {
  static_assert(std::numeric_limits<double>::is_iec559 && sizeof(double) == sizeof(std::uint64_t));
  constexpr int kFractionBits = 52;
  constexpr int kBias = 1023;
  const auto bits = std::bit_cast<std::uint64_t>(value);
  const int exponent = static_cast<int>(bits >> kFractionBits & 0x7FF) - kBias;
  char* const end = buffer + kNumberTextCapacity;

  // As long as no bit counts for less than 2^-64, wholes and fraction fit in a word each: all
  // arithmetic is exact, and so are the digits.
  constexpr int kLeastExponent = kFractionBits - 64;
  if (exponent >= kLeastExponent && exponent <= kFractionBits) {
    const std::uint64_t significand =
        (bits & ((std::uint64_t{1} << kFractionBits) - 1)) | std::uint64_t{1} << kFractionBits;
    const int fractionBits = kFractionBits - exponent;
    const std::uint64_t whole = fractionBits == 64 ? 0 : significand >> fractionBits;
    const Fraction fraction(fractionBits == 0 ? 0 : significand << (64 - fractionBits));
    char* place = buffer;
    if (bits >> 63 != 0) *place++ = '-';
    char* const firstDigit = place;
    place = whole < kSmallWholes ? PutSmallWhole(place, static_cast<std::uint32_t>(whole))
                                 : std::to_chars(place, end, whole).ptr;
    if (!fraction.IsZero()) {
      const int count = whole == 0 ? kSignificantDigits + fraction.LeadingZeros()
                                   : kSignificantDigits - static_cast<int>(place - firstDigit);
      *place++ = '.';
      place = PutFraction(place, fraction, count);
    }
    return static_cast<std::size_t>(place - buffer);
  }
  if (bits == 0) {
    *buffer = '0';
    return 1;
  }
  const std::to_chars_result result =
      std::to_chars(buffer, end, value, std::chars_format::general, kSignificantDigits);
  return static_cast<std::size_t>(result.ptr - buffer);
}

}  // namespace

std::size_t FormatNumber(double value, char* buffer) noexcept {
  // Most numbers are small and whole. A zero is left out here for its sign.
  if (value >= 1 && value < kSmallWholes) {
    const auto whole = static_cast<std::int32_t>(value);
    if (whole == value) {
      return static_cast<std::size_t>(PutSmallWhole(buffer, static_cast<std::uint32_t>(whole)) -
                                      buffer);
    }
  }
  return FormatAnyNumber(value, buffer);
}

}  // namespace NPOSStreamerImpl::NTypeAImpl
