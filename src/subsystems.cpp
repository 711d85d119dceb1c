// Where the library is put together: the one place that knows every subsystem.
#include "frame/subsystem.h"
#include "pos/subsystem.h"
#include "streamer/subsystem.h"

namespace ZEL_T_NMT {

const Subsystem* const kSubsystems[] = {
    &NPOSObjectImpl::kSubsystem,
    &NPOSStreamerImpl::kSubsystem,
    nullptr,
};

}  // namespace ZEL_T_NMT
