// The common base of all POS objects, and the checks that lead from a handle to an object.
#pragma once

#include <memory>
#include <type_traits>

#include "frame/base/compiler.h"
#include "frame/client/pos_wrappers.h"
#include "frame/core/client_base.h"
#include "frame/object/registry.h"

namespace NPOSObjectImpl {

using BaseObject = ZEL_T_NMT::OwnValue;
using Composite = ZEL_T_NMT::OwnComposite;

// Null for an object of another class.
template <typename T>
inline T* DownCast(BaseObject& object) {
  return object.Type() == T::kType ? static_cast<T*>(&object) : nullptr;
}

constexpr bool IsComposite(POSObjectType type) noexcept {
#define ZEL_IS_COMPOSITE(Name, interface, noun, one, composite) , composite != 0
  constexpr bool kComposite[] = {false POS_KINDS(ZEL_IS_COMPOSITE)};
#undef ZEL_IS_COMPOSITE
  return kComposite[type];
}

// The record of a class T. It has kType, its type tag, kMismatch, the message for an object of
// another class, and IsEqual for one of its own; a composite has Clone, which returns a new object.
template <typename T>
inline constexpr ZEL_T_NMT::OwnKind kKindOf = {
    T::kType,
    IsComposite(T::kType),
    [](BaseObject& value) -> BaseObject* {
      static_assert(IsComposite(T::kType) == std::is_base_of_v<Composite, T>);
      if constexpr (IsComposite(T::kType)) {
        return static_cast<T&>(value).Clone();
      } else {
        return &value;
      }
    },
    [](BaseObject& value, BaseObject& other) {
      T* const sameKind = DownCast<T>(other);
      return sameKind != nullptr && static_cast<T&>(value).IsEqual(*sameKind);
    },
    [](BaseObject* value) noexcept { delete static_cast<T*>(value); },
};

// Depths of the running clone and of the running comparison, counted by NestingLevel: a level may
// go through a member's own procedure.
extern constinit std::uint32_t g_cloneDepth;
extern constinit std::uint32_t g_equalDepth;

// The destroy procedure of values.
void DestroyPublished(void* object) noexcept;

// Publishes a new object; returns its handle, without reference.
inline ZELInstance PublishValue(ZEL_T_NMT::OwnedValue object) {
  return ZEL_T_NMT::Publish(std::move(object), ZEL_T_NMT::ImplementationId::kPOSObject,
                            &DestroyPublished);
}
template <typename T>
ZELInstance PublishObject(std::unique_ptr<T> object) {
  return PublishValue(ZEL_T_NMT::OwnedValue(object.release()));
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
