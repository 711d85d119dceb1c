#include "storage/pool.h"

namespace zelhost {

Slab* AddSlab(Slab*& list, std::size_t bytes, std::size_t recordSize) noexcept {
  constexpr std::size_t kGrain = 16;
  auto* memory = static_cast<std::byte*>(std::calloc(1, bytes));
  if (memory == nullptr) return nullptr;
  const auto address = reinterpret_cast<std::uintptr_t>(memory) + sizeof(Slab);
  const std::size_t lead = sizeof(Slab) + (kGrain - address % kGrain) % kGrain;
  auto* slab = reinterpret_cast<Slab*>(memory);
  slab->begin = memory + lead;
  slab->end = slab->begin + (bytes - lead) / recordSize * recordSize;
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

}  // namespace zelhost
