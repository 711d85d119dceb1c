// The library that the tests load: the one of this build, or the one that the environment names, as
// the checking layer in its place.
#pragma once

#include <cstdlib>
#include <string>

namespace zeltest {

inline std::string LibraryPath() {
  const char* const named = std::getenv("ZEL_TEST_LIBRARY");
  return named == nullptr || *named == '\0' ? ZEL_LIBRARY_PATH : named;
}

}  // namespace zeltest
