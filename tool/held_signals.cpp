#include "held_signals.h"

namespace zelpos {
namespace {

volatile std::sig_atomic_t g_held = 0;

}  // namespace

extern "C" {
// On some systems a handler serves once.
static void Hold(int signal) {
  g_held = signal;
  std::signal(signal, Hold);
}
}

HeldSignals::HeldSignals() {
  g_held = 0;
  for (std::size_t i = 0; i < kSignals.size(); ++i) {
    before_[i] = std::signal(kSignals[i], Hold);
    if (before_[i] == SIG_IGN) std::signal(kSignals[i], SIG_IGN);
  }
}

HeldSignals::~HeldSignals() {
  for (std::size_t i = 0; i < kSignals.size(); ++i) {
    if (before_[i] != SIG_ERR) std::signal(kSignals[i], before_[i]);
  }
  if (g_held != 0) std::raise(g_held);
}

void HeldSignals::Check() {
  if (g_held != 0) throw std::runtime_error("interrupted");
}

}  // namespace zelpos
