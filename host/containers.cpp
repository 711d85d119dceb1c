// The container interface: instances, their references and what they offer.
#include <map>
#include <tuple>

#include "heap.h"
#include "services.h"

// 32 bytes on a 64-bit machine. All that instances have in common stands in their kind.
struct ZELInstanceRecord {
  // From here on no reference is given: the object is being destroyed, or the record is free.
  static constexpr std::uint32_t kRefused = 0x80000000u;
  static constexpr std::uint32_t kDying = kRefused;
  static constexpr std::uint32_t kFree = kRefused + 1;

  std::uint32_t references;
  std::uint32_t kind;  // index of the kind; 0: the record is free
  ZELPrimaryInstance primary;

  bool IsLive() const noexcept { return kind != 0; }
  ZELInstance& NextFree() noexcept { return reinterpret_cast<ZELInstance&>(primary.object); }
};

namespace zelhost {

namespace {

// What the instances of one implementation and interface share. The signature is the interface
// name: instances that offer the same methods are of the same kind for a client. Kinds stay, and
// with them their atoms, until the host ends; there are as many as sorts of objects.
struct Kind {
  ZELStringAtom implementation;
  ZELStringAtom interfaceName;
  ZELDestroyProc destroy;
  const char* implementationText;
  const char* interfaceText;
  bool isStream;
};

using KindKey = std::tuple<ZELStringAtom, ZELStringAtom, ZELDestroyProc>;

struct State {
  std::vector<Kind> kinds;  // [0] is none
  std::map<KindKey, std::uint32_t> kindIndex;
};

State* state = nullptr;
// The same as state->kinds.data(), null while there is no host; and the kind of the newest
// instance.
constinit const Kind* kinds = nullptr;
constinit std::uint32_t recentKind = 0;
constinit Pool<ZELInstanceRecord> pool;

bool IsKind(std::uint32_t index, ZELStringAtom implementation, ZELStringAtom interfaceName,
            ZELDestroyProc destroy) noexcept {
  const Kind& kind = kinds[index];
  return kind.implementation == implementation && kind.interfaceName == interfaceName &&
         kind.destroy == destroy;
}

// The index of the kind, 0 when an atom is none. Throws bad_alloc.
std::uint32_t FindOrAddKind(ZELStringAtom implementation, ZELStringAtom interfaceName,
                            ZELDestroyProc destroy) {
  const char* implementationText = AtomText(implementation);
  const char* interfaceText = AtomText(interfaceName);
  if (implementationText == nullptr || interfaceText == nullptr) return 0;
  const auto [position, added] =
      state->kindIndex.try_emplace({implementation, interfaceName, destroy}, 0u);
  if (added) {
    try {
      state->kinds.push_back(
          {implementation, interfaceName, destroy, implementationText, interfaceText, false});
    } catch (...) {
      state->kindIndex.erase(position);
      throw;
    }
    KeepAtom(implementation);
    KeepAtom(interfaceName);
    position->second = static_cast<std::uint32_t>(state->kinds.size() - 1);
    kinds = state->kinds.data();
  }
  return position->second;
}

[[gnu::always_inline]] inline ZELErrorObject NewInstance(ZELInstance* result, void* object,
                                                         std::uint32_t kindIndex) noexcept {
  ZELInstance instance = pool.Take();
  if (instance == nullptr) return OutOfMemoryError();
  const Kind& kind = kinds[kindIndex];
  *instance = {0, kindIndex, {kind.implementationText, kind.interfaceText, object}};
  *result = instance;
  return nullptr;
}

void Destroy(ZELInstance instance) noexcept {
  instance->references = ZELInstanceRecord::kDying;
  const ZELDestroyProc destroy = kinds[instance->kind].destroy;
  if (destroy != nullptr) destroy(instance->primary.object);
  instance->references = ZELInstanceRecord::kFree;
  instance->kind = 0;
  pool.Return(instance);
}

// Of another kind than the instance before.
[[gnu::noinline]] ZELErrorObject NewInstanceOf(ZELInstance* result, void* object,
                                               ZELStringAtom implementation,
                                               ZELStringAtom interfaceName,
                                               ZELDestroyProc destroy) noexcept {
  return WithoutExceptions([&] {
    const std::uint32_t kind = FindOrAddKind(implementation, interfaceName, destroy);
    if (kind == 0) return NewHostError("NewFullContainer: a name is not a live atom");
    recentKind = kind;
    return NewInstance(result, object, kind);
  });
}

ZELErrorObject NewFullContainer(ZELInstance* result, void* object, ZELStringAtom implementation,
                                ZELDestroyProc destroy, ZELStringAtom interfaceName, std::int32_t,
                                std::int32_t, std::int32_t) noexcept {
  if (Fails(Service::kNewFullContainer)) return InjectedError(Service::kNewFullContainer);
  if (kinds != nullptr && result != nullptr) [[likely]] {
    // Mostly the next instance is of the same kind as the last, whose names are live atoms.
    if (IsKind(recentKind, implementation, interfaceName, destroy) && recentKind != 0) [[likely]] {
      return NewInstance(result, object, recentKind);
    }
    return NewInstanceOf(result, object, implementation, interfaceName, destroy);
  }
  return NewHostError("NewFullContainer: no place for the result");
}

std::int32_t AddRef(ZELInstance instance) noexcept {
  if (Fails(Service::kAddRef) || instance == nullptr ||
      instance->references >= ZELInstanceRecord::kRefused - 1) {
    return 0;
  }
  ++instance->references;
  return 1;
}

// Takes a reference from an instance that has one. A release of an instance that is just being
// destroyed is none of a client's faults: its object may hold itself by way of others.
bool TakeReference(ZELInstance instance, const char* misuse) noexcept {
  if (instance->references - 1 < ZELInstanceRecord::kRefused - 1) [[likely]] {
    --instance->references;
    return true;
  }
  if (instance->references != ZELInstanceRecord::kDying) NoteMisuse(misuse);
  return false;
}

void Release(ZELInstance instance) noexcept {
  CountCall(Service::kRelease);
  if (instance == nullptr) return;
  if (TakeReference(instance, "Release of an instance that no client holds") &&
      instance->references == 0) {
    Destroy(instance);
  }
}

void DecrementWithoutDelete(ZELInstance instance) noexcept {
  CountCall(Service::kDecrementWithoutDelete);
  if (instance == nullptr) return;
  TakeReference(instance, "DecrementWithoutDelete of an instance that no client holds");
}

void DeleteUnownedContainer(ZELInstance instance) noexcept {
  CountCall(Service::kDeleteUnownedContainer);
  if (instance == nullptr || instance->references == ZELInstanceRecord::kDying) return;
  if (instance->references == 0) {
    Destroy(instance);
  } else if (instance->references == ZELInstanceRecord::kFree) {
    NoteMisuse("DeleteUnownedContainer of an instance that is gone");
  }
}

bool IsGone(ZELInstance instance) noexcept {
  return instance == nullptr || instance->references == ZELInstanceRecord::kFree;
}

// The methods are looked up at each call: what is registered or withdrawn later counts. A method
// that is not there is no error here, also when it is required: the caller knows best what it
// means.
ZELErrorObject GetMethod(ZELProc* result, ZELInstance instance, ZELStringAtom method,
                         ZELStringAtom procType, std::int32_t) noexcept {
  if (Fails(Service::kGetMethod)) return InjectedError(Service::kGetMethod);
  if (IsGone(instance)) return NewHostError("GetMethod: no instance");
  const char* methodText = AtomText(method);
  const char* procTypeText = AtomText(procType);
  if (result == nullptr || methodText == nullptr || procTypeText == nullptr) {
    return NewHostError("GetMethod: no result place, method or procedure type");
  }
  return WithoutExceptions([&]() -> ZELErrorObject {
    *result = FindProcedure(kinds[instance->kind].interfaceText, methodText, procTypeText);
    return nullptr;
  });
}

ZELErrorObject NGetInstance(void** result, ZELInstance instance,
                            ZELStringAtom implementation) noexcept {
  if (Fails(Service::kNGetInstance)) return InjectedError(Service::kNGetInstance);
  if (IsGone(instance)) return NewHostError("NGetInstance: no instance");
  const char* wanted = AtomText(implementation);
  if (result == nullptr || wanted == nullptr) {
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

const Procedure kProcedures[] = {ZEL_CONTAINER_METHODS(ZELHOST_PROCEDURE)};

void Open(const HostOptions& options) {
  pool.Open(options.guardMemory);
  state = new State;
  state->kinds.push_back({});
  kinds = state->kinds.data();
  recentKind = 0;
  OfferProcedures(ZEL_CONTAINER_INTERFACE, kProcedures);
}

// Objects of clients are left alone, since the code that would destroy them may be gone; streams
// are the host's own.
void Close() noexcept {
  pool.ForEachLive([](const ZELInstanceRecord& record) {
    if (kinds[record.kind].isStream) CloseStream(record.primary.object);
  });
  pool.Close();
  delete state;
  state = nullptr;
  kinds = nullptr;
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

const ServiceLife kContainerLife = {Open, Close, Count, ListLeaks};

std::uint32_t NewStreamKind(const char* name, ZELDestroyProc destroy) {
  const ZELStringAtom atom = KeepAtom(name);
  if (atom == 0) throw std::bad_alloc();
  const std::uint32_t kind = FindOrAddKind(atom, atom, destroy);
  state->kinds[kind].isStream = true;
  DropAtom(atom);
  return kind;
}

ZELErrorObject NewStreamContainer(ZELInstance* result, void* stream, std::uint32_t kind) noexcept {
  return NewInstance(result, stream, kind);
}

void* StreamObject(ZELInstance instance) noexcept {
  if (IsGone(instance) || !kinds[instance->kind].isStream) return nullptr;
  return instance->primary.object;
}

std::uint32_t References(ZELInstance instance) noexcept {
  return instance == nullptr || instance->references >= ZELInstanceRecord::kRefused
             ? 0
             : instance->references;
}

}  // namespace zelhost
