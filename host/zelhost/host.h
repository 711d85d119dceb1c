// The reference host: an interface binder with the core services that ZELUtils needs, to be
// embedded in a program or to be read by who writes a host of his own.
//
//   zelhost::Host host;
//   host.Start("libZELUtils.so.1");
//   auto newNumber = host.Find<POSNumberNewPOSNumberProc>(POS_NUMBER_INTERFACE, "NewPOSNumber",
//                                                         "POSNumberNewPOSNumberProc");
//   ZELInstance number = newNumber(12.5);
//
// The core services (memory, string atoms, errors, containers, shared buffers, streams) are reached
// as a library reaches them: as C procedures that Find or Lookup give under the names of
// zelutils/core.h. This class starts and stops the library and shows what a host author wants to
// see: what is still held and by which name, which errors were reported, what happens when a
// service fails.
//
// A host is not thread-safe: it, the library and the clients are called one call at a time, and in
// the thread that made the host or that it has moved to; a procedure that is called in another one
// refuses. No handle, block or atom outlives its host. The C procedures never throw; the methods of
// Host throw HostError where they say so, and std::bad_alloc.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "zelutils/zelutils.h"

namespace zelhost {

// The reason why a method of Host failed.
class HostError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// True when the host was compiled with the address sanitizer.
bool GuardMemoryByDefault() noexcept;

struct HostOptions {
  // Every block, instance, error and buffer is a malloc of its own, without anything around it, so
  // that a memory checker sees each one, and the list of leaks numbers the blocks in the order of
  // their allocation. Otherwise small ones are carved from slabs, and leaks have no numbers.
  bool guardMemory = GuardMemoryByDefault();
  // The procedures may be called in any thread, still one call at a time.
  bool anyThread = false;
  // The first value of the unregister counter; 0: one that no earlier host of the process ended at.
  std::uint32_t firstUnregisterCount = 0;
};

// The library's file when nobody names one: beside the program, or where an installation puts it
// seen from there; beside the shared library that this code is linked into; the path in the
// environment variable ZELUTILS_LIBRARY; else its plain name, for the loader to search by its own
// rules. A file of the first two is there, one of the others need not be.
std::string FindLibrary();

// The three functions of a library that is linked in or was loaded by other means.
struct LibraryEntryPoints {
  ZELUtilsGetVersionProc getVersion = nullptr;
  ZELUtilsInitializeProc initialize = nullptr;
  ZELUtilsTerminateProc terminate = nullptr;
};

// The things of the host that the library and its clients hold at this moment. The host's own (the
// atoms of an error object or of an instance's kind, the predefined errors, the bytes behind a
// memory stream) are not in here, so that everything is zero after a clean stop.
struct Counts {
  std::size_t blocks = 0;              // of "Alloc" and "Realloc", not yet freed
  std::size_t bytes = 0;               // asked for in those blocks
  std::size_t atoms = 0;               // different texts
  std::size_t atomReferences = 0;      // over all of them
  std::size_t errors = 0;              // different error objects
  std::size_t errorReferences = 0;     // over all of them
  std::size_t instances = 0;           // streams included; also those without any reference
  std::size_t instanceReferences = 0;  // over all of them
  std::size_t sharedBuffers = 0;
  std::size_t sharedBufferReferences = 0;
  std::size_t interfaces = 0;  // registered by others than the host, not yet withdrawn

  bool operator==(const Counts&) const = default;
  bool AllZero() const { return *this == Counts(); }
};

// "3 blocks (96 bytes), 1 atom (2 references), ..."; "nothing" when all are zero.
std::string ToString(const Counts& counts);

// One thing that somebody still holds, or one thing given back that was not held.
struct Leak {
  enum class Kind { kBlock, kAtom, kError, kInstance, kSharedBuffer, kInterface, kMisuse };
  Kind kind;
  std::string what;  // names it: "block of 24 bytes", guarded "block of 24 bytes, allocation 1207"
};

// The procedures whose calls are counted; those that can be made to fail are marked with what their
// failure looks like.
enum class Service : std::uint8_t {
  kLookup,               // null
  kRegisterProcAddress,  // 0
  kReportError,
  kUnregisterInterface,
  kAlloc,    // null
  kRealloc,  // null, the old block stays
  kFree,
  kNewStringAtom,  // 0
  kDeleteStringAtom,
  kGetCString,
  kAddRefStringAtom,
  kNewError,      // null
  kGetCoreError,  // null
  kAddRefError,
  kReleaseError,
  kNewFullContainer,  // error object
  kAddRef,            // of a container: 0
  kRelease,
  kDecrementWithoutDelete,
  kDeleteUnownedContainer,
  kGetMethod,     // error object
  kNGetInstance,  // error object
  kNewBuffer,     // null
  kAddRefBuffer,
  kReleaseBuffer,
  kNewMemoryStream,  // error object, as all below up to kSeek
  kNewFileStream,
  kNewClientStream,   // the client object is not taken
  kRead,              // of the host's streams, client streams included
  kWrite,             // nothing is written
  kCreateRewindable,  // CreateIndependentlyRewindableStream
  kRewind,
  kCreatePositionable,  // CreateIndependentlyPositionableStream
  kMark,
  kSeek,
  kShortRead,  // counts as kRead does; delivers half of the bytes wanted, no error
};
inline constexpr std::size_t kServiceCount = static_cast<std::size_t>(Service::kShortRead) + 1;

// "Alloc", "NewStringAtom", "Lookup", ...
std::string_view ServiceName(Service service) noexcept;
// The services that FailAt takes, in the order of the enumeration.
std::span<const Service> FallibleServices() noexcept;

// One call that reached the binder.
struct BindingEvent {
  enum class Kind { kLookup, kRegister, kUnregister };
  Kind kind;
  std::string interfaceName;
  std::string methodName;    // empty for kUnregister
  std::string procTypeName;  // empty for kUnregister
  bool succeeded;            // found, accepted, or withdrawn
};

class Host {
 public:
  // Offers the core services. There is one host per process at a time, since the procedures of the
  // boundary are plain C functions: a second one throws HostError.
  explicit Host(const HostOptions& options = {});
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;
  // Stops the library, then takes back all memory, also what leaked.
  ~Host();
  // From now on the host belongs to the running thread. The one that it leaves must be done with
  // it.
  static void MoveToThisThread() noexcept;

