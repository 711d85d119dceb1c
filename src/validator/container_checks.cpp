// The categories of values that hold others.
#include "validator/struct_validator.h"

namespace NPOSValidatorImpl {

using ZEL_T_NMT::CPOSArray;
using ZEL_T_NMT::CPOSDict;
using ZEL_T_NMT::CPOSDictIterator;
using ZEL_T_NMT::CPOSString;

namespace {

// Both dictionaries are walked in the order of their keys, side by side.
int32_t AppendMissingMembers(const CPOSDict& required, const CPOSDictIterator& members,
                             ErrorList& errors) {
  int32_t findings = 0;
  for (const CPOSDictIterator names(required); !names.IsDone(); names.Next()) {
    const char* name = names.CurKey();
    int order = -1;
    while (!members.IsDone() && (order = std::strcmp(members.CurKey(), name)) < 0) members.Next();
    if (order == 0) continue;
    errors.Append(FormatIntoPOSString("Missing required member %s", {name}));
    AddFindings(findings, 1);
  }
  return findings;
}

// A member's key is a String in any case.
bool AcceptsEveryKey(const TypeName& type) noexcept {
  return type.Builtin() == Keyword::kAny || type.Builtin() == Keyword::kString;
}

}  // namespace

int32_t StructValidator::ValidateArray(Validation& validation, ZELInstance definition,
                                       const CPOSObject& value, ErrorList& errors) const {
  const CPOSArray array(value, true);
  if (array.IsEmpty()) {
    errors.Append(FormatIntoPOSString("Array object expected"));
    return 1;
  }
  const uint32_t count = array.Count();
  const std::optional<TypeName> memberType =
      GetTypeName(keywords_, definition, keywords_[Keyword::kMemberType]);
  const CPOSArray memberTypes = GetArray(definition, keywords_[Keyword::kMemberType]);
  int32_t findings =
      CheckLength(definition, static_cast<double>(count), "Array length below mininum value %d",
                  "Array length above maximum value", errors);
  if (!memberTypes.IsEmpty() && memberTypes.Count() != count) {
    errors.Append(
        FormatIntoPOSString("Heterogenous array object size did not match type array size"));
    return findings + 1;
  }
  if (!memberType && memberTypes.IsEmpty()) return findings;
  for (uint32_t i = 0; i < count; ++i) {
    std::optional<TypeName> listed;
    if (!memberType) listed = GetTypeNameAt(keywords_, memberTypes, i);
    const CPOSObject element = array.GetAt(i);
    AddFindings(findings, ValidatePart(validation, memberType ? *memberType : *listed, element,
                                       errors, "[%d]:", static_cast<int32_t>(i)));
  }
  return findings;
}

struct StructValidator::MemberTypes {
  std::optional<TypeName> key;
  std::optional<TypeName> value;
  CPOSDict required;
  CPOSDict optional;
};

int32_t StructValidator::ValidateDict(Validation& validation, ZELInstance definition,
                                      const CPOSObject& value, ErrorList& errors) const {
  const CPOSDict dict(value, true);
  if (dict.IsEmpty()) {
    errors.Append(FormatIntoPOSString("Dict object expected"));
    return 1;
  }
  const MemberTypes types = {GetTypeName(keywords_, definition, keywords_[Keyword::kKeyType]),
                             GetTypeName(keywords_, definition, keywords_[Keyword::kValueType]),
                             GetDict(definition, keywords_[Keyword::kRequired]),
                             GetDict(definition, keywords_[Keyword::kOptional])};
  const CPOSDictIterator members(dict);
  if (!types.required.IsEmpty()) {
    const int32_t missing = AppendMissingMembers(types.required, members, errors);
    if (missing > 0) return missing;
    members.Begin();
  }
  int32_t findings = 0;
  for (; !members.IsDone(); members.Next()) {
    const CZELStringAtom key(members.CurKey());
    AddFindings(findings, ValidateMember(validation, types, dict, key, errors));
  }
  return findings;
}

int32_t StructValidator::ValidateMember(Validation& validation, const MemberTypes& types,
                                        const CPOSDict& dict, const CZELStringAtom& key,
                                        ErrorList& errors) const {
  const CPOSObject value = dict.Get(key, false);
  int32_t findings = 0;
  bool isKnown = false;
  if (types.key) {
    isKnown = true;
    if (!AcceptsEveryKey(*types.key)) {
      AddFindings(findings,
                  ValidatePart(validation, *types.key, CPOSString::New(key.Text()), errors,
                               "%s (key, type != %s):", key.Text(), types.key->Text()));
    }
  }
  if (types.value) {
    AddFindings(findings, ValidatePart(validation, *types.value, value, errors,
                                       "%s (value, type != %s):", key.Text(), types.value->Text()));
  }
  const struct {
    const CPOSDict& types;
    const char* prefixFormat;
  } lists[] = {{types.required, "%s (required, type != %s):"},
               {types.optional, "%s (optional, type != %s):"}};
  for (const auto& list : lists) {
    if (list.types.IsEmpty()) continue;
    const std::optional<TypeName> type = GetTypeName(keywords_, list.types.Handle(), key);
    if (!type) continue;
    isKnown = true;
    AddFindings(findings, ValidatePart(validation, *type, value, errors, list.prefixFormat,
                                       key.Text(), type->Text()));
  }
  if (!isKnown) {
    AddFindings(findings, 1);
    errors.Append(FormatIntoPOSString("Unknown member %s", {key.Text()}));
  }
  return findings;
}

int32_t StructValidator::ValidateUnion(Validation& validation, ZELInstance definition,
                                       const CPOSObject& value, ErrorList& errors) const {
  const CPOSArray set = GetArray(definition, keywords_[Keyword::kSet]);
  const uint32_t count = set.IsEmpty() ? 0 : set.Count();
  ErrorList collected;
  for (uint32_t i = 0; i < count; ++i) {
    const TypeName type = GetTypeNameAt(keywords_, set, i);
    if (ValidatePart(validation, type, value, collected, "Trying %s:", type.Text()) == 0) {
      return 0;
    }
  }
  AppendPrefixedMessages(errors, collected, "Not a valid union type:");
  return 1;
}

int32_t StructValidator::ValidateIntersection(Validation& validation, ZELInstance definition,
                                              const CPOSObject& value, ErrorList& errors) const {
  const CPOSArray set = GetArray(definition, keywords_[Keyword::kSet]);
  const uint32_t count = set.IsEmpty() ? 0 : set.Count();
  int32_t findings = 0;
  for (uint32_t i = 0; i < count; ++i) {
    const TypeName type = GetTypeNameAt(keywords_, set, i);
    AddFindings(findings, ValidatePart(validation, type, value, errors,
                                       "Failed intersection type %s:", type.Text()));
  }
  return findings;
}

}  // namespace NPOSValidatorImpl
