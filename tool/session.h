// A host with the library started in it, for as long as a command runs.
#ifndef ZELPOS_SESSION_H
#define ZELPOS_SESSION_H

#include <zelhost/host.h>

#include <zelutils/client.hpp>

#include "library_path.h"

namespace zelpos {

struct Session {
  Session() { host.Start(LibraryPath()); }

  zelhost::Host host;
  zelutils::Client client{zelhost::Host::LookupProc(), [this] { return host.TakeReports(); }};
};

}  // namespace zelpos

#endif  // ZELPOS_SESSION_H
