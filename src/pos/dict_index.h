// The hash index over a dictionary's entries: open addressing with linear probing.
//
// A taken slot has an entry's number in the bits of its mask and the key's hash in those above,
// which keeps most other keys' entries from being looked at. Removal closes the gap in the run of
// taken slots, so that no probe ever passes a slot of an entry that is gone. A small dictionary has
// no index: looking at all entries is faster.
#pragma once

#include <cstddef>
#include <cstdint>

#include "pos/dict_store.h"
#include "pos/work_count.h"

namespace NPOSObjectImpl {

// Uses a place of its owner's block.
class DictIndex {
 public:
  static constexpr std::uint32_t kLargestWithoutIndex = 8;
  // The smallest capacity with an index; it and all larger ones are this one doubled.
  static constexpr std::uint32_t kFirstCapacity = 12;

  // Three quarters of the slots are taken when the dictionary is full.
  static constexpr std::uint64_t SlotsFor(std::uint32_t capacity) noexcept {
    return capacity > kLargestWithoutIndex ? std::uint64_t{capacity} / 3 * 4 : 0;
  }

  DictIndex() noexcept = default;
  // All slots are free.
  DictIndex(std::uint32_t* place, std::uint32_t capacity) noexcept;

  bool IsThere() const noexcept { return slots_ != nullptr; }

  // The slot of the entry with this key, or the free one where such an entry belongs; the index
  // must be there.
  std::uint32_t Find(const DictStore& store, SoughtKey key, std::uint32_t hash) const noexcept {
    std::uint32_t slot = hash & mask_;
    for (; slots_[slot] != kFreeSlot; slot = After(slot)) {
      CountProbe();
      if (((slots_[slot] ^ hash) & ~mask_) != 0) continue;
      if (IsSameKey(store.Text(slots_[slot] & mask_), key)) break;
    }
    return slot;
  }
  // The number of the entry in a slot, kNone for a free one.
  std::uint32_t NumberIn(std::uint32_t slot) const noexcept {
    return slots_[slot] == kFreeSlot ? kNone : slots_[slot] & mask_;
  }
  // Takes a free slot that Find has given.
  void Take(std::uint32_t slot, std::uint32_t number, std::uint32_t hash) noexcept {
    slots_[slot] = (hash & ~mask_) | number;
  }
  // These two do nothing without an index.
  void Add(std::uint32_t number, std::uint32_t hash) noexcept;
  // Of an entry that is still in the store.
  void Remove(const DictStore& store, std::uint32_t number) noexcept;

 private:
  // No slot has it: there are more slots than entries, so that no number has all bits of the mask.
  static constexpr std::uint32_t kFreeSlot = 0xFFFFFFFFu;

  std::uint32_t After(std::uint32_t slot) const noexcept { return (slot + 1) & mask_; }

  std::uint32_t* slots_ = nullptr;
  std::uint32_t mask_ = 0;
};

}  // namespace NPOSObjectImpl
