// The object behind a streamer handle: the version header before an object's text, and the choice
// of the version by it. It holds nothing.
#pragma once

#include "streamer/streamer_base.h"

namespace NPOSStreamerImpl {

class ZELImpl : public ZEL_T_NMT::CZELClientBase {
 public:
  virtual ~ZELImpl() = default;

  // Writes header and object; a null version is the default. An unknown version writes nothing.
  void Serialize(CZELPositionableStream& stream, const CPOSObject& object, const char* version);
  // Reads header and object; raises when there is no object.
  void Deserialize(CPOSObject& result, CZELPositionableStream& stream);
};

}  // namespace NPOSStreamerImpl
