#include "validator/checks.h"

namespace NPOSValidatorImpl {

namespace {

constexpr Category kCategories[] = {
    {Keyword::kInt, &ValidateNumber, false},
    {Keyword::kReal, &ValidateNumber, false},
    {Keyword::kString, &ValidateString, false},
    {Keyword::kUnicodeString, &ValidateUnicodeString, false},
    {Keyword::kBinData, &ValidateBinData, false},
    {Keyword::kRawPtr, &ValidateReference, false},
    {Keyword::kZELObjRef, &ValidateReference, false},
    {Keyword::kQXBaseObjRef, &ValidateReference, false},
    {Keyword::kZELErrorObjRef, &ValidateReference, false},
    {Keyword::kArray, &ValidateArray, true},
    {Keyword::kDict, &ValidateDict, true},
    {Keyword::kUnion, &ValidateUnion, true},
    {Keyword::kIntersection, &ValidateIntersection, true},
};

}  // namespace

const Category* FindCategory(const char* text) noexcept {
  static constexpr auto kByKeyword = ByKeyword(kCategories);
  const std::optional<Keyword> word = FindKeyword(text);
  return word ? kByKeyword[IndexOf(*word)] : nullptr;
}

}  // namespace NPOSValidatorImpl
