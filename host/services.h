// Common ground of the host's services: their place in the host's life, the counting and failing of
// calls, and the few things that one service asks of another.
//
// The procedures of the boundary are plain C functions without a context, so that each service
// keeps its state in its own file. That state needs no constructor and no destructor: a Host may
// itself be a static object, made before and destroyed after anything of this library.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "thread.h"
#include "zelhost/host.h"

namespace zelhost {

// ---- A service's life ----

// Open makes the service's state and offers its procedures to the binder. Close frees all that it
// handed out and may follow an Open that failed half-way. The other two add what is held.
struct ServiceLife {
  void (*open)(const HostOptions& options);
  void (*close)() noexcept;
  void (*count)(Counts& counts);
  void (*listLeaks)(std::vector<Leak>& leaks);
};

extern const ServiceLife kBinderLife;
extern const ServiceLife kMemoryLife;
extern const ServiceLife kAtomLife;
extern const ServiceLife kErrorLife;
extern const ServiceLife kInstanceLife;
extern const ServiceLife kContainerLife;
extern const ServiceLife kSharedBufferLife;
extern const ServiceLife kStreamLife;
extern const ServiceLife kUnsupportedLife;
extern const ServiceLife kCallLife;
extern const ServiceLife kMisuseLife;

// ---- Counted calls and injected faults (calls.cpp) ----

// The calls of a service, counted down to the next one that fails.
struct CallCounter {
  static constexpr std::int64_t kNever = std::int64_t{1} << 62;
  std::int64_t left = kNever;   // calls until that one; negative: it and all later ones
  std::int64_t start = kNever;  // `left` before the first call
  bool armed = false;           // whether a call is to fail
  bool andAllLater = false;
};

#if defined(__ELF__)
#define ZELHOST_HIDDEN [[gnu::visibility("hidden")]]
#else
#define ZELHOST_HIDDEN
#endif
ZELHOST_HIDDEN extern CallCounter callCounters[kServiceCount];
// The thread that the host belongs to.
ZELHOST_HIDDEN extern std::uintptr_t hostThread;
// The same while its calls need no closer look; 0 while memory is guarded or a fault is armed.
ZELHOST_HIDDEN extern std::uintptr_t plainThread;

// The slow halves of the functions below.
bool RefuseForeignThread(std::string_view procedure) noexcept;
bool RefuseForeignThread(Service service) noexcept;
bool CallsFromAnyThread() noexcept;
bool InjectFault(CallCounter& counter) noexcept;

// Every procedure begins with one of the next three. A call from a thread that the host does not
// belong to is noted and refused, before anything is touched that the other thread may be using.

inline bool OnForeignThread(std::string_view procedure) noexcept {
  return ThisThread() != hostThread && RefuseForeignThread(procedure);
}

// Counts a call; true when it has to be refused.
inline bool Refuses(Service service) noexcept {
  if (ThisThread() != hostThread && RefuseForeignThread(service)) [[unlikely]]
    return true;
  --callCounters[static_cast<std::size_t>(service)].left;
  return false;
}

// The same for a service that can fail; true when the call has to fail.
inline bool Fails(Service service) noexcept {
  if (ThisThread() != hostThread && RefuseForeignThread(service)) [[unlikely]]
    return true;
  CallCounter& counter = callCounters[static_cast<std::size_t>(service)];
  return --counter.left < 0 && InjectFault(counter);
}

// The procedures that are called for every value have a short form beside the checked one. It
// serves a plain call with a sound argument, counts it, and hands every other call on as its last
// act: one comparison stands for the thread, the guard and the faults, and no stack frame is made.

inline bool IsPlainCall() noexcept { return ThisThread() == plainThread; }

inline void CountPlainCall(Service service) noexcept {
  --callCounters[static_cast<std::size_t>(service)].left;
}

// ---- Misuse (misuse.cpp) ----

// Notes that a procedure was used against its contract: "Release of an instance that is gone".
// Shown among the leaks.
void NoteMisuse(std::string_view procedure, std::string_view what) noexcept;

// For leak texts: "2 references"; a text in quotes, shortened, control characters replaced.
std::string Plural(std::uint64_t count, std::string_view noun);
std::string Quoted(std::string_view text);

// ---- Procedure tables ----

struct Procedure {
  const char* method;
  const char* procType;
  ZELProc address;
};

template <typename Proc>
ZELProc Erased(Proc procedure) noexcept {
  return reinterpret_cast<ZELProc>(procedure);
}

// One row of a Procedure table, for the method lists of zelutils/core.h: the function of the
// method's name that is in scope, which must have the type of the contract. The tables are local to
// the functions that offer them: a cast of a procedure's address is no constant, and a table made
// at the program's start could come later than a static Host.
#define ZELHOST_PROCEDURE(method, procedureType) \
  {#method, #procedureType, ::zelhost::Erased<procedureType>(method)},

// Takes the place of methods that no client calls; notes the call as misuse.
void Unsupported() noexcept;

// ---- Binder (binder.cpp) ----

void OfferProcedures(const char* interfaceName, std::span<const Procedure> procedures);
// The procedure under a triple, or null.
ZELProc FindProcedure(std::string_view interfaceName, std::string_view method,
                      std::string_view procType);

// ---- Atoms (atoms.cpp) ----
// References that the host holds for itself; they are not among the live counts.

// 0 when there is no memory.
ZELStringAtom KeepAtom(const char* text) noexcept;
// Of an atom that somebody holds. False when there is no memory.
bool KeepAtom(ZELStringAtom atom) noexcept;
void DropAtom(ZELStringAtom atom) noexcept;
// The text of an atom that somebody holds; null for anything else.
const char* AtomText(ZELStringAtom atom) noexcept;

// ---- Errors (errors.cpp) ----

// A new error of component "ZELHost" with one reference for the caller, or the predefined one for
// memory exhaustion.
ZELErrorObject NewHostError(std::string_view message, std::int32_t id = 0) noexcept;
// "<what>: <the system's text for the error number>", with the error number as ID.
ZELErrorObject NewSystemError(std::string_view what, int errorNumber) noexcept;
// For a service that Fails: the error of an injected fault, or of a call from a foreign thread.
ZELErrorObject InjectedError(Service service) noexcept;
ZELErrorObject OutOfMemoryError() noexcept;

// Runs a body that returns an error object and may throw std::bad_alloc.
template <typename Body>
ZELErrorObject WithoutExceptions(Body body) noexcept {
  try {
    return body();
  } catch (...) {
    return OutOfMemoryError();
  }
}

// ---- Instances (instances.cpp) ----

// The kind of the instances of one sort of stream: implementation name, signature and the interface
// under which the methods are registered are the one name given.
std::uint32_t NewStreamKind(const char* name, ZELDestroyProc destroy);
ZELErrorObject NewStreamContainer(ZELInstance* result, void* stream, std::uint32_t kind) noexcept;
// The stream object of an instance, or null when it is none of the host's streams. Notes the misuse
// of an instance that is none any more.
void* StreamObject(ZELInstance instance, const char* method) noexcept;
std::uint32_t References(ZELInstance instance) noexcept;

// ---- Streams (streams.cpp) ----

// Frees a stream object whose instance was still live when the host ended.
void CloseStream(void* stream) noexcept;

}  // namespace zelhost
