// How version 1.0 writes the content of each kind of value.
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

}  // namespace NPOSStreamerImpl::NTypeAImpl
