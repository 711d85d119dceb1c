#include "validator/keywords.h"

#include <algorithm>
#include <cstring>
#include <string_view>

namespace NPOSValidatorImpl {

namespace {

constexpr auto kInOrderOfTexts = [] {
  std::array<Keyword, kKeywordCount> words{};
  for (std::size_t i = 0; i < kKeywordCount; ++i) words[i] = static_cast<Keyword>(i);
  std::sort(words.begin(), words.end(), [](Keyword left, Keyword right) {
    return std::string_view(TextOf(left)) < TextOf(right);
  });
  return words;
}();

}  // namespace

std::optional<Keyword> FindKeyword(const char* text) noexcept {
  const auto found = std::lower_bound(
      kInOrderOfTexts.begin(), kInOrderOfTexts.end(), text,
      [](Keyword word, const char* wanted) { return std::strcmp(TextOf(word), wanted) < 0; });
  if (found == kInOrderOfTexts.end() || std::strcmp(TextOf(*found), text) != 0) return std::nullopt;
  return *found;
}

Keywords::Keywords() {
  for (std::size_t i = 0; i < kKeywordCount; ++i) {
    atoms_[i] = ZEL_T_NMT::CZELStringAtom(kKeywordTexts[i]);
  }
}

}  // namespace NPOSValidatorImpl
