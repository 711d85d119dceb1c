#include "frame/base/exact_decimal.h"

#include <charconv>
#include <cstdint>
#include <limits>
#include <system_error>

#include "frame/base/compiler.h"

namespace ZEL_T_NMT {

#if ZEL_HAS_FROM_CHARS
namespace {

// Whether a number that is not 0 is at least 1. `begin` is the first character after its sign,
// `mantissaEnd` the end of digits and point.
bool IsLarge(const char* begin, const char* mantissaEnd, std::int64_t exponent) noexcept {
  const char* point = begin;
  while (point != mantissaEnd && *point != '.') ++point;
  const char* leading = begin;
  while (leading != mantissaEnd && (*leading == '0' || *leading == '.')) ++leading;
  // Places from the leading digit to the point: 1 for the ones, 0 for the tenths.
  const std::int64_t places =
      static_cast<std::int64_t>(point - leading) + (leading > point ? 1 : 0);
  return places + exponent > 0;
}

}  // namespace

double ReadAny(const char* begin, const char* mantissaEnd, const char* end,
               std::int64_t exponent) noexcept {
  double value = 0;
  const std::from_chars_result result =
      std::from_chars(begin, end, value, std::chars_format::general);
  if (result.ec != std::errc::result_out_of_range) return value;
  return IsLarge(begin, mantissaEnd, exponent) ? std::numeric_limits<double>::infinity() : 0;
}

#else

double ReadAny(const char* begin, const char* mantissaEnd, const char*,
               std::int64_t exponent) noexcept {
  return NearestDouble(begin, mantissaEnd, exponent);
}

#endif

}  // namespace ZEL_T_NMT
