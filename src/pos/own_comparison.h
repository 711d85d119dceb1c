// Comparison of values of the library's own, all the way down, by loads alone.
//
// It gives the result of the values' own comparison for as long as that meets, in its order,
// nothing but values of the library's own whose methods in the binder are the library's own as
// well. Nobody is called, so that nothing needs to be held and nothing changes meanwhile. At
// anything else it gives up, and nothing has happened.
#pragma once

#include "pos/base_object.h"

namespace NPOSObjectImpl {

class Array;
class Dict;
class DictEntries;

class OwnComparison {
 public:
  enum class Result { kEqual, kUnequal, kUnknown };

  OwnComparison() noexcept;
  Result Compare(BaseObject& left, BaseObject& right) noexcept;

 private:
  Result CompareComposites(BaseObject& left, BaseObject& right) noexcept;
  Result CompareArrays(const Array& left, const Array& right) noexcept;
  Result CompareDicts(Dict& left, Dict& right) noexcept;
  Result CompareByNumber(const DictEntries& left, const DictEntries& right,
                         std::uint32_t& compared) noexcept;
  Result CompareInOrder(DictEntries& left, DictEntries& right, std::uint32_t compared) noexcept;
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
  bool isInOrder_ = false;     // dictionaries are compared in the order of their keys alone
  bool hasLeftOrder_ = false;  // and the result is another one than kEqual
};

}  // namespace NPOSObjectImpl
