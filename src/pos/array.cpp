#include "pos/array.h"

#include <algorithm>
#include <limits>
#include <memory>
#include <utility>

#include "frame/core/nesting.h"
#include "pos/members.h"

namespace NPOSObjectImpl {

using ZEL_T_NMT::ContainerReference;
using ZEL_T_NMT::NestingLevel;

namespace {

// A block's size in bytes fits in 32 bits on every platform.
constexpr std::uint32_t kMaxCapacity =
    std::numeric_limits<std::uint32_t>::max() / sizeof(ZELInstance);

}  // namespace

Array::~Array() {
  // A member that is released may call back into this array: it holds nothing while that happens.
  while (slots_ != nullptr) {
    ZELInstance* const slots = std::exchange(slots_, nullptr);
    const std::uint32_t count = std::exchange(count_, 0);
    capacity_ = 0;
    for (std::uint32_t i = 0; i < count; ++i) ContainerReference::TakeOver(slots[i]);
    ZEL_T_NMT::Memory().Free(static_cast<void*>(slots));
  }
}

Array* Array::Clone() const {
  const NestingLevel level(g_cloneDepth);
  auto copy = std::make_unique<Array>();
  copy->Grow(count_);
  for (std::uint32_t i = 0; i < count_; ++i) {
    const ZELInstance member = GetAt(i);
    copy->Append(member == nullptr ? ContainerReference() : CloneMember(member));
  }
  return copy.release();
}

bool Array::IsEqual(const Array& other) const {
  if (other.count_ != count_) return false;
  const NestingLevel level(g_equalDepth);
  for (std::uint32_t i = 0; i < count_; ++i) {
    const ZELInstance left = GetAt(i);
    const ZELInstance right = other.GetAt(i);
    const bool equal =
        left == nullptr ? right == nullptr : right != nullptr && MembersAreEqual(left, right);
    if (!equal) return false;
  }
  return true;
}

void Array::SetAt(std::uint32_t index, ContainerReference value) {
  if (index == std::numeric_limits<std::uint32_t>::max()) ZEL_T_NMT::RaiseAllocationFailure();
  Grow(index + 1);
  if (index < count_) {
    const auto old = ContainerReference::TakeOver(std::exchange(slots_[index], value.Detach()));
    return;
  }
  while (count_ < index) AppendInPlace(ContainerReference());
  AppendInPlace(std::move(value));
}

void Array::Remove(std::uint32_t index) {
  if (index >= count_) return;
  const auto removed = ContainerReference::TakeOver(slots_[index]);
  std::copy(slots_ + index + 1, slots_ + count_, slots_ + index);
  --count_;
}

void Array::Grow(std::uint32_t need) {
  if (need <= capacity_) return;
  if (need > kMaxCapacity) ZEL_T_NMT::RaiseAllocationFailure();
  std::uint32_t capacity = capacity_ == 0 ? 4 : capacity_;
  while (capacity < need) {
    if (capacity > kMaxCapacity / 2) ZEL_T_NMT::RaiseAllocationFailure();
    capacity *= 2;
  }
  auto* slots = static_cast<ZELInstance*>(ZEL_T_NMT::AllocateBlock(capacity, sizeof(ZELInstance)));
  // The references move with the slots: nothing can fail from here on. Whoever gave the block may
  // have used the array, which has then grown as far by itself.
  ZELInstance* unused = slots;
  if (capacity_ < capacity) {
    std::copy_n(slots_, count_, slots);
    unused = std::exchange(slots_, slots);
    capacity_ = capacity;
  }
  if (unused != nullptr) ZEL_T_NMT::Memory().Free(static_cast<void*>(unused));
}

}  // namespace NPOSObjectImpl
