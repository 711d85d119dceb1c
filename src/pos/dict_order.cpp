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
  return leaves * sizeof(Leaf);
}

DictOrder::DictOrder(const DictStore& store) noexcept {
  if (HasLinks(store)) Spread(store, 0);
}

void DictOrder::MoveTo(DictOrder& target, const DictStore& from,
                       const DictStore& to) const noexcept {
  std::uint32_t* const numbers = AllNumbers(to);
  std::uint32_t count = 0;
  for (std::uint32_t leaf = kHead; leaf != kNone && covered_ != 0; leaf = Next(from, leaf)) {
    for (std::uint32_t i = 0; i < Count(from, leaf); ++i) {
      numbers[count++] = from.NewNumber(Numbers(from, leaf)[i]);
    }
  }
  target.covered_ = count;
  target.version_ = version_ + 1;
  if (count > 0) target.Spread(to, count);
}

void DictOrder::Remove(const DictStore& store, std::uint32_t number) noexcept {
  if (number >= covered_) return;
  const std::uint32_t leaf = FindLeaf(store, store.Text(number), Bound::kUpTo, nullptr);
  if (leaf != kHead && Count(store, leaf) == 1) {
    Unlink(store, leaf);
  } else {
    std::uint32_t* const end = Numbers(store, leaf) + Count(store, leaf);
    std::uint32_t* const place = std::find(Numbers(store, leaf), end, number);
    std::copy(place + 1, end, place);
    --Count(store, leaf);
  }
  ++version_;
}

DictOrder::Place DictOrder::First(const DictStore& store) noexcept {
  if (covered_ != store.End()) Absorb(store);
  return headCount_ != 0 ? FirstOf(kHead) : FirstOf(Next(store, kHead));
}

DictOrder::Place DictOrder::AfterKey(const DictStore& store, const char* key) noexcept {
  if (covered_ != store.End()) Absorb(store);
  const std::uint32_t leaf = FindLeaf(store, key, Bound::kUpTo, nullptr);
  const std::uint32_t* const begin = Numbers(store, leaf);
  const std::uint32_t* const end = begin + Count(store, leaf);
  const std::uint32_t* const after =
      std::upper_bound(begin, end, key, [&store](const char* text, std::uint32_t number) {
        return Compare(text, store.Text(number)) < 0;
      });
  if (after == end) return FirstOf(Next(store, leaf));
  return leaf * kPlacesOfLeaf + static_cast<std::uint32_t>(after - begin);
}

// Takes in the entries that are not covered yet.
void DictOrder::Absorb(const DictStore& store) noexcept {
  const std::uint32_t first = covered_;
  covered_ = store.End();
  ++version_;
  const std::uint32_t added = covered_ - first;
  if (first != 0 && (!HasLinks(store) || added <= first / kOldKeysPerNewKey)) {
    for (std::uint32_t number = first; number < covered_; ++number) {
      if (store.IsLive(number)) Insert(store, number);
    }
    return;
  }
  const std::uint32_t sorted = Flatten(store);
  std::uint32_t* const numbers = AllNumbers(store);
  std::uint32_t count = sorted;
  for (std::uint32_t number = first; number < covered_; ++number) {
    if (store.IsLive(number)) numbers[count++] = number;
  }
  SortAll(store, sorted, count);
  Spread(store, count);
}

