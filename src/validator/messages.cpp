#include "validator/messages.h"

#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>

#include "validator/attributes.h"

namespace NPOSValidatorImpl {

using ZEL_T_NMT::CPOSArray;
using ZEL_T_NMT::CPOSString;
using ZEL_T_NMT::CZELStringAtom;
using ZEL_T_NMT::DUXException;

namespace {

[[noreturn]] void RaiseTooLong() { throw DUXException("FormatIntoPOSString overwrote buffer"); }

// A text made of a format and its arguments.
class FormattedText {
 public:
  FormattedText(const char* format, FormatArguments arguments) {
    const FormatArgument* argument = arguments.begin();
    const char* rest = format;
    while (const char* placeholder = std::strchr(rest, '%')) {
      Add(std::string_view(rest, static_cast<std::size_t>(placeholder - rest)));
      if (placeholder[1] == 'd') {
        Advance(std::to_chars(end_, Last(), argument->Integer()));
      } else if (placeholder[1] == 'f') {
        AddReal(argument->Real());
      } else {
        Add(argument->Text());
      }
      ++argument;
      rest = placeholder + 2;
    }
    Add(rest);
  }
  FormattedText(const FormattedText&) = delete;
  FormattedText& operator=(const FormattedText&) = delete;

  std::string_view Get() const noexcept { return {text_, static_cast<std::size_t>(end_ - text_)}; }

 private:
  void Add(std::string_view text) {
    if (text.size() > static_cast<std::size_t>(Last() - end_)) RaiseTooLong();
    std::memcpy(end_, text.data(), text.size());
    end_ += text.size();
  }
  void AddReal(double real) {
    if (std::isnan(real)) return Add("nan");
    if (std::isinf(real)) return Add(real < 0 ? "-inf" : "inf");
    Advance(std::to_chars(end_, Last(), real, std::chars_format::fixed, 6));
  }
  void Advance(const std::to_chars_result& result) {
    if (result.ec != std::errc()) RaiseTooLong();
    end_ = result.ptr;
  }
  char* Last() noexcept { return text_ + kMessageBytes - 1; }  // for the NUL

  char text_[kMessageBytes];
  char* end_ = text_;
};

}  // namespace

void MessageList::Append(const char* format, FormatArguments arguments) {
  AppendText(FormattedText(format, arguments).Get());
}

void MessageList::AppendText(std::string_view text) {
  bytes_.insert(bytes_.end(), text.begin(), text.end());
  bytes_.push_back('\0');
}

void MessageList::AppendPrefix(Mark mark, const char* format, FormatArguments arguments) {
  const FormattedText formatted(format, arguments);
  const std::string_view prefix = formatted.Get();
  std::size_t growth = 0;
  for (Mark at = mark; at < bytes_.size();) {
    const std::size_t length = MessageAt(at).size();
    if (prefix.size() + 1 + length >= kMessageBytes) RaiseTooLong();
    growth += prefix.size() + 1;
    at += length + 1;
  }
  // From the last message to the first, each moves to where it has room for its prefix.
  std::size_t end = bytes_.size();
  bytes_.resize(end + growth);
  char* target = bytes_.data() + bytes_.size();
  while (end > mark) {
    std::size_t start = end - 1;
    while (start > mark && bytes_[start - 1] != '\0') --start;
    target -= end - start;
    std::memmove(target, bytes_.data() + start, end - start);
    *--target = ' ';
    target -= prefix.size();
    std::memcpy(target, prefix.data(), prefix.size());
    end = start;
  }
}

void MessageList::Report(POSValidatorMessageProc report) const {
  const CPOSArray list = CPOSArray::New();
  for (Mark at = 0; at < bytes_.size(); at += MessageAt(at).size() + 1) {
    list.Append(CPOSString::New(bytes_.data() + at));
  }
  if (report == nullptr) {
    ZEL_T_NMT::Require(ZEL_T_NMT::g_pos.statics.Get())->DebugDump(list.Handle());
    return;
  }
  std::vector<HeldText, ZEL_T_NMT::BinderAllocator<HeldText>> texts;
  const std::uint32_t count = list.Count();
  texts.reserve(count);
  for (std::uint32_t i = 0; i < count; ++i) texts.push_back(GetTextAt(list, i));
  for (const HeldText& message : texts) report(message.text);
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
