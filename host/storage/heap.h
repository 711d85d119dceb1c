// The host's allocator for blocks of any size, with the alignment of malloc. It knows which blocks
// are live, and can list them.
//
// Small blocks are cells of a chunk, of one size each; a chunk starts at a multiple of its size, so
// that a block's address leads to it. Larger blocks are a malloc of their own each; in guard mode
// all blocks are, so that a memory checker sees them. What is known of the blocks is kept beside
// them: sixteen bytes fill a cell of sixteen, and what a client writes past a block's end cannot
// change it.
//
// Usable without having been constructed; holds nothing once closed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>

#include "storage/block_table.h"

namespace zelhost {

class Heap {
 public:
  void Open(bool guarded);
  void Close() noexcept;

  // Null when there is no memory, and when closed.
  void* Allocate(std::size_t size) noexcept;
  // Null leaves the old block as it was, which must be live.
  void* Reallocate(void* block, std::size_t size) noexcept;
  // False for an address that is no live block's.
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

  // Of a block in a cell: its number, how many bytes it leaves unused of a size that is a multiple
  // of the grain, and a bit that is always set. 0: the cell is free.
  using Facts = std::uint32_t;
  static constexpr unsigned kNumberShift = 5;
  static constexpr Facts kOneNumber = 1u << kNumberShift;
  static constexpr Facts kLive = 1;

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
    std::uint32_t largestSize;  // of a block in a cell; less than the cell for blocks of no bytes
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
    std::size_t SizeOf(Facts facts) const noexcept {
      return largestSize - (facts >> 1 & (kGrain - 1));
    }
  };
  // A stretch of memory that chunks are cut from.
  struct Area {
    Area* next;
    void* memory;
  };

  static std::size_t ClassOf(std::size_t size) noexcept { return (size + kGrain - 1) / kGrain; }
  static Facts FactsFor(std::size_t size, Facts number) noexcept {
    return static_cast<Facts>(number | (static_cast<Facts>(0 - size) & (kGrain - 1)) << 1 | kLive);
  }

  // The chunk that an address lies in, or null. Blocks of one size are often given back in a row.
  Chunk* ChunkOf(const void* block) noexcept {
    const auto address = reinterpret_cast<std::uintptr_t>(block);
    if ((reinterpret_cast<std::uintptr_t>(recent_) ^ address) < kChunkBytes) return recent_;
    return recent_ = FindChunk(block);
  }
  Chunk* FindChunk(const void* block) const noexcept {
    if (table_ == nullptr) return nullptr;
    const auto address = reinterpret_cast<std::uintptr_t>(block);
    for (std::size_t slot = SlotOf(address);; ++slot) {
      Chunk* const chunk = table_[slot & tableMask_];
      const auto distance = reinterpret_cast<std::uintptr_t>(chunk) ^ address;
      if (chunk == nullptr || distance < kChunkBytes) return chunk;
    }
  }
  static std::size_t SlotOf(std::uintptr_t address) noexcept {
    return static_cast<std::size_t>((address >> kChunkBits) * 0x9E3779B1u >> 4);
  }
  Facts NextNumber() noexcept { return lastNumber_ += kOneNumber; }

  void* AllocateFresh(std::size_t size) noexcept;
  void* AllocateLarge(std::size_t size) noexcept;
  bool FreeLarge(void* block) noexcept;
  void* ReallocateLarge(LiveBlock* block, std::size_t size) noexcept;
  Chunk* AddChunk(SizeClass& sizeClass, std::size_t largestSize) noexcept;
  bool AddArea() noexcept;
  bool Register(Chunk* chunk) noexcept;

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
  BlockTable large_;
};

inline void* Heap::Allocate(std::size_t size) noexcept {
  if (size >= smallLimit_) [[unlikely]]
    return AllocateLarge(size);
  SizeClass& sizeClass = classes_[ClassOf(size)];
  FreeCell* const cell = sizeClass.free;
  if (cell == nullptr) [[unlikely]]
    return AllocateFresh(size);
  sizeClass.free = cell->next;
  *cell->facts = FactsFor(size, NextNumber());
  return cell;
}

inline bool Heap::Free(void* block) noexcept {
  Chunk* const chunk = ChunkOf(block);
  if (chunk == nullptr) [[unlikely]]
    return FreeLarge(block);
  Facts* const facts = chunk->FactsOf(block);
  if (facts == nullptr) [[unlikely]]
    return false;
  *facts = 0;
  SizeClass& sizeClass = *chunk->sizeClass;
  auto* cell = static_cast<FreeCell*>(block);
  cell->facts = facts;
  cell->next = sizeClass.free;
  sizeClass.free = cell;
  return true;
}

}  // namespace zelhost
