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

class TypeAStreamer;

// Writes the content of an object of its kind. The marker is written, and the kind's rules are in
// force. The object is the same afterwards, unless an error is raised.
using WriterProc = void (*)(TypeAStreamer& streamer, OCharStream& output, CPOSObject& object);
struct Writer {
  WriterProc write;
  const char* raw;  // the bytes that it puts without asking the record
};
// Reads the content of an object of its kind up to and including the closing character. The marker
// is read, and the kind's rules are in force. An object is given only when it was read whole.
using ReaderProc = void (*)(CPOSObject& result, TypeAStreamer& streamer, ICharStream& input);

struct KindFormat {
  StreamingParams params;
  bool (*is)(ZELInstance object);
  Writer writer;
  ReaderProc reader;
};

struct Format {
  // `kindFormats` are in the order in which an object, or a marker, is compared with them.
  template <std::size_t Count>
  consteval Format(const char* versionName, const StreamingParams& outermostParams,
                   const KindFormat (&kindFormats)[Count])
      : name(versionName), outermost(outermostParams), kinds(kindFormats) {
    for (std::size_t index = Count; index-- > 0;) {
      if (!kinds[index].params.KeepsAll(kinds[index].writer.raw)) throw "escapes raw bytes";
      kindOfMarker[static_cast<unsigned char>(kinds[index].params.open)] =
          static_cast<std::uint8_t>(index + 1);
    }
  }

  const char* name;
  StreamingParams outermost;
  std::span<const KindFormat> kinds;
  // The index of the kind that a marker stands for, and 1; 0 for none.
  std::array<std::uint8_t, 256> kindOfMarker{};
};

}  // namespace NPOSStreamerImpl::NTypeAImpl
