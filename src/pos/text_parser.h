// The POS text syntax: one object written as text.
#pragma once

#include "frame/client/pos_wrappers.h"

namespace NPOSObjectImpl {

// A text that does not follow the syntax. The message stays inside the library: the caller of
// "CreateFromText" gets the position.
class CFTParseError : public ZEL_T_NMT::DUXException {
 public:
  CFTParseError(const char* message, const char* position) noexcept
      : DUXException(message), position_(position) {}
  // The place in the text at which parsing stopped.
  const char* Position() const noexcept { return position_; }

 private:
  const char* position_;
};

// Makes the object that a NUL-terminated text describes; raises CFTParseError.
ZEL_T_NMT::CPOSObject ParseText(const char* text);

}  // namespace NPOSObjectImpl
