#include "pos/members.h"

#include "pos/base_object.h"
#include "pos/interfaces.h"

namespace NPOSObjectImpl {
namespace {

using ZEL_T_NMT::ContainerReference;
using ZEL_T_NMT::POSObjectSlots;

// The object behind a member, if this is one of the library's own.
BaseObject* OwnMember(ZELInstance member) {
  using ZEL_T_NMT::ImplementationId;
  return ZEL_T_NMT::OwnObject<BaseObject>(
      member, ZEL_T_NMT::ImplementationOf(ImplementationId::kPOSObject));
}

template <auto Body>
bool IsOwn(ZELProc procedure) {
  return procedure == reinterpret_cast<ZELProc>(&ZEL_T_NMT::ProcedureGuard<Body>::Call);
}

[[noreturn]] void RaiseCloneFailed() { ZEL_T_NMT::RaisePOSException("CPOSObject::Clone failed"); }

// A copy of a composite, published, without reference; null after a report.
ZELInstance CloneComposite(Composite& composite) noexcept {
  try {
    return PublishObject(std::unique_ptr<BaseObject>(composite.Clone()));
  } catch (...) {
    ZEL_T_NMT::ReportCurrentException();
    return nullptr;
  }
}

}  // namespace

ContainerReference CloneMember(ZELInstance member) {
  const POSObjectSlots& methods = ZEL_T_NMT::POSObjectMethods(member);
  BaseObject* const object = OwnMember(member);
  if (object == nullptr || !IsOwn<&ObjectInterface::Clone>(methods.slots[POSObjectSlots::kClone])) {
    const ZELInstance clone = methods.Clone(member);
    if (clone == nullptr) RaiseCloneFailed();
    // It may have other holders, and must then outlive a refused reference.
    return ContainerReference(clone);
  }
  Composite* const composite = object->AsComposite();
  if (composite == nullptr) return ContainerReference(member);
  const ContainerReference held(
      member);  // by whoever is called on the way, the member may be dropped
  const ZELInstance clone = CloneComposite(*composite);
  if (clone == nullptr) RaiseCloneFailed();
  return ContainerReference::Adopt(clone);
}

bool MembersAreEqual(ZELInstance left, ZELInstance right) {
  const POSObjectSlots& methods = ZEL_T_NMT::POSObjectMethods(left);
  BaseObject* const object = OwnMember(left);
  BaseObject* const other = OwnMember(right);
  if (object == nullptr || other == nullptr ||
      !IsOwn<&ObjectInterface::IsEqual>(methods.slots[POSObjectSlots::kIsEqual])) {
    return methods.IsEqual(left, right);
  }
  try {
    if (object->AsComposite() == nullptr) return object->IsEqual(*other);
    const ContainerReference held(left);
    const ContainerReference otherHeld(right);
    return object->IsEqual(*other);
  } catch (...) {
    ZEL_T_NMT::ReportCurrentException();
    return false;
  }
}

}  // namespace NPOSObjectImpl
