// The procedures that are handed over in arguments, as tables like those of the interfaces.
#pragma once

#include "zelutils/zelutils.h"

namespace zelcheck {

// The eight of "NewClientPositionableStream", in the order of its arguments.
#define ZEL_CHECK_CLIENT_STREAM(X)                                    \
  X(Read, ZELClientStreamReadProc)                                    \
  X(Write, ZELClientStreamWriteProc)                                  \
  X(CreateIndependentlyRewindableStream, ZELClientStreamCreateProc)   \
  X(Rewind, ZELClientStreamRewindProc)                                \
  X(CreateIndependentlyPositionableStream, ZELClientStreamCreateProc) \
  X(Mark, ZELClientStreamMarkProc)                                    \
  X(Seek, ZELClientStreamSeekProc)                                    \
  X(Destroy, ZELClientStreamDestroyProc)

#define ZEL_CHECK_CALLBACKS(X)             \
  X(Destroy, ZELDestroyProc)               \
  X(Message, POSValidatorMessageProc)      \
  X(Check, POSStructValidatorCallbackProc) \
  X(Release, POSRawPointerReleaseProc)

#define ZEL_CHECK_SLOT(name, type) type name = nullptr;
struct ClientStreamTable {
  ZEL_CHECK_CLIENT_STREAM(ZEL_CHECK_SLOT)
};
struct CallbackTable {
  ZEL_CHECK_CALLBACKS(ZEL_CHECK_SLOT)
};
#undef ZEL_CHECK_SLOT

}  // namespace zelcheck
