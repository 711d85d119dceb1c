#include "heap.h"

#include <algorithm>
#include <limits>

namespace zelhost {

namespace {
// No object is larger, and no sum with a header overflows.
constexpr std::size_t kLargestSize = std::numeric_limits<std::size_t>::max() / 2;
}  // namespace

Slab* AddSlab(Slab*& list, std::size_t bytes, std::size_t cellSize, std::size_t offset) noexcept {
  constexpr std::size_t kGrain = 16;
  auto* memory = static_cast<std::byte*>(std::calloc(1, bytes));
  if (memory == nullptr) return nullptr;
  const auto address = reinterpret_cast<std::uintptr_t>(memory) + sizeof(Slab);
  const std::size_t lead = sizeof(Slab) + (kGrain - address % kGrain) % kGrain + offset;
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
  if (guard) guard_ = new GuardTable;
  smallLimit_ = guard ? 0 : kSmallLimit;
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
  FreeSlabs(slabs_);
  *this = Heap();
}

void* Heap::AllocateFresh(std::size_t size) noexcept {
  const std::size_t cellSize = ClassOf(size) * kGrain;
  SizeClass& sizeClass = classes_[ClassOf(size)];
  if (sizeClass.fresh == sizeClass.freshEnd) {
    sizeClass.slabBytes = std::clamp(sizeClass.slabBytes * 2, Slab::kSmallest, Slab::kLargest);
    const Slab* slab = AddSlab(slabs_, sizeClass.slabBytes, cellSize, kGrain - sizeof(Header));
    if (slab == nullptr) return nullptr;
    sizeClass.fresh = slab->begin;
    sizeClass.freshEnd = slab->end;
  }
  void* block = sizeClass.fresh + sizeof(Header);
  sizeClass.fresh += cellSize;
  return Issue(block, size);
}

void* Heap::AllocateLarge(std::size_t size) noexcept {
  if (!open_) return nullptr;
  if (guard_ != nullptr) return AllocateGuarded(size);
  if (size > kLargestSize) return nullptr;
  auto* memory = static_cast<std::byte*>(std::malloc(kLargePrefix + size));
  if (memory == nullptr) return nullptr;
  auto* links = reinterpret_cast<LargeLinks*>(memory);
  links->size = size;
  Link(links);
  void* block = memory + kLargePrefix;
  *HeaderOf(block) = {kLarge, NextNumber()};
  ++blocks_;
  bytes_ += size;
  return block;
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
  ++blocks_;
  bytes_ += size;
  return block;
}

bool Heap::FreeLarge(void* block) noexcept {
  LargeLinks* links = LinksOf(block);
  HeaderOf(block)->number = 0;
  --blocks_;
  bytes_ -= links->size;
  Unlink(links);
  std::free(links);
  return true;
}

bool Heap::FreeGuarded(void* block) noexcept {
  if (!open_) return false;
  const auto found = guard_->find(block);
  if (found == guard_->end()) return false;
  --blocks_;
  bytes_ -= found->second.size;
  guard_->erase(found);
  std::free(block);
  return true;
}

bool Heap::IsLive(const void* block) const noexcept {
  if (guard_ != nullptr) return guard_->contains(block);
  return open_ && HeaderOf(block)->number != 0;
}

std::size_t Heap::Size(const void* block) const noexcept {
  if (!open_) return 0;
  if (guard_ != nullptr) {
    const auto found = guard_->find(block);
    return found == guard_->end() ? 0 : found->second.size;
  }
  const Header* header = HeaderOf(block);
  return header->size == kLarge ? LinksOf(block)->size : header->size;
}

void* Heap::Reallocate(void* block, std::size_t size) noexcept {
  const std::size_t oldSize = Size(block);
  if (guard_ == nullptr && oldSize < smallLimit_ && size < smallLimit_ &&
      ClassOf(oldSize) == ClassOf(size)) {
    HeaderOf(block)->size = static_cast<std::uint32_t>(size);
    bytes_ += size - oldSize;
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
    bytes_ += size - oldSize;
    return reinterpret_cast<std::byte*>(moved) + kLargePrefix;
  }
  void* moved = Allocate(size);
  if (moved == nullptr) return nullptr;
  std::memcpy(moved, block, std::min(oldSize, size));
  Free(block);
  return moved;
}

void Heap::ForEachLive(const std::function<void(const LiveBlock&)>& visit) const {
  for (const Slab* slab = slabs_; slab != nullptr; slab = slab->next) {
    for (std::byte* cell = slab->begin; cell != slab->end; cell += slab->cellSize) {
      const auto* header = reinterpret_cast<const Header*>(cell);
      if (header->number == 0) continue;
      visit({cell + sizeof(Header), header->size, header->number});
    }
  }
  for (LargeLinks* links = large_; links != nullptr; links = links->next) {
    void* block = reinterpret_cast<std::byte*>(links) + kLargePrefix;
    visit({block, links->size, HeaderOf(block)->number});
  }
  if (guard_ == nullptr) return;
  for (const auto& [block, guarded] : *guard_) {
    visit({const_cast<void*>(block), guarded.size, guarded.number});
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
