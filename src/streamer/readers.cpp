#include "streamer/readers.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <optional>
#include <utility>

#include "frame/base/compiler.h"
#include "frame/base/decimal.h"
#include "frame/core/client_base.h"
#include "streamer/hex_digits.h"
#include "streamer/type_a_streamer.h"

namespace NPOSStreamerImpl::NTypeAImpl {
namespace {

using ZEL_T_NMT::ArrayToFill;
using ZEL_T_NMT::BinderBlock;
using ZEL_T_NMT::CPOSArray;
using ZEL_T_NMT::CPOSBinData;
using ZEL_T_NMT::CPOSDict;
using ZEL_T_NMT::CPOSNumber;
using ZEL_T_NMT::CPOSString;
using ZEL_T_NMT::CPOSUnicodeString;
using ZEL_T_NMT::CZELStringAtom;
using ZEL_T_NMT::DictToFill;
using ZEL_T_NMT::RaisePOSException;

bool IsNumberCharacter(char character) noexcept {
  return (character >= '0' && character <= '9') || character == '+' || character == '-' ||
         character == '.' || character == 'E' || character == 'e';
}

std::uint32_t BinDataSize(double size) {
  if (!(size >= 0 && size <= std::numeric_limits<std::uint32_t>::max())) {
    RaisePOSException("malformed binary data size");
  }
  return static_cast<std::uint32_t>(size);
}

void ReadHexPairs(ICharStream& input, unsigned char* bytes, std::uint32_t size) {
  std::uint32_t index = 0;
  for (;;) {
    index += input.GetBufferedHexPairs(bytes + index, size - index);
    if (index == size) return;
    char digits[2];
    input.GetChars(digits, 2, true, true);
    const int value = HexPairValue(digits[0], digits[1]);
    if (value < 0) RaisePOSException("malformed binary data");
    bytes[index++] = static_cast<unsigned char>(value);
  }
}

// Texts that are not plain have a place on the stack, and not in the frame of each dictionary
// around them.
ZEL_NEVER_INLINE CZELStringAtom ReadKeyByParts(TypeAStreamer& streamer, ICharStream& input,
                                               std::size_t plain) {
  TextBuffer<char> buffer;
  return streamer.KeyOf(input.GetText(buffer, plain));
}

ZEL_NEVER_INLINE CPOSObject ReadStringByParts(ICharStream& input, std::size_t plain) {
  TextBuffer<char> buffer;
  return CPOSString::New(input.GetText(buffer, plain).data());
}

ZEL_NEVER_INLINE CZELStringAtom ReadKeyThroughString(TypeAStreamer& streamer,
                                                     const KindFormat& kind, ICharStream& input) {
  return CZELStringAtom(CPOSString(streamer.ReadContent(kind, input), false).Get());
}

// The text of a String is made the key at once, unless somebody else's procedures are to see the
// String.
ZEL_NEVER_INLINE CZELStringAtom ReadKey(TypeAStreamer& streamer, const KindFormat& kind,
                                        ICharStream& input) {
  if (kind.type != POSTypeString || !ZEL_T_NMT::g_pos.strings.IsOwn()) [[unlikely]]
    return ReadKeyThroughString(streamer, kind, input);
  const CharStream::ParamsInForce inForce(input, kind.params);
  const auto [text, length] = input.GetPlainText();
  if (text == nullptr) [[unlikely]]
    return ReadKeyByParts(streamer, input, length);
  return streamer.KeyOf({text, length});
}

constexpr std::uint32_t kMaxNumberLength = 62;

// Of a number that goes on in the next block, or is malformed.
ZEL_NEVER_INLINE CPOSObject ReadNumberByParts(ICharStream& input) {
  if (input.ReadOn(kMaxNumberLength)) {
    if (const auto number = input.GetBufferedNumber(kMaxNumberLength))
      return CPOSNumber::New(*number);
  }
  char text[kMaxNumberLength + 1];  // one more tells a number that is too long
  const std::uint32_t length = input.GetChars(text, sizeof text, false, false);
  if (length == 0 || length > kMaxNumberLength ||
      !std::all_of(text, text + length, IsNumberCharacter)) {
    RaisePOSException("malformed number");
  }
  return CPOSNumber::New(ZEL_T_NMT::DecimalPrefix(text, length, true).value);
}

}  // namespace

CPOSObject ReadNumber(TypeAStreamer&, ICharStream& input) {
  std::optional<double> number = input.GetFewDigits();
  if (!number) number = input.GetBufferedNumber(kMaxNumberLength);
  return number ? CPOSNumber::New(*number) : ReadNumberByParts(input);
}

CPOSObject ReadString(TypeAStreamer&, ICharStream& input) {
  const auto [text, length] = input.GetPlainText();
  return text != nullptr ? CPOSString::New(text) : ReadStringByParts(input, length);
}

CPOSObject ReadUnicodeString(TypeAStreamer&, ICharStream& input) {
  constexpr std::uint32_t kAtOnce = 128;
  TextBuffer<std::uint16_t> units;
  for (;;) {
    std::uint16_t* const place = units.Reserve(kAtOnce);
    units.Advance(input.GetBufferedUnits(place, kAtOnce - 1));
    char digits[4];
    const std::uint32_t count = input.GetChars(digits, 4, false, false);
    if (count == 0) break;
    const int unit = count == 4 ? HexGroupValue(digits) : -1;
    if (unit < 0) RaisePOSException("malformed Unicode string");
    *units.Reserve(1) = static_cast<std::uint16_t>(unit);
    units.Advance(1);
  }
  return CPOSUnicodeString::New(units.Terminated());
}

CPOSObject ReadBinData(TypeAStreamer& streamer, ICharStream& input) {
  const TypeAStreamer::NestingScope scope(streamer, TypeAStreamer::kBinDataLimit);
  const CPOSString typeName(streamer.ReadObject(input), false);
  const std::uint32_t size = BinDataSize(CPOSNumber(streamer.ReadObject(input), false).Get());

  std::optional<BinderBlock<unsigned char>> bytes;
  if (size > 0) {
    ReadHexPairs(input, bytes.emplace(size).Get(), size);
  }
  char character;
  while (input.GetChar(&character)) {
    if (!IsWhitespace(character)) RaisePOSException("Unexpected chars after binary data");
  }
  return CPOSBinData::New(typeName.Get(), bytes ? bytes->Get() : nullptr, size);
}

CPOSObject ReadRawPointer(TypeAStreamer&, ICharStream&) {
  RaisePOSException("Cannot meaningfully read in a raw pointer (write is for debugging only)");
}

CPOSObject ReadArray(TypeAStreamer& streamer, ICharStream& input) {
  const TypeAStreamer::NestingScope scope(streamer, TypeAStreamer::kContainerLimit);
  CPOSArray array = CPOSArray::New();
  const ArrayToFill filling(array);
  while (const KindFormat* const kind = streamer.ReadMarker(input)) {
    filling.Append(streamer.ReadContent(*kind, input));
  }
  return array;
}

CPOSObject ReadDict(TypeAStreamer& streamer, ICharStream& input) {
  const TypeAStreamer::NestingScope scope(streamer, TypeAStreamer::kContainerLimit);
  CPOSDict dict = CPOSDict::New();
  const DictToFill filling(dict);
  while (const KindFormat* const kind = streamer.ReadMarker(input)) {
    CZELStringAtom key = ReadKey(streamer, *kind, input);
    const KindFormat* const ofValue = streamer.ReadMarker(input);
    if (ofValue == nullptr) RaisePOSException("missing dictionary value");
    filling.Put(std::move(key), streamer.ReadContent(*ofValue, input));
  }
  return dict;
}

}  // namespace NPOSStreamerImpl::NTypeAImpl
