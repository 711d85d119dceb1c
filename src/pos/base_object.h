// The common base of all POS objects, and the checks that lead from a handle to an object.
#pragma once

#include <memory>

#include "frame/base/compiler.h"
#include "frame/client/pos_wrappers.h"
#include "frame/core/client_base.h"
#include "frame/object/registry.h"

namespace NPOSObjectImpl {

class Composite;

class BaseObject : public ZEL_T_NMT::CZELClientBase {
 public:
  virtual ~BaseObject() = default;
  // Returns the object that the clone's handle is to stand for: this very object where it never
  // changes, else a new one that the caller owns.
  virtual BaseObject* Clone() = 0;
  virtual bool IsEqual(BaseObject& other) = 0;
  // A POSObjectType.
  virtual std::int32_t GetType() const = 0;
  // Null for an object that holds no others.
  virtual Composite* AsComposite() noexcept { return nullptr; }
};

// Base of the objects that hold others. Of a member they hold the reference alone and look for its
// methods when they need them, one comparison as a rule: a method table does not outlive its link.
class Composite : public BaseObject {
 public:
  Composite* AsComposite() noexcept final { return this; }

 private:
  friend class DestructionQueue;
  Composite* nextPending_ = nullptr;
};

// How deep the running clone and the running comparison are, counted by NestingLevel: a level may
// go through a member's own procedure.
extern constinit std::uint32_t g_cloneDepth;
extern constinit std::uint32_t g_equalDepth;

// Publishes a new object; returns its handle, without reference.
ZELInstance PublishObject(std::unique_ptr<BaseObject> object);

// Raises the host's error for null and for a handle that is no POS object.
inline BaseObject& ResolveObject(ZELInstance handle) {
  return *ZEL_T_NMT::Resolve<BaseObject>(handle, ZEL_T_NMT::ImplementationId::kPOSObject);
}

// Every procedure begins with one of these checks: they are inlined against the compiler's
// judgement of their size. Each class T has kType, its type tag, and kMismatch, the message for an
// object of another class.

// Null for an object of another class.
template <typename T>
inline T* DownCast(BaseObject& object) {
  return object.GetType() == T::kType ? static_cast<T*>(&object) : nullptr;
}

// Null for null and for an object of another class.
template <typename T>
ZEL_ALWAYS_INLINE T* QuietCheck(ZELInstance handle) {
  return handle == nullptr ? nullptr : DownCast<T>(ResolveObject(handle));
}

template <typename T>
ZEL_ALWAYS_INLINE T& RaisingCheck(ZELInstance handle) {
  BaseObject& object = ResolveObject(handle);
  if (object.GetType() != T::kType) ZEL_T_NMT::RaisePOSException(T::kMismatch);
  return static_cast<T&>(object);
}

}  // namespace NPOSObjectImpl
