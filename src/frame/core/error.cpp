#include "frame/core/error.h"

#include <cstring>
#include <typeinfo>

#include "frame/core/core_interfaces.h"

namespace ZEL_T_NMT {

CZELError::CZELError(const CZELError& other) noexcept
    : std::exception(other),
      handle_(other.handle_ == nullptr ? nullptr : Errors().AddRef(other.handle_)) {}

CZELError::CZELError(const char* message, const char* component, std::int32_t id) noexcept
    : handle_(g_link.errorsBound ? Errors().NewError(message, component, id, 0, 0) : nullptr) {}

CZELError::CZELError(const std::exception& error) noexcept
    : handle_(ZELErrorFromException(error)) {}

CZELError::~CZELError() {
  if (handle_ != nullptr) Errors().Release(handle_);
}

CZELError CZELError::Adopt(ZELErrorObject handle) noexcept {
  CZELError adopted;
  adopted.handle_ = handle;
  return adopted;
}

CZELError CZELError::Core(std::int32_t number) noexcept {
  return Adopt(g_link.errorsBound ? Errors().GetCoreError(number) : nullptr);
}

const char* CZELError::what() const noexcept {
  if (handle_ == nullptr) return "Invalid CZELError";
  // The error object holds its message, so the text outlives this reference to it.
  const CZELStringAtom message(Errors().GetErrorMessage(handle_),
                               CZELStringAtom::Reference::kRetain);
  return message.Text() == nullptr ? "" : message.Text();
}

CZELStringAtom CZELError::GetComponent() const {
  if (handle_ == nullptr) return CZELStringAtom("");
  return CZELStringAtom(Errors().GetComponent(handle_), CZELStringAtom::Reference::kRetain);
}

const char* ExceptionText(const std::exception& error) noexcept {
  if (dynamic_cast<const std::bad_alloc*>(&error) != nullptr) return "bad allocation";
  if (typeid(error) == typeid(std::exception)) return "Unknown exception";
  return error.what();
}

void ZELRaiseError(ZELErrorObject handle) {
  CZELError error = CZELError::Adopt(handle);
  if (handle != nullptr) {
    const CZELStringAtom component = error.GetComponent();
    if (component.Text() != nullptr && std::strcmp(component.Text(), "DUX") == 0 &&
        Errors().GetID(handle) == 1) {
      RaiseAllocationFailure();
    }
  }
  throw CZELError(std::move(error));
}

ZELErrorObject UnknownError() noexcept {
  const ZELErrorObject held = g_unknownError->Handle();
  if (held != nullptr) return Errors().AddRef(held);
  return g_link.errorsBound ? Errors().GetCoreError(0) : nullptr;
}

ZELErrorObject ZELErrorFromException(const std::exception& error) noexcept {
  if (const auto* carrier = dynamic_cast<const CZELError*>(&error)) {
    return carrier->Handle() == nullptr ? nullptr : Errors().AddRef(carrier->Handle());
  }
  if (!g_link.errorsBound) return nullptr;
  ZELErrorObject handle = dynamic_cast<const std::bad_alloc*>(&error) != nullptr
                              ? Errors().GetCoreError(1)
                              : Errors().NewError(ExceptionText(error), "DUX", 0, 0, 0);
  // A host without an error for memory exhaustion, or without memory for a new error, still learns
  // of the failure: null would mean success.
  return handle == nullptr ? UnknownError() : handle;
}

void ZELRaise(const char* message, const char* component) {
  throw CZELError(message, component, 0);
}

void RaisePOSException(const char* message) { throw POSException(message); }

void RaiseAllocationFailure() { throw AllocationFailure(); }

void RaiseInvalidContainer() { ZELRaise("invalid container", ""); }

void RaiseMissingInterface() { ZELRaise("Missing Interface", "ZEL"); }

void RaiseMathOverflow() { throw DUXException("Math overflow exception"); }

}  // namespace ZEL_T_NMT
