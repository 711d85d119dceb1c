// The structure validator's part in the library's start and stop.
#pragma once

#include "frame/link/subsystem.h"

namespace NPOSValidatorImpl {

extern const ZEL_T_NMT::Subsystem kSubsystem;

}  // namespace NPOSValidatorImpl
