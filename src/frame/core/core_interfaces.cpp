#include "frame/core/core_interfaces.h"

namespace ZEL_T_NMT {
namespace {

// Stand in for procedures of a host that is not there yet, or not any more.
void IgnoreBlock(void*) {}
void IgnoreBuffer(ZELSharedBuff) {}
void IgnoreInstance(ZELInstance) {}
void IgnoreAtom(ZELStringAtom) {}
ZELErrorObject ReturnError(ZELErrorObject error) { return error; }
void IgnoreError(ZELErrorObject) {}

constexpr zelutils::ErrorInterface IdleErrors() {
  zelutils::ErrorInterface idle;
  idle.AddRef = &ReturnError;
  idle.Release = &IgnoreError;
  return idle;
}

constexpr zelutils::ContainerInterface IdleContainers() {
  zelutils::ContainerInterface idle;
  idle.Release = &IgnoreInstance;
  return idle;
}

// Until the first link, error objects and references can be destroyed, though there are none.
constexpr CoreInterfaces BeforeTheFirstLink() {
  CoreInterfaces core;
  core.errors = ImportedInterface(IdleErrors());
  core.containers = ImportedInterface(IdleContainers());
  return core;
}

}  // namespace

constinit CoreInterfaces g_core = BeforeTheFirstLink();

ZELProc FindProcedure(const char* interfaceName, const char* method, const char* procType) {
  if (g_link.lookup == nullptr) return nullptr;
  const ZELProc procedure = g_link.lookup(interfaceName, method, procType);
  if (procedure == nullptr && g_link.strict) ZELRaise("", "ZEL");
  return procedure;
}

const Table<zelutils::SharedBuffInterface>& SharedBuffers() {
  return *Require(g_core.sharedBuffers.Get());
}
const Table<zelutils::CacheInterface>& Cache() { return *Require(g_core.cache.Get()); }

const Table<zelutils::FilterInterface>* Filters() { return g_core.filters.Get(); }
const Table<zelutils::ProgressInterface>* Progress() { return g_core.progress.Get(); }
const Table<zelutils::StreamFactoryInterface>* StreamFactory() {
  return g_core.streamFactory.Get();
}

void ReleaseSharedBuffer(ZELSharedBuff buffer) noexcept {
  const auto release = g_core.sharedBuffers.Kept().Release;
  if (buffer != nullptr && release != nullptr) release(buffer);
}

void AbandonCoreInterfaces() noexcept {
  g_core.memory.Kept().Free = &IgnoreBlock;
  g_core.sharedBuffers.Kept().Release = &IgnoreBuffer;
  g_core.containers.Kept().Release = &IgnoreInstance;
  g_core.strings.Kept().DeleteStringAtom = &IgnoreAtom;
  g_core.errors.Kept().AddRef = &ReturnError;
  g_core.errors.Kept().Release = &IgnoreError;
}

}  // namespace ZEL_T_NMT
