#include "pos/members.h"

#include "frame/object/guard.h"
#include "pos/base_object.h"

namespace NPOSObjectImpl {
namespace {

using ZEL_T_NMT::ContainerReference;

// The object behind a member when its procedures are the library's own; otherwise null. Raises what
// POSObjectMethods raises.
inline BaseObject* OwnMember(ZELInstance member) {
  return ZEL_T_NMT::HasOwnMethods(member) ? ZEL_T_NMT::OwnValueOf(member) : nullptr;
}

[[noreturn]] void RaiseCloneFailed() { ZEL_T_NMT::RaisePOSException("CPOSObject::Clone failed"); }

// A copy of a composite, published, without reference; null after a report.
ZELInstance CloneComposite(BaseObject& composite) noexcept {
  try {
    return PublishValue(OwnedObject(KindOf(composite).clone(composite)));
  } catch (...) {
    ZEL_T_NMT::ReportCurrentException();
    return nullptr;
  }
}

}  // namespace

constinit std::uint32_t g_cloneDepth = 0;
constinit std::uint32_t g_equalDepth = 0;

ContainerReference CloneMember(ZELInstance member) {
  BaseObject* const object = OwnMember(member);
  if (object == nullptr) {
    const ZELInstance clone = ZEL_T_NMT::POSObjectMethods(member).Clone(member);
    if (clone == nullptr) RaiseCloneFailed();
    // It may have other holders, and must then outlive a refused reference.
    return ContainerReference(clone);
  }
  if (!IsComposite(object->Type())) return ContainerReference(member);
  // By whoever is called on the way, the member may be dropped.
  const ContainerReference held(member);
  const ZELInstance clone = CloneComposite(*object);
  if (clone == nullptr) RaiseCloneFailed();
  return ContainerReference::Adopt(clone);
}

bool MembersAreEqual(ZELInstance left, ZELInstance right) {
  BaseObject* const object = OwnMember(left);
  BaseObject* const other = object == nullptr ? nullptr : ZEL_T_NMT::OwnValueOf(right);
  if (other == nullptr) return ZEL_T_NMT::POSObjectMethods(left).IsEqual(left, right);
  try {
    if (!IsComposite(object->Type())) return KindOf(*object).isEqual(*object, *other);
    const ContainerReference held(left);
    const ContainerReference otherHeld(right);
    return KindOf(*object).isEqual(*object, *other);
  } catch (...) {
    ZEL_T_NMT::ReportCurrentException();
    return false;
  }
}

}  // namespace NPOSObjectImpl
