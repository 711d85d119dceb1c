// A text of a schema, held.
#pragma once

#include <utility>

#include "frame/client/pos_wrappers.h"

namespace NPOSValidatorImpl {

// A String and its text: what foreign code does to the schema meanwhile takes neither away.
struct HeldText {
  // Without String and text.
  HeldText() noexcept = default;
  explicit HeldText(ZEL_T_NMT::CPOSString held) : string(std::move(held)), text(string.Get()) {}
  // Raises that the downcast failed for a value that is no String.
  explicit HeldText(ZEL_T_NMT::POSView value)
      : HeldText(ZEL_T_NMT::CPOSString(ZEL_T_NMT::CPOSObject(value.Handle()), false)) {}

  ZEL_T_NMT::CPOSString string;
  const char* text = nullptr;
};

}  // namespace NPOSValidatorImpl
