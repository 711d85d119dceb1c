#include "validator/type_name.h"

namespace NPOSValidatorImpl {

using ZEL_T_NMT::CZELStringAtom;

namespace {

const BuiltinType* FindBuiltin(const char* text) noexcept {
  const std::optional<Keyword> word = FindKeyword(text);
  return word ? FindBuiltinType(*word) : nullptr;
}

}  // namespace

TypeName::TypeName(CZELStringAtom name)
    : text_(name.Text()), atom_(std::move(name)), builtin_(FindBuiltin(text_)) {
  if (builtin_ == nullptr) return;
  text_ = NPOSValidatorImpl::TextOf(builtin_->word);
  atom_ = CZELStringAtom();
}

TypeName::TypeName(const char* text) : text_(nullptr), builtin_(FindBuiltin(text)) {
  if (builtin_ == nullptr) atom_ = CZELStringAtom(text);
  text_ = builtin_ == nullptr ? atom_.Text() : NPOSValidatorImpl::TextOf(builtin_->word);
}

}  // namespace NPOSValidatorImpl
