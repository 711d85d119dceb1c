// The validator of values against a schema.
//
// A schema is a dictionary from type names to type definitions. The operations below take a value
// apart as its type says, append one message per finding and return the number of findings. They
// change nothing but the error list, keep nothing between calls, and raise when the schema itself
// cannot be used.
#pragma once

#include "validator/attributes.h"
#include "validator/base_validator.h"
#include "validator/callback_map.h"
#include "validator/keywords.h"
#include "validator/messages.h"

namespace NPOSValidatorImpl {

enum class BuiltinCheckResult : int32_t {
  kNotBuiltin = 0,
  kBuiltinValid = 1,
  kBuiltinInvalid = 2,  // one message has been appended
};

// One run of validation: what it goes by, and how deep in types and values it is.
struct Validation {
  const ZEL_T_NMT::CPOSObject& schema;
  uint32_t depth = 0;
};

// Adds to a number of findings, which stops at its largest value.
inline void AddFindings(int32_t& total, int32_t findings) noexcept {
  total = findings > INT32_MAX - total ? INT32_MAX : total + findings;
}

class StructValidator final : public BaseValidator {
 public:
  // Takes the schema as it is: what is no dictionary has no definitions.
  explicit StructValidator(ZEL_T_NMT::CPOSObject schema);

  bool Validate(const ZEL_T_NMT::CPOSObject& value, const ZEL_T_NMT::CZELStringAtom& typeName,
                POSValidatorMessageProc report) override;

  // Attaches a check to a type name, in place of an earlier one; a null procedure takes it away.
  void RegisterCallback(const ZEL_T_NMT::CZELStringAtom& typeName,
                        POSStructValidatorCallbackProc procedure, void* clientData);

 private:
  using CPOSObject = ZEL_T_NMT::CPOSObject;
  using CZELStringAtom = ZEL_T_NMT::CZELStringAtom;

  // The caller holds the value throughout, since a callback may take it out of where it was.
  int32_t ValidateValue(Validation& validation, const TypeName& typeName, const CPOSObject& value,
                        ErrorList& errors) const;
  int32_t ValidateWithCallback(const TypeName& typeName, const CPOSObject& value,
                               ErrorList& errors) const;
  BuiltinCheckResult CheckBuiltinType(Keyword typeName, const CPOSObject& value,
                                      ErrorList& errors) const;
  int32_t ValidateDefinedType(Validation& validation, const TypeName& typeName,
                              const CPOSObject& value, ErrorList& errors) const;

  // Raises for a definition without category; kNone or another word for an unknown one.
  Keyword GetCategory(ZELInstance definition, const TypeName& typeName) const;

  // One category each. The definition is borrowed from the schema.
  int32_t ValidateScalar(Keyword category, ZELInstance definition, const CPOSObject& value,
                         ErrorList& errors) const;
  int32_t CheckNumber(ZELInstance definition, double number, ErrorList& errors) const;
  int32_t CheckString(ZELInstance definition, const char* text, ErrorList& errors) const;
  int32_t CheckBinData(ZELInstance definition, const ZEL_T_NMT::CPOSBinData& data,
                       ErrorList& errors) const;
  int32_t CheckLength(ZELInstance definition, double length, const char* below, const char* above,
                      ErrorList& errors) const;
  int32_t CheckOneOf(ZELInstance definition, const char* text, const char* message,
                     ErrorList& errors) const;
  int32_t ValidateArray(Validation& validation, ZELInstance definition, const CPOSObject& value,
                        ErrorList& errors) const;
  int32_t ValidateDict(Validation& validation, ZELInstance definition, const CPOSObject& value,
                       ErrorList& errors) const;
  int32_t ValidateUnion(Validation& validation, ZELInstance definition, const CPOSObject& value,
                        ErrorList& errors) const;
  int32_t ValidateIntersection(Validation& validation, ZELInstance definition,
                               const CPOSObject& value, ErrorList& errors) const;

  // One member of a dictionary, by what its definition says of keys and values.
  struct MemberTypes;
  int32_t ValidateMember(Validation& validation, const MemberTypes& types,
                         const ZEL_T_NMT::CPOSDict& dict, const CZELStringAtom& key,
                         ErrorList& errors) const;

  // Validates a part of a value into a list of its own, whose messages then follow the prefix that
  // `prefixFormat` makes of the two arguments.
  int32_t ValidatePart(Validation& validation, const TypeName& typeName, const CPOSObject& part,
                       ErrorList& errors, const char* prefixFormat, FormatArgument first,
                       FormatArgument second = "") const;

  CallbackMap callbacks_;
  CPOSObject schema_;
  Keywords keywords_;
};

}  // namespace NPOSValidatorImpl
