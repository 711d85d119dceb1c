// How a subsystem takes part in the library's start and stop.
#pragma once

namespace ZEL_T_NMT {

struct Subsystem {
  // Registers the subsystem's interfaces; false at the first that the binder refuses.
  bool (*registerInterfaces)();
  // Withdraws them.
  void (*unregisterInterfaces)();
};

// All subsystems in the order of their start, ended by null; they stop in the reverse order.
// Defined where the library is put together, so that the frame knows none of them.
extern const Subsystem* const kSubsystems[];

}  // namespace ZEL_T_NMT
