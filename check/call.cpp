#include "call.h"

#include "client_rules.h"
#include "findings.h"
#include "lasting.h"
#include "layer.h"
#include "observe.h"

namespace zelcheck {

namespace {

constinit Lasting<Layer> g_layer;

}  // namespace

Layer& TheLayer() { return g_layer(); }

Origin Call::Here() const noexcept {
  Origin here{&row, number, caller, nullptr, nullptr};
  if (side != Side::kLibraryToHost) return here;
  for (const Call* around = outer; around != nullptr; around = around->outer) {
    if (around->side != Side::kClientToLibrary) continue;
    here.outerRow = &around->row;
    here.outerCaller = around->caller;
    break;
  }
  return here;
}

bool Call::Begin() noexcept {
  try {
    return Enters();
  } catch (...) {
    TellOfLostSight();
    return !isRefused_;
  }
}

void Call::End(const Argument& value) noexcept {
  if (isBypassed_) return;
  Layer& layer = TheLayer();
  result = value;
  try {
    Leaves();
  } catch (...) {
    TellOfLostSight();
  }
  layer.current = outer;
  if (outer == nullptr) layer.running.store(std::thread::id(), std::memory_order_release);
}

bool Call::Enters() {
  Layer& layer = TheLayer();
  const std::thread::id thisThread = std::this_thread::get_id();
  if (layer.telling.load(std::memory_order_relaxed) == thisThread) {
    isBypassed_ = true;
    return true;
  }
  if (layer.running.load(std::memory_order_relaxed) != thisThread) {
    std::thread::id none;
    if (!layer.running.compare_exchange_strong(none, thisThread, std::memory_order_acquire)) {
      isBypassed_ = true;
      TellConcurrent(*this);
      return true;
    }
  }
  outer = layer.current;
  layer.current = this;
  number = ++layer.calls;
  depth = outer == nullptr ? 0 : outer->depth + 1;
  if (side == Side::kClientToLibrary || side == Side::kClientToHost) CheckClientCall(*this);
  if (layer.observes) ObserveBegin(*this);
  if (layer.settings.inject && ShallFail(*this)) {
    isRefused_ = isInjected_ = true;
    return false;
  }
  if (row.before != nullptr) row.before(*this);
  return !isRefused_;
}

ZELErrorObject Call::InjectedError() const {
  if (!isInjected_) return nullptr;
  return TheLayer().errors.NewError("injected failure", "ZELUtilsCheck", 0, 0, 0);
}

void Call::Leaves() {
  if (!isRefused_) {
    if (row.after != nullptr) row.after(*this);
  }
  NoteResult(*this);
  if (TheLayer().observes) ObserveEnd(*this);
}

}  // namespace zelcheck
