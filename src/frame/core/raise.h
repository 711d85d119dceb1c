// The library's own failures, raised out of line: no caller carries the code for it.
#pragma once

namespace ZEL_T_NMT {

// An error with a message and the name of a component.
[[noreturn]] void ZELRaise(const char* message, const char* component);

// A failure of a POS operation; the text is not copied.
[[noreturn]] void RaisePOSException(const char* message);

[[noreturn]] void RaiseAllocationFailure();
[[noreturn]] void RaiseInvalidContainer();
[[noreturn]] void RaiseMathOverflow();
[[noreturn]] void RaiseMissingInterface();

// Passes a pointer on; raises "Missing Interface" for null.
template <typename T>
T* Require(T* table) {
  if (table == nullptr) [[unlikely]]
    RaiseMissingInterface();
  return table;
}

}  // namespace ZEL_T_NMT
