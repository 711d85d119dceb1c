#include "validator/attributes.h"

namespace NPOSValidatorImpl {

using ZEL_T_NMT::ContainerReference;
using ZEL_T_NMT::CPOSArray;
using ZEL_T_NMT::CPOSDict;
using ZEL_T_NMT::CPOSNumber;
using ZEL_T_NMT::CPOSObject;
using ZEL_T_NMT::CPOSString;
using ZEL_T_NMT::CZELStringAtom;
using ZEL_T_NMT::Require;

namespace {

// For a result that alone does not tell of a failure. `reports` is their number before the call.
void RaiseIfReported(std::uint32_t reports, const char* message) {
  if (ZEL_T_NMT::g_link.reports != reports) [[unlikely]] {
    ZEL_T_NMT::RaisePOSException(message);
  }
}

}  // namespace

ZELInstance GetMember(ZELInstance dict, const CZELStringAtom& key) {
  return Require(ZEL_T_NMT::g_pos.dicts.Get())->Get(dict, key.Atom());
}

std::optional<double> GetNumber(ZELInstance dict, const CZELStringAtom& key) {
  const ZELInstance number = GetMember(dict, key);
  if (number == nullptr || !CPOSNumber::Is(number)) return std::nullopt;
  return NumberOf(number);
}

const char* GetText(ZELInstance dict, const CZELStringAtom& key) {
  const ZELInstance string = GetMember(dict, key);
  return string == nullptr || !CPOSString::Is(string) ? nullptr : TextOf(string);
}

HeldText GetHeldText(ZELInstance dict, const CZELStringAtom& key) {
  const ZELInstance string = GetMember(dict, key);
  if (string == nullptr || !CPOSString::Is(string)) return {};
  return {ContainerReference(string), TextOf(string)};
}

CPOSArray GetArray(ZELInstance dict, const CZELStringAtom& key) {
  const ZELInstance array = GetMember(dict, key);
  return array == nullptr ? CPOSArray() : CPOSArray(CPOSObject(array), true);
}

CPOSDict GetDict(ZELInstance dict, const CZELStringAtom& key) {
  const ZELInstance member = GetMember(dict, key);
  return member == nullptr ? CPOSDict() : CPOSDict(CPOSObject(member), true);
}

std::optional<TypeName> GetTypeName(ZELInstance dict, const CZELStringAtom& key) {
  const char* name = GetText(dict, key);
  if (name == nullptr) return std::nullopt;
  return TypeName(name);
}

double NumberOf(ZELInstance value) {
  const std::uint32_t reports = ZEL_T_NMT::g_link.reports;
  const double number = Require(ZEL_T_NMT::g_pos.numbers.Get())->Get(value);
  RaiseIfReported(reports, "CPOSNumber::Get failed");
  return number;
}

const char* TextOf(ZELInstance value) {
  const char* text = Require(ZEL_T_NMT::g_pos.strings.Get())->Get(value);
  if (text == nullptr) ZEL_T_NMT::RaiseInvalidContainer();
  return text;
}

std::uint32_t CountElements(ZELInstance array) {
  const std::uint32_t reports = ZEL_T_NMT::g_link.reports;
  const std::uint32_t count = Require(ZEL_T_NMT::g_pos.arrays.Get())->Count(array);
  RaiseIfReported(reports, "CPOSArray::Count failed");
  return count;
}

ZELInstance GetElement(ZELInstance array, std::uint32_t index) {
  const ZELInstance element = Require(ZEL_T_NMT::g_pos.arrays.Get())->GetAt(array, index);
  if (element == nullptr) ZEL_T_NMT::RaisePOSException("CPOSArray::GetAt subscript failed");
  return element;
}

HeldText GetTextAt(const CPOSArray& array, std::uint32_t index) {
  const ZELInstance element = GetElement(array.Handle(), index);
  // The downcast has the message for anything else.
  if (!CPOSString::Is(element)) CPOSString(CPOSObject(element), false);
  return {ContainerReference(element), TextOf(element)};
}

ZELInstance FindMember(ZELInstance dict, const CZELStringAtom& key) {
  const std::uint32_t reports = ZEL_T_NMT::g_link.reports;
  const ZELInstance member = GetMember(dict, key);
  if (member == nullptr) RaiseIfReported(reports, "CPOSDict::Get failed");
  return member;
}

MemberWalk::MemberWalk(ZELInstance dict)
    : iterator_(ContainerReference::Adopt(
          Require(ZEL_T_NMT::g_pos.dictIterators.Get())->NewPOSDictIterator(dict))) {}

const char* MemberWalk::Key() const {
  const std::uint32_t reports = ZEL_T_NMT::g_link.reports;
  const char* key = Require(ZEL_T_NMT::g_pos.dictIterators.Get())->CurKey(iterator_.Get());
  if (key == nullptr) RaiseIfReported(reports, "CPOSDictIterator::CurKey failed");
  return key;
}

void MemberWalk::Next() const {
  const std::uint32_t reports = ZEL_T_NMT::g_link.reports;
  Require(ZEL_T_NMT::g_pos.dictIterators.Get())->Next(iterator_.Get());
  RaiseIfReported(reports, "CPOSDictIterator::Next failed");
}

}  // namespace NPOSValidatorImpl
