#include "streamer/writers.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <utility>

#include "streamer/hex_digits.h"
#include "streamer/number_text.h"
#include "streamer/type_a_streamer.h"

namespace NPOSStreamerImpl::NTypeAImpl {

using ZEL_T_NMT::CPOSArray;
using ZEL_T_NMT::CPOSBinData;
using ZEL_T_NMT::CPOSDict;
using ZEL_T_NMT::CPOSNumber;
using ZEL_T_NMT::CPOSRawPointer;
using ZEL_T_NMT::CPOSString;
using ZEL_T_NMT::CPOSUnicodeString;
using ZEL_T_NMT::MemberWalk;
using ZEL_T_NMT::RaisePOSException;

namespace {

// An object as one of its kind while it is written, by the reference that its holder has.
template <typename Kind>
class Borrowed {
 public:
  explicit Borrowed(CPOSObject& object) : holder_(object), object_(std::move(object), false) {}
  Borrowed(const Borrowed&) = delete;
  Borrowed& operator=(const Borrowed&) = delete;
  ~Borrowed() { holder_ = std::move(object_); }
  const Kind& operator*() const noexcept { return object_; }
  const Kind* operator->() const noexcept { return &object_; }

 private:
  CPOSObject& holder_;
  Kind object_;
};

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

void WriteNumber(TypeAStreamer&, OCharStream& output, CPOSObject& object) {
  static_assert(OCharStream::kRoom >= kNumberTextCapacity);
  output.Advance(FormatNumber(Borrowed<CPOSNumber>(object)->Get(), output.Place()));
}

void WriteString(TypeAStreamer&, OCharStream& output, CPOSObject& object) {
  const Borrowed<CPOSString> string(object);
  const char* const text = string->Get();
  output.PutText(text, std::strlen(text));
}

void WriteUnicodeString(TypeAStreamer&, OCharStream& output, CPOSObject& object) {
  const Borrowed<CPOSUnicodeString> string(object);
  for (const std::uint16_t* unit = string->Get(); *unit != 0; ++unit) {
    // The high byte in upper case, the low byte in lower case.
    char* const place = output.Place();
    place[0] = kUpperHexDigits[*unit >> 12];
    place[1] = kUpperHexDigits[(*unit >> 8) & 0xF];
    place[2] = kLowerHexDigits[(*unit >> 4) & 0xF];
    place[3] = kLowerHexDigits[*unit & 0xF];
    output.Advance(4);
  }
}

void WriteBinData(TypeAStreamer& streamer, OCharStream& output, CPOSObject& object) {
  const Borrowed<CPOSBinData> data(object);
  streamer.WriteObject(output, CPOSString::New(data->GetTypeName()));
  output.PutRaw(' ');
  const std::uint32_t size = data->GetSize();
  streamer.WriteObject(output, CPOSNumber::New(size));
  output.PutRaw(' ');
  {
    const TypeAStreamer::NestingScope scope(streamer, TypeAStreamer::kBinDataLimit);
    const auto* bytes = static_cast<const unsigned char*>(data->GetBinData());
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

void WriteRawPointer(TypeAStreamer&, OCharStream& output, CPOSObject& object) {
  const auto value =
      reinterpret_cast<std::uintptr_t>(Borrowed<CPOSRawPointer>(object)->GetRawPointer());
  for (std::size_t shift = sizeof value * 8; shift > 0; shift -= 4) {
    output.PutRaw(kUpperHexDigits[(value >> (shift - 4)) & 0xF]);
  }
}

void WriteArray(TypeAStreamer& streamer, OCharStream& output, CPOSObject& object) {
  const Borrowed<CPOSArray> array(object);
  {
    const TypeAStreamer::NestingScope scope(streamer, TypeAStreamer::kContainerLimit);
    for (std::uint32_t index = 0; index < array->Count(); ++index) {
      streamer.PutNewLine(output);
      streamer.WriteObject(output, array->GetAt(index));
    }
  }
  streamer.PutNewLine(output);
}

void WriteDict(TypeAStreamer& streamer, OCharStream& output, CPOSObject& object) {
  const Borrowed<CPOSDict> dict(object);
  {
    const TypeAStreamer::NestingScope scope(streamer, TypeAStreamer::kContainerLimit);
    for (MemberWalk walk(dict->View()); walk.Key() != nullptr; walk.Next()) {
      streamer.PutNewLine(output);
      streamer.WriteObject(output, CPOSString::New(walk.Key()));
      output.PutRaw(' ');
      streamer.WriteObject(output, CPOSObject(walk.Value().Handle()));
    }
  }
  streamer.PutNewLine(output);
}

}  // namespace NPOSStreamerImpl::NTypeAImpl
