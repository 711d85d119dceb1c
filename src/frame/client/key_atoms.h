// Atoms for the keys of one text or stream: documents repeat their keys, and a second reference to
// an atom costs less than looking its text up again.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "frame/core/string_atom.h"

namespace ZEL_T_NMT {

class KeyAtoms {
 public:
  // An atom of the text, which is ended by a NUL and has `length` bytes before it. Raises the
  // allocation failure when the host has none.
  CZELStringAtom Get(const char* text, std::size_t length) {
    const std::uint32_t fingerprint = Fingerprint(text, length);
    Slot& slot = SlotOf(fingerprint);
    if (slot.fingerprint != fingerprint) {
      // A key that comes once shall cost nothing here: an atom is kept from the second time on, and
      // then for good.
      if (slot.atom.Atom() == 0) slot.fingerprint = fingerprint;
      return CZELStringAtom(text);
    }
    if (slot.atom.Atom() == 0) {
      slot.atom = CZELStringAtom(text);
    } else if (!IsSameText(slot.atom.Text(), text)) {
      return CZELStringAtom(text);
    }
    return slot.atom;
  }

 private:
  static constexpr std::uint32_t kSlotBits = 6;
  struct Slot {
    CZELStringAtom atom;
    std::uint32_t fingerprint = 0;
  };

  // One of the two slots where a fingerprint may be: the one that has it, or else one that holds no
  // atom if there is any.
  Slot& SlotOf(std::uint32_t fingerprint) noexcept {
    Slot& slot = slots_[fingerprint >> (32 - kSlotBits)];
    if (slot.fingerprint == fingerprint) return slot;
    Slot& other = slots_[fingerprint >> (32 - 2 * kSlotBits) & (slots_.size() - 1)];
    return other.fingerprint == fingerprint || slot.atom.Atom() != 0 ? other : slot;
  }

  // Short keys mostly differ in their length or in one of these bytes. Never 0.
  static std::uint32_t Fingerprint(const char* text, std::size_t length) noexcept {
    if (length == 0) return 1;
    const auto byte = [text](std::size_t i) {
      return std::uint32_t{static_cast<unsigned char>(text[i])};
    };
    const std::uint32_t bytes = byte(0) << 16 | byte(length / 2) << 8 | byte(length - 1);
    return (bytes ^ static_cast<std::uint32_t>(length) << 24) * 0x9E3779B1u | 1;
  }

  std::array<Slot, 1u << kSlotBits> slots_{};
};

}  // namespace ZEL_T_NMT
