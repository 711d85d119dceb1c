// Writers of the content of each kind of value.
#pragma once

#include "streamer/type_a_streamer.h"

namespace NPOSStreamerImpl::NTypeAImpl {

void WriteNumber(TypeAStreamer& streamer, OCharStream& output, CPOSObject& object);
void WriteString(TypeAStreamer& streamer, OCharStream& output, CPOSObject& object);
void WriteUnicodeString(TypeAStreamer& streamer, OCharStream& output, CPOSObject& object);
void WriteBinData(TypeAStreamer& streamer, OCharStream& output, CPOSObject& object);
// The text shows where the pointer points, for debugging; nothing reads it back.
void WriteRawPointer(TypeAStreamer& streamer, OCharStream& output, CPOSObject& object);
// Raises "CPOSArray::GetAt subscript failed" at an empty slot.
void WriteArray(TypeAStreamer& streamer, OCharStream& output, CPOSObject& object);
void WriteDict(TypeAStreamer& streamer, OCharStream& output, CPOSObject& object);

// Whether a kind's record keeps as they are the bytes that its writer puts without asking: those of
// numbers and digits, and the layout of the kinds that hold others.
constexpr bool KeepsRawBytes(const KindFormat& kind) {
  const bool hasLayout =
      kind.writer == &WriteBinData || kind.writer == &WriteArray || kind.writer == &WriteDict;
  return kind.params.KeepsAll("+-.0123456789ABCDEFabcdefin") &&
         (!hasLayout || kind.params.KeepsAll("\n\t "));
}

}  // namespace NPOSStreamerImpl::NTypeAImpl
