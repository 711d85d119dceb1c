#include "validator/messages.h"

#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>

#include "validator/held_text.h"

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
    for (const char* next = format;;) {
      const std::size_t literal = std::strcspn(next, "%");
      Add({next, literal});
      next += literal;
      if (*next == '\0') return;
      AddArgument(next[1], *argument++);
      next += 2;
    }
  }
  FormattedText(const FormattedText&) = delete;
  FormattedText& operator=(const FormattedText&) = delete;

  std::string_view Get() const noexcept { return {text_, static_cast<std::size_t>(end_ - text_)}; }

 private:
  void AddArgument(char placeholder, const FormatArgument& argument) {
    if (placeholder == 'd') {
      Advance(std::to_chars(end_, Last(), argument.Integer()));
    } else if (placeholder == 'f') {
      AddReal(argument.Real());
    } else {
      Add(argument.Text());
    }
  }
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

MessageList::MessageList() {
  if (!ZEL_T_NMT::g_pos.arrays.IsLinkedAndOwn()) [[unlikely]]
    list_ = CPOSArray::New();
}

void MessageList::Append(const char* format, FormatArgument argument) {
  AppendText(FormattedText(format, {argument}).Get());
}

void MessageList::AppendText(std::string_view text) {
  lengths_.push_back(static_cast<std::uint32_t>(text.size()) + 1);
  const std::size_t start = bytes_.size();
  bytes_.resize(start + text.size() + 1);
  std::memcpy(bytes_.data() + start, text.data(), text.size());
}

void MessageList::AppendPrefix(Mark mark, const char* format, FormatArguments arguments) {
  const FormattedText formatted(format, arguments);
  const std::string_view prefix = formatted.Get();
  const auto added = static_cast<std::uint32_t>(prefix.size()) + 1;
  for (std::size_t i = mark.count; i < lengths_.size(); ++i) {
    if (added + lengths_[i] > kMessageBytes) RaiseTooLong();
  }
  // From the last message to the first, each moves to where it has room for its prefix.
  std::size_t end = bytes_.size();
  bytes_.resize(end + added * (lengths_.size() - mark.count));
  char* const bytes = bytes_.data();
  char* target = bytes + bytes_.size();
  for (std::size_t i = lengths_.size(); i > mark.count; --i) {
    std::uint32_t& length = lengths_[i - 1];
    target -= length;
    end -= length;
    std::memmove(target, bytes + end, length);
    *--target = ' ';
    target -= prefix.size();
    std::memcpy(target, prefix.data(), prefix.size());
    length += added;
  }
}

void MessageList::Drop(Mark mark) noexcept {
  bytes_.resize(mark.bytes);
  lengths_.resize(mark.count);
}

void MessageList::Report(POSValidatorMessageProc report) const {
  if (report == nullptr || !ZEL_T_NMT::g_pos.arrays.IsLinkedAndOwn() ||
      !ZEL_T_NMT::g_pos.strings.IsLinkedAndOwn()) {
    ReportAsArray(report);
    return;
  }
  const char* text = bytes_.data();
  for (const std::uint32_t length : lengths_) {
    report(text);
    text += length;
  }
}

// By way of an array of Strings, which the debug dump takes, and which whoever has put procedures
// over the library's own sees being made and read.
void MessageList::ReportAsArray(POSValidatorMessageProc report) const {
  const CPOSArray list = list_.IsEmpty() ? CPOSArray::New() : list_;
  const char* text = bytes_.data();
  for (const std::uint32_t length : lengths_) {
    list.Append(CPOSString::New(text));
    text += length;
  }
  if (report == nullptr) {
    ZEL_T_NMT::Require(ZEL_T_NMT::g_pos.statics.Get())->DebugDump(list.Handle());
    return;
  }
  std::vector<HeldText, ZEL_T_NMT::BinderAllocator<HeldText>> texts;
  const std::uint32_t count = list.Count();
  texts.reserve(count);
  for (std::uint32_t i = 0; i < count; ++i) texts.emplace_back(list.View().GetAt(i));
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
