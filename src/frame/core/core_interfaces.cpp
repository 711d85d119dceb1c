#include "frame/core/core_interfaces.h"

#include "frame/core/error.h"

namespace ZEL_T_NMT {
namespace {

template <typename Slots>
const Slots& GetOrRaise(ImportedInterface<Slots>& imported) {
  const Slots* table = imported.Get();
  if (table == nullptr) [[unlikely]]
    ZELRaise("Missing Interface", "ZEL");
  return *table;
}

}  // namespace

const SharedBuffSlots& SharedBuffers() { return GetOrRaise(g_core.sharedBuffers); }
const CacheSlots& Cache() { return GetOrRaise(g_core.cache); }

const FilterSlots* Filters() { return g_core.filters.GetOrClear(); }
const ProgressSlots* Progress() { return g_core.progress.GetOrClear(); }
const StreamFactorySlots* StreamFactory() { return g_core.streamFactory.GetOrClear(); }

}  // namespace ZEL_T_NMT
