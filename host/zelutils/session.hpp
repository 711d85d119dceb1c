// A session: the library found and started in a reference host, with a typed client of it. It is
// all that a program without a host of its own needs, and one begins with it:
//
//   zelutils::Session zel;
//   auto book = zel.Parse("<title (A book) pages [<width 595>]>").As<zelutils::Dict>();
//   std::cout << book["title"] << ' ' << book.DeepGet("pages[0].width") << '\n';
//
// Everything that a Client offers is there (zelutils/client.hpp). At its end the session stops the
// library, and tells on standard error what was reported and taken by nobody, and what is still
// held: values that outlive their session, or references taken by hand. There is one session, and
// one host, per process at a time. A program with a host of its own makes a Client of that.
//
// Link to the reference host (ZELUtils::host in CMake).
#pragma once

#include <zelhost/host.h>

#include <functional>
#include <iostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "zelutils/client.hpp"

namespace zelutils {

struct SessionOptions {
  // Path of the library. Empty: where zelhost::FindLibrary finds it, which looks beside the program
  // and where an installation puts it, then under the environment variable ZELUTILS_LIBRARY, and
  // leaves the rest to the system's loader.
  std::string library;
  // Receives what is to be told, in lines. Null: standard error gets them. Must not throw.
  std::function<void(std::string_view line)> tell;
};

namespace detail {

struct StartedHost {
  explicit StartedHost(const std::string& library) {
    if (library.empty()) {
      host.Start();
    } else {
      host.Start(library);
    }
  }
  zelhost::Host host;
};

}  // namespace detail

class Session : private detail::StartedHost, public Client {
 public:
  // Throws zelhost::HostError when the library cannot be found or started.
  explicit Session(SessionOptions options = {})
      : StartedHost(options.library), Client(host), tell_(std::move(options.tell)) {
    if (!tell_) {
      tell_ = [](std::string_view line) { std::cerr << "zelutils: " << line << '\n'; };
    }
    host.SetLeakSink([this](const std::vector<zelhost::Leak>& leaks) {
      for (const zelhost::Leak& leak : leaks) tell_("still held: " + leak.what);
    });
  }
  // Nothing of the session may be used after it.
  ~Session() {
    try {
      for (const std::string& report : TakeLateReports()) tell_(report);
      for (const std::string& report : host.TakeReports()) tell_(report);
      host.SetReportSink(tell_);
      host.Stop();
    } catch (...) {
      return;  // it could not even be told
    }
  }

  // The host below, for what only a host can do: its counts, leaks and faults.
  zelhost::Host& Host() noexcept { return host; }

 private:
  std::function<void(std::string_view line)> tell_;
};

}  // namespace zelutils
