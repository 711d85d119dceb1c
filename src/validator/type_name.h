// The name of a type, as a schema or a caller of the validator gives it.
#pragma once

#include <cstdint>

#include "frame/core/client_base.h"
#include "frame/core/string_atom.h"
#include "validator/builtin_types.h"

namespace NPOSValidatorImpl {

class Definition;

class TypeName : public ZEL_T_NMT::CZELClientBase {
 public:
  explicit TypeName(ZEL_T_NMT::CZELStringAtom name);
  // An atom is made only for a name that is not built in.
  explicit TypeName(const char* text);

  // Null unless built in.
  const BuiltinType* Builtin() const noexcept { return builtin_; }
  // The key of the definition; empty for a built-in type.
  const ZEL_T_NMT::CZELStringAtom& Atom() const noexcept { return atom_; }
  const char* Text() const noexcept { return text_; }

  // The definition that the name was found to have in this run of validation, after so many calls
  // of foreign code; else null.
  Definition* Found(std::uint32_t foreignCalls) const noexcept {
    return foundAfter_ == foreignCalls ? found_ : nullptr;
  }
  void SetFound(Definition& definition, std::uint32_t foreignCalls) const noexcept {
    found_ = &definition;
    foundAfter_ = foreignCalls;
  }

 private:
  const char* text_;
  ZEL_T_NMT::CZELStringAtom atom_;
  const BuiltinType* builtin_;
  mutable Definition* found_ = nullptr;
  mutable std::uint32_t foundAfter_ = 0;
};

}  // namespace NPOSValidatorImpl
