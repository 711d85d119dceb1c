// The check of a schema itself.
#pragma once

#include "frame/client/pos_wrappers.h"
#include "zelutils/validator.h"

namespace NPOSValidatorImpl {

// Whether a schema follows the rules of the schema language, which the meta-schema states, and
// names only types that it defines or that are built in. Otherwise hands each message to `report`,
// which may be null.
bool IsValidSchema(ZELInstance schema, POSValidatorMessageProc report);

}  // namespace NPOSValidatorImpl
