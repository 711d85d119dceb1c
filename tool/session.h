// A host with the library started in it, for as long as a command runs.
#pragma once

#include <cstdio>
#include <string_view>
#include <zelutils/session.hpp>

namespace zelpos {

struct Session {
  // A report that nobody has taken, such as a stream that cannot be closed, is told at the
  // end.
  zelutils::Session client{{{}, [](std::string_view line) {
                              std::fprintf(stderr, "zelpos: %.*s\n", static_cast<int>(line.size()),
                                           line.data());
                            }}};
};

}  // namespace zelpos
