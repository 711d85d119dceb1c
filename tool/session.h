// A host with the library started in it, for as long as a command runs.
#pragma once

#include <zelhost/host.h>

#include <cstdio>
#include <string>
#include <string_view>
#include <zelutils/client.hpp>

#include "library_path.h"

namespace zelpos {

struct Session {
  Session() { host.Start(LibraryPath()); }
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;
  // What was reported and taken by nobody, such as a temporary file that cannot be deleted, is told
  // at the end, and what is reported from then on at once.
  ~Session() {
    for (const std::string& report : client.TakeLateReports()) Tell(report);
    for (const std::string& report : host.TakeReports()) Tell(report);
    host.SetReportSink(Tell);
  }

  zelhost::Host host;
  zelutils::Client client{host};

 private:
  static void Tell(std::string_view report) {
    std::fprintf(stderr, "zelpos: %.*s\n", static_cast<int>(report.size()), report.data());
  }
};

}  // namespace zelpos
