// Holder of one reference to a string atom of the host, with the atom's text at hand.
//
// Equal texts are mostly the same atom with the same address: addresses are compared first. A host
// need not see to that, so where they differ the bytes decide.
#pragma once

#include <utility>

#include "frame/core/core_interfaces.h"
#include "frame/core/raise.h"

namespace ZEL_T_NMT {

// The same for texts at two addresses, out of line: most texts that are equal are one.
bool HasSameBytes(const char* left, const char* right) noexcept;

// Whether two texts are equal; a null one equals no other text.
inline bool IsSameText(const char* left, const char* right) noexcept {
  return left == right || HasSameBytes(left, right);
}

class CZELStringAtom {
 public:
  enum class Reference { kRetain, kAdopt };

  CZELStringAtom() noexcept = default;
  // Raises the allocation failure when the atom cannot be made; `text` must not be null.
  explicit CZELStringAtom(const char* text);
  // From an atom whose reference the caller hands over, or keeps. 0 makes an empty holder.
  CZELStringAtom(ZELStringAtom atom, Reference reference);
  // From an atom that somebody else holds, and whose text is at hand.
  CZELStringAtom(ZELStringAtom atom, const char* text) : text_(text), atom_(atom) {
    if (atom_ != 0) Strings().AddRef(atom_);
  }
  CZELStringAtom(const CZELStringAtom& other) : CZELStringAtom(other.atom_, other.text_) {}
  CZELStringAtom(CZELStringAtom&& other) noexcept
      : text_(std::exchange(other.text_, nullptr)), atom_(std::exchange(other.atom_, 0)) {}
  CZELStringAtom& operator=(CZELStringAtom other) noexcept {
    std::swap(atom_, other.atom_);
    std::swap(text_, other.text_);
    return *this;
  }
  ~CZELStringAtom() {
    if (atom_ != 0) Strings().DeleteStringAtom(atom_);
  }

  // A new holder of the two texts one after the other; a null text counts as empty.
  static CZELStringAtom Join(const CZELStringAtom& first, const CZELStringAtom& second);

  ZELStringAtom Atom() const noexcept { return atom_; }
  // Null for an empty holder.
  const char* Text() const noexcept { return text_; }

  // Gives the reference to the caller and leaves the holder empty.
  ZELStringAtom HandOut() noexcept {
    text_ = nullptr;
    return std::exchange(atom_, 0);
  }

  friend bool operator==(const CZELStringAtom& left, const CZELStringAtom& right) noexcept {
    return IsSameText(left.text_, right.text_);
  }

 private:
  const char* text_ = nullptr;
  ZELStringAtom atom_ = 0;
};

// The text of a key or path that a client passes in, for the duration of the call, which holds no
// reference: the client has one. Raises "null string atom" for 0 and for an atom without text.
inline const char* BorrowArgument(ZELStringAtom atom) {
  const char* const text = atom == 0 ? nullptr : Strings().GetCString(atom);
  if (text == nullptr) [[unlikely]]
    RaisePOSException("null string atom");
  return text;
}

// A key or path that a client passes in, with a reference for the duration of the call. Raises
// "null string atom" for 0 and for an atom without text.
CZELStringAtom HoldArgument(ZELStringAtom atom);

}  // namespace ZEL_T_NMT
