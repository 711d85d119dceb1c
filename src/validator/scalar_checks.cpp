// The built-in types and the categories of values that hold no others.
#include <cmath>
#include <cstring>
#include <functional>

#include "validator/struct_validator.h"

namespace NPOSValidatorImpl {

using ZEL_T_NMT::CPOSBinData;
using ZEL_T_NMT::CPOSNumber;
using ZEL_T_NMT::CPOSRawPointer;
using ZEL_T_NMT::CPOSString;
using ZEL_T_NMT::CPOSUnicodeString;

namespace {

constexpr const char* kNoInt = "Expected INT was of invalid type";
constexpr const char* kNotWhole = "INT was not a whole number";
constexpr const char* kNoReal = "Expected REAL was of invalid type";
constexpr const char* kNoString = "Expected STRING was of invalid type";

// What is wrong with a value of a built-in type; null when nothing is.
const char* BoolMismatch(ZELInstance value) {
  if (CPOSNumber::Is(value)) {
    const double number = NumberOf(value);
    if (number == 0.0 || number == 1.0) return nullptr;
    return "BOOL was a number unequal to zero or one";
  }
  if (CPOSString::Is(value)) {
    const char* text = TextOf(value);
    if (CompareTexts(text, "true") == 0 || CompareTexts(text, "false") == 0) return nullptr;
    return "BOOL was not a valid string (true/false)";
  }
  return "Expected BOOL was of invalid type";
}

bool IsWhole(double number) noexcept {
  return number >= INT32_MIN && number <= INT32_MAX && std::trunc(number) == number;
}

const char* BuiltinTypeMistake(Keyword typeName, ZELInstance value) {
  switch (typeName) {
    case Keyword::kBool:
      return BoolMismatch(value);
    case Keyword::kInt:
      if (!CPOSNumber::Is(value)) return kNoInt;
      return IsWhole(NumberOf(value)) ? nullptr : kNotWhole;
    case Keyword::kReal:
      return CPOSNumber::Is(value) ? nullptr : kNoReal;
    case Keyword::kString:
      return CPOSString::Is(value) ? nullptr : kNoString;
    case Keyword::kUnicodeString:
      return CPOSUnicodeString::Is(value) ? nullptr : "Expected UNICODESTRING was of invalid type";
    case Keyword::kBinData:
      return CPOSBinData::Is(value) ? nullptr : "Expected BINDATA was of invalid type";
    case Keyword::kRawPtr:
      return CPOSRawPointer::Is(value) ? nullptr : "Expected RAWPTR was of invalid type";
    case Keyword::kZELObjRef:
    case Keyword::kQXBaseObjRef:
    case Keyword::kZELErrorObjRef:
      return CPOSRawPointer::Is(value) ? nullptr : "Expected OBJREF was of invalid type";
    default:
      return nullptr;  // any
  }
}

constexpr const char* kStringTooShort = "String length below mininum value %d";
constexpr const char* kStringTooLong = "String length above maximum value %d";

std::int32_t Reject(const char* message, ErrorList& errors) {
  errors.Append(FormatIntoPOSString(message));
  return 1;
}

std::int32_t CheckOneOf(Definition& definition, const char* text, const char* message,
                        ErrorList& errors) {
  return definition.Admits(text) ? 0 : Reject(message, errors);
}

}  // namespace

std::int32_t CheckLength(Definition& definition, double length, const char* below,
                         const char* above, ErrorList& errors) {
  std::int32_t findings = 0;
  const double least = definition.Bound(Keyword::kMinLen);
  if (least > length) {
    errors.Append(FormatIntoPOSString(below, {TruncateToInteger(least)}));
    ++findings;
  }
  const double most = definition.Bound(Keyword::kMaxLen);
  if (length > most) {
    errors.Append(FormatIntoPOSString(above, {TruncateToInteger(most)}));
    ++findings;
  }
  return findings;
}

BuiltinCheckResult StructValidator::CheckBuiltinType(Keyword typeName, ZELInstance value,
                                                     ErrorList& errors) const {
  if (!IsBuiltinType(typeName)) return BuiltinCheckResult::kNotBuiltin;
  const char* mistake = BuiltinTypeMistake(typeName, value);
  if (mistake == nullptr) return BuiltinCheckResult::kBuiltinValid;
  Reject(mistake, errors);
  return BuiltinCheckResult::kBuiltinInvalid;
}

std::int32_t StructValidator::ValidateScalar(Definition& definition, ZELInstance value,
                                             ErrorList& errors) const {
  const Keyword category = definition.Category();
  if (CheckBuiltinType(category, value, errors) != BuiltinCheckResult::kBuiltinValid) return 1;
  switch (category) {
    case Keyword::kUnicodeString: {
      const CPOSUnicodeString string(CPOSObject(value), false);
      return CheckLength(definition, static_cast<double>(ZEL_T_NMT::UnicodeLength(string.Get())),
                         "Unicode String length below mininum value %d",
                         "Unicode String length above maximum value %d", errors);
    }
    case Keyword::kBinData: {
      const CPOSBinData data(CPOSObject(value), false);
      const std::int32_t findings = CheckLength(definition, static_cast<double>(data.GetSize()),
                                                kStringTooShort, kStringTooLong, errors);
      return findings + CheckOneOf(definition, data.GetTypeName(),
                                   "TypeName is not one of the enumerated values", errors);
    }
    default:
      return 0;
  }
}

std::int32_t StructValidator::ValidateNumber(Definition& definition, ZELInstance value,
                                             ErrorList& errors) const {
  const bool isInt = definition.Category() == Keyword::kInt;
  if (!CPOSNumber::Is(value)) return Reject(isInt ? kNoInt : kNoReal, errors);
  const double number = NumberOf(value);
  if (isInt && !IsWhole(number)) return Reject(kNotWhole, errors);
  std::int32_t findings = 0;
  const auto check = [&](Keyword attribute, auto excludes, const char* message) {
    const double bound = definition.Bound(attribute);
    if (!excludes(bound, number)) return;
    errors.Append(FormatIntoPOSString(message, {RoundToSingle(bound)}));
    ++findings;
  };
  check(Keyword::kMin, std::greater(), "Number below mininum value %f");
  check(Keyword::kMax, std::less(), "Number above maximum value %f");
  check(Keyword::kMinExcl, std::greater_equal(), "Number below mininum value %f (exclusive)");
  check(Keyword::kMaxExcl, std::less_equal(), "Number above maximum value %f (exclusive)");
  return findings;
}

std::int32_t StructValidator::ValidateString(Definition& definition, ZELInstance value,
                                             ErrorList& errors) const {
  if (!CPOSString::Is(value)) return Reject(kNoString, errors);
  const char* text = TextOf(value);
  const std::size_t length = std::strlen(text);
  std::int32_t findings =
      CheckLength(definition, static_cast<double>(length), kStringTooShort, kStringTooLong, errors);
  const char* illegal = definition.IllegalChars();
  if (illegal != nullptr && std::strcspn(text, illegal) != length) {
    errors.Append(FormatIntoPOSString("String contains illegal characters in '%s'", {illegal}));
    ++findings;
  }
  return findings +
         CheckOneOf(definition, text, "String is not one of the enumerated values", errors);
}

}  // namespace NPOSValidatorImpl
