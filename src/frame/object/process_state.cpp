#include "frame/object/process_state.h"

#include "frame/core/error.h"

namespace ZEL_T_NMT {
namespace {

struct ConstructionMark {
  ConstructionMark() noexcept { g_constructionMarker = kConstructed; }
};

}  // namespace

constinit std::int32_t g_constructionMarker = 0;

NeverDestroyed<CZELError> g_unknownError;
NeverDestroyed<CZELError> g_outOfMemoryError;

// The order of these definitions is the order of construction; termination walks it backwards.
NeverDestroyed<TDelVTabList<zelutils::DataStoreInterface>> g_dataStores;
NeverDestroyed<TDelVTabList<zelutils::SizedDataStoreInterface>> g_sizedDataStores;
NeverDestroyed<TDelVTabList<zelutils::DataBlockStreamInterface>> g_dataBlockStreams;
NeverDestroyed<CZELSimpleStreamTerminate> g_simpleStreams;
NeverDestroyed<CZELRewindableStreamTerminate> g_rewindableStreams;
NeverDestroyed<CZELPositionableStreamTerminate> g_positionableStreams;
NeverDestroyed<CPOSObjectTerminate> g_posObjects;
NeverDestroyed<CPOSValidatorTerminate> g_posValidators;

static const ConstructionMark g_constructionMark;

}  // namespace ZEL_T_NMT
