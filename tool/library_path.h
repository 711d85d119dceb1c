// Where the library is found at run time.
#pragma once

#include <string>

namespace zelpos {

// The library beside the running program, else the one where an installation puts it, wherever that
// has been moved as a whole, else the bare name, which leaves the search to the system's loader.
std::string LibraryPath();

}  // namespace zelpos
