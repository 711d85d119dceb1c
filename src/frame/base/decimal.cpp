#include "frame/base/decimal.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "frame/base/byte_words.h"
#include "frame/base/compiler.h"
#include "frame/base/decimal_powers.h"
#include "frame/base/exact_decimal.h"

namespace ZEL_T_NMT {
namespace {

bool IsDigit(char character) noexcept { return character >= '0' && character <= '9'; }

const char* SkipDigits(const char* cursor, const char* end) noexcept {
  if constexpr (kHasByteWords) {
    while (end - cursor >= std::ptrdiff_t{kWordSize}) {
      const std::uint64_t others = BytesNoDigits(LoadWord(cursor));
      if (others != 0) return cursor + BytesBefore(others);
      cursor += kWordSize;
    }
  }
  while (cursor != end && IsDigit(*cursor)) ++cursor;
  return cursor;
}

// The first digits of a number, without the zeros before them, and how many more there are: from
// 10^18 on, where the next digit might not fit, none is taken in.
struct LeadingDigits {
  static constexpr std::uint64_t kFull = kPowersOfTen[18];
  static constexpr std::uint64_t kRoomForFour = kPowersOfTen[15];
  static constexpr std::uint64_t kRoomForEight = kPowersOfTen[11];

  // Takes in digits and returns the place behind them.
  const char* Take(const char* cursor, const char* end) noexcept {
    if constexpr (kHasByteWords) {
      while (value < kRoomForFour && end - cursor >= std::ptrdiff_t{kWordSize}) {
        const std::uint64_t word = LoadWord(cursor);
        const std::uint32_t digits = BytesBefore(BytesNoDigits(word));
        const std::uint32_t count = std::min(digits, value < kRoomForEight ? 8u : 4u);
        if (count == 0) return cursor;
        value = value * kPowersOfTen[count] + DigitsValue(word, count);
        cursor += count;
        if (count == digits && digits < kWordSize) return cursor;
      }
    }
    for (; cursor != end && IsDigit(*cursor); ++cursor) {
      if (value >= kFull) {
        const char* const behind = SkipDigits(cursor, end);
        dropped += behind - cursor;
        return behind;
      }
      value = value * 10 + static_cast<std::uint64_t>(*cursor - '0');
    }
    return cursor;
  }

