#include "frame/core/string_atom.h"

#include <cstring>
#include <limits>

#include "frame/core/client_base.h"
#include "frame/core/raise.h"

namespace ZEL_T_NMT {
namespace {

// Copies a text into a buffer with `room` bytes left; false when it does not fit.
bool CopyBounded(char* target, std::size_t room, const char* text, std::size_t length) noexcept {
  if (length > room) return false;
  if (length > 0) std::memcpy(target, text, length);
  return true;
}

std::size_t LengthOf(const char* text) noexcept { return text == nullptr ? 0 : std::strlen(text); }

}  // namespace

bool HasSameBytes(const char* left, const char* right) noexcept {
  return left != nullptr && right != nullptr && std::strcmp(left, right) == 0;
}

CZELStringAtom::CZELStringAtom(const char* text) : atom_(Strings().NewStringAtom(text)) {
  if (atom_ == 0) RaiseAllocationFailure();
  text_ = Strings().GetCString(atom_);
}

CZELStringAtom::CZELStringAtom(ZELStringAtom atom, Reference reference) : atom_(atom) {
  if (atom_ == 0) return;
  if (reference == Reference::kRetain) Strings().AddRef(atom_);
  text_ = Strings().GetCString(atom_);
}

CZELStringAtom CZELStringAtom::Join(const CZELStringAtom& first, const CZELStringAtom& second) {
  const std::size_t firstLength = LengthOf(first.Text());
  const std::size_t secondLength = LengthOf(second.Text());
  if (secondLength >= std::numeric_limits<std::size_t>::max() - firstLength)
    RaiseAllocationFailure();
  const std::size_t size = firstLength + secondLength + 1;
  const BinderBlock<char> joined(size);
  if (!CopyBounded(joined.Get(), size - 1, first.Text(), firstLength) ||
      !CopyBounded(joined.Get() + firstLength, size - 1 - firstLength, second.Text(),
                   secondLength)) {
    ZELRaise("Memory Copy Error", "");
  }
  joined.Get()[size - 1] = '\0';
  return CZELStringAtom(joined.Get());
}

CZELStringAtom HoldArgument(ZELStringAtom atom) {
  if (atom == 0) RaisePOSException("null string atom");
  CZELStringAtom argument(atom, CZELStringAtom::Reference::kRetain);
  if (argument.Text() == nullptr) RaisePOSException("null string atom");
  return argument;
}

}  // namespace ZEL_T_NMT
