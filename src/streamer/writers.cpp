#include "streamer/writers.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <utility>

#include "streamer/hex_digits.h"
#include "streamer/number_text.h"
#include "streamer/version10.h"

namespace NPOSStreamerImpl::NTypeAImpl {

// Digits and the other characters of numbers are escaped in no record: they are put as raw bytes.

using ZEL_T_NMT::CPOSArray;
using ZEL_T_NMT::CPOSBinData;
using ZEL_T_NMT::CPOSDict;
using ZEL_T_NMT::MemberWalk;
using ZEL_T_NMT::CPOSNumber;
using ZEL_T_NMT::CPOSRawPointer;
using ZEL_T_NMT::CPOSString;
using ZEL_T_NMT::CPOSUnicodeString;
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
  const double number = Borrowed<CPOSNumber>(object)->Get();
  if (char* const place = output.Room(kNumberTextCapacity); place != nullptr) [[likely]] {
    output.Advance(FormatNumber(number, place));
    return;
  }
  char text[kNumberTextCapacity];
  output.PutRawBytes(text, FormatNumber(number, text));
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
    const char digits[] = {kUpperHexDigits[*unit >> 12], kUpperHexDigits[(*unit >> 8) & 0xF],
                           kLowerHexDigits[(*unit >> 4) & 0xF], kLowerHexDigits[*unit & 0xF]};
    output.PutRawBytes(digits, sizeof digits);
  }
}

void WriteBinData(TypeAStreamer& streamer, OCharStream& output, CPOSObject& object) {
  const Borrowed<CPOSBinData> data(object);
  streamer.WriteObject(output, CPOSString::New(data->GetTypeName()));
  output.PutChar(' ');
  const std::uint32_t size = data->GetSize();
  streamer.WriteObject(output, CPOSNumber::New(size));
  output.PutChar(' ');
  {
    const Version10::NestingScope scope(streamer, Version10::kBinDataLimit);
    const auto* bytes = static_cast<const unsigned char*>(data->GetBinData());
    if (bytes == nullptr && size > 0) RaisePOSException("CPOSBinData::GetBinData failed");
    for (std::uint32_t left = size; left > 0;) {
      const std::uint32_t count = std::min(left, kBytesPerLine);
      Version10::PutNewLine(streamer, output);
      PutHexLine(output, bytes, count);
      bytes += count;
      left -= count;
    }
  }
  Version10::PutNewLine(streamer, output);
}

void WriteRawPointer(TypeAStreamer&, OCharStream& output, CPOSObject& object) {
  const auto value =
      reinterpret_cast<std::uintptr_t>(Borrowed<CPOSRawPointer>(object)->GetRawPointer());
  for (std::size_t shift = sizeof value * 8; shift > 0; shift -= 4) {
    output.PutChar(kUpperHexDigits[(value >> (shift - 4)) & 0xF]);
  }
}

void WriteArray(TypeAStreamer& streamer, OCharStream& output, CPOSObject& object) {
  const Borrowed<CPOSArray> array(object);
  {
    const Version10::NestingScope scope(streamer, Version10::kContainerLimit);
    for (std::uint32_t index = 0; index < array->Count(); ++index) {
      Version10::PutNewLine(streamer, output);
      streamer.WriteObject(output, array->GetAt(index));
    }
  }
  Version10::PutNewLine(streamer, output);
}

void WriteDict(TypeAStreamer& streamer, OCharStream& output, CPOSObject& object) {
  const Borrowed<CPOSDict> dict(object);
  {
    const Version10::NestingScope scope(streamer, Version10::kContainerLimit);
    for (MemberWalk walk(dict->View()); walk.Key() != nullptr; walk.Next()) {
      Version10::PutNewLine(streamer, output);
      streamer.WriteObject(output, CPOSString::New(walk.Key()));
      output.PutChar(' ');
      streamer.WriteObject(output, CPOSObject(walk.Value().Handle()));
    }
  }
  Version10::PutNewLine(streamer, output);
}

}  // namespace NPOSStreamerImpl::NTypeAImpl
