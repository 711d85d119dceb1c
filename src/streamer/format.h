// A version of the text as data: its name, the record of each kind of value with what writes and
// reads the kind's content, and the rules outside of all values.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "frame/client/pos_wrappers.h"
#include "streamer/ichar_stream.h"
#include "streamer/ochar_stream.h"

namespace NPOSStreamerImpl::NTypeAImpl {

using ZEL_T_NMT::CPOSObject;
using ZEL_T_NMT::POSView;

class TypeAStreamer;

// Writes the content of a value of its kind. The marker is written, and the kind's rules are in
// force.
using WriterProc = void (*)(TypeAStreamer& streamer, OCharStream& output, POSView value);
// Writes a value of the library's own whole, with marker and closing character, where the stream is
// called only when all of the value has been read. False, with nothing put, where it may be called
// before.
using WholeWriterProc = bool (*)(const StreamingParams& params, OCharStream& output,
                                 const ZEL_T_NMT::OwnValue& value);
struct Writer {
  WriterProc write;
  const char* raw;  // the bytes that it puts without asking the record
  WholeWriterProc writeWhole = nullptr;
  bool holdsValues = false;
};
// Reads the content of an object of its kind up to and including the closing character. The marker
// is read, and the kind's rules are in force. An object is given only when it was read whole.
using ReaderProc = CPOSObject (*)(TypeAStreamer& streamer, ICharStream& input);

struct KindFormat {
  POSObjectType type;
  StreamingParams params;
  Writer writer;
  ReaderProc reader;
};

struct Format {
  // `kindFormats` has a row for each kind in the order of the type tags.
  template <std::size_t Count>
  consteval Format(const char* versionName, const StreamingParams& outermostParams,
                   const KindFormat (&kindFormats)[Count])
      : name(versionName), outermost(outermostParams), kinds(kindFormats) {
    static_assert(Count == POS_KIND_COUNT);
    for (std::size_t index = Count; index-- > 0;) {
      const KindFormat& kind = kinds[index];
      if (kind.type != static_cast<POSObjectType>(index + 1)) throw "not in order";
      if (!kind.params.KeepsAll(kind.writer.raw)) throw "escapes raw bytes";
      const char marker[] = {kind.params.open, '\0'};
      if (!outermost.KeepsAll(marker)) throw "escapes a marker";
      for (const KindFormat& around : kinds) {
        if (around.writer.holdsValues && !around.params.KeepsAll(marker)) throw "escapes a marker";
      }
      ofType[index + 1] = &kind;
      ofMarker[static_cast<unsigned char>(kind.params.open)] = &kind;
    }
  }

  // The kind with a type tag, and the kind that a marker stands for; null for none.
  const KindFormat* OfType(std::int32_t type) const noexcept {
    return ofType[static_cast<std::size_t>(type)];
  }
  const KindFormat* OfMarker(char marker) const noexcept {
    return ofMarker[static_cast<unsigned char>(marker)];
  }

  const char* name;
  StreamingParams outermost;
  std::span<const KindFormat> kinds;
  std::array<const KindFormat*, POS_KIND_COUNT + 1> ofType{};
  std::array<const KindFormat*, 256> ofMarker{};
};

}  // namespace NPOSStreamerImpl::NTypeAImpl
