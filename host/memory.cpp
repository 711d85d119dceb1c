// The memory interface.
#include <algorithm>

#include "heap.h"
#include "services.h"

namespace zelhost {

namespace {

Heap heap;

void* Alloc(std::size_t size) noexcept {
  if (Fails(Service::kAlloc)) return nullptr;
  return heap.Allocate(size);
}

void* Realloc(void* block, std::size_t size) noexcept {
  if (Fails(Service::kRealloc)) return nullptr;
  if (block == nullptr) return heap.Allocate(size);
  if (!heap.IsLive(block)) {
    NoteMisuse("Realloc of a block that is not live");
    return nullptr;
  }
  return heap.Reallocate(block, size);
}

void Free(void* block) noexcept {
  CountCall(Service::kFree);
  if (block != nullptr && !heap.Free(block)) NoteMisuse("Free of a block that is not live");
}

std::size_t GetBlockSize(void* block) noexcept {
  return block == nullptr || !heap.IsLive(block) ? 0 : heap.Size(block);
}

const Procedure kProcedures[] = {ZEL_MEMORY_METHODS(ZELHOST_PROCEDURE)};

void Open(const HostOptions& options) {
  heap.Open(options.guardMemory);
  OfferProcedures(ZEL_MEMORY_INTERFACE, kProcedures);
}

void Close() noexcept { heap.Close(); }

void Count(Counts& counts) {
  heap.ForEachLive([&](const LiveBlock& block) {
    ++counts.blocks;
    counts.bytes += block.size;
  });
}

void ListLeaks(std::vector<Leak>& leaks) {
  std::vector<LiveBlock> blocks;
  heap.ForEachLive([&](const LiveBlock& block) { blocks.push_back(block); });
  std::sort(blocks.begin(), blocks.end(),
            [](const LiveBlock& a, const LiveBlock& b) { return a.number < b.number; });
  for (const LiveBlock& block : blocks) {
    leaks.push_back({Leak::Kind::kBlock, "block of " + Plural(block.size, "byte") +
                                             ", allocation " + std::to_string(block.number)});
  }
}

}  // namespace

const ServiceLife kMemoryLife = {Open, Close, Count, ListLeaks};

}  // namespace zelhost
