// Signals that end the program, held back while it has something to clear away.
#pragma once

#include <array>
#include <csignal>
#include <stdexcept>

namespace zelpos {

// While it lives, signals are held back; the last one is given to the program again at its end.
// There is one at a time.
class HeldSignals {
 public:
  HeldSignals();
  HeldSignals(const HeldSignals&) = delete;
  HeldSignals& operator=(const HeldSignals&) = delete;
  ~HeldSignals();

  // Throws when a signal is being held, for code between two steps of its work.
  static void Check();

 private:
  using Handler = void (*)(int);
  static constexpr std::array kSignals = {
      SIGINT,
      SIGTERM,
#ifdef SIGHUP
      SIGHUP,
#endif
#ifdef SIGPIPE
      SIGPIPE,
#endif
  };
  std::array<Handler, kSignals.size()> before_{};
};

}  // namespace zelpos