void DictOrder::Insert(const DictStore& store, std::uint32_t number) noexcept {
  const char* const key = store.Text(number);
  std::uint32_t path[kLevels];
  std::uint32_t leaf = FindLeaf(store, key, Bound::kUpTo, path);
  if (HasLinks(store) && Count(store, leaf) == kLeafSize) {
    const Leaf& head = Leaves(store)[kHead];
    if (head.freeLeaf == kNone && head.leafEnd == LeavesFor(store.Capacity())) {
      Spread(store, Flatten(store));  // into fewer leaves, none of them full
      leaf = FindLeaf(store, key, Bound::kUpTo, path);
    } else {
      const std::uint32_t behind = Split(store, leaf, path);
      if (Compare(store.Text(Numbers(store, behind)[0]), key) < 0) leaf = behind;
    }
  }
  std::uint32_t* const begin = Numbers(store, leaf);
  std::uint32_t* const end = begin + Count(store, leaf);
  std::uint32_t* const place =
      std::upper_bound(begin, end, key, [&store](const char* text, std::uint32_t other) {
        return Compare(text, store.Text(other)) < 0;
      });
  std::copy_backward(place, end, end + 1);
  *place = number;
  ++Count(store, leaf);
}

// Sorts the first `count` numbers, of which the first `sorted` are sorted, and which lie side by
// side.
void DictOrder::SortAll(const DictStore& store, std::uint32_t sorted,
                        std::uint32_t count) noexcept {
  const auto precedes = [&store](std::uint32_t left, std::uint32_t right) {
    return Compare(store.Text(left), store.Text(right)) < 0;
  };
  std::uint32_t* const numbers = AllNumbers(store);
  std::uint32_t* const tail = numbers + sorted;
  std::uint32_t* const end = numbers + count;
  if (!std::is_sorted(tail, end, precedes)) std::sort(tail, end, precedes);
  if (sorted == 0 || tail == end || precedes(tail[-1], *tail)) return;

  // The tail goes to the end of the room there is, and both are merged from their ends on.
  std::uint32_t* const limit = HasLinks(store) ? Numbers(store, LeavesFor(store.Capacity())) : end;
  const std::uint32_t added = count - sorted;
  if (limit - end < static_cast<std::ptrdiff_t>(added)) {
    std::sort(numbers, end, precedes);
    return;
  }
  std::uint32_t* const moved = limit - added;
  std::copy(tail, end, moved);
  std::uint32_t* target = end;
  std::uint32_t* old = tail;
  for (std::uint32_t* last = moved + added; last != moved;) {
    if (old != numbers && precedes(last[-1], old[-1])) {
      *--target = *--old;
    } else {
      *--target = *--last;
    }
  }
}

// Puts all numbers side by side in their order, and returns how many there are. The leaves must be
// made anew with Spread.
std::uint32_t DictOrder::Flatten(const DictStore& store) const noexcept {
  if (!HasLinks(store)) return headCount_;
  Leaf* const leaves = Leaves(store);
  const std::uint32_t leafEnd = leaves[kHead].leafEnd;
  // Leaves change places until they lie in the order of their keys. The place of each is kept in
  // the links of level 1.
  const auto target = [leaves](std::uint32_t leaf) -> std::uint32_t& {
    return leaves[leaf].next[1];
  };
  leaves[kHead].count = headCount_;
  for (std::uint32_t leaf = kHead; leaf < leafEnd; ++leaf) target(leaf) = kNone;
  std::uint32_t used = 0;
  for (std::uint32_t leaf = kHead; leaf != kNone; leaf = leaves[leaf].next[0]) {
    target(leaf) = used++;
  }
  for (std::uint32_t leaf = kHead; leaf < leafEnd; ++leaf) {
    while (target(leaf) != kNone && target(leaf) != leaf) {
      const std::uint32_t other = target(leaf);
      std::swap(leaves[leaf].numbers, leaves[other].numbers);
      std::swap(leaves[leaf].count, leaves[other].count);
      std::swap(target(leaf), target(other));
    }
  }
  std::uint32_t* const numbers = AllNumbers(store);
  std::uint32_t count = 0;
  for (std::uint32_t leaf = kHead; leaf < used; ++leaf) {
    const std::uint32_t added = leaves[leaf].count;
    std::memmove(numbers + count, Numbers(store, leaf), added * sizeof *numbers);
    count += added;
  }
  CountProbe(count);
  return count;
}

