// Sets of bytes that a text is searched for, eight bytes in one step.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "frame/base/byte_words.h"

namespace NPOSStreamerImpl::NTypeAImpl {

// Made at compile time from a table of the members: with `beyondAscii` all bytes beyond ASCII are
// among them, without none is. A word at a time it may find any other control character besides. It
// finds every member; a set with more printable members than it has room for does not compile.
template <bool beyondAscii>
class ByteSet {
 public:
  constexpr ByteSet() noexcept = default;
  consteval explicit ByteSet(const std::array<bool, 256>& members) {
    for (std::size_t byte = 128; byte < 256; ++byte) {
      if (members[byte] != beyondAscii) throw "not all bytes beyond ASCII alike";
    }
    // The members from `top` on are found with those beyond ASCII.
    std::size_t top = 128;
    while (beyondAscii && members[top - 1]) --top;
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

  // The mask, as byte_words.h has them, of the bytes that may be members. A difference has the top
  // bit of each byte that is less, and of some beyond ASCII.
  constexpr std::uint64_t Find(std::uint64_t word) const noexcept {
    using ZEL_T_NMT::WordOf;
    const std::uint64_t found = (word - WordOf(kFirstPrintable)) |
                                ((word ^ printable_[0]) - WordOf(1)) |
                                ((word ^ printable_[1]) - WordOf(1));
    return (beyondAscii ? found | word | (word + toTop_) : found & ~word) & WordOf(0x80);
  }

 private:
  static constexpr unsigned char kFirstPrintable = ' ';

  std::array<std::uint64_t, 2> printable_{};
  std::uint64_t toTop_ = 0;
};

}  // namespace NPOSStreamerImpl::NTypeAImpl
