#include "pos/dict_entries.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <utility>

#include "frame/core/client_base.h"
#include "pos/key_hash.h"

namespace NPOSObjectImpl {

using ZEL_T_NMT::ContainerReference;

namespace {

constexpr std::uint32_t kFirstCapacity = 4;
constexpr std::uint32_t kLargestWithoutIndex = 8;  // looking at so few is faster than an index
constexpr std::uint32_t kFirstIndexedCapacity =
    12;                                           // of 16 slots: three quarters of them are taken
constexpr std::uint32_t kFewNewKeys = 16;         // put in their places one by one
constexpr std::uint32_t kFetchAhead = 6;          // entries: about the time that memory takes
constexpr std::uint32_t kFreeSlot = 0xFFFFFFFFu;  // no number: there are more slots than entries
static_assert(sizeof(DictEntries::Entry) == 2 * sizeof(void*) + 2 * sizeof(std::uint32_t));

std::uint64_t SlotsFor(std::uint64_t capacity) noexcept {
  return capacity > kLargestWithoutIndex ? capacity / 3 * 4 : 0;
}

std::uint32_t CapacityAfter(std::uint32_t capacity) {
  if (capacity == 0) return kFirstCapacity;
  if (capacity == kLargestWithoutIndex) return kFirstIndexedCapacity;
  if (capacity > std::numeric_limits<std::uint32_t>::max() / 2) ZEL_T_NMT::RaiseAllocationFailure();
  return capacity * 2;
}

void FetchRecord(ZELInstance instance) noexcept {
  if (instance != nullptr) __builtin_prefetch(&ZEL_T_NMT::PrimaryInstance(instance));
}

// Of an instance whose record is at hand.
void FetchObject(ZELInstance instance) noexcept {
  if (instance != nullptr) __builtin_prefetch(ZEL_T_NMT::PrimaryInstance(instance).object);
}

}  // namespace

struct DictEntries::Block {
  Entry* entries;
  std::uint32_t* order;
  std::uint32_t* index;
  std::uint32_t indexMask;
};

DictEntries::DictEntries(DictEntries&& other) noexcept
    : entries_(std::exchange(other.entries_, nullptr)),
      order_(std::exchange(other.order_, nullptr)),
      index_(std::exchange(other.index_, nullptr)),
      capacity_(std::exchange(other.capacity_, 0)),
      indexMask_(std::exchange(other.indexMask_, 0)),
      used_(std::exchange(other.used_, 0)),
      live_(std::exchange(other.live_, 0)),
      ordered_(std::exchange(other.ordered_, 0)),
      sorted_(std::exchange(other.sorted_, 0)),
      first_(std::exchange(other.first_, 0)),
      placesVersion_(other.placesVersion_++) {}

DictEntries::~DictEntries() {
  if (entries_ == nullptr) return;
  for (std::uint32_t number = 0; number < used_; ++number) {
    if (number + 2 * kFetchAhead < used_)
      FetchRecord(entries_[number + 2 * kFetchAhead].value.Get());
    if (number + kFetchAhead < used_) FetchObject(entries_[number + kFetchAhead].value.Get());
    std::destroy_at(&entries_[number]);
  }
  ZEL_T_NMT::Memory().Free(static_cast<void*>(entries_));
}

std::uint32_t DictEntries::Find(const char* key) const noexcept {
  if (index_ == nullptr) {
    // Texts of atoms are mostly the same when they are equal.
    for (std::uint32_t number = 0; number < used_; ++number) {
      if (entries_[number].key.Text() == key) return number;
    }
    if (used_ == 0) return kNone;
  }
  return Find(key, HashKey(key));
}

std::uint32_t DictEntries::Find(const char* key, std::uint32_t hash) const noexcept {
  const auto matches = [this, key, hash](std::uint32_t number) {
    const Key& candidate = entries_[number].key;
    return candidate.hash == hash && candidate.Text() != nullptr &&
           (candidate.Text() == key || std::strcmp(candidate.Text(), key) == 0);
  };
  if (index_ == nullptr) {
    for (std::uint32_t number = 0; number < used_; ++number) {
      if (matches(number)) return number;
    }
    return kNone;
  }
  for (std::uint32_t slot = hash & indexMask_; index_[slot] != kFreeSlot;
       slot = (slot + 1) & indexMask_) {
    const std::uint32_t number = index_[slot] & indexMask_;
    if ((index_[slot] ^ number) == (hash & ~indexMask_) && matches(number)) return number;
  }
  return kNone;
}

void DictEntries::Reserve(std::uint32_t count) {
  std::uint32_t capacity = capacity_;
  while (capacity < count) capacity = CapacityAfter(capacity);
  if (capacity > capacity_) MoveTo(capacity);
}

void DictEntries::Insert(Key key, ContainerReference value) {
  if (used_ == capacity_) Grow();
  const std::uint32_t number = used_++;
  new (static_cast<void*>(&entries_[number])) Entry{std::move(key), std::move(value)};
  ++live_;
  AddToIndex(number);
  AddToOrder(number);
}

DictEntries::Entry DictEntries::Remove(std::uint32_t number) noexcept {
  --live_;
  return std::move(entries_[number]);
}

DictEntries::Block DictEntries::NewBlock(std::uint32_t capacity) {
  const std::uint64_t slots = SlotsFor(capacity);
  const std::uint64_t size = capacity * std::uint64_t{sizeof(Entry) + sizeof(std::uint32_t)} +
                             slots * sizeof(std::uint32_t);
  // The size in bytes fits in 32 bits on every platform.
  if (size > std::numeric_limits<std::uint32_t>::max()) ZEL_T_NMT::RaiseAllocationFailure();
  auto* const entries =
      static_cast<Entry*>(ZEL_T_NMT::AllocateBlock(static_cast<std::size_t>(size)));
  auto* const order = reinterpret_cast<std::uint32_t*>(entries + capacity);
  if (slots == 0) return {entries, order, nullptr, 0};
  return {entries, order, order + capacity, static_cast<std::uint32_t>(slots - 1)};
}

// Twice the room if more than half of it is in use; else the gaps are room enough.
void DictEntries::Grow() {
  MoveTo(live_ > capacity_ / 2 || capacity_ == 0 ? CapacityAfter(capacity_) : capacity_);
}

// Moves everything that is left into a new block.
void DictEntries::MoveTo(std::uint32_t capacity) {
  const Block block = NewBlock(capacity);

  // The hashes of the old entries make room for their new numbers.
  std::uint32_t moved = 0;
  for (std::uint32_t number = 0; number < used_; ++number) {
    Entry& entry = entries_[number];
    const bool gap = entry.key.Text() == nullptr;
    if (!gap) new (static_cast<void*>(&block.entries[moved])) Entry(std::move(entry));
    entry.key.hash = gap ? kNone : moved++;  // NOLINT(bugprone-use-after-move): the hash stays
  }
  std::uint32_t ordered = 0;
  std::uint32_t sorted = 0;
  for (std::uint32_t place = 0; place < ordered_; ++place) {
    const std::uint32_t number = entries_[order_[place]].key.hash;
    if (number != kNone) block.order[ordered++] = number;
    if (place < sorted_) sorted = ordered;
  }
  if (moved != used_) {
    ++placesVersion_;
    first_ = 0;
  }
  std::destroy_n(entries_, used_);
  if (entries_ != nullptr) ZEL_T_NMT::Memory().Free(static_cast<void*>(entries_));

  entries_ = block.entries;
  order_ = block.order;
  index_ = block.index;
  capacity_ = capacity;
  indexMask_ = block.indexMask;
  used_ = moved;
  ordered_ = ordered;
  sorted_ = sorted;
  FillIndex();
}

void DictEntries::FillIndex() noexcept {
  if (index_ == nullptr) return;
  std::fill_n(index_, indexMask_ + std::size_t{1}, kFreeSlot);
  for (std::uint32_t number = 0; number < used_; ++number) AddToIndex(number);
}

void DictEntries::AddToIndex(std::uint32_t number) noexcept {
  if (index_ == nullptr) return;
  const std::uint32_t hash = entries_[number].key.hash;
  std::uint32_t slot = hash & indexMask_;
  while (index_[slot] != kFreeSlot) slot = (slot + 1) & indexMask_;
  index_[slot] = (hash & ~indexMask_) | number;
}

void DictEntries::AddToOrder(std::uint32_t number) noexcept {
  const bool allSorted = sorted_ == ordered_;
  order_[ordered_++] = number;
  if (!allSorted) return;
  if (sorted_ == 0) {
    sorted_ = 1;
    return;
  }
  const std::uint32_t last = order_[sorted_ - 1];
  if (entries_[last].key.Text() != nullptr && Precedes(last, number)) sorted_ = ordered_;
}

std::uint32_t DictEntries::FirstPlace() noexcept {
  Sort();
  while (first_ < ordered_ && NumberAt(first_) == kNone) ++first_;
  return first_;
}

std::uint32_t DictEntries::PlaceAfter(const char* key) noexcept {
  Sort();
  CloseGaps();
  const std::uint32_t* const after = std::upper_bound(
      order_, order_ + ordered_, key, [this](const char* text, std::uint32_t number) {
        return std::strcmp(text, entries_[number].key.Text()) < 0;
      });
  return static_cast<std::uint32_t>(after - order_);
}

void DictEntries::Sort() noexcept {
  if (sorted_ == ordered_) return;
  CloseGaps();
  const auto precedes = [this](std::uint32_t left, std::uint32_t right) {
    return Precedes(left, right);
  };
  if (ordered_ - sorted_ > kFewNewKeys) {
    std::sort(order_, order_ + ordered_, precedes);
    sorted_ = ordered_;
  }
  while (sorted_ < ordered_) {
    std::uint32_t* const unsorted = order_ + sorted_;
    std::uint32_t* const place = std::upper_bound(order_, unsorted, *unsorted, precedes);
    std::rotate(place, unsorted, unsorted + 1);
    ++sorted_;
  }
  ++placesVersion_;
}

void DictEntries::CloseGaps() noexcept {
  if (ordered_ == live_) return;
  std::uint32_t kept = 0;
  std::uint32_t sorted = 0;
  for (std::uint32_t place = 0; place < ordered_; ++place) {
    const std::uint32_t number = NumberAt(place);
    if (number != kNone) order_[kept++] = number;
    if (place < sorted_) sorted = kept;
  }
  ordered_ = kept;
  sorted_ = sorted;
  first_ = 0;
  ++placesVersion_;
}

void DictEntries::FetchOrdered(std::uint32_t place) const noexcept {
  if (place + 3 * kFetchAhead >= ordered_) return;
  __builtin_prefetch(&entries_[order_[place + 3 * kFetchAhead]]);
  const Entry& farther = entries_[order_[place + 2 * kFetchAhead]];
  __builtin_prefetch(farther.key.Text());
  FetchRecord(farther.value.Get());
  FetchObject(entries_[order_[place + kFetchAhead]].value.Get());
}

bool DictEntries::Precedes(std::uint32_t left, std::uint32_t right) const noexcept {
  return std::strcmp(entries_[left].key.Text(), entries_[right].key.Text()) < 0;
}

}  // namespace NPOSObjectImpl
