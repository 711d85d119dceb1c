#include "validator/keywords.h"

namespace NPOSValidatorImpl {

using ZEL_T_NMT::CZELStringAtom;

#define ZEL_KEYWORD_TEXT(name, text) text,
const char* const kKeywordTexts[kKeywordCount] = {ZEL_SCHEMA_KEYWORDS(ZEL_KEYWORD_TEXT)};
#undef ZEL_KEYWORD_TEXT

namespace {

Keyword FindBuiltin(const Keywords& keywords, const char* atomText) noexcept {
  const Keyword word = keywords.Find(atomText);
  return IsBuiltinType(word) ? word : Keyword::kNone;
}

}  // namespace

Keywords::Keywords() {
  for (uint32_t i = 0; i < kKeywordCount; ++i) atoms_[i] = CZELStringAtom(kKeywordTexts[i]);
}

Keyword Keywords::Find(const char* atomText) const noexcept {
  uint32_t i = 0;
  while (i < kKeywordCount && atoms_[i].Text() != atomText) ++i;
  return static_cast<Keyword>(i);
}

Keyword Keywords::FindText(const char* text) const {
  const Keyword word = Find(text);
  return word != Keyword::kNone ? word : Find(CZELStringAtom(text).Text());
}

TypeName::TypeName(const Keywords& keywords, CZELStringAtom name)
    : builtin_(FindBuiltin(keywords, name.Text())), text_(name.Text()) {
  if (builtin_ == Keyword::kNone) atom_ = std::move(name);
}

// Should the text not be an atom's, the name is still found, by the atom made of it.
TypeName::TypeName(const Keywords& keywords, const char* text)
    : builtin_(FindBuiltin(keywords, text)), text_(text) {
  if (builtin_ == Keyword::kNone) *this = TypeName(keywords, CZELStringAtom(text));
}

}  // namespace NPOSValidatorImpl
