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

// Lies right before the entries, so that it finds its slots from there.
class DictIndex {
 public:
  static constexpr std::uint32_t kLargestWithoutIndex = 8;
  // The smallest capacity with an index; it and all larger ones are this one doubled.
  static constexpr std::uint32_t kFirstCapacity = 12;

  // Three eighths of the slots are taken when the dictionary is full: a search ends at the first
  // slot more often than not. Of a large one three quarters, since more of them would leave the
  // cache.
  static constexpr std::uint64_t SlotsFor(std::uint32_t capacity) noexcept {
    if (capacity <= kLargestWithoutIndex) return 0;
    const std::uint64_t slots = std::uint64_t{capacity} / 3 * 8;
    return slots > kMostSparse ? slots / 2 : slots;
  }

  DictIndex() noexcept = default;
  // All slots are free.
  explicit DictIndex(const DictStore& store) noexcept;

  bool IsThere() const noexcept { return mask_ != 0; }
  // The beginning of what it and the store share.
  void* Begin(const DictStore& store) const noexcept {
    return IsThere() ? static_cast<void*>(Slots(store)) : store.Begin();
  }

  // The slot of the entry with this key, or the free one where such an entry belongs; the index
  // must be there.
  std::uint32_t Find(const DictStore& store, SoughtKey key, std::uint32_t hash) const noexcept {
    const std::uint32_t* const slots = Slots(store);
    std::uint32_t slot = hash & mask_;
    for (; slots[slot] != kFreeSlot; slot = After(slot)) {
      CountProbe();
      if (((slots[slot] ^ hash) & ~mask_) != 0) continue;
      if (IsSameKey(store.Text(slots[slot] & mask_), key)) break;
    }
    return slot;
  }
  // The number of the entry in a slot, kNone for a free one.
  std::uint32_t NumberIn(const DictStore& store, std::uint32_t slot) const noexcept {
    const std::uint32_t taken = Slots(store)[slot];
    return taken == kFreeSlot ? kNone : taken & mask_;
  }
  // Takes a free slot that Find has given.
  void Take(const DictStore& store, std::uint32_t slot, std::uint32_t number,
            std::uint32_t hash) const noexcept {
    Slots(store)[slot] = (hash & ~mask_) | number;
  }
  // These two do nothing without an index.
  void Add(const DictStore& store, std::uint32_t number, std::uint32_t hash) const noexcept;
  // Of an entry that is still in the store.
  void Remove(const DictStore& store, std::uint32_t number) const noexcept;

 private:
  static constexpr std::uint64_t kMostSparse = 1u << 17;

  // No slot has it: there are more slots than entries, so that no number has all bits of the mask.
  static constexpr std::uint32_t kFreeSlot = 0xFFFFFFFFu;

  std::uint32_t After(std::uint32_t slot) const noexcept { return (slot + 1) & mask_; }
  std::uint32_t* Slots(const DictStore& store) const noexcept {
    return reinterpret_cast<std::uint32_t*>(store.Begin()) - (std::size_t{mask_} + 1);
  }

  std::uint32_t mask_ = 0;  // the number of slots less one; 0: there are none
};

}  // namespace NPOSObjectImpl
