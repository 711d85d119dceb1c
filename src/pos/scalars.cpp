#include "pos/scalars.h"

#include <cstring>
#include <limits>

namespace NPOSObjectImpl {
namespace {

bool SameBytes(const void* left, const void* right, std::size_t size) noexcept {
  return size == 0 || std::memcmp(left, right, size) == 0;
}

}  // namespace

std::uint32_t UnicodeString::StoredCount(std::size_t length) {
  constexpr std::size_t kMax = std::numeric_limits<std::uint32_t>::max() / sizeof(std::uint16_t);
  if (length >= kMax) ZEL_T_NMT::RaiseMathOverflow();
  return static_cast<std::uint32_t>(length) + 1;
}

UnicodeString::UnicodeString(const std::uint16_t* units)
    : OwnUnicodeString(StoredCount(ZEL_T_NMT::UnicodeLength(units))) {
  std::memcpy(Units(), units, (std::size_t{Length()} + 1) * sizeof(std::uint16_t));
}

bool UnicodeString::IsEqual(const UnicodeString& other) const noexcept {
  return Length() == other.Length() &&
         SameBytes(Get(), other.Get(), Length() * sizeof(std::uint16_t));
}

BinData::BinData(const char* typeName, const void* data, std::uint32_t size)
    : OwnBinData(typeName, size) {
  if (size > 0) std::memcpy(Bytes(), data, size);
}

bool BinData::IsEqual(const BinData& other) const noexcept {
  return TypeName() == other.TypeName() && GetSize() == other.GetSize() &&
         SameBytes(GetBinData(), other.GetBinData(), GetSize());
}

}  // namespace NPOSObjectImpl
