// The order of a dictionary's keys: the numbers of its entries, sorted by the bytes of their keys.
//
// It is made when somebody asks for it: a dictionary that is only filled and looked up never pays
// for it. From then on it takes in what has come since, one by one where that is little and by
// sorting where it is much.
//
// The numbers lie in leaves. A larger dictionary has many, linked as a skip list: a
// search goes along the few leaves of the highest level and comes down from level to level, so that
// it takes a logarithmic number of comparisons, and so does adding or removing a key. All of it
// lies in a place of the dictionary's block: nothing here can fail.
#pragma once

#include <cstddef>
#include <cstdint>

#include "pos/dict_store.h"

namespace NPOSObjectImpl {

class DictOrder {
 public:
  // A leaf and a position in it. Places stay the same as long as the version does.
  using Place = std::uint32_t;
  static constexpr Place kEnd = 0xFFFFFFFFu;

  static std::size_t BytesFor(std::uint32_t capacity) noexcept;

  DictOrder() noexcept = default;
  // Empty, in the place behind a store.
  explicit DictOrder(const DictStore& store) noexcept;
  // Goes on behind another store with the numbers that MoveTo has given to the entries.
  void MoveTo(DictOrder& target, const DictStore& from, const DictStore& to) const noexcept;

  // Of an entry that has just been added to the store, or is about to be removed from it.
  void Add(const DictStore& store, std::uint32_t number) noexcept {
    // One that is behind all others is taken in when somebody asks for the order.
    if (number >= covered_) return;
    Insert(store, number);
    ++version_;
  }
  void Remove(const DictStore& store, std::uint32_t number) noexcept;

  // The first place, the one after another, and the first one with a key greater than `key`; kEnd
  // where there is none.
  Place First(const DictStore& store) noexcept;
  Place After(const DictStore& store, Place place) const noexcept {
    const std::uint32_t leaf = place / kPlacesOfLeaf;
    return place % kPlacesOfLeaf + 1 < Count(store, leaf) ? place + 1 : FirstOf(Next(store, leaf));
  }
  // The number of places from this one to the end of its leaf: each is the one before it plus 1.
  std::uint32_t RunFrom(const DictStore& store, Place place) const noexcept {
    return Count(store, place / kPlacesOfLeaf) - place % kPlacesOfLeaf;
  }
  Place AfterKey(const DictStore& store, const char* key) noexcept;
  // The numbers by place.
  static std::uint32_t* AllNumbers(const DictStore& store) noexcept {
    return static_cast<std::uint32_t*>(store.Behind());
  }
  // The number at so many places further on, if it is in the same leaf or the next one, or kNone.
  std::uint32_t Ahead(const DictStore& store, Place place, std::uint32_t distance) const noexcept {
    std::uint32_t leaf = place / kPlacesOfLeaf;
    std::uint32_t position = place % kPlacesOfLeaf + distance;
    if (position >= Count(store, leaf)) {
      position -= Count(store, leaf);
      leaf = Next(store, leaf);
      if (leaf == kNone || position >= Count(store, leaf)) return kNone;
    }
    return Numbers(store, leaf)[position];
  }
  // Whether places of that version are those of now.
  bool IsCurrent(const DictStore& store, std::uint32_t version) const noexcept {
    return version == version_ && covered_ == store.End();
  }
  std::uint32_t Version() const noexcept { return version_; }

 private:
  static constexpr std::uint32_t kLevels = 10;
  static constexpr std::uint32_t kPlacesOfLeaf = 64;
  static constexpr std::uint32_t kLeafSize = kPlacesOfLeaf - kLevels - 3;
  static constexpr std::uint32_t kFill = 45;  // of a leaf that is made by sorting
  static constexpr std::uint32_t kHead = 0;   // the first leaf: the only one that may be empty
  static constexpr std::uint32_t kLargestOfOneLeaf = 48;

  // A leaf that is the only one has the numbers alone, and as many as there is room for entries.
  struct Leaf {
    std::uint32_t numbers[kLeafSize];
    std::uint32_t count;          // not in the head, whose count is headCount_
    std::uint32_t next[kLevels];  // at each level that the leaf is part of
    // In the head alone: all leaves in use are below the first one; the second one is the first of
    // those that are not.
    std::uint32_t leafEnd;
    std::uint32_t freeLeaf;
  };
  static_assert(sizeof(Leaf) == kPlacesOfLeaf * sizeof(std::uint32_t));
  // Keys up to and including `key`, or only those before it.
  enum class Bound { kUpTo, kBefore };

  static constexpr std::uint32_t LeavesFor(std::uint32_t capacity) noexcept {
    return capacity <= kLargestOfOneLeaf ? 1 : capacity / 39 + 2;
  }
  static bool HasLinks(const DictStore& store) noexcept {
    return store.Capacity() > kLargestOfOneLeaf;
  }
  static Leaf* Leaves(const DictStore& store) noexcept {
    return static_cast<Leaf*>(store.Behind());
  }
  static std::uint32_t* Numbers(const DictStore& store, std::uint32_t leaf) noexcept {
    return AllNumbers(store) + std::size_t{leaf} * kPlacesOfLeaf;
  }
  std::uint32_t& Count(const DictStore& store, std::uint32_t leaf) noexcept {
    return leaf == kHead ? headCount_ : Leaves(store)[leaf].count;
  }
  std::uint32_t Count(const DictStore& store, std::uint32_t leaf) const noexcept {
    return leaf == kHead ? headCount_ : Leaves(store)[leaf].count;
  }
  static std::uint32_t Next(const DictStore& store, std::uint32_t leaf) noexcept {
    return HasLinks(store) ? Leaves(store)[leaf].next[0] : kNone;
  }
  static constexpr Place FirstOf(std::uint32_t leaf) noexcept {
    return leaf == kNone ? kEnd : leaf * kPlacesOfLeaf;
  }

  void Absorb(const DictStore& store) noexcept;
  void Insert(const DictStore& store, std::uint32_t number) noexcept;
  static void SortAll(const DictStore& store, std::uint32_t sorted, std::uint32_t count) noexcept;
  std::uint32_t Flatten(const DictStore& store) const noexcept;
  void Spread(const DictStore& store, std::uint32_t count) noexcept;
  static void LinkLeaves(const DictStore& store) noexcept;
  static std::uint32_t FindLeaf(const DictStore& store, const char* key, Bound bound,
                                std::uint32_t* path) noexcept;
  std::uint32_t Split(const DictStore& store, std::uint32_t leaf, std::uint32_t* path) noexcept;
  static void Unlink(const DictStore& store, std::uint32_t leaf) noexcept;

  std::uint32_t headCount_ = 0;
  std::uint32_t covered_ = 0;  // entries with smaller numbers are in the leaves
  std::uint32_t version_ = 0;
};

}  // namespace NPOSObjectImpl
