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

// The object of an instance that is primarily one of this implementation, found by the name's
// address; null for every other and while there is no registry, and where a host that does not
// intern its texts has the name at another address. `instance` may be null.
inline void* KnownObject(ZELInstance instance, ImplementationId id) noexcept {
  if (instance == nullptr || g_implementations == nullptr) [[unlikely]]
    return nullptr;
  const ZELPrimaryInstance& primary = PrimaryInstance(instance);
  const Implementation& implementation = g_implementations[static_cast<std::uint32_t>(id)];
  return primary.implementationName == implementation.name.Text() ? primary.object : nullptr;
}

// The same, with the names compared by their bytes.
void* PrimaryObject(ZELInstance instance, ImplementationId id) noexcept;

// The object of an instance that KnownObject does not find, which may be one of several that the
// instance has: the host is asked.
void* ResolveElsewhere(ZELInstance instance, ImplementationId id);

// Returns the library object behind a handle; raises the host's error for null and for an instance
// of another implementation. `T` must be the type that the object was published as.
template <typename T>
T* Resolve(ZELInstance instance, ImplementationId id) {
  void* const object = KnownObject(instance, id);
  if (object != nullptr) [[likely]]
    return static_cast<T*>(object);
  return static_cast<T*>(ResolveElsewhere(instance, id));
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
