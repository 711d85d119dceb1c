// The fixed words of the schema language, as string atoms made once per validator.
#pragma once

#include <cstdint>

#include "frame/core/client_base.h"
#include "frame/core/string_atom.h"

namespace NPOSValidatorImpl {

// In the order in which their atoms are made. The built-in type names come first.
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
enum class Keyword : std::uint8_t { ZEL_SCHEMA_KEYWORDS(ZEL_KEYWORD_NAME) kNone };
#undef ZEL_KEYWORD_NAME

inline constexpr std::uint32_t kKeywordCount = static_cast<std::uint32_t>(Keyword::kNone);
static_assert(kKeywordCount == 32);

extern const char* const kKeywordTexts[kKeywordCount];

constexpr bool IsBuiltinType(Keyword word) noexcept { return word <= Keyword::kRawPtr; }

class Keywords {
 public:
  // Raises the allocation failure.
  Keywords();

  const ZEL_T_NMT::CZELStringAtom& operator[](Keyword word) const noexcept {
    return atoms_[static_cast<std::uint32_t>(word)];
  }
  // The built-in type whose atom has this very text, by its address.
  Keyword FindBuiltin(const char* atomText) const noexcept {
    return Find(atomText, static_cast<std::uint32_t>(Keyword::kRawPtr) + 1);
  }
  // The word that a String holds: its text is its atom's, and if it should not be, an atom is made.
  Keyword FindText(const char* text) const;

 private:
  // Among the first words.
  Keyword Find(const char* atomText, std::uint32_t count = kKeywordCount) const noexcept;

  ZEL_T_NMT::CZELStringAtom atoms_[kKeywordCount];
};

class Definition;

// A type's name with what it stands for: a built-in type, or else the atom that it is looked up by.
class TypeName : public ZEL_T_NMT::CZELClientBase {
 public:
  TypeName(const Keywords& keywords, ZEL_T_NMT::CZELStringAtom name);
  // From a String's text, which is its atom's: an atom is made only for a name of the schema.
  TypeName(const Keywords& keywords, const char* text);

  // kNone unless built-in.
  Keyword Builtin() const noexcept { return builtin_; }
  // Empty for a built-in type, whose text lives with the keywords.
  const ZEL_T_NMT::CZELStringAtom& Atom() const noexcept { return atom_; }
  const char* Text() const noexcept { return text_; }

  // The definition that the name was found to have in this run of validation, after so many changes
  // of the schema; else null.
  Definition* Found(std::uint32_t changes) const noexcept {
    return foundAfter_ == changes ? found_ : nullptr;
  }
  void SetFound(Definition& definition, std::uint32_t changes) const noexcept {
    found_ = &definition;
    foundAfter_ = changes;
  }

 private:
  const char* text_;
  ZEL_T_NMT::CZELStringAtom atom_;
  mutable Definition* found_ = nullptr;
  mutable std::uint32_t foundAfter_ = 0;
  Keyword builtin_;
};

}  // namespace NPOSValidatorImpl
