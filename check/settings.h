// Settings of the environment variable ZELUTILS_CHECK: words between commas.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace zelcheck {

struct Settings {
  bool report = true;
  bool abort = false;
  bool trace = false;
  bool stats = false;
  bool host = false;      // test the host before the library is started
  bool core = false;      // listen to the clients' calls of the core services
  bool callback = false;  // hand findings to ("ZELUtilsCheck", "Finding")
  bool inject = false;
  std::uint64_t seed = 1;
  double failRate = 0.01;
  std::string traceFile;             // of trace events; empty: text
  std::string out;                   // where findings, traces and tables go; empty: standard error
  std::vector<std::string> rules;    // patterns of those asked for; empty: all
  std::vector<std::string> leftOut;  // patterns of those left out
  std::vector<std::string> interfaces;  // patterns of those that a trace shows; empty: all
  std::uint32_t textLimit = 1U << 28;   // bytes within which a text has to end
  std::vector<std::string> unknown;     // words that say nothing

  bool Asks(std::string_view rule) const;
  bool Shows(std::string_view interfaceName) const;
};

Settings ReadSettings(std::string_view text);

// Whether a text is of a pattern, in which '*' stands for any bytes.
bool IsLike(std::string_view text, std::string_view pattern);

}  // namespace zelcheck
