// The hash index of the atoms: open addressing with linear probing.
//
// Beside each slot, in a table of its own that is small enough to stay in the processor's cache,
// there is a byte of the hash. A search for a text that is new, and most of one for any other, is
// done there: the slots themselves are looked at where the byte is right. Removal closes the gap in
// the run of taken slots, so that no search ends too early.
//
// Usable without having been constructed; holds nothing once closed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "zelutils/types.h"

namespace zelhost {

class AtomIndex {
 public:
  // Throws bad_alloc.
  void Open() { Allocate(kFirstSize); }
  void Close() noexcept {
    delete[] slots_;
    delete[] tags_;
    *this = AtomIndex();
  }
  bool IsOpen() const noexcept { return slots_ != nullptr; }

  // The place of the atom that `isSought` says yes to, of those that have the hash; without such an
  // atom the free place where it belongs.
  template <typename IsSought>
  std::size_t Find(std::uint32_t hash, IsSought isSought) const noexcept {
    std::size_t place = hash & mask_;
    for (; tags_[place] != kFree; place = After(place)) {
      if (tags_[place] == TagOf(hash) && slots_[place].hash == hash &&
          isSought(slots_[place].atom)) {
        break;
      }
    }
    return place;
  }
  // The atom at a place, 0 at a free one.
  ZELStringAtom At(std::size_t place) const noexcept {
    return tags_[place] == kFree ? 0 : slots_[place].atom;
  }
  // An atom that has the hash, if there is one in the first two places where it may be; else 0. Of
  // the two, one is chosen without a branch, since there is no telling which one it is.
  ZELStringAtom FindAtFirst(std::uint32_t hash) const noexcept {
    std::size_t place = hash & mask_;
    place = (place + (tags_[place] != TagOf(hash) ? 1 : 0)) & mask_;
    return tags_[place] == TagOf(hash) && slots_[place].hash == hash ? slots_[place].atom : 0;
  }

  // Whether there has to be more room before another atom is added.
  bool IsFull() const noexcept { return used_ >= mask_ / 2; }
  // Makes room; places change. Throws bad_alloc.
  void Grow() {
    AtomIndex larger;
    larger.Allocate((mask_ + 1) * 2);
    for (std::size_t place = 0; place <= mask_; ++place) {
      if (tags_[place] != kFree) larger.Add(slots_[place].atom, slots_[place].hash);
    }
    Close();
    *this = larger;
  }
  void Add(ZELStringAtom atom, std::uint32_t hash) noexcept {
    AddAt(Find(hash, [](ZELStringAtom) { return false; }), atom, hash);
  }
  // The same at the place that Find has given.
  void AddAt(std::size_t place, ZELStringAtom atom, std::uint32_t hash) noexcept {
    tags_[place] = TagOf(hash);
    slots_[place] = {atom, hash};
    ++used_;
  }
  // Of an atom that is there.
  void Remove(ZELStringAtom atom, std::uint32_t hash) noexcept {
    std::size_t gap = Find(hash, [atom](ZELStringAtom found) { return found == atom; });
    for (std::size_t place = After(gap); tags_[place] != kFree; place = After(place)) {
      const std::size_t distance = (place - slots_[place].hash) & mask_;
      if (distance < ((place - gap) & mask_)) continue;
      slots_[gap] = slots_[place];
      tags_[gap] = tags_[place];
      gap = place;
    }
    tags_[gap] = kFree;
    --used_;
  }

 private:
  using Tag = std::uint8_t;
  struct Slot {
    ZELStringAtom atom;
    std::uint32_t hash;
  };
  static constexpr std::size_t kFirstSize = 1024;  // a power of two
  static constexpr Tag kFree = 0;

  // Of the bits that places do not come from; never kFree.
  static Tag TagOf(std::uint32_t hash) noexcept { return static_cast<Tag>(hash >> 24 | 1); }
  std::size_t After(std::size_t place) const noexcept { return (place + 1) & mask_; }

  // Throws bad_alloc.
  void Allocate(std::size_t size) {
    auto tags = std::make_unique<Tag[]>(size);
    slots_ = new Slot[size];
    tags_ = tags.release();
    mask_ = size - 1;
  }

  Slot* slots_ = nullptr;  // of taken places alone
  Tag* tags_ = nullptr;
  std::size_t mask_ = 0;
  std::size_t used_ = 0;
};

}  // namespace zelhost
