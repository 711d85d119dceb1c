// Version 1.0 of the text: the seven kinds of values, and how deep they are nested.
#pragma once

#include <cstdint>

#include "frame/core/nesting.h"
#include "streamer/type_a_streamer.h"

namespace NPOSStreamerImpl::NTypeAImpl {

class Version10 final : public TypeAStreamer {
 public:
  const char* VersionName() const noexcept override;
  ReadingParams FindStreamingParams(char marker) const override;
  WritingParams FindWritingParams(const CPOSObject& object) const override;

  // Arrays and dictionaries inside one another, as everywhere in the library.
  static constexpr std::int32_t kContainerLimit = std::int32_t{ZEL_T_NMT::kNestingLimit};
  // Binary data fits into the innermost of them. What it holds in turn is flat, except in a
  // malformed text, which may go on nesting where the type name or the size should be.
  static constexpr std::int32_t kBinDataLimit = kContainerLimit + 1;

  // Counts the inside of a value for its own life; raises "nesting too deep" beyond the limit.
  class NestingScope {
   public:
    NestingScope(TypeAStreamer& streamer, std::int32_t limit)
        : depth_(static_cast<Version10&>(streamer).depth_) {
      if (depth_ >= limit) ZEL_T_NMT::RaisePOSException("nesting too deep");
      ++depth_;
    }
    NestingScope(const NestingScope&) = delete;
    NestingScope& operator=(const NestingScope&) = delete;
    ~NestingScope() { --depth_; }

   private:
    std::int32_t& depth_;
  };

  // Begins a line, indented by the depth.
  static void PutNewLine(TypeAStreamer& streamer, OCharStream& output);

 private:
  std::int32_t depth_ = 0;
};

}  // namespace NPOSStreamerImpl::NTypeAImpl
