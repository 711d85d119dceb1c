// The built-in types and the categories of values that hold no others.
#include <cmath>

#include "validator/struct_validator.h"

namespace NPOSValidatorImpl {

using ZEL_T_NMT::CPOSArray;
using ZEL_T_NMT::CPOSBinData;
using ZEL_T_NMT::CPOSNumber;
using ZEL_T_NMT::CPOSObject;
using ZEL_T_NMT::CPOSRawPointer;
using ZEL_T_NMT::CPOSString;
using ZEL_T_NMT::CPOSUnicodeString;

namespace {

// What is wrong with a value of a built-in type; null when nothing is.
const char* BoolMistake(const CPOSObject& value) {
  if (CPOSNumber::Is(value.Handle())) {
    const double number = NumberOf(value);
    if (number == 0.0 || number == 1.0) return nullptr;
    return "BOOL was a number unequal to zero or one";
  }
  if (CPOSString::Is(value.Handle())) {
    const char* text = TextOf(value);
    if (SameText(text, "true") || SameText(text, "false")) return nullptr;
    return "BOOL was not a valid string (true/false)";
  }
  return "Expected BOOL was of invalid type";
}

const char* IntMistake(const CPOSObject& value) {
  if (!CPOSNumber::Is(value.Handle())) return "Expected INT was of invalid type";
  const double number = NumberOf(value);
  const bool isInteger = number >= INT32_MIN && number <= INT32_MAX && std::trunc(number) == number;
  return isInteger ? nullptr : "INT was not a whole number";
}

const char* BuiltinTypeMistake(Keyword typeName, const CPOSObject& value) {
  const ZELInstance handle = value.Handle();
  switch (typeName) {
    case Keyword::kBool:
      return BoolMistake(value);
    case Keyword::kInt:
      return IntMistake(value);
    case Keyword::kReal:
      return CPOSNumber::Is(handle) ? nullptr : "Expected REAL was of invalid type";
    case Keyword::kString:
      return CPOSString::Is(handle) ? nullptr : "Expected STRING was of invalid type";
    case Keyword::kUnicodeString:
      return CPOSUnicodeString::Is(handle) ? nullptr : "Expected UNICODESTRING was of invalid type";
    case Keyword::kBinData:
      return CPOSBinData::Is(handle) ? nullptr : "Expected BINDATA was of invalid type";
    case Keyword::kRawPtr:
      return CPOSRawPointer::Is(handle) ? nullptr : "Expected RAWPTR was of invalid type";
    case Keyword::kZELObjRef:
    case Keyword::kQXBaseObjRef:
    case Keyword::kZELErrorObjRef:
      return CPOSRawPointer::Is(handle) ? nullptr : "Expected OBJREF was of invalid type";
    default:
      return nullptr;  // any
  }
}

struct NumberBound {
  Keyword attribute;
  bool (*excludes)(double bound, double number);
  const char* message;
};

constexpr NumberBound kNumberBounds[] = {
    {Keyword::kMin, [](double bound, double number) { return bound > number; },
     "Number below mininum value %f"},
    {Keyword::kMax, [](double bound, double number) { return number > bound; },
     "Number above maximum value %f"},
    {Keyword::kMinExcl, [](double bound, double number) { return bound >= number; },
     "Number below mininum value %f (exclusive)"},
    {Keyword::kMaxExcl, [](double bound, double number) { return number >= bound; },
     "Number above maximum value %f (exclusive)"},
};

constexpr const char* kStringTooShort = "String length below mininum value %d";
constexpr const char* kStringTooLong = "String length above maximum value %d";

}  // namespace

BuiltinCheckResult StructValidator::CheckBuiltinType(Keyword typeName, const CPOSObject& value,
                                                     ErrorList& errors) const {
  if (!IsBuiltinType(typeName)) return BuiltinCheckResult::kNotBuiltin;
  const char* mistake = BuiltinTypeMistake(typeName, value);
  if (mistake == nullptr) return BuiltinCheckResult::kBuiltinValid;
  errors.Append(FormatIntoPOSString(mistake));
  return BuiltinCheckResult::kBuiltinInvalid;
}

int32_t StructValidator::ValidateScalar(Keyword category, ZELInstance definition,
                                        const CPOSObject& value, ErrorList& errors) const {
  if (CheckBuiltinType(category, value, errors) != BuiltinCheckResult::kBuiltinValid) return 1;
  switch (category) {
    case Keyword::kInt:
    case Keyword::kReal:
      return CheckNumber(definition, NumberOf(value), errors);
    case Keyword::kString:
      return CheckString(definition, TextOf(value), errors);
    case Keyword::kUnicodeString: {
      const CPOSUnicodeString string(value, false);
      return CheckLength(definition, static_cast<double>(ZEL_T_NMT::UnicodeLength(string.Get())),
                         "Unicode String length below mininum value %d",
                         "Unicode String length above maximum value %d", errors);
    }
    case Keyword::kBinData:
      return CheckBinData(definition, CPOSBinData(value, false), errors);
    default:
      return 0;
  }
}

int32_t StructValidator::CheckNumber(ZELInstance definition, double number,
                                     ErrorList& errors) const {
  int32_t findings = 0;
  for (const NumberBound& check : kNumberBounds) {
    const std::optional<double> bound = GetNumber(definition, keywords_[check.attribute]);
    if (!bound || !check.excludes(*bound, number)) continue;
    errors.Append(FormatIntoPOSString(check.message, {RoundToSingle(*bound)}));
    ++findings;
  }
  return findings;
}

int32_t StructValidator::CheckString(ZELInstance definition, const char* text,
                                     ErrorList& errors) const {
  const size_t length = std::strlen(text);
  int32_t findings =
      CheckLength(definition, static_cast<double>(length), kStringTooShort, kStringTooLong, errors);
  const char* illegal = GetText(definition, keywords_[Keyword::kIllegalChars]);
  if (illegal != nullptr && std::strcspn(text, illegal) != length) {
    errors.Append(FormatIntoPOSString("String contains illegal characters in '%s'", {illegal}));
    ++findings;
  }
  return findings +
         CheckOneOf(definition, text, "String is not one of the enumerated values", errors);
}

int32_t StructValidator::CheckBinData(ZELInstance definition, const CPOSBinData& data,
                                      ErrorList& errors) const {
  const int32_t findings = CheckLength(definition, static_cast<double>(data.GetSize()),
                                       kStringTooShort, kStringTooLong, errors);
  return findings + CheckOneOf(definition, data.GetTypeName(),
                               "TypeName is not one of the enumerated values", errors);
}

int32_t StructValidator::CheckLength(ZELInstance definition, double length, const char* below,
                                     const char* above, ErrorList& errors) const {
  int32_t findings = 0;
  const std::optional<double> least = GetNumber(definition, keywords_[Keyword::kMinLen]);
  if (least && *least > length) {
    errors.Append(FormatIntoPOSString(below, {TruncateToInteger(*least)}));
    ++findings;
  }
  const std::optional<double> most = GetNumber(definition, keywords_[Keyword::kMaxLen]);
  if (most && length > *most) {
    errors.Append(FormatIntoPOSString(above, {TruncateToInteger(*most)}));
    ++findings;
  }
  return findings;
}

int32_t StructValidator::CheckOneOf(ZELInstance definition, const char* text, const char* message,
                                    ErrorList& errors) const {
  const CPOSArray choices = GetArray(definition, keywords_[Keyword::kOneOf]);
  if (choices.IsEmpty() || ContainsText(choices, text)) return 0;
  errors.Append(FormatIntoPOSString(message));
  return 1;
}

}  // namespace NPOSValidatorImpl
