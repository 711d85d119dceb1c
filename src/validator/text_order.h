// The order of names by the bytes of their texts, as dictionaries walk their keys.
#pragma once

#include <cstdint>
#include <cstring>

#include "frame/core/string_atom.h"

namespace NPOSValidatorImpl {

// A count of the comparisons of texts, for builds that bound them; other builds have none.
#if defined(ZEL_COUNT_WORK)
inline constinit std::uint64_t g_comparisons = 0;
inline void CountComparison() noexcept { ++g_comparisons; }
#else
inline constexpr std::uint64_t g_comparisons = 0;
inline void CountComparison() noexcept {}
#endif

struct TextOrder {
  using is_transparent = void;
  static const char* Text(const char* text) noexcept { return text; }
  static const char* Text(const ZEL_T_NMT::CZELStringAtom& atom) noexcept { return atom.Text(); }
  bool operator()(const auto& left, const auto& right) const noexcept {
    CountComparison();
    return std::strcmp(Text(left), Text(right)) < 0;
  }
};

// As strcmp; texts of atoms are mostly told to be the same by their address.
inline int CompareTexts(const char* left, const char* right) noexcept {
  CountComparison();
  return left == right ? 0 : std::strcmp(left, right);
}

}  // namespace NPOSValidatorImpl
