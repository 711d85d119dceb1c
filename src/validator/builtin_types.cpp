#include "validator/builtin_types.h"

#include <cmath>
#include <cstring>

#include "validator/attributes.h"

namespace NPOSValidatorImpl {

using ZEL_T_NMT::CPOSBinData;
using ZEL_T_NMT::CPOSNumber;
using ZEL_T_NMT::CPOSRawPointer;
using ZEL_T_NMT::CPOSString;
using ZEL_T_NMT::CPOSUnicodeString;

namespace {

bool IsAnything(ZELInstance) { return true; }

bool IsNumberOrString(ZELInstance value) { return CPOSNumber::Is(value) || CPOSString::Is(value); }

const char* BoolMismatch(ZELInstance value) {
  if (CPOSNumber::Is(value)) {
    const double number = NumberOf(value);
    return number == 0.0 || number == 1.0 ? nullptr : "BOOL was a number unequal to zero or one";
  }
  const char* text = TextOf(value);
  const bool isWord = std::strcmp(text, TextOf(Keyword::kTrue)) == 0 ||
                      std::strcmp(text, TextOf(Keyword::kFalse)) == 0;
  return isWord ? nullptr : "BOOL was not a valid string (true/false)";
}

const char* IntMismatch(ZELInstance value) { return FindIntMismatch(NumberOf(value)); }

constexpr const char* kNoReference = "Expected OBJREF was of invalid type";

}  // namespace

constexpr BuiltinType kBuiltinTypes[] = {
    {Keyword::kAny, &IsAnything, nullptr, nullptr},
    {Keyword::kBool, &IsNumberOrString, "Expected BOOL was of invalid type", &BoolMismatch},
    {Keyword::kInt, &CPOSNumber::Is, "Expected INT was of invalid type", &IntMismatch},
    {Keyword::kReal, &CPOSNumber::Is, "Expected REAL was of invalid type", nullptr},
    {Keyword::kString, &CPOSString::Is, "Expected STRING was of invalid type", nullptr},
    {Keyword::kUnicodeString, &CPOSUnicodeString::Is, "Expected UNICODESTRING was of invalid type",
     nullptr},
    {Keyword::kBinData, &CPOSBinData::Is, "Expected BINDATA was of invalid type", nullptr},
    {Keyword::kRawPtr, &CPOSRawPointer::Is, "Expected RAWPTR was of invalid type", nullptr},
    {Keyword::kZELObjRef, &CPOSRawPointer::Is, kNoReference, nullptr},
    {Keyword::kQXBaseObjRef, &CPOSRawPointer::Is, kNoReference, nullptr},
    {Keyword::kZELErrorObjRef, &CPOSRawPointer::Is, kNoReference, nullptr},
};

const char* FindIntMismatch(double number) noexcept {
  const bool isWhole = number >= INT32_MIN && number <= INT32_MAX && std::trunc(number) == number;
  return isWhole ? nullptr : "INT was not a whole number";
}

const BuiltinType* FindBuiltinType(Keyword word) noexcept {
  static constexpr auto kByKeyword = ByKeyword(kBuiltinTypes);
  return kByKeyword[IndexOf(word)];
}

}  // namespace NPOSValidatorImpl
