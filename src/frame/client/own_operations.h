// The door between the readers of values and the object model: operations that the object model
// hands over when it starts, and the question whether its procedures are those in the binder.
//
// A value of the library's own is reached directly as long as nobody has put another procedure over
// the library's. That is settled for each interface when its table is imported: once per change of
// the binder's unregister counter.
#pragma once

#include <cstddef>
#include <span>

#include "frame/client/own_value.h"
#include "frame/core/imported_interface.h"
#include "frame/link/subsystem.h"
#include "frame/object/process_state.h"
#include "frame/object/registry.h"

namespace ZEL_T_NMT {

// The state of a walk over a dictionary's members, which the object model keeps in it. Aligned as a
// pointer: std::max_align_t is not the same in all source files for 32-bit Windows.
struct OwnWalk {
  alignas(void*) std::byte state[18 * sizeof(void*)];
};

// A member of a dictionary, borrowed; without key behind the last one.
struct OwnMember {
  const char* key = nullptr;
  ZELInstance value = nullptr;
};

// Operations on values of the library's own. Those that may fail do so as the procedures' wrappers
// do: with a report, and then by raising the operation's text; nothing has changed then. A text of
// the object model is valid until the dictionary changes or the walk moves.
struct OwnOperations {
  // New values, published, each with one reference that is the caller's; the text is "invalid
  // container".
  ZELInstance (*newNumber)(double value);
  ZELInstance (*newString)(const char* text);
  ZELInstance (*newUnicodeString)(const std::uint16_t* units);
  ZELInstance (*newArray)();
  ZELInstance (*newDict)();

  // "CPOSArray::Append failed".
  void (*append)(OwnArray& array, ContainerReference&& value);
  // Null for an absent key; borrowed.
  ZELInstance (*find)(const OwnDict& dict, const char* key) noexcept;
  // "CPOSDict::Put failed".
  void (*put)(OwnDict& dict, CZELStringAtom&& key, ContainerReference&& value);

  // A walk in key order that stays valid whatever is done to the dictionary, and ends with it.
  // Each step returns the member that it has come to.
  OwnMember (*beginWalk)(OwnWalk& walk, OwnDict& dict) noexcept;
  OwnMember (*nextInWalk)(OwnWalk& walk) noexcept;
  void (*endWalk)(OwnWalk& walk) noexcept;
  // The value of the key, borrowed; null when it has been taken out meanwhile.
  ZELInstance (*valueInWalk)(const OwnWalk& walk) noexcept;
};

// Called by the object model when it starts, with what it registers.
void KnowObjectModel(const OwnOperations& operations, std::span<const ExportedInterface> exported);

extern constinit OwnOperations g_own;

// The library's own value behind a handle, whatever procedures the binder has; null for every other
// instance, for null, and while there is no link.
inline OwnValue* OwnValueOf(ZELInstance instance) noexcept {
  void* object = KnownObject(instance, ImplementationId::kPOSObject);
  if (object == nullptr) [[unlikely]]
    object = PrimaryObject(instance, ImplementationId::kPOSObject);
  return static_cast<OwnValue*>(object);
}

// A POS interface as its clients import it.
template <typename Interface>
class POSInterface : public ImportedInterface<Interface> {
 public:
  // Whether the procedures in the binder are the library's own; only while linked. Imports as Get
  // does, and raises what that raises.
  bool IsOwn() {
    if (IsKnownToBeOwn()) [[likely]]
      return true;
    return Settle();
  }
  // The same at any time: false while there is no link.
  bool IsLinkedAndOwn() { return g_link.unregisterCount != nullptr && IsOwn(); }
  // Whether values of the kind are made directly, and are then known to have the methods of the
  // library's own. False as well where that is not known.
  bool MakesDirectly() const noexcept;
  // As IsOwn, but imports nothing: false where it would have to.
  bool IsKnownToBeOwn() const noexcept { return ownGeneration_ == g_link.Generation(); }

  void Know(std::span<const ExportedInterface> exported);

 private:
  bool Settle();

  typename Table<Interface>::Procedures own_{};
  std::uint64_t ownGeneration_ = 0;
};

// The nine POS interfaces imported by name, as any other client of the binder imports them.
struct POSInterfaces {
#define ZEL_POS_INTERFACE(Name, interface, ...) POSInterface<zelutils::Name##Interface> interface;
  POS_KINDS(ZEL_POS_INTERFACE)
#undef ZEL_POS_INTERFACE
  POSInterface<zelutils::DictIteratorInterface> dictIterators;
  POSInterface<zelutils::ObjectStaticsInterface> statics;
};

extern constinit POSInterfaces g_pos;

// The methods of a POS object. Raises "couldn't get signature" for an instance without signature
// and "invalid container" for one without the methods of a POS object.
inline const zelutils::ObjectInterface& POSObjectMethods(ZELInstance instance) {
  const zelutils::ObjectInterface* methods = g_posObjects->Lookup(instance);
  if (methods == nullptr) [[unlikely]]
    RaiseInvalidContainer();
  return *methods;
}

bool SettleOwnMethods(ZELInstance instance);

struct OwnMethods {
  const char* signature = nullptr;
  std::uint64_t generation = 0;
};
extern constinit OwnMethods g_ownMethods;

template <typename Interface>
inline bool POSInterface<Interface>::MakesDirectly() const noexcept {
  if (g_link.unregisterCount == nullptr) [[unlikely]]
    return false;
  const std::uint64_t generation = g_link.Generation();
  return ownGeneration_ == generation && g_ownMethods.generation == generation;
}

// Whether the methods of an instance are known to be the library's own; not null, while linked.
inline bool HasKnownMethods(ZELInstance instance) noexcept {
  return g_ownMethods.generation == g_link.Generation() &&
         g_ownMethods.signature == PrimaryInstance(instance).signature;
}

// Whether the methods of an instance are the library's own; raises what POSObjectMethods raises.
inline bool HasOwnMethods(ZELInstance instance) {
  if (instance != nullptr && g_link.lookup != nullptr) [[likely]] {
    if (HasKnownMethods(instance)) [[likely]]
      return true;
  }
  return SettleOwnMethods(instance);
}

// Raises what POSObjectMethods raises.
inline void RequireMethods(ZELInstance instance) { static_cast<void>(HasOwnMethods(instance)); }

}  // namespace ZEL_T_NMT
