// The POS objects that never change: numbers, strings, Unicode strings, binary data, raw pointers.
// Cloning one shares it.
#pragma once

#include "frame/core/shared_buffer.h"
#include "frame/core/string_atom.h"
#include "pos/base_object.h"

namespace NPOSObjectImpl {

class Scalar : public BaseObject {
 public:
  BaseObject* Clone() final { return this; }
};

class Number final : public Scalar {
 public:
  static constexpr std::int32_t kType = POSTypeNumber;
  static constexpr const char* kMismatch = "instance was not an POSNumber";

  explicit Number(double value) noexcept : value_(value) {}
  bool IsEqual(BaseObject& other) override;
  std::int32_t GetType() const override { return kType; }
  double Get() const noexcept { return value_; }

 private:
  double value_;
};

class String final : public Scalar {
 public:
  static constexpr std::int32_t kType = POSTypeString;
  static constexpr const char* kMismatch = "instance was not an POSString";

  explicit String(const char* text) : text_(text) {}
  bool IsEqual(BaseObject& other) override;
  std::int32_t GetType() const override { return kType; }
  const char* Get() const noexcept { return text_.Text(); }

 private:
  ZEL_T_NMT::CZELStringAtom text_;
};

class UnicodeString final : public Scalar {
 public:
  static constexpr std::int32_t kType = POSTypeUnicodeString;
  static constexpr const char* kMismatch = "instance was not an POSUnicodeString";

  // Copies the units up to the first 0 unit.
  explicit UnicodeString(const std::uint16_t* units);
  // A text's units and the terminating 0 unit; raises "Math overflow exception" when their size in
  // bytes does not fit in 32 bits.
  static std::uint32_t StoredCount(std::size_t length);
  bool IsEqual(BaseObject& other) override;
  std::int32_t GetType() const override { return kType; }
  const std::uint16_t* Get() const noexcept { return units_.Get(); }

 private:
  std::uint32_t count_;  // with the terminating 0 unit
  ZEL_T_NMT::BinderBlock<std::uint16_t> units_;
};

class BinData final : public Scalar {
 public:
  static constexpr std::int32_t kType = POSTypeBinData;
  static constexpr const char* kMismatch = "instance was not an POSBinData";

  BinData(const char* typeName, const void* data, std::uint32_t size);
  bool IsEqual(BaseObject& other) override;
  std::int32_t GetType() const override { return kType; }
  const char* GetTypeName() const noexcept { return typeName_.Text(); }
  const void* GetBinData() const noexcept { return buffer_.Data(); }
  std::uint32_t GetSize() const noexcept { return size_; }

 private:
  ZEL_T_NMT::CZELStringAtom typeName_;
  ZEL_T_NMT::SharedBuffer buffer_;
  std::uint32_t size_;
};

class RawPointer final : public Scalar {
 public:
  static constexpr std::int32_t kType = POSTypeRawPointer;
  static constexpr const char* kMismatch = "instance was not an POSRawPointer";

  explicit RawPointer(void* pointer) noexcept : pointer_(pointer) {}
  ~RawPointer() override {
    if (release_ != nullptr) release_(pointer_);
  }
  // From here on the pointer is released with the object; until then it stays the client's.
  void Own(POSRawPointerReleaseProc release) noexcept { release_ = release; }
  bool IsEqual(BaseObject& other) override;
  std::int32_t GetType() const override { return kType; }
  void* GetRawPointer() const noexcept { return pointer_; }
  POSRawPointerReleaseProc GetReleaseProc() const noexcept { return release_; }

 private:
  void* pointer_;
  POSRawPointerReleaseProc release_ = nullptr;
};

}  // namespace NPOSObjectImpl
