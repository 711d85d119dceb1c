// What the writing and the reading character stream have in common: a stream, one buffer for all
// bytes that go to it or come from it, and the rules that are in force for the current value.
#pragma once

#include <cstdint>
#include <utility>

#include "frame/core/shared_buffer.h"
#include "frame/object/client_stream.h"
#include "streamer/streaming_params.h"

namespace NPOSStreamerImpl::NTypeAImpl {

class CharStream {
 public:
  // Raises what taking another reference to the stream or making the buffer raises.
  explicit CharStream(const ZEL_T_NMT::CZELPositionableStream& stream)
      : stream_(stream), buffer_(kCapacity), cursor_(static_cast<char*>(buffer_.Data())) {}
  CharStream(const CharStream&) = delete;
  CharStream& operator=(const CharStream&) = delete;
  virtual ~CharStream() = default;

  // Puts a value's rules in force for its own life, then those of the enclosing value again.
  class ParamsInForce {
   public:
    ParamsInForce(CharStream& stream, const StreamingParams& params) noexcept
        : stream_(stream), saved_(std::exchange(stream.params_, &params)) {}
    ParamsInForce(const ParamsInForce&) = delete;
    ParamsInForce& operator=(const ParamsInForce&) = delete;
    ~ParamsInForce() { stream_.params_ = saved_; }

   private:
    CharStream& stream_;
    const StreamingParams* saved_;
  };

 protected:
  static constexpr std::uint32_t kCapacity = 512;

  const StreamingParams* params_ = &kTopLevelParams;
  ZEL_T_NMT::CZELPositionableStream stream_;
  ZEL_T_NMT::SharedBuffer buffer_;
  char* cursor_;
  std::uint32_t count_ = 0;
};

}  // namespace NPOSStreamerImpl::NTypeAImpl
