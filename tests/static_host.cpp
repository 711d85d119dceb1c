// A host that is made before anything else in its program, and destroyed after it.
#include <cstdio>

#include "library_path.h"
#include "zelhost/host.h"

namespace {

zelhost::Host host;

}  // namespace

int main() {
  int found = 0;
#define COUNT_FOUND(method, procType) \
  found += host.Lookup(ZEL_BINDER_INTERFACE, #method, #procType) != nullptr ? 1 : 0;
  ZEL_BINDER_METHODS(COUNT_FOUND)
  host.Start(zeltest::LibraryPath());
  std::printf("procedures of the binder: %d of 5\n", found);
  return found == 5 ? 0 : 1;
}
