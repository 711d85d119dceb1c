// The procedures of the streamer interface, and their registration.
#include "frame/object/guard.h"
#include "frame/object/registry.h"
#include "streamer/subsystem.h"
#include "streamer/zel_impl.h"
#include "zelutils/streamer.h"

namespace NPOSStreamerImpl {
namespace {

using ZEL_T_NMT::ExportEntry;
using ZEL_T_NMT::ImplementationId;

struct POSStreamerInterface {
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

  static const ExportEntry kExports[];
};

const ExportEntry POSStreamerInterface::kExports[] = {POS_STREAMER_METHODS(ZEL_EXPORT_PROCEDURE)
                                                          ZEL_END_OF_EXPORTS};

bool RegisterInterfaces() {
  return ZEL_T_NMT::RegisterExports(POSStreamerInterface::kExports, POS_STREAMER_INTERFACE);
}

void UnregisterInterfaces() { ZEL_T_NMT::ZELUnregisterInterface(POS_STREAMER_INTERFACE); }

}  // namespace

const ZEL_T_NMT::Subsystem kSubsystem = {&RegisterInterfaces, &UnregisterInterfaces};

}  // namespace NPOSStreamerImpl
