// The base of every validator.
#pragma once

#include "frame/client/pos_wrappers.h"
#include "frame/core/client_base.h"
#include "zelutils/validator.h"

namespace NPOSValidatorImpl {

class BaseValidator : public ZEL_T_NMT::CZELClientBase {
 public:
  virtual ~BaseValidator() = default;
  // True when the value conforms to the named type; otherwise hands each message to `report`, which
  // may be null.
  virtual bool Validate(const ZEL_T_NMT::CPOSObject& value,
                        const ZEL_T_NMT::CZELStringAtom& typeName,
                        POSValidatorMessageProc report) = 0;
};

}  // namespace NPOSValidatorImpl
