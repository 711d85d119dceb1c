// The entries of a dictionary: found by a hash of their key, walked in the order of their keys.
//
// All lies in one block of the host's memory: the entries in the order of their insertion, their
// numbers in key order, and from a certain size on a hash index. The key order is made when
// somebody asks for it: a dictionary that is only filled and looked up never pays for it, and keys
// that come in ascending order need no work. A removed entry leaves a gap until the block is next
// replaced. The entries themselves stay in the order of their insertion, in which their values were
// mostly made: so a host gets them back in that order too.
#pragma once

#include <cstdint>

#include "frame/core/container_reference.h"
#include "frame/core/string_atom.h"

namespace NPOSObjectImpl {

class DictEntries {
 public:
  struct Key : ZEL_T_NMT::CZELStringAtom {
    Key(ZEL_T_NMT::CZELStringAtom key, std::uint32_t keyHash) noexcept
        : CZELStringAtom(std::move(key)), hash(keyHash) {}
    std::uint32_t hash;
  };
  struct Entry {
    Key key;  // empty: the entry was removed
    ZEL_T_NMT::ContainerReference value;
  };
  static constexpr std::uint32_t kNone = 0xFFFFFFFFu;  // no entry

  DictEntries() noexcept = default;
  DictEntries(DictEntries&& other) noexcept;
  DictEntries& operator=(DictEntries&&) = delete;
  ~DictEntries();

  bool IsEmpty() const noexcept { return live_ == 0; }
  std::uint32_t Count() const noexcept { return live_; }

  // The number of the entry with this key, or kNone. Only an Insert that renumbers changes it.
  std::uint32_t Find(const char* key) const noexcept;
  // The same with the key's hash at hand.
  std::uint32_t Find(const char* key, std::uint32_t hash) const noexcept;
  Entry& At(std::uint32_t number) const noexcept {
    return entries_[number];  // NOLINT(clang-analyzer-core.uninitialized.UndefReturn)
  }

  // Makes room for so many entries at once. Raises the allocation failure, and then leaves
  // everything as it was.
  void Reserve(std::uint32_t count);
  // Adds an entry under a key that is not there; raises as Reserve does.
  void Insert(Key key, ZEL_T_NMT::ContainerReference value);
  // Whether the next Insert gives the entries other numbers.
  bool InsertRenumbers() const noexcept { return used_ == capacity_ && live_ < used_; }

  // Takes an entry out and returns what it held, for the caller to let go of.
  Entry Remove(std::uint32_t number) noexcept;

  // Places in key order count from 0 to EndPlace(); some may be gaps. They stay the same as long as
  // PlacesVersion() does; once it has changed, PlaceAfter finds the way again.
  std::uint32_t FirstPlace() noexcept;
  std::uint32_t EndPlace() const noexcept { return ordered_; }
  // The first place with a key greater than this one.
  std::uint32_t PlaceAfter(const char* key) noexcept;
  // The number of the entry at a place, or kNone for a gap.
  std::uint32_t NumberAt(std::uint32_t place) const noexcept {
    const std::uint32_t number = order_[place];
    return entries_[number].key.Text() == nullptr ? kNone : number;
  }
  // Whether places are known and unchanged since `version`.
  bool PlacesAreOf(std::uint32_t version) const noexcept {
    return version == placesVersion_ && sorted_ == ordered_;
  }
  std::uint32_t PlacesVersion() const noexcept { return placesVersion_; }

  // Has the processor fetch what a walk over a large dictionary will need a few places further on.
  // Texts, records and objects lie all over memory, and waiting for each of them in turn would take
  // longer than everything else.
  void FetchAheadOf(std::uint32_t place) const noexcept {
    if (index_ != nullptr) FetchOrdered(place);
  }

 private:
  struct Block;
  static Block NewBlock(std::uint32_t capacity);
  void Grow();
  void MoveTo(std::uint32_t capacity);
  void FillIndex() noexcept;
  void FetchOrdered(std::uint32_t place) const noexcept;
  void AddToIndex(std::uint32_t number) noexcept;
  void AddToOrder(std::uint32_t number) noexcept;
  void Sort() noexcept;
  void CloseGaps() noexcept;
  bool Precedes(std::uint32_t left, std::uint32_t right) const noexcept;

  Entry* entries_ = nullptr;  // those below used_ are constructed
  std::uint32_t* order_ = nullptr;
  // Null in a small dictionary. A taken slot has an entry's number in the bits of indexMask_ and
  // its hash in those above, which keeps other keys' entries from being looked at.
  std::uint32_t* index_ = nullptr;
  std::uint32_t capacity_ = 0;
  std::uint32_t indexMask_ = 0;
  std::uint32_t used_ = 0;  // entries, removed ones included
  std::uint32_t live_ = 0;  // entries, removed ones not included
  std::uint32_t ordered_ =
      0;  // numbers in order_: the first sorted_ by key, the others as inserted
  std::uint32_t sorted_ = 0;
  std::uint32_t first_ = 0;  // all places below are gaps
  std::uint32_t placesVersion_ = 0;
};

}  // namespace NPOSObjectImpl
