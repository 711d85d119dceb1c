#include "streamer/writers.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "frame/base/compiler.h"
#include "streamer/hex_digits.h"
#include "streamer/number_text.h"
#include "streamer/type_a_streamer.h"

namespace NPOSStreamerImpl::NTypeAImpl {

using ZEL_T_NMT::ArrayView;
using ZEL_T_NMT::BinDataView;
using ZEL_T_NMT::CPOSNumber;
using ZEL_T_NMT::CPOSString;
using ZEL_T_NMT::DictView;
using ZEL_T_NMT::KnownToBeDirect;
using ZEL_T_NMT::MemberWalk;
using ZEL_T_NMT::NumberView;
using ZEL_T_NMT::OwnArray;
using ZEL_T_NMT::OwnNumber;
using ZEL_T_NMT::OwnString;
using ZEL_T_NMT::OwnValue;
using ZEL_T_NMT::RaisePOSException;
using ZEL_T_NMT::RawPointerView;
using ZEL_T_NMT::StringView;
using ZEL_T_NMT::UnicodeStringView;

namespace {

void PutNumber(OCharStream& output, double value) {
  static_assert(OCharStream::kRoom >= kNumberTextCapacity);
  output.Advance(FormatNumber(value, output.Place()));
}

void PutString(OCharStream& output, const char* text) { output.PutText(text, std::strlen(text)); }

// Marker, content and closing character of a kind.
template <typename Content>
void WriteAs(const StreamingParams& params, OCharStream& output, Content content) {
  output.PutChar(params.open);
  {
    const CharStream::ParamsInForce inForce(output, params);
    content();
  }
  output.PutRaw(params.close);
}

ZEL_NEVER_INLINE void WriteByParts(const StreamingParams& params, OCharStream& output,
                                   const char* text, std::size_t length) {
  WriteAs(params, output, [&] { output.PutText(text, length); });
}

// A text as a String of it is written, and a size as a Number, each with a space behind it. A
// String is made of a text that does not stay while the stream is called, or that somebody else's
// procedures are to see. Returns whether nothing of somebody else's has been called but the stream.
ZEL_ALWAYS_INLINE bool WriteText(TypeAStreamer& streamer, OCharStream& output, const char* text,
                                 bool staysDirect) {
  if (!staysDirect) [[unlikely]] {
    streamer.WriteObject(output, CPOSString::New(text).View());
    output.PutRaw(' ');
    return false;
  }
  const StreamingParams& params = streamer.ParamsOf(POSTypeString);
  const std::size_t length = std::strlen(text);
  if (!output.PutMarkedTextAndSpace(params, text, length)) [[unlikely]] {
    WriteByParts(params, output, text, length);
    output.PutRaw(' ');
  }
  return true;
}

void WriteSize(TypeAStreamer& streamer, OCharStream& output, std::uint32_t size) {
  if (POSView::IsKindDirect(POSTypeNumber)) [[likely]] {
    WriteAs(streamer.ParamsOf(POSTypeNumber), output, [&] { PutNumber(output, size); });
  } else {
    streamer.WriteObject(output, CPOSNumber::New(size).View());
  }
  output.PutRaw(' ');
}

constexpr std::uint32_t kBytesPerLine = 40;

void PutHexLine(OCharStream& output, const unsigned char* bytes, std::uint32_t count) {
  char line[2 * kBytesPerLine];
  char* end = line;
  for (std::uint32_t index = 0; index < count; ++index) {
    *end++ = kUpperHexDigits[bytes[index] >> 4];
    *end++ = kUpperHexDigits[bytes[index] & 0xF];
  }
  output.PutRawBytes(line, static_cast<std::size_t>(end - line));
}

}  // namespace

void WriteNumber(TypeAStreamer&, OCharStream& output, POSView value) {
  PutNumber(output, NumberView(value).Get());
}

bool WriteWholeNumber(const StreamingParams& params, OCharStream& output, const OwnValue& value) {
  const double number = static_cast<const OwnNumber&>(value).Get();
  output.PutMarked(params, [number](char* place) { return FormatNumber(number, place); });
  return true;
}

void WriteString(TypeAStreamer&, OCharStream& output, POSView value) {
  PutString(output, StringView(value).Get());
}

bool WriteWholeString(const StreamingParams& params, OCharStream& output, const OwnValue& value) {
  const char* const text = static_cast<const OwnString&>(value).Get();
  return output.PutMarkedText(params, text, std::strlen(text));
}

void WriteUnicodeString(TypeAStreamer&, OCharStream& output, POSView value) {
  for (const std::uint16_t* unit = UnicodeStringView(value).Get(); *unit != 0; ++unit) {
    // The high byte in upper case, the low byte in lower case.
    char* const place = output.Place();
    place[0] = kUpperHexDigits[*unit >> 12];
    place[1] = kUpperHexDigits[(*unit >> 8) & 0xF];
    place[2] = kLowerHexDigits[(*unit >> 4) & 0xF];
    place[3] = kLowerHexDigits[*unit & 0xF];
    output.Advance(4);
  }
}

void WriteBinData(TypeAStreamer& streamer, OCharStream& output, POSView value) {
  const BinDataView data(value);
  WriteText(streamer, output, data.GetTypeName(), value.IsDirect());
  const std::uint32_t size = data.GetSize();
  WriteSize(streamer, output, size);
  {
    const TypeAStreamer::NestingScope scope(streamer, TypeAStreamer::kBinDataLimit);
    const auto* bytes = static_cast<const unsigned char*>(data.GetBinData());
    if (bytes == nullptr && size > 0) RaisePOSException("CPOSBinData::GetBinData failed");
    for (std::uint32_t left = size; left > 0;) {
      const std::uint32_t count = std::min(left, kBytesPerLine);
      streamer.PutNewLine(output);
      PutHexLine(output, bytes, count);
      bytes += count;
      left -= count;
    }
  }
  streamer.PutNewLine(output);
}

void WriteRawPointer(TypeAStreamer&, OCharStream& output, POSView value) {
  const auto pointer = reinterpret_cast<std::uintptr_t>(RawPointerView(value).GetRawPointer());
  for (std::size_t shift = sizeof pointer * 8; shift > 0; shift -= 4) {
    output.PutRaw(kUpperHexDigits[(pointer >> (shift - 4)) & 0xF]);
  }
}

void WriteArray(TypeAStreamer& streamer, OCharStream& output, POSView value) {
  const ArrayView array(value);
  {
    const TypeAStreamer::NestingScope scope(streamer, TypeAStreamer::kContainerLimit);
    // Knowledge of the array and its elements holds until somebody else's code runs.
    const OwnArray* own;
    KnownToBeDirect known;
    std::uint32_t calls;
    const auto learn = [&] {
      own = array.Directly();
      known = own != nullptr ? KnownToBeDirect::Now() : KnownToBeDirect();
      calls = output.ForeignCalls();
    };
    learn();
    for (std::uint32_t index = 0; index < (own != nullptr ? own->Count() : array.Count());
         ++index) {
      streamer.PutNewLine(output);
      const bool isSame = own != nullptr && calls == output.ForeignCalls();
      const ZELInstance slot = isSame ? own->GetAt(index) : nullptr;
      const POSView element = slot != nullptr ? POSView(slot) : array.GetAt(index);
      streamer.WriteObject(output, element, isSame ? known.Has(element) : element.IsDirect());
      if (calls != output.ForeignCalls()) learn();
    }
  }
  streamer.PutNewLine(output);
}

void WriteDict(TypeAStreamer& streamer, OCharStream& output, POSView value) {
  {
    const TypeAStreamer::NestingScope scope(streamer, TypeAStreamer::kContainerLimit);
    if (!ZEL_T_NMT::g_pos.dictIterators.IsKnownToBeOwn()) [[unlikely]]
      output.HoldOpenValues();
    MemberWalk walk((DictView(value)));
    // Knowledge of the members holds until somebody else's code runs.
    KnownToBeDirect known;
    std::uint32_t calls;
    const auto learn = [&] {
      known = walk.KeepsKey() ? KnownToBeDirect::Now() : KnownToBeDirect();
      calls = output.ForeignCalls();
    };
    learn();
    for (; walk.Key() != nullptr; walk.Next()) {
      streamer.PutNewLine(output);
      if (calls != output.ForeignCalls()) learn();
      const bool isDirect = WriteText(streamer, output, walk.Key(), known.Has(POSTypeString));
      // The member may be another one, or none any more, when somebody else's code has run.
      const bool isSame = isDirect && calls == output.ForeignCalls();
      const POSView member = isSame ? walk.ValueFound() : walk.Value();
      streamer.WriteObject(output, member, isSame ? known.Has(member) : member.IsDirect());
    }
  }
  streamer.PutNewLine(output);
}

}  // namespace NPOSStreamerImpl::NTypeAImpl
