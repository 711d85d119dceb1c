// The checks of categories whose values hold no others.
#include <cstring>

#include "validator/checks.h"

namespace NPOSValidatorImpl {

using ZEL_T_NMT::BinDataView;
using ZEL_T_NMT::NumberView;
using ZEL_T_NMT::POSView;
using ZEL_T_NMT::StringView;
using ZEL_T_NMT::UnicodeStringView;

namespace {

constexpr const char* kStringTooShort = "String length below mininum value %d";
constexpr const char* kStringTooLong = "String length above maximum value %d";

// The one finding about a value that has been looked at no further.
std::int32_t Reject(Run& run, const char* message) {
  run.Messages().AppendText(message);
  return 1;
}

// Whether the value is of the kind that the category's name stands for as a built-in type.
bool IsOfKind(const Definition& definition, POSView value) {
  return definition.KindOfValues().isOfKind(value);
}

std::int32_t RejectKind(Run& run, const Definition& definition) {
  return Reject(run, definition.KindOfValues().wrongKind);
}

std::int32_t CheckOneOf(Definition& definition, const char* text, const char* message,
                        MessageList& messages) {
  if (definition.Admits(text)) return 0;
  messages.AppendText(message);
  return 1;
}

}  // namespace

std::int32_t CheckLength(Definition& definition, double length, const char* below,
                         const char* above, MessageList& messages) {
  const LengthBounds& bounds = definition.OfLength();
  std::int32_t findings = 0;
  if (bounds.min > length) [[unlikely]] {
    messages.Append(below, TruncateToInteger(bounds.min));
    ++findings;
  }
  if (length > bounds.max) [[unlikely]] {
    messages.Append(above, TruncateToInteger(bounds.max));
    ++findings;
  }
  return findings;
}

std::int32_t ValidateNumber(Run& run, Definition& definition, POSView value) {
  if (!IsOfKind(definition, value)) return RejectKind(run, definition);
  const double number = NumberView(value).Get();
  if (definition.GetCategory().word == Keyword::kInt) {
    if (const char* mismatch = FindIntMismatch(number)) return Reject(run, mismatch);
  }
  const NumberBounds& bounds = definition.OfNumber();
  std::int32_t findings = 0;
  const auto find = [&](bool isExceeded, double bound, const char* message) {
    if (!isExceeded) [[likely]]
      return;
    run.Messages().Append(message, RoundToSingle(bound));
    ++findings;
  };
  find(bounds.min > number, bounds.min, "Number below mininum value %f");
  find(number > bounds.max, bounds.max, "Number above maximum value %f");
  find(bounds.minExcl >= number, bounds.minExcl, "Number below mininum value %f (exclusive)");
  find(number >= bounds.maxExcl, bounds.maxExcl, "Number above maximum value %f (exclusive)");
  return findings;
}

std::int32_t ValidateString(Run& run, Definition& definition, POSView value) {
  if (!IsOfKind(definition, value)) return RejectKind(run, definition);
  const char* text = StringView(value).Get();
  const std::size_t length = std::strlen(text);
  std::int32_t findings = CheckLength(definition, static_cast<double>(length), kStringTooShort,
                                      kStringTooLong, run.Messages());
  const char* illegal = definition.IllegalChars();
  if (illegal != nullptr && std::strcspn(text, illegal) != length) {
    run.Messages().Append("String contains illegal characters in '%s'", illegal);
    ++findings;
  }
  return findings +
         CheckOneOf(definition, text, "String is not one of the enumerated values", run.Messages());
}

std::int32_t ValidateUnicodeString(Run& run, Definition& definition, POSView value) {
  if (!IsOfKind(definition, value)) return RejectKind(run, definition);
  const std::size_t length = ZEL_T_NMT::UnicodeLength(UnicodeStringView(value).Get());
  return CheckLength(definition, static_cast<double>(length),
                     "Unicode String length below mininum value %d",
                     "Unicode String length above maximum value %d", run.Messages());
}

std::int32_t ValidateBinData(Run& run, Definition& definition, POSView value) {
  if (!IsOfKind(definition, value)) return RejectKind(run, definition);
  const BinDataView data(value);
  const std::int32_t findings = CheckLength(definition, static_cast<double>(data.GetSize()),
                                            kStringTooShort, kStringTooLong, run.Messages());
  return findings + CheckOneOf(definition, data.GetTypeName(),
                               "TypeName is not one of the enumerated values", run.Messages());
}

std::int32_t ValidateReference(Run& run, Definition& definition, POSView value) {
  return IsOfKind(definition, value) ? 0 : RejectKind(run, definition);
}

}  // namespace NPOSValidatorImpl
