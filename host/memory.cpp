// The memory interface.
#include <algorithm>
#include <tuple>

#include "services.h"
#include "storage/heap.h"

namespace zelhost {

namespace {

constinit Heap heap;

bool IsLive(void* block, std::string_view procedure) noexcept {
  if (heap.IsLive(block)) return true;
  NoteMisuse(procedure, "of a block that is not live");
  return false;
}

[[gnu::noinline]] void* AllocChecked(std::size_t size) noexcept {
  return Fails(Service::kAlloc) ? nullptr : heap.Allocate(size);
}

void* Alloc(std::size_t size) noexcept {
  if (!IsPlainCall()) [[unlikely]]
    return AllocChecked(size);
  CountPlainCall(Service::kAlloc);
  return heap.Allocate(size);
}

void* Realloc(void* block, std::size_t size) noexcept {
  if (Fails(Service::kRealloc) || !IsLive(block, "Realloc")) return nullptr;
  return heap.Reallocate(block, size);
}

[[gnu::noinline]] void FreeChecked(void* block) noexcept {
  if (!Refuses(Service::kFree) && !heap.Free(block)) {
    NoteMisuse("Free", "of a block that is not live");
  }
}

void Free(void* block) noexcept {
  if (!IsPlainCall() || !heap.FreeSmall(block)) [[unlikely]]
    return FreeChecked(block);
  CountPlainCall(Service::kFree);
}

std::size_t GetBlockSize(void* block) noexcept {
  if (OnForeignThread("GetBlockSize")) return 0;
  return IsLive(block, "GetBlockSize") ? heap.Size(block) : 0;
}

void Open(const HostOptions& options) {
  heap.Open(options.guardMemory);
  const Procedure procedures[] = {ZEL_MEMORY_METHODS(ZELHOST_PROCEDURE)};
  OfferProcedures(ZEL_MEMORY_INTERFACE, procedures);
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
  std::sort(blocks.begin(), blocks.end(), [](const LiveBlock& a, const LiveBlock& b) {
    return std::tie(a.number, a.size) < std::tie(b.number, b.size);
  });
  for (const LiveBlock& block : blocks) {
    std::string what = "block of " + Plural(block.size, "byte");
    if (block.number != 0) what += ", allocation " + std::to_string(block.number);
    leaks.push_back({Leak::Kind::kBlock, std::move(what)});
  }
}

}  // namespace

constinit const ServiceLife kMemoryLife = {Open, Close, Count, ListLeaks};

}  // namespace zelhost
