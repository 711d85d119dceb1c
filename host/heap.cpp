#include "heap.h"

#include <algorithm>
#include <limits>
#include <new>

namespace zelhost {

namespace {
// No object is larger, and no sum with a header overflows.
constexpr std::size_t kLargestSize = std::numeric_limits<std::size_t>::max() / 2;

constexpr std::size_t kFirstTableSize = 32;  // a power of two
constexpr std::size_t kSmallestArea = std::size_t{64} << 10;
constexpr std::size_t kLargestArea = std::size_t{1} << 20;
}  // namespace

Slab* AddSlab(Slab*& list, std::size_t bytes, std::size_t cellSize) noexcept {
  constexpr std::size_t kGrain = 16;
  auto* memory = static_cast<std::byte*>(std::calloc(1, bytes));
  if (memory == nullptr) return nullptr;
  const auto address = reinterpret_cast<std::uintptr_t>(memory) + sizeof(Slab);
  const std::size_t lead = sizeof(Slab) + (kGrain - address % kGrain) % kGrain;
  auto* slab = reinterpret_cast<Slab*>(memory);
  slab->begin = memory + lead;
  slab->end = slab->begin + (bytes - lead) / cellSize * cellSize;
  slab->cellSize = cellSize;
  slab->next = list;
  list = slab;
  return slab;
}

void FreeSlabs(Slab*& list) noexcept {
  while (Slab* slab = list) {
    list = slab->next;
    std::free(slab);
  }
}

void Heap::Open(bool guard) {
  if (guard) {
    guard_ = new GuardTable;
  } else {
    table_ = new Chunk* [kFirstTableSize] {};
    tableMask_ = kFirstTableSize - 1;
    smallLimit_ = kSmallLimit;
  }
  open_ = true;
}

void Heap::Close() noexcept {
  if (guard_ != nullptr) {
    for (const auto& [block, unused] : *guard_) std::free(const_cast<void*>(block));
    delete guard_;
  }
  while (LargeLinks* links = large_) {
    large_ = links->next;
    std::free(links);
  }
  while (Area* area = areas_) {
    areas_ = area->next;
    std::free(area->memory);
    delete area;
  }
  delete[] table_;
  *this = Heap();
}

void* Heap::AllocateFresh(std::size_t size) noexcept {
  const std::size_t cellSize = ClassOf(size) * kGrain;
  SizeClass& sizeClass = classes_[ClassOf(size)];
  Chunk* chunk = sizeClass.newest;
  if (chunk == nullptr || chunk->handedOut == chunk->cellCount) {
    chunk = AddChunk(sizeClass, cellSize);
    if (chunk == nullptr) return nullptr;
  }
  const std::size_t index = chunk->handedOut++;
  chunk->AllFacts()[index] = NextNumber() | SlackOf(size);
  return chunk->cells + index * cellSize;
}

Heap::Chunk* Heap::AddChunk(SizeClass& sizeClass, std::size_t cellSize) noexcept {
  if (fresh_ == freshEnd_ && !AddArea()) return nullptr;
  auto* chunk = reinterpret_cast<Chunk*>(fresh_);
  if (!Register(chunk)) return nullptr;
  fresh_ += kChunkBytes;

  const std::size_t count = (kChunkBytes - sizeof(Chunk)) / (cellSize + sizeof(Facts));
  std::byte* const cells = reinterpret_cast<std::byte*>(chunk) + kChunkBytes - count * cellSize;
  *chunk = {&sizeClass,
            static_cast<std::uint32_t>(cellSize),
            static_cast<std::uint32_t>((std::uint64_t{1} << 32) / cellSize + 1),
            static_cast<std::uint32_t>(count),
            0,
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

// Enters a chunk into the table, of which at least half stays free.
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
  if (!open_) return nullptr;
  if (guard_ != nullptr) return AllocateGuarded(size);
  if (size > kLargestSize) return nullptr;
  auto* memory = static_cast<std::byte*>(std::malloc(kLargePrefix + size));
  if (memory == nullptr) return nullptr;
  auto* links = reinterpret_cast<LargeLinks*>(memory);
  links->size = size;
  links->number = NextNumber();
  links->mark = kLargeMark;
  Link(links);
  return memory + kLargePrefix;
}

void* Heap::AllocateGuarded(std::size_t size) noexcept {
  if (size > kLargestSize) return nullptr;
  // Of zero bytes, malloc may answer null.
  void* block = std::malloc(std::max<std::size_t>(size, 1));
  if (block == nullptr) return nullptr;
  try {
    guard_->insert_or_assign(block, Guarded{size, NextNumber()});
  } catch (...) {
    std::free(block);
    return nullptr;
  }
  return block;
}

bool Heap::FreeLarge(void* block) noexcept {
  LargeLinks* links = LinksOf(block);
  if (links->mark != kLargeMark) return false;
  links->mark = 0;
  Unlink(links);
  std::free(links);
  return true;
}

bool Heap::FreeGuarded(void* block) noexcept {
  if (!open_) return false;
  const auto found = guard_->find(block);
  if (found == guard_->end()) return false;
  guard_->erase(found);
  std::free(block);
  return true;
}

bool Heap::IsLive(const void* block) const noexcept {
  if (guard_ != nullptr) return guard_->contains(block);
  if (!open_) return false;
  Chunk* chunk = FindChunk(block);
  return chunk == nullptr ? LinksOf(block)->mark == kLargeMark : chunk->FactsOf(block) != nullptr;
}

std::size_t Heap::Size(const void* block) const noexcept {
  if (!open_) return 0;
  if (guard_ != nullptr) {
    const auto found = guard_->find(block);
    return found == guard_->end() ? 0 : found->second.size;
  }
  Chunk* chunk = FindChunk(block);
  if (chunk == nullptr) return LinksOf(block)->size;
  const Facts* facts = chunk->FactsOf(block);
  return facts == nullptr ? 0 : chunk->cellSize - (*facts & kSlackMask);
}

void* Heap::Reallocate(void* block, std::size_t size) noexcept {
  const std::size_t oldSize = Size(block);
  if (guard_ == nullptr && oldSize < smallLimit_ && size < smallLimit_ &&
      ClassOf(oldSize) == ClassOf(size)) {
    Facts* facts = ChunkOf(block)->FactsOf(block);
    *facts = (*facts & ~kSlackMask) | SlackOf(size);
    return block;
  }
  if (guard_ == nullptr && oldSize >= smallLimit_ && size >= smallLimit_) {
    if (size > kLargestSize) return nullptr;
    LargeLinks* links = LinksOf(block);
    Unlink(links);
    auto* moved = static_cast<LargeLinks*>(std::realloc(links, kLargePrefix + size));
    if (moved == nullptr) {
      Link(links);
      return nullptr;
    }
    moved->size = size;
    Link(moved);
    return reinterpret_cast<std::byte*>(moved) + kLargePrefix;
  }
  void* moved = Allocate(size);
  if (moved == nullptr) return nullptr;
  std::memcpy(moved, block, std::min(oldSize, size));
  Free(block);
  return moved;
}

void Heap::ForEachLive(const std::function<void(const LiveBlock&)>& visit) const {
  for (Chunk* chunk = chunks_; chunk != nullptr; chunk = chunk->next) {
    for (std::uint32_t i = 0; i < chunk->handedOut; ++i) {
      const Facts facts = chunk->AllFacts()[i];
      if (facts == 0) continue;
      visit({chunk->cells + std::size_t{i} * chunk->cellSize,
             chunk->cellSize - (facts & kSlackMask), facts / kOneNumber});
    }
  }
  for (LargeLinks* links = large_; links != nullptr; links = links->next) {
    void* block = reinterpret_cast<std::byte*>(links) + kLargePrefix;
    visit({block, links->size, links->number / kOneNumber});
  }
  if (guard_ == nullptr) return;
  for (const auto& [block, guarded] : *guard_) {
    visit({const_cast<void*>(block), guarded.size, guarded.number / kOneNumber});
  }
}

void Heap::Link(LargeLinks* links) noexcept {
  links->previous = nullptr;
  links->next = large_;
  if (large_ != nullptr) large_->previous = links;
  large_ = links;
}

void Heap::Unlink(LargeLinks* links) noexcept {
  (links->previous != nullptr ? links->previous->next : large_) = links->next;
  if (links->next != nullptr) links->next->previous = links->previous;
}

}  // namespace zelhost
