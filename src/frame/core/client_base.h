// Storage of library objects: memory that the host's binder hands out.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>

#include "frame/core/core_interfaces.h"
#include "frame/core/raise.h"

namespace ZEL_T_NMT {

// A block of the host's memory; raises the allocation failure when there is none.
inline void* AllocateBlock(std::size_t size) {
  void* block = Memory().Alloc(size);
  if (block == nullptr) [[unlikely]]
    RaiseAllocationFailure();
  return block;
}

// A block for `count` objects of `size` bytes; an overflowing size is an allocation failure.
inline void* AllocateBlock(std::size_t count, std::size_t size) {
  if (size != 0 && count > SIZE_MAX / size) RaiseAllocationFailure();
  return AllocateBlock(count * size);
}

// Base of all objects of the library: storage from the memory interface.
class CZELClientBase {
 public:
  static void* operator new(std::size_t size) { return AllocateBlock(size); }
  static void* operator new(std::size_t, void* place) noexcept { return place; }
  static void operator delete(void* object) noexcept {
    if (object != nullptr) Memory().Free(object);
  }
  static void operator delete(void*, void*) noexcept {}

 protected:
  ~CZELClientBase() = default;
};

class CZELVirtualClientBase : public CZELClientBase {
 public:
  virtual ~CZELVirtualClientBase() = default;
};

// Owner of an untyped work buffer from the memory interface.
template <typename T>
class BinderBlock {
 public:
  explicit BinderBlock(std::size_t count)
      : block_(static_cast<T*>(AllocateBlock(count, sizeof(T)))) {}
  BinderBlock(BinderBlock&& other) noexcept : block_(std::exchange(other.block_, nullptr)) {}
  BinderBlock& operator=(BinderBlock other) noexcept {
    std::swap(block_, other.block_);
    return *this;
  }
  ~BinderBlock() {
    if (block_ != nullptr) Memory().Free(block_);
  }

  T* Get() const noexcept { return block_; }

  // Moves the contents into a block for `count` objects; on failure they stay where they are.
  void Resize(std::size_t count) {
    if (count > SIZE_MAX / sizeof(T)) RaiseAllocationFailure();
    void* moved = Memory().Realloc(static_cast<void*>(block_), count * sizeof(T));
    if (moved == nullptr) RaiseAllocationFailure();
    block_ = static_cast<T*>(moved);
  }

 private:
  T* block_;
};

// Lets containers of the standard library take their nodes from the memory interface.
template <typename T>
struct BinderAllocator {
  using value_type = T;
  BinderAllocator() noexcept = default;
  template <typename U>
  BinderAllocator(const BinderAllocator<U>&) noexcept {}  // NOLINT(google-explicit-constructor)
  // NOLINTNEXTLINE(bugprone-sizeof-expression): T may be a pointer
  T* allocate(std::size_t count) { return static_cast<T*>(AllocateBlock(count, sizeof(T))); }
  void deallocate(T* block, std::size_t) noexcept { Memory().Free(block); }
  template <typename U>
  bool operator==(const BinderAllocator<U>&) const noexcept {
    return true;
  }
};

}  // namespace ZEL_T_NMT
