#include "validator/builtin_types.h"

#include <cstring>

namespace NPOSValidatorImpl {

using ZEL_T_NMT::BinDataView;
using ZEL_T_NMT::NumberView;
using ZEL_T_NMT::POSView;
using ZEL_T_NMT::RawPointerView;
using ZEL_T_NMT::StringView;
using ZEL_T_NMT::UnicodeStringView;

namespace {

bool IsAnything(POSView) { return true; }

bool IsNumberOrString(POSView value) { return NumberView::Is(value) || StringView::Is(value); }

const char* BoolMismatch(POSView value) {
  if (NumberView::Is(value)) {
    const double number = NumberView(value).Get();
    return number == 0.0 || number == 1.0 ? nullptr : "BOOL was a number unequal to zero or one";
  }
  const char* text = StringView(value).Get();
  const bool isWord = std::strcmp(text, TextOf(Keyword::kTrue)) == 0 ||
                      std::strcmp(text, TextOf(Keyword::kFalse)) == 0;
  return isWord ? nullptr : "BOOL was not a valid string (true/false)";
}

const char* IntMismatch(POSView value) { return FindIntMismatch(NumberView(value).Get()); }

constexpr const char* kNoReference = "Expected OBJREF was of invalid type";

constexpr BuiltinType kBuiltinTypes[] = {
    {Keyword::kAny, &IsAnything, nullptr, nullptr},
    {Keyword::kBool, &IsNumberOrString, "Expected BOOL was of invalid type", &BoolMismatch},
    {Keyword::kInt, &NumberView::Is, "Expected INT was of invalid type", &IntMismatch},
    {Keyword::kReal, &NumberView::Is, "Expected REAL was of invalid type", nullptr},
    {Keyword::kString, &StringView::Is, "Expected STRING was of invalid type", nullptr},
    {Keyword::kUnicodeString, &UnicodeStringView::Is, "Expected UNICODESTRING was of invalid type",
     nullptr},
    {Keyword::kBinData, &BinDataView::Is, "Expected BINDATA was of invalid type", nullptr},
    {Keyword::kRawPtr, &RawPointerView::Is, "Expected RAWPTR was of invalid type", nullptr},
    {Keyword::kZELObjRef, &RawPointerView::Is, kNoReference, nullptr},
    {Keyword::kQXBaseObjRef, &RawPointerView::Is, kNoReference, nullptr},
    {Keyword::kZELErrorObjRef, &RawPointerView::Is, kNoReference, nullptr},
};

}  // namespace

std::span<const BuiltinType> BuiltinTypes() noexcept { return kBuiltinTypes; }

const BuiltinType* FindBuiltinType(Keyword word) noexcept {
  static constexpr auto kByKeyword = ByKeyword(kBuiltinTypes);
  return kByKeyword[IndexOf(word)];
}

}  // namespace NPOSValidatorImpl
