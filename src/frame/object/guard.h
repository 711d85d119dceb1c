// The two guards between procedure bodies and the binder. A body is a plain function that may
// raise; export tables take nothing but what a guard has made of it.
#pragma once

#include <type_traits>

#include "frame/link/binder_link.h"
#include "zelutils/types.h"

namespace ZEL_T_NMT {

// Reports the text of the exception being handled through the binder.
void ReportCurrentException() noexcept;

// Returns the exception being handled as an error object with one reference for the caller.
ZELErrorObject CurrentExceptionAsError() noexcept;

// What a procedure returns after its guard has reported an error: 0, null or false; specialised
// for a body with another answer.
template <auto Body>
struct NeutralResult {
  template <typename Result>
  static constexpr Result Value() {
    return Result();
  }
};

// Reports what the body raises and returns the neutral result.
template <auto Body>
struct ProcedureGuard;

template <typename Result, typename... Arguments, Result (*Body)(Arguments...)>
struct ProcedureGuard<Body> {
  static Result Call(Arguments... arguments) noexcept {
    try {
      return Body(arguments...);
    } catch (...) {
      ReportCurrentException();
    }
    if constexpr (!std::is_void_v<Result>) {
      return NeutralResult<Body>::template Value<Result>();
    }
  }
};

// Returns what the body raises as an error object, and null when it returns.
template <auto Body>
struct MethodGuard;

template <typename... Arguments, void (*Body)(Arguments...)>
struct MethodGuard<Body> {
  static ZELErrorObject Call(Arguments... arguments) noexcept {
    try {
      Body(arguments...);
      return nullptr;
    } catch (...) {
      return CurrentExceptionAsError();
    }
  }
};

// Checks at compile time that a guarded procedure has the type that its name promises.
template <typename Proc>
ExportEntry MakeExport(const char* method, const char* procType, std::type_identity_t<Proc> proc) {
  return {method, procType, reinterpret_cast<ZELProc>(proc)};
}

// Export-table entries from a method list, for use where the bodies are in scope under their method
// names (in the definition of a static member of the class that has them).
#define ZEL_EXPORT_PROCEDURE(method, procType)            \
  ::ZEL_T_NMT::MakeExport<::procType>(#method, #procType, \
                                      &::ZEL_T_NMT::ProcedureGuard<&method>::Call),
#define ZEL_EXPORT_METHOD(method, procType) \
  ::ZEL_T_NMT::MakeExport<::procType>(#method, #procType, &::ZEL_T_NMT::MethodGuard<&method>::Call),
#define ZEL_END_OF_EXPORTS \
  { "", "", nullptr }

// The number of entries of an export table over a method list, with the terminator.
#define ZEL_EXPORT_ENTRIES(METHODS) (1 METHODS(ZEL_COUNT_METHOD))

// Registers a whole export table, whose last entry is the terminator.
template <std::size_t Size>
bool RegisterExports(const ExportEntry (&table)[Size], const char* interfaceName) {
  return ZELRegisterProcTable(table, static_cast<std::uint32_t>(Size - 1), interfaceName);
}

}  // namespace ZEL_T_NMT
