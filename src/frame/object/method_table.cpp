#include "frame/object/method_table.h"

#include <algorithm>
#include <limits>
#include <new>

#include "frame/core/error.h"

namespace ZEL_T_NMT {
namespace {

// The longest family; a refresh gathers its methods in a place of this size first.
constexpr std::uint32_t kMaxMethods = 3;

const char* SignatureOf(ZELInstance instance) {
  const char* signature = instance == nullptr ? nullptr : PrimaryInstance(instance).signature;
  if (signature == nullptr) ZELRaise("couldn't get signature", "");
  return signature;
}

// The size of a node in 32 bits, whatever the platform's own width.
std::uint32_t NodeSize(std::uint32_t fixedSize, std::uint32_t methodCount) {
  constexpr std::uint32_t kSlotSize = sizeof(ZELProc);
  constexpr std::uint32_t kMax = std::numeric_limits<std::uint32_t>::max();
  if (methodCount > kMax / kSlotSize) RaiseMathOverflow();
  const std::uint32_t slots = methodCount * kSlotSize;
  if (slots > kMax - fixedSize) RaiseMathOverflow();
  return slots + fixedSize;
}

}  // namespace

ZELVTabGeneric* ZELVTabGeneric::Create(std::uint32_t methodCount) {
  static_assert(alignof(ZELVTabGeneric) >= alignof(ZELProc));
  void* place = AllocateBlock(NodeSize(sizeof(ZELVTabGeneric), methodCount));
  auto* node = new (place) ZELVTabGeneric();
  std::fill_n(node->SlotStorage(), methodCount, nullptr);
  return node;
}

void ZELVTabGeneric::Destroy() noexcept { delete this; }

void ZELVTabGeneric::Refresh(ZELInstance instance, ImportMethodsFunction import,
                             std::uint32_t methodCount) {
  // The generation comes first: a failed import stays failed until the binder changes.
  generation_ = *g_link.unregisterCount;
  valid_ = false;
  signature_ = CZELStringAtom(SignatureOf(instance));
  ZELProc imported[kMaxMethods] = {};
  if (!import(instance, true, imported)) return;
  std::copy_n(imported, methodCount, SlotStorage());
  valid_ = true;
}

ZELProc* ZELVTabListGeneric::Search(ZELInstance instance, ImportMethodsFunction import) {
  const char* signature = SignatureOf(instance);
  if (g_link.unregisterCount == nullptr) return nullptr;
  ZELVTabGeneric* node = First();
  while (node != nullptr && !node->HasSignature(signature)) node = node->Next();
  if (node != nullptr) {
    if (!node->IsCurrent()) node->Refresh(instance, import, methodCount_);
    return node->Slots();
  }
  node = ZELVTabGeneric::Create(methodCount_);
  InsertAtHead(*node);
  try {
    node->Refresh(instance, import, methodCount_);
  } catch (...) {
    // A node that got no signature would never be found again.
    if (!node->HasAnySignature()) node->Destroy();
    throw;
  }
  return node->Slots();
}

void ZELVTabListGeneric::DestroyNodes() noexcept {
  while (First() != nullptr) First()->Destroy();
}

bool ZELImportInstanceMethods(std::span<const zelutils::Method> methods, ZELInstance instance,
                              bool required, ZELProc* slots) {
  for (std::size_t i = 0; i < methods.size(); ++i) {
    const CZELStringAtom procType(methods[i].procType);
    const CZELStringAtom method(methods[i].name);
    ZELProc procedure = nullptr;
    ZELCheck(Containers().GetMethod(&procedure, instance, method.Atom(), procType.Atom(),
                                    required ? 0 : 1));
    slots[i] = procedure;
    if (required && procedure == nullptr) return false;
  }
  return true;
}

}  // namespace ZEL_T_NMT
