#include "validator/keywords.h"

namespace NPOSValidatorImpl {

using ZEL_T_NMT::CZELStringAtom;

#define ZEL_KEYWORD_TEXT(name, text) text,
const char* const kKeywordTexts[kKeywordCount] = {ZEL_SCHEMA_KEYWORDS(ZEL_KEYWORD_TEXT)};
#undef ZEL_KEYWORD_TEXT

Keywords::Keywords() {
  for (std::uint32_t i = 0; i < kKeywordCount; ++i) atoms_[i] = CZELStringAtom(kKeywordTexts[i]);
}

Keyword Keywords::Find(const char* atomText, std::uint32_t count) const noexcept {
  for (std::uint32_t i = 0; i < count; ++i) {
    if (atoms_[i].Text() == atomText) return static_cast<Keyword>(i);
  }
  return Keyword::kNone;
}

Keyword Keywords::FindText(const char* text) const {
  const Keyword word = Find(text);
  return word != Keyword::kNone ? word : Find(CZELStringAtom(text).Text());
}

TypeName::TypeName(const Keywords& keywords, CZELStringAtom name)
    : text_(name.Text()), builtin_(keywords.FindBuiltin(text_)) {
  if (builtin_ == Keyword::kNone) atom_ = std::move(name);
}

// Should the text not be an atom's, the name is still found, by the atom made of it.
TypeName::TypeName(const Keywords& keywords, const char* text)
    : text_(text), builtin_(keywords.FindBuiltin(text)) {
  if (builtin_ == Keyword::kNone) *this = TypeName(keywords, CZELStringAtom(text));
}

}  // namespace NPOSValidatorImpl
