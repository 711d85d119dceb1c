// The hash index of the atoms: at each place the first atom of those whose hashes lead there.
//
// The link from one atom to the next lies in its entry, and so does the text that its hash is made
// from: the index itself has four bytes a place, so that it mostly stays in the processor's cache.
// `nextOf` gives an atom's link, `hashOf` its hash.
//
// Usable without having been constructed; holds nothing once closed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <new>

#include "zelutils/types.h"

namespace zelhost {

class AtomIndex {
 public:
  // False when there is no memory.
  bool Open() noexcept { return Allocate(kFirstSize); }
  void Close() noexcept {
    delete[] first_;
    *this = AtomIndex();
  }

  // The link to the first of the atoms whose hashes lead to the same place; each leads to the next
  // newer one, and 0 is the end: the oldest are met first, and mostly they are removed first.
  ZELStringAtom& First(std::uint32_t hash) const noexcept { return first_[hash & mask_]; }

  // Whether there should be more room before another atom is added.
  bool IsFull() const noexcept { return used_ > mask_; }
  // Makes room if there is memory for it; without, the atoms share what there is.
  template <typename HashOf, typename NextOf>
  void Grow(HashOf hashOf, NextOf nextOf) noexcept {
    AtomIndex larger;
    if (!larger.Allocate((mask_ + 1) * 2)) return;
    larger.used_ = used_;
    for (std::size_t place = 0; place <= mask_; ++place) {
      ZELStringAtom* ends[] = {&larger.first_[place], &larger.first_[place + mask_ + 1]};
      for (ZELStringAtom atom = first_[place]; atom != 0; atom = nextOf(atom)) {
        ZELStringAtom*& end = ends[(hashOf(atom) & (mask_ + 1)) == 0 ? 0 : 1];
        *end = atom;
        end = &nextOf(atom);
      }
      for (ZELStringAtom* end : ends) *end = 0;
    }
    Close();
    *this = larger;
  }
  // Behind the last of its place.
  void Add(ZELStringAtom atom, ZELStringAtom& end) noexcept {
    end = atom;
    ++used_;
  }
  // Of an atom that is there, with what is next to it.
  template <typename NextOf>
  void Remove(ZELStringAtom atom, ZELStringAtom next, std::uint32_t hash, NextOf nextOf) noexcept {
    ZELStringAtom* link = &first_[hash & mask_];
    while (*link != atom) link = &nextOf(*link);
    *link = next;
    --used_;
  }

 private:
  static constexpr std::size_t kFirstSize = 1024;  // a power of two

  bool Allocate(std::size_t size) noexcept {
    first_ = new (std::nothrow) ZELStringAtom[size]();
    mask_ = size - 1;
    return first_ != nullptr;
  }

  ZELStringAtom* first_ = nullptr;
  std::size_t mask_ = 0;
  std::size_t used_ = 0;
};

}  // namespace zelhost
