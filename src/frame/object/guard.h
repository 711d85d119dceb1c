// The two guards between procedure bodies and the binder. A body is a plain function that may
// raise; export tables take nothing but what a guard has made of it.
#pragma once

#include <type_traits>

#include "frame/link/subsystem.h"
#include "zelutils/types.h"

namespace ZEL_T_NMT {

// Reports the text of the exception being handled through the binder.
void ReportCurrentException() noexcept;

// Returns the exception being handled as an error object with one reference for the caller.
ZELErrorObject CurrentExceptionAsError() noexcept;

// The result of a procedure whose guard has reported an error: 0, null or false; specialised
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

// A row of an export table. Compiles only for a body that has the signature which the name of its
// procedure type promises, and only with the guard around it.
template <typename Proc, template <auto> typename Guard, auto Body>
struct GuardedProcedure {
  static ZELProc Address() noexcept {
    const Proc guarded = &Guard<Body>::Call;
    return reinterpret_cast<ZELProc>(guarded);
  }
};

// Export tables from a list of interfaces of a public header. The bodies of an interface are static
// functions of a class NameInterface, under the names of its methods:
//   POS_INTERFACES(ZEL_GUARDED_PROCEDURES)
//   constexpr ExportedInterface kInterfaces[] = {POS_INTERFACES(ZEL_EXPORTED_INTERFACE)};
#define ZEL_GUARDED_PROCEDURES(Name, interfaceName, METHODS) \
  ZEL_EXPORTED_PROCEDURES(Name, METHODS, ProcedureGuard)
#define ZEL_GUARDED_METHODS(Name, interfaceName, METHODS) \
  ZEL_EXPORTED_PROCEDURES(Name, METHODS, MethodGuard)

#define ZEL_EXPORTED_PROCEDURES(Name, METHODS, Guarded)               \
  struct Name##Exports {                                              \
    using Bodies = Name##Interface;                                   \
    template <auto Body>                                              \
    using Guard = ::ZEL_T_NMT::Guarded<Body>;                         \
    static constexpr ::ZEL_T_NMT::ExportedProcedure kProcedures[] = { \
        METHODS(ZEL_EXPORTED_PROCEDURE)};                             \
  };
#define ZEL_EXPORTED_PROCEDURE(method, procType) \
  {#method, #procType, &::ZEL_T_NMT::GuardedProcedure<::procType, Guard, &Bodies::method>::Address},
#define ZEL_EXPORTED_INTERFACE(Name, interfaceName, METHODS) \
  {interfaceName, Name##Exports::kProcedures},

}  // namespace ZEL_T_NMT
