#include "pos/own_comparison.h"

#include <algorithm>

#include "frame/core/nesting.h"
#include "pos/array.h"
#include "pos/dict.h"
#include "pos/scalars.h"

namespace NPOSObjectImpl {

OwnComparison::OwnComparison() noexcept {
  const auto& methods = ZEL_T_NMT::g_ownMethods;
  if (ZEL_T_NMT::g_link.unregisterCount == nullptr || ZEL_T_NMT::g_implementations == nullptr ||
      methods.generation != ZEL_T_NMT::g_link.Generation()) {
    return;
  }
  signature_ = methods.signature;
  name_ = ZEL_T_NMT::ImplementationOf(ZEL_T_NMT::ImplementationId::kPOSObject).name.Text();
}

// Scalars are compared on the spot.
ZEL_ALWAYS_INLINE OwnComparison::Result OwnComparison::CompareOwn(BaseObject& left,
                                                                  BaseObject& right) noexcept {
  if (left.Type() != right.Type()) return Result::kUnequal;
  bool isEqual = false;
  switch (left.Type()) {
    case POSTypeNumber:
      isEqual = static_cast<Number&>(left).IsEqual(static_cast<Number&>(right));
      break;
    case POSTypeString:
      isEqual = static_cast<String&>(left).IsEqual(static_cast<String&>(right));
      break;
    case POSTypeArray:
    case POSTypeDict:
      return CompareComposites(left, right);
    default:
      isEqual = KindOf(left).isEqual(left, right);
      break;
  }
  return isEqual ? Result::kEqual : Result::kUnequal;
}

OwnComparison::Result OwnComparison::Compare(BaseObject& left, BaseObject& right) noexcept {
  return CompareOwn(left, right);
}

ZEL_ALWAYS_INLINE OwnComparison::Result OwnComparison::CompareMembers(ZELInstance left,
                                                                      ZELInstance right) noexcept {
  if (left == nullptr || right == nullptr) [[unlikely]]
    return left == right ? Result::kEqual : Result::kUnequal;
  BaseObject* const object = Find(left);
  BaseObject* const other = Find(right);
  if (object == nullptr || other == nullptr) [[unlikely]]
    return Result::kUnknown;
  return CompareOwn(*object, *other);
}

OwnComparison::Result OwnComparison::CompareComposites(BaseObject& left,
                                                       BaseObject& right) noexcept {
  // Too deep a nesting is for the values' own comparison to report.
  if (depth_ == ZEL_T_NMT::kNestingLimit) return Result::kUnknown;
  ++depth_;
  const Result result = left.Type() == POSTypeArray
                            ? CompareArrays(static_cast<Array&>(left), static_cast<Array&>(right))
                            : CompareDicts(static_cast<Dict&>(left), static_cast<Dict&>(right));
  --depth_;
  return result;
}

OwnComparison::Result OwnComparison::CompareArrays(const Array& left, const Array& right) noexcept {
  const std::uint32_t count = left.Count();
  if (right.Count() != count) return Result::kUnequal;
  for (std::uint32_t i = 0; i < count; ++i) {
    const Result result = CompareMembers(left.GetAt(i), right.GetAt(i));
    if (result != Result::kEqual) return result;
  }
  return Result::kEqual;
}

// Equal dictionaries have the same keys at each step; whether they have equal keys whose atoms
// differ is left to their own comparison.
OwnComparison::Result OwnComparison::CompareDicts(Dict& left, Dict& right) noexcept {
  DictEntries& entries = left.Entries();
  DictEntries& others = right.Entries();
  DictEntries::Place place = entries.First();
  DictEntries::Place otherPlace = others.First();
  while (place != DictEntries::kEnd && otherPlace != DictEntries::kEnd) {
    // As far as places follow one another in both.
    std::uint32_t run = std::min(entries.RunFrom(place), others.RunFrom(otherPlace));
    for (;; ++place, ++otherPlace) {
      entries.PrefetchAfter(place);
      others.PrefetchAfter(otherPlace);
      const DictEntry& entry = entries.At(entries.NumberAt(place));
      const DictEntry& other = others.At(others.NumberAt(otherPlace));
      if (entry.key.Text() != other.key.Text()) return Result::kUnknown;
      const Result result = CompareMembers(entry.value.Get(), other.value.Get());
      if (result != Result::kEqual) return result;
      if (--run == 0) break;
    }
    place = entries.After(place);
    otherPlace = others.After(otherPlace);
  }
  return place == otherPlace ? Result::kEqual : Result::kUnequal;
}

}  // namespace NPOSObjectImpl
