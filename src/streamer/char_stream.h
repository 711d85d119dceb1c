// The common part of the writing and the reading character stream: a stream, the block of bytes
// that goes to it or comes from it, and the rules that are in force for the current value.
#pragma once

#include <cstdint>
#include <utility>

#include "frame/core/shared_buffer.h"
#include "frame/object/client_stream.h"
#include "streamer/streaming_params.h"

namespace NPOSStreamerImpl::NTypeAImpl {

class CharStream {
 public:
  // `outermost` is in force outside of all values. Raises what taking another reference to the
  // stream or making the block raises.
  CharStream(const ZEL_T_NMT::CZELPositionableStream& stream, const StreamingParams& outermost)
      : params_(&outermost), stream_(stream), block_(kBlockSize) {}
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
  static constexpr std::uint32_t kBlockSize = 512;

  const StreamingParams* params_;
  ZEL_T_NMT::CZELPositionableStream stream_;
  ZEL_T_NMT::SharedBuffer block_;
};

}  // namespace NPOSStreamerImpl::NTypeAImpl
