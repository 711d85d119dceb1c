// The entries of a dictionary: found by a hash of their key, walked in the order of their keys.
//
// Index, store and order lie one after another in one block of the host's memory. The block grows
// by doubling when it is full, and shrinks when little of it is in use, so that what a dictionary
// takes and what walking it costs depend on the entries it has, not on those it had. A new block is
// the only thing that can fail here, and the host that gives one or takes one back the only one
// that is called: it may use the very dictionary meanwhile.
#pragma once

#include <cstdint>
#include <utility>

#include "pos/dict_index.h"
#include "pos/dict_order.h"
#include "pos/dict_store.h"

namespace NPOSObjectImpl {

class DictEntries {
 public:
  using Place = DictOrder::Place;

  DictEntries() noexcept = default;
  DictEntries(DictEntries&& other) noexcept;
  DictEntries& operator=(DictEntries&&) = delete;
  ~DictEntries();

  bool IsEmpty() const noexcept { return store_.Live() == 0; }
  std::uint32_t Count() const noexcept { return store_.Live(); }

  // The number of the entry with this key, or kNone. Only ShrinkIfSparse changes numbers.
  std::uint32_t Find(const char* key) const noexcept {
    if (!index_.IsThere()) {
      // Texts of atoms are mostly the same when they are equal.
      for (std::uint32_t number = 0; number < store_.End(); ++number) {
        if (store_.Text(number) == key) return number;
      }
    }
    return FindByBytes(key);
  }
  // The same for a key that is to be put there if it is new, as most are: with room for it, and
  // what Insert has to know of its place. Raises as Reserve does.
  struct Sought {
    std::uint32_t number;
    std::uint32_t hash;  // 0 where there is no index
    std::uint32_t slot;  // of the index
  };
  Sought FindToPut(const char* key) {
    Sought place = Seek(key);
    while (place.number == kNone && store_.IsFull()) [[unlikely]] {
        Grow();
        place = Seek(key);
      }
    return place;
  }
  // The same for a key that is part of a longer text.
  std::uint32_t Find(SoughtKey key) const noexcept;
  DictEntry& At(std::uint32_t number) const noexcept { return store_[number]; }
  // All numbers are below this one; those of removed entries have no text.
  std::uint32_t End() const noexcept { return store_.End(); }

  // Makes room for so many entries at once. Raises the allocation failure, and then leaves
  // everything as it was.
  void Reserve(std::uint32_t count);
  // Adds an entry under a key that is not there, whose hash may be 0; raises as Reserve does.
  void Insert(ZEL_T_NMT::CZELStringAtom&& key, std::uint32_t hash,
              ZEL_T_NMT::ContainerReference&& value);
  // The same right after FindToPut.
  void Insert(ZEL_T_NMT::CZELStringAtom&& key, const Sought& place,
              ZEL_T_NMT::ContainerReference&& value) noexcept {
    const std::uint32_t number = store_.Add(std::move(key), place.hash, std::move(value));
    if (index_.IsThere()) index_.Take(store_, place.slot, number, place.hash);
    order_.Add(store_, number);
  }
  // Takes an entry out and returns what it held, for the caller to let go of.
  DictEntry Remove(std::uint32_t number) noexcept;

  // Whether so little of the block is in use that a smaller one would do.
  bool IsSparse() const noexcept;
  // Moves to a smaller block, which gives entries other numbers; stays where it is when the host
  // has none. Returns the old block, which tells them; without any where nothing has moved.
  DictEntries ShrinkIfSparse() noexcept;
  bool HasBlock() const noexcept { return store_.Begin() != nullptr; }
  // Of an old block: the number that an entry of the old number has now.
  std::uint32_t NewNumber(std::uint32_t number) const noexcept { return store_.NewNumber(number); }

  // Places in key order. They stay the same until PlacesAreOf(version) becomes false; AfterKey then
  // finds the way again.
  static constexpr Place kEnd = DictOrder::kEnd;
  Place First() noexcept { return order_.First(store_); }
  Place After(Place place) const noexcept { return order_.After(store_, place); }
  // The numbers of a place and of those that follow it side by side: all while places stay the
  // same.
  struct Run {
    const std::uint32_t* numbers;
    std::uint32_t left;

    // False, and nothing has changed, at the last one.
    bool Step() noexcept {
      if (left <= 1) return false;
      --left;
      ++numbers;
      return true;
    }
  };
  Run RunFrom(Place place) const noexcept {
    return {DictOrder::AllNumbers(store_) + place, order_.RunFrom(store_, place)};
  }
  Place AfterKey(const char* key) noexcept { return order_.AfterKey(store_, key); }
  std::uint32_t NumberAt(Place place) const noexcept {
    return DictOrder::AllNumbers(store_)[place];
  }
  bool PlacesAreOf(std::uint32_t version) const noexcept {
    return order_.IsCurrent(store_, version);
  }
  std::uint32_t PlacesVersion() const noexcept { return order_.Version(); }

  // Whether a walk is faster when the processor fetches ahead what it will need next.
  bool IsLarge() const noexcept { return store_.Capacity() > kLargestInCache; }
  void PrefetchAfter(Place place, const Run& run) const noexcept {
    if (run.left <= kFarthest) [[unlikely]]
      return PrefetchNearEnd(place, run);
    Prefetch(run.numbers[kNear], run.numbers[kFar], run.numbers[kFarthest]);
  }

 private:
  // Without entries, in a new block; without any for a capacity of 0.
  explicit DictEntries(std::uint32_t capacity);

  std::uint32_t FindByBytes(const char* key) const noexcept;
  Sought Seek(const char* key) const noexcept;
  void Grow();
  void MoveTo(DictEntries& target) noexcept;

  // Entries ahead in a walk, each with what has arrived by then: the entry, what it points to, and
  // the object of its value.
  static constexpr std::uint32_t kFarthest = 3 * kPrefetchDistance;
  static constexpr std::uint32_t kFar = 2 * kPrefetchDistance;
  static constexpr std::uint32_t kNear = kPrefetchDistance;
  void Prefetch(std::uint32_t near, std::uint32_t far, std::uint32_t farthest) const noexcept {
    store_.PrefetchEntry(farthest);
    ZEL_T_NMT::Prefetch(store_.Text(far));
    store_.PrefetchRecord(far);
    store_.PrefetchObject(near);
  }
  void PrefetchNearEnd(Place place, const Run& run) const noexcept;

  static constexpr std::uint32_t kLargestInCache = 6144;  // with members of some 200 bytes

  DictStore store_;
  DictIndex index_;
  DictOrder order_;
};

}  // namespace NPOSObjectImpl
