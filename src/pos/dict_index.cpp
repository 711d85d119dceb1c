#include "pos/dict_index.h"

#include <algorithm>

#include "pos/key_hash.h"

namespace NPOSObjectImpl {

DictIndex::DictIndex(std::uint32_t* place, std::uint32_t capacity) noexcept {
  const std::uint64_t slots = SlotsFor(capacity);
  if (slots == 0) return;
  DrawHashSecret();
  slots_ = place;
  mask_ = static_cast<std::uint32_t>(slots - 1);
  std::fill_n(slots_, static_cast<std::size_t>(slots), kFreeSlot);
}

void DictIndex::Add(std::uint32_t number, std::uint32_t hash) noexcept {
  if (slots_ == nullptr) return;
  std::uint32_t slot = hash & mask_;
  while (slots_[slot] != kFreeSlot) {
    CountProbe();
    slot = After(slot);
  }
  Take(slot, number, hash);
}

void DictIndex::Remove(const DictStore& store, std::uint32_t number) noexcept {
  if (slots_ == nullptr) return;
  std::uint32_t gap = store[number].key.hash & mask_;
  while ((slots_[gap] & mask_) != number || slots_[gap] == kFreeSlot) gap = After(gap);

  // An entry behind the gap moves into it unless its probes begin behind the gap.
  for (std::uint32_t slot = After(gap); slots_[slot] != kFreeSlot; slot = After(slot)) {
    CountProbe();
    const std::uint32_t start = store[slots_[slot] & mask_].key.hash & mask_;
    if (((slot - start) & mask_) < ((slot - gap) & mask_)) continue;
    slots_[gap] = slots_[slot];
    gap = slot;
  }
  slots_[gap] = kFreeSlot;
}

}  // namespace NPOSObjectImpl
