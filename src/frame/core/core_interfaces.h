// The host's core interfaces.
//
// Memory, string atoms, errors and containers are bound once, at link, and called directly. The
// others are reached through getters, which import them when needed.
#pragma once

#include "frame/core/imported_interface.h"

namespace ZEL_T_NMT {

struct CoreInterfaces {
  ImportedInterface<zelutils::MemoryInterface> memory;
  ImportedInterface<zelutils::AtomInterface> strings;
  ImportedInterface<zelutils::ErrorInterface> errors;
  ImportedInterface<zelutils::ContainerInterface> containers;
  ImportedInterface<zelutils::SharedBuffInterface> sharedBuffers;
  ImportedInterface<zelutils::CacheInterface> cache;
  ImportedInterface<zelutils::FilterInterface> filters;
  ImportedInterface<zelutils::ProgressInterface> progress;
  ImportedInterface<zelutils::StreamFactoryInterface> streamFactory;
  // From an instance handle to its primary instance record, in bytes.
  std::int32_t primaryInstanceOffset = 0;
};

extern constinit CoreInterfaces g_core;

// Bound at link; call them only while linked, or to give back what was taken while linked.
inline const auto& Memory() noexcept { return g_core.memory.Kept(); }
inline const auto& Strings() noexcept { return g_core.strings.Kept(); }
inline const auto& Errors() noexcept { return g_core.errors.Kept(); }
inline const auto& Containers() noexcept { return g_core.containers.Kept(); }

// Raise "Missing Interface" when the interface cannot be imported.
const Table<zelutils::SharedBuffInterface>& SharedBuffers();
const Table<zelutils::CacheInterface>& Cache();

// Null when the interface cannot be imported.
const Table<zelutils::FilterInterface>* Filters();
const Table<zelutils::ProgressInterface>* Progress();
const Table<zelutils::StreamFactoryInterface>* StreamFactory();

// Gives a buffer's reference back, also after the link: it imports nothing.
void ReleaseSharedBuffer(ZELSharedBuff buffer) noexcept;

// Lets everything that would give something back to the host do nothing from here on.
void AbandonCoreInterfaces() noexcept;

// The record that the host keeps for an instance; `instance` must not be null.
inline const ZELPrimaryInstance& PrimaryInstance(ZELInstance instance) noexcept {
  return *reinterpret_cast<const ZELPrimaryInstance*>(reinterpret_cast<const char*>(instance) +
                                                      g_core.primaryInstanceOffset);
}

}  // namespace ZEL_T_NMT
