// Comparison of values of the library's own, all the way down, by loads alone.
//
// It goes the way that the values' own comparison goes, in the same order, for as long as it meets
// nothing but values of the library's own whose methods in the binder are the library's own as
// well. Nobody is called, so that nothing needs to be held and nothing changes meanwhile. At
// anything else it gives up, and nothing has happened.
#pragma once

#include "pos/base_object.h"

namespace NPOSObjectImpl {

class Array;
class Dict;

class OwnComparison {
 public:
  enum class Result { kEqual, kUnequal, kUnknown };

  OwnComparison() noexcept;
  Result Compare(BaseObject& left, BaseObject& right) noexcept;

 private:
  Result CompareComposites(BaseObject& left, BaseObject& right) noexcept;
  Result CompareArrays(const Array& left, const Array& right) noexcept;
  Result CompareDicts(Dict& left, Dict& right) noexcept;
  Result CompareOwn(BaseObject& left, BaseObject& right) noexcept;
  // Of two members of composites, which may be null.
  Result CompareMembers(ZELInstance left, ZELInstance right) noexcept;
  // Null for a value of somebody else's, and while it is not known what is whose.
  ZEL_ALWAYS_INLINE BaseObject* Find(ZELInstance member) const noexcept {
    const ZELPrimaryInstance& primary = ZEL_T_NMT::PrimaryInstance(member);
    const bool isOwn = primary.signature == signature_ && primary.implementationName == name_;
    return isOwn ? static_cast<BaseObject*>(primary.object) : nullptr;
  }

  // Addresses that no instance has, until it is known which ones ours have.
  const char* signature_ = "";
  const char* name_ = "";
  std::uint32_t depth_ = 0;
};

}  // namespace NPOSObjectImpl
