#include "validator/messages.h"

#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <string_view>

#include "frame/core/client_base.h"

namespace NPOSValidatorImpl {

using ZEL_T_NMT::BinderBlock;
using ZEL_T_NMT::CPOSArray;
using ZEL_T_NMT::CPOSObject;
using ZEL_T_NMT::CPOSString;
using ZEL_T_NMT::CZELStringAtom;
using ZEL_T_NMT::DUXException;
using ZEL_T_NMT::Require;

namespace {

// A buffer that raises when it would overflow; always leaves room for a NUL.
class MessageBuffer {
 public:
  MessageBuffer() : block_(kMessageBytes), next_(block_.Get()), last_(next_ + kMessageBytes - 1) {}

  void Add(std::string_view text) {
    if (text.size() > static_cast<std::size_t>(last_ - next_)) Overflow();
    std::memcpy(next_, text.data(), text.size());
    next_ += text.size();
  }
  void Add(std::int32_t integer) { Advance(std::to_chars(next_, last_, integer)); }
  void Add(double real) {
    if (std::isnan(real)) return Add(std::string_view("nan"));
    if (std::isinf(real)) return Add(std::string_view(real < 0 ? "-inf" : "inf"));
    Advance(std::to_chars(next_, last_, real, std::chars_format::fixed, 6));
  }
  const char* Finish() noexcept {
    *next_ = '\0';
    return block_.Get();
  }

 private:
  void Advance(const std::to_chars_result& result) {
    if (result.ec != std::errc()) Overflow();
    next_ = result.ptr;
  }
  [[noreturn]] static void Overflow() {
    throw DUXException("FormatIntoPOSString overwrote buffer");
  }

  BinderBlock<char> block_;
  char* next_;
  char* last_;
};

}  // namespace

void ErrorList::Create() {
  if (messages_.IsEmpty()) messages_ = CPOSArray::New();
}

void ErrorList::Append(const CPOSObject& message) {
  Create();
  messages_.Append(message);
}

void ErrorList::Report(POSValidatorMessageProc report) {
  Create();
  if (report == nullptr) {
    Require(ZEL_T_NMT::POSStatics()).DebugDump(messages_.Handle());
    return;
  }
  for (std::uint32_t i = 0; i < messages_.Count(); ++i) {
    const CPOSString message(messages_.GetAt(i), false);
    report(message.Get());
  }
}

void AppendPrefixedMessages(ErrorList& target, const ErrorList& source, const char* prefix) {
  if (source.messages_.IsEmpty()) return;
  const std::uint32_t count = source.messages_.Count();
  for (std::uint32_t i = 0; i < count; ++i) {
    const CPOSString message(source.messages_.GetAt(i), false);
    target.Append(FormatIntoPOSString("%s %s", {prefix, message.Get()}));
  }
}

CPOSString FormatIntoPOSString(const char* format,
                               std::initializer_list<FormatArgument> arguments) {
  MessageBuffer buffer;
  const FormatArgument* argument = arguments.begin();
  const char* rest = format;
  while (const char* placeholder = std::strchr(rest, '%')) {
    buffer.Add(std::string_view(rest, static_cast<std::size_t>(placeholder - rest)));
    switch (placeholder[1]) {
      case 'd':
        buffer.Add(argument->Integer());
        break;
      case 'f':
        buffer.Add(argument->Real());
        break;
      default:
        buffer.Add(std::string_view(argument->Text()));
        break;
    }
    ++argument;
    rest = placeholder + 2;
  }
  buffer.Add(std::string_view(rest));
  return {CPOSString::New(buffer.Finish()), false};
}

std::int32_t TruncateToInteger(double value) noexcept {
  if (!(value > -2147483649.0 && value < 2147483648.0)) {
    return std::numeric_limits<std::int32_t>::min();
  }
  return static_cast<std::int32_t>(value);
}

double RoundToSingle(double value) noexcept {
  // A conversion of what lies beyond the range is not defined by the language; up to half a unit in
  // the last place beyond, the nearest value is the largest one.
  constexpr double kLargest = std::numeric_limits<float>::max();
  constexpr double kRoundsToInfinity = 0x1.ffffffp127;
  if (std::isnan(value)) return value;
  const double magnitude = std::fabs(value);
  if (magnitude <= kLargest) return static_cast<double>(static_cast<float>(value));
  const double rounded =
      magnitude < kRoundsToInfinity ? kLargest : std::numeric_limits<double>::infinity();
  return std::copysign(rounded, value);
}

MalformedSchemaException::MalformedSchemaException(const CZELStringAtom& typeName)
    : DUXException(""),
      text_(CZELStringAtom::Join(
          CZELStringAtom::Join(CZELStringAtom("Malformed schema definition for "), typeName),
          CZELStringAtom(", no category"))) {}

}  // namespace NPOSValidatorImpl
