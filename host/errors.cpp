// The error interface: reference-counted error objects and the predefined core errors.
#include <array>
#include <system_error>

#include "heap.h"
#include "services.h"

struct ZELErrorRecord {
  ZELStringAtom message;
  ZELStringAtom component;
  std::int32_t id;
  std::uint32_t references;
  bool predefined;  // stays when the last reference is given back
};

namespace zelhost {

namespace {

constexpr const char* kCoreComponent = "DUX";
constexpr const char* kHostComponent = "ZELHost";

// In the order of their numbers, which are also their IDs. A client knows memory exhaustion by the
// component and ID 1.
constexpr const char* kCoreMessages[] = {"unknown error", "out of memory", "invalid argument",
                                         "not supported", "input/output error"};
constexpr std::size_t kOutOfMemory = 1;

Heap heap;
std::array<ZELErrorObject, std::size(kCoreMessages)> coreErrors;

// Null when there is no memory.
ZELErrorObject Make(const char* message, const char* component, std::int32_t id,
                    bool predefined) noexcept {
  auto* error = static_cast<ZELErrorObject>(heap.Allocate(sizeof(ZELErrorRecord)));
  if (error == nullptr) return nullptr;
  *error = {KeepAtom(message), KeepAtom(component), id, predefined ? 0u : 1u, predefined};
  if (error->message != 0 && error->component != 0) return error;
  DropAtom(error->message);
  DropAtom(error->component);
  heap.Free(error);
  return nullptr;
}

ZELErrorObject WithReference(ZELErrorObject error) noexcept {
  if (error != nullptr) ++error->references;
  return error;
}

// Where memory is exhausted, that is the error: null would read as success.
ZELErrorObject NewError(const char* message, const char* component, std::int32_t id, std::int32_t,
                        std::int32_t) noexcept {
  if (Fails(Service::kNewError)) return nullptr;
  ZELErrorObject error =
      Make(message == nullptr ? "" : message, component == nullptr ? "" : component, id, false);
  return error != nullptr ? error : OutOfMemoryError();
}

ZELErrorObject GetCoreError(std::int32_t number) noexcept {
  if (Fails(Service::kGetCoreError)) return nullptr;
  const auto index = static_cast<std::uint32_t>(number);
  return index < coreErrors.size() ? WithReference(coreErrors[index]) : nullptr;
}

ZELErrorObject AddRef(ZELErrorObject error) noexcept {
  CountCall(Service::kAddRefError);
  return WithReference(error);
}

void Release(ZELErrorObject error) noexcept {
  CountCall(Service::kReleaseError);
  if (error == nullptr) return;
  if (!heap.IsLive(error) || error->references == 0) {
    NoteMisuse("Release of an error object that no client holds");
    return;
  }
  if (--error->references != 0 || error->predefined) return;
  DropAtom(error->message);
  DropAtom(error->component);
  heap.Free(error);
}

ZELStringAtom GetErrorMessage(ZELErrorObject error) noexcept {
  return error == nullptr ? 0 : error->message;
}

ZELStringAtom GetComponent(ZELErrorObject error) noexcept {
  return error == nullptr ? 0 : error->component;
}

std::int32_t GetID(ZELErrorObject error) noexcept { return error == nullptr ? 0 : error->id; }

constexpr ZELGetErrorInfoProc GetErrorInfo = Unsupported;

const Procedure kProcedures[] = {ZEL_ERROR_METHODS(ZELHOST_PROCEDURE)};

void Open(const HostOptions& options) {
  heap.Open(options.guardMemory);
  for (std::size_t i = 0; i < coreErrors.size(); ++i) {
    coreErrors[i] = Make(kCoreMessages[i], kCoreComponent, static_cast<std::int32_t>(i), true);
    if (coreErrors[i] == nullptr) throw std::bad_alloc();
  }
  OfferProcedures(ZEL_ERROR_INTERFACE, kProcedures);
}

void Close() noexcept {
  coreErrors = {};
  heap.Close();
}

void Count(Counts& counts) {
  heap.ForEachLive([&](const LiveBlock& block) {
    const auto* error = static_cast<ZELErrorObject>(block.address);
    counts.errors += error->references != 0 ? 1 : 0;
    counts.errorReferences += error->references;
  });
}

void ListLeaks(std::vector<Leak>& leaks) {
  heap.ForEachLive([&](const LiveBlock& block) {
    const auto* error = static_cast<ZELErrorObject>(block.address);
    if (error->references == 0) return;
    leaks.push_back({Leak::Kind::kError, "error " + Quoted(AtomText(error->message)) + " of " +
                                             Quoted(AtomText(error->component)) + ", " +
                                             Plural(error->references, "reference")});
  });
}

}  // namespace

const ServiceLife kErrorLife = {Open, Close, Count, ListLeaks};

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
  return WithoutExceptions(
      [&] { return NewHostError("injected failure of " + std::string(ServiceName(service))); });
}

}  // namespace zelhost
