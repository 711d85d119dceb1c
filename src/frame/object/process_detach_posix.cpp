// The notice of the library's unloading. At the end of a process it comes after the handlers and
// the destructors of static objects, in which a host may still work.
#include "frame/object/lifecycle.h"

[[gnu::destructor]] static void DetachAtUnload() { ZEL_T_NMT::ZELProcessDetach(); }
