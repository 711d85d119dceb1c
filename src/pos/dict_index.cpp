#include "pos/dict_index.h"

#include <algorithm>

#include "pos/key_hash.h"

namespace NPOSObjectImpl {

DictIndex::DictIndex(const DictStore& store) noexcept {
  const std::uint64_t slots = SlotsFor(store.Capacity());
  if (slots == 0) return;
  DrawHashSecret();
  mask_ = static_cast<std::uint32_t>(slots - 1);
  std::fill_n(Slots(store), static_cast<std::size_t>(slots), kFreeSlot);
}

void DictIndex::Add(const DictStore& store, std::uint32_t number,
                    std::uint32_t hash) const noexcept {
  if (!IsThere()) return;
  const std::uint32_t* const slots = Slots(store);
  std::uint32_t slot = hash & mask_;
  while (slots[slot] != kFreeSlot) {
    CountProbe();
    slot = After(slot);
  }
  Take(store, slot, number, hash);
}

void DictIndex::Remove(const DictStore& store, std::uint32_t number) const noexcept {
  if (!IsThere()) return;
  std::uint32_t* const slots = Slots(store);
  std::uint32_t gap = store[number].key.hash & mask_;
  while ((slots[gap] & mask_) != number || slots[gap] == kFreeSlot) gap = After(gap);

  // An entry behind the gap moves into it unless its probes begin behind the gap.
  for (std::uint32_t slot = After(gap); slots[slot] != kFreeSlot; slot = After(slot)) {
    CountProbe();
    const std::uint32_t start = store[slots[slot] & mask_].key.hash & mask_;
    if (((slot - start) & mask_) < ((slot - gap) & mask_)) continue;
    slots[gap] = slots[slot];
    gap = slot;
  }
  slots[gap] = kFreeSlot;
}

}  // namespace NPOSObjectImpl
