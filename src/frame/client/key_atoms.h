// Atoms for the keys of one text or stream: documents repeat their keys, and a second reference to
// an atom costs less than looking its text up again.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "frame/base/byte_words.h"
#include "frame/base/compiler.h"
#include "frame/core/string_atom.h"

namespace ZEL_T_NMT {

class KeyAtoms {
 public:
  // An atom of the text, which has `length` bytes and a NUL behind them; its first kWordSize bytes
  // may be read whatever the length. Raises the allocation failure when the host has none.
  CZELStringAtom Get(const char* text, std::size_t length) {
    // In a document whose keys do not repeat, most are not even looked for.
    if (misses_ >= kPatience && ++misses_ % kSampling != 0) return CZELStringAtom(text);
    return Find(text, length);
  }

 private:
  static constexpr std::uint32_t kSlotBits = 6;
  static constexpr std::uint32_t kPatience = 128;
  static constexpr std::uint32_t kSampling = 8;
  struct Slot {
    CZELStringAtom atom;
    std::uint64_t digest = 0;
    std::size_t length = 0;
  };

  CZELStringAtom Find(const char* text, std::size_t length) {
    const std::uint64_t digest = Digest(text, length);
    Slot& slot = SlotOf(digest, length);
    const bool isSeen = slot.digest == digest && slot.length == length;
    if (isSeen && slot.atom.Text() != nullptr && IsText(slot, text)) [[likely]] {
      misses_ = 0;
      return slot.atom;
    }
    return Make(slot, text, digest, length);
  }

  // Of a text that no slot has: a key that comes once shall cost nothing here, so that an atom is
  // kept from the second time on, and then for good.
  ZEL_NEVER_INLINE CZELStringAtom Make(Slot& slot, const char* text, std::uint64_t digest,
                                       std::size_t length) {
    if (misses_ < kPatience) ++misses_;
    CZELStringAtom atom(text);
    if (slot.atom.Text() == nullptr) {
      const bool isSeen = slot.digest == digest && slot.length == length;
      slot.digest = digest;
      slot.length = length;
      if (isSeen) slot.atom = atom;
    }
    return atom;
  }

  // One of the two slots where a text may be: the one that has it, or else one that holds no atom
  // if there is any.
  Slot& SlotOf(std::uint64_t digest, std::size_t length) noexcept {
    const std::uint64_t place = (digest ^ length) * 0x9E3779B97F4A7C15u;
    Slot& slot = slots_[static_cast<std::size_t>(place >> (64 - kSlotBits))];
    if (slot.digest == digest) return slot;
    Slot& other = slots_[static_cast<std::size_t>(place >> 32) & (slots_.size() - 1)];
    return other.digest == digest || slot.atom.Text() != nullptr ? other : slot;
  }

  // All of a short text, the beginning and the end of a longer one.
  static std::uint64_t Digest(const char* text, std::size_t length) noexcept {
    if (length == 0) return 0;
    const std::uint64_t word = LoadWord(text);
    if (length > kWordSize) return word ^ LoadWord(text + length - kWordSize) * 31;
    const std::size_t behind = 64 - 8 * length;
    return kHasByteWords ? word << behind : word >> behind;
  }
  // Whether the slot of a text's digest and length has the text.
  static bool IsText(const Slot& slot, const char* text) noexcept {
    return slot.length <= kWordSize || std::memcmp(slot.atom.Text(), text, slot.length) == 0;
  }

  std::array<Slot, std::size_t{1} << kSlotBits> slots_{};
  std::uint32_t misses_ = 0;  // in a row; beyond kPatience, texts passed since as well
};

}  // namespace ZEL_T_NMT
