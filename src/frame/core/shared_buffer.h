// Holder of one reference to a shared buffer of the host.
#pragma once

#include <utility>

#include "frame/core/core_interfaces.h"
#include "frame/core/raise.h"

namespace ZEL_T_NMT {

class SharedBuffer {
 public:
  // A new buffer of `size` bytes; raises the allocation failure when there is none.
  explicit SharedBuffer(std::uint32_t size) : buffer_(SharedBuffers().NewBuffer(size, 0, 0, 0, 0)) {
    if (buffer_ == nullptr) RaiseAllocationFailure();
    try {
      data_ = SharedBuffers().GetBuffer(buffer_);
      if (data_ == nullptr && size > 0) RaiseAllocationFailure();
    } catch (...) {
      ReleaseSharedBuffer(buffer_);
      throw;
    }
  }
  SharedBuffer(SharedBuffer&& other) noexcept
      : buffer_(std::exchange(other.buffer_, nullptr)), data_(other.data_) {}
  SharedBuffer(const SharedBuffer&) = delete;
  SharedBuffer& operator=(const SharedBuffer&) = delete;
  ~SharedBuffer() { ReleaseSharedBuffer(buffer_); }

  ZELSharedBuff Handle() const noexcept { return buffer_; }
  // The bytes, at the same address for the buffer's life.
  void* Data() const noexcept { return data_; }

 private:
  ZELSharedBuff buffer_;
  void* data_ = nullptr;
};

}  // namespace ZEL_T_NMT
