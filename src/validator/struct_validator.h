// The validator of values against a schema.
#pragma once

#include <memory>

#include "validator/base_validator.h"
#include "validator/run.h"

namespace NPOSValidatorImpl {

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
  // Shared with the runs: a callback may end the validator that calls it.
  std::shared_ptr<ValidatorSetup> setup_;
};

}  // namespace NPOSValidatorImpl
