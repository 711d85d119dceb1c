// The binder that the library sees: the host's, with thunks in the place of its procedures.
#pragma once

#include "zelutils/zelutils.h"

namespace zelcheck {

// A lookup procedure that stands before the host's, the same one for the same host. Null when more
// hosts have come than the layer can tell apart.
ZELLookupProc LookupBefore(ZELLookupProc lookup);

// Puts thunks over the host's core procedures in its registry, so that the clients' own calls are
// seen, and takes them away again.
void WatchClients(ZELLookupProc lookup);
void StopWatchingClients();

}  // namespace zelcheck
