// A text of a schema, held.
#pragma once

#include "frame/client/pos_wrappers.h"

namespace NPOSValidatorImpl {

// A String and its text: what foreign code does to the schema meanwhile takes neither away.
struct HeldText {
  // Without String and text.
  HeldText() noexcept = default;
  // For a value that is no String, quiet gives none; otherwise raises that the downcast failed.
  HeldText(ZEL_T_NMT::POSView value, bool quiet)
      : string(ZEL_T_NMT::CPOSObject(value.Handle()), quiet),
        text(string.IsEmpty() ? nullptr : string.Get()) {}

  ZEL_T_NMT::CPOSString string;
  const char* text = nullptr;
};

}  // namespace NPOSValidatorImpl
