// What the object model lets its clients in other folders do with its arrays and dictionaries.
#pragma once

#include "frame/client/own_operations.h"

namespace NPOSObjectImpl {

extern const ZEL_T_NMT::OwnOperations kOwnOperations;

}  // namespace NPOSObjectImpl
