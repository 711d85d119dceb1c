// An allocator of records of one type, cut from slabs that go back to the system only when the pool
// is closed. It can list what is live.
//
// A record that was given back stays readable and waits its turn behind all that were given back
// before it, and behind some that wait in any case: a handle that is used after its end meets a
// dead record as long as can be, and not another one's.
#pragma once

#include <cstddef>
#include <cstdlib>

#include "storage/block_table.h"

namespace zelhost {

// A stretch of memory that records are cut from, zeroed at first.
struct Slab {
  static constexpr std::size_t kSmallest = std::size_t{4} << 10;
  static constexpr std::size_t kLargest = std::size_t{1} << 20;

  Slab* next;
  std::byte* begin;  // of the first record
  std::byte* end;    // of the last record
};

// Adds a slab to a list, null when there is no memory. The first record starts at a multiple of 16.
Slab* AddSlab(Slab*& list, std::size_t bytes, std::size_t recordSize) noexcept;
void FreeSlabs(Slab*& list) noexcept;

// Records must be trivial. `Record::NextDead` gives the place in a dead record for a link;
// `Record::IsLive` tells a live record from a dead one and from zeroed memory.
//
// In guard mode each record is a malloc of its own, freed when its turn comes, and known by a
// table.
template <typename Record>
class Pool {
 public:
  void Open(bool guarded) noexcept {
    guarded_ = guarded;
    open_ = true;
  }

  void Close() noexcept {
    guard_.ForEach([](const LiveBlock& block) { std::free(block.address); });
    guard_.Close();
    FreeSlabs(slabs_);
    *this = Pool();
  }

  // Null when there is no memory, and when closed. The record's content is undefined.
  Record* Take() noexcept { return available_ <= 0 || guarded_ ? TakeFresh() : TakeOldest(); }
  // The same where memory is not guarded; null also when a new slab is due.
  Record* TakeQuickly() noexcept {
    if (available_ > 0) return TakeOldest();
    return fresh_ == freshEnd_ ? nullptr : TakeNext();
  }

  // The record must no longer answer IsLive.
  void Return(Record* record) noexcept {
    (newest_ == nullptr ? oldest_ : newest_->NextDead()) = record;
    newest_ = record;
    ++available_;
    if (guarded_) [[unlikely]]
      FreeOldest();
  }

  // False for the address of what was freed, so that reading it would be an error; told in guard
  // mode alone, since without it no record is freed before the pool is closed.
  bool MayRead(const Record* record) const noexcept { return !guarded_ || IsInGuard(record); }

  template <typename Visit>
  void ForEachLive(Visit visit) const {
    const auto visitLive = [&](void* record) {
      if (static_cast<Record*>(record)->IsLive()) visit(*static_cast<Record*>(record));
    };
    for (const Slab* slab = slabs_; slab != nullptr; slab = slab->next) {
      for (std::byte* at = slab->begin; at != slab->end; at += sizeof(Record)) visitLive(at);
    }
    guard_.ForEach([&](const LiveBlock& block) { visitLive(block.address); });
  }

 private:
  // So many dead records, and at least one, always wait.
  static constexpr std::ptrdiff_t kWaiting = 256;

  // There is at least one that is newer, so that the link to the next is set.
  Record* TakeOldest() noexcept {
    Record* const record = oldest_;
    oldest_ = record->NextDead();
    --available_;
    return record;
  }

  // Out of line, as is what guard mode needs: the others stay short.
  [[gnu::noinline]] void FreeOldest() noexcept {
    if (available_ <= 0) return;
    Record* const oldest = TakeOldest();
    guard_.Remove(guard_.Find(oldest));
    std::free(oldest);
  }
  [[gnu::noinline]] bool IsInGuard(const Record* record) const noexcept {
    return guard_.Find(record) != nullptr;
  }

  [[gnu::noinline]] Record* TakeFresh() noexcept {
    if (!open_) return nullptr;
    if (guarded_) return TakeGuarded();
    if (fresh_ == freshEnd_) {
      slabBytes_ = slabBytes_ == 0 ? Slab::kSmallest : slabBytes_ * 2;
      if (slabBytes_ > Slab::kLargest) slabBytes_ = Slab::kLargest;
      const Slab* slab = AddSlab(slabs_, slabBytes_, sizeof(Record));
      if (slab == nullptr) return available_ > 1 - kWaiting ? TakeOldest() : nullptr;
      fresh_ = slab->begin;
      freshEnd_ = slab->end;
    }
    return TakeNext();
  }

  Record* TakeNext() noexcept {
    auto* record = reinterpret_cast<Record*>(fresh_);
    fresh_ += sizeof(Record);
    return record;
  }

  Record* TakeGuarded() noexcept {
    void* record = std::calloc(1, sizeof(Record));
    if (record == nullptr || guard_.Add({record, sizeof(Record), 0})) {
      return static_cast<Record*>(record);
    }
    std::free(record);
    return nullptr;
  }

  Record* oldest_ = nullptr;  // of the dead ones; each leads to the next newer one
  Record* newest_ = nullptr;
  std::ptrdiff_t available_ = -kWaiting;  // dead ones that may be used again
  bool guarded_ = false;
  bool open_ = false;
  std::byte* fresh_ = nullptr;
  std::byte* freshEnd_ = nullptr;
  std::size_t slabBytes_ = 0;
  Slab* slabs_ = nullptr;
  BlockTable guard_;
};

}  // namespace zelhost
