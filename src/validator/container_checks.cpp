// The categories of values that hold others.
#include <cstring>

#include "validator/struct_validator.h"

namespace NPOSValidatorImpl {

using ZEL_T_NMT::CPOSArray;
using ZEL_T_NMT::CPOSDict;
using ZEL_T_NMT::CPOSString;
using ZEL_T_NMT::CZELStringAtom;

namespace {

// A member's key is a String in any case.
bool AcceptsEveryKey(const TypeName& type) noexcept {
  return type.Builtin() == Keyword::kAny || type.Builtin() == Keyword::kString;
}

ZELInstance GetValue(ZELInstance dict, const CZELStringAtom& key) {
  const ZELInstance value = GetMember(dict, key);
  if (value == nullptr) ZEL_T_NMT::RaisePOSException("CPOSDict::Get failed");
  return value;
}

}  // namespace

std::int32_t StructValidator::ValidateArray(Validation& validation, Definition& definition,
                                            ZELInstance array, ErrorList& errors) const {
  if (!CPOSArray::Is(array)) {
    errors.Append(FormatIntoPOSString("Array object expected"));
    return 1;
  }
  const std::uint32_t count = CountElements(array);
  TypeNames& types = definition.Types(Keyword::kMemberType);
  std::int32_t findings =
      CheckLength(definition, static_cast<double>(count), "Array length below mininum value %d",
                  "Array length above maximum value", errors);
  if (types.AreArray() && types.ArrayCount() != count) {
    errors.Append(
        FormatIntoPOSString("Heterogenous array object size did not match type array size"));
    return findings + 1;
  }
  if (!types.AreOne() && !types.AreArray()) return findings;
  for (std::uint32_t i = 0; i < count; ++i) {
    const TypeName& type = types.At(i);
    const ZELInstance element = GetElement(array, i);
    const auto held = validation.Hold(element);
    AddFindings(findings, ValidatePart(validation, type, element, errors,
                                       "[%d]:", static_cast<std::int32_t>(i)));
  }
  return findings;
}

std::int32_t StructValidator::ValidateDict(Validation& validation, Definition& definition,
                                           ZELInstance dict, ErrorList& errors) const {
  if (!CPOSDict::Is(dict)) {
    errors.Append(FormatIntoPOSString("Dict object expected"));
    return 1;
  }
  DictRules& rules = definition.Members();
  RequiredMembers required(validation);
  std::int32_t findings = required.Fetch(rules, dict, errors);
  if (findings > 0) return findings;
  // Both the required members and those of the dictionary come in the order of their keys.
  std::size_t place = 0;
  const std::size_t count = rules.Required().size();
  for (const MemberWalk members(dict); const char* text = members.Key(); members.Next()) {
    int order = 1;
    while (place < count && (order = CompareTexts(rules.Required()[place].key.Text(), text)) < 0) {
      ++place;
    }
    const MemberRule* rule = order == 0 ? &rules.Required()[place] : rules.FindOptional(text);
    ZELInstance value = order == 0 ? required.At(place) : nullptr;
    if (rule == nullptr) {
      AddFindings(findings, ValidateOtherMember(validation, rules, dict, text, errors));
      continue;
    }
    if (value == nullptr) value = GetValue(dict, rule->key);
    AddFindings(findings, ValidateMember(validation, rules, rule->key, rule, value, errors));
  }
  return findings;
}

std::int32_t StructValidator::ValidateOtherMember(Validation& validation, const DictRules& rules,
                                                  ZELInstance dict, const char* keyText,
                                                  ErrorList& errors) const {
  const CZELStringAtom key(keyText);
  return ValidateMember(validation, rules, key, nullptr, GetValue(dict, key), errors);
}

std::int32_t StructValidator::ValidateMember(Validation& validation, const DictRules& rules,
                                             const CZELStringAtom& key, const MemberRule* rule,
                                             ZELInstance value, ErrorList& errors) const {
  const auto held = validation.Hold(value);
  const char* name = key.Text();
  std::int32_t findings = 0;
  bool isKnown = false;
  if (const auto& type = rules.KeyType()) {
    isKnown = true;
    if (!AcceptsEveryKey(*type)) {
      const CPOSObject keyValue = CPOSString::New(name);
      AddFindings(findings, ValidatePart(validation, *type, keyValue.Handle(), errors,
                                         "%s (key, type != %s):", name));
    }
  }
  if (const auto& type = rules.ValueType()) {
    AddFindings(findings,
                ValidatePart(validation, *type, value, errors, "%s (value, type != %s):", name));
  }
  if (rule != nullptr && rule->required) {
    isKnown = true;
    AddFindings(findings, ValidatePart(validation, *rule->required, value, errors,
                                       "%s (required, type != %s):", name));
  }
  if (rule != nullptr && rule->optional) {
    isKnown = true;
    AddFindings(findings, ValidatePart(validation, *rule->optional, value, errors,
                                       "%s (optional, type != %s):", name));
  }
  if (!isKnown) {
    AddFindings(findings, 1);
    errors.Append(FormatIntoPOSString("Unknown member %s", {name}));
  }
  return findings;
}

std::int32_t StructValidator::ValidateUnion(Validation& validation, Definition& definition,
                                            ZELInstance value, ErrorList& errors) const {
  TypeNames& set = definition.Types(Keyword::kSet);
  ErrorList collected;
  for (std::uint32_t i = 0; i < set.ArrayCount(); ++i) {
    const TypeName& type = set.At(i);
    if (ValidatePart(validation, type, value, collected, "Trying %s:", type.Text()) == 0) {
      return 0;
    }
  }
  AppendPrefixedMessages(errors, collected, "Not a valid union type:");
  return 1;
}

std::int32_t StructValidator::ValidateIntersection(Validation& validation, Definition& definition,
                                                   ZELInstance value, ErrorList& errors) const {
  TypeNames& set = definition.Types(Keyword::kSet);
  std::int32_t findings = 0;
  for (std::uint32_t i = 0; i < set.ArrayCount(); ++i) {
    const TypeName& type = set.At(i);
    AddFindings(findings, ValidatePart(validation, type, value, errors,
                                       "Failed intersection type %s:", type.Text()));
  }
  return findings;
}

}  // namespace NPOSValidatorImpl
