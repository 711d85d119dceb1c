// The family of texts in which every value begins with a marker of one character and ends with a
// closing character. Its versions differ in their data alone.
#pragma once

#include <optional>
#include <string_view>

#include "frame/client/key_atoms.h"
#include "frame/core/nesting.h"
#include "streamer/format.h"
#include "streamer/streamer_base.h"

namespace NPOSStreamerImpl::NTypeAImpl {

class TypeAStreamer : public StreamerBase {
 public:
  // The format outlives the streamer.
  explicit TypeAStreamer(const Format& format) noexcept : format_(format) {}

  const char* VersionName() const noexcept final { return format_.name; }
  void Serialize(CZELPositionableStream& stream, const CPOSObject& object) final;
  void Deserialize(CPOSObject& result, CZELPositionableStream& stream) final;

  // Writes a value whole. Raises "Cannot determine writing params".
  void WriteObject(OCharStream& output, POSView value) {
    WriteObject(output, value, value.IsDirect());
  }
  // The same of a value that was asked whether it is direct.
  void WriteObject(OCharStream& output, POSView value, bool isDirect) {
    if (isDirect) [[likely]] {
      const KindFormat& kind = *format_.OfType(value.Own()->Type());
      const WholeWriterProc writeWhole = kind.writer.writeWhole;
      if (writeWhole != nullptr && writeWhole(kind.params, output, *value.Own())) return;
    }
    WriteOpenObject(output, value);
  }
  // Reads the next object whole; empty when the closing character of the enclosing value comes
  // first. Raises "Cannot determine streaming params".
  CPOSObject ReadObject(ICharStream& input);
  // The same in two steps: the kind that the next marker stands for, or null, and what follows it.
  const KindFormat* ReadMarker(ICharStream& input) {
    const KindFormat* const kind = FindStreamingParams(input.PeekAfterSpaces());
    if (kind == nullptr || !input.SkipContent()) [[unlikely]]
      return ReadAnyMarker(input);
    return kind;
  }
  CPOSObject ReadContent(const KindFormat& kind, ICharStream& input) {
    const CharStream::ParamsInForce inForce(input, kind.params);
    return kind.reader(*this, input);
  }

  // An atom of a key, whose text is as KeyAtoms want it.
  ZEL_T_NMT::CZELStringAtom KeyOf(std::string_view text) {
    if (!keys_) keys_.emplace();
    return keys_->Get(text.data(), text.length());
  }

  // The kind that a marker stands for, and the kind of a value; null when there is none.
  const KindFormat* FindStreamingParams(char marker) const noexcept {
    return format_.OfMarker(marker);
  }
  const KindFormat* FindWritingParams(POSView value) const { return format_.OfType(value.Type()); }
  const StreamingParams& ParamsOf(POSObjectType type) const noexcept {
    return format_.OfType(type)->params;
  }

  // Begins a line, indented by the depth.
  void PutNewLine(OCharStream& output) const {
    output.PutNewLine(static_cast<std::uint32_t>(depth_));
  }

  // Arrays and dictionaries inside one another, as everywhere in the library.
  static constexpr std::int32_t kContainerLimit = std::int32_t{ZEL_T_NMT::kNestingLimit};
  // Binary data fits into the innermost of them. Its parts in turn are flat, except in a
  // malformed text, which may go on nesting where the type name or the size should be.
  static constexpr std::int32_t kBinDataLimit = kContainerLimit + 1;

  // Counts the inside of a value for its own life; raises "nesting too deep" beyond the limit.
  class NestingScope {
   public:
    NestingScope(TypeAStreamer& streamer, std::int32_t limit) : depth_(streamer.depth_) {
      if (depth_ >= limit) ZEL_T_NMT::RaisePOSException("nesting too deep");
      ++depth_;
    }
    NestingScope(const NestingScope&) = delete;
    NestingScope& operator=(const NestingScope&) = delete;
    ~NestingScope() { --depth_; }

   private:
    std::int32_t& depth_;
  };

 private:
  // The same for a value that is read while the stream may be called.
  void WriteOpenObject(OCharStream& output, POSView value);
  // The same of what is anything else than a marker side by side with what is before it.
  const KindFormat* ReadAnyMarker(ICharStream& input);

  const Format& format_;
  std::int32_t depth_ = 0;
  std::optional<ZEL_T_NMT::KeyAtoms> keys_;
};

}  // namespace NPOSStreamerImpl::NTypeAImpl
