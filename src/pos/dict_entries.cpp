#include "pos/dict_entries.h"

#include <cstring>
#include <limits>
#include <utility>

#include "frame/core/client_base.h"
#include "pos/key_hash.h"

namespace NPOSObjectImpl {

using ZEL_T_NMT::CZELStringAtom;

namespace {

constexpr std::uint32_t kFirstCapacity = 4;
// A block with at most so many entries is never given back before the dictionary is.
constexpr std::uint32_t kSmallCapacity = DictIndex::kFirstCapacity;

std::uint32_t CapacityAfter(std::uint32_t capacity) {
  if (capacity == 0) return kFirstCapacity;
  if (capacity == DictIndex::kLargestWithoutIndex) return DictIndex::kFirstCapacity;
  if (capacity > std::numeric_limits<std::uint32_t>::max() / 2) ZEL_T_NMT::RaiseAllocationFailure();
  return capacity * 2;
}

std::uint32_t CapacityFor(std::uint32_t count) {
  std::uint32_t capacity = 0;
  while (capacity < count) capacity = CapacityAfter(capacity);
  return capacity;
}

// A new block, and the place of its entries.
DictEntry* AllocateEntries(std::uint32_t capacity) {
  const std::uint64_t slots = DictIndex::SlotsFor(capacity);
  const std::uint64_t size = slots * sizeof(std::uint32_t) +
                             std::uint64_t{capacity} * sizeof(DictEntry) +
                             DictOrder::BytesFor(capacity);
  // The size in bytes fits in 32 bits on every platform.
  if (size > std::numeric_limits<std::uint32_t>::max()) ZEL_T_NMT::RaiseAllocationFailure();
  void* const block = ZEL_T_NMT::AllocateBlock(static_cast<std::size_t>(size));
  // Slots are a multiple of sixteen, which keeps the alignment.
  return reinterpret_cast<DictEntry*>(static_cast<std::uint32_t*>(block) + slots);
}

// Of a few keys, their first bytes tell more cheaply than a hash which one it may be.
template <typename IsKey>
ZEL_ALWAYS_INLINE std::uint32_t FindAmongFew(const DictStore& store, char first,
                                             IsKey isKey) noexcept {
  const DictEntry* const begin = store.Begin();
  const DictEntry* const end = begin + store.End();
  for (const DictEntry* entry = begin; entry != end; ++entry) {
    const char* const text = entry->key.Text();
    if (text != nullptr && *text == first && isKey(text)) {
      return static_cast<std::uint32_t>(entry - begin);
    }
  }
  return kNone;
}

std::uint32_t HashOf(const CZELStringAtom& key) noexcept {
  return HashKey(key.Text(), std::strlen(key.Text()));
}

}  // namespace

DictEntries::DictEntries(std::uint32_t capacity) {
  if (capacity == 0) return;
  store_ = DictStore(AllocateEntries(capacity), capacity);
  index_ = DictIndex(store_);
  order_ = DictOrder(store_);
}

DictEntries::DictEntries(DictEntries&& other) noexcept
    : store_(std::exchange(other.store_, {})),
      index_(std::exchange(other.index_, {})),
      order_(std::exchange(other.order_, {})) {}

DictEntries::~DictEntries() {
  if (!HasBlock()) return;
  store_.Clear();
  ZEL_T_NMT::Memory().Free(index_.Begin(store_));
}

std::uint32_t DictEntries::FindByBytes(const char* key) const noexcept {
  if (!index_.IsThere()) return Seek(key).number;
  const SoughtKey sought{key, std::strlen(key)};
  return index_.NumberIn(store_, index_.Find(store_, sought, HashKey(sought.text, sought.length)));
}

DictEntries::Sought DictEntries::Seek(const char* key) const noexcept {
  if (!index_.IsThere()) {
    const auto isKey = [key](const char* text) { return ZEL_T_NMT::IsSameText(text, key); };
    return {FindAmongFew(store_, *key, isKey), 0, 0};
  }
  const SoughtKey sought{key, std::strlen(key)};
  const std::uint32_t hash = HashKey(sought.text, sought.length);
  const std::uint32_t slot = index_.Find(store_, sought, hash);
  return {index_.NumberIn(store_, slot), hash, slot};
}

std::uint32_t DictEntries::Find(SoughtKey key) const noexcept {
  if (!index_.IsThere()) {
    return FindAmongFew(store_, key.length == 0 ? '\0' : *key.text,
                        [key](const char* text) { return HasSameCharacters(text, key); });
  }
  return index_.NumberIn(store_, index_.Find(store_, key, HashKey(key.text, key.length)));
}

void DictEntries::Reserve(std::uint32_t count) {
  if (count <= store_.Capacity()) return;
  DictEntries larger(CapacityFor(count));
  MoveTo(larger);
}

void DictEntries::Insert(CZELStringAtom&& key, std::uint32_t hash,
                         ZEL_T_NMT::ContainerReference&& value) {
  if (store_.IsFull()) Grow();
  if (index_.IsThere() && hash == 0) hash = HashOf(key);
  const std::uint32_t number = store_.Add(std::move(key), hash, std::move(value));
  if (index_.IsThere()) index_.Add(store_, number, hash);
  order_.Add(store_, number);
}

DictEntry DictEntries::Remove(std::uint32_t number) noexcept {
  index_.Remove(store_, number);
  order_.Remove(store_, number);
  return store_.Remove(number);
}

bool DictEntries::IsSparse() const noexcept {
  return store_.Capacity() > kSmallCapacity && store_.Live() < store_.Capacity() / 8 * 3;
}

void DictEntries::Grow() {
  DictEntries larger(CapacityAfter(store_.Capacity()));
  // Unless the dictionary has been used meanwhile. Without tombstones all numbers stay.
  if (store_.IsFull() && store_.Capacity() < larger.store_.Capacity()) MoveTo(larger);
}

DictEntries DictEntries::ShrinkIfSparse() noexcept {
  if (!IsSparse()) return {};
  try {
    // With some room, so that neither growing nor shrinking is near.
    DictEntries smaller(CapacityFor(store_.Live() + store_.Live() / 3));
    if (!IsSparse() || store_.Live() > smaller.store_.Capacity()) return {};
    MoveTo(smaller);
    return smaller;
  } catch (...) {  // the old block serves on
    return {};
  }
}

// Moves everything to an empty block, which is then the old one, and good for NewNumber alone.
void DictEntries::MoveTo(DictEntries& target) noexcept {
  store_.MoveTo(target.store_);
  order_.MoveTo(target.order_, store_, target.store_);
  if (target.index_.IsThere()) {
    for (std::uint32_t number = 0; number < target.store_.End(); ++number) {
      DictKey& key = target.store_[number].key;
      if (key.hash == 0) key.hash = HashOf(key);
      target.index_.Add(target.store_, number, key.hash);
    }
  }
  std::swap(store_, target.store_);
  std::swap(index_, target.index_);
  std::swap(order_, target.order_);
}

void DictEntries::PrefetchNearEnd(Place place, const Run& run) const noexcept {
  const auto ahead = [this, place, &run](std::uint32_t distance) {
    return run.left > distance ? run.numbers[distance] : order_.Ahead(store_, place, distance);
  };
  const std::uint32_t farthest = order_.Ahead(store_, place, kFarthest);
  if (farthest != kNone) Prefetch(ahead(kNear), ahead(kFar), farthest);
}

}  // namespace NPOSObjectImpl
