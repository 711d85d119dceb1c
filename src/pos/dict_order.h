// The order of a dictionary's keys: the numbers of its entries, sorted by the bytes of their keys.
//
// It is made when somebody asks for it: a dictionary that is only filled and looked up never pays
// for it. From then on it takes in what has come since, one by one where that is little and by
// sorting where it is much.
//
// The numbers lie in leaves of up to 64. A larger dictionary has many, linked as a skip list: a
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
  DictOrder(void* place, std::uint32_t capacity) noexcept;
  // Goes on at another place with the numbers that the store's entries have been given by MoveTo.
  void MoveTo(DictOrder& target, const DictStore& from) noexcept;

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
  Place After(Place place) const noexcept {
    const std::uint32_t leaf = place / kLeafSize;
    return place % kLeafSize + 1 < Count(leaf) ? place + 1 : FirstOf(Next(leaf));
  }
  // The number of places from this one to the end of its leaf: each is the one before it plus 1.
  std::uint32_t RunFrom(Place place) const noexcept {
    return Count(place / kLeafSize) - place % kLeafSize;
  }
  Place AfterKey(const DictStore& store, const char* key) noexcept;
  std::uint32_t At(Place place) const noexcept { return numbers_[place]; }
  // The number at so many places further on, if it is in the same leaf or the next one, or kNone.
  std::uint32_t Ahead(Place place, std::uint32_t distance) const noexcept {
    std::uint32_t leaf = place / kLeafSize;
    std::uint32_t position = place % kLeafSize + distance;
    if (position >= Count(leaf)) {
      position -= Count(leaf);
      leaf = Next(leaf);
      if (leaf == kNone || position >= Count(leaf)) return kNone;
    }
    return Numbers(leaf)[position];
  }
  // Whether so many places further on is the same leaf, whose numbers At finds.
  bool IsInLeaf(Place place, std::uint32_t distance) const noexcept {
    return place % kLeafSize + distance < Count(place / kLeafSize);
  }

  // Whether places of that version are those of now.
  bool IsCurrent(const DictStore& store, std::uint32_t version) const noexcept {
    return version == version_ && covered_ == store.End();
  }
  std::uint32_t Version() const noexcept { return version_; }

 private:
  static constexpr std::uint32_t kLeafSize = 64;
  static constexpr std::uint32_t kFill = 56;  // of a leaf that is made by sorting
  static constexpr std::uint32_t kHead = 0;   // the first leaf: the only one that may be empty
  static constexpr std::uint32_t kLevels = 11;
  static constexpr std::uint32_t kLargestOfOneLeaf = 48;

  struct Leaf {
    std::uint32_t count;
    std::uint32_t next[kLevels];  // at each level that the leaf is part of
  };
  // Keys up to and including `key`, or only those before it.
  enum class Bound { kUpTo, kBefore };

  static constexpr std::uint32_t LeavesFor(std::uint32_t capacity) noexcept {
    return capacity <= kLargestOfOneLeaf ? 1 : capacity / 48 + 2;
  }
  bool HasLinks() const noexcept { return leaves_ != nullptr; }
  std::uint32_t& Count(std::uint32_t leaf) noexcept {
    // Leaves other than the head are there.
    // NOLINTNEXTLINE(clang-analyzer-core.uninitialized.UndefReturn)
    return leaf == kHead ? headCount_ : leaves_[leaf].count;
  }
  std::uint32_t Count(std::uint32_t leaf) const noexcept {
    return leaf == kHead ? headCount_ : leaves_[leaf].count;
  }
  std::uint32_t Next(std::uint32_t leaf) const noexcept {
    return HasLinks() ? leaves_[leaf].next[0] : kNone;
  }
  std::uint32_t* Numbers(std::uint32_t leaf) const noexcept {
    return numbers_ + std::size_t{leaf} * kLeafSize;
  }
  static constexpr Place FirstOf(std::uint32_t leaf) noexcept {
    return leaf == kNone ? kEnd : leaf * kLeafSize;
  }

  void Absorb(const DictStore& store) noexcept;
  void Insert(const DictStore& store, std::uint32_t number) noexcept;
  void SortAll(const DictStore& store, std::uint32_t sorted, std::uint32_t count) noexcept;
  std::uint32_t Flatten() noexcept;
  void Spread(std::uint32_t count) noexcept;
  void LinkLeaves() noexcept;
  std::uint32_t FindLeaf(const DictStore& store, const char* key, Bound bound,
                         std::uint32_t* path) const noexcept;
  std::uint32_t Split(const DictStore& store, std::uint32_t leaf, std::uint32_t* path) noexcept;
  void Unlink(const DictStore& store, std::uint32_t leaf) noexcept;

  std::uint32_t* numbers_ = nullptr;
  Leaf* leaves_ = nullptr;  // null where there is one leaf alone
  std::uint32_t leafLimit_ = 0;
  std::uint32_t leafEnd_ = 1;  // all leaves in use are below this one
  std::uint32_t freeLeaf_ = kNone;
  std::uint32_t headCount_ = 0;
  std::uint32_t covered_ = 0;  // entries with smaller numbers are in the leaves
  std::uint32_t version_ = 0;
};

}  // namespace NPOSObjectImpl
