// Process-wide objects that are constructed when the library is loaded and never destroyed.
#pragma once

#include <cstddef>
#include <new>
#include <utility>

namespace ZEL_T_NMT {

// Storage of one object, which a process that ends leaves as it is: handlers and objects of the
// host that are still to run then find it working.
template <typename T>
class NeverDestroyed {
 public:
  template <typename... Arguments>
  explicit NeverDestroyed(Arguments&&... arguments) {
    new (static_cast<void*>(storage_)) T(std::forward<Arguments>(arguments)...);
  }
  NeverDestroyed(const NeverDestroyed&) = delete;
  NeverDestroyed& operator=(const NeverDestroyed&) = delete;

  T& operator*() noexcept { return *std::launder(reinterpret_cast<T*>(storage_)); }
  T* operator->() noexcept { return &**this; }

 private:
  alignas(T) std::byte storage_[sizeof(T)];
};

}  // namespace ZEL_T_NMT
