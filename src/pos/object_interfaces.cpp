// "POSObjectInterface" and "POSObjectStatics".
#include "pos/base_object.h"
#include "pos/interfaces.h"
#include "pos/members.h"
#include "pos/own_comparison.h"
#include "pos/text_parser.h"

namespace NPOSObjectImpl {

using ZEL_T_NMT::CPOSObject;

ZELInstance ObjectInterface::Clone(ZELInstance handle) {
  BaseObject& object = ResolveObject(handle);
  BaseObject* clone = KindOf(object).clone(object);
  if (clone == &object) return handle;
  return PublishValue(OwnedObject(clone));
}

bool ObjectInterface::IsEqual(ZELInstance handle, ZELInstance otherHandle) {
  const CPOSObject other(otherHandle);
  BaseObject& object = ResolveObject(handle);
  BaseObject& otherObject = ResolveObject(other.Handle());
  // Inside of another comparison that has been tried already.
  if (g_equalDepth == 0) {
    using Result = OwnComparison::Result;
    const Result result = OwnComparison().Compare(object, otherObject);
    if (result != Result::kUnknown) [[likely]]
      return result == Result::kEqual;
  }
  return KindOf(object).isEqual(object, otherObject);
}

std::int32_t ObjectInterface::GetType(ZELInstance handle) { return ResolveObject(handle).Type(); }

// The dumps write nothing: what they are good for is the check that the handle is a POS object.
void ObjectStaticsInterface::DebugDump(ZELInstance handle) { const CPOSObject checked(handle); }

void ObjectStaticsInterface::DebugDumpWithHeader(ZELInstance handle) { DebugDump(handle); }

void ObjectStaticsInterface::DebugDumpRewind(ZELInstance handle) { DebugDump(handle); }

ZELInstance ObjectStaticsInterface::CreateFromText(const char* text, const char** errorPosition) {
  if (errorPosition != nullptr) *errorPosition = nullptr;
  if (text == nullptr) ZEL_T_NMT::RaisePOSException("null text");
  try {
    return ParseText(text).HandOut();
  } catch (const CFTParseError& error) {
    if (errorPosition != nullptr) *errorPosition = error.Position();
    return nullptr;
  }
}

}  // namespace NPOSObjectImpl
