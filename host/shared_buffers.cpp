// The shared-buffer interface: reference-counted stretches of bytes.
#include <cstddef>

#include "services.h"
#include "storage/heap.h"
#include "storage/pool.h"

struct ZELSharedBuffRecord {
  std::uint32_t references;  // 0: gone
  std::uint32_t size;
  void* bytes;
  ZELSharedBuff nextDead;

  bool IsLive() const noexcept { return references != 0; }
  ZELSharedBuff& NextDead() noexcept { return nextDead; }
};

namespace zelhost {

namespace {

constinit Pool<ZELSharedBuffRecord> pool;
constinit Heap heap;  // for the bytes

bool IsHeld(ZELSharedBuff buffer, const char* procedure) noexcept {
  if (buffer != nullptr && pool.MayRead(buffer) && buffer->references != 0) return true;
  NoteMisuse(procedure, buffer == nullptr ? "of null" : "of a shared buffer that is gone");
  return false;
}

ZELSharedBuff NewBuffer(std::uint32_t size, std::int32_t, std::int32_t, std::int32_t,
                        std::int32_t) noexcept {
  if (Fails(Service::kNewBuffer)) return nullptr;
  void* bytes = heap.Allocate(size);
  if (bytes == nullptr) return nullptr;
  ZELSharedBuff buffer = pool.Take();
  if (buffer == nullptr) {
    heap.Free(bytes);
    return nullptr;
  }
  *buffer = {1, size, bytes, nullptr};
  return buffer;
}

void AddRef(ZELSharedBuff buffer) noexcept {
  if (Refuses(Service::kAddRefBuffer)) return;
  if (IsHeld(buffer, "AddRef")) ++buffer->references;
}

void Release(ZELSharedBuff buffer) noexcept {
  if (Refuses(Service::kReleaseBuffer) || !IsHeld(buffer, "Release")) return;
  if (--buffer->references != 0) return;
  heap.Free(buffer->bytes);
  pool.Return(buffer);
}

void* GetBuffer(ZELSharedBuff buffer) noexcept {
  if (OnForeignThread("GetBuffer") || !IsHeld(buffer, "GetBuffer")) return nullptr;
  return buffer->bytes;
}

std::uint32_t GetSize(ZELSharedBuff buffer) noexcept {
  if (OnForeignThread("GetSize") || !IsHeld(buffer, "GetSize")) return 0;
  return buffer->size;
}

constexpr ZELSharedBuffDelUnownedProc DeleteUnowned = Unsupported;

void Open(const HostOptions& options) {
  pool.Open(options.guardMemory);
  heap.Open(options.guardMemory);
  const Procedure procedures[] = {ZEL_SHARED_BUFF_METHODS(ZELHOST_PROCEDURE)};
  OfferProcedures(ZEL_SHARED_BUFF_INTERFACE, procedures);
}

void Close() noexcept {
  pool.Close();
  heap.Close();
}

void Count(Counts& counts) {
  pool.ForEachLive([&](const ZELSharedBuffRecord& buffer) {
    ++counts.sharedBuffers;
    counts.sharedBufferReferences += buffer.references;
  });
}

void ListLeaks(std::vector<Leak>& leaks) {
  pool.ForEachLive([&](const ZELSharedBuffRecord& buffer) {
    leaks.push_back({Leak::Kind::kSharedBuffer, "shared buffer of " + Plural(buffer.size, "byte") +
                                                    ", " + Plural(buffer.references, "reference")});
  });
}

}  // namespace

constinit const ServiceLife kSharedBufferLife = {Open, Close, Count, ListLeaks};

}  // namespace zelhost
