#include "frame/link/subsystem.h"

#include "frame/link/binder_link.h"

namespace ZEL_T_NMT {

bool RegisterInterfaces(const Subsystem& subsystem) {
  const ::ZELRegisterProcAddress registerProc = g_link.binder.ZELRegisterProcAddress;
  if (registerProc == nullptr) return false;
  for (const ExportedInterface& exported : subsystem.interfaces) {
    for (const ExportedProcedure& row : exported.procedures) {
      if (registerProc(exported.name, row.method, row.procType, row.address()) == 0) return false;
    }
  }
  return true;
}

void UnregisterInterfaces(const Subsystem& subsystem) noexcept {
  const ::ZELUnregisterInterface withdraw = g_link.binder.ZELUnregisterInterface;
  if (withdraw == nullptr) return;
  const std::size_t count = subsystem.interfaces.size();
  for (std::size_t i = 0; i < count; ++i) {
    const bool forward = subsystem.withdrawal == Subsystem::Withdrawal::kFirstToLast;
    withdraw(subsystem.interfaces[forward ? i : count - 1 - i].name);
  }
}

}  // namespace ZEL_T_NMT
