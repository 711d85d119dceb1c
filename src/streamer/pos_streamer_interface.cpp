// The procedures of the streamer interface, and their registration.
#include "frame/object/guard.h"
#include "frame/object/registry.h"
#include "streamer/subsystem.h"
#include "streamer/zel_impl.h"
#include "zelutils/streamer.h"

namespace NPOSStreamerImpl {
namespace {

using ZEL_T_NMT::ImplementationId;

struct StreamerInterface {
  static ZELInstance NewPOSStreamer() {
    return ZEL_T_NMT::Publish(std::make_unique<ZELImpl>(), ImplementationId::kPOSStreamer);
  }

  static std::int32_t Serialize(ZELInstance streamerHandle, ZELInstance streamHandle,
                                ZELInstance objectHandle, const char* version) {
    CZELPositionableStream stream(streamHandle);
    const CPOSObject object(objectHandle);
    ZEL_T_NMT::Resolve<ZELImpl>(streamerHandle, ImplementationId::kPOSStreamer)
        ->Serialize(stream, object, version);
    return 1;
  }

  static ZELInstance Deserialize(ZELInstance streamerHandle, ZELInstance streamHandle) {
    CZELPositionableStream stream(streamHandle);
    CPOSObject result;
    ZEL_T_NMT::Resolve<ZELImpl>(streamerHandle, ImplementationId::kPOSStreamer)
        ->Deserialize(result, stream);
    return result.HandOut();
  }
};

POS_STREAMER_INTERFACES(ZEL_GUARDED_PROCEDURES)
constexpr ZEL_T_NMT::ExportedInterface kInterfaces[] = {
    POS_STREAMER_INTERFACES(ZEL_EXPORTED_INTERFACE)};

}  // namespace

constinit const ZEL_T_NMT::Subsystem kSubsystem = {
    kInterfaces, ZEL_T_NMT::Subsystem::Withdrawal::kFirstToLast, nullptr};

}  // namespace NPOSStreamerImpl
