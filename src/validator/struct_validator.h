// The validator of values against a schema.
//
// A schema is a dictionary from type names to type definitions. The operations below take a value
// apart as its type says, append one message per finding and return the number of findings. They
// change nothing but the error list, keep nothing beyond the run of validation, and raise when the
// schema itself cannot be used.
#pragma once

#include "validator/attributes.h"
#include "validator/base_validator.h"
#include "validator/callback_map.h"
#include "validator/keywords.h"
#include "validator/messages.h"
#include "validator/validation.h"

namespace NPOSValidatorImpl {

enum class BuiltinCheckResult : std::int32_t {
  kNotBuiltin = 0,
  kBuiltinValid = 1,
  kBuiltinInvalid = 2,  // one message has been appended
};

// The checks of "minlen" and "maxlen", each with its message.
std::int32_t CheckLength(Definition& definition, double length, const char* below,
                         const char* above, ErrorList& errors);

class StructValidator final : public BaseValidator {
 public:
  // Whether a callback may change the schema or the values that it is called for.
  enum class CallbackKind { kForeign, kOwn };

  // Takes the schema as it is: what is no dictionary has no definitions.
  explicit StructValidator(ZEL_T_NMT::CPOSObject schema);

  bool Validate(const ZEL_T_NMT::CPOSObject& value, const ZEL_T_NMT::CZELStringAtom& typeName,
                POSValidatorMessageProc report) override;

  // Attaches a check to a type name, in place of an earlier one; a null procedure takes it away.
  void RegisterCallback(const ZEL_T_NMT::CZELStringAtom& typeName,
                        POSStructValidatorCallbackProc procedure, void* clientData,
                        CallbackKind kind = CallbackKind::kForeign);

 private:
  using CPOSObject = ZEL_T_NMT::CPOSObject;
  using CZELStringAtom = ZEL_T_NMT::CZELStringAtom;

  // The caller holds the value throughout where a callback may take it out of where it was.
  std::int32_t ValidateValue(Validation& validation, const TypeName& typeName, ZELInstance value,
                             ErrorList& errors) const;
  std::int32_t ValidateWithCallback(Validation& validation, const TypeName& typeName,
                                    ZELInstance value, ErrorList& errors) const;
  BuiltinCheckResult CheckBuiltinType(Keyword typeName, ZELInstance value, ErrorList& errors) const;
  std::int32_t ValidateDefinedType(Validation& validation, const TypeName& typeName,
                                   ZELInstance value, ErrorList& errors) const;

  // Looks a definition up in the schema; null when there is none. It stays for the whole run.
  Definition* FindDefinition(Validation& validation, const TypeName& typeName) const;

  // One category each.
  std::int32_t ValidateScalar(Definition& definition, ZELInstance value, ErrorList& errors) const;
  std::int32_t ValidateNumber(Definition& definition, ZELInstance value, ErrorList& errors) const;
  std::int32_t ValidateString(Definition& definition, ZELInstance value, ErrorList& errors) const;
  std::int32_t ValidateArray(Validation& validation, Definition& definition, ZELInstance array,
                             ErrorList& errors) const;
  std::int32_t ValidateDict(Validation& validation, Definition& definition, ZELInstance dict,
                            ErrorList& errors) const;
  std::int32_t ValidateUnion(Validation& validation, Definition& definition, ZELInstance value,
                             ErrorList& errors) const;
  std::int32_t ValidateIntersection(Validation& validation, Definition& definition,
                                    ZELInstance value, ErrorList& errors) const;

  // One member of a dictionary, by what its definition says of keys and values; `rule` is null for
  // a member that it does not list.
  std::int32_t ValidateMember(Validation& validation, const DictRules& rules,
                              const CZELStringAtom& key, const MemberRule* rule, ZELInstance value,
                              ErrorList& errors) const;
  std::int32_t ValidateOtherMember(Validation& validation, const DictRules& rules, ZELInstance dict,
                                   const char* keyText, ErrorList& errors) const;

  // Validates a part of a value into a list of its own, whose messages then follow the prefix that
  // `prefixFormat` makes of `first` and the type's name.
  std::int32_t ValidatePart(Validation& validation, const TypeName& typeName, ZELInstance part,
                            ErrorList& errors, const char* prefixFormat,
                            FormatArgument first) const;

  CallbackMap callbacks_;
  bool hasForeignCallbacks_ = false;
  CPOSObject schema_;
  Keywords keywords_;
};

}  // namespace NPOSValidatorImpl
