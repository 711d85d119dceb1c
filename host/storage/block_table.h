// A table of blocks by their addresses: what is known of each stands beside the blocks, so that no
// address has to be read from to find out whether it is a block's.
#pragma once

#include <cstddef>
#include <cstdint>
#include <new>

namespace zelhost {

struct LiveBlock {
  void* address;
  std::size_t size;
  std::uint32_t number;  // of the allocation, in guard mode; else 0
};

// Open addressing; at least a quarter of the slots is free. Usable without having been constructed,
// and empty once closed.
class BlockTable {
 public:
  void Close() noexcept {
    delete[] slots_;
    *this = BlockTable();
  }

  // False when there is no memory. Always succeeds right after a removal.
  bool Add(const LiveBlock& block) noexcept {
    if (count_ >= size_ / 4 * 3 && !Grow()) return false;
    Enter(block);
    ++count_;
    return true;
  }

  LiveBlock* Find(const void* address) const noexcept {
    if (size_ == 0 || address == nullptr) return nullptr;
    for (std::size_t slot = SlotOf(address); slots_[slot].address != nullptr; slot = After(slot)) {
      if (slots_[slot].address == address) return &slots_[slot];
    }
    return nullptr;
  }

  // Closes the gap, so that no search ends too early.
  void Remove(LiveBlock* block) noexcept {
    auto gap = static_cast<std::size_t>(block - slots_);
    for (std::size_t slot = After(gap); slots_[slot].address != nullptr; slot = After(slot)) {
      const std::size_t distance = (slot - SlotOf(slots_[slot].address)) & (size_ - 1);
      if (distance < ((slot - gap) & (size_ - 1))) continue;
      slots_[gap] = slots_[slot];
      gap = slot;
    }
    slots_[gap].address = nullptr;
    --count_;
  }

  template <typename Visit>
  void ForEach(Visit visit) const {
    for (std::size_t slot = 0; slot < size_; ++slot) {
      if (slots_[slot].address != nullptr) visit(slots_[slot]);
    }
  }

 private:
  static constexpr std::size_t kFirstSize = 64;  // a power of two

  std::size_t After(std::size_t slot) const noexcept { return (slot + 1) & (size_ - 1); }
  std::size_t SlotOf(const void* address) const noexcept {
    const std::uint64_t hash =
        (reinterpret_cast<std::uintptr_t>(address) >> 4) * std::uint64_t{0x9E3779B97F4A7C15u};
    return static_cast<std::size_t>(hash >> 32) & (size_ - 1);
  }
  void Enter(const LiveBlock& block) noexcept {
    std::size_t slot = SlotOf(block.address);
    while (slots_[slot].address != nullptr) slot = After(slot);
    slots_[slot] = block;
  }
  bool Grow() noexcept {
    const std::size_t oldSize = size_;
    const std::size_t newSize = oldSize == 0 ? kFirstSize : oldSize * 2;
    auto* larger = new (std::nothrow) LiveBlock[newSize]();
    if (larger == nullptr) return false;
    const LiveBlock* old = slots_;
    slots_ = larger;
    size_ = newSize;
    for (std::size_t slot = 0; slot < oldSize; ++slot) {
      if (old[slot].address != nullptr) Enter(old[slot]);
    }
    delete[] old;
    return true;
  }

  LiveBlock* slots_ = nullptr;
  std::size_t size_ = 0;
  std::size_t count_ = 0;
};

}  // namespace zelhost
