#include "instances.h"

namespace zelhost {

constinit Pool<ZELInstanceRecord> instancePool;

void NoteInstance(const char* procedure, ZELInstance instance, std::string_view state) noexcept {
  try {
    std::string text = "of an instance";
    if (instance != nullptr && instancePool.MayRead(instance) && instance->kind != 0) {
      text += " of " + Quoted(kinds[instance->kind].implementationText);
    }
    NoteMisuse(procedure, text.append(" that is ").append(state));
  } catch (...) {
    NoteMisuse(procedure, "of an instance");
  }
}

bool IsThere(ZELInstance instance, const char* procedure) noexcept {
  if (instance != nullptr && instancePool.MayRead(instance) &&
      instance->references != ZELInstanceRecord::kGone) {
    return true;
  }
  NoteInstance(procedure, instance, instance == nullptr ? "null" : "gone");
  return false;
}

ZELErrorObject NewInstance(ZELInstance* result, void* object, std::uint32_t kind) noexcept {
  ZELInstance instance = instancePool.Take();
  if (instance == nullptr) return OutOfMemoryError();
  *instance = {0, kind, {kinds[kind].implementationText, kinds[kind].interfaceText, object}};
  *result = instance;
  return nullptr;
}

void EndInstance(ZELInstance instance) noexcept {
  instance->references = ZELInstanceRecord::kDying;
  const ZELDestroyProc destroy = kinds[instance->kind].destroy;
  if (destroy != nullptr) destroy(instance->primary.object);
  instance->references = ZELInstanceRecord::kGone;
  instance->primary = {"(gone)", "(gone)", nullptr};
  instancePool.Return(instance);
}

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
  if (instance == nullptr || !instancePool.MayRead(instance) ||
      instance->references >= ZELInstanceRecord::kRefused) {
    return 0;
  }
  return instance->references;
}

namespace {

void Open(const HostOptions& options) {
  instancePool.Open(options.guardMemory);
  OpenKinds();
}

// Objects of clients are left alone, since the code that would destroy them may be gone; streams
// are the host's own.
void Close() noexcept {
  instancePool.ForEachLive([](const ZELInstanceRecord& record) {
    if (kinds[record.kind].isStream) CloseStream(record.primary.object);
  });
  instancePool.Close();
  CloseKinds();
}

void Count(Counts& counts) {
  instancePool.ForEachLive([&](const ZELInstanceRecord& record) {
    ++counts.instances;
    counts.instanceReferences += References(const_cast<ZELInstance>(&record));
  });
}

void ListLeaks(std::vector<Leak>& leaks) {
  instancePool.ForEachLive([&](const ZELInstanceRecord& record) {
    const std::uint32_t references = References(const_cast<ZELInstance>(&record));
    leaks.push_back({Leak::Kind::kInstance, "instance of " +
                                                Quoted(record.primary.implementationName) +
                                                " (signature " + Quoted(record.primary.signature) +
                                                "), " + Plural(references, "reference")});
  });
}

}  // namespace

constinit const ServiceLife kInstanceLife = {Open, Close, Count, ListLeaks};

}  // namespace zelhost
