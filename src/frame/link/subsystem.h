// The part that a subsystem takes in the library's start and stop, as constant data: the interfaces
// that it exports, each with its name and a row for every procedure.
#pragma once

#include <cstdint>
#include <span>

#include "zelutils/types.h"

namespace ZEL_T_NMT {

// One procedure under its two names. The address comes from a function, since a constant expression
// cannot turn a procedure into a ZELProc.
struct ExportedProcedure {
  const char* method;
  const char* procType;
  ZELProc (*address)() noexcept;
};

struct ExportedInterface {
  const char* name;
  std::span<const ExportedProcedure> procedures;
};

struct Subsystem {
  // In the order of their registration.
  std::span<const ExportedInterface> interfaces;
  enum class Withdrawal { kFirstToLast, kLastToFirst } withdrawal;
  // Called before the interfaces are registered; may be null.
  void (*start)();
};

// All subsystems in the order of their start; they stop in the reverse order.
extern const std::span<const Subsystem* const> kSubsystems;

// Registers the interfaces of a subsystem; false at the first procedure that the binder refuses.
bool RegisterInterfaces(const Subsystem& subsystem);

// Withdraws them.
void UnregisterInterfaces(const Subsystem& subsystem) noexcept;

}  // namespace ZEL_T_NMT
