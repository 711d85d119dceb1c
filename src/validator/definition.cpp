#include "validator/definition.h"

#include <limits>

#include "validator/messages.h"

namespace NPOSValidatorImpl {

using ZEL_T_NMT::CPOSArray;
using ZEL_T_NMT::CPOSDict;
using ZEL_T_NMT::CPOSObject;
using ZEL_T_NMT::CZELStringAtom;
using ZEL_T_NMT::DictView;
using ZEL_T_NMT::MemberWalk;
using ZEL_T_NMT::NumberView;
using ZEL_T_NMT::POSView;
using ZEL_T_NMT::StringView;

namespace {

// Room for so many elements is made at once.
constexpr std::uint32_t kUsualCount = 8;

// Attributes: one that is absent and one of the wrong kind are the same, as if it were not there.

const char* GetText(DictView dict, const CZELStringAtom& key) {
  const POSView string = dict.Find(key);
  return StringView::Is(string) ? StringView(string).Get() : nullptr;
}

std::optional<TypeName> GetTypeName(DictView dict, const CZELStringAtom& key) {
  const char* name = GetText(dict, key);
  if (name == nullptr) return std::nullopt;
  return TypeName(name);
}

// Held; empty when there is none.
template <typename Holder>
Holder GetHeld(DictView dict, const CZELStringAtom& key) {
  const POSView value = dict.Find(key);
  return value.IsEmpty() ? Holder() : Holder(CPOSObject(value.Handle()), true);
}

const Category& ReadCategory(const Keywords& keywords, const TypeName& name, DictView dict) {
  const char* text = GetText(dict, keywords[Keyword::kCategory]);
  if (text == nullptr) throw MalformedSchemaException(name.Atom());
  const Category* category = FindCategory(text);
  if (category == nullptr) throw ZEL_T_NMT::DUXException("Unknown category in schema");
  return *category;
}

}  // namespace

TypeNames::TypeNames(const Keywords& keywords, DictView definition, Keyword attribute) {
  if (attribute == Keyword::kMemberType) {
    one_ = GetTypeName(definition, keywords[attribute]);
  }
  if (!one_) array_ = GetHeld<CPOSArray>(definition, keywords[attribute]);
  count_ = array_.IsEmpty() ? 0 : array_.Count();
}

void TypeNames::ReadNext() {
  const auto index = static_cast<std::uint32_t>(names_.size());
  const StringView name = StringView::Of(array_.View().GetAt(index));
  names_.push_back(std::make_unique<TypeName>(name.Get()));
}

DictRules::DictRules(const Keywords& keywords, DictView definition)
    : keyType_(GetTypeName(definition, keywords[Keyword::kKeyType])),
      valueType_(GetTypeName(definition, keywords[Keyword::kValueType])),
      optional_(GetHeld<CPOSDict>(definition, keywords[Keyword::kOptional])) {
  const POSView required = definition.Find(keywords[Keyword::kRequired]);
  if (!DictView::Is(required)) return;
  required_.reserve(kUsualCount);
  const DictView types(required);
  for (MemberWalk walk(types); walk.Key() != nullptr; walk.Next()) {
    CZELStringAtom key(walk.Key());
    std::optional<TypeName> type = GetTypeName(types, key);
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
  return GetTypeName(optional_.View(), key);
}

Definition::Definition(const Keywords& keywords, const TypeName& name, DictView dict)
    : keywords_(keywords),
      held_(dict.Handle()),
      dict_(dict),
      category_(&ReadCategory(keywords, name, dict)),
      kindOfValues_(FindBuiltinType(category_->word)) {}

double Definition::ReadBound(Keyword attribute) const {
  const POSView number = dict_.Find(keywords_[attribute]);
  return NumberView::Is(number) ? NumberView(number).Get()
                                : std::numeric_limits<double>::quiet_NaN();
}

void Definition::ReadNumberBounds() {
  numberBounds_ = {ReadBound(Keyword::kMin), ReadBound(Keyword::kMax), ReadBound(Keyword::kMinExcl),
                   ReadBound(Keyword::kMaxExcl)};
}

void Definition::ReadLengthBounds() {
  lengthBounds_ = {ReadBound(Keyword::kMinLen), ReadBound(Keyword::kMaxLen)};
}

void Definition::ReadIllegalChars() {
  const POSView string = dict_.Find(keywords_[Keyword::kIllegalChars]);
  ZEL_T_NMT::CPOSString held;
  if (!string.IsEmpty()) {
    held = ZEL_T_NMT::CPOSString(ZEL_T_NMT::CPOSObject(string.Handle()), true);
  }
  if (held.IsEmpty()) {
    illegalChars_.emplace();
  } else {
    illegalChars_.emplace(std::move(held));
  }
}

void Definition::ReadChoices() {
  CPOSArray array = GetHeld<CPOSArray>(dict_, keywords_[Keyword::kOneOf]);
  if (!array.IsEmpty()) choices_.emplace(std::move(array));
  choicesAreRead_ = true;
}

}  // namespace NPOSValidatorImpl
