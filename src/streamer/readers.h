// Readers of the content of each kind of value.
#pragma once

#include "streamer/type_a_streamer.h"

namespace NPOSStreamerImpl::NTypeAImpl {

// Raises "malformed number".
CPOSObject ReadNumber(TypeAStreamer& streamer, ICharStream& input);
// A character that is read as NUL ends the string's text.
CPOSObject ReadString(TypeAStreamer& streamer, ICharStream& input);
// Raises "malformed Unicode string".
CPOSObject ReadUnicodeString(TypeAStreamer& streamer, ICharStream& input);
// Raises "malformed binary data size" for a size below 0, beyond 32 bits or not a number, and
// "malformed binary data" for a character among the bytes that is no hexadecimal digit.
CPOSObject ReadBinData(TypeAStreamer& streamer, ICharStream& input);
// Raises: a pointer means nothing to who reads it.
CPOSObject ReadRawPointer(TypeAStreamer& streamer, ICharStream& input);
CPOSObject ReadArray(TypeAStreamer& streamer, ICharStream& input);
// Raises "missing dictionary value".
CPOSObject ReadDict(TypeAStreamer& streamer, ICharStream& input);

}  // namespace NPOSStreamerImpl::NTypeAImpl
