// The POS object model's part in the library's start and stop.
#pragma once

#include "frame/link/subsystem.h"

namespace NPOSObjectImpl {

extern const ZEL_T_NMT::Subsystem kSubsystem;

}  // namespace NPOSObjectImpl
