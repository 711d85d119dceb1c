// Readers of the content of each kind of value.
#pragma once

#include "streamer/type_a_streamer.h"

namespace NPOSStreamerImpl::NTypeAImpl {

// Raises "malformed number".
void ReadNumber(CPOSObject& result, TypeAStreamer& streamer, ICharStream& input);
// A character that is read as NUL ends the string's text.
void ReadString(CPOSObject& result, TypeAStreamer& streamer, ICharStream& input);
// Raises "malformed Unicode string".
void ReadUnicodeString(CPOSObject& result, TypeAStreamer& streamer, ICharStream& input);
// Raises "malformed binary data size" for a size below 0, beyond 32 bits or not a number, and
// "malformed binary data" for a character among the bytes that is no hexadecimal digit.
void ReadBinData(CPOSObject& result, TypeAStreamer& streamer, ICharStream& input);
// Raises: a pointer means nothing to who reads it.
void ReadRawPointer(CPOSObject& result, TypeAStreamer& streamer, ICharStream& input);
void ReadArray(CPOSObject& result, TypeAStreamer& streamer, ICharStream& input);
// Raises "missing dictionary value".
void ReadDict(CPOSObject& result, TypeAStreamer& streamer, ICharStream& input);

}  // namespace NPOSStreamerImpl::NTypeAImpl
