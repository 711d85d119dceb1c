#include "pos/scalars.h"

#include <cstring>
#include <limits>

namespace NPOSObjectImpl {
namespace {

bool SameBytes(const void* left, const void* right, std::size_t size) noexcept {
  return size == 0 || std::memcmp(left, right, size) == 0;
}

}  // namespace

bool Number::IsEqual(BaseObject& other) {
  const Number* number = DownCast<Number>(other);
  return number != nullptr && value_ == number->value_;
}

bool String::IsEqual(BaseObject& other) {
  const String* string = DownCast<String>(other);
  return string != nullptr && text_ == string->text_;
}

std::uint32_t UnicodeString::StoredCount(std::size_t length) {
  constexpr std::size_t kMax = std::numeric_limits<std::uint32_t>::max() / sizeof(std::uint16_t);
  if (length >= kMax) ZEL_T_NMT::RaiseMathOverflow();
  return static_cast<std::uint32_t>(length) + 1;
}

UnicodeString::UnicodeString(const std::uint16_t* units)
    : count_(StoredCount(ZEL_T_NMT::UnicodeLength(units))), units_(count_) {
  std::memcpy(units_.Get(), units, count_ * sizeof(std::uint16_t));
}

bool UnicodeString::IsEqual(BaseObject& other) {
  const UnicodeString* string = DownCast<UnicodeString>(other);
  return string != nullptr && count_ == string->count_ &&
         SameBytes(Get(), string->Get(), count_ * sizeof(std::uint16_t));
}

BinData::BinData(const char* typeName, const void* data, std::uint32_t size)
    : typeName_(typeName), buffer_(size), size_(size) {
  if (size > 0) std::memcpy(buffer_.Data(), data, size);
}

bool BinData::IsEqual(BaseObject& other) {
  const BinData* data = DownCast<BinData>(other);
  return data != nullptr && typeName_ == data->typeName_ && size_ == data->size_ &&
         SameBytes(GetBinData(), data->GetBinData(), size_);
}

bool RawPointer::IsEqual(BaseObject& other) { return DownCast<RawPointer>(other) != nullptr; }

}  // namespace NPOSObjectImpl
