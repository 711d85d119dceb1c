// Methods of instances, imported once per kind of instance and family of methods.
//
// Instances of one kind share their signature text. For each family a process-wide list keeps one
// node per signature with the methods' addresses; a node is filled again on its next use after the
// binder has withdrawn any interface.
#pragma once

#include <cstdint>

#include "frame/core/client_base.h"
#include "frame/core/string_atom.h"
#include "frame/link/lazy_terminate.h"
#include "zelutils/pos.h"
#include "zelutils/types.h"
#include "zelutils/validator.h"

namespace ZEL_T_NMT {

class CZELClientBasePMT : public CZELClientBase {};

// Fills the slots of a family from an instance; false when a required method is missing.
using ImportMethodsFunction = bool (*)(ZELInstance instance, bool required, ZELProc* slots);

// A node. Holders keep the address of its slots: it stays the same until the library unlinks, and
// once filled no slot becomes null.
class ZELVTabGeneric : public double_linked_list_element<ZELVTabGeneric>, public CZELClientBasePMT {
 public:
  // Raises "Math overflow exception" when the size does not fit in 32 bits.
  static ZELVTabGeneric* Create(std::uint32_t methodCount);
  void Destroy() noexcept;

  bool HasSignature(const char* signature) const noexcept { return signature_.Text() == signature; }
  // Only while linked.
  bool IsCurrent() const noexcept { return generation_ == *g_link.unregisterCount; }
  // The slots, or null when the last import failed.
  ZELProc* Slots() noexcept { return valid_ ? SlotStorage() : nullptr; }

  // Imports the methods again from an instance of the node's kind.
  void Refresh(ZELInstance instance, ImportMethodsFunction import, std::uint32_t methodCount);

 private:
  ZELVTabGeneric() noexcept = default;
  ~ZELVTabGeneric() = default;
  ZELProc* SlotStorage() noexcept { return reinterpret_cast<ZELProc*>(this + 1); }

  CZELStringAtom signature_;
  std::uint32_t generation_ = 0;
  bool valid_ = false;
};

class ZELVTabListGeneric : public no_construct_double_linked_list<ZELVTabGeneric> {
 public:
  explicit constexpr ZELVTabListGeneric(std::uint32_t methodCount) noexcept
      : methodCount_(methodCount) {}

  // Returns the slots for an instance, or null when its methods cannot be imported. Raises
  // "couldn't get signature" for null and for an instance without signature.
  ZELProc* Lookup(ZELInstance instance, ImportMethodsFunction import) {
    // The instances that a family is used for are mostly of one kind, whose node stands first.
    if (ZELVTabGeneric* const first = First(); first != nullptr && instance != nullptr) [[likely]] {
      const bool found = first->HasSignature(PrimaryInstance(instance).signature);
      if (found && g_link.unregisterCount != nullptr && first->IsCurrent()) [[likely]] {
        return first->Slots();
      }
    }
    return Search(instance, import);
  }

  void DestroyNodes() noexcept;

 private:
  ZELProc* Search(ZELInstance instance, ImportMethodsFunction import);

  std::uint32_t methodCount_;
};

// Stores the methods of a table in `slots`, in order. With `required`, false at the first method
// that the instance does not offer.
bool ZELImportInstanceMethods(const ImportEntry* table, std::uint32_t count, ZELInstance instance,
                              bool required, ZELProc* slots);

// The import function of a family.
template <typename Slots>
bool ImportMethods(ZELInstance instance, bool required, ZELProc* slots) {
  return ZELImportInstanceMethods(Slots::kImports, Slots::kSlotCount, instance, required, slots);
}

ZEL_DEFINE_SLOTS(SimpleStreamSlots, ZEL_SIMPLE_STREAM_METHODS);
ZEL_DEFINE_SLOTS(RewindableStreamSlots, ZEL_REWINDABLE_STREAM_METHODS);
ZEL_DEFINE_SLOTS(PositionableStreamSlots, ZEL_POSITIONABLE_STREAM_METHODS);
ZEL_DEFINE_SLOTS(DataStoreSlots, ZEL_DATA_STORE_METHODS);
ZEL_DEFINE_SLOTS(SizedDataStoreSlots, ZEL_SIZED_DATA_STORE_METHODS);
ZEL_DEFINE_SLOTS(DataBlockStreamSlots, ZEL_DATA_BLOCK_STREAM_METHODS);
ZEL_DEFINE_SLOTS(POSObjectSlots, POS_OBJECT_METHODS);
ZEL_DEFINE_SLOTS(POSValidatorSlots, POS_VALIDATOR_METHODS);
static_assert(SimpleStreamSlots::kSlotCount == 2 && RewindableStreamSlots::kSlotCount == 2);
static_assert(PositionableStreamSlots::kSlotCount == 3 && DataStoreSlots::kSlotCount == 1);
static_assert(SizedDataStoreSlots::kSlotCount == 1 && DataBlockStreamSlots::kSlotCount == 2);

}  // namespace ZEL_T_NMT
