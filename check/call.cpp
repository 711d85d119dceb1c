#include "call.h"

#include "findings.h"
#include "lasting.h"
#include "layer.h"
#include "observe.h"
#include "words.h"

namespace zelcheck {

namespace {

constinit Lasting<Layer> g_layer;

}  // namespace

constinit Layer* theLayer = nullptr;

void MakeLayer() { theLayer = &g_layer(); }

bool Call::TakesUnsettledLayer() noexcept {
  return !WasDisturbed() && !IsTelling() && TakeLayer(TheLayer(), ThisThread());
}

// Looks at nothing that the other call may be changing.
void Call::TellConcurrent() const noexcept {
  if (WasDisturbed() || IsTelling()) return;
  try {
    TellDisturbance(NameOf(row) + " is called from " + PlaceOf(caller) +
                    " while another call runs on another thread. From here on the layer looks at "
                    "no call until the next start.");
  } catch (...) {
    TellOfLostSight();
  }
}

void Call::BeginsObserved() {
  ObserveBegin(*this);
  if (!TheLayer().settings.inject || !ShallFail(*this)) return;
  isRefused_ = isInjected_ = true;
}

void Call::EndsObserved() { ObserveEnd(*this); }

ZELErrorObject Call::InjectedError() const {
  if (!isInjected_) return nullptr;
  return TheLayer().errors.NewError("injected failure", "ZELUtilsCheck", 0, 0, 0);
}

}  // namespace zelcheck
