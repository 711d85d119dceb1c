#include "storage/heap.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>

namespace zelhost {

namespace {
constexpr std::size_t kLargestSize = std::numeric_limits<std::size_t>::max() / 2;  // of any object
constexpr std::size_t kFirstTableSize = 32;                                        // a power of two
constexpr std::size_t kSmallestArea = std::size_t{64} << 10;
constexpr std::size_t kLargestArea = std::size_t{1} << 20;
}  // namespace

void Heap::Open(bool guarded) {
  if (!guarded) {
    table_ = new Chunk* [kFirstTableSize] {};
    tableMask_ = kFirstTableSize - 1;
    smallLimit_ = kSmallLimit;
  }
  open_ = true;
}

void Heap::Close() noexcept {
  large_.ForEach([](const LiveBlock& block) { std::free(block.address); });
  large_.Close();
  while (Area* area = areas_) {
    areas_ = area->next;
    std::free(area->memory);
    delete area;
  }
  delete[] table_;
  *this = Heap();
}

void* Heap::AllocateFresh(std::size_t size) noexcept {
  const std::size_t largestSize = ClassOf(size) * kGrain;
  SizeClass& sizeClass = classes_[ClassOf(size)];
  Chunk* chunk = sizeClass.newest;
  if (chunk == nullptr || chunk->handedOut == chunk->cellCount) {
    chunk = AddChunk(sizeClass, largestSize);
    if (chunk == nullptr) return nullptr;
  }
  const std::size_t index = chunk->handedOut++;
  chunk->AllFacts()[index] = FactsFor(size, NextNumber());
  return chunk->cells + index * chunk->cellSize;
}

Heap::Chunk* Heap::AddChunk(SizeClass& sizeClass, std::size_t largestSize) noexcept {
  if (fresh_ == freshEnd_ && !AddArea()) return nullptr;
  auto* chunk = reinterpret_cast<Chunk*>(fresh_);
  if (!Register(chunk)) return nullptr;
  fresh_ += kChunkBytes;

  // At least one grain, since each block has an address of its own.
  const std::size_t cellSize = std::max(largestSize, kGrain);
  const std::size_t count = (kChunkBytes - sizeof(Chunk)) / (cellSize + sizeof(Facts));
  std::byte* const cells = reinterpret_cast<std::byte*>(chunk) + kChunkBytes - count * cellSize;
  *chunk = {&sizeClass,
            static_cast<std::uint32_t>(cellSize),
            static_cast<std::uint32_t>((std::uint64_t{1} << 32) / cellSize + 1),
            static_cast<std::uint32_t>(count),
            0,
            static_cast<std::uint32_t>(largestSize),
            cells,
            chunks_};
  std::memset(chunk->AllFacts(), 0, count * sizeof(Facts));
  chunks_ = chunk;
  sizeClass.newest = chunk;
  return chunk;
}

bool Heap::AddArea() noexcept {
  const std::size_t bytes = std::clamp(areaBytes_ * 2, kSmallestArea, kLargestArea);
  auto* area = new (std::nothrow) Area;
  auto* memory = static_cast<std::byte*>(std::malloc(bytes));
  if (area == nullptr || memory == nullptr) {
    delete area;
    std::free(memory);
    return false;
  }
  const auto address = reinterpret_cast<std::uintptr_t>(memory);
  const std::size_t lead = (kChunkBytes - address % kChunkBytes) % kChunkBytes;
  *area = {areas_, memory};
  areas_ = area;
  areaBytes_ = bytes;
  fresh_ = memory + lead;
  freshEnd_ = fresh_ + (bytes - lead) / kChunkBytes * kChunkBytes;
  return true;
}

// At least half of the table stays free.
bool Heap::Register(Chunk* chunk) noexcept {
  const auto enter = [](Chunk** table, std::size_t mask, Chunk* entered) {
    std::size_t slot = SlotOf(reinterpret_cast<std::uintptr_t>(entered));
    while (table[slot & mask] != nullptr) ++slot;
    table[slot & mask] = entered;
  };
  const std::size_t size = tableMask_ + 1;
  if ((chunkCount_ + 1) * 2 > size) {
    auto** larger = new (std::nothrow) Chunk* [size * 2] {};
    if (larger == nullptr) return false;
    for (std::size_t slot = 0; slot < size; ++slot) {
      if (table_[slot] != nullptr) enter(larger, size * 2 - 1, table_[slot]);
    }
    delete[] table_;
    table_ = larger;
    tableMask_ = size * 2 - 1;
  }
  enter(table_, tableMask_, chunk);
  ++chunkCount_;
  return true;
}

void* Heap::AllocateLarge(std::size_t size) noexcept {
  if (!open_ || size > kLargestSize) return nullptr;
  // Of zero bytes, malloc may answer null.
  void* block = std::malloc(std::max<std::size_t>(size, 1));
  if (block == nullptr || large_.Add({block, size, NextNumber() >> kNumberShift})) return block;
  std::free(block);
  return nullptr;
}

bool Heap::FreeLarge(void* block) noexcept {
  LiveBlock* const known = large_.Find(block);
  if (known == nullptr) return false;
  large_.Remove(known);
  std::free(block);
  return true;
}

bool Heap::IsLive(const void* block) const noexcept {
  Chunk* const chunk = FindChunk(block);
  return chunk != nullptr ? chunk->FactsOf(block) != nullptr : large_.Find(block) != nullptr;
}

std::size_t Heap::Size(const void* block) const noexcept {
  if (Chunk* const chunk = FindChunk(block)) {
    const Facts* facts = chunk->FactsOf(block);
    return facts == nullptr ? 0 : chunk->SizeOf(*facts);
  }
  const LiveBlock* known = large_.Find(block);
  return known == nullptr ? 0 : known->size;
}

void* Heap::Reallocate(void* block, std::size_t size) noexcept {
  LiveBlock* const large = large_.Find(block);
  if (large != nullptr && size >= smallLimit_) return ReallocateLarge(large, size);
  const std::size_t oldSize = Size(block);
  if (large == nullptr && size < smallLimit_ && ClassOf(oldSize) == ClassOf(size)) {
    Facts* facts = ChunkOf(block)->FactsOf(block);
    *facts = FactsFor(size, *facts & ~(kOneNumber - 1));
    return block;
  }
  void* moved = Allocate(size);
  if (moved == nullptr) return nullptr;
  std::memcpy(moved, block, std::min(oldSize, size));
  Free(block);
  return moved;
}

void* Heap::ReallocateLarge(LiveBlock* block, std::size_t size) noexcept {
  if (size > kLargestSize) return nullptr;
  LiveBlock known = *block;
  // Right after a removal there is room in the table, also when memory is short.
  large_.Remove(block);
  void* moved = std::realloc(known.address, std::max<std::size_t>(size, 1));
  if (moved != nullptr) known = {moved, size, known.number};
  large_.Add(known);
  return moved;
}

void Heap::ForEachLive(const std::function<void(const LiveBlock&)>& visit) const {
  for (Chunk* chunk = chunks_; chunk != nullptr; chunk = chunk->next) {
    for (std::uint32_t i = 0; i < chunk->handedOut; ++i) {
      const Facts facts = chunk->AllFacts()[i];
      if (facts == 0) continue;
      visit({chunk->cells + std::size_t{i} * chunk->cellSize, chunk->SizeOf(facts),
             facts >> kNumberShift});
    }
  }
  large_.ForEach(visit);
}

}  // namespace zelhost
