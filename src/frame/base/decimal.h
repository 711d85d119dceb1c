// Reading decimal numbers, independent of the process's locale.
#pragma once

#include <cstddef>

namespace ZEL_T_NMT {

struct Decimal {
  double value;
  std::size_t length;
};

// The longest prefix of `text` that is a decimal number: an optional sign, digits with at most one
// "." before, among or after them, and, if allowed, an exponent ("E" or "e", an optional sign,
// digits). Its value is correctly rounded; a number too large for a double is an infinity, one too
// small a zero, each with the number's sign. Value and length are 0 when there is no such prefix.
Decimal DecimalPrefix(const char* text, std::size_t length, bool allowExponent) noexcept;

}  // namespace ZEL_T_NMT
