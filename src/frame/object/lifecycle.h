// The library's link to a binder from its first lookup to its end, and the end of the library
// itself.
#pragma once

#include "zelutils/binder.h"

namespace ZEL_T_NMT {

// True on success, and when linked already. On failure the link stays as far as it got; ZELUnlink
// ends it. Raises "Missing Interface" where the container or memory interface is incomplete.
bool ZELLink(ZELLookupProc lookup);

// Gives back what the link holds and forgets the binder. Does nothing when not linked.
void ZELUnlink();

// The library is being unloaded while the binder may be gone: nothing calls the host from here on.
void ZELProcessDetach() noexcept;

}  // namespace ZEL_T_NMT
