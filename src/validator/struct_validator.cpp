#include "validator/struct_validator.h"

namespace NPOSValidatorImpl {

using ZEL_T_NMT::CPOSObject;
using ZEL_T_NMT::CZELStringAtom;

StructValidator::StructValidator(CPOSObject schema)
    : setup_(std::allocate_shared<ValidatorSetup>(ZEL_T_NMT::BinderAllocator<ValidatorSetup>(),
                                                  std::move(schema))) {}

void StructValidator::RegisterCallback(const CZELStringAtom& typeName,
                                       POSStructValidatorCallbackProc procedure, void* clientData,
                                       CallbackKind kind) {
  setup_->callbacks.Put(typeName, {procedure, clientData});
  if (kind == CallbackKind::kForeign) setup_->hasForeignCallbacks = true;
}

bool StructValidator::Validate(const CPOSObject& value, const CZELStringAtom& typeName,
                               POSValidatorMessageProc report) {
  const std::shared_ptr<const ValidatorSetup> setup = setup_;
  MessageList messages;
  // The run has given back everything when the messages go out.
  if (Run(*setup, messages).ValidateValue(TypeName(typeName), value.View()) == 0) return true;
  messages.Report(report);
  return false;
}

}  // namespace NPOSValidatorImpl
