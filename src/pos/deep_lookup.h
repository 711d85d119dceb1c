// Lookup of a value by a path of keys and subscripts, such as "pages[2].size.width".
#pragma once

#include "pos/dict.h"

namespace NPOSObjectImpl {

// Returns the handle reached from `dict`, without reference. Null for a path that is malformed or
// leads nowhere, and when an error is raised on the way; raises only when the path cannot be
// copied.
ZELInstance DeepGet(const Dict& dict, const char* path);

}  // namespace NPOSObjectImpl
