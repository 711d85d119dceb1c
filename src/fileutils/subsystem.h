// The file utilities' part in the library's start and stop.
#pragma once

#include "frame/link/subsystem.h"

namespace NFileUtilsImpl {

extern const ZEL_T_NMT::Subsystem kSubsystem;

}  // namespace NFileUtilsImpl
