// The common base of all POS objects, and the checks that lead from a handle to an object.
#pragma once

#include <cstdint>
#include <memory>

#include "frame/base/compiler.h"
#include "frame/client/pos_wrappers.h"
#include "frame/core/client_base.h"
#include "frame/object/registry.h"

namespace NPOSObjectImpl {

using BaseObject = ZEL_T_NMT::OwnValue;
using Composite = ZEL_T_NMT::OwnComposite;

constexpr bool IsComposite(POSObjectType type) noexcept {
#define ZEL_COMPOSITE_BIT(Name, interface, noun, one, composite) | (composite##u << POSType##Name)
  constexpr std::uint32_t kComposites = 0u POS_KINDS(ZEL_COMPOSITE_BIT);
#undef ZEL_COMPOSITE_BIT
  return (kComposites >> type & 1u) != 0;
}

// The operations of all objects of one class.
struct Kind {
  // Returns the object that the clone's handle is to stand for: this very object where it never
  // changes, else a new one that the caller owns.
  BaseObject* (*clone)(BaseObject& object);
  // Whether both are of the class, and equal.
  bool (*isEqual)(BaseObject& object, BaseObject& other);
  void (*destroy)(BaseObject& object) noexcept;
};

// One for each type, and an empty one for 0, which is none.
extern const Kind kKinds[POS_KIND_COUNT + 1];

inline const Kind& KindOf(const BaseObject& object) noexcept { return kKinds[object.Type()]; }

// Destroys an object as its kind does.
struct ObjectDestroyer {
  void operator()(BaseObject* object) const noexcept { KindOf(*object).destroy(*object); }
};
using OwnedObject = std::unique_ptr<BaseObject, ObjectDestroyer>;

// Null for an object of another class. A class has kType, its type tag, and kMismatch, the message
// for an object of another class.
template <typename T>
inline T* DownCast(BaseObject& object) {
  return object.Type() == T::kType ? static_cast<T*>(&object) : nullptr;
}

// The destroy procedure of values.
void DestroyPublished(void* object) noexcept;

// Publishes a new object; returns its handle, without reference.
inline ZELInstance PublishValue(OwnedObject object) {
  return ZEL_T_NMT::Publish(std::move(object), ZEL_T_NMT::ImplementationId::kPOSObject,
                            &DestroyPublished);
}
template <typename T>
ZELInstance PublishObject(std::unique_ptr<T> object) {
  return PublishValue(OwnedObject(object.release()));
}

// Raises the host's error for null and for a handle that is no POS object.
ZEL_ALWAYS_INLINE BaseObject& ResolveObject(ZELInstance handle) {
  using ZEL_T_NMT::ImplementationId;
  void* object = ZEL_T_NMT::KnownObject(handle, ImplementationId::kPOSObject);
  if (object == nullptr) [[unlikely]]
    object = ZEL_T_NMT::ResolveElsewhere(handle, ImplementationId::kPOSObject);
  return *static_cast<BaseObject*>(object);
}

// Every procedure begins with one of these checks: they are inlined against the compiler's
// judgement of their size.

// Null for null and for an object of another class.
template <typename T>
ZEL_ALWAYS_INLINE T* QuietCheck(ZELInstance handle) {
  return handle == nullptr ? nullptr : DownCast<T>(ResolveObject(handle));
}

template <typename T>
ZEL_ALWAYS_INLINE T& RaisingCheck(ZELInstance handle) {
  BaseObject& object = ResolveObject(handle);
  if (object.Type() != T::kType) ZEL_T_NMT::RaisePOSException(T::kMismatch);
  return static_cast<T&>(object);
}

}  // namespace NPOSObjectImpl
