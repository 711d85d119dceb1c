// Holders of references to instances.
#pragma once

#include <utility>

#include "frame/core/core_interfaces.h"
#include "frame/core/raise.h"

namespace ZEL_T_NMT {

// One reference to an instance, given back when destroyed; may be empty.
class ContainerReference {
 public:
  ContainerReference() noexcept = default;
  // Takes a reference; raises "invalid container" when the host refuses it. Null makes an empty
  // holder.
  explicit ContainerReference(ZELInstance instance) {
    if (instance == nullptr) return;
    if (Containers().AddRef(instance) == 0) RaiseInvalidContainer();
    instance_ = instance;
  }
  ContainerReference(const ContainerReference& other) : ContainerReference(other.instance_) {}
  ContainerReference(ContainerReference&& other) noexcept
      : instance_(std::exchange(other.instance_, nullptr)) {}
  ContainerReference& operator=(ContainerReference other) noexcept {
    std::swap(instance_, other.instance_);
    return *this;
  }
  ~ContainerReference() {
    if (instance_ != nullptr) Containers().Release(instance_);
  }

  ZELInstance Get() const noexcept { return instance_; }

  // Takes a reference to a freshly published instance; ends the instance when the host refuses.
  static ContainerReference Adopt(ZELInstance instance) {
    if (instance == nullptr) RaiseInvalidContainer();
    ContainerReference taken;
    if (Containers().AddRef(instance) == 0) {
      Containers().DeleteUnownedContainer(instance);
      RaiseInvalidContainer();
    }
    taken.instance_ = instance;
    return taken;
  }

  // Takes over a reference that the caller holds.
  static ContainerReference TakeOver(ZELInstance referenced) noexcept {
    ContainerReference taken;
    taken.instance_ = referenced;
    return taken;
  }
  // Gives the reference to the caller and leaves the holder empty.
  ZELInstance Detach() noexcept { return std::exchange(instance_, nullptr); }

  // Hands the instance to a caller of the library, without reference.
  ZELInstance HandOut() noexcept {
    if (instance_ != nullptr) Containers().DecrementWithoutDelete(instance_);
    return std::exchange(instance_, nullptr);
  }

 private:
  ZELInstance instance_ = nullptr;
};

}  // namespace ZEL_T_NMT
