#include "validator/interfaces.h"

#include "frame/object/registry.h"
#include "validator/schema_check.h"
#include "validator/struct_validator.h"
#include "validator/subsystem.h"

namespace NPOSValidatorImpl {

using ZEL_T_NMT::CPOSObject;
using ZEL_T_NMT::CZELStringAtom;
using ZEL_T_NMT::HoldArgument;
using ZEL_T_NMT::ImplementationId;

namespace {

BaseValidator* ResolveValidator(ZELInstance validator) {
  return ZEL_T_NMT::Resolve<BaseValidator>(validator, ImplementationId::kPOSValidator);
}

POS_VALIDATOR_INTERFACES(ZEL_GUARDED_PROCEDURES)
constexpr ZEL_T_NMT::ExportedInterface kInterfaces[] = {
    POS_VALIDATOR_INTERFACES(ZEL_EXPORTED_INTERFACE)};

}  // namespace

std::int32_t ValidatorInterface::Validate(ZELInstance validator, ZELInstance value,
                                          ZELStringAtom typeName, POSValidatorMessageProc report) {
  const CZELStringAtom heldTypeName = HoldArgument(typeName);
  const CPOSObject heldValue(value);
  BaseValidator* resolved = ResolveValidator(validator);
  if (resolved == nullptr) ZEL_T_NMT::RaiseInvalidContainer();
  return resolved->Validate(heldValue, heldTypeName, report) ? 1 : 0;
}

ZELInstance StructValidatorInterface::NewPOSStructValidator(ZELInstance schema) {
  std::unique_ptr<BaseValidator> validator(new StructValidator(CPOSObject(schema)));
  return ZEL_T_NMT::Publish(std::move(validator), ImplementationId::kPOSValidator);
}

void StructValidatorInterface::RegisterCallbackProc(ZELInstance validator, ZELStringAtom typeName,
                                                    POSStructValidatorCallbackProc procedure,
                                                    void* clientData) {
  const CZELStringAtom heldTypeName = HoldArgument(typeName);
  auto* structValidator = dynamic_cast<StructValidator*>(ResolveValidator(validator));
  if (structValidator == nullptr) {
    ZEL_T_NMT::RaisePOSException("instance was not an StructValidator");
  }
  structValidator->RegisterCallback(heldTypeName, procedure, clientData);
}

std::int32_t StructValidatorInterface::ValidateSchema(ZELInstance schema,
                                                      POSValidatorMessageProc report) {
  return IsValidSchema(schema, report) ? 1 : 0;
}

// The struct validator is made through the first of the two, and goes first.
constinit const ZEL_T_NMT::Subsystem kSubsystem = {
    kInterfaces, ZEL_T_NMT::Subsystem::Withdrawal::kLastToFirst, nullptr};

}  // namespace NPOSValidatorImpl