  // ---- The library ----

  // Loads the library with the system's loader, the path being the loader's business, and
  // initialises it. Throws HostError when it cannot be loaded, lacks one of its three functions, or
  // answers 0; then it has been terminated and unloaded again. Throws when already started.
  void Start(const std::string& path);
  // The same for the file that FindLibrary gives.
  void Start();
  // The same for a library that is there already.
  void Start(const LibraryEntryPoints& library);
  // Terminates the library, hands all leaks to the leak sink when there are any, and unloads the
  // library; while instances are live, whose destroy procedures are its code, it stays loaded until
  // the host ends. Does nothing when not started.
  void Stop();
  // Unloads the library without terminating it, as a process that ends does. Instances that are
  // live then must not be released any more.
  void Unload();
  bool Started() const noexcept;
  // The answer of ZELUtilsGetVersion; 0 when not started.
  std::uint32_t LibraryVersion() const;

  // ---- The binder ----

  // The lookup procedure that a library is initialised with. It answers null without a host.
  static ZELLookupProc LookupProc() noexcept;
  // The procedure under a triple, or null. Neither counted nor recorded nor failing by injection.
  ZELProc Lookup(const char* interfaceName, const char* methodName, const char* procTypeName) const;
  // The same with its type. Throws HostError when there is none.
  template <typename Proc>
  Proc Find(const char* interfaceName, const char* methodName, const char* procTypeName) const {
    return reinterpret_cast<Proc>(Require(interfaceName, methodName, procTypeName));
  }
  // Registers a procedure of the program itself, as ZELRegisterProcAddress does.
  void Register(const char* interfaceName, const char* methodName, const char* procTypeName,
                ZELProc procedure);
  // Withdraws an interface as ZELUnregisterInterface does; false when there is none.
  bool Withdraw(const char* interfaceName);
  // Makes lookups (and GetMethod of instances) miss a method, or all of an interface when the
  // method is null, also if registered later, until it is shown again. Hiding changes the
  // unregister counter as a withdrawal does; showing does not.
  void Hide(const char* interfaceName, const char* methodName = nullptr);
  void Show(const char* interfaceName, const char* methodName = nullptr);
  // Changes the unregister counter as the withdrawal of an unrelated interface would.
  void ChangeUnregisterCount();
  std::uint32_t UnregisterCount() const noexcept;
  // Recording of lookups, registrations and withdrawals in their order; off at first. Take empties
  // the record.
  void RecordBindings(bool on);
  std::vector<BindingEvent> TakeBindings();

  // ---- What is held ----

  Counts Live() const;
  // Names everything that Live counts, and every misuse since the host was made. The interfaces of
  // a started library are among them.
  //
  // Misuse is what no client may do: to use or give back what is gone or was never held, to destroy
  // what is held, to pass null where the contract forbids it, to call from a foreign thread, to
  // call what is not supported. Each such call is refused: it changes nothing and answers as a
  // failure does. Instances, errors, buffers and atoms that are gone are recognised until their
  // place is used again, which is as late as possible; a block of memory until its address is
  // handed out again.
  std::vector<Leak> Leaks() const;
  // Takes the place of the default, which prints each leak to standard error.
  void SetLeakSink(std::function<void(const std::vector<Leak>&)> sink);
  // The references that an instance has; 0 for null.
  std::uint32_t RefCount(ZELInstance instance) const noexcept;

  // ---- What was reported ----

  // The texts that ZELReportError was given, oldest first. They are kept until taken.
  const std::vector<std::string>& Reports() const noexcept;
  std::vector<std::string> TakeReports();
  // Called with each text in addition; must not throw.
  void SetReportSink(std::function<void(std::string_view)> sink);

  // ---- Fault injection and call counts ----

  // Lets the n-th call of a service from now fail (1: the next one); with `andAllLater` every call
  // after it as well. One fault is armed per service at a time: the newest. Throws HostError for a
  // service that cannot fail and for n = 0.
  void FailAt(Service service, std::uint64_t n, bool andAllLater = false);
  // Takes back what FailAt armed.
  void StopFailing(Service service) noexcept;
  void StopFailing() noexcept;
  // The number of calls made to fail since the host was made.
  std::uint64_t FaultsInjected() const noexcept;
  // The calls of a service, failures included, since the host was made or since the last ResetCalls
  // (which leaves armed faults as they are).
  std::uint64_t Calls(Service service) const noexcept;
  std::uint64_t TotalCalls() const noexcept;
  void ResetCalls() noexcept;

 private:
  ZELProc Require(const char* interfaceName, const char* methodName,
                  const char* procTypeName) const;

  struct Library;
  std::unique_ptr<Library> library_;
};

}  // namespace zelhost
