// The host's allocators: Heap for blocks of any size, Pool for records of one size. Both hand out
// small things from slabs that are given back to the system only when the allocator is closed, and
// both can list what is live without any bookkeeping for it on the way.
//
// In guard mode each block and record is a malloc of its own, so that a memory checker sees it.
// Both are usable without having been constructed and hold nothing once closed.
#ifndef ZELHOST_HEAP_H
#define ZELHOST_HEAP_H

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <unordered_map>
#include <unordered_set>

namespace zelhost {

// A stretch of memory that cells of one size are cut from, zeroed at first.
struct Slab {
  static constexpr std::size_t kSmallest = std::size_t{4} << 10;
  static constexpr std::size_t kLargest = std::size_t{1} << 20;

  Slab* next;
  std::byte* begin;  // of the first cell
  std::byte* end;    // of the last cell
  std::size_t cellSize;
};

// Adds a slab to a list, null when there is no memory. The first cell starts `offset` bytes after a
// multiple of 16.
Slab* AddSlab(Slab*& list, std::size_t bytes, std::size_t cellSize, std::size_t offset) noexcept;
void FreeSlabs(Slab*& list) noexcept;

struct LiveBlock {
  void* address;
  std::size_t size;
  std::uint32_t number;
};

// Blocks with the alignment of malloc. In front of each lies a header of eight bytes with its size
// and its number, so that freeing needs no search: cells are multiples of 16 bytes, blocks start
// eight bytes into one, and so 24, 40, 56 bytes fill a cell.
class Heap {
 public:
  void Open(bool guard);
  void Close() noexcept;

  // Null when there is no memory, and when closed.
  void* Allocate(std::size_t size) noexcept;
  // Null leaves the old block as it was.
  void* Reallocate(void* block, std::size_t size) noexcept;
  // False for a block that is not live, as far as that can be seen.
  bool Free(void* block) noexcept;
  bool IsLive(const void* block) const noexcept;
  std::size_t Size(const void* block) const noexcept;

  std::size_t blocks() const noexcept { return blocks_; }
  std::size_t bytes() const noexcept { return bytes_; }
  void ForEachLive(const std::function<void(const LiveBlock&)>& visit) const;

 private:
  static constexpr std::size_t kGrain = 16;
  static constexpr std::size_t kClassCount = 34;
  static constexpr std::uint32_t kLarge = 0xFFFFFFFFu;  // in the place of a size

  struct Header {
    std::uint32_t size;
    std::uint32_t number;  // 0: not live
  };
  static constexpr std::size_t kSmallLimit = (kClassCount - 1) * kGrain - sizeof(Header) + 1;

  struct FreeCell {
    FreeCell* next;
  };
  // Cells of one size: given back ones first, then the rest of the newest slab.
  struct SizeClass {
    FreeCell* free;
    std::byte* fresh;
    std::byte* freshEnd;
    std::size_t slabBytes;
  };
  // In front of the header of a block that is a malloc of its own.
  struct LargeLinks {
    LargeLinks* previous;
    LargeLinks* next;
    std::size_t size;
  };
  static constexpr std::size_t kLargePrefix =
      (sizeof(LargeLinks) + sizeof(Header) + kGrain - 1) / kGrain * kGrain;
  struct Guarded {
    std::size_t size;
    std::uint32_t number;
  };
  using GuardTable = std::unordered_map<const void*, Guarded>;

  static std::size_t ClassOf(std::size_t size) noexcept {
    return (size + sizeof(Header) + kGrain - 1) / kGrain;
  }
  static Header* HeaderOf(const void* block) noexcept {
    return reinterpret_cast<Header*>(
        const_cast<std::byte*>(static_cast<const std::byte*>(block) - sizeof(Header)));
  }
  static LargeLinks* LinksOf(const void* block) noexcept {
    return reinterpret_cast<LargeLinks*>(
        const_cast<std::byte*>(static_cast<const std::byte*>(block) - kLargePrefix));
  }

  void* Issue(void* block, std::size_t size) noexcept {
    *HeaderOf(block) = {static_cast<std::uint32_t>(size), NextNumber()};
    ++blocks_;
    bytes_ += size;
    return block;
  }
  std::uint32_t NextNumber() noexcept {
    if (++lastNumber_ == 0) ++lastNumber_;
    return lastNumber_;
  }
  void* AllocateFresh(std::size_t size) noexcept;
  void* AllocateLarge(std::size_t size) noexcept;
  void* AllocateGuarded(std::size_t size) noexcept;
  bool FreeLarge(void* block) noexcept;
  bool FreeGuarded(void* block) noexcept;
  void Link(LargeLinks* links) noexcept;
  void Unlink(LargeLinks* links) noexcept;

