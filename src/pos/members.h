// Members of composites, cloned and compared.
//
// It is the member's own procedures that do this. If these are the library's, as they mostly
// are, the object is reached directly, with the results and reports that the procedure would give.
#pragma once

#include "frame/core/container_reference.h"
#include "pos/base_object.h"
#include "pos/scalars.h"

namespace NPOSObjectImpl {

// Compares scalars of the library's own whose methods in the binder are the library's own as well,
// by loads and comparisons alone. Good for as long as nobody else's code runs.
class OwnScalars {
 public:
  OwnScalars() noexcept {
    if (ZEL_T_NMT::g_link.unregisterCount == nullptr || ZEL_T_NMT::g_implementations == nullptr ||
        ZEL_T_NMT::g_ownMethods.generation != ZEL_T_NMT::g_link.Generation()) {
      return;
    }
    using ZEL_T_NMT::ImplementationId;
    signature_ = ZEL_T_NMT::g_ownMethods.signature;
    name_ = ZEL_T_NMT::ImplementationOf(ImplementationId::kPOSObject).name.Text();
  }

  // False as well where that is not known: for values of other kinds and for nobody's.
  ZEL_ALWAYS_INLINE bool AreEqual(ZELInstance left, ZELInstance right) const noexcept {
    const BaseObject* const object = Find(left);
    const BaseObject* const other = Find(right);
    if (object == nullptr || other == nullptr || object->Type() != other->Type()) return false;
    switch (object->Type()) {
      case POSTypeNumber:
        return static_cast<const Number*>(object)->IsEqual(*static_cast<const Number*>(other));
      case POSTypeString:
        return static_cast<const String*>(object)->IsEqual(*static_cast<const String*>(other));
      default:
        return false;
    }
  }

 private:
  ZEL_ALWAYS_INLINE const BaseObject* Find(ZELInstance member) const noexcept {
    if (member == nullptr) return nullptr;
    const ZELPrimaryInstance& primary = ZEL_T_NMT::PrimaryInstance(member);
    const bool isOwn = primary.signature == signature_ && primary.implementationName == name_;
    return isOwn ? static_cast<const BaseObject*>(primary.object) : nullptr;
  }

  // Addresses that no instance has, until it is known which ones ours have.
  const char* signature_ = "";
  const char* name_ = "";
};

// Raises "CPOSObject::Clone failed" where the member's procedure fails, which has then reported
// why.
ZEL_T_NMT::ContainerReference CloneMember(ZELInstance member);

// Compares two members by the first one's procedure; a failure is reported there and means unequal.
bool MembersAreEqual(ZELInstance left, ZELInstance right);

}  // namespace NPOSObjectImpl
