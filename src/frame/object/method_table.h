// Methods of instances, imported once per kind of instance and family of methods.
//
// Instances of one kind share their signature text. For each family a process-wide list keeps one
// node per signature with the methods' addresses; a node is filled again on its next use after the
// binder has withdrawn any interface.
#pragma once

#include <cstdint>

#include <span>

#include "frame/base/linked_list.h"
#include "frame/core/client_base.h"
#include "frame/core/string_atom.h"

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

  bool HasSignature(const char* signature) const noexcept {
    return IsSameText(signature_.Text(), signature);
  }
  bool HasAnySignature() const noexcept { return signature_.Text() != nullptr; }
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

// Stores the instance's procedures for the methods in `slots`, in order. With `required`, false at
// the first method that the instance does not offer.
bool ZELImportInstanceMethods(std::span<const zelutils::Method> methods, ZELInstance instance,
                              bool required, ZELProc* slots);

// The import function of a family.
template <typename Family>
bool ImportMethods(ZELInstance instance, bool required, ZELProc* slots) {
  return ZELImportInstanceMethods(Family::kMethods, instance, required, slots);
}

}  // namespace ZEL_T_NMT