// Makes leaves of the first `count` numbers, which lie side by side.
void DictOrder::Spread(const DictStore& store, std::uint32_t count) noexcept {
  headCount_ = count;
  if (!HasLinks(store)) return;
  const std::uint32_t leafEnd = std::max((count + kFill - 1) / kFill, 1u);
  for (std::uint32_t leaf = leafEnd; leaf-- > 1;) {
    const std::uint32_t begin = leaf * kFill;
    const std::uint32_t moved = std::min(count - begin, kFill);
    std::memmove(Numbers(store, leaf), AllNumbers(store) + begin, moved * sizeof(std::uint32_t));
    Leaves(store)[leaf].count = moved;
  }
  headCount_ = std::min(count, kFill);
  Leaf& head = Leaves(store)[kHead];
  head.leafEnd = leafEnd;
  head.freeLeaf = kNone;
  LinkLeaves(store);
}

// Links leaves that lie in their order, with as many levels as befits their number.
void DictOrder::LinkLeaves(const DictStore& store) noexcept {
  Leaf* const leaves = Leaves(store);
  std::uint32_t next[kLevels];
  std::fill_n(next, kLevels, kNone);
  for (std::uint32_t leaf = leaves[kHead].leafEnd; leaf-- > 1;) {
    std::copy_n(next, kLevels, leaves[leaf].next);
    std::fill_n(next, LevelsOf(leaf, kLevels), leaf);
  }
  std::copy_n(next, kLevels, leaves[kHead].next);
}

// Returns the last leaf whose first key is within the bound. Stores the last one of each level in
// `path`, unless that is null.
std::uint32_t DictOrder::FindLeaf(const DictStore& store, const char* key, Bound bound,
                                  std::uint32_t* path) noexcept {
  std::uint32_t leaf = kHead;
  if (!HasLinks(store)) return leaf;
  const Leaf* const leaves = Leaves(store);
  std::uint32_t beyond = kNone;
  for (std::uint32_t level = kLevels; level-- > 0;) {
    for (std::uint32_t next = leaves[leaf].next[level]; next != beyond;
         next = leaves[leaf].next[level]) {
      const int order = Compare(store.Text(Numbers(store, next)[0]), key);
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
  Leaf* const leaves = Leaves(store);
  Leaf& head = leaves[kHead];
  std::uint32_t added = head.leafEnd;
  if (head.freeLeaf != kNone) {
    added = head.freeLeaf;
    head.freeLeaf = leaves[added].next[0];
  } else {
    ++head.leafEnd;
  }
  constexpr std::uint32_t kKept = kLeafSize / 2;
  constexpr std::uint32_t kMoved = kLeafSize - kKept;
  std::copy_n(Numbers(store, leaf) + kKept, kMoved, Numbers(store, added));
  Count(store, leaf) = kKept;
  leaves[added].count = kMoved;
  const std::uint32_t levels = LevelsOf(store[Numbers(store, added)[0]].key.hash, kLevels);
  for (std::uint32_t level = 0; level < levels; ++level) {
    leaves[added].next[level] = leaves[path[level]].next[level];
    leaves[path[level]].next[level] = added;
  }
  return added;
}

// Takes out a leaf whose last key is about to go.
void DictOrder::Unlink(const DictStore& store, std::uint32_t leaf) noexcept {
  Leaf* const leaves = Leaves(store);
  Leaf& head = leaves[kHead];
  std::uint32_t path[kLevels];
  FindLeaf(store, store.Text(Numbers(store, leaf)[0]), Bound::kBefore, path);
  for (std::uint32_t level = 0; level < kLevels; ++level) {
    std::uint32_t& link = leaves[path[level]].next[level];
    if (link == leaf) link = leaves[leaf].next[level];
  }
  leaves[leaf].next[0] = head.freeLeaf;
  head.freeLeaf = leaf;
}

}  // namespace NPOSObjectImpl
