// The fixed words of the schema language.
#pragma once

#include <array>
#include <cstdint>
#include <optional>

#include "frame/core/client_base.h"
#include "frame/core/string_atom.h"

namespace NPOSValidatorImpl {

// In the order in which their atoms are made.
#define ZEL_SCHEMA_KEYWORDS(X)         \
  X(kAny, "any")                       \
  X(kBool, "bool")                     \
  X(kInt, "int")                       \
  X(kReal, "real")                     \
  X(kString, "string")                 \
  X(kUnicodeString, "unicodestring")   \
  X(kBinData, "bindata")               \
  X(kZELErrorObjRef, "zelerrorobjref") \
  X(kQXBaseObjRef, "qxbaseobjref")     \
  X(kZELObjRef, "zelobjref")           \
  X(kRawPtr, "rawptr")                 \
  X(kCategory, "category")             \
  X(kDict, "dict")                     \
  X(kArray, "array")                   \
  X(kUnion, "union")                   \
  X(kIntersection, "intersection")     \
  X(kTrue, "true")                     \
  X(kFalse, "false")                   \
  X(kSet, "set")                       \
  X(kRequired, "required")             \
  X(kOptional, "optional")             \
  X(kMin, "min")                       \
  X(kMinExcl, "minexcl")               \
  X(kMax, "max")                       \
  X(kMaxExcl, "maxexcl")               \
  X(kMinLen, "minlen")                 \
  X(kMaxLen, "maxlen")                 \
  X(kIllegalChars, "illegalchars")     \
  X(kOneOf, "oneof")                   \
  X(kMemberType, "membertype")         \
  X(kValueType, "valuetype")           \
  X(kKeyType, "keytype")

#define ZEL_KEYWORD_NAME(name, text) name,
enum class Keyword : std::uint8_t { ZEL_SCHEMA_KEYWORDS(ZEL_KEYWORD_NAME) };
#undef ZEL_KEYWORD_NAME

#define ZEL_KEYWORD_TEXT(name, text) text,
inline constexpr const char* kKeywordTexts[] = {ZEL_SCHEMA_KEYWORDS(ZEL_KEYWORD_TEXT)};
#undef ZEL_KEYWORD_TEXT

inline constexpr std::size_t kKeywordCount = std::size(kKeywordTexts);

constexpr std::size_t IndexOf(Keyword word) noexcept { return static_cast<std::size_t>(word); }
constexpr const char* TextOf(Keyword word) noexcept { return kKeywordTexts[IndexOf(word)]; }

// The word that a text is, compared byte by byte.
std::optional<Keyword> FindKeyword(const char* text) noexcept;

// The rows of a table by the keyword that each begins with; null for a keyword without a row.
template <typename Row, std::size_t Count>
constexpr std::array<const Row*, kKeywordCount> ByKeyword(const Row (&rows)[Count]) {
  std::array<const Row*, kKeywordCount> found{};
  for (const Row& row : rows) found[IndexOf(row.word)] = &row;
  return found;
}

// The atoms of all words, made once per validator: attributes are fetched by them.
class Keywords {
 public:
  // Raises the allocation failure.
  Keywords();

  const ZEL_T_NMT::CZELStringAtom& operator[](Keyword word) const noexcept {
    return atoms_[IndexOf(word)];
  }

 private:
  ZEL_T_NMT::CZELStringAtom atoms_[kKeywordCount];
};

}  // namespace NPOSValidatorImpl