  std::size_t smallLimit_ = 0;  // sizes below it come from slabs; 0 when guarded or closed
  std::size_t blocks_ = 0;
  std::size_t bytes_ = 0;
  std::uint32_t lastNumber_ = 0;
  bool open_ = false;
  SizeClass classes_[kClassCount] = {};
  Slab* slabs_ = nullptr;
  LargeLinks* large_ = nullptr;
  GuardTable* guard_ = nullptr;
};

inline void* Heap::Allocate(std::size_t size) noexcept {
  if (size < smallLimit_) [[likely]] {
    SizeClass& sizeClass = classes_[ClassOf(size)];
    if (FreeCell* cell = sizeClass.free) [[likely]] {
      sizeClass.free = cell->next;
      return Issue(cell, size);
    }
    return AllocateFresh(size);
  }
  return AllocateLarge(size);
}

inline bool Heap::Free(void* block) noexcept {
  if (smallLimit_ == 0) [[unlikely]]
    return FreeGuarded(block);
  Header* header = HeaderOf(block);
  if (header->number == 0) [[unlikely]]
    return false;
  if (header->size >= kSmallLimit) return FreeLarge(block);
  header->number = 0;
  --blocks_;
  bytes_ -= header->size;
  auto* cell = static_cast<FreeCell*>(block);
  SizeClass& sizeClass = classes_[ClassOf(header->size)];
  cell->next = sizeClass.free;
  sizeClass.free = cell;
  return true;
}

// Records of one type, which must be trivial. `Record::NextFree` gives the place in a record that
// is not live where the next free one is kept; `Record::IsLive` tells a live record from one that
// was given back and from zeroed memory.
template <typename Record>
class Pool {
 public:
  void Open(bool guard) {
    if (guard) guard_ = new GuardTable;
    open_ = true;
  }

  void Close() noexcept {
    if (guard_ != nullptr) {
      for (Record* record : *guard_) std::free(record);
      delete guard_;
    }
    FreeSlabs(slabs_);
    *this = Pool();
  }

  // Null when there is no memory, and when closed. The record's content is undefined.
  Record* Take() noexcept {
    if (Record* record = free_) [[likely]] {
      free_ = record->NextFree();
      return record;
    }
    return TakeFresh();
  }

  // The record must no longer answer IsLive.
  void Return(Record* record) noexcept {
    if (guard_ != nullptr) [[unlikely]] {
      guard_->erase(record);
      std::free(record);
      return;
    }
    record->NextFree() = free_;
    free_ = record;
  }

  template <typename Visit>
  void ForEachLive(Visit visit) const {
    for (const Slab* slab = slabs_; slab != nullptr; slab = slab->next) {
      for (std::byte* cell = slab->begin; cell != slab->end; cell += sizeof(Record)) {
        if (auto* record = reinterpret_cast<Record*>(cell); record->IsLive()) visit(*record);
      }
    }
    if (guard_ == nullptr) return;
    for (Record* record : *guard_) visit(*record);
  }

 private:
  using GuardTable = std::unordered_set<Record*>;

  Record* TakeFresh() noexcept {
    if (guard_ != nullptr) return TakeGuarded();
    if (!open_) return nullptr;
    if (fresh_ == freshEnd_) {
      slabBytes_ = slabBytes_ == 0 ? Slab::kSmallest : slabBytes_ * 2;
      if (slabBytes_ > Slab::kLargest) slabBytes_ = Slab::kLargest;
      const Slab* slab = AddSlab(slabs_, slabBytes_, sizeof(Record), 0);
      if (slab == nullptr) return nullptr;
      fresh_ = slab->begin;
      freshEnd_ = slab->end;
    }
    auto* record = reinterpret_cast<Record*>(fresh_);
    fresh_ += sizeof(Record);
    return record;
  }

  Record* TakeGuarded() noexcept {
    auto* record = static_cast<Record*>(std::calloc(1, sizeof(Record)));
    if (record == nullptr) return nullptr;
    try {
      guard_->insert(record);
    } catch (...) {
      std::free(record);
      return nullptr;
    }
    return record;
  }

  Record* free_ = nullptr;
  std::byte* fresh_ = nullptr;
  std::byte* freshEnd_ = nullptr;
  std::size_t slabBytes_ = 0;
  Slab* slabs_ = nullptr;
  GuardTable* guard_ = nullptr;
  bool open_ = false;
};

}  // namespace zelhost

#endif  // ZELHOST_HEAP_H
