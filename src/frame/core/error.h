// Failures inside the library are exceptions; at the boundary they become error objects or reports.
#pragma once

#include <exception>
#include <new>
#include <utility>

#include "frame/base/never_destroyed.h"
#include "frame/core/raise.h"
#include "frame/core/string_atom.h"
#include "zelutils/types.h"

namespace ZEL_T_NMT {

// Holds one reference to an error object of the host, or none.
class CZELError : public std::exception {
 public:
  CZELError() noexcept = default;
  CZELError(const CZELError& other) noexcept;
  CZELError(CZELError&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
  CZELError& operator=(CZELError other) noexcept {
    std::swap(handle_, other.handle_);
    return *this;
  }
  // A new error object; empty while the error interface is not bound.
  CZELError(const char* message, const char* component, std::int32_t id) noexcept;
  // The error object that `error` becomes at the boundary.
  explicit CZELError(const std::exception& error) noexcept;
  ~CZELError() override;

  // Takes over a reference that the caller holds.
  static CZELError Adopt(ZELErrorObject handle) noexcept;
  // One of the host's predefined error objects.
  static CZELError Core(std::int32_t number) noexcept;

  // The message of the error object, valid as long as this or a copy lives.
  const char* what() const noexcept override;
  // The component's atom; the empty text's when there is no error object.
  CZELStringAtom GetComponent() const;

  ZELErrorObject Handle() const noexcept { return handle_; }

 private:
  ZELErrorObject handle_ = nullptr;
};

// A failure with a message text that outlives it; the text is not copied.
class DUXException : public std::exception {
 public:
  explicit DUXException(const char* message) noexcept : message_(message) {}
  const char* what() const noexcept override { return message_; }

 private:
  const char* message_;
};

class POSException : public DUXException {
 public:
  using DUXException::DUXException;
};

// The standard allocation failure, with the text that it is reported by on every platform.
class AllocationFailure : public std::bad_alloc {
 public:
  const char* what() const noexcept override { return "bad allocation"; }
};

// The text that an exception is reported by: the platform's own wording of the standard ones
// differs from one runtime library to the next.
const char* ExceptionText(const std::exception& error) noexcept;

// Raises the exception for a failed core call, taking over the reference to its error object.
[[noreturn]] void ZELRaiseError(ZELErrorObject handle);

// Raises what a core call that returns an error object has failed with, if it has.
inline void ZELCheck(ZELErrorObject handle) {
  if (handle != nullptr) [[unlikely]]
    ZELRaiseError(handle);
}

// Returns an error object with one reference for the caller. Null for a CZELError without an error
// object; any other failure is never null as long as the library is linked.
ZELErrorObject ZELErrorFromException(const std::exception& error) noexcept;

// Errors 0 and 1 of the core, held from link to unlink.
extern NeverDestroyed<CZELError> g_unknownError;
extern NeverDestroyed<CZELError> g_outOfMemoryError;

// Core error 0 with one reference for the caller; null while the library has never been linked.
ZELErrorObject UnknownError() noexcept;

}  // namespace ZEL_T_NMT