  std::uint64_t value = 0;
  std::int64_t dropped = 0;
};

// Stores digits * 10^exponent, correctly rounded, in most cases where the exponent is small. False
// where 64 bits do not tell to which side to round.
bool RoundByProduct(const LeadingDigits& digits, std::int64_t exponent, double& result) noexcept {
  static_assert(std::numeric_limits<double>::is_iec559 && sizeof(double) == sizeof(std::uint64_t));
  constexpr std::uint64_t kExactWholes = std::uint64_t{1} << 53;
  if (exponent == 0 && digits.value <= kExactWholes) {
    result = static_cast<double>(static_cast<std::int64_t>(digits.value));
    return true;
  }
  if (digits.value == 0) {
    result = 0;
    return true;
  }
  if (exponent < kLeastPower || exponent > kGreatestPower) return false;
  const PowerOfFive& power = kPowersOfFive[static_cast<std::size_t>(exponent - kLeastPower)];
  const int shift = std::countl_zero(digits.value);
  const std::uint64_t product = Multiply(digits.value << shift, power.significand).high;
  // The most by which the product is larger: its own low half and what the power lacks make less
  // than 1 each, the digits left out make less than one of the last digit taken in.
  const std::uint64_t slack = 2 + (digits.dropped != 0 ? std::uint64_t{1} << shift : 0);

  const int cut = product >> 63 != 0 ? 11 : 10;
  const std::uint64_t half = std::uint64_t{1} << (cut - 1);
  const std::uint64_t below = product & (2 * half - 1);
  std::uint64_t significand = product >> cut;
  if (below > half) {
    ++significand;
  } else if (below + slack > half) {
    return false;
  }
  // The significand's top bit, which a double does not store, adds 1 to the exponent.
  const std::int64_t binary = exponent + power.exponent - shift + 64 + cut;
  result = std::bit_cast<double>((static_cast<std::uint64_t>(binary + 1074) << 52) + significand);
  return true;
}

// The double next to (significand + a part of 1, if `more`) * 2^exponent, where the significand has
// at least 54 bits; an even one where two are next. All this is far from where a double's range
// ends.
double Nearest(std::uint64_t significand, bool more, std::int64_t exponent) noexcept {
  const int cut = 11 - std::countl_zero(significand);
  if (cut <= 0) return 0;  // never: there are at least 54 bits
  const std::uint64_t half = std::uint64_t{1} << (cut - 1);
  const std::uint64_t below = significand & (2 * half - 1);
  significand >>= cut;
  if (below > half || (below == half && (more || significand % 2 != 0))) ++significand;
  // The significand's top bit, which a double does not store, adds 1 to the exponent.
  const std::int64_t biased = exponent + cut + 1074;
  return std::bit_cast<double>((static_cast<std::uint64_t>(biased) << 52) + significand);
}

// Stores digits * 10^exponent, correctly rounded, wherever that takes no more than a few steps with
// whole numbers, which are the same on every platform: registers for doubles may round twice.
bool RoundExactly(const LeadingDigits& digits, std::int64_t exponent, double& result) noexcept {
  constexpr std::int64_t kGreatestDivisor = 22;  // 5^22 leaves room for 11 bits more
  if (digits.dropped != 0 || exponent < -kGreatestDivisor || exponent > kGreatestPower)
    return false;
  const int shift = std::countl_zero(digits.value);
  const std::uint64_t value = digits.value << shift;
  if (exponent >= 0) {
    const PowerOfFive& power = kPowersOfFive[static_cast<std::size_t>(exponent - kLeastPower)];
    const WideProduct product = Multiply(value, power.significand);
    result = Nearest(product.high, product.low != 0, exponent + power.exponent - shift + 64);
    return true;
  }
  const PowerOfFive& power = kPowersOfFive[static_cast<std::size_t>(-exponent - kLeastPower)];
  const std::uint64_t divisor = power.significand >> -power.exponent;
  std::uint64_t quotient = value / divisor;
  std::uint64_t rest = value % divisor;
  std::int64_t binary = exponent - shift;
  while (quotient >> 53 == 0) {
    quotient = quotient << 11 | (rest << 11) / divisor;
    rest = (rest << 11) % divisor;
    binary -= 11;
  }
  result = Nearest(quotient, rest != 0, binary);
  return true;
}

// The value of an exponent's digits, held far beyond every exponent that matters.
std::int64_t ExponentValue(const char* cursor, const char* end) noexcept {
  constexpr std::int64_t kCeiling = std::int64_t{1} << 58;
  const bool negative = cursor != end && *cursor == '-';
  if (cursor != end && !IsDigit(*cursor)) ++cursor;
  std::int64_t value = 0;
  for (; cursor != end; ++cursor) {
    if (value < kCeiling) value = value * 10 + (*cursor - '0');
  }
  return negative ? -value : value;
}

// Takes in the digits of a fraction from `cursor` on, as many as the number has room for, and goes
// behind them all. False, with digits half taken in, where the text may end before them.
inline bool TakeFraction(const char*& cursor, const char* limit, std::uint32_t room,
                         LeadingDigits& digits) noexcept {
  for (;;) {
    if (limit - cursor < std::ptrdiff_t{kWordSize}) return false;
    const std::uint64_t word = LoadWord(cursor);
    const std::uint64_t others = BytesNoDigits(word);
    if (others != 0 || room < kWordSize) {
      const std::uint32_t count = BytesBefore(others);
      const std::uint32_t fit = std::min(count, room);
      if (fit != 0) digits.value = digits.value * kPowersOfTen[fit] + DigitsValue(word, fit);
      const char* const behind = cursor + fit;
      cursor = others != 0 ? cursor + count : SkipDigits(cursor + count, limit);
      digits.dropped = cursor - behind;
      return true;
    }
    digits.value = digits.value * kPowersOfTen[kWordSize] + DigitsValue(word, kWordSize);
    cursor += kWordSize;
    room -= static_cast<std::uint32_t>(kWordSize);
  }
}

// Most numbers are a few digits, many with a sign or with a point and digits behind it: up to seven
// before the point are told by a word, eight behind it by another, and those of longer fractions,
// such as streams hold, by as many as it takes; without a point, two words tell up to fifteen.
// Stores what DecimalPrefix gives for such a number that begins the text, which has room for sign,
// point and two words. False for any other, also where an exponent may follow.
ZEL_ALWAYS_INLINE bool PlainPrefix(const char* text, std::size_t length, Decimal& result) noexcept {
  const bool negative = *text == '-';
  const char* const begin = text + negative;
  const std::uint64_t word = LoadWord(begin);
  const std::uint32_t wholes = BytesBefore(BytesNoDigits(word));
  if (wholes == 0) return false;
  LeadingDigits digits{DigitsValue(word, wholes)};
  const char* end = begin + wholes;
  std::int64_t fractions = 0;
  if (wholes == kWordSize) {
    const std::uint64_t next = LoadWord(end);
    const std::uint32_t count = BytesBefore(BytesNoDigits(next));
    if (count == 0 || count == kWordSize || end[count] == '.') return false;
    digits.value = digits.value * kPowersOfTen[count] + DigitsValue(next, count);
    end += count;
  } else if (*end == '.') {
    const char* const fraction = ++end;
    const std::uint64_t next = LoadWord(fraction);
    const std::uint64_t others = BytesNoDigits(next);
    if (others != 0) [[likely]] {
      const std::uint32_t count = BytesBefore(others);
      if (count == 0) return false;
      digits.value = digits.value * kPowersOfTen[count] + DigitsValue(next, count);
      fractions = count;
      end += count;
    } else {
      const std::uint32_t room = digits.value == 0 ? 19 : 19 - wholes;  // in a 64-bit number
      // Rounding takes it that digits are only left out where no more fit.
      if (!TakeFraction(end, text + length, room, digits) || end == text + length ||
          (digits.dropped != 0 && digits.value < LeadingDigits::kFull)) {
        return false;
      }
      fractions = end - fraction - digits.dropped;
    }
  }
  if ((*end | 0x20) == 'e') return false;
  double value = 0;
  if (!RoundByProduct(digits, -fractions, value)) return false;
  result = {negative ? -value : value, static_cast<std::size_t>(end - text)};
  return true;
}

ZEL_NEVER_INLINE Decimal LongPrefix(const char* text, std::size_t length,
                                    bool allowExponent) noexcept {
  const char* const end = text + length;
  const bool negative = text != end && *text == '-';
  const char* const begin = text != end && (*text == '-' || *text == '+') ? text + 1 : text;

  LeadingDigits digits;
  const char* cursor = digits.Take(begin, end);
  bool hasDigits = cursor != begin;
  std::int64_t shift = 0;  // of the point
  if (cursor != end && *cursor == '.') {
    const char* const fraction = cursor + 1;
    cursor = digits.Take(fraction, end);
    shift = cursor - fraction;
    hasDigits = hasDigits || shift != 0;
  }
  if (!hasDigits) return {0, 0};

  const char* const mantissaEnd = cursor;
  std::int64_t exponent = 0;
  if (allowExponent && cursor != end && (*cursor == 'e' || *cursor == 'E')) {
    const char* first = cursor + 1;
    if (first != end && (*first == '-' || *first == '+')) ++first;
    const char* const exponentEnd = SkipDigits(first, end);
    if (exponentEnd != first) {
      exponent = ExponentValue(cursor + 1, exponentEnd);
      cursor = exponentEnd;
    }
  }

  double value = 0;
  const std::int64_t power = digits.dropped - shift + exponent;
  if (!RoundByProduct(digits, power, value) && !RoundExactly(digits, power, value)) [[unlikely]] {
    value = ReadAny(begin, mantissaEnd, cursor, exponent);
  }
  return {negative ? -value : value, static_cast<std::size_t>(cursor - text)};
}

}  // namespace

Decimal DecimalPrefix(const char* text, std::size_t length, bool allowExponent) noexcept {
  if constexpr (kHasByteWords) {
    Decimal result;
    if (length > 2 * kWordSize + 1 && PlainPrefix(text, length, result)) [[likely]]
      return result;
  }
  return LongPrefix(text, length, allowExponent);
}

}  // namespace ZEL_T_NMT
