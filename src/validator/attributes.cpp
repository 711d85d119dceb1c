#include "validator/attributes.h"

#include <cstring>

namespace NPOSValidatorImpl {

using ZEL_T_NMT::CPOSArray;
using ZEL_T_NMT::CPOSDict;
using ZEL_T_NMT::CPOSNumber;
using ZEL_T_NMT::CPOSObject;
using ZEL_T_NMT::CPOSString;
using ZEL_T_NMT::CZELStringAtom;
using ZEL_T_NMT::Need;

namespace {

const char* TextOf(ZELInstance string) {
  const char* text = Need(ZEL_T_NMT::POSStrings()).Get(string);
  if (text == nullptr) ZEL_T_NMT::RaiseInvalidContainer();
  return text;
}

}  // namespace

ZELInstance GetMember(ZELInstance dict, const CZELStringAtom& key) {
  return Need(ZEL_T_NMT::POSDicts()).Get(dict, key.Atom());
}

std::optional<double> GetNumber(ZELInstance dict, const CZELStringAtom& key) {
  const ZELInstance number = GetMember(dict, key);
  if (number == nullptr || !CPOSNumber::Is(number)) return std::nullopt;
  return Need(ZEL_T_NMT::POSNumbers()).Get(number);
}

const char* GetText(ZELInstance dict, const CZELStringAtom& key) {
  const ZELInstance string = GetMember(dict, key);
  return string == nullptr || !CPOSString::Is(string) ? nullptr : TextOf(string);
}

CPOSArray GetArray(ZELInstance dict, const CZELStringAtom& key) {
  const ZELInstance array = GetMember(dict, key);
  return array == nullptr ? CPOSArray() : CPOSArray(CPOSObject(array), true);
}

CPOSDict GetDict(ZELInstance dict, const CZELStringAtom& key) {
  const ZELInstance member = GetMember(dict, key);
  return member == nullptr ? CPOSDict() : CPOSDict(CPOSObject(member), true);
}

std::optional<TypeName> GetTypeName(const Keywords& keywords, ZELInstance dict,
                                    const CZELStringAtom& key) {
  const char* name = GetText(dict, key);
  if (name == nullptr) return std::nullopt;
  return TypeName(keywords, name);
}

TypeName GetTypeNameAt(const Keywords& keywords, const CPOSArray& names, uint32_t index) {
  const CPOSString name(names.GetAt(index), false);
  return TypeName(keywords, name.Get());
}

bool ContainsText(const CPOSArray& texts, const char* text) {
  const uint32_t count = texts.Count();
  for (uint32_t i = 0; i < count; ++i) {
    const CPOSString element(texts.GetAt(i), false);
    if (SameText(element.Get(), text)) return true;
  }
  return false;
}

double NumberOf(const CPOSObject& value) {
  return Need(ZEL_T_NMT::POSNumbers()).Get(value.Handle());
}

const char* TextOf(const CPOSObject& value) { return TextOf(value.Handle()); }

bool SameText(const char* left, const char* right) noexcept {
  return left == right || std::strcmp(left, right) == 0;
}

}  // namespace NPOSValidatorImpl
