// Holders for what the tests of a host take, so that each gives it back however it ends.
#pragma once

#include <deque>

#include "conformance/probe.h"
#include "lasting.h"

namespace zelcheck {

class HeldAtom {
 public:
  HeldAtom(const Probe& host, const char* text)
      : host_(host), atom_(host.atoms.NewStringAtom(text)) {}
  HeldAtom(const HeldAtom&) = delete;
  HeldAtom& operator=(const HeldAtom&) = delete;
  ~HeldAtom() {
    if (atom_ != 0) host_.atoms.DeleteStringAtom(atom_);
  }
  ZELStringAtom Get() const { return atom_; }
  std::string Text() const {
    const char* const text = atom_ == 0 ? nullptr : host_.atoms.GetCString(atom_);
    return text == nullptr ? "(null)" : text;
  }

 private:
  const Probe& host_;
  ZELStringAtom atom_;
};

class HeldError {
 public:
  HeldError(const Probe& host, ZELErrorObject error) : host_(host), error_(error) {}
  HeldError(const HeldError&) = delete;
  HeldError& operator=(const HeldError&) = delete;
  ~HeldError() { host_.errors.Release(error_); }
  ZELErrorObject Get() const { return error_; }
  std::string Message() const { return TextOf(host_.errors.GetErrorMessage(error_)); }
  std::string Component() const { return TextOf(host_.errors.GetComponent(error_)); }

 private:
  std::string TextOf(ZELStringAtom atom) const {
    const char* const text = atom == 0 ? nullptr : host_.atoms.GetCString(atom);
    return text == nullptr ? "(null)" : text;
  }
  const Probe& host_;
  ZELErrorObject error_;
};

// A new thing that the host may call back. It stays until the layer is unloaded: a host that does
// not end what it should may come back to it long after the test.
template <typename Thing>
Thing& Staying() {
  static constinit Lasting<std::deque<Thing>> things;
  return things().emplace_back();
}

// An object of the tests, which counts how often it was destroyed.
struct Object {
  int destroyed = 0;
  static void Destroy(void* object) { ++static_cast<Object*>(object)->destroyed; }
};

// An instance of an interface of the tests. At the end it is given back as often as it was taken,
// and ended when nobody has taken it.
class HeldInstance {
 public:
  HeldInstance(const Probe& host, Object& object, const char* implementation = "ZELUtilsCheckImpl",
               const char* interfaceName = "ZELUtilsCheckProbe")
      : host_(host), object_(object) {
    const HeldAtom name(host, implementation);
    const HeldAtom offered(host, interfaceName);
    failed_ = host.Failed(host.containers.NewFullContainer(
        &instance_, &object, name.Get(), &Object::Destroy, offered.Get(), 0, 0, 0));
  }
  HeldInstance(const HeldInstance&) = delete;
  HeldInstance& operator=(const HeldInstance&) = delete;
  ~HeldInstance() {
    if (instance_ == nullptr || failed_) return;
    while (object_.destroyed == 0 && held_ > 0) Release();
    if (object_.destroyed == 0) host_.containers.DeleteUnownedContainer(instance_);
  }
  bool IsMade() const { return instance_ != nullptr && !failed_; }
  ZELInstance Get() const { return instance_; }
  bool AddRef() {
    const bool taken = host_.containers.AddRef(instance_) != 0;
    held_ += taken ? 1 : 0;
    return taken;
  }
  void Release() {
    --held_;
    host_.containers.Release(instance_);
  }
  void Decrement() {
    --held_;
    host_.containers.DecrementWithoutDelete(instance_);
  }
  void Delete() { host_.containers.DeleteUnownedContainer(instance_); }
  const ZELPrimaryInstance& Record() const {
    return *reinterpret_cast<const ZELPrimaryInstance*>(
        reinterpret_cast<const char*>(instance_) + host_.containers.GetOffsetToPrimaryInstance());
  }

 private:
  const Probe& host_;
  Object& object_;
  ZELInstance instance_ = nullptr;
  bool failed_ = false;
  int held_ = 0;
};

}  // namespace zelcheck
