// The POS objects that never change: numbers, strings, Unicode strings, binary data, raw pointers.
// Cloning one shares it.
#pragma once

#include "pos/base_object.h"

namespace NPOSObjectImpl {

class Number final : public ZEL_T_NMT::OwnNumber {
 public:
  static constexpr POSObjectType kType = POSTypeNumber;
  static constexpr const char* kMismatch = "instance was not an POSNumber";

  explicit Number(double value) noexcept : OwnNumber(value) {}
  bool IsEqual(const Number& other) const noexcept { return Get() == other.Get(); }
};

class String final : public ZEL_T_NMT::OwnString {
 public:
  static constexpr POSObjectType kType = POSTypeString;
  static constexpr const char* kMismatch = "instance was not an POSString";

  explicit String(const char* text) : OwnString(ZEL_T_NMT::CZELStringAtom(text)) {}
  bool IsEqual(const String& other) const noexcept {
    return ZEL_T_NMT::IsSameText(Get(), other.Get());
  }
};

class UnicodeString final : public ZEL_T_NMT::OwnUnicodeString {
 public:
  static constexpr POSObjectType kType = POSTypeUnicodeString;
  static constexpr const char* kMismatch = "instance was not an POSUnicodeString";

  // Copies the units up to the first 0 unit.
  explicit UnicodeString(const std::uint16_t* units);
  // A text's units and the terminating 0 unit; raises "Math overflow exception" when their size in
  // bytes does not fit in 32 bits.
  static std::uint32_t StoredCount(std::size_t length);
  bool IsEqual(const UnicodeString& other) const noexcept;
};

class BinData final : public ZEL_T_NMT::OwnBinData {
 public:
  static constexpr POSObjectType kType = POSTypeBinData;
  static constexpr const char* kMismatch = "instance was not an POSBinData";

  BinData(const char* typeName, const void* data, std::uint32_t size);
  bool IsEqual(const BinData& other) const noexcept;
};

class RawPointer final : public ZEL_T_NMT::OwnRawPointer {
 public:
  static constexpr POSObjectType kType = POSTypeRawPointer;
  static constexpr const char* kMismatch = "instance was not an POSRawPointer";

  explicit RawPointer(void* pointer) noexcept : OwnRawPointer(pointer) {}
  ~RawPointer() {
    if (release_ != nullptr) release_(GetRawPointer());
  }
  // From here on the pointer is released with the object; until then it stays the client's.
  void Own(POSRawPointerReleaseProc release) noexcept { release_ = release; }
  // Any two are equal.
  bool IsEqual(const RawPointer&) const noexcept { return true; }
  POSRawPointerReleaseProc GetReleaseProc() const noexcept { return release_; }

 private:
  POSRawPointerReleaseProc release_ = nullptr;
};

}  // namespace NPOSObjectImpl
