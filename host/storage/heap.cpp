#include "storage/heap.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>

namespace zelhost {

namespace {
constexpr std::size_t kLargestSize = std::numeric_limits<std::size_t>::max() / 2;  // of any object
constexpr std::size_t kFirstTableSize = 256;                                       // a power of two
constexpr std::size_t kSmallestArea = std::size_t{64} << 10;
constexpr std::size_t kLargestArea = std::size_t{1} << 20;
}  // namespace

constinit Heap::Chunk Heap::noChunk_{};
constinit Heap::Chunk* Heap::noTable_[1] = {&Heap::noChunk_};

void Heap::Open(bool guarded) {
  if (!guarded) {
    table_ = new Chunk*[kFirstTableSize];
    std::fill_n(table_, kFirstTableSize, &noChunk_);
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
  if (table_ != noTable_) delete[] table_;
  *this = Heap();
}

void* Heap::AllocateFresh(std::size_t size) noexcept {
  const std::size_t largestSize = ClassOf(size) * kGrain;
  SizeClass& sizeClass = classes_[ClassOf(size)];
  Chunk* chunk = sizeClass.newest;
  if (chunk == nullptr || chunk->fresh == chunk->cellCount) {
    chunk = AddChunk(sizeClass, largestSize);
    if (chunk == nullptr) return nullptr;
  }
  const std::uint32_t index = chunk->fresh++;
  chunk->AllFacts()[index] = FactsFor(size);
  return chunk->CellAt(index);
}

Heap::Chunk* Heap::AddChunk(SizeClass& sizeClass, std::size_t largestSize) noexcept {
  if (fresh_ == freshEnd_ && !AddArea()) return nullptr;
  auto* chunk = reinterpret_cast<Chunk*>(fresh_);
  if (!Register(chunk)) return nullptr;
  fresh_ += kChunkBytes;

  // At least one grain, since each block has an address of its own.
  const std::size_t cellSize = std::max(largestSize, kGrain);
  const std::size_t count = kChunkBytes / cellSize;
  // The rest of the chunk has facts as well, of which an address there is told to be no block's.
  const std::size_t factsBytes = (count + 1) * sizeof(Facts);
  const std::size_t headBytes = sizeof(Chunk) + factsBytes;
  *chunk = {static_cast<std::uint32_t>((std::uint64_t{1} << 32) / cellSize + 1),
            static_cast<std::uint32_t>(cellSize),
            static_cast<std::uint32_t>(count),
            static_cast<std::uint32_t>((headBytes + cellSize - 1) / cellSize),
            static_cast<std::uint32_t>(largestSize),
            &sizeClass,
            chunks_};
  std::memset(chunk->AllFacts(), 0, factsBytes);
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

// At least seven eighths of the table stay free: most blocks are found at the first look.
bool Heap::Register(Chunk* chunk) noexcept {
  const auto enter = [](Chunk** table, std::size_t mask, Chunk* entered) {
    std::size_t place = PlaceOf(entered);
    if (table[place & mask] != &noChunk_) place = FurtherPlaceOf(entered);
    while (table[place & mask] != &noChunk_) ++place;
    table[place & mask] = entered;
  };
  const std::size_t size = tableMask_ + 1;
  if ((chunkCount_ + 1) * 8 > size) {
    auto** larger = new (std::nothrow) Chunk*[size * 2];
    if (larger == nullptr) return false;
    std::fill_n(larger, size * 2, &noChunk_);
    for (std::size_t place = 0; place < size; ++place) {
      if (table_[place] != &noChunk_) enter(larger, size * 2 - 1, table_[place]);
    }
    delete[] table_;
    table_ = larger;
    tableMask_ = size * 2 - 1;
  }
  enter(table_, tableMask_, chunk);
  ++chunkCount_;
  return true;
}

Heap::Chunk* Heap::ChunkOf(const void* block) const noexcept {
  Chunk* chunk = table_[PlaceOf(block) & tableMask_];
  for (std::size_t place = FurtherPlaceOf(block); chunk != &noChunk_ && !chunk->Covers(block);
       ++place) {
    chunk = table_[place & tableMask_];
  }
  return chunk;
}

void* Heap::AllocateLarge(std::size_t size) noexcept {
  if (!open_ || size > kLargestSize) return nullptr;
  // Of zero bytes, malloc may answer null.
  void* block = std::malloc(std::max<std::size_t>(size, 1));
  if (block == nullptr) return nullptr;
  // The blocks in cells have no numbers, and so the others have none beside them.
  if (smallLimit_ == 0) ++lastNumber_;
  if (large_.Add({block, size, lastNumber_})) return block;
  std::free(block);
  return nullptr;
}

bool Heap::Free(void* block) noexcept {
  Chunk* const chunk = ChunkOf(block);
  if (Facts* const facts = chunk->FactsOf(block)) {
    GiveBack(chunk, facts, block);
    return true;
  }
  LiveBlock* const known = large_.Find(block);
  if (known == nullptr) return false;
  large_.Remove(known);
  std::free(block);
  return true;
}

bool Heap::IsLive(const void* block) const noexcept {
  return ChunkOf(block)->FactsOf(block) != nullptr || large_.Find(block) != nullptr;
}

std::size_t Heap::Size(const void* block) const noexcept {
  Chunk* const chunk = ChunkOf(block);
  if (const Facts* facts = chunk->FactsOf(block)) return chunk->SizeOf(*facts);
  const LiveBlock* known = large_.Find(block);
  return known == nullptr ? 0 : known->size;
}

void* Heap::Reallocate(void* block, std::size_t size) noexcept {
  LiveBlock* const large = large_.Find(block);
  if (large != nullptr && size >= smallLimit_) return ReallocateLarge(large, size);
  const std::size_t oldSize = Size(block);
  if (large == nullptr && size < smallLimit_ && ClassOf(oldSize) == ClassOf(size)) {
    *ChunkOf(block)->FactsOf(block) = FactsFor(size);
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
    for (std::uint32_t i = 0; i < chunk->fresh; ++i) {
      const Facts facts = chunk->AllFacts()[i];
      if (facts == 0) continue;
      visit({chunk->CellAt(i), chunk->SizeOf(facts), 0});
    }
  }
  large_.ForEach(visit);
}

}  // namespace zelhost
