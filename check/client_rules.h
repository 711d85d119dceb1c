// Demands on a client's call, and its traces in the ledger.
#pragma once

#include "call.h"
#include "layer.h"

namespace zelcheck {

// Before a client's call: thread and phase.
void CheckPlaceInTime(const Call& call);
inline bool IsOutOfPlace(const Call& call) noexcept {
  const Layer& layer = TheLayer();
  return layer.home != layer.running.load(std::memory_order_relaxed) ||
         (call.side == Side::kClientToLibrary && layer.phase != Phase::kRunning);
}

// An argument of a client's call, in its role.
void CheckArgument(const Call& call, std::size_t index, char role);
// Whether there may be anything to tell of it; a look that costs little, since each argument of
// each call gets it.
template <char role>
[[gnu::always_inline]] inline bool IsSuspect(const Argument* arguments) noexcept {
  const Layer& layer = TheLayer();
  const Argument& value = arguments[0];
  if constexpr (role == 'h' || role == 's' || role == 'n') {
    if (value.bits == 0) return role != 'n';
    const Instance* const known = layer.ledger.instances.Find(value.As<ZELInstance>());
    return known != nullptr && !known->isLive;
  } else if constexpr (role == 'a' || role == 'e') {
    return value.bits == 0 || layer.watchesClients;
  } else if constexpr (role == 'E' || role == 'T') {
    return value.bits != 0;
  } else if constexpr (role == 'd' || role == 'D') {
    return value.bits == 0 && arguments[1].bits != 0;
  } else if constexpr (role == 'z') {
    return value.bits >> 31 != 0;
  } else if constexpr (role == 'o' || role == 'f') {
    return value.bits == 0;
  } else {
    return role == 'b' || role == 'm' || role == 't' || role == 'u';
  }
}

// After any call: handles, atoms and errors that it has handed over.
void NoteHandle(const Call& call, ZELInstance instance);
void NoteAtom(const Call& call, ZELStringAtom atom);
void NoteError(const Call& call, ZELErrorObject error);

// At the end of the library: what clients still hold.
void TellLeaks();

}  // namespace zelcheck
