// The library's implementations by name, and the way between its objects and instance handles.
#pragma once

#include <memory>

#include "frame/core/client_base.h"
#include "frame/core/error.h"
#include "frame/core/string_atom.h"

namespace ZEL_T_NMT {

// The implementations in the order of their registration: X(identifier, implementation name,
// interface name).
#define ZEL_IMPLEMENTATIONS(X)                                            \
  X(kPOSObject, "POSObjectImpl", POS_OBJECT_INTERFACE)                    \
  X(kPOSDictIterator, "POSDictIteratorImpl", POS_DICT_ITERATOR_INTERFACE) \
  X(kPOSStreamer, "POSStreamerImpl", POS_STREAMER_INTERFACE)              \
  X(kPOSValidator, "POSValidatorImpl", POS_VALIDATOR_INTERFACE)           \
  X(kUtilsDir, "ZELUtilsDir", ZEL_UTILS_DIR_INTERFACE)

#define ZEL_IMPLEMENTATION_ID(id, name, interfaceName) id,
enum class ImplementationId : std::uint32_t { ZEL_IMPLEMENTATIONS(ZEL_IMPLEMENTATION_ID) };
#undef ZEL_IMPLEMENTATION_ID

struct Implementation {
  CZELStringAtom name;
  CZELStringAtom interfaceName;
};

// Creates the registry if there is none yet; raises the allocation failure.
void CreateImplementationRegistry();
void DestroyImplementationRegistry() noexcept;

// By number; null while there is no registry.
extern constinit const Implementation* g_implementations;

// Raises "invalid container" while there is no registry.
inline const Implementation& ImplementationOf(ImplementationId id) {
  if (g_implementations == nullptr) [[unlikely]]
    RaiseInvalidContainer();
  return g_implementations[static_cast<std::uint32_t>(id)];
}

// Asks the host for the object of an implementation that is not an instance's primary one.
void* ResolveForeign(ZELInstance instance, const Implementation& implementation);

// The object of an instance that is primarily one of this implementation, or null. `T` must be the
// type that the object was published as.
template <typename T>
T* OwnObject(ZELInstance instance, const Implementation& implementation) noexcept {
  const ZELPrimaryInstance& primary = PrimaryInstance(instance);
  if (!IsSameText(primary.implementationName, implementation.name.Text())) [[unlikely]]
    return nullptr;
  return static_cast<T*>(primary.object);
}

// Returns the library object behind a handle; raises the host's error for null and for an instance
// of another implementation.
template <typename T>
T* Resolve(ZELInstance instance, ImplementationId id) {
  const Implementation& implementation = ImplementationOf(id);
  T* const object = instance == nullptr ? nullptr : OwnObject<T>(instance, implementation);
  if (object != nullptr) [[likely]] {
    return object;
  }
  return static_cast<T*>(ResolveForeign(instance, implementation));
}

// The destroy procedure of objects that need no more than their destructor.
template <typename T>
void DestroyObject(void* object) noexcept {
  delete static_cast<T*>(object);
}

// Publishes an object as a new instance, without reference. If the host does not take the object,
// it is destroyed and the host's error raised.
template <typename T, typename Deleter>
ZELInstance Publish(std::unique_ptr<T, Deleter> object, ImplementationId id,
                    ZELDestroyProc destroy = &DestroyObject<T>) {
  const Implementation& implementation = ImplementationOf(id);
  ZELInstance instance = nullptr;
  ZELCheck(Containers().NewFullContainer(&instance, static_cast<void*>(object.get()),
                                         implementation.name.Atom(), destroy,
                                         implementation.interfaceName.Atom(), 0, 0, 0));
  object.release();  // NOLINT(bugprone-unused-return-value): the host owns it now
  return instance;
}

}  // namespace ZEL_T_NMT
