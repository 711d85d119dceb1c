// Reading type definitions and the values at hand, by handles that the caller has.
//
// A borrowed handle or text is valid while nothing foreign runs and what it came from is held: use
// it before a value is validated.
#pragma once

#include <cstring>
#include <optional>

#include "frame/client/pos_wrappers.h"
#include "validator/type_name.h"

namespace NPOSValidatorImpl {

// The value under a key, borrowed; null when absent. A handle that is no dictionary is reported by
// the dictionary interface and has no members.
ZELInstance GetMember(ZELInstance dict, const ZEL_T_NMT::CZELStringAtom& key);

// A text with the String that it belongs to; null when there is none.
struct HeldText {
  ZEL_T_NMT::ContainerReference string;
  const char* text = nullptr;
};

// Members of a type definition. One that is absent and one of the wrong kind are the same: as if it
// were not there.

std::optional<double> GetNumber(ZELInstance dict, const ZEL_T_NMT::CZELStringAtom& key);
// Borrowed; null when there is none.
const char* GetText(ZELInstance dict, const ZEL_T_NMT::CZELStringAtom& key);
HeldText GetHeldText(ZELInstance dict, const ZEL_T_NMT::CZELStringAtom& key);
// Held; empty when there is none.
ZEL_T_NMT::CPOSArray GetArray(ZELInstance dict, const ZEL_T_NMT::CZELStringAtom& key);
ZEL_T_NMT::CPOSDict GetDict(ZELInstance dict, const ZEL_T_NMT::CZELStringAtom& key);

// The type that a member names, if it is a String.
std::optional<TypeName> GetTypeName(ZELInstance dict, const ZEL_T_NMT::CZELStringAtom& key);

// What a value holds that is known to be of the type; handles are borrowed.

double NumberOf(ZELInstance value);
const char* TextOf(ZELInstance value);
std::uint32_t CountElements(ZELInstance array);
// Raises "CPOSArray::GetAt subscript failed" for an empty slot and beyond the end.
ZELInstance GetElement(ZELInstance array, std::uint32_t index);
// The text of an element; raises when that is not a String or not there.
HeldText GetTextAt(const ZEL_T_NMT::CPOSArray& array, std::uint32_t index);
// Null when absent.
ZELInstance FindMember(ZELInstance dict, const ZEL_T_NMT::CZELStringAtom& key);

// A walk over the keys of a dictionary, in their order.
class MemberWalk {
 public:
  explicit MemberWalk(ZELInstance dict);
  // Null behind the last one.
  const char* Key() const;
  void Next() const;

 private:
  ZEL_T_NMT::ContainerReference iterator_;
};

// As strcmp; texts of atoms are mostly told to be the same by their address.
inline int CompareTexts(const char* left, const char* right) noexcept {
  return left == right ? 0 : std::strcmp(left, right);
}

}  // namespace NPOSValidatorImpl
