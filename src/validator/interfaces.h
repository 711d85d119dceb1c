// The validator's two interfaces: a class for each, whose static functions are the procedure bodies
// under their method names. A body may raise; the export table puts the guard around it.
#pragma once

#include "frame/object/guard.h"
#include "zelutils/validator.h"

namespace NPOSValidatorImpl {

struct ValidatorInterface {
  static std::int32_t Validate(ZELInstance validator, ZELInstance value, ZELStringAtom typeName,
                               POSValidatorMessageProc report);
};

struct StructValidatorInterface {
  static ZELInstance NewPOSStructValidator(ZELInstance schema);
  static void RegisterCallbackProc(ZELInstance validator, ZELStringAtom typeName,
                                   POSStructValidatorCallbackProc procedure, void* clientData);
  static std::int32_t ValidateSchema(ZELInstance schema, POSValidatorMessageProc report);
};

}  // namespace NPOSValidatorImpl
