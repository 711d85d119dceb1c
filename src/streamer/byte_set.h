// Sets of bytes that a text is searched for, eight bytes in one step.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "frame/base/byte_words.h"

namespace NPOSStreamerImpl::NTypeAImpl {

// Made at compile time from a table of the members. A word at a time it may find other bytes
// besides: any control character, and any byte beyond ASCII if one of them is a member. It finds
// every member; a set with more printable members than it has room for does not compile.
class ByteSet {
 public:
  consteval explicit ByteSet(const std::array<bool, 256>& members) {
    std::size_t top = 128;  // the members from here to 127 are found with those beyond
    for (std::size_t byte = 128; byte < 256; ++byte) {
      if (members[byte]) beyond_ = ZEL_T_NMT::WordOf(0x80);
    }
    while (beyond_ != 0 && members[top - 1]) --top;
    toTop_ = ZEL_T_NMT::WordOf(static_cast<unsigned char>(128 - top));
    std::size_t count = 0;
    for (std::size_t byte = kFirstPrintable; byte < top; ++byte) {
      if (members[byte])
        printable_.at(count++) = ZEL_T_NMT::WordOf(static_cast<unsigned char>(byte));
    }
    // Places that are left over look for a member again.
    if (count == 0) printable_[count++] = 0;
    for (; count < printable_.size(); ++count) printable_[count] = printable_[0];
  }

  // The mask, as byte_words.h has them, of the bytes that may be members.
  constexpr std::uint64_t Find(std::uint64_t word) const noexcept {
    std::uint64_t found = ZEL_T_NMT::BytesBelow(word, kFirstPrintable);
    for (const std::uint64_t pattern : printable_)
      found |= ZEL_T_NMT::BytesBelow(word ^ pattern, 1);
    return found | ((word | (word + toTop_)) & beyond_);
  }

 private:
  static constexpr unsigned char kFirstPrintable = ' ';

  std::array<std::uint64_t, 2> printable_{};
  std::uint64_t beyond_ = 0;
  std::uint64_t toTop_ = 0;
};

}  // namespace NPOSStreamerImpl::NTypeAImpl
