#include "pos/dict_order.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "pos/work_count.h"

namespace NPOSObjectImpl {
namespace {

// Sorting pays from so many new keys on: one for each so many old ones.
constexpr std::uint32_t kOldKeysPerNewKey = 32;

int Compare(const char* left, const char* right) noexcept {
  CountProbe();
  const int first = static_cast<unsigned char>(*left) - static_cast<unsigned char>(*right);
  return first != 0 ? first : std::strcmp(left, right);
}

// Half of the leaves are on level 0 alone, an eighth of them above level 1, and so on: which ones
// is as good as random, since a hash tells.
std::uint32_t LevelsOf(std::uint32_t random, std::uint32_t most) noexcept {
  const auto zeros = static_cast<std::uint32_t>(std::countr_zero(random));
  return std::min(1 + zeros / 2, most);
}

}  // namespace

std::size_t DictOrder::BytesFor(std::uint32_t capacity) noexcept {
  const std::size_t leaves = LeavesFor(capacity);
  if (leaves == 1) return capacity * sizeof(std::uint32_t);
  return leaves * (kLeafSize * sizeof(std::uint32_t) + sizeof(Leaf));
}

DictOrder::DictOrder(void* place, std::uint32_t capacity) noexcept
    : numbers_(static_cast<std::uint32_t*>(place)), leafLimit_(LeavesFor(capacity)) {
  if (leafLimit_ == 1) return;
  leaves_ = reinterpret_cast<Leaf*>(numbers_ + std::size_t{leafLimit_} * kLeafSize);
  LinkLeaves();
}

void DictOrder::MoveTo(DictOrder& target, const DictStore& from) noexcept {
  std::uint32_t count = 0;
  for (std::uint32_t leaf = kHead; leaf != kNone && covered_ != 0; leaf = Next(leaf)) {
    for (std::uint32_t i = 0; i < Count(leaf); ++i) {
      target.numbers_[count++] = from.NewNumber(Numbers(leaf)[i]);
    }
  }
  target.covered_ = count;
  target.version_ = version_ + 1;
  if (count > 0) target.Spread(count);
}

void DictOrder::Remove(const DictStore& store, std::uint32_t number) noexcept {
  if (number >= covered_) return;
  const std::uint32_t leaf = FindLeaf(store, store.Text(number), Bound::kUpTo, nullptr);
  if (leaf != kHead && Count(leaf) == 1) {
    Unlink(store, leaf);
  } else {
    std::uint32_t* const end = Numbers(leaf) + Count(leaf);
    std::uint32_t* const place = std::find(Numbers(leaf), end, number);
    std::copy(place + 1, end, place);
    --Count(leaf);
  }
  ++version_;
}

DictOrder::Place DictOrder::First(const DictStore& store) noexcept {
  if (covered_ != store.End()) Absorb(store);
  return headCount_ != 0 ? FirstOf(kHead) : FirstOf(Next(kHead));
}

DictOrder::Place DictOrder::AfterKey(const DictStore& store, const char* key) noexcept {
  if (covered_ != store.End()) Absorb(store);
  const std::uint32_t leaf = FindLeaf(store, key, Bound::kUpTo, nullptr);
  const std::uint32_t* const begin = Numbers(leaf);
  const std::uint32_t* const end = begin + Count(leaf);
  const std::uint32_t* const after =
      std::upper_bound(begin, end, key, [&store](const char* text, std::uint32_t number) {
        return Compare(text, store.Text(number)) < 0;
      });
  if (after == end) return FirstOf(Next(leaf));
  return leaf * kLeafSize + static_cast<std::uint32_t>(after - begin);
}

// Takes in the entries that are not covered yet.
void DictOrder::Absorb(const DictStore& store) noexcept {
  const std::uint32_t first = covered_;
  covered_ = store.End();
  ++version_;
  const std::uint32_t added = covered_ - first;
  if (first != 0 && (!HasLinks() || added <= first / kOldKeysPerNewKey)) {
    for (std::uint32_t number = first; number < covered_; ++number) {
      if (store.IsLive(number)) Insert(store, number);
    }
    return;
  }
  const std::uint32_t sorted = Flatten();
  std::uint32_t count = sorted;
  for (std::uint32_t number = first; number < covered_; ++number) {
    if (store.IsLive(number)) numbers_[count++] = number;
  }
  SortAll(store, sorted, count);
  Spread(count);
}

void DictOrder::Insert(const DictStore& store, std::uint32_t number) noexcept {
  const char* const key = store.Text(number);
  std::uint32_t path[kLevels];
  std::uint32_t leaf = FindLeaf(store, key, Bound::kUpTo, path);
  if (HasLinks() && Count(leaf) == kLeafSize) {
    if (freeLeaf_ == kNone && leafEnd_ == leafLimit_) {
      Spread(Flatten());  // into fewer leaves, none of them full
      leaf = FindLeaf(store, key, Bound::kUpTo, path);
    } else {
      const std::uint32_t behind = Split(store, leaf, path);
      if (Compare(store.Text(Numbers(behind)[0]), key) < 0) leaf = behind;
    }
  }
  std::uint32_t* const begin = Numbers(leaf);
  std::uint32_t* const end = begin + Count(leaf);
  std::uint32_t* const place =
      std::upper_bound(begin, end, key, [&store](const char* text, std::uint32_t other) {
        return Compare(text, store.Text(other)) < 0;
      });
  std::copy_backward(place, end, end + 1);
  *place = number;
  ++Count(leaf);
}

// Sorts the first `count` numbers, of which the first `sorted` are sorted, and which lie side by
// side.
void DictOrder::SortAll(const DictStore& store, std::uint32_t sorted,
                        std::uint32_t count) noexcept {
  const auto precedes = [&store](std::uint32_t left, std::uint32_t right) {
    return Compare(store.Text(left), store.Text(right)) < 0;
  };
  std::uint32_t* const tail = numbers_ + sorted;
  std::uint32_t* const end = numbers_ + count;
  if (!std::is_sorted(tail, end, precedes)) std::sort(tail, end, precedes);
  if (sorted == 0 || tail == end || precedes(tail[-1], *tail)) return;

  // The tail goes to the end of the room there is, and both are merged from their ends on.
  const std::uint32_t room = HasLinks() ? leafLimit_ * kLeafSize - count : 0;
  const std::uint32_t added = count - sorted;
  if (added > room) {
    std::sort(numbers_, end, precedes);
    return;
  }
  std::uint32_t* const moved = numbers_ + std::size_t{leafLimit_} * kLeafSize - added;
  std::copy(tail, end, moved);
  std::uint32_t* target = end;
  std::uint32_t* old = tail;
  for (std::uint32_t* last = moved + added; last != moved;) {
    if (old != numbers_ && precedes(last[-1], old[-1])) {
      *--target = *--old;
    } else {
      *--target = *--last;
    }
  }
}

// Puts all numbers side by side in their order, and returns how many there are. The leaves must be
// made anew with Spread.
std::uint32_t DictOrder::Flatten() noexcept {
  if (!HasLinks()) return headCount_;
  // Leaves change places until they lie in the order of their keys. The place of each is kept in
  // the links of level 1.
  const auto target = [this](std::uint32_t leaf) -> std::uint32_t& {
    return leaves_[leaf].next[1];
  };
  leaves_[kHead].count = headCount_;
  for (std::uint32_t leaf = kHead; leaf < leafEnd_; ++leaf) target(leaf) = kNone;
  std::uint32_t used = 0;
  for (std::uint32_t leaf = kHead; leaf != kNone; leaf = Next(leaf)) target(leaf) = used++;
  for (std::uint32_t leaf = kHead; leaf < leafEnd_; ++leaf) {
    while (target(leaf) != kNone && target(leaf) != leaf) {
      const std::uint32_t other = target(leaf);
      std::swap_ranges(Numbers(leaf), Numbers(leaf) + kLeafSize, Numbers(other));
      std::swap(leaves_[leaf].count, leaves_[other].count);
      std::swap(target(leaf), target(other));
    }
  }
  std::uint32_t count = 0;
  for (std::uint32_t leaf = kHead; leaf < used; ++leaf) {
    std::copy_n(Numbers(leaf), leaves_[leaf].count, numbers_ + count);
    count += leaves_[leaf].count;
  }
  CountProbe(count);
  return count;
}

// Makes leaves of the first `count` numbers, which lie side by side.
void DictOrder::Spread(std::uint32_t count) noexcept {
  freeLeaf_ = kNone;
  leafEnd_ = 1;
  headCount_ = count;
  if (!HasLinks()) return;
  leafEnd_ = std::max((count + kFill - 1) / kFill, 1u);
  for (std::uint32_t leaf = leafEnd_; leaf-- > 1;) {
    const std::uint32_t begin = leaf * kFill;
    leaves_[leaf].count = std::min(count - begin, kFill);
    std::memmove(Numbers(leaf), numbers_ + begin, leaves_[leaf].count * sizeof *numbers_);
  }
  headCount_ = std::min(count, kFill);
  LinkLeaves();
}

// Links leaves that lie in their order, with as many levels as befits their number.
void DictOrder::LinkLeaves() noexcept {
  std::uint32_t next[kLevels];
  std::fill_n(next, kLevels, kNone);
  for (std::uint32_t leaf = leafEnd_; leaf-- > 1;) {
    std::copy_n(next, kLevels, leaves_[leaf].next);
    std::fill_n(next, LevelsOf(leaf, kLevels), leaf);
  }
  std::copy_n(next, kLevels, leaves_[kHead].next);
}

// Returns the last leaf whose first key is within the bound. Stores the last one of each level in
// `path`, unless that is null.
std::uint32_t DictOrder::FindLeaf(const DictStore& store, const char* key, Bound bound,
                                  std::uint32_t* path) const noexcept {
  std::uint32_t leaf = kHead;
  if (!HasLinks()) return leaf;
  std::uint32_t beyond = kNone;
  for (std::uint32_t level = kLevels; level-- > 0;) {
    for (std::uint32_t next = leaves_[leaf].next[level]; next != beyond;
         next = leaves_[leaf].next[level]) {
      const int order = Compare(store.Text(Numbers(next)[0]), key);
      if (order > 0 || (order == 0 && bound == Bound::kBefore)) {
        beyond = next;
        break;
      }
      leaf = next;
    }
    if (path != nullptr) path[level] = leaf;
  }
  return leaf;
}

// Moves the greater half of a full leaf to a new one, which it returns. `path` leads to the leaf.
std::uint32_t DictOrder::Split(const DictStore& store, std::uint32_t leaf,
                               std::uint32_t* path) noexcept {
  std::uint32_t added = leafEnd_;
  if (freeLeaf_ != kNone) {
    added = freeLeaf_;
    freeLeaf_ = leaves_[added].next[0];
  } else {
    ++leafEnd_;
  }
  constexpr std::uint32_t kHalf = kLeafSize / 2;
  std::copy_n(Numbers(leaf) + kHalf, kHalf, Numbers(added));
  Count(leaf) = kHalf;
  leaves_[added].count = kHalf;
  const std::uint32_t levels = LevelsOf(store[Numbers(added)[0]].key.hash, kLevels);
  for (std::uint32_t level = 0; level < levels; ++level) {
    leaves_[added].next[level] = leaves_[path[level]].next[level];
    leaves_[path[level]].next[level] = added;
  }
  return added;
}

// Takes out a leaf whose last key is about to go.
void DictOrder::Unlink(const DictStore& store, std::uint32_t leaf) noexcept {
  std::uint32_t path[kLevels];
  FindLeaf(store, store.Text(Numbers(leaf)[0]), Bound::kBefore, path);
  for (std::uint32_t level = 0; level < kLevels; ++level) {
    std::uint32_t& link = leaves_[path[level]].next[level];
    if (link == leaf) link = leaves_[leaf].next[level];
  }
  leaves_[leaf].next[0] = freeLeaf_;
  freeLeaf_ = leaf;
}

}  // namespace NPOSObjectImpl
