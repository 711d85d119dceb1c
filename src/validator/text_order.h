// The order of names by the bytes of their texts, as dictionaries walk their keys.
#pragma once

#include <cstring>

#include "frame/core/string_atom.h"

namespace NPOSValidatorImpl {

struct TextOrder {
  using is_transparent = void;
  static const char* Text(const char* text) noexcept { return text; }
  static const char* Text(const ZEL_T_NMT::CZELStringAtom& atom) noexcept { return atom.Text(); }
  bool operator()(const auto& left, const auto& right) const noexcept {
    return std::strcmp(Text(left), Text(right)) < 0;
  }
};

// As strcmp; texts of atoms are mostly told to be the same by their address.
inline int CompareTexts(const char* left, const char* right) noexcept {
  return left == right ? 0 : std::strcmp(left, right);
}

}  // namespace NPOSValidatorImpl
