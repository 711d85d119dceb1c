// The host's core interfaces as slot arrays.
//
// Memory, string atoms, errors and containers are bound once, at link, and called directly through
// their slots. The others are reached through getters, which import them when needed.
#pragma once

#include "frame/link/binder_link.h"
#include "zelutils/core.h"

namespace ZEL_T_NMT {

ZEL_DEFINE_SLOTS(MemorySlots, ZEL_MEMORY_METHODS);
ZEL_DEFINE_SLOTS(StringSlots, ZEL_STRING_METHODS);
ZEL_DEFINE_SLOTS(ErrorSlots, ZEL_ERROR_METHODS);
ZEL_DEFINE_SLOTS(ContainerSlots, ZEL_CONTAINER_METHODS);
ZEL_DEFINE_SLOTS(SharedBuffSlots, ZEL_SHARED_BUFF_METHODS);
ZEL_DEFINE_SLOTS(CacheSlots, ZEL_CACHE_METHODS);
ZEL_DEFINE_SLOTS(FilterSlots, ZEL_FILTER_METHODS);
ZEL_DEFINE_SLOTS(ProgressSlots, ZEL_PROGRESS_METHODS);
ZEL_DEFINE_SLOTS(StreamFactorySlots, ZEL_STREAM_FACTORY_METHODS);

static_assert(MemorySlots::kSlotCount == 4 && StringSlots::kSlotCount == 4 &&
              ErrorSlots::kSlotCount == 8);
static_assert(ContainerSlots::kSlotCount == 16 && SharedBuffSlots::kSlotCount == 6);
static_assert(CacheSlots::kSlotCount == 24 && FilterSlots::kSlotCount == 17 &&
              ProgressSlots::kSlotCount == 5);
static_assert(StreamFactorySlots::kSlotCount == 6);

struct CoreInterfaces {
  ImportedInterface<MemorySlots> memory{ZEL_MEMORY_INTERFACE};
  ImportedInterface<StringSlots> strings{ZEL_STRING_INTERFACE};
  ImportedInterface<ErrorSlots> errors{ZEL_ERROR_INTERFACE};
  ImportedInterface<ContainerSlots> containers{ZEL_CONTAINER_INTERFACE};
  ImportedInterface<SharedBuffSlots> sharedBuffers{ZEL_SHARED_BUFF_INTERFACE};
  ImportedInterface<CacheSlots> cache{ZEL_CACHE_INTERFACE};
  ImportedInterface<FilterSlots> filters{ZEL_FILTER_INTERFACE};
  ImportedInterface<ProgressSlots> progress{ZEL_PROGRESS_INTERFACE};
  ImportedInterface<StreamFactorySlots> streamFactory{ZEL_STREAM_FACTORY_INTERFACE};
  // From an instance handle to its primary instance record, in bytes.
  std::int32_t primaryInstanceOffset = 0;
};

extern constinit CoreInterfaces g_core;

// Bound at link; call them only while linked, or to give back what was taken while linked.
inline const MemorySlots& Memory() noexcept { return g_core.memory.table; }
inline const StringSlots& Strings() noexcept { return g_core.strings.table; }
inline const ErrorSlots& Errors() noexcept { return g_core.errors.table; }
inline const ContainerSlots& Containers() noexcept { return g_core.containers.table; }

// Raise "Missing Interface" when the interface cannot be imported.
const SharedBuffSlots& SharedBuffers();
const CacheSlots& Cache();

// Null when the interface cannot be imported.
const FilterSlots* Filters();
const ProgressSlots* Progress();
const StreamFactorySlots* StreamFactory();

// The record that the host keeps for an instance; `instance` must not be null.
inline const ZELPrimaryInstance& PrimaryInstance(ZELInstance instance) noexcept {
  return *reinterpret_cast<const ZELPrimaryInstance*>(reinterpret_cast<const char*>(instance) +
                                                      g_core.primaryInstanceOffset);
}

}  // namespace ZEL_T_NMT
