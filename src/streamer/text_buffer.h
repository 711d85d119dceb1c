// Collects a text of unknown length: a short one beside the object, a longer one in memory of the
// host.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <optional>

#include "frame/base/compiler.h"
#include "frame/core/client_base.h"
#include "frame/core/error.h"

namespace NPOSStreamerImpl {

template <typename Unit>
class TextBuffer {
 public:
  // Units beside the object: as much as two blocks of a stream hold, so that few texts need more. A
  // power of two.
  static constexpr std::uint32_t kLocalCapacity = 1024 / sizeof(Unit);

  TextBuffer() noexcept = default;
  TextBuffer(const TextBuffer&) = delete;
  TextBuffer& operator=(const TextBuffer&) = delete;

  // The place of the next units, with room for `count`. Raises "Math overflow exception" when the
  // buffer's size in bytes would not fit in 32 bits.
  Unit* Reserve(std::uint32_t count) {
    if (count > capacity_ - length_) [[unlikely]]
      Grow(count);
    return units_ + length_;
  }
  // Takes in units that were stored in that place.
  void Advance(std::size_t count) noexcept { length_ += static_cast<std::uint32_t>(count); }

  std::uint32_t Length() const noexcept { return length_; }
  // The text with a 0 unit behind it.
  Unit* Terminated() {
    *Reserve(1) = 0;
    return units_;
  }

 private:
  ZEL_NEVER_INLINE void Grow(std::uint32_t count) {
    constexpr std::uint32_t kMost = std::numeric_limits<std::uint32_t>::max() / sizeof(Unit);
    if (capacity_ > kMost / 2 || count > kMost - length_) ZEL_T_NMT::RaiseMathOverflow();
    const std::uint32_t capacity = std::max(capacity_ * 2, length_ + count);
    if (block_) {
      block_->Resize(capacity);
    } else {
      block_.emplace(capacity);
      std::memcpy(block_->Get(), local_, length_ * sizeof(Unit));
    }
    units_ = block_->Get();
    capacity_ = capacity;
  }

  Unit local_[kLocalCapacity];
  std::optional<ZEL_T_NMT::BinderBlock<Unit>> block_;
  Unit* units_ = local_;
  std::uint32_t length_ = 0;
  std::uint32_t capacity_ = kLocalCapacity;
};

}  // namespace NPOSStreamerImpl
