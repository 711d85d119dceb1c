// Where the library is found at run time.
#ifndef ZELPOS_LIBRARY_PATH_H
#define ZELPOS_LIBRARY_PATH_H

#include <string>

namespace zelpos {

// The library beside the running program, else the one where an installation puts it, else the bare
// name, which leaves the search to the system's loader.
std::string LibraryPath();

}  // namespace zelpos

#endif  // ZELPOS_LIBRARY_PATH_H
