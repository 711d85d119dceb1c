// The interfaces of arrays, dictionaries and dictionary iterators.
//
// A value to be stored is taken before the container is resolved: when both are wrong, the value's
// error is the one reported.
#include "pos/array.h"
#include "pos/deep_lookup.h"
#include "pos/dict.h"
#include "pos/interfaces.h"

namespace NPOSObjectImpl {

using ZEL_T_NMT::BorrowArgument;
using ZEL_T_NMT::CPOSObject;
using ZEL_T_NMT::CZELStringAtom;
using ZEL_T_NMT::HoldArgument;
using ZEL_T_NMT::ImplementationId;

namespace {

DictIterator& ResolveIterator(ZELInstance iterator) {
  return *ZEL_T_NMT::Resolve<DictIterator>(iterator, ImplementationId::kPOSDictIterator);
}

}  // namespace

ZELInstance ArrayInterface::NewPOSArray() { return PublishObject(std::make_unique<Array>()); }

bool ArrayInterface::IsPOSArray(ZELInstance object) { return QuietCheck<Array>(object) != nullptr; }

ZELInstance ArrayInterface::GetAt(ZELInstance array, std::uint32_t index) {
  return RaisingCheck<Array>(array).GetAt(index);
}

std::uint32_t ArrayInterface::Count(ZELInstance array) {
  return RaisingCheck<Array>(array).Count();
}

void ArrayInterface::SetAt(ZELInstance array, std::uint32_t index, ZELInstance value) {
  CPOSObject held(value);
  RaisingCheck<Array>(array).SetAt(index, held.TakeReference());
}

void ArrayInterface::Append(ZELInstance array, ZELInstance value) {
  CPOSObject held(value);
  RaisingCheck<Array>(array).Append(held.TakeReference());
}

void ArrayInterface::Remove(ZELInstance array, std::uint32_t index) {
  RaisingCheck<Array>(array).Remove(index);
}

ZELInstance DictInterface::NewPOSDict() { return PublishObject(std::make_unique<Dict>()); }

bool DictInterface::IsPOSDict(ZELInstance object) { return QuietCheck<Dict>(object) != nullptr; }

ZELInstance DictInterface::Get(ZELInstance dict, ZELStringAtom key) {
  const char* const text = BorrowArgument(key);
  return RaisingCheck<Dict>(dict).Get(text);
}

ZELInstance DictInterface::DeepGet(ZELInstance dict, ZELStringAtom path) {
  const char* const text = BorrowArgument(path);
  return NPOSObjectImpl::DeepGet(RaisingCheck<Dict>(dict), text);
}

void DictInterface::Put(ZELInstance dict, ZELStringAtom key, ZELInstance value) {
  CPOSObject held(value);
  const char* const text = BorrowArgument(key);
  RaisingCheck<Dict>(dict).Put(CZELStringAtom(key, text), held.TakeReference());
}

void DictInterface::Remove(ZELInstance dict, ZELStringAtom key) {
  // Held: what is released may give back the client's reference.
  const CZELStringAtom held = HoldArgument(key);
  RaisingCheck<Dict>(dict).Remove(held.Text());
}

ZELInstance DictIteratorInterface::NewPOSDictIterator(ZELInstance dict) {
  Dict& walked = RaisingCheck<Dict>(dict);
  auto iterator = std::make_unique<DictIterator>(walked, ZEL_T_NMT::ContainerReference(dict));
  return ZEL_T_NMT::Publish(std::move(iterator), ImplementationId::kPOSDictIterator);
}

void DictIteratorInterface::Begin(ZELInstance iterator) { ResolveIterator(iterator).Begin(); }

void DictIteratorInterface::Next(ZELInstance iterator) { ResolveIterator(iterator).Next(); }

bool DictIteratorInterface::IsDone(ZELInstance iterator) {
  return ResolveIterator(iterator).IsDone();
}

const char* DictIteratorInterface::CurKey(ZELInstance iterator) {
  return ResolveIterator(iterator).CurKey();
}

}  // namespace NPOSObjectImpl
