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

// A list of one family of methods.
template <typename Family>
class TDelVTabList : public DelVTabListGeneric {
 public:
  TDelVTabList() noexcept : DelVTabListGeneric(Table<Family>::kCount) {}
  // The methods of an instance, or null when it lacks one.
  const Family* Lookup(ZELInstance instance) {
    return reinterpret_cast<const Family*>(list_.Lookup(instance, &ImportMethods<Family>));
  }
};

using CZELSimpleStreamTerminate = TDelVTabList<zelutils::SimpleStreamInterface>;
using CZELRewindableStreamTerminate = TDelVTabList<zelutils::RewindableStreamInterface>;
using CZELPositionableStreamTerminate = TDelVTabList<zelutils::PositionableStreamInterface>;

// These two keep their nodes at process detach; nothing reads them any more.
class CPOSObjectTerminate : public TDelVTabList<zelutils::ObjectInterface> {
 public:
  void Abandon() noexcept override {}
};
class CPOSValidatorTerminate : public TDelVTabList<zelutils::ValidatorInterface> {
 public:
  void Abandon() noexcept override {}
};

extern NeverDestroyed<TDelVTabList<zelutils::DataStoreInterface>> g_dataStores;
extern NeverDestroyed<TDelVTabList<zelutils::SizedDataStoreInterface>> g_sizedDataStores;
extern NeverDestroyed<TDelVTabList<zelutils::DataBlockStreamInterface>> g_dataBlockStreams;
extern NeverDestroyed<CZELSimpleStreamTerminate> g_simpleStreams;
extern NeverDestroyed<CZELRewindableStreamTerminate> g_rewindableStreams;
extern NeverDestroyed<CZELPositionableStreamTerminate> g_positionableStreams;
extern NeverDestroyed<CPOSObjectTerminate> g_posObjects;
extern NeverDestroyed<CPOSValidatorTerminate> g_posValidators;

}  // namespace ZEL_T_NMT
