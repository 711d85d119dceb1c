// The host's allocators: Heap for blocks of any size, Pool for records of one size. Both cut small
// things from larger stretches of memory, which go back to the system only when the allocator is
// closed, and both can list what is live.
//
// In guard mode each block and record is a malloc of its own, so that a memory checker sees it.
// Both are usable without having been constructed and hold nothing once closed.
#pragma once

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

// Adds a slab to a list, null when there is no memory. The first cell starts at a multiple of 16.
Slab* AddSlab(Slab*& list, std::size_t bytes, std::size_t cellSize) noexcept;
void FreeSlabs(Slab*& list) noexcept;

struct LiveBlock {
  void* address;
  std::size_t size;
  std::uint32_t number;  // of the allocation; after 2^27 of them it begins again
};

// Blocks with the alignment of malloc. Small ones are cells of a chunk, of one size each; a chunk
// starts at a multiple of its size, so that a block's address leads to it. What is known of the
// blocks is kept beside the cells: sixteen bytes fill a cell of sixteen, and what a client writes
// past a block's end cannot change them.
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

  void ForEachLive(const std::function<void(const LiveBlock&)>& visit) const;

 private:
  static constexpr std::size_t kGrain = 16;
  static constexpr std::size_t kClassCount = 33;
  static constexpr std::size_t kSmallLimit = (kClassCount - 1) * kGrain + 1;
  static constexpr unsigned kChunkBits = 14;
  static constexpr std::size_t kChunkBytes = std::size_t{1} << kChunkBits;

  // Of a block in a cell: its number, and in the lowest bits how many bytes of the cell it leaves
  // unused. 0: the cell is free.
  using Facts = std::uint32_t;
  static constexpr Facts kOneNumber = 32;
  static constexpr Facts kSlackMask = kOneNumber - 1;

  struct Chunk;
  // A cell that was given back.
  struct FreeCell {
    FreeCell* next;
    Facts* facts;
  };
  struct SizeClass {
    FreeCell* free;
    Chunk* newest;  // the only one with cells that were never handed out
  };
  struct Chunk {
    SizeClass* sizeClass;
    std::uint32_t cellSize;
    std::uint32_t reciprocal;  // of cellSize, in units of 2^-32
    std::uint32_t cellCount;
    std::uint32_t handedOut;
    std::byte* cells;
    Chunk* next;

    Facts* AllFacts() noexcept { return reinterpret_cast<Facts*>(this + 1); }
    // Of the live block at an address within the chunk, or null.
    Facts* FactsOf(const void* block) noexcept {
      const auto offset = static_cast<std::uint32_t>(static_cast<const std::byte*>(block) - cells);
      // A division by the size of a cell.
      const auto index = static_cast<std::uint32_t>(std::uint64_t{offset} * reciprocal >> 32);
      if (index >= cellCount || index * cellSize != offset) return nullptr;
      Facts* const facts = AllFacts() + index;
      return *facts == 0 ? nullptr : facts;
    }
  };
  // What chunks are cut from.
  struct Area {
    Area* next;
    void* memory;
  };
  // In front of a block that is a malloc of its own.
  struct LargeLinks {
    LargeLinks* previous;
    LargeLinks* next;
    std::size_t size;
    std::uint32_t number;
    std::uint32_t mark;  // kLargeMark while live
  };
  static constexpr std::uint32_t kLargeMark = 0x5A454C4Du;
  static constexpr std::size_t kLargePrefix = (sizeof(LargeLinks) + kGrain - 1) / kGrain * kGrain;
  struct Guarded {
    std::size_t size;
    std::uint32_t number;
  };
  using GuardTable = std::unordered_map<const void*, Guarded>;

  // Of at least one cell, since each block has an address of its own.
  static std::size_t ClassOf(std::size_t size) noexcept {
    return size == 0 ? 1 : (size + kGrain - 1) / kGrain;
  }
  static LargeLinks* LinksOf(const void* block) noexcept {
    return reinterpret_cast<LargeLinks*>(
        const_cast<std::byte*>(static_cast<const std::byte*>(block) - kLargePrefix));
  }

  // The chunk that an address lies in, or null. Blocks of one size are often given back in a row.
  Chunk* ChunkOf(const void* block) noexcept {
    const auto address = reinterpret_cast<std::uintptr_t>(block);
    if ((reinterpret_cast<std::uintptr_t>(recent_) ^ address) < kChunkBytes) return recent_;
    return recent_ = FindChunk(block);
  }
  Chunk* FindChunk(const void* block) const noexcept {
    const auto address = reinterpret_cast<std::uintptr_t>(block);
    for (std::size_t slot = SlotOf(address);; ++slot) {
      Chunk* const chunk = table_[slot & tableMask_];
      const auto distance = reinterpret_cast<std::uintptr_t>(chunk) ^ address;
      if (distance < kChunkBytes || chunk == nullptr) return chunk;
    }
  }
  static std::size_t SlotOf(std::uintptr_t address) noexcept {
    return static_cast<std::size_t>((address >> kChunkBits) * 0x9E3779B1u >> 4);
  }
  static Facts SlackOf(std::size_t size) noexcept {
    return static_cast<Facts>(ClassOf(size) * kGrain - size);
  }
  Facts NextNumber() noexcept {
    lastNumber_ += kOneNumber;
    if (lastNumber_ == 0) [[unlikely]]
      lastNumber_ = kOneNumber;
    return lastNumber_;
  }
  void* AllocateFresh(std::size_t size) noexcept;
  void* AllocateLarge(std::size_t size) noexcept;
  void* AllocateGuarded(std::size_t size) noexcept;
  bool FreeLarge(void* block) noexcept;
  bool FreeGuarded(void* block) noexcept;
  Chunk* AddChunk(SizeClass& sizeClass, std::size_t cellSize) noexcept;
  bool AddArea() noexcept;
  bool Register(Chunk* chunk) noexcept;
  void Link(LargeLinks* links) noexcept;
  void Unlink(LargeLinks* links) noexcept;

  std::size_t smallLimit_ = 0;  // sizes below it are cells; 0 when guarded or closed
  Facts lastNumber_ = 0;
  bool open_ = false;
  SizeClass classes_[kClassCount] = {};
  Chunk** table_ = nullptr;  // all chunks by address; null: a free slot
  std::size_t tableMask_ = 0;
  Chunk* recent_ = nullptr;
  std::size_t chunkCount_ = 0;
  Chunk* chunks_ = nullptr;
  std::byte* fresh_ = nullptr;  // what is left of the newest area
  std::byte* freshEnd_ = nullptr;
  std::size_t areaBytes_ = 0;
  Area* areas_ = nullptr;
  LargeLinks* large_ = nullptr;
  GuardTable* guard_ = nullptr;
};

inline void* Heap::Allocate(std::size_t size) noexcept {
  if (size < smallLimit_) [[likely]] {
    SizeClass& sizeClass = classes_[ClassOf(size)];
    if (FreeCell* cell = sizeClass.free) [[likely]] {
      sizeClass.free = cell->next;
      *cell->facts = NextNumber() | SlackOf(size);
      return cell;
    }
    return AllocateFresh(size);
  }
  return AllocateLarge(size);
}

inline bool Heap::Free(void* block) noexcept {
  if (smallLimit_ == 0) [[unlikely]]
    return FreeGuarded(block);
  Chunk* chunk = ChunkOf(block);
  if (chunk == nullptr) return FreeLarge(block);
  Facts* const facts = chunk->FactsOf(block);
  if (facts == nullptr) [[unlikely]]
    return false;
  *facts = 0;
  auto* cell = static_cast<FreeCell*>(block);
  cell->facts = facts;
  cell->next = chunk->sizeClass->free;
  chunk->sizeClass->free = cell;
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
      const Slab* slab = AddSlab(slabs_, slabBytes_, sizeof(Record));
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
