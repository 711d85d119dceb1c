#include "frame/object/process_state.h"

#include "frame/core/core_interfaces.h"
#include "frame/core/error.h"

namespace ZEL_T_NMT {
namespace {

// Stand in for procedures of a host that is not there yet, or not any more.
void IgnoreBlock(void*) {}
void IgnoreBuffer(ZELSharedBuff) {}
void IgnoreInstance(ZELInstance) {}
void IgnoreAtom(ZELStringAtom) {}
ZELErrorObject ReturnError(ZELErrorObject error) { return error; }
void IgnoreError(ZELErrorObject) {}

template <typename Proc>
ZELProc AsSlot(Proc procedure) {
  return reinterpret_cast<ZELProc>(procedure);
}

// Constructed first: from here on error objects and references can be destroyed, even if the
// library never gets linked.
struct ConstructionMark {
  ConstructionMark() noexcept {
    g_core.errors.table.slots[ErrorSlots::kAddRef] = AsSlot(&ReturnError);
    g_core.errors.table.slots[ErrorSlots::kRelease] = AsSlot(&IgnoreError);
    g_core.containers.table.slots[ContainerSlots::kRelease] = AsSlot(&IgnoreInstance);
    g_constructionMarker = kConstructed;
  }
} g_constructionMark;

}  // namespace

constinit CoreInterfaces g_core;
constinit std::int32_t g_constructionMarker = 0;

NeverDestroyed<CZELError> g_unknownError;
NeverDestroyed<CZELError> g_outOfMemoryError;

LazyTerminate::LazyTerminate() noexcept { List().InsertAtHead(*this); }

no_construct_double_linked_list<LazyTerminate>& LazyTerminate::List() noexcept {
  static constinit no_construct_double_linked_list<LazyTerminate> list;
  return list;
}

// The order of these definitions is the order of construction; termination walks it backwards.
NeverDestroyed<TDelVTabList<ZELDataStoreTraits>> g_dataStores;
NeverDestroyed<TDelVTabList<ZELSizedDataStoreTraits>> g_sizedDataStores;
NeverDestroyed<TDelVTabList<ZELDataBlockStreamTraits>> g_dataBlockStreams;
NeverDestroyed<CZELSimpleStreamTerminate> g_simpleStreams;
NeverDestroyed<CZELRewindableStreamTerminate> g_rewindableStreams;
NeverDestroyed<CZELPositionableStreamTerminate> g_positionableStreams;
NeverDestroyed<CPOSObjectTerminate> g_posObjects;
NeverDestroyed<CPOSValidatorTerminate> g_posValidators;

void ZELProcessDetach() noexcept {
  for (LazyTerminate* element = LazyTerminate::List().First(); element != nullptr;
       element = element->Next()) {
    element->Abandon();
  }
  g_link.errorsBound = false;
  g_link.reportError = nullptr;
  g_core.memory.table.slots[MemorySlots::kFree] = AsSlot(&IgnoreBlock);
  g_core.sharedBuffers.table.slots[SharedBuffSlots::kRelease] = AsSlot(&IgnoreBuffer);
  g_core.containers.table.slots[ContainerSlots::kRelease] = AsSlot(&IgnoreInstance);
  g_core.strings.table.slots[StringSlots::kDeleteStringAtom] = AsSlot(&IgnoreAtom);
  g_core.errors.table.slots[ErrorSlots::kAddRef] = AsSlot(&ReturnError);
  g_core.errors.table.slots[ErrorSlots::kRelease] = AsSlot(&IgnoreError);
}

}  // namespace ZEL_T_NMT
