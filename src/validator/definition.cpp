#include "validator/definition.h"

#include <limits>

#include "validator/messages.h"

namespace NPOSValidatorImpl {

using ZEL_T_NMT::CPOSArray;
using ZEL_T_NMT::CZELStringAtom;

namespace {

// Room for so many elements is made at once.
constexpr std::uint32_t kUsualCount = 8;

const Category& ReadCategory(const Keywords& keywords, const TypeName& name, ZELInstance dict) {
  const char* text = GetText(dict, keywords[Keyword::kCategory]);
  if (text == nullptr) throw MalformedSchemaException(name.Atom());
  const Category* category = FindCategory(text);
  if (category == nullptr) throw ZEL_T_NMT::DUXException("Unknown category in schema");
  return *category;
}

}  // namespace

TypeNames::TypeNames(const Keywords& keywords, ZELInstance definition, Keyword attribute) {
  if (attribute == Keyword::kMemberType) {
    one_ = GetTypeName(definition, keywords[attribute]);
  }
  if (!one_) array_ = GetArray(definition, keywords[attribute]);
  count_ = array_.IsEmpty() ? 0 : array_.Count();
}

void TypeNames::ReadNext() {
  const auto index = static_cast<std::uint32_t>(names_.size());
  names_.push_back(std::make_unique<TypeName>(GetTextAt(array_, index).text));
}

DictRules::DictRules(const Keywords& keywords, ZELInstance definition)
    : keyType_(GetTypeName(definition, keywords[Keyword::kKeyType])),
      valueType_(GetTypeName(definition, keywords[Keyword::kValueType])),
      optional_(GetDict(definition, keywords[Keyword::kOptional])) {
  const ZELInstance required = GetMember(definition, keywords[Keyword::kRequired]);
  if (required == nullptr || !ZEL_T_NMT::CPOSDict::Is(required)) return;
  required_.reserve(kUsualCount);
  for (const MemberWalk walk(required); const char* text = walk.Key(); walk.Next()) {
    CZELStringAtom key(text);
    std::optional<TypeName> type = GetTypeName(required, key);
    std::optional<TypeName> optionalType = OptionalType(key);
    required_.push_back({std::move(key), std::move(type), std::move(optionalType)});
  }
}

const MemberRule* DictRules::FindOptional(const char* key) {
  if (optional_.IsEmpty()) return nullptr;
  const auto found = foundOptional_.find(key);
  if (found != foundOptional_.end()) return &found->second;
  CZELStringAtom atom(key);
  std::optional<TypeName> type = OptionalType(atom);
  if (!type) return nullptr;
  const char* text = atom.Text();
  MemberRule rule = {std::move(atom), std::nullopt, std::move(type)};
  return &foundOptional_.emplace(text, std::move(rule)).first->second;
}

std::optional<TypeName> DictRules::OptionalType(const CZELStringAtom& key) const {
  if (optional_.IsEmpty()) return std::nullopt;
  return GetTypeName(optional_.Handle(), key);
}

Definition::Definition(const Keywords& keywords, const TypeName& name, ZELInstance dict)
    : keywords_(keywords),
      dict_(dict),
      category_(&ReadCategory(keywords, name, dict)),
      kindOfValues_(FindBuiltinType(category_->word)) {}

void Definition::ReadBound(std::uint32_t index) {
  bounds_[index] = GetNumber(dict_.Get(), keywords_[kBoundWords[index]])
                       .value_or(std::numeric_limits<double>::quiet_NaN());
  boundsRead_ |= 1u << index;
}

const char* Definition::IllegalChars() {
  if (!illegalChars_) {
    illegalChars_ = GetHeldText(dict_.Get(), keywords_[Keyword::kIllegalChars]);
  }
  return illegalChars_->text;
}

bool Definition::Admits(const char* text) {
  if (!choicesRead_) {
    CPOSArray array = GetArray(dict_.Get(), keywords_[Keyword::kOneOf]);
    if (!array.IsEmpty()) choices_.emplace(std::move(array));
    choicesRead_ = true;
  }
  return !choices_ || choices_->Have(text);
}

TypeNames& Definition::Types(Keyword attribute) {
  if (types_ == nullptr) types_ = std::make_unique<TypeNames>(keywords_, dict_.Get(), attribute);
  return *types_;
}

DictRules& Definition::Members() {
  if (members_ == nullptr) members_ = std::make_unique<DictRules>(keywords_, dict_.Get());
  return *members_;
}

}  // namespace NPOSValidatorImpl
