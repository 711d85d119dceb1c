// The POS array: a block of references to other POS objects.
#pragma once

#include "pos/base_object.h"

namespace NPOSObjectImpl {

// Slots that were skipped over are empty and count as elements. A failing operation leaves the
// array as it was.
class Array final : public ZEL_T_NMT::OwnArray {
 public:
  static constexpr POSObjectType kType = POSTypeArray;
  static constexpr const char* kMismatch = "instance was not an POSArray";

  Array() noexcept = default;
  ~Array();

  Array* Clone() const;
  bool IsEqual(const Array& other) const;

  // Raises the allocation failure for an index whose storage does not fit in 32 bits.
  void SetAt(std::uint32_t index, ZEL_T_NMT::ContainerReference value);
  void Append(ZEL_T_NMT::ContainerReference&& value) {
    // Whoever gives the block may fill it at once. Capacities stay far below 32 bits.
    while (!AppendInPlace(std::move(value))) Grow(count_ + 1);  // NOLINT(bugprone-use-after-move)
  }
  void Remove(std::uint32_t index);

 private:
  void Grow(std::uint32_t need);
};

}  // namespace NPOSObjectImpl
