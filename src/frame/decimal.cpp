#include "frame/decimal.h"

#include <charconv>
#include <cstdint>
#include <limits>
#include <system_error>

namespace ZEL_T_NMT {
namespace {

bool IsDigit(char character) noexcept { return character >= '0' && character <= '9'; }

const char* SkipDigits(const char* cursor, const char* end) noexcept {
  while (cursor != end && IsDigit(*cursor)) ++cursor;
  return cursor;
}

// The value of an exponent's digits, held far beyond every exponent that matters.
int64_t ExponentValue(const char* cursor, const char* end) noexcept {
  constexpr int64_t kCeiling = int64_t{1} << 58;
  const bool negative = cursor != end && *cursor == '-';
  if (cursor != end && !IsDigit(*cursor)) ++cursor;
  int64_t value = 0;
  for (; cursor != end; ++cursor) {
    if (value < kCeiling) value = value * 10 + (*cursor - '0');
  }
  return negative ? -value : value;
}

// Whether a number that is not 0 is at least 1. `begin` is the first character after its sign,
// `mantissaEnd` the end of digits and point.
bool IsLarge(const char* begin, const char* mantissaEnd, int64_t exponent) noexcept {
  const char* point = begin;
  while (point != mantissaEnd && *point != '.') ++point;
  const char* leading = begin;
  while (leading != mantissaEnd && (*leading == '0' || *leading == '.')) ++leading;
  // Places from the leading digit to the point: 1 for the ones, 0 for the tenths.
  const int64_t places = static_cast<int64_t>(point - leading) + (leading > point ? 1 : 0);
  return places + exponent > 0;
}

}  // namespace

double DecimalPrefix(const char* text, size_t length, bool allowExponent) noexcept {
  const char* const end = text + length;
  const bool negative = text != end && *text == '-';
  const char* const begin = text != end && (*text == '-' || *text == '+') ? text + 1 : text;

  const char* cursor = SkipDigits(begin, end);
  bool hasDigits = cursor != begin;
  if (cursor != end && *cursor == '.') {
    const char* const fraction = cursor + 1;
    cursor = SkipDigits(fraction, end);
    hasDigits = hasDigits || cursor != fraction;
  }
  if (!hasDigits) return 0;

  const char* const mantissaEnd = cursor;
  int64_t exponent = 0;
  if (allowExponent && cursor != end && (*cursor == 'e' || *cursor == 'E')) {
    const char* digits = cursor + 1;
    if (digits != end && (*digits == '-' || *digits == '+')) ++digits;
    const char* const exponentEnd = SkipDigits(digits, end);
    if (exponentEnd != digits) {
      exponent = ExponentValue(cursor + 1, exponentEnd);
      cursor = exponentEnd;
    }
  }

  double value = 0;
  const std::from_chars_result result =
      std::from_chars(begin, cursor, value, std::chars_format::general);
  if (result.ec == std::errc::result_out_of_range) {
    const bool large = IsLarge(begin, mantissaEnd, exponent);
    value = large ? std::numeric_limits<double>::infinity() : 0;
  }
  return negative ? -value : value;
}

}  // namespace ZEL_T_NMT
