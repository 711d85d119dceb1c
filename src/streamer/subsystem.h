// The POS streamer's part in the library's start and stop.
#pragma once

#include "frame/link/subsystem.h"

namespace NPOSStreamerImpl {

extern const ZEL_T_NMT::Subsystem kSubsystem;

}  // namespace NPOSStreamerImpl
