// The base of all versions of the stream's text, and the lookup of a version by its name.
#pragma once

#include <memory>
#include <string_view>

#include "frame/client/pos_wrappers.h"
#include "frame/object/client_stream.h"

namespace NPOSStreamerImpl {

using ZEL_T_NMT::CPOSObject;
using ZEL_T_NMT::CZELPositionableStream;

// Made for one call and destroyed at its end.
class StreamerBase : public ZEL_T_NMT::CZELClientBase {
 public:
  StreamerBase() noexcept = default;
  StreamerBase(const StreamerBase&) = delete;
  StreamerBase& operator=(const StreamerBase&) = delete;
  virtual ~StreamerBase() = default;

  // The version's name, a text that lives as long as the library is loaded.
  virtual const char* VersionName() const noexcept = 0;
  // Writes the text of an object, which follows the version's name and a space.
  virtual void Serialize(CZELPositionableStream& stream, const CPOSObject& object) = 0;
  // Reads such a text. The result stays empty when an object is not what the text begins with.
  virtual void Deserialize(CPOSObject& result, CZELPositionableStream& stream) = 0;

  // Returns a streamer of the version with exactly this name; raises "StreamerBase::LookupStreamer
  // unrecognized version".
  static std::unique_ptr<StreamerBase> LookupStreamer(std::string_view name);
};

}  // namespace NPOSStreamerImpl
