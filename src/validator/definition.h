// A type definition of a schema, as one run of validation knows it.
//
// An attribute is read when it is first asked for and then kept: of many values of a type only the
// first pays for reading the schema. Everything kept is held as well: a callback that changes the
// schema, though it must not, takes nothing away that is in use.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <vector>

#include "frame/client/pos_wrappers.h"
#include "frame/core/client_base.h"
#include "validator/category.h"
#include "validator/choices.h"
#include "validator/held_text.h"
#include "validator/text_order.h"
#include "validator/type_name.h"

namespace NPOSValidatorImpl {

// The types of a value's parts, or those to try a value against: one for all, or an array of them.
class TypeNames : public ZEL_T_NMT::CZELClientBase {
 public:
  // From "membertype", which may be either, or "set", which is an array.
  TypeNames(const Keywords& keywords, ZEL_T_NMT::DictView definition, Keyword attribute);

  bool AreOne() const noexcept { return one_.has_value(); }
  bool AreArray() const noexcept { return !array_.IsEmpty(); }
  std::uint32_t ArrayCount() const noexcept { return count_; }
  // The one, or that of an element: to be asked for in order; raises for an element that is not a
  // String or not there. A name stays where it is, whatever is asked for meanwhile.
  const TypeName& At(std::uint32_t index) {
    if (one_) return *one_;
    if (index >= names_.size()) ReadNext();
    return *names_[index];
  }

 private:
  void ReadNext();

  using Names =
      std::vector<std::unique_ptr<TypeName>, ZEL_T_NMT::BinderAllocator<std::unique_ptr<TypeName>>>;

  std::optional<TypeName> one_;
  ZEL_T_NMT::CPOSArray array_;
  std::uint32_t count_;
  Names names_;
};

// The rule of a definition for one member of dictionaries.
struct MemberRule {
  ZEL_T_NMT::CZELStringAtom key;
  std::optional<TypeName> required;
  std::optional<TypeName> optional;
};

// The rules of a definition for the members of dictionaries.
class DictRules : public ZEL_T_NMT::CZELClientBase {
 public:
  using Rules = std::vector<MemberRule, ZEL_T_NMT::BinderAllocator<MemberRule>>;

  DictRules(const Keywords& keywords, ZEL_T_NMT::DictView definition);

  const std::optional<TypeName>& KeyType() const noexcept { return keyType_; }
  const std::optional<TypeName>& ValueType() const noexcept { return valueType_; }
  // In the order in which dictionaries are walked.
  const Rules& Required() const noexcept { return required_; }
  // The rule for a member that is not required; null when it is not an optional one either.
  const MemberRule* FindOptional(const char* key);

 private:
  using OptionalRules =
      std::map<const char*, MemberRule, TextOrder,
               ZEL_T_NMT::BinderAllocator<std::pair<const char* const, MemberRule>>>;

  std::optional<TypeName> OptionalType(const ZEL_T_NMT::CZELStringAtom& key) const;

  std::optional<TypeName> keyType_;
  std::optional<TypeName> valueType_;
  ZEL_T_NMT::CPOSDict optional_;
  Rules required_;
  OptionalRules foundOptional_;  // under the texts of their keys
};

// Bounds of a number and of a length. One that is absent is NaN: no comparison with it is true.
struct NumberBounds {
  double min, max, minExcl, maxExcl;
};
struct LengthBounds {
  double min, max;
};

class Definition {
 public:
  // Raises for a dictionary without category, and for one whose category there is not.
  Definition(const Keywords& keywords, const TypeName& name, ZEL_T_NMT::DictView dict);
  Definition(const Definition&) = delete;
  Definition& operator=(const Definition&) = delete;

  const Category& GetCategory() const noexcept { return *category_; }
  // The built-in type of the category's name; there must be one.
  const BuiltinType& KindOfValues() const noexcept { return *kindOfValues_; }

  const NumberBounds& OfNumber() {
    if (!numberBounds_) [[unlikely]]
      ReadNumberBounds();
    return *numberBounds_;
  }
  const LengthBounds& OfLength() {
    if (!lengthBounds_) [[unlikely]]
      ReadLengthBounds();
    return *lengthBounds_;
  }
  // Null when there are none.
  const char* IllegalChars() {
    if (!illegalChars_) [[unlikely]]
      ReadIllegalChars();
    return illegalChars_->text;
  }
  // Whether the definition enumerates no texts, or this one among them; raises at an element before
  // it that is not a String.
  bool Admits(const char* text) {
    if (!choicesAreRead_) [[unlikely]]
      ReadChoices();
    return !choices_ || choices_->Have(text);
  }
  // The types under "set" or "membertype", whichever it is that the category has.
  TypeNames& Types(Keyword attribute) {
    if (types_ == nullptr) [[unlikely]]
      types_ = std::make_unique<TypeNames>(keywords_, dict_, attribute);
    return *types_;
  }
  DictRules& Members() {
    if (members_ == nullptr) [[unlikely]]
      members_ = std::make_unique<DictRules>(keywords_, dict_);
    return *members_;
  }

 private:
  double ReadBound(Keyword attribute) const;
  void ReadNumberBounds();
  void ReadLengthBounds();
  void ReadIllegalChars();
  void ReadChoices();

  const Keywords& keywords_;
  const ZEL_T_NMT::ContainerReference held_;
  const ZEL_T_NMT::DictView dict_;
  const Category* category_;
  const BuiltinType* kindOfValues_;
  std::optional<NumberBounds> numberBounds_;
  std::optional<LengthBounds> lengthBounds_;
  std::optional<HeldText> illegalChars_;
  bool choicesAreRead_ = false;
  std::optional<Choices> choices_;
  std::unique_ptr<TypeNames> types_;
  std::unique_ptr<DictRules> members_;
};

}  // namespace NPOSValidatorImpl
