// Reading decimal numbers, independent of the process's locale.
#pragma once

#include <cstddef>

namespace ZEL_T_NMT {

// Returns the value, correctly rounded, of the longest prefix of `text` that is a decimal number:
// an optional sign, digits with at most one "." before, among or after them, and, if allowed, an
// exponent ("E" or "e", an optional sign, digits). 0 when there is no such prefix. A number too
// large for a double is an infinity, one too small a zero, each with the number's sign.
double DecimalPrefix(const char* text, size_t length, bool allowExponent) noexcept;

}  // namespace ZEL_T_NMT
