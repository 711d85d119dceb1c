// The host's allocator for blocks of any size, with the alignment of malloc. It knows which blocks
// are live, and can list them.
//
// Small blocks are cells of a chunk, of one size each; a chunk starts at a multiple of its size, so
// that a block's address leads to it. Larger blocks are a malloc of their own each; in guard mode
// all blocks are, so that a memory checker sees them, and numbered. The records of the blocks are
// kept beside them: sixteen bytes fill a cell of sixteen, and what a client writes past a block's
// end cannot change it.
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
  // The same for what is found at the first look, as blocks in cells mostly are: else false.
  bool FreeSmall(void* block) noexcept;
  bool IsLive(const void* block) const noexcept;
  std::size_t Size(const void* block) const noexcept;

  void ForEachLive(const std::function<void(const LiveBlock&)>& visit) const;

 private:
  static constexpr std::size_t kGrain = 16;
  static constexpr std::size_t kClassCount = 33;
  static constexpr std::size_t kSmallLimit = (kClassCount - 1) * kGrain + 1;
  static constexpr unsigned kChunkBits = 14;
  static constexpr std::size_t kChunkBytes = std::size_t{1} << kChunkBits;

  // Of a block in a cell: its size modulo the grain, and a bit that is always set. 0: no block
  // begins there.
  using Facts = std::uint8_t;
  static constexpr std::size_t kLive = 1;

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
  // The head of a chunk, and behind it the facts of all its cells. The cells are counted from the
  // chunk's beginning; those that the head and the facts lie in are never handed out.
  struct Chunk {
    std::uint32_t reciprocal;  // of cellSize, in units of 2^-32, rounded up
    std::uint32_t cellSize;
    std::uint32_t cellCount;
    std::uint32_t fresh;        // the first cell that was never handed out
    std::uint32_t largestSize;  // of a block in a cell; less than the cell for blocks of no bytes
    SizeClass* sizeClass;
    Chunk* next;

    Facts* AllFacts() noexcept { return reinterpret_cast<Facts*>(this + 1); }
    void* CellAt(std::uint32_t index) noexcept {
      return reinterpret_cast<std::byte*>(this) + std::size_t{index} * cellSize;
    }
    bool Covers(const void* address) const noexcept { return OffsetOf(address) < kChunkBytes; }
    // The facts of the live block at an address within the chunk, or null.
    Facts* FactsOf(const void* block) noexcept {
      // The quotient by the size of a cell, and behind the point the remainder.
      const std::uint64_t place = OffsetOf(block) * std::uint64_t{reciprocal};
      if (static_cast<std::uint32_t>(place) >= reciprocal) return nullptr;
      Facts* const facts = AllFacts() + (place >> 32);
      return *facts == 0 ? nullptr : facts;
    }
    std::size_t SizeOf(Facts facts) const noexcept {
      const std::size_t odd = facts >> 1;
      return odd == 0 ? largestSize : largestSize - kGrain + odd;
    }

   private:
    // Chunks start at a multiple of their size.
    std::uintptr_t OffsetOf(const void* address) const noexcept {
      return reinterpret_cast<std::uintptr_t>(this) ^ reinterpret_cast<std::uintptr_t>(address);
    }
  };
  // A stretch of memory that chunks are cut from.
  struct Area {
    Area* next;
    void* memory;
  };

  static std::size_t ClassOf(std::size_t size) noexcept { return (size + kGrain - 1) / kGrain; }
  static Facts FactsFor(std::size_t size) noexcept {
    return static_cast<Facts>((size & (kGrain - 1)) * 2 + kLive);
  }

  // The chunk that an address lies in; else one that no block lies in. Chunks come in rows, so that
  // mostly the first place of the table is the right one.
  Chunk* ChunkOf(const void* block) const noexcept;
  static void GiveBack(Chunk* chunk, Facts* facts, void* block) noexcept;
  static std::size_t PlaceOf(const void* address) noexcept {
    return reinterpret_cast<std::uintptr_t>(address) >> kChunkBits;
  }
  // The place of a search's second step, when another chunk has the first one. Rows that meet in
  // the table would make one long run of taken places: from here on neighbours lie apart.
  static std::size_t FurtherPlaceOf(const void* address) noexcept {
    return static_cast<std::size_t>(PlaceOf(address) * std::uint64_t{0x9E3779B97F4A7C15u} >> 32);
  }

  void* AllocateFresh(std::size_t size) noexcept;
  void* AllocateLarge(std::size_t size) noexcept;
  void* ReallocateLarge(LiveBlock* block, std::size_t size) noexcept;
  Chunk* AddChunk(SizeClass& sizeClass, std::size_t largestSize) noexcept;
  bool AddArea() noexcept;
  bool Register(Chunk* chunk) noexcept;

  std::size_t smallLimit_ = 0;  // sizes below it are cells; 0 when guarded or closed
  std::uint32_t lastNumber_ = 0;
  bool open_ = false;
  SizeClass classes_[kClassCount] = {};
  // All chunks by address. A free place holds the chunk that has no blocks.
  static Chunk noChunk_;
  static Chunk* noTable_[1];
  Chunk** table_ = noTable_;
  std::size_t tableMask_ = 0;
  std::size_t chunkCount_ = 0;
  Chunk* chunks_ = nullptr;
  std::byte* fresh_ = nullptr;  // the rest of the newest area
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
  *cell->facts = FactsFor(size);
  return cell;
}

inline bool Heap::FreeSmall(void* block) noexcept {
  Chunk* const chunk = table_[PlaceOf(block) & tableMask_];
  Facts* const facts = chunk->Covers(block) ? chunk->FactsOf(block) : nullptr;
  if (facts == nullptr) [[unlikely]]
    return false;
  GiveBack(chunk, facts, block);
  return true;
}

inline void Heap::GiveBack(Chunk* chunk, Facts* facts, void* block) noexcept {
  *facts = 0;
  SizeClass& sizeClass = *chunk->sizeClass;
  auto* cell = static_cast<FreeCell*>(block);
  cell->facts = facts;
  cell->next = sizeClass.free;
  sizeClass.free = cell;
}

}  // namespace zelhost
