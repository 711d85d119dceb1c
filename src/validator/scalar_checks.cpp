// The checks of categories whose values hold no others.
#include <cstring>
#include <functional>

#include "validator/checks.h"

namespace NPOSValidatorImpl {

using ZEL_T_NMT::CPOSBinData;
using ZEL_T_NMT::CPOSObject;
using ZEL_T_NMT::CPOSUnicodeString;

namespace {

constexpr const char* kStringTooShort = "String length below mininum value %d";
constexpr const char* kStringTooLong = "String length above maximum value %d";

// The one finding about a value that has been looked at no further.
std::int32_t Reject(Run& run, const char* message) {
  run.Messages().AppendText(message);
  return 1;
}

// Whether the value is of the kind that the category's name stands for as a built-in type.
bool IsOfKind(const Definition& definition, ZELInstance value) {
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
  std::int32_t findings = 0;
  const double least = definition.GetBound(Bound::kMinLen);
  if (least > length) {
    messages.Append(below, {TruncateToInteger(least)});
    ++findings;
  }
  const double most = definition.GetBound(Bound::kMaxLen);
  if (length > most) {
    messages.Append(above, {TruncateToInteger(most)});
    ++findings;
  }
  return findings;
}

std::int32_t ValidateNumber(Run& run, Definition& definition, ZELInstance value) {
  if (!IsOfKind(definition, value)) return RejectKind(run, definition);
  const double number = NumberOf(value);
  if (definition.GetCategory().word == Keyword::kInt) {
    if (const char* mismatch = FindIntMismatch(number)) return Reject(run, mismatch);
  }
  std::int32_t findings = 0;
  const auto check = [&](Bound attribute, auto excludes, const char* message) {
    const double bound = definition.GetBound(attribute);
    if (!excludes(bound, number)) return;
    run.Messages().Append(message, {RoundToSingle(bound)});
    ++findings;
  };
  check(Bound::kMin, std::greater(), "Number below mininum value %f");
  check(Bound::kMax, std::less(), "Number above maximum value %f");
  check(Bound::kMinExcl, std::greater_equal(), "Number below mininum value %f (exclusive)");
  check(Bound::kMaxExcl, std::less_equal(), "Number above maximum value %f (exclusive)");
  return findings;
}

std::int32_t ValidateString(Run& run, Definition& definition, ZELInstance value) {
  if (!IsOfKind(definition, value)) return RejectKind(run, definition);
  const char* text = TextOf(value);
  const std::size_t length = std::strlen(text);
  std::int32_t findings = CheckLength(definition, static_cast<double>(length), kStringTooShort,
                                      kStringTooLong, run.Messages());
  const char* illegal = definition.IllegalChars();
  if (illegal != nullptr && std::strcspn(text, illegal) != length) {
    run.Messages().Append("String contains illegal characters in '%s'", {illegal});
    ++findings;
  }
  return findings +
         CheckOneOf(definition, text, "String is not one of the enumerated values", run.Messages());
}

std::int32_t ValidateUnicodeString(Run& run, Definition& definition, ZELInstance value) {
  if (!IsOfKind(definition, value)) return RejectKind(run, definition);
  const CPOSUnicodeString string(CPOSObject(value), false);
  return CheckLength(definition, static_cast<double>(ZEL_T_NMT::UnicodeLength(string.Get())),
                     "Unicode String length below mininum value %d",
                     "Unicode String length above maximum value %d", run.Messages());
}

std::int32_t ValidateBinData(Run& run, Definition& definition, ZELInstance value) {
  if (!IsOfKind(definition, value)) return RejectKind(run, definition);
  const CPOSBinData data(CPOSObject(value), false);
  const std::int32_t findings = CheckLength(definition, static_cast<double>(data.GetSize()),
                                            kStringTooShort, kStringTooLong, run.Messages());
  return findings + CheckOneOf(definition, data.GetTypeName(),
                               "TypeName is not one of the enumerated values", run.Messages());
}

std::int32_t ValidateReference(Run& run, Definition& definition, ZELInstance value) {
  return IsOfKind(definition, value) ? 0 : RejectKind(run, definition);
}

}  // namespace NPOSValidatorImpl
