// The container interface: publishing of objects as instances, their references and what they
// offer.
#include "instances.h"

namespace zelhost {

namespace {

// The instance to be made next is mostly of the same kind as the last one: its record, but for the
// object, and what told the kind.
struct Recent {
  ZELStringAtom implementation;
  ZELStringAtom interfaceName;
  ZELDestroyProc destroy;
  ZELInstanceRecord record;
};
constinit Recent recent{};

ZELErrorObject NewContainerOfKind(ZELInstance* result, void* object, ZELStringAtom implementation,
                                  ZELStringAtom interfaceName, ZELDestroyProc destroy) noexcept {
  return WithoutExceptions([&] {
    const std::uint32_t kind = FindOrAddKind(implementation, interfaceName, destroy);
    if (kind == 0) {
      NoteMisuse("NewFullContainer", "of a name that is no atom");
      return NewHostError("NewFullContainer: a name is not a live atom");
    }
    recent = {implementation,
              interfaceName,
              destroy,
              {0, kind, {kinds[kind].implementationText, kinds[kind].interfaceText, nullptr}}};
    return NewInstance(result, object, kind);
  });
}

[[gnu::noinline]] ZELErrorObject NewFullContainerChecked(ZELInstance* result, void* object,
                                                         ZELStringAtom implementation,
                                                         ZELDestroyProc destroy,
                                                         ZELStringAtom interfaceName) noexcept {
  if (Fails(Service::kNewFullContainer)) return InjectedError(Service::kNewFullContainer);
  if (result != nullptr) {
    return NewContainerOfKind(result, object, implementation, interfaceName, destroy);
  }
  NoteMisuse("NewFullContainer", "of no place for the result");
  return NewHostError("NewFullContainer: no place for the result");
}

ZELErrorObject NewFullContainer(ZELInstance* result, void* object, ZELStringAtom implementation,
                                ZELDestroyProc destroy, ZELStringAtom interfaceName, std::int32_t,
                                std::int32_t, std::int32_t) noexcept {
  // A kind keeps its atoms alive, so that their numbers are no others'.
  ZELInstance instance = nullptr;
  if (!IsPlainCall() || result == nullptr || implementation != recent.implementation ||
      interfaceName != recent.interfaceName || destroy != recent.destroy ||
      recent.record.kind == 0 || (instance = instancePool.TakeQuickly()) == nullptr) [[unlikely]] {
    return NewFullContainerChecked(result, object, implementation, destroy, interfaceName);
  }
  CountPlainCall(Service::kNewFullContainer);
  *instance = recent.record;
  instance->primary.object = object;
  *result = instance;
  return nullptr;
}

[[gnu::noinline]] std::int32_t AddRefChecked(ZELInstance instance) noexcept {
  if (Fails(Service::kAddRef) || instance == nullptr) return 0;
  if (!IsThere(instance, "AddRef") || !instance->CanBeHeld()) return 0;
  ++instance->references;
  return 1;
}

std::int32_t AddRef(ZELInstance instance) noexcept {
  if (!IsPlainCall() || instance == nullptr || !instance->CanBeHeld()) [[unlikely]]
    return AddRefChecked(instance);
  CountPlainCall(Service::kAddRef);
  ++instance->references;
  return 1;
}

// Whether an instance has a reference to give back. A release of an instance that is just being
// destroyed is none of a client's faults: its object may hold itself by way of others.
bool HasReference(ZELInstance instance, const char* procedure) noexcept {
  if (!IsThere(instance, procedure)) return false;
  if (instance->references == 0) NoteInstance(procedure, instance, "held by no client");
  return instance->IsHeld();
}

[[gnu::noinline]] void ReleaseChecked(ZELInstance instance) noexcept {
  if (Refuses(Service::kRelease) || instance == nullptr || !HasReference(instance, "Release")) {
    return;
  }
  if (--instance->references == 0) EndInstance(instance);
}

void Release(ZELInstance instance) noexcept {
  if (!IsPlainCall() || instance == nullptr || !instance->IsHeld()) [[unlikely]]
    return ReleaseChecked(instance);
  CountPlainCall(Service::kRelease);
  if (--instance->references == 0) EndInstance(instance);
}

void DecrementWithoutDelete(ZELInstance instance) noexcept {
  if (Refuses(Service::kDecrementWithoutDelete)) return;
  if (HasReference(instance, "DecrementWithoutDelete")) --instance->references;
}

void DeleteUnownedContainer(ZELInstance instance) noexcept {
  constexpr const char* kName = "DeleteUnownedContainer";
  if (Refuses(Service::kDeleteUnownedContainer) || !IsThere(instance, kName)) return;
  if (instance->references == 0) return EndInstance(instance);
  if (instance->references != ZELInstanceRecord::kDying) NoteInstance(kName, instance, "held");
}

// The methods are looked up at each call: what is registered or withdrawn later counts. A method
// that is not there is no error here, also when it is required: the caller knows best what it
// means.
ZELErrorObject GetMethod(ZELProc* result, ZELInstance instance, ZELStringAtom method,
                         ZELStringAtom procType, std::int32_t) noexcept {
  if (Fails(Service::kGetMethod)) return InjectedError(Service::kGetMethod);
  if (!IsThere(instance, "GetMethod")) return NewHostError("GetMethod: no instance");
  const char* methodText = AtomText(method);
  const char* procTypeText = AtomText(procType);
  if (result == nullptr || methodText == nullptr || procTypeText == nullptr) {
    NoteMisuse("GetMethod", "of no result place, method or procedure type");
    return NewHostError("GetMethod: no result place, method or procedure type");
  }
  return WithoutExceptions([&]() -> ZELErrorObject {
    *result = FindProcedure(kinds[instance->kind].interfaceText, methodText, procTypeText);
    return nullptr;
  });
}

// Null is an instance that clients do ask about.
ZELErrorObject NGetInstance(void** result, ZELInstance instance,
                            ZELStringAtom implementation) noexcept {
  if (Fails(Service::kNGetInstance)) return InjectedError(Service::kNGetInstance);
  if (instance == nullptr || !IsThere(instance, "NGetInstance")) {
    return NewHostError("NGetInstance: no instance");
  }
  const char* wanted = AtomText(implementation);
  if (result == nullptr || wanted == nullptr) {
    NoteMisuse("NGetInstance", "of no result place or implementation");
    return NewHostError("NGetInstance: no result place or implementation");
  }
  if (instance->primary.implementationName == wanted) {
    *result = instance->primary.object;
    return nullptr;
  }
  return WithoutExceptions([&] {
    return NewHostError("NGetInstance: an instance of " +
                        Quoted(instance->primary.implementationName) + " is none of " +
                        Quoted(wanted));
  });
}

std::int32_t GetOffsetToPrimaryInstance() noexcept {
  return static_cast<std::int32_t>(offsetof(ZELInstanceRecord, primary));
}

constexpr ZELProc NewContainer = Unsupported;
constexpr ZELProc CloneContainer = Unsupported;
constexpr ZELProc RegisterInterface = Unsupported;
constexpr ZELProc RegisterInstance = Unsupported;
constexpr ZELProc GetParentMethod = Unsupported;
constexpr ZELProc GetInstance = Unsupported;
constexpr ZELProc GetSignature = Unsupported;
constexpr ZELProc DebugGetRefCountAddr = Unsupported;

void Open(const HostOptions&) {
  recent = {};
  const Procedure procedures[] = {ZEL_CONTAINER_METHODS(ZELHOST_PROCEDURE)};
  OfferProcedures(ZEL_CONTAINER_INTERFACE, procedures);
}

void Close() noexcept {}
void Count(Counts&) {}
void ListLeaks(std::vector<Leak>&) {}

}  // namespace

constinit const ServiceLife kContainerLife = {Open, Close, Count, ListLeaks};

}  // namespace zelhost
