// Collects a text of unknown length in memory of the host.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>

#include "frame/core/client_base.h"
#include "frame/core/error.h"

namespace NPOSStreamerImpl {

// There is always room for one unit more.
template <typename Unit>
class TextBuffer {
 public:
  Unit* End() const noexcept { return block_.Get() + length_; }
  std::uint32_t Room() const noexcept { return capacity_ - length_; }

  // Takes in the units that were stored at the end. Raises "Math overflow exception" when the
  // buffer's size in bytes would not fit in 32 bits.
  void Advance(std::uint32_t count) {
    length_ += count;
    if (length_ < capacity_) return;
    if (capacity_ > std::numeric_limits<std::uint32_t>::max() / sizeof(Unit) / 2) {
      ZEL_T_NMT::RaiseMathOverflow();
    }
    block_.Resize(std::size_t{capacity_} * 2);
    capacity_ *= 2;
  }

  const Unit* Terminated() noexcept {
    *End() = 0;
    return block_.Get();
  }

 private:
  static constexpr std::uint32_t kFirstCapacity = 32;

  ZEL_T_NMT::BinderBlock<Unit> block_{kFirstCapacity};
  std::uint32_t length_ = 0;
  std::uint32_t capacity_ = kFirstCapacity;
};

}  // namespace NPOSStreamerImpl
