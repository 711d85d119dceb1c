// The types that every schema has.
#pragma once

#include <cstdint>
#include <span>

#include "frame/client/pos_views.h"
#include "validator/keywords.h"

namespace NPOSValidatorImpl {

// One row per type: a value of another kind is told `wrongKind`; one of the right kind may still
// not be acceptable, which `mismatch` tells with a message of its own.
struct BuiltinType {
  Keyword word;
  bool (*isOfKind)(ZEL_T_NMT::POSView value);
  const char* wrongKind;
  const char* (*mismatch)(ZEL_T_NMT::POSView value);
};

// In the order in which the schema language lists them.
std::span<const BuiltinType> BuiltinTypes() noexcept;

// Null for any other word.
const BuiltinType* FindBuiltinType(Keyword word) noexcept;

// The message about a number that is no 32-bit integer; else null.
inline const char* FindIntMismatch(double number) noexcept {
  const bool isWhole = number >= INT32_MIN && number <= INT32_MAX &&
                       static_cast<double>(static_cast<std::int32_t>(number)) == number;
  return isWhole ? nullptr : "INT was not a whole number";
}

// The message about a value that the type does not accept; else null.
inline const char* FindMismatch(const BuiltinType& type, ZEL_T_NMT::POSView value) {
  if (!type.isOfKind(value)) return type.wrongKind;
  return type.mismatch == nullptr ? nullptr : type.mismatch(value);
}

}  // namespace NPOSValidatorImpl
