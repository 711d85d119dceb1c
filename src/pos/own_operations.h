// Operations on arrays and dictionaries for the clients of the object model in other folders.
#pragma once

#include "frame/client/own_operations.h"

namespace NPOSObjectImpl {

extern const ZEL_T_NMT::OwnOperations kOwnOperations;

}  // namespace NPOSObjectImpl
