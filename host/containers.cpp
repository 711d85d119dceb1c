// The container interface: instances, their references and what they offer.
#include "instance_kinds.h"
#include "services.h"
#include "storage/pool.h"

// 32 bytes on a 64-bit machine. All that instances have in common stands in their kind.
struct ZELInstanceRecord {
  // From here on no reference is given: the object is being destroyed, or the instance is gone.
  static constexpr std::uint32_t kRefused = 0x80000000u;
  static constexpr std::uint32_t kDying = kRefused;
  static constexpr std::uint32_t kGone = kRefused + 1;

  std::uint32_t references;
  std::uint32_t kind;  // 0: never used
  ZELPrimaryInstance primary;

  bool IsLive() const noexcept { return kind != 0 && references != kGone; }
  ZELInstance& NextDead() noexcept { return reinterpret_cast<ZELInstance&>(primary.object); }
};

namespace zelhost {

namespace {

constexpr std::uint32_t kRefused = ZELInstanceRecord::kRefused;

constinit Pool<ZELInstanceRecord> pool;

// Mostly the next instance is of the same kind as the last.
struct Recent {
  ZELStringAtom implementation;
  ZELStringAtom interfaceName;
  ZELDestroyProc destroy;
  std::uint32_t kind;
  const char* implementationText;
  const char* interfaceText;
};
constinit Recent recent{};

void NoteInstance(const char* procedure, ZELInstance instance, std::string_view state) noexcept {
  try {
    std::string text = "of an instance";
    if (instance != nullptr && pool.MayRead(instance) && instance->kind != 0) {
      text += " of " + Quoted(kinds[instance->kind].implementationText);
    }
    NoteMisuse(procedure, text.append(" that is ").append(state));
  } catch (...) {
    NoteMisuse(procedure, "of an instance");
  }
}

// Whether an instance is there, be it being destroyed; else the misuse is noted.
bool IsThere(ZELInstance instance, const char* procedure) noexcept {
  if (instance != nullptr && pool.MayRead(instance) &&
      instance->references != ZELInstanceRecord::kGone) {
    return true;
  }
  NoteInstance(procedure, instance, instance == nullptr ? "null" : "gone");
  return false;
}

// A client that uses an instance after its end finds names that are nobody's, and has to ask.
void Destroy(ZELInstance instance) noexcept {
  instance->references = ZELInstanceRecord::kDying;
  const ZELDestroyProc destroy = kinds[instance->kind].destroy;
  if (destroy != nullptr) destroy(instance->primary.object);
  instance->references = ZELInstanceRecord::kGone;
  instance->primary = {"(gone)", "(gone)", nullptr};
  pool.Return(instance);
}

ZELErrorObject NewInstance(ZELInstance* result, void* object, std::uint32_t kind) noexcept {
  ZELInstance instance = pool.Take();
  if (instance == nullptr) return OutOfMemoryError();
  *instance = {0, kind, {kinds[kind].implementationText, kinds[kind].interfaceText, object}};
  *result = instance;
  return nullptr;
}

[[gnu::noinline]] ZELErrorObject NewInstanceOfOtherKind(ZELInstance* result, void* object,
                                                        ZELStringAtom implementation,
                                                        ZELStringAtom interfaceName,
                                                        ZELDestroyProc destroy) noexcept {
  return WithoutExceptions([&] {
    const std::uint32_t kind = FindOrAddKind(implementation, interfaceName, destroy);
    if (kind == 0) {
      NoteMisuse("NewFullContainer", "of a name that is no atom");
      return NewHostError("NewFullContainer: a name is not a live atom");
    }
    recent = {
        implementation,           interfaceName, destroy, kind, kinds[kind].implementationText,
        kinds[kind].interfaceText};
    return NewInstance(result, object, kind);
  });
}

ZELErrorObject NewFullContainer(ZELInstance* result, void* object, ZELStringAtom implementation,
                                ZELDestroyProc destroy, ZELStringAtom interfaceName, std::int32_t,
                                std::int32_t, std::int32_t) noexcept {
  if (Fails(Service::kNewFullContainer)) return InjectedError(Service::kNewFullContainer);
  if (result == nullptr) [[unlikely]] {
    NoteMisuse("NewFullContainer", "of no place for the result");
    return NewHostError("NewFullContainer: no place for the result");
  }
  // The kind keeps its names alive; 0 is none of them.
  if (implementation != recent.implementation || interfaceName != recent.interfaceName ||
      destroy != recent.destroy || implementation == 0) [[unlikely]] {
    return NewInstanceOfOtherKind(result, object, implementation, interfaceName, destroy);
  }
  ZELInstance instance = pool.Take();
  if (instance == nullptr) [[unlikely]]
    return OutOfMemoryError();
  *instance = {0, recent.kind, {recent.implementationText, recent.interfaceText, object}};
  *result = instance;
  return nullptr;
}

[[gnu::noinline]] std::int32_t RefuseReference(ZELInstance instance) noexcept {
  if (instance != nullptr) IsThere(instance, "AddRef");
  return 0;
}

std::int32_t AddRef(ZELInstance instance) noexcept {
  if (Fails(Service::kAddRef)) return 0;
  if (instance == nullptr || !pool.MayRead(instance) || instance->references >= kRefused - 1)
      [[unlikely]] {
    return RefuseReference(instance);
  }
  ++instance->references;
  return 1;
}

// Whether an instance has a reference to give back. A release of an instance that is just being
// destroyed is none of a client's faults: its object may hold itself by way of others.
[[gnu::noinline]] void RefuseRelease(ZELInstance instance, const char* procedure) noexcept {
  if (!IsThere(instance, procedure)) return;
  if (instance->references == 0) NoteInstance(procedure, instance, "held by no client");
}

bool HasReference(ZELInstance instance) noexcept {
  return pool.MayRead(instance) && instance->references - 1 < kRefused - 1;
}

void Release(ZELInstance instance) noexcept {
  if (Refuses(Service::kRelease) || instance == nullptr) return;
  if (!HasReference(instance)) [[unlikely]]
    return RefuseRelease(instance, "Release");
  if (--instance->references == 0) Destroy(instance);
}

void DecrementWithoutDelete(ZELInstance instance) noexcept {
  if (Refuses(Service::kDecrementWithoutDelete)) return;
  if (instance == nullptr || !HasReference(instance)) [[unlikely]]
    return RefuseRelease(instance, "DecrementWithoutDelete");
  --instance->references;
}

void DeleteUnownedContainer(ZELInstance instance) noexcept {
  constexpr const char* kName = "DeleteUnownedContainer";
  if (Refuses(Service::kDeleteUnownedContainer) || !IsThere(instance, kName)) return;
  if (instance->references == 0) return Destroy(instance);
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

void Open(const HostOptions& options) {
  pool.Open(options.guardMemory);
  OpenKinds();
  recent = {};
  const Procedure procedures[] = {ZEL_CONTAINER_METHODS(ZELHOST_PROCEDURE)};
  OfferProcedures(ZEL_CONTAINER_INTERFACE, procedures);
}

// Objects of clients are left alone, since the code that would destroy them may be gone; streams
// are the host's own.
void Close() noexcept {
  pool.ForEachLive([](const ZELInstanceRecord& record) {
    if (kinds[record.kind].isStream) CloseStream(record.primary.object);
  });
  pool.Close();
  CloseKinds();
}

void Count(Counts& counts) {
  pool.ForEachLive([&](const ZELInstanceRecord& record) {
    ++counts.instances;
    counts.instanceReferences += References(const_cast<ZELInstance>(&record));
  });
}

void ListLeaks(std::vector<Leak>& leaks) {
  pool.ForEachLive([&](const ZELInstanceRecord& record) {
    const std::uint32_t references = References(const_cast<ZELInstance>(&record));
    leaks.push_back({Leak::Kind::kInstance, "instance of " +
                                                Quoted(record.primary.implementationName) +
                                                " (signature " + Quoted(record.primary.signature) +
                                                "), " + Plural(references, "reference")});
  });
}

}  // namespace

constinit const ServiceLife kContainerLife = {Open, Close, Count, ListLeaks};

std::uint32_t NewStreamKind(const char* name, ZELDestroyProc destroy) {
  const ZELStringAtom atom = KeepAtom(name);
  if (atom == 0) throw std::bad_alloc();
  const std::uint32_t kind = FindOrAddKind(atom, atom, destroy, true);
  DropAtom(atom);
  return kind;
}

ZELErrorObject NewStreamContainer(ZELInstance* result, void* stream, std::uint32_t kind) noexcept {
  return NewInstance(result, stream, kind);
}

void* StreamObject(ZELInstance instance, const char* method) noexcept {
  if (!IsThere(instance, method) || !kinds[instance->kind].isStream) return nullptr;
  return instance->primary.object;
}

std::uint32_t References(ZELInstance instance) noexcept {
  if (instance == nullptr || !pool.MayRead(instance) || instance->references >= kRefused) return 0;
  return instance->references;
}

}  // namespace zelhost
