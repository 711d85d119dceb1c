// The error interface: reference-counted error objects and the predefined core errors.
#include <array>
#include <system_error>

#include "services.h"
#include "storage/pool.h"

struct ZELErrorRecord {
  ZELStringAtom message;
  ZELStringAtom component;
  std::int32_t id;
  std::uint32_t references;  // 0: gone, or a predefined one that no client holds
  bool predefined;           // stays when the last reference is given back
  ZELErrorObject nextDead;

  bool IsLive() const noexcept { return references != 0; }
  ZELErrorObject& NextDead() noexcept { return nextDead; }
};

namespace zelhost {

namespace {

constexpr const char* kCoreComponent = "DUX";
constexpr const char* kHostComponent = "ZELHost";

// In the order of their numbers, which are also their IDs. A client knows memory exhaustion by the
// component and ID 1.
constexpr const char* kCoreMessages[] = {"unknown error", "out of memory", "invalid argument",
                                         "not supported", "input/output error"};
constexpr std::size_t kUnknown = 0;
constexpr std::size_t kOutOfMemory = 1;

constinit Pool<ZELErrorRecord> pool;
constinit std::array<ZELErrorObject, std::size(kCoreMessages)> coreErrors{};
// The answer to a foreign thread, for which nothing may be counted.
constinit ZELErrorRecord foreignThreadError{};

// Null when there is no memory.
ZELErrorObject Make(const char* message, const char* component, std::int32_t id,
                    bool predefined) noexcept {
  ZELErrorObject error = pool.Take();
  if (error == nullptr) return nullptr;
  *error = {KeepAtom(message), KeepAtom(component), id, predefined ? 0u : 1u, predefined, nullptr};
  if (error->message != 0 && error->component != 0) return error;
  DropAtom(error->message);
  DropAtom(error->component);
  error->references = 0;
  pool.Return(error);
  return nullptr;
}

// Whether a client holds an error; if none does, the misuse is noted.
bool IsHeld(ZELErrorObject error, const char* procedure) noexcept {
  if (error == &foreignThreadError) return true;
  if (error != nullptr && pool.MayRead(error) && error->references != 0) return true;
  NoteMisuse(procedure, error == nullptr ? "of null" : "of an error that no client holds");
  return false;
}

ZELErrorObject WithReference(ZELErrorObject error) noexcept {
  if (error != nullptr) ++error->references;
  return error;
}

// Exhausted memory is the error then: null would read as success.
ZELErrorObject NewError(const char* message, const char* component, std::int32_t id, std::int32_t,
                        std::int32_t) noexcept {
  if (Fails(Service::kNewError)) return nullptr;
  if (message == nullptr || component == nullptr) {
    NoteMisuse("NewError", "of null");
    return WithReference(coreErrors[kUnknown]);
  }
  ZELErrorObject error = Make(message, component, id, false);
  return error != nullptr ? error : OutOfMemoryError();
}

ZELErrorObject GetCoreError(std::int32_t number) noexcept {
  if (Fails(Service::kGetCoreError)) return nullptr;
  const auto index = static_cast<std::uint32_t>(number);
  return index < coreErrors.size() ? WithReference(coreErrors[index]) : nullptr;
}

// A refusal is answered with another error, since null would read as success.
ZELErrorObject AddRef(ZELErrorObject error) noexcept {
  if (Refuses(Service::kAddRefError)) return &foreignThreadError;
  return WithReference(IsHeld(error, "AddRef") ? error : coreErrors[kUnknown]);
}

void Release(ZELErrorObject error) noexcept {
  if (Refuses(Service::kReleaseError) || error == nullptr || !IsHeld(error, "Release")) return;
  if (--error->references != 0 || error->predefined) return;
  DropAtom(error->message);
  DropAtom(error->component);
  pool.Return(error);
}

ZELStringAtom GetErrorMessage(ZELErrorObject error) noexcept {
  constexpr const char* kName = "GetErrorMessage";
  return OnForeignThread(kName) || !IsHeld(error, kName) ? 0 : error->message;
}

ZELStringAtom GetComponent(ZELErrorObject error) noexcept {
  constexpr const char* kName = "GetComponent";
  return OnForeignThread(kName) || !IsHeld(error, kName) ? 0 : error->component;
}

std::int32_t GetID(ZELErrorObject error) noexcept {
  constexpr const char* kName = "GetID";
  return OnForeignThread(kName) || !IsHeld(error, kName) ? 0 : error->id;
}

constexpr ZELGetErrorInfoProc GetErrorInfo = Unsupported;

void Open(const HostOptions& options) {
  pool.Open(options.guardMemory);
  for (std::size_t i = 0; i < coreErrors.size(); ++i) {
    coreErrors[i] = Make(kCoreMessages[i], kCoreComponent, static_cast<std::int32_t>(i), true);
    if (coreErrors[i] == nullptr) throw std::bad_alloc();
  }
  // Never given back, however often it is released.
  foreignThreadError = {KeepAtom("a call from a thread that the host does not belong to"),
                        KeepAtom(kHostComponent),
                        0,
                        0x40000000u,
                        true,
                        nullptr};
  if (foreignThreadError.message == 0 || foreignThreadError.component == 0) throw std::bad_alloc();
  const Procedure procedures[] = {ZEL_ERROR_METHODS(ZELHOST_PROCEDURE)};
  OfferProcedures(ZEL_ERROR_INTERFACE, procedures);
}

void Close() noexcept {
  coreErrors = {};
  pool.Close();
}

void Count(Counts& counts) {
  pool.ForEachLive([&](const ZELErrorRecord& error) {
    ++counts.errors;
    counts.errorReferences += error.references;
  });
}

void ListLeaks(std::vector<Leak>& leaks) {
  pool.ForEachLive([&](const ZELErrorRecord& error) {
    leaks.push_back({Leak::Kind::kError, "error " + Quoted(AtomText(error.message)) + " of " +
                                             Quoted(AtomText(error.component)) + ", " +
                                             Plural(error.references, "reference")});
  });
}

}  // namespace

constinit const ServiceLife kErrorLife = {Open, Close, Count, ListLeaks};

ZELErrorObject OutOfMemoryError() noexcept { return WithReference(coreErrors[kOutOfMemory]); }

ZELErrorObject NewHostError(std::string_view message, std::int32_t id) noexcept {
  return WithoutExceptions([&] {
    ZELErrorObject error = Make(std::string(message).c_str(), kHostComponent, id, false);
    return error != nullptr ? error : OutOfMemoryError();
  });
}

ZELErrorObject NewSystemError(std::string_view what, int errorNumber) noexcept {
  return WithoutExceptions([&] {
    return NewHostError(std::string(what) + ": " + std::generic_category().message(errorNumber),
                        errorNumber);
  });
}

ZELErrorObject InjectedError(Service service) noexcept {
  if (ThisThread() != hostThread && !CallsFromAnyThread()) return &foreignThreadError;
  return WithoutExceptions(
      [&] { return NewHostError("injected failure of " + std::string(ServiceName(service))); });
}

}  // namespace zelhost
