// The library's process-wide objects. They are all constructed in one file, which fixes their
// order, and nothing else in the library has a constructor that runs at load.
#pragma once

#include <cstdint>

#include "frame/base/never_destroyed.h"
#include "frame/link/lazy_terminate.h"
#include "frame/object/method_table.h"

namespace ZEL_T_NMT {

// Reads kConstructed once the process-wide objects exist; the link refuses to go on before.
inline constexpr std::int32_t kConstructed = 13;
extern constinit std::int32_t g_constructionMarker;

// Owner of the method tables of one family: destroys them when the library unlinks and forgets them
// when it is being unloaded.
class DelVTabListGeneric : public LazyTerminate {
 public:
  explicit DelVTabListGeneric(std::uint32_t methodCount) noexcept : list_(methodCount) {}
  void Terminate() override { list_.DestroyNodes(); }
  void Abandon() noexcept override { list_.Abandon(); }

 protected:
  ZELVTabListGeneric list_;
};

// A list that also knows how to import its family.
template <typename Traits>
class TDelVTabList : public DelVTabListGeneric {
 public:
  TDelVTabList() noexcept : DelVTabListGeneric(Traits::Slots::kSlotCount) {}
  const typename Traits::Slots* Lookup(ZELInstance instance) {
    return reinterpret_cast<const typename Traits::Slots*>(list_.Lookup(instance, import_));
  }

 private:
  ImportMethodsFunction import_ = &ImportMethods<typename Traits::Slots>;
};

struct ZELDataStoreTraits {
  using Slots = DataStoreSlots;
};
struct ZELSizedDataStoreTraits {
  using Slots = SizedDataStoreSlots;
};
struct ZELDataBlockStreamTraits {
  using Slots = DataBlockStreamSlots;
};

// The other owners are given the import function at each lookup.
template <typename Slots>
class FamilyTerminate : public DelVTabListGeneric {
 public:
  FamilyTerminate() noexcept : DelVTabListGeneric(Slots::kSlotCount) {}
  const Slots* Lookup(ZELInstance instance) {
    return reinterpret_cast<const Slots*>(list_.Lookup(instance, &ImportMethods<Slots>));
  }
};

class CZELSimpleStreamTerminate : public FamilyTerminate<SimpleStreamSlots> {};
class CZELRewindableStreamTerminate : public FamilyTerminate<RewindableStreamSlots> {};
class CZELPositionableStreamTerminate : public FamilyTerminate<PositionableStreamSlots> {};

// These two keep their nodes at process detach; nothing reads them any more.
class CPOSObjectTerminate : public FamilyTerminate<POSObjectSlots> {
 public:
  void Abandon() noexcept override {}
};
class CPOSValidatorTerminate : public FamilyTerminate<POSValidatorSlots> {
 public:
  void Abandon() noexcept override {}
};

extern NeverDestroyed<TDelVTabList<ZELDataStoreTraits>> g_dataStores;
extern NeverDestroyed<TDelVTabList<ZELSizedDataStoreTraits>> g_sizedDataStores;
extern NeverDestroyed<TDelVTabList<ZELDataBlockStreamTraits>> g_dataBlockStreams;
extern NeverDestroyed<CZELSimpleStreamTerminate> g_simpleStreams;
extern NeverDestroyed<CZELRewindableStreamTerminate> g_rewindableStreams;
extern NeverDestroyed<CZELPositionableStreamTerminate> g_positionableStreams;
extern NeverDestroyed<CPOSObjectTerminate> g_posObjects;
extern NeverDestroyed<CPOSValidatorTerminate> g_posValidators;

}  // namespace ZEL_T_NMT
