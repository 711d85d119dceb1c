// Writers of the content of each kind of value.
#pragma once

#include "streamer/type_a_streamer.h"

namespace NPOSStreamerImpl::NTypeAImpl {

void WriteNumber(TypeAStreamer& streamer, OCharStream& output, POSView value);
bool WriteWholeNumber(const StreamingParams& params, OCharStream& output,
                      const ZEL_T_NMT::OwnValue& value);
inline constexpr Writer kNumberWriter = {&WriteNumber, "+-.0123456789aefin", &WriteWholeNumber};
void WriteString(TypeAStreamer& streamer, OCharStream& output, POSView value);
bool WriteWholeString(const StreamingParams& params, OCharStream& output,
                      const ZEL_T_NMT::OwnValue& value);
inline constexpr Writer kStringWriter = {&WriteString, "", &WriteWholeString};
void WriteUnicodeString(TypeAStreamer& streamer, OCharStream& output, POSView value);
inline constexpr Writer kUnicodeStringWriter = {&WriteUnicodeString, "0123456789ABCDEFabcdef"};
void WriteBinData(TypeAStreamer& streamer, OCharStream& output, POSView value);
inline constexpr Writer kBinDataWriter = {&WriteBinData, "0123456789ABCDEF\n\t ", nullptr, true};
// The text shows where the pointer points, for debugging; nothing reads it back.
void WriteRawPointer(TypeAStreamer& streamer, OCharStream& output, POSView value);
inline constexpr Writer kRawPointerWriter = {&WriteRawPointer, "0123456789ABCDEF"};
// Raises "CPOSArray::GetAt subscript failed" at an empty slot.
void WriteArray(TypeAStreamer& streamer, OCharStream& output, POSView value);
inline constexpr Writer kArrayWriter = {&WriteArray, "\n\t", nullptr, true};
void WriteDict(TypeAStreamer& streamer, OCharStream& output, POSView value);
inline constexpr Writer kDictWriter = {&WriteDict, "\n\t ", nullptr, true};

}  // namespace NPOSStreamerImpl::NTypeAImpl
