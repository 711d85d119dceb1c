// Reading the members of type definitions. An attribute that is absent and one of the wrong kind
// are the same: as if it were not there.
//
// A borrowed handle or text is valid while nothing foreign runs and its dictionary is held: use it
// before a value is validated.
#pragma once

#include <optional>

#include "frame/pos_wrappers.h"
#include "validator/keywords.h"

namespace NPOSValidatorImpl {

// The value under a key, borrowed; null when absent. A handle that is no dictionary is reported by
// the dictionary interface and has no members.
ZELInstance GetMember(ZELInstance dict, const ZEL_T_NMT::CZELStringAtom& key);

std::optional<double> GetNumber(ZELInstance dict, const ZEL_T_NMT::CZELStringAtom& key);
// Borrowed; null when there is none.
const char* GetText(ZELInstance dict, const ZEL_T_NMT::CZELStringAtom& key);
// Held; empty when there is none.
ZEL_T_NMT::CPOSArray GetArray(ZELInstance dict, const ZEL_T_NMT::CZELStringAtom& key);
ZEL_T_NMT::CPOSDict GetDict(ZELInstance dict, const ZEL_T_NMT::CZELStringAtom& key);

// The type that a member names, if it is a String.
std::optional<TypeName> GetTypeName(const Keywords& keywords, ZELInstance dict,
                                    const ZEL_T_NMT::CZELStringAtom& key);
// The type that an element names; raises when it is not a String or not there.
TypeName GetTypeNameAt(const Keywords& keywords, const ZEL_T_NMT::CPOSArray& names, uint32_t index);
// Whether one of the elements up to that one has this text; raises at one that is not a String.
bool ContainsText(const ZEL_T_NMT::CPOSArray& texts, const char* text);

// The contents of a value that is known to be of the type.
double NumberOf(const ZEL_T_NMT::CPOSObject& value);
const char* TextOf(const ZEL_T_NMT::CPOSObject& value);
bool SameText(const char* left, const char* right) noexcept;

}  // namespace NPOSValidatorImpl
