// The shared-buffer interface: a buffer is one allocation, its bytes lie behind its record.
#include <cstddef>

#include "heap.h"
#include "services.h"

struct ZELSharedBuffRecord {
  alignas(16) std::uint32_t references;
  std::uint32_t size;
};

namespace zelhost {

namespace {

Heap heap;

ZELSharedBuff NewBuffer(std::uint32_t size, std::int32_t, std::int32_t, std::int32_t,
                        std::int32_t) noexcept {
  if (Fails(Service::kNewBuffer)) return nullptr;
  const std::uint64_t bytes = sizeof(ZELSharedBuffRecord) + std::uint64_t{size};
  if (bytes > SIZE_MAX) return nullptr;
  void* memory = heap.Allocate(static_cast<std::size_t>(bytes));
  if (memory == nullptr) return nullptr;
  auto* buffer = static_cast<ZELSharedBuff>(memory);
  buffer->references = 1;
  buffer->size = size;
  return buffer;
}

void AddRef(ZELSharedBuff buffer) noexcept {
  CountCall(Service::kAddRefBuffer);
  if (buffer != nullptr) ++buffer->references;
}

void Release(ZELSharedBuff buffer) noexcept {
  CountCall(Service::kReleaseBuffer);
  if (buffer == nullptr) return;
  if (!heap.IsLive(buffer)) {
    NoteMisuse("Release of a shared buffer that is not live");
  } else if (--buffer->references == 0) {
    heap.Free(buffer);
  }
}

void* GetBuffer(ZELSharedBuff buffer) noexcept { return buffer == nullptr ? nullptr : buffer + 1; }

std::uint32_t GetSize(ZELSharedBuff buffer) noexcept {
  return buffer == nullptr ? 0 : buffer->size;
}

constexpr ZELSharedBuffDelUnownedProc DeleteUnowned = Unsupported;

const Procedure kProcedures[] = {ZEL_SHARED_BUFF_METHODS(ZELHOST_PROCEDURE)};

void Open(const HostOptions& options) {
  heap.Open(options.guardMemory);
  OfferProcedures(ZEL_SHARED_BUFF_INTERFACE, kProcedures);
}

void Close() noexcept { heap.Close(); }

void Count(Counts& counts) {
  heap.ForEachLive([&](const LiveBlock& block) {
    ++counts.sharedBuffers;
    counts.sharedBufferReferences += static_cast<ZELSharedBuff>(block.address)->references;
  });
}

void ListLeaks(std::vector<Leak>& leaks) {
  heap.ForEachLive([&](const LiveBlock& block) {
    const auto* buffer = static_cast<ZELSharedBuff>(block.address);
    leaks.push_back({Leak::Kind::kSharedBuffer, "shared buffer of " + Plural(buffer->size, "byte") +
                                                    ", " +
                                                    Plural(buffer->references, "reference")});
  });
}

}  // namespace

const ServiceLife kSharedBufferLife = {Open, Close, Count, ListLeaks};

}  // namespace zelhost
