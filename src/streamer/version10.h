// Version 1.0 of the text: its records, and the streamer that goes by them.
#pragma once

#include <algorithm>

#include "streamer/readers.h"
#include "streamer/type_a_streamer.h"
#include "streamer/writers.h"
#include "zelutils/streamer.h"

namespace NPOSStreamerImpl::NTypeAImpl {

namespace Version10Data {

inline constexpr EscapePair kNoEscapes[] = {{'\\', '\\'}, {0, 0}};
inline constexpr EscapePair kSpaceEscapes[] = {{'\\', '\\'}, {' ', ' '}, {0, 0}};
inline constexpr EscapePair kStringEscapes[] = {{'\\', '\\'}, {'"', '"'},  {'\n', 'n'},
                                                {'\r', 'r'},  {'\t', 't'}, {0, 0}};
inline constexpr EscapePair kUnicodeStringEscapes[] = {{'\\', '\\'}, {'`', '`'}, {0, 0}};
inline constexpr EscapePair kBinDataEscapes[] = {{'\\', '\\'}, {'}', '}'}, {0, 0}};
inline constexpr EscapePair kArrayEscapes[] = {{'\\', '\\'}, {']', ']'}, {0, 0}};
inline constexpr EscapePair kDictEscapes[] = {{'\\', '\\'}, {'>', '>'}, {0, 0}};

// No marker, and a NUL byte in place of a closing character.
inline constexpr StreamingParams kOutermost{0, 0, kNoEscapes, true};

inline constexpr KindFormat kKinds[] = {
    {POSTypeNumber, {'#', ' ', kSpaceEscapes, true}, kNumberWriter, &ReadNumber},
    {POSTypeString, {'"', '"', kStringEscapes, true}, kStringWriter, &ReadString},
    {POSTypeUnicodeString,
     {'`', '`', kUnicodeStringEscapes, true},
     kUnicodeStringWriter,
     &ReadUnicodeString},
    {POSTypeBinData, {'{', '}', kBinDataEscapes, true}, kBinDataWriter, &ReadBinData},
    {POSTypeRawPointer, {'$', ' ', kSpaceEscapes, true}, kRawPointerWriter, &ReadRawPointer},
    {POSTypeArray, {'[', ']', kArrayEscapes, true}, kArrayWriter, &ReadArray},
    {POSTypeDict, {'<', '>', kDictEscapes, true}, kDictWriter, &ReadDict},
};

inline constexpr Format kFormat(POS_STREAMER_TYPE_A_VERSION_1_0, kOutermost, kKinds);

}  // namespace Version10Data

class Version10 final : public TypeAStreamer {
 public:
  static constexpr const Format& kFormat = Version10Data::kFormat;
  Version10() noexcept : TypeAStreamer(kFormat) {}
};

}  // namespace NPOSStreamerImpl::NTypeAImpl
