// Kinds of instances: what the instances of one implementation, interface and destroy procedure
// have in common, kept once for all of them.
#pragma once

#include <cstdint>

#include "services.h"

namespace zelhost {

// The signature is the interface name: instances that offer the same methods are of the same kind
// for a client. Kinds stay, and with them their atoms, until the host ends; there are as many as
// sorts of objects.
struct Kind {
  ZELStringAtom implementation;
  ZELStringAtom interfaceName;
  ZELDestroyProc destroy;
  const char* implementationText;
  const char* interfaceText;
  bool isStream;
};

// By their indices; [0] is none. Null while there is no host.
ZELHOST_HIDDEN extern const Kind* kinds;

void OpenKinds();
void CloseKinds() noexcept;

// The index of the kind, 0 when an atom is none. Throws bad_alloc.
std::uint32_t FindOrAddKind(ZELStringAtom implementation, ZELStringAtom interfaceName,
                            ZELDestroyProc destroy, bool isStream = false);

}  // namespace zelhost
