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
  const Result result = CompareOwn(left, right);
  if (!hasLeftOrder_) return result;
  // It depends on the order what is met first: a difference, or somebody else's value.
  isInOrder_ = true;
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

OwnComparison::Result OwnComparison::CompareDicts(Dict& left, Dict& right) noexcept {
  std::uint32_t compared = 0;
  if (!isInOrder_) {
    const Result result = CompareByNumber(left.Entries(), right.Entries(), compared);
    if (result != Result::kEqual) hasLeftOrder_ = true;
    if (result != Result::kEqual ||
        (compared == left.Entries().End() && compared == right.Entries().End())) {
      return result;
    }
  }
  return CompareInOrder(left.Entries(), right.Entries(), compared);
}

// Values that were made in the same way have the same keys under the same numbers: that needs no
// order, and finds the members in the order in which they lie in memory. Counts the members that
// were compared until keys differ.
OwnComparison::Result OwnComparison::CompareByNumber(const DictEntries& left,
                                                     const DictEntries& right,
                                                     std::uint32_t& compared) noexcept {
  const std::uint32_t end = std::min(left.End(), right.End());
  if (end == 0) return Result::kEqual;
  const DictEntry* const entries = &left.At(0);
  const DictEntry* const others = &right.At(0);
  for (; compared < end; ++compared) {
    const DictEntry& entry = entries[compared];
    const DictEntry& other = others[compared];
    if (entry.key.Text() != other.key.Text() || entry.key.Text() == nullptr) break;
    const Result result = CompareMembers(entry.value.Get(), other.value.Get());
    if (result != Result::kEqual) return result;
  }
  return Result::kEqual;
}

// Equal dictionaries have the same keys at each step; whether they have equal keys whose atoms
// differ is left to their own comparison. The members that were compared already are equal.
OwnComparison::Result OwnComparison::CompareInOrder(DictEntries& left, DictEntries& right,
                                                    std::uint32_t compared) noexcept {
  DictEntries::Place place = left.First();
  DictEntries::Place otherPlace = right.First();
  while (place != DictEntries::kEnd && otherPlace != DictEntries::kEnd) {
    // As far as places follow one another in both.
    DictEntries::Run run = left.RunFrom(place);
    DictEntries::Run otherRun = right.RunFrom(otherPlace);
    for (;; ++place, ++otherPlace) {
      if (left.IsLarge()) {
        left.PrefetchAfter(place, run);
        right.PrefetchAfter(otherPlace, otherRun);
      }
      const DictEntry& entry = left.At(*run.numbers);
      const DictEntry& other = right.At(*otherRun.numbers);
      if (entry.key.Text() != other.key.Text()) return Result::kUnknown;
      if (*run.numbers >= compared) {
        const Result result = CompareMembers(entry.value.Get(), other.value.Get());
        if (result != Result::kEqual) return result;
      }
      if (!run.Step() || !otherRun.Step()) break;
    }
    place = left.After(place);
    otherPlace = right.After(otherPlace);
  }
  return place == otherPlace ? Result::kEqual : Result::kUnequal;
}

}  // namespace NPOSObjectImpl
