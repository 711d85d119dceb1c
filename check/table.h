// Tables of what is known, by handle, atom or address: found in some ten instructions, without a
// block of memory for each entry. Records stay where they are until they are erased, and are used
// again.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

namespace zelcheck {

// Records by key, which lie elsewhere: open addressing, at most three eighths full. A key that does
// not go where it belongs goes behind it; the last place stays free.
template <typename Key, typename Record>
class Index {
 public:
  Index() = default;
  // Null: none.
  Record* Find(Key key) const noexcept {
    const Slot* slot = &slots_[Home(key)];
    while (slot->key != key && slot->record != nullptr) ++slot;
    return slot->record;
  }

  // Replaces the record of the key. `record` is not null.
  void Set(Key key, Record* record) {
    Slot* slot = PlaceOf(key);
    if (slot->record == nullptr) {
      while (8 * (count_ + 1) > 3 * Size() || IsLast(slot)) {
        Grow();
        slot = PlaceOf(key);
      }
      ++count_;
    }
    *slot = {key, record};
  }

  void Erase(Key key) noexcept {
    Slot* hole = PlaceOf(key);
    if (hole->record == nullptr) return;
    --count_;
    // Those behind that did not find their place free move up.
    for (Slot* next = hole + 1; next->record != nullptr; ++next) {
      if (&slots_[Home(next->key)] > hole) continue;
      *hole = *next;
      hole = next;
    }
    *hole = {};
  }

  template <typename Action>
  void ForEach(Action action) const {
    for (std::size_t i = 0; i < Size() + kBehind; ++i) {
      if (slots_[i].record != nullptr) action(slots_[i].key, *slots_[i].record);
    }
  }

  void Clear() noexcept {
    for (std::size_t i = 0; i < Size() + kBehind; ++i) slots_[i] = {};
    count_ = 0;
  }

 private:
  struct Slot {
    Key key{};
    Record* record = nullptr;
  };
  static constexpr unsigned kFirstBits = 6;
  static constexpr std::size_t kBehind = 64;  // places behind the last one where a key may belong

  static auto MakeSlots(unsigned bits) {
    return std::make_unique<Slot[]>((std::size_t{1} << bits) + kBehind);
  }
  std::size_t Size() const noexcept { return std::size_t{1} << (64 - shift_); }
  std::size_t Home(Key key) const noexcept {
    std::uint64_t number = 0;
    if constexpr (std::is_pointer_v<Key>) {
      number = reinterpret_cast<std::uintptr_t>(key);
    } else {
      number = key;
    }
    return static_cast<std::size_t>(number * 0x9e3779b97f4a7c15ULL >> shift_);
  }
  // The slot of the key, or the free one where it goes.
  Slot* PlaceOf(Key key) const noexcept {
    Slot* slot = &slots_[Home(key)];
    while (slot->record != nullptr && slot->key != key) ++slot;
    return slot;
  }
  bool IsLast(const Slot* slot) const noexcept { return slot == &slots_[Size() + kBehind - 1]; }

  // Makes it twice as large; more, where a key would take the last place.
  [[gnu::noinline]] void Grow() {
    Index larger(*this, shift_ - 1);
    while (!larger.TakeAllOf(*this)) larger = Index(*this, larger.shift_ - 1);
    slots_ = std::move(larger.slots_);
    shift_ = larger.shift_;
  }
  Index(const Index& smaller, unsigned shift)
      : slots_(MakeSlots(64 - shift)), shift_(shift), count_(smaller.count_) {}
  bool TakeAllOf(const Index& smaller) noexcept {
    for (std::size_t i = 0; i < smaller.Size() + kBehind; ++i) {
      if (smaller.slots_[i].record == nullptr) continue;
      Slot* const slot = PlaceOf(smaller.slots_[i].key);
      if (IsLast(slot)) return false;
      *slot = smaller.slots_[i];
    }
    return true;
  }

  std::unique_ptr<Slot[]> slots_ = MakeSlots(kFirstBits);
  unsigned shift_ = 64 - kFirstBits;
  std::size_t count_ = 0;
};

// Records by key, owned.
template <typename Key, typename Record>
class Table {
 public:
  Record* Find(Key key) const noexcept { return index_.Find(key); }

  // Makes the record of a key that has none.
  Record& operator[](Key key) {
    Record* const known = index_.Find(key);
    return known != nullptr ? *known : Make(key);
  }
  void Erase(Key key) noexcept {
    Record* const known = index_.Find(key);
    if (known == nullptr) return;
    index_.Erase(key);
    *known = Record();
    free_.push_back(known);  // has room: all records of all slabs fit
  }

  // Of each entry, in no order.
  template <typename Action>
  void ForEach(Action action) const {
    index_.ForEach(action);
  }

  void Clear() noexcept {
    index_.ForEach([this](Key, Record& record) {
      record = Record();
      free_.push_back(&record);
    });
    index_.Clear();
  }

 private:
  static constexpr std::size_t kSlab = 32;

  // These two stay apart from what is done at each call.
  [[gnu::noinline]] Record& Make(Key key) {
    if (free_.empty()) AddSlab();
    index_.Set(key, free_.back());
    Record& made = *free_.back();
    free_.pop_back();
    return made;
  }

  [[gnu::noinline]] void AddSlab() {
    if (slabs_.size() == slabs_.capacity()) slabs_.reserve(2 * slabs_.size() + 1);
    free_.reserve(slabs_.capacity() * kSlab);
    slabs_.push_back(std::make_unique<Record[]>(kSlab));
    for (std::size_t i = kSlab; i > 0; --i) free_.push_back(&slabs_.back()[i - 1]);
  }

  Index<Key, Record> index_;
  std::vector<std::unique_ptr<Record[]>> slabs_;
  std::vector<Record*> free_;
};

}  // namespace zelcheck
