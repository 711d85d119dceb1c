#include "pos/dict_store.h"

#include <memory>
#include <new>
#include <utility>

namespace NPOSObjectImpl {

void DictStore::Clear() noexcept {
  for (std::uint32_t number = 0; number < end_; ++number) {
    if (number + 2 * kPrefetchDistance < end_) PrefetchRecord(number + 2 * kPrefetchDistance);
    std::destroy_at(&entries_[number]);
  }
  end_ = live_ = 0;
  firstTombstone_ = kNone;
}

std::uint32_t DictStore::Replace(ZEL_T_NMT::CZELStringAtom&& key, std::uint32_t hash,
                                 ZEL_T_NMT::ContainerReference&& value) noexcept {
  const std::uint32_t number = firstTombstone_;
  firstTombstone_ = entries_[number].key.hash;
  entries_[number] = {DictKey(std::move(key), hash), std::move(value)};
  return number;
}

DictEntry DictStore::Remove(std::uint32_t number) noexcept {
  DictEntry removed = std::move(entries_[number]);
  entries_[number].key.hash = firstTombstone_;  // NOLINT(bugprone-use-after-move): the hash stays
  firstTombstone_ = number;
  --live_;
  return removed;
}

void DictStore::MoveTo(DictStore& target) noexcept {
  for (std::uint32_t number = 0; number < end_; ++number) {
    DictEntry& entry = entries_[number];
    std::uint32_t newNumber = kNone;
    if (entry.key.Text() != nullptr) {
      newNumber = target.end_++;
      new (static_cast<void*>(&target.entries_[newNumber])) DictEntry(std::move(entry));
    }
    entry.key.hash = newNumber;  // NOLINT(bugprone-use-after-move): the hash stays
  }
  target.live_ = target.end_;
  end_ = live_ = 0;
  firstTombstone_ = kNone;
}

}  // namespace NPOSObjectImpl
